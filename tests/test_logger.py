import types

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome


@pytest.mark.parametrize("operation, level, head", [
    ("deprecated", 0, "DEPRECATED: "), ("error", 1, "ERROR: "), ("warning", 2, "WARNING: "), ("info", 3, "INFO: "),
    ("rw", 4, "R/W: "), ("rwr", 5, "R/W Result: "), ("rwd", 6, "R/W Data: "), ("debugExecute", 9, "DEBUG: calling "),
    ("debug", 9, "DEBUG: "), ("debugPeriodic", 10, "DEBUG: "), ("debugSendRecv", 11, "DEBUG: "),
])
def test_each_operation_prints_from_its_level_on(clock, capsys, operation, level, head):
    assert getattr(T.Logger(level), operation)("m %s", 1) is None
    # Below its level a message is not even formatted.
    assert getattr(T.Logger(level - 1), operation)("100%", 1) is None
    assert capsys.readouterr().out == f"[14:07:33.4] {head}m 1\n"


@pytest.mark.parametrize("decimals, microsecond, time_text", [
    (1, 999999, "14:07:33.9"), (2, 456789, "14:07:33.45"), (3, 5000, "14:07:33.005"), (6, 42, "14:07:33.000042"),
    (7, 42, "14:07:33.0000420"), (0, 0, "<%H:%M:%S>"),
])
def test_time_text_follows_the_seconds_decimals(clock, capsys, monkeypatch, decimals, microsecond, time_text):
    # Whole seconds come from time.strftime, which shows here the format it is given.
    monkeypatch.setattr(T, "time", types.SimpleNamespace(strftime=lambda fmt: f"<{fmt}>"))
    clock(microsecond)
    logger = T.Logger(3)
    logger.setSecondsDecimals(decimals)
    logger.info("x")
    logger._printDate = 0
    logger.info("y")
    assert capsys.readouterr().out == f"[{time_text}] INFO: x\n[] INFO: y\n"


def test_prefix_head_and_what_fails(clock, capsys):
    logger = T.Logger(3, "x")
    logger.info("a")
    logger.setPrefix("y")
    logger.log(3, "H", "b")
    for failing in (lambda: logger.setPrefix(5), lambda: logger.info("x", 1), lambda: logger.info("%s %s", 1),
                    lambda: T.Logger("3").info("x"), lambda: logger.setSecondsDecimals("x")):
        pytest.raises(TypeError, failing)
    # The decimals are stored before their scale fails: the format now ends in %.xd.
    logger.info("c")
    assert capsys.readouterr().out == "[14:07:33.4x] INFO: a\n[14:07:33.4 y] Hb\n[14:07:33.4d y] INFO: c\n"


# Formats and scales that the quick % of short ASCII formats must write, or refuse, as the host's % does.
@pytest.mark.parametrize("dateformat, scale", [
    ("%.2d:%.2d:%.2d.%.3d", 7), ("%.2d:%.2d:%.2d.%.12d", 3), ("%.2d:%.2d:%.2d.%.0d", 10), ("%d-%d-%d-%d", 1000),
    ("%.2d:%.2d:%.2d.%.2d", 2**53 + 1), ("%.2d:%.2d:%.2d.%.1x", 16), ("%d:%d:%d.%d %d", 1), ("%d:%d:%d", 1),
])
def test_time_text_is_what_percent_gives(clock, capsys, dateformat, scale):
    logger = T.Logger(3)
    logger._dateformat, logger._decimalsscale = dateformat, scale
    written = outcome(lambda: "[%s] INFO: x\n" % (dateformat % (14, 7, 33, int(456789 / scale))))
    assert outcome(lambda: logger.info("x") or capsys.readouterr().out) == written
