import json

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome


def filled(cls, *values, **kwargs):
    figure = cls(**kwargs)
    for value in values:
        figure.add(value)
    return figure


def test_new_and_cleared_figures_are_empty():
    new, cleared = T.Stat(), filled(T.StatMs, 1, 2)
    cleared.hist.append(1)
    cleared.clear()
    for figure in (new, cleared):
        assert (figure.count, figure.min, figure.max, figure._sum) == (0, 1000000.0, -1000000.0, 0)
        assert figure.getStat() is None and repr(figure) == "null"
    assert outcome(lambda: new.mean)[0] is ZeroDivisionError and list(cleared.hist) == [] and new.hist.maxlen == 10
    cleared.add(2)
    cleared.add(4)
    # The presentation stays, and an emptied history waits to be started again.
    assert cleared.getStat() == {"count": 2, "min": "2000.000 ms", "max": "4000.000 ms", "mean": "3000.000 ms"}
    assert outcome(lambda: T.Stat(histSize=-1)) == (ValueError, "maxlen must be non-negative")


@pytest.mark.parametrize("cls, values, report", [
    (T.Stat, [5], {"count": 1, "min": "5", "max": "5"}),
    (T.Stat, [2, 4], {"count": 2, "min": "2", "max": "4", "mean": "3.0"}),
    (T.StatMs, [0.0012, 0.0034], {"count": 2, "min": "1.200 ms", "max": "3.400 ms", "mean": "2.300 ms"}),
    (T.StatSec, [1, 2], {"count": 2, "min": "1.000 s", "max": "2.000 s", "mean": "1.500 s"}),
    # The sentinels bound the designed range of a figure.
    (T.Stat, [2000000, 3000000], {"count": 2, "min": "1000000.0", "max": "3000000", "mean": "2500000.0"}),
    (T.Stat, [-2000000, -3000000], {"count": 2, "min": "-3000000", "max": "-1000000.0", "mean": "-2500000.0"}),
])
def test_reports(cls, values, report):
    figure = filled(cls, *values)
    assert list(figure.getStat().items()) == list(report.items()) and repr(figure) == json.dumps(report, indent=4)


def test_history_grows_only_once_started():
    figure = filled(T.Stat, 1, 2, 3, histSize=3)
    assert figure.hist.maxlen == 3 and "hist" not in figure.getStat()
    figure.hist.append(0)
    for value in (4, 5, 6):
        figure.add(value)
    assert figure.getStat()["hist"] == ["4", "5", "6"]
    # Without a spread there is neither mean nor history.
    figure = filled(T.Stat, 7)
    figure.hist.append(7)
    figure.add(7)
    assert figure.getStat() == {"count": 2, "min": "7", "max": "7"}
    for figure in (T.Stat(histSize=0), T.StatSec(0), T.StatMerge([])):
        figure.add(1)
        figure.clear()
        assert figure.hist is None and figure.getStat() is None


@pytest.mark.parametrize("figures, merged", [
    # Weighted by count, shown as the first figure shows its values.
    (lambda: [filled(T.StatMs, 0.001, 0.002, 0.003), filled(T.StatSec, 0.011)],
     {"count": 4, "min": "1.000 ms", "max": "11.000 ms", "mean": "4.250 ms"}),
    # One level of dict is unpacked: a master's figure of port to figure.
    (lambda: [{1: filled(T.Stat, 1), 2: filled(T.Stat, 5)}, filled(T.Stat, 3)],
     {"count": 3, "min": "1", "max": "5", "mean": "3.0"}),
    (lambda: [{1: {2: T.Stat()}}], (AttributeError, "'dict' object has no attribute 'scale'")),
    (lambda: [filled(T.Stat, 1), filled(T.Stat, 1), T.Stat()], {"count": 2, "min": "1", "max": "1"}),
    (lambda: [], None),
])
def test_merge(figures, merged):
    expected = merged if type(merged) is tuple else ("returned", merged)
    assert outcome(lambda: T.StatMerge(figures()).getStat()) == expected
