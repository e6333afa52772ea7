"""The repeat timer and the process data stream table."""
import datetime
import itertools
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import SCALE, outcome


# Each reading of the module's clock is a second later: every round overruns, by exactly one second.
@pytest.mark.parametrize("name, level, reported", [("pd", 10, 2), (None, 10, 2), ("pd", 9, 0), ("pd", None, 0)])
def test_overrun_is_reported_once_per_round_at_the_periodic_level(clock, capsys, monkeypatch, name, level, reported):
    monkeypatch.setattr(T, "time", types.SimpleNamespace(time=itertools.count().__next__))
    calls = []
    timer = T.RepeatTimer(name, 0.001, lambda *args, **kwargs: calls.append((args, kwargs)) or len(calls) == 2
                          and timer.cancel(), level and T.Logger(level), 1, k=3)
    timer.start()
    timer.join(10 * SCALE)  # bounds a hang only
    assert (timer.is_alive(), calls, timer.cancelled, timer.finished.is_set()) \
        == (False, [((1,), {"k": 3})] * 2, True, True)
    line = f"[14:07:33.4] DEBUG: WARNING: {timer.name} callback took longer than timer period: per 0.001s, dt 1.0000s\n"
    assert (capsys.readouterr().out, timer.name.startswith(name or "Thread-")) == (line * reported, True)


@pytest.mark.parametrize("args, kwargs, result, calls", [
    (iter("ab"), types.MappingProxyType({"k": 3}), ("returned", None), [(("a", "b"), {"k": 3})]),
    (5, {}, (TypeError, "argument after * must be an iterable, not int"), []),
    ((), [("k", 3)], (TypeError, "argument after ** must be a mapping, not list"), []),
    ((), {"k": 0}, (ZeroDivisionError, "division by zero"), [((), {"k": 0})]),
])
def test_arguments_set_later_are_unpacked_as_a_call_unpacks_them(args, kwargs, result, calls):
    made = []
    timer = T.RepeatTimer(None, 0, lambda *args, **kwargs: made.append((args, kwargs)) or timer.cancel()
                          or 1 / kwargs["k"])
    timer.args, timer.kwargs = args, kwargs
    assert (outcome(timer.run), made) == (result, calls)


@pytest.mark.parametrize("headers, parsed", [
    (["Time", "PD (hex)"], (["PD"], ["hex"], False, True)), (["T", "V (float)"], (["V"], ["float"], False, False)),
    (["t", "a (int)", "b (hex)"], (["a", "b"], ["int", "hex"], True, False)),
    (["t", "Level (x) (UInteger) tail"], (["Level (x)"], ["UInteger"], False, False)),
    *[(["T", header], (AttributeError, "'NoneType' object has no attribute 'group'")) for header in ("P(hex)", "P x")],
])
def test_stream_header_parsing(headers, parsed):
    read = lambda made: (made.names, made.types, made.isDict, made.isRaw, made.headerNames)  # noqa: E731
    expected = ("returned", (*parsed, headers)) if len(parsed) == 4 else parsed
    assert outcome(lambda: read(T.ProcessDataStreamTable(headers))) == expected


# Names in a list pair with the base table's row lists in place, others as zip pairs them.
@pytest.mark.parametrize("sequence", [list, tuple])
def test_stream_record_values_are_dicts_keyed_by_name(sequence):
    stamp = datetime.datetime(2021, 3, 4, 14, 7, 33, 250000)
    stream = T.ProcessDataStreamTable(["t", "a (int)", "b (int)"])
    stream.add_rows([[stamp, 1, 2], ["14:07:34", 3, 4]])
    assert (stream.values, stream.timesStr, len(stream), stream.count) \
        == ([{"a": 1, "b": 2}, {"a": 3, "b": 4}], [str(stamp), "14:07:34"], 2, 2)
    stream._names = sequence(["x", "y", "z"])
    stream._rows[0] += [9, 8]  # now one row is longer than the names, the other shorter
    assert stream.values == [{"x": 1, "y": 2, "z": 9}, {"x": 3, "y": 4}]
