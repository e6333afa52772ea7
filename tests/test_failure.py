"""The exception tree, the logger and the error handler."""
import ast
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import STUB_TREE, outcome
from standins import Master, Recorder


def test_tree_is_the_one_the_stub_declares():
    tree = {node.name: [ast.unparse(base) for base in node.bases] for node in STUB_TREE.body
            if isinstance(node, ast.ClassDef) and issubclass(getattr(T, node.name, type), BaseException)}
    assert len(tree) == 30 and {name: [base.__name__ for base in getattr(T, name).__bases__] for name in tree} == tree


@pytest.mark.parametrize("make, expected", [
    (lambda: T.OrvaneException("x", True), ("x", True)), (lambda: T.OrvaneException("x", "5"), ("x", None)),
    (lambda: T.DriverException("m"), ("m", -1)), (lambda: T.RequestException("x"), ("x", 0)),
    (lambda: T.RequestException("404 Not Found", 404), ("404 Not Found", 404)),
    (lambda: T.IOLinkException([0x80, 0x11], None), ("IO-Link error code 0x8011", 0x8011)),
    (lambda: T.IOLinkException(0x8011, None), ("IO-Link error code 0x8011", 0x8011)),
    (lambda: T.IOLinkException(-1, None), ("IO-Link error code 0x-001", -1)),
    (lambda: T.IOLinkException([0x80, 0x11], Recorder(_getErrorText="text {:#x}".format)), ("text 0x8011", 0x8011)),
    (lambda: T.IOLinkException("x", 7), ("x", 7)),
    # The code of a text is asked of the object; only the package's own errors fall back to -1.
    (lambda: T.IOLinkException("known", Recorder(_getError={"known": 17}.get)), ("known", 17)),
    (lambda: T.IOLinkException("unknown", Recorder(_getError=T.DriverException("u"))), ("unknown", -1)),
    (lambda: T.IOLinkException("broken", Recorder(_getError={}.__getitem__)), (KeyError, "'broken'")),
    (lambda: T.NotSupportedError(), ("Not supported by this master", -1)),
    (lambda: T.NotSupportedError(name="port"), ('"port" is not supported by this master', -1)),
    (lambda: T.NotSupportedError("boom", "x"), ("boom", -1)),
    (lambda: T.InvalidCallException("bad"), ("bad Please send us traceback for analyse.", -1)),
    (lambda: T.SimNotPluggedinException(""), ("Simulation device or master not plugged in", -1)),
    (lambda: T.MasterException("10.0.0.1", b"\x01\xab"), ("Master Error (10.0.0.1): 01.ab", -1)),
    (lambda: T.MasterMalfunctionException(Master()),
     ('Drv: master malfunction detected: "10.0.0.1" (M). Please restart the master.', -1)),
    (lambda: T.InvalidIoddException("a.xml"), ('Not a valid IODD: "a.xml"', -1)),
    *[(getattr(T, name), (text, -1)) for name, text in [
        ("NotConnectedException", "not connected"), ("MasterNotConnectedException", "Master not connected"),
        ("CommunicationFailedError", "Communication failed"), ("NotSimulatorException", "not simulator"),
        ("NotSupportedBySimDeviceException", "Function not supported by simulation device"),
        ("BlockParameterNotAllowedException", "Block parameter command not allowed"),
        ("NoIoLinkException", "IO-Link not active"),
        ("BlockParameterAlreadyActiveException", "Block parameter already active"),
        ("BlockParameterWritingNotActiveException", "Block parameter writing not active"),
        ("BlockParameterReadingNotActiveException", "Block parameter reading not active")]],
    (lambda: T.NotImplementedAbstract(), ("Abstract not implemented", None)),
    (lambda: T.NotImplementedYet(0), ("Not implemented yet", None)),
    (lambda: T.NotImplementedYet("later"), ("later", None)),
])
def test_text_and_code(make, expected):
    kind, error = outcome(make)
    if kind == "returned":
        # The package's own exceptions keep their text as `message` too.
        assert error.args == (str(error),) and getattr(error, "message", str(error)) == str(error)
        kind, error = str(error), getattr(error, "code", None)
    assert (kind, error) == expected


@pytest.mark.parametrize("operation, level, head", [
    ("deprecated", 0, "DEPRECATED: "), ("error", 1, "ERROR: "), ("warning", 2, "WARNING: "), ("info", 3, "INFO: "),
    ("rw", 4, "R/W: "), ("rwr", 5, "R/W Result: "), ("rwd", 6, "R/W Data: "), ("debugExecute", 9, "DEBUG: calling "),
    ("debug", 9, "DEBUG: "), ("debugPeriodic", 10, "DEBUG: "), ("debugSendRecv", 11, "DEBUG: ")])
def test_each_operation_prints_from_its_level_on(clock, capsys, operation, level, head):
    getattr(T.Logger(level), operation)("m %s", 1)
    getattr(T.Logger(level - 1), operation)("100%", 1)  # below its level a message is not even formatted
    assert capsys.readouterr().out == f"[14:07:33.4] {head}m 1\n"


# Whole seconds come from time.strftime, which shows here the format it is given.
@pytest.mark.parametrize("decimals, microsecond, time_text", [
    (1, 999999, "14:07:33.9"), (2, 456789, "14:07:33.45"), (3, 5000, "14:07:33.005"), (6, 42, "14:07:33.000042"),
    (7, 42, "14:07:33.0000420"), (0, 0, "<%H:%M:%S>"),
])
def test_time_text_follows_the_seconds_decimals(clock, capsys, monkeypatch, decimals, microsecond, time_text):
    monkeypatch.setattr(T, "time", types.SimpleNamespace(strftime=lambda fmt: f"<{fmt}>"))
    clock(microsecond)
    logger = T.Logger(3)
    logger.setSecondsDecimals(decimals)
    logger.info("x")
    assert capsys.readouterr().out == f"[{time_text}] INFO: x\n"


def test_prefix_and_head(clock, capsys):
    logger = T.Logger(3, "x")
    logger.info("a")
    logger.setPrefix("y")
    logger.log(3, "H", "b")
    assert capsys.readouterr().out == "[14:07:33.4x] INFO: a\n[14:07:33.4 y] Hb\n"


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


@pytest.mark.parametrize("error, kwargs, last_error, code, entry", [
    (T.OrvaneException("m", 5), {"errInfo": "i"}, "m", 5, "m (error code 5) [i]"),
    (T.OrvaneException("m"), {"errInfo": "i"}, "m", -1, "m [i]"), (Exception("a", "b"), {}, "b", -1, "b (a)"),
    (T.RequestException("m"), {}, "m", 0, "m (error code 0)"), ("some text", {}, "DANGEROUS", -1, "DANGEROUS"),
    (Exception("a ", "b \n", "c\t"), {"errInfo": "ignored"}, "a  b \n c", -1, "a  b \n c"),
])
def test_error_texts(owner, error, kwargs, last_error, code, entry):
    handler = T.ErrorHandler("lastError", owner)
    assert handler.handleError(error, **kwargs) is None
    assert (handler.getLastError(), handler.getLastErrorCode(), handler.getErrorList()) == (last_error, code, [entry])
    assert owner.lines == [("error", entry)]


# The mode of the call, if given, else the handler's, decides; what fails on the way replaces the error.
@pytest.mark.parametrize("mode, call_mode, level, error, expected", [
    *[(mode, call_mode, 0, T.DriverException("boom"), (T.DriverException, "boom") if raises else ("returned", None))
      for mode, call_mode, raises in [("lastError", 1, True), ("lastError", True, True), ("raise", 2, False),
                                      ("raise", 0, False), ("raise", None, True), ("lastError", None, False)]],
    ("lastError", None, 1, Exception("100%"), (ValueError, "incomplete format")),
    ("raise", None, 0, "text", (TypeError, "exceptions must derive from BaseException")),
])
def test_error_modes(mode, call_mode, level, error, expected):
    handler = T.ErrorHandler(mode, T.Logger(level))
    assert outcome(lambda: handler.handleError(error, mode=call_mode)) == expected


def test_error_list_keeps_the_latest(owner):
    handler = T.ErrorHandler("lastError", owner)
    for number in range(101):
        handler.handleError(Exception(str(number)))
    handler.maxStackLength = 10  # a lower bound takes effect one error at a time
    handler.handleError(T.OrvaneException("next", 3))
    handler.clearLastError()
    assert (handler.getErrorList(), handler.getLastError(), handler.getLastErrorCode()) \
        == ([str(number) for number in range(2, 101)] + ["next (error code 3)"], "", 0)


def test_error_settings_follow_the_mode(owner):
    handler = T.ErrorHandler("lastError", owner)
    handler.mode = "x"
    assert (handler.mode, handler.getLastError()) == ("lastError", "invalid mode: x")
    handler.mode = ["unhashable"]
    assert (handler.getLastErrorCode(), handler.getLastError()) == (-1, outcome(lambda: {}.get(["unhashable"]))[1])
    handler._mode = 7  # a number without a name
    strict = T.ErrorHandler(logger=T.Logger(0))
    assert (outcome(lambda: setattr(strict, "logLevel", "x")), outcome(lambda: T.ErrorHandler("x")), strict.logLevel,
            handler.mode) == ((Exception, "logLevel must be integer"), (Exception, "invalid mode: x"), 0, None)
