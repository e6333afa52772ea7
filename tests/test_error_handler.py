import pytest

import vantrel.base.Tessarine as T


class Recorder:
    """Stands in for a logger: keeps what error() receives."""
    def __init__(self):
        self._logLevel = 1
        self.lines = []

    def error(self, msg):
        self.lines.append(msg)


@pytest.fixture
def handler():
    return T.ErrorHandler("lastError", Recorder())


def test_new_handler():
    handler = T.ErrorHandler()
    assert (handler.mode, handler.logLevel, handler.getLastErrorCode(), handler.getLastError(), handler.getErrorList()) \
        == ("raise", 0, 0, "", [])


def test_default_logger_is_shared():
    first, second = T.ErrorHandler(), T.ErrorHandler()
    assert first._logger is second._logger
    first.logLevel = 2
    try:
        assert second.logLevel == 2
    finally:
        first.logLevel = 0


@pytest.mark.parametrize(
    "error, kwargs, last_error, code, entry",
    [
        (Exception("x"), {}, "x", -1, "x"),
        (T.OrvaneException("m", 5), {"errInfo": "i"}, "m", 5, "m (error code 5) [i]"),
        (T.OrvaneException("m"), {"errInfo": "i"}, "m", -1, "m [i]"),
        (T.RequestException("m"), {}, "m", 0, "m (error code 0)"),
        (Exception("a", "b"), {}, "b", -1, "b (a)"),
        (Exception("a", "b", "c"), {"errInfo": "ignored"}, "a b c", -1, "a b c"),
        (Exception(), {}, "", -1, ""),
        (Exception("a ", "b \n", "c\t"), {}, "a  b \n c", -1, "a  b \n c"),
        (Exception("a", ("f", 1, 2, "t")), {}, ("f", 1, 2, "t"), -1, 'a: File "f", line 1, col 2: t'),
        ("some text", {}, "DANGEROUS", -1, "DANGEROUS"),
    ],
)
def test_composed_texts(handler, error, kwargs, last_error, code, entry):
    assert handler.handleError(error, **kwargs) is None
    assert (handler.getLastError(), handler.getLastErrorCode(), handler.getErrorList()) == (last_error, code, [entry])
    assert handler._logger.lines == [entry]


@pytest.mark.parametrize(
    "handler_mode, call_mode, raises",
    [("lastError", 1, True), ("lastError", True, True), ("raise", 2, False), ("raise", 0, False),
     ("raise", None, True), ("lastError", None, False)],
)
def test_modes(handler_mode, call_mode, raises):
    handler = T.ErrorHandler(handler_mode, Recorder())
    error = T.DriverException("boom")
    if raises:
        with pytest.raises(T.DriverException) as caught:
            handler.handleError(error, mode=call_mode)
        assert caught.value is error
    else:
        handler.handleError(error, mode=call_mode)
    assert handler.getErrorList() == ["boom"]


def test_bounded_list(handler):
    for number in range(101):
        handler.handleError(Exception(str(number)))
    assert len(handler.getErrorList()) == 100 and handler.getErrorList()[0] == "1"
    handler.maxStackLength = 10
    handler.handleError(Exception("next"))
    assert len(handler.getErrorList()) == 100
    handler.maxStackLength = 0
    empty = T.ErrorHandler("lastError", Recorder())
    empty.maxStackLength = 0
    empty.handleError(Exception("x"))
    assert empty.getErrorList() == []


def test_error_list_is_the_handlers_own(handler):
    handler.getErrorList().append("outside")
    handler.clearLastError()
    assert handler.getErrorList() == ["outside"] and handler.getLastErrorCode() == 0


def test_bad_settings_follow_the_mode(handler):
    handler.mode = "x"
    assert handler.mode == "lastError" and handler.getLastError() == "invalid mode: x"
    handler.mode = ["unhashable"]
    assert handler.getLastErrorCode() == -1 and "unhashable" in handler.getLastError()
    handler._mode = 7
    assert handler.mode is None

    raising = T.ErrorHandler(logger=Recorder())
    with pytest.raises(Exception, match="^logLevel must be integer$"):
        raising.logLevel = "x"
    assert raising.logLevel == 1
    raising.logLevel = True
    assert raising.logLevel is True
    with pytest.raises(Exception, match="^invalid mode: bad$"):
        T.ErrorHandler("bad")


def test_logger_failure_replaces_the_error():
    handler = T.ErrorHandler("lastError", T.Logger(1))
    with pytest.raises(ValueError):
        handler.handleError(Exception("100%"))
    assert handler.getErrorList() == [] and handler.getLastError() == "100%"


def test_raising_something_that_is_no_exception():
    with pytest.raises(TypeError):
        T.ErrorHandler(logger=Recorder()).handleError("text")


@pytest.mark.parametrize(
    "code, text",
    [(5, "IO-Link error code 0x0005"), (0x8011, "IO-Link error code 0x8011"), (0x12345, "IO-Link error code 0x12345"),
     (-1, "IO-Link error code 0x-001")],
)
def test_error_messages(code, text):
    assert T.ErrorHandler.getErrorMsg(code) == text
    with pytest.raises(ValueError):
        T.ErrorHandler.getErrorMsg("5")
