"""How every operation of the module takes its arguments, binds, fails and is documented.  (That module names are looked up
at each call, and properties remade in place answer at once, test_fast_roads.py shows against the baseline.)"""
import ast
import builtins
import copy
import inspect
import pickle
import traceback

import pytest

import vantrel.base.Tessarine as T

import sweep
from conftest import STUB_TREE, outcome


@pytest.mark.parametrize("call, text", [
    (lambda: T.Logger.info(), "info() takes at least 2 positional arguments (0 given)"),
    (lambda: T.ErrorHandler.getErrorMsg(), "getErrorMsg() takes exactly 1 positional argument (0 given)"),
    (lambda: T.Logger(0, logLevel=1), "__init__() got multiple values for keyword argument 'logLevel'"),
    (lambda: T.Logger(0, level=1), "__init__() got an unexpected keyword argument 'level'"),
    (lambda: T.Logger(1, "p", 3), "__init__() takes at most 3 positional arguments (4 given)"),
    # a missing required argument among keywords: the count of leading ones present
    (lambda: T.Logger.log(level=1, head="h", msg="m"), "log() takes at least 4 positional arguments (0 given)"),
    (lambda: T.ErrorHandler().handleError(mode=2), "handleError() takes at least 2 positional arguments (1 given)"),
    (lambda: T.Logger(0).setPrefix(), "setPrefix() takes exactly 2 positional arguments (1 given)"),
])
def test_refused_calls(call, text):
    assert outcome(call) == (TypeError, text)


def test_functions_and_classes_are_ordinary(monkeypatch):
    logger = T.Logger(prefix="p", logLevel=3)
    handler = T.ErrorHandler(logger=logger, mode="lastError")
    assert (logger._logLevel, logger._prefix, handler.mode, handler._logger) == (3, "p", "lastError", logger)
    info, mine = T.Logger.info, type("Mine", (T.Logger,), {})(3)
    assert (info.__name__, info.__qualname__, info.__module__, T.Logger.__qualname__, logger.info.__self__,
            logger.info.__func__) == ("info", "Logger.info", "vantrel.base.Tessarine", "Logger", logger, info)
    assert pickle.loads(pickle.dumps(info)) is info and copy.deepcopy(info) is info
    mine.anything = "kept"
    monkeypatch.setattr(T.Logger, "classAttribute", 5, raising=False)
    assert (mine.__dict__["anything"], isinstance(mine, T.Logger), mine.classAttribute) == ("kept", True, 5)


def test_builtins_are_fixed_at_start(monkeypatch, capsys):
    monkeypatch.setattr(builtins, "print", lambda *args: None)
    T.Logger(3).info("still printed")
    assert capsys.readouterr().out.endswith("INFO: still printed\n")


def test_traceback_names_each_operation():
    with pytest.raises(ValueError) as caught:
        T.Logger(1).error("100%")
    entries = [(frame.name, frame.filename) for frame in traceback.extract_tb(caught.value.__traceback__)]
    assert entries[-2:] == [(f"vantrel.base.Tessarine.Logger.{name}", "base/failure/logger.cpp")
                            for name in ("error", "log")]


# Each function's own parameters are compared with the stub by test_typing.py; here what the host derives.
@pytest.mark.parametrize("function, text", [
    (T.RepeatTimer, "(name, interval, function, logger=None, *args, **kwargs)"),
    (T.Logger(3).info, "(msg, *args)"),
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


def stub_texts():
    """Name -> docstring or None of each function, class, method, property and setter of the stub: the
    module's documentation texts, word for word."""
    texts = {}
    for node in STUB_TREE.body:
        if not isinstance(node, (ast.FunctionDef, ast.ClassDef)) or any(
                getattr(d, "id", None) == "type_check_only" for d in node.decorator_list):
            continue
        members = node.body if isinstance(node, ast.ClassDef) else []
        named = [(node, node.name)] + [(m, f"{node.name}.{m.name}") for m in members if isinstance(m, ast.FunctionDef)]
        for item, name in named:
            setter = ".fset" * any(getattr(d, "attr", None) == "setter" for d in item.decorator_list)
            text, indent = ast.get_docstring(item, clean=False), "\n" + " " * item.body[0].col_offset
            # Of overloads, the first carries the text; the stub's own indentation is no part of it.
            texts.setdefault(name + setter, text and text.replace(indent, "\n"))
    return texts


def runtime(name):
    """The module's function, class, method, property or setter of that name."""
    owner, _, member = name.removesuffix(".fset").rpartition(".")
    item = vars(getattr(T, owner))[member] if owner else getattr(T, member)
    item = getattr(item, "__func__", item)
    return item.fset if name.endswith(".fset") else item


TEXTS = stub_texts()


@pytest.mark.parametrize("name", TEXTS)
def test_documentation_text(name):
    assert runtime(name).__doc__ == TEXTS[name]
