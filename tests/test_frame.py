"""How every operation of the module takes its arguments, binds, fails and resolves names."""
import builtins
import copy
import datetime
import inspect
import pickle
import sys
import traceback
import types

import pytest

import vantrel.base.Tessarine as T


@pytest.mark.parametrize(
    "call, text",
    [
        (lambda: T.Logger.info(), "info() takes at least 2 positional arguments (0 given)"),
        (lambda: T.ErrorHandler.getErrorMsg(), "getErrorMsg() takes exactly 1 positional argument (0 given)"),
        (lambda: T.ErrorHandler.getErrorMsg(1, 2), "getErrorMsg() takes exactly 1 positional argument (2 given)"),
        (lambda: T.Logger(0, logLevel=1), "__init__() got multiple values for keyword argument 'logLevel'"),
        (lambda: T.Logger(0, level=1), "__init__() got an unexpected keyword argument 'level'"),
        (lambda: T.Logger(), "__init__() takes at least 2 positional arguments (1 given)"),
        (lambda: T.Logger(1, "p", 3), "__init__() takes at most 3 positional arguments (4 given)"),
        # a missing required argument among keywords: the count of leading ones present
        (lambda: T.Logger.log(level=1, head="h", msg="m"), "log() takes at least 4 positional arguments (0 given)"),
        (lambda: T.ErrorHandler.handleError(T.ErrorHandler(), mode=2),
         "handleError() takes at least 2 positional arguments (1 given)"),
        (lambda: T.Logger(0).setPrefix(), "setPrefix() takes exactly 2 positional arguments (1 given)"),
        (lambda: T.DriverException("x", 3), "__init__() takes exactly 2 positional arguments (3 given)"),
    ],
)
def test_refused_calls(call, text):
    with pytest.raises(TypeError) as caught:
        call()
    assert str(caught.value) == text


def test_keywords_and_defaults_bind_like_python():
    logger = T.Logger(prefix="p", logLevel=3)
    assert (logger._logLevel, logger._prefix) == (3, "p")
    handler = T.ErrorHandler(logger=logger, mode="lastError")
    assert handler.mode == "lastError" and handler._logger is logger


def test_functions_look_like_python_functions():
    info = T.Logger.info
    assert (info.__name__, info.__qualname__, info.__module__) == ("info", "Logger.info", "vantrel.base.Tessarine")
    logger = T.Logger(0)
    bound = logger.info
    assert bound.__self__ is logger and bound.__func__ is info
    assert T.ErrorHandler.mode.__doc__ == "Get mode"
    assert T.ErrorHandler.getErrorMsg(5) == T.ErrorHandler().getErrorMsg(5)
    assert pickle.loads(pickle.dumps(info)) is info and copy.deepcopy(info) is info


def test_classes_are_ordinary_classes():
    class Mine(T.Logger):
        extra = 1

    mine = Mine(3)
    mine.anything = "kept"
    assert mine.__dict__["anything"] == "kept" and isinstance(mine, T.Logger)
    assert (T.Logger.__module__, T.Logger.__qualname__, T.Logger.__doc__) == (
        "vantrel.base.Tessarine", "Logger", "Orvane Logger class.")
    T.Logger.classAttribute = 5
    try:
        assert T.Logger(0).classAttribute == 5
    finally:
        del T.Logger.classAttribute


def test_module_names_are_resolved_at_each_call(monkeypatch, capsys):
    fixed = datetime.datetime(2020, 1, 2, 14, 7, 33, 456789)
    clock = types.SimpleNamespace(datetime=types.SimpleNamespace(now=lambda: fixed))
    monkeypatch.setattr(T, "datetime", clock)
    T.Logger(3).info("connected")
    assert capsys.readouterr().out == "[14:07:33.4] INFO: connected\n"

    # a module class replaced from outside is what the next call uses
    monkeypatch.setattr(T, "ErrorHandler", types.SimpleNamespace(getErrorMsg=lambda code: f"code {code}"))
    assert str(T.IOLinkException(5, None)) == "code 5"


def test_builtins_are_fixed_at_start(monkeypatch, capsys):
    monkeypatch.setattr(builtins, "print", lambda *a: None)
    T.Logger(3).info("still printed")
    assert capsys.readouterr().out.endswith("INFO: still printed\n")


def test_traceback_names_each_operation():
    with pytest.raises(ValueError) as caught:
        T.Logger(1).error("100%")
    names = [frame.name for frame in traceback.extract_tb(caught.value.__traceback__)]
    assert names[-2:] == ["vantrel.base.Tessarine.Logger.error", "vantrel.base.Tessarine.Logger.log"]


def test_filtered_logging_reaches_a_replaced_log():
    received = []

    class Recording(T.Logger):
        def log(self, level, head, msg, *args):
            received.append((level, head, msg, args))

    Recording(-1).rw("x %s", 1)
    Recording(-1).debugExecute("call(%s)", "a")
    assert received == [(4, "R/W: ", "x %s", (1,)), (9, "DEBUG: calling ", "call(%s)", ("a",))]


def module_callables():
    function_type = type(T.toHex)
    for name, value in vars(T).items():
        members = vars(value).items() if isinstance(value, type) and value.__module__ == T.__name__ else ()
        for owner, member in [(name, value)] + [(f"{name}.{key}", item) for key, item in members]:
            if isinstance(member, staticmethod):
                member = member.__func__
            for each in (member.fget, member.fset) if isinstance(member, property) else (member,):
                if type(each) is function_type:
                    yield owner, each


@pytest.mark.parametrize(
    "function, text",
    [
        (T.RepeatTimer.__init__, "(self, name, interval, function, logger=None, *args, **kwargs)"),
        (T.RepeatTimer, "(name, interval, function, logger=None, *args, **kwargs)"),
        (T.Logger.info, "(self, msg, *args)"),
        (T.Logger(3).info, "(msg, *args)"),
        (T.readUrl, "(url, method='GET', **kwargs)"),
        (T.Statistics.getDeviceSel, "(drv, port=None, address=None)"),
        (T.IoddDev.vendorId.fget, "(self)"),
    ],
)
def test_signatures(function, text):
    assert str(inspect.signature(function)) == text


def test_every_function_has_a_signature_with_its_very_defaults():
    found = dict(module_callables())
    assert len(found) > 250
    for owner, function in found.items():
        inspect.signature(function)
    default_logger = inspect.signature(T.ErrorHandler).parameters["logger"].default
    assert type(default_logger) is T.Logger and T.ErrorHandler()._logger is default_logger
    assert T.toHex.__defaults__ == ("0x",) and T.equals.__defaults__ is None and T.toHex.__kwdefaults__ is None


def test_computed_attributes_are_properties():
    vendor = vars(T.IoddDev)["vendorId"]
    assert isinstance(vendor, property) and vendor.fset is None and vendor.__doc__ == vendor.fget.__doc__
    device = T.IoddDev(None, "a", 1, None, None, page1={"Vendor ID": 7})
    assert (vendor.__get__(device), vendor.__get__(None, T.IoddDev)) == (7, vendor)
    replaced = vendor.getter(lambda self: "mine")
    assert isinstance(replaced, type(vendor)) and replaced.__get__(device) == "mine"
    with pytest.raises(AttributeError):
        device.vendorId = 1
