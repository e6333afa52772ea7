"""How every operation of the module takes its arguments, binds, fails and resolves names."""
import builtins
import contextlib
import copy
import datetime
import inspect
import io
import pickle
import traceback
import types

import pytest

import vantrel.base.Tessarine as T

import sweep
from conftest import run_python


@pytest.mark.parametrize("call, text", [
    (lambda: T.Logger.info(), "info() takes at least 2 positional arguments (0 given)"),
    (lambda: T.ErrorHandler.getErrorMsg(), "getErrorMsg() takes exactly 1 positional argument (0 given)"),
    (lambda: T.ErrorHandler.getErrorMsg(1, 2), "getErrorMsg() takes exactly 1 positional argument (2 given)"),
    (lambda: T.Logger(0, logLevel=1), "__init__() got multiple values for keyword argument 'logLevel'"),
    (lambda: T.Logger(0, level=1), "__init__() got an unexpected keyword argument 'level'"),
    (lambda: T.Logger(), "__init__() takes at least 2 positional arguments (1 given)"),
    (lambda: T.Logger(1, "p", 3), "__init__() takes at most 3 positional arguments (4 given)"),
    # a missing required argument among keywords: the count of leading ones present
    (lambda: T.Logger.log(level=1, head="h", msg="m"), "log() takes at least 4 positional arguments (0 given)"),
    (lambda: T.ErrorHandler().handleError(mode=2), "handleError() takes at least 2 positional arguments (1 given)"),
    (lambda: T.Logger(0).setPrefix(), "setPrefix() takes exactly 2 positional arguments (1 given)"),
    (lambda: T.DriverException("x", 3), "__init__() takes exactly 2 positional arguments (3 given)"),
])
def test_refused_calls(call, text):
    with pytest.raises(TypeError) as caught:
        call()
    assert str(caught.value) == text


def test_functions_and_classes_are_ordinary(monkeypatch):
    logger = T.Logger(prefix="p", logLevel=3)
    handler = T.ErrorHandler(logger=logger, mode="lastError")
    assert (logger._logLevel, logger._prefix, handler.mode, handler._logger) == (3, "p", "lastError", logger)
    info, mine = T.Logger.info, type("Mine", (T.Logger,), {})(3)
    assert (info.__name__, info.__qualname__, info.__module__) == ("info", "Logger.info", "vantrel.base.Tessarine")
    assert (logger.info.__self__, logger.info.__func__) == (logger, info)
    assert T.ErrorHandler.getErrorMsg(5) == handler.getErrorMsg(5)
    assert (T.Logger.__module__, T.Logger.__qualname__) == ("vantrel.base.Tessarine", "Logger")
    assert pickle.loads(pickle.dumps(info)) is info and copy.deepcopy(info) is info
    mine.anything = "kept"
    monkeypatch.setattr(T.Logger, "classAttribute", 5, raising=False)
    assert (mine.__dict__["anything"], isinstance(mine, T.Logger), mine.classAttribute) == ("kept", True, 5)


def printed(action):
    with contextlib.redirect_stdout(io.StringIO()) as out:
        action()
    return out.getvalue()


def clock_at(tenths):
    return types.SimpleNamespace(datetime=types.SimpleNamespace(
        now=lambda: datetime.datetime(2021, 3, 4, 14, 7, 33, int(tenths) * 100000)))


# A module attribute replaced from outside is what the next call uses: the
# name, the replacement made from a mark, the call, what it gives for the mark.
@pytest.mark.parametrize("name, replacement, call, expected", [
    ("_convertToAscii", lambda mark: lambda text: "name" + mark, lambda: T._convertMatlabFieldName("abc"), "name{}"),
    ("ErrorHandler", lambda mark: types.SimpleNamespace(getErrorMsg=lambda code: mark),
     lambda: str(T.IOLinkException(5, None)), "{}"),
    ("_http", lambda mark: types.SimpleNamespace(request=lambda *args, **kwargs: types.SimpleNamespace(
        status=200, reason=mark)), lambda: T.readUrl("u").reason, "{}"),
    ("json", lambda mark: types.SimpleNamespace(dumps=lambda *args, **kwargs: mark), lambda: repr(T.Stat()), "{}"),
    ("datetime", clock_at, lambda: printed(lambda: T.Logger(3).info("x")), "[14:07:33.{}] INFO: x\n"),
], ids=["function", "class", "_http", "json", "clock"])
def test_module_names_are_resolved_at_each_call(monkeypatch, name, replacement, call, expected):
    for mark in "12":
        monkeypatch.setattr(T, name, replacement(mark))
        assert call() == expected.format(mark)


def test_builtins_are_fixed_at_start(monkeypatch):
    monkeypatch.setattr(builtins, "print", lambda *args: None)
    assert printed(lambda: T.Logger(3).info("still printed")).endswith("INFO: still printed\n")


def test_traceback_names_each_operation():
    with pytest.raises(ValueError) as caught:
        T.Logger(1).error("100%")
    names = [frame.name for frame in traceback.extract_tb(caught.value.__traceback__)]
    assert names[-2:] == ["vantrel.base.Tessarine.Logger.error", "vantrel.base.Tessarine.Logger.log"]


def test_filtered_logging_reaches_a_replaced_log():
    received = []
    recording = type("Recording", (T.Logger,), {"log": lambda self, *args: received.append(args)})
    recording(-1).rw("x %s", 1)
    recording(-1).debugExecute("call(%s)", "a")
    assert received == [(4, "R/W: ", "x %s", 1), (9, "DEBUG: calling ", "call(%s)", "a")]


@pytest.mark.parametrize("function, text", [
    (T.RepeatTimer.__init__, "(self, name, interval, function, logger=None, *args, **kwargs)"),
    (T.RepeatTimer, "(name, interval, function, logger=None, *args, **kwargs)"),
    (T.RepeatTimer.run, "(self)"),
    (T.Logger.info, "(self, msg, *args)"),
    (T.Logger(3).info, "(msg, *args)"),
    (T.readUrl, "(url, method='GET', **kwargs)"),
    (T.Statistics.getDeviceSel, "(drv, port=None, address=None)"),
    (T.IoddDev.vendorId.fget, "(self)"),
])
def test_signatures(function, text):
    assert str(inspect.signature(function)) == text


def test_every_function_has_a_signature_with_its_very_defaults():
    functions = [function for _, function in sweep.module_callables() if type(function) is type(T.toHex)]
    assert len(functions) > 250 and all(inspect.signature(function) for function in functions)
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
    with pytest.raises(AttributeError, match="^property 'vendorId' of 'IoddDev' object has no setter$"):
        device.vendorId = 1


def test_a_property_initialised_again_answers_with_its_new_getter():
    # The old getters would fail on these instances: a stored field that is
    # gone, and a page that cannot be read.
    done = run_python("""
import vantrel.base.Tessarine as T
content = T.DeviceContent({}, 1, {}, None)
del content._port
device = T.IoddDev(None, "a", 1, None, None, page1=None)
for instance, name in ((content, "port"), (device, "vendorId")):
    def getter(self, name=name):
        return "new " + name
    vars(type(instance))[name].__init__(getter)
    print(getattr(instance, name), vars(type(instance))[name].fget is getter)
""")
    assert done.stdout == "new port True\nnew vendorId True\n", done.stderr
