import collections
import json

import pytest

import vantrel.base.Tessarine as T


def filled(cls, *values, **kwargs):
    figure = cls(**kwargs)
    for value in values:
        figure.add(value)
    return figure


def test_new_figure_is_empty():
    figure = T.Stat()
    assert (figure.count, figure.min, figure.max, figure._sum) == (0, 1000000.0, -1000000.0, 0)
    assert type(figure._sum) is int
    assert figure.getStat() is None
    assert repr(figure) == "null"
    with pytest.raises(ZeroDivisionError):
        figure.mean


@pytest.mark.parametrize(
    "cls, values, report",
    [
        (T.Stat, [5], {"count": 1, "min": "5", "max": "5"}),
        (T.Stat, [2, 4], {"count": 2, "min": "2", "max": "4", "mean": "3.0"}),
        (T.StatMs, [0.0012, 0.0034], {"count": 2, "min": "1.200 ms", "max": "3.400 ms", "mean": "2.300 ms"}),
        (T.StatSec, [1, 2], {"count": 2, "min": "1.000 s", "max": "2.000 s", "mean": "1.500 s"}),
        # The sentinels bound the designed range of a figure.
        (T.Stat, [2000000, 3000000], {"count": 2, "min": "1000000.0", "max": "3000000", "mean": "2500000.0"}),
        (T.Stat, [-2000000, -3000000], {"count": 2, "min": "-3000000", "max": "-1000000.0", "mean": "-2500000.0"}),
    ],
)
def test_reports(cls, values, report):
    figure = filled(cls, *values)
    assert figure.getStat() == report
    assert list(figure.getStat()) == list(report)
    assert json.loads(repr(figure)) == report


def test_history_grows_only_once_started():
    figure = filled(T.Stat, 1, 2, 3, histSize=3)
    assert figure.hist == collections.deque([], 3)
    assert "hist" not in figure.getStat()
    figure.hist.append(0)
    for value in (4, 5, 6):
        figure.add(value)
    assert list(figure.hist) == [4, 5, 6]
    assert figure.getStat()["hist"] == ["4", "5", "6"]
    equal = filled(T.Stat, 7)
    equal.hist.append(7)
    equal.add(7)
    assert equal.getStat() == {"count": 2, "min": "7", "max": "7"}


@pytest.mark.parametrize("make", [lambda: T.Stat(histSize=0), lambda: T.StatSec(0), lambda: T.StatMerge([])])
def test_without_history(make):
    figure = make()
    assert figure.hist is None
    figure.add(1)
    figure.clear()
    assert figure.hist is None and figure.getStat() is None


def test_negative_history_size_reaches_deque():
    with pytest.raises(ValueError):
        T.Stat(histSize=-1)


def test_clear_leaves_float_sum_and_presentation():
    figure = filled(T.StatMs, 1, 2)
    figure.hist.append(1)
    figure.clear()
    assert (figure.count, figure.min, figure.max, figure._sum, len(figure.hist)) == (0, 1000000.0, -1000000.0, 0.0, 0)
    assert type(figure._sum) is float
    figure.add(2)
    assert figure._sum == 2.0 and type(figure._sum) is float
    assert figure.getStat() == {"count": 1, "min": "2000.000 ms", "max": "2000.000 ms"}
    assert (figure.scale, figure.format) == (1000, "%.3f ms")


def test_merge_weights_mean_by_count_and_takes_first_presentation():
    ms = filled(T.StatMs, 0.001, 0.002, 0.003)
    sec = filled(T.StatSec, 0.011)
    merged = T.StatMerge([ms, sec])
    assert merged._inited is True and merged.hist is None
    assert merged.getStat() == {"count": 4, "min": "1.000 ms", "max": "11.000 ms", "mean": "4.250 ms"}


def test_merge_unpacks_one_level_of_dict():
    a, b, c = filled(T.Stat, 1), filled(T.Stat, 5), filled(T.Stat, 3)
    assert T.StatMerge([{1: a, 2: b}, c]).getStat() == {"count": 3, "min": "1", "max": "5", "mean": "3.0"}
    with pytest.raises(AttributeError):
        T.StatMerge([{1: {2: a}}])


@pytest.mark.parametrize("inputs", [[], [T.StatMs(), T.Stat()]])
def test_merge_of_nothing_is_empty(inputs):
    merged = T.StatMerge(inputs)
    assert merged.getStat() is None
    assert merged._inited is bool(inputs)


def test_merge_of_equal_values_has_no_mean():
    assert T.StatMerge([filled(T.Stat, 1), filled(T.Stat, 1), T.Stat()]).getStat() == {
        "count": 2, "min": "1", "max": "1"}


def test_classes():
    assert [T.Stat.__doc__, T.StatMs.__doc__, T.StatSec.__doc__, T.StatMerge.__doc__] == [
        "Moving statistics", "Moving statistics for milliseconds", "Moving statistics for seconds",
        "Merged statistics"]
    assert T.StatMerge.__mro__[1] is T.Stat and T.Stat.mean.__doc__ == "Get mean value"
    assert list(vars(T.Stat())) == ["count", "min", "max", "_sum", "scale", "format", "hist"]


class Recorded:
    """A data descriptor that records what add writes through it."""
    def __init__(self, writes):
        self.writes = writes

    def __set_name__(self, owner, name):
        self.name = name

    def __get__(self, obj, owner=None):
        return obj.__dict__[self.name] if obj is not None else self

    def __set__(self, obj, value):
        self.writes.append((self.name, value))
        obj.__dict__[self.name] = value


def subclass_with_descriptor(writes):
    class Figure(T.Stat):
        count = Recorded(writes)
    return Figure()


def subclass_with_setattr(writes):
    class Figure(T.Stat):
        def __setattr__(self, name, value):
            writes.append((name, value))
            super().__setattr__(name, value)
    return Figure()


def descriptor_added_after_first_add(writes):
    class Figure(T.Stat):
        pass
    figure = Figure()
    figure.add(0)
    Figure.max = Recorded(writes)
    Figure.max.__set_name__(Figure, "max")
    return figure


@pytest.mark.parametrize("make, name, values", [
    (subclass_with_descriptor, "count", [1, 2]),
    (subclass_with_setattr, "_sum", [7, 15]),
    (descriptor_added_after_first_add, "max", [7, 8]),
])
def test_add_respects_attribute_hooks_of_subclasses(make, name, values):
    writes = []
    figure = make(writes)
    writes.clear()
    figure.add(7)
    # A plain figure used in between does not change the subclass's path.
    T.Stat().add(1)
    figure.add(8)
    assert [value for written, value in writes if written == name] == values
