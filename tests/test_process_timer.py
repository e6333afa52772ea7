import re
import threading

import pytest

import vantrel.base.Tessarine as T

# Generous: the machine may be busy, and these only bound a hang.
PATIENCE = 30


class Callback:
    """Records its calls; ends the timer, or raises, on a chosen call."""

    def __init__(self, cancel_on=None, raise_on=None, sleep=0.0):
        self.calls, self.timer = [], None
        self.cancel_on, self.raise_on, self.sleep = cancel_on, raise_on, sleep
        self.done = threading.Event()

    def __call__(self, *args, **kwargs):
        self.calls.append((args, kwargs))
        if self.sleep:
            threading.Event().wait(self.sleep)
        if len(self.calls) == self.raise_on:
            self.done.set()
            raise ValueError("third call")
        if len(self.calls) == self.cancel_on:
            self.timer.cancel()
            self.done.set()


def run_timer(callback, *args, name="pd", interval=0.001, logger=None, **kwargs):
    timer = T.RepeatTimer(name, interval, callback, logger, *args, **kwargs)
    callback.timer = timer
    timer.start()
    assert callback.done.wait(PATIENCE)
    timer.join(PATIENCE)
    assert not timer.is_alive()
    return timer


def test_extra_arguments_reach_the_callback():
    callback = Callback(cancel_on=3)
    timer = run_timer(callback, 1, 2, k=3)
    assert callback.calls == [((1, 2), {"k": 3})] * 3
    assert (timer.name, timer.cancelled, timer.finished.is_set()) == ("pd", True, True)


@pytest.mark.parametrize("name", ["pd", None])
def test_overrun_is_reported_once_per_round(capsys, name):
    callback = Callback(cancel_on=2, sleep=0.05)
    timer = run_timer(callback, name=name, interval=0.01, logger=T.Logger(10))
    lines = capsys.readouterr().out.splitlines()
    pattern = r"\[[\d:.]+\] DEBUG: WARNING: %s callback took longer than timer period: per 0.01s, dt \d+\.\d{4}s"
    assert timer.name == name if name else timer.name.startswith("Thread-")
    assert len(lines) == 2 and all(re.fullmatch(pattern % re.escape(timer.name), line) for line in lines)


def test_overrun_without_logger_is_silent(capsys):
    run_timer(Callback(cancel_on=2, sleep=0.05), interval=0.01)
    assert capsys.readouterr().out == ""


def test_callback_raising_on_third_call_ends_the_timer(monkeypatch):
    uncaught = []
    monkeypatch.setattr(threading, "excepthook", uncaught.append)
    callback = Callback(raise_on=3)
    timer = run_timer(callback)
    assert len(callback.calls) == 3
    assert [str(hook.exc_value) for hook in uncaught] == ["third call"]
    assert not timer.finished.is_set() and not timer.cancelled


@pytest.mark.parametrize("before_start", [True, False])
def test_cancel_wakes_a_long_wait(before_start):
    callback = Callback()
    timer = T.RepeatTimer(None, 3600, callback)
    if before_start:
        timer.cancel()
    timer.start()
    timer.cancel()
    timer.join(PATIENCE)
    assert not timer.is_alive() and callback.calls == []


class Keywords:
    """A mapping that is no dict."""

    def keys(self):
        return ["k"]

    def __getitem__(self, key):
        return 3


@pytest.mark.parametrize("args, kwargs, call", [
    ([1, 2], {"k": 3}, ((1, 2), {"k": 3})),
    (iter("ab"), Keywords(), (("a", "b"), {"k": 3})),
    (5, {}, "argument after * must be an iterable, not int"),
    ((), [("k", 3)], "argument after ** must be a mapping, not list"),
])
def test_arguments_set_later_are_unpacked_as_a_call_unpacks_them(args, kwargs, call):
    callback = Callback(cancel_on=1)
    timer = callback.timer = T.RepeatTimer(None, 0, callback)
    timer.args, timer.kwargs = args, kwargs
    if isinstance(call, str):
        with pytest.raises(TypeError, match=re.escape(call)):
            timer.run()
    else:
        timer.run()
        assert callback.calls == [call]
