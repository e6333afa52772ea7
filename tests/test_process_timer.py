import re
import threading
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import SCALE, outcome


def run_to_the_end(timer):
    timer.start()
    timer.join(10 * SCALE)  # bounds a hang only
    assert not timer.is_alive()


@pytest.mark.parametrize("name, level, reported", [("pd", 10, 2), (None, 10, 2), ("pd", 9, 0), ("pd", None, 0)])
def test_overrun_is_reported_once_per_round_at_the_periodic_level(capsys, name, level, reported):
    calls, interval = [], 0.01 * SCALE

    def overrunning(*args, **kwargs):
        calls.append((args, kwargs))
        threading.Event().wait(2 * interval)
        if len(calls) == 2:
            timer.cancel()
    timer = T.RepeatTimer(name, interval, overrunning, level and T.Logger(level), 1, k=3)
    run_to_the_end(timer)
    assert (calls, timer.cancelled, timer.finished.is_set()) == ([((1,), {"k": 3})] * 2, True, True)
    assert timer.name == name if name else timer.name.startswith("Thread-")
    line = r"\[[\d:.]+\] DEBUG: WARNING: %s callback took longer than timer period: per %ss, dt \d+\.\d{4}s"
    pattern = line % (re.escape(timer.name), re.escape(str(interval)))
    assert [bool(re.fullmatch(pattern, text)) for text in capsys.readouterr().out.splitlines()] == [True] * reported


def test_callback_raising_ends_the_timer(monkeypatch):
    uncaught, calls = [], []
    monkeypatch.setattr(threading, "excepthook", uncaught.append)
    timer = T.RepeatTimer("pd", 0.001 * SCALE, lambda: calls.append(1) or len(calls) == 3 and 1 / 0)
    run_to_the_end(timer)
    assert ([str(hook.exc_value) for hook in uncaught], len(calls)) == (["division by zero"], 3)
    assert (timer.finished.is_set(), timer.cancelled) == (False, False)


@pytest.mark.parametrize("args, kwargs, result, calls", [
    ([1, 2], {"k": 3}, ("returned", None), [((1, 2), {"k": 3})]),
    (iter("ab"), types.MappingProxyType({"k": 3}), ("returned", None), [(("a", "b"), {"k": 3})]),
    (5, {}, (TypeError, "argument after * must be an iterable, not int"), []),
    ((), [("k", 3)], (TypeError, "argument after ** must be a mapping, not list"), []),
])
def test_arguments_set_later_are_unpacked_as_a_call_unpacks_them(args, kwargs, result, calls):
    made = []
    timer = T.RepeatTimer(None, 0, lambda *args, **kwargs: made.append((args, kwargs)) or timer.cancel())
    timer.args, timer.kwargs = args, kwargs
    assert (outcome(timer.run), made) == (result, calls)
