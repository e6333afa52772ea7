import pytest

import vantrel.base.Tessarine as T
from conftest import outcome


@pytest.mark.parametrize("error, kwargs, last_error, code, entry", [
    (T.OrvaneException("m", 5), {"errInfo": "i"}, "m", 5, "m (error code 5) [i]"),
    (T.OrvaneException("m"), {"errInfo": "i"}, "m", -1, "m [i]"),
    (T.RequestException("m"), {}, "m", 0, "m (error code 0)"),
    (Exception("a", "b"), {}, "b", -1, "b (a)"),
    (Exception("a ", "b \n", "c\t"), {"errInfo": "ignored"}, "a  b \n c", -1, "a  b \n c"),
    (Exception("a", ("f", 1, 2, "t")), {}, ("f", 1, 2, "t"), -1, 'a: File "f", line 1, col 2: t'),
    ("some text", {}, "DANGEROUS", -1, "DANGEROUS"),
])
def test_composed_texts(owner, error, kwargs, last_error, code, entry):
    handler = T.ErrorHandler("lastError", owner)
    assert handler.handleError(error, **kwargs) is None
    assert (handler.getLastError(), handler.getLastErrorCode(), handler.getErrorList()) == (last_error, code, [entry])
    assert owner.lines == [("error", entry)]


@pytest.mark.parametrize("handler_mode, call_mode, raises", [
    ("lastError", 1, True), ("lastError", True, True), ("raise", 2, False), ("raise", 0, False),
    ("raise", None, True), ("lastError", None, False),
])
def test_modes(owner, handler_mode, call_mode, raises):
    handler = T.ErrorHandler(handler_mode, owner)
    expected = (T.DriverException, "boom") if raises else ("returned", None)
    assert outcome(lambda: handler.handleError(T.DriverException("boom"), mode=call_mode)) == expected


def test_error_list_keeps_the_latest(owner):
    handler = T.ErrorHandler("lastError", owner)
    for number in range(101):
        handler.handleError(Exception(str(number)))
    handler.maxStackLength = 10  # a lower bound takes effect one error at a time
    handler.handleError(Exception("next"))
    assert handler.getErrorList() == [str(number) for number in range(2, 101)] + ["next"]
    handler.getErrorList().clear()  # the handler's own list
    handler.maxStackLength = 0
    handler.handleError(Exception("x"))
    handler.clearLastError()
    assert (handler.getErrorList(), handler.getLastError(), handler.getLastErrorCode()) == ([], "", 0)


def test_settings_follow_the_mode(owner):
    handler = T.ErrorHandler("lastError", owner)
    handler.mode = "x"
    assert (handler.mode, handler.getLastError()) == ("lastError", "invalid mode: x")
    handler.mode = ["unhashable"]
    assert (handler.getLastErrorCode(), handler.getLastError()) == (-1, outcome(lambda: {}.get(["unhashable"]))[1])
    handler._mode = 7
    assert handler.mode is None
    raising = T.ErrorHandler(logger=T.Logger(0))
    assert outcome(lambda: setattr(raising, "logLevel", "x")) == (Exception, "logLevel must be integer")
    assert (raising.logLevel, outcome(lambda: T.ErrorHandler("bad"))) == (0, (Exception, "invalid mode: bad"))


@pytest.mark.parametrize("mode, level, error, raised, listed", [
    ("lastError", 1, Exception("100%"), (ValueError, "incomplete format"), []),
    ("raise", 0, "text", (TypeError, "exceptions must derive from BaseException"), ["DANGEROUS"]),
])
def test_what_fails_on_the_way_replaces_the_error(mode, level, error, raised, listed):
    handler = T.ErrorHandler(mode, T.Logger(level))
    assert (outcome(lambda: handler.handleError(error)), handler.getErrorList()) == (raised, listed)
