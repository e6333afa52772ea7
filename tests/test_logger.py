import datetime
import io
import sys
import types

import pytest

import vantrel.base.Tessarine as T


@pytest.fixture
def clock(monkeypatch):
    """Fixes the logger's clock at 14:07:33 and the given microseconds."""
    def set_to(microsecond=456789):
        now = datetime.datetime(2021, 3, 4, 14, 7, 33, microsecond)
        monkeypatch.setattr(T, "datetime", types.SimpleNamespace(datetime=types.SimpleNamespace(now=lambda: now)))
    set_to()
    return set_to


@pytest.mark.parametrize(
    "level, operation, args, line",
    [
        (0, "deprecated", ("x",), "[14:07:33.4] DEPRECATED: x"),
        (0, "error", ("x",), None),
        (-1, "deprecated", ("x",), None),
        (1, "error", ("a %s", 5), "[14:07:33.4] ERROR: a 5"),
        (0, "error", ("100%",), None),
        (2, "warning", ("w",), "[14:07:33.4] WARNING: w"),
        (3, "info", ("i",), "[14:07:33.4] INFO: i"),
        (4, "rw", ("r",), "[14:07:33.4] R/W: r"),
        (5, "rwr", ("r",), "[14:07:33.4] R/W Result: r"),
        (6, "rwd", ("r",), "[14:07:33.4] R/W Data: r"),
        (5, "rwd", ("r",), None),
        (9, "debugExecute", ("connect(%s)", "a"), "[14:07:33.4] DEBUG: calling connect(a)"),
        (9, "debug", ("d",), "[14:07:33.4] DEBUG: d"),
        (9, "debugPeriodic", ("d",), None),
        (10, "debugPeriodic", ("d",), "[14:07:33.4] DEBUG: d"),
        (10, "debugSendRecv", ("d",), None),
        (11, "debugSendRecv", ("d",), "[14:07:33.4] DEBUG: d"),
    ],
)
def test_levels_and_heads(clock, capsys, level, operation, args, line):
    assert getattr(T.Logger(level), operation)(*args) is None
    assert capsys.readouterr().out == ("" if line is None else line + "\n")


def test_log_joins_head_without_separator(clock, capsys):
    T.Logger(3).log(3, "H", "m")
    assert capsys.readouterr().out == "[14:07:33.4] Hm\n"


@pytest.mark.parametrize(
    "decimals, microsecond, time_text",
    [(3, 5000, "14:07:33.005"), (1, 999999, "14:07:33.9"), (6, 42, "14:07:33.000042"), (7, 42, "14:07:33.0000420")],
)
def test_seconds_decimals(clock, capsys, decimals, microsecond, time_text):
    clock(microsecond)
    logger = T.Logger(3)
    logger.setSecondsDecimals(decimals)
    logger.info("x")
    assert capsys.readouterr().out == f"[{time_text}] INFO: x\n"


def test_scale_and_format_follow_decimals():
    logger = T.Logger(3)
    assert (logger._dateformat, logger._decimalsscale, logger._printSecDecimals) == ("%.2d:%.2d:%.2d.%.1d", 100000, 1)
    logger.setSecondsDecimals(0)
    assert (logger._dateformat, logger._decimalsscale) == ("%H:%M:%S", 100000)
    logger.setSecondsDecimals(2)
    assert logger._decimalsscale == 10000
    logger.setSecondsDecimals(7)
    assert logger._decimalsscale == 0.1
    with pytest.raises(TypeError):
        logger.setSecondsDecimals("x")
    assert (logger._printSecDecimals, logger._dateformat) == ("x", "%.2d:%.2d:%.2d.%.xd")


def test_whole_seconds_use_strftime(monkeypatch, capsys):
    monkeypatch.setattr(T, "time", types.SimpleNamespace(strftime=lambda fmt: f"<{fmt}>"))
    logger = T.Logger(3)
    logger.setSecondsDecimals(0)
    logger.info("x")
    assert capsys.readouterr().out == "[<%H:%M:%S>] INFO: x\n"


def test_prefixes(clock, capsys):
    logger = T.Logger(3, "x")
    logger.info("a")
    logger.setPrefix("y")
    logger.info("b")
    logger._printDate = False
    logger.info("c")
    assert capsys.readouterr().out.splitlines() == ["[14:07:33.4x] INFO: a", "[14:07:33.4 y] INFO: b", "[ y] INFO: c"]
    with pytest.raises(TypeError):
        logger.setPrefix(5)
    assert logger._prefix == " y"


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: T.Logger(1).error("100%"), ValueError),
        (lambda: T.Logger(3).info("x", 1), TypeError),
        (lambda: T.Logger(3).info("%s %s", 1), TypeError),
        (lambda: T.Logger(3).info(5), TypeError),
        (lambda: T.Logger("3").info("x"), TypeError),
    ],
)
def test_failures_reach_the_caller(capsys, call, error):
    with pytest.raises(error):
        call()
    assert capsys.readouterr().out == ""


def test_output_follows_sys_stdout(monkeypatch):
    buffer = io.StringIO()
    monkeypatch.setattr(sys, "stdout", buffer)
    T.Logger(3).info("redirected")
    assert buffer.getvalue().endswith("INFO: redirected\n")


class LaterDatetime(datetime.datetime):
    pass


@pytest.mark.parametrize("made", [datetime.datetime, LaterDatetime], ids=["host datetime", "subclass"])
@pytest.mark.parametrize("dateformat, scale", [
    ("%.2d:%.2d:%.2d.%.1d", 100000), ("%.2d:%.2d:%.2d.%.6d", 1), ("%.2d:%.2d:%.2d.%.3d", 7),
    ("%.2d:%.2d:%.2d.%.12d", 3), ("%.2d:%.2d:%.2d.%.0d", 10), ("%.2d:%.2d:%.2d.%.2d", 10**17 + 1),
    ("%.2d:%.2d:%.2d.%.2d", 2**53 + 1), ("%d-%d-%d-%d", 1000), ("%.2d:%.2d:%.2d.%.1x", 16),
])
def test_time_text_is_what_percent_gives(monkeypatch, capsys, made, dateformat, scale):
    now = made(2021, 3, 4, 9, 7, 3, 987654)
    monkeypatch.setattr(T, "datetime", types.SimpleNamespace(datetime=types.SimpleNamespace(now=lambda: now)))
    logger = T.Logger(3)
    logger._dateformat, logger._decimalsscale = dateformat, scale
    logger.info("x")
    expected = dateformat % (now.hour, now.minute, now.second, int(now.microsecond / scale))
    assert capsys.readouterr().out == "[%s] INFO: x\n" % expected
