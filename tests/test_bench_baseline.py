"""The benchmark compares like with like: on its very inputs, the plain-Python baseline
answers, prints and ends in the same state as the module, and each floor takes the
same call."""
import contextlib
import importlib.util
import inspect
import io
import pathlib
import re
import sys

import pytest

BENCH = pathlib.Path(__file__).resolve().parent.parent / "bench"


def load(name):
    spec = importlib.util.spec_from_file_location(name, BENCH / f"{name}.py")
    module = importlib.util.module_from_spec(spec)
    sys.modules[name] = module
    spec.loader.exec_module(module)
    return module


baseline = load("baseline")
workload = load("workload")

LOG_TIME = re.compile(r"^\[\d\d:\d\d:\d\d\.\d", re.MULTILINE)


def run(case, names):
    """What a case's statement gives, and what it prints with the time of day masked."""
    with contextlib.redirect_stdout(io.StringIO()) as output:
        result = eval(case.statement, {}, names)
    return result, LOG_TIME.sub("[<time>", output.getvalue())


def outcome(case, names):
    """As run, with the state that the case names, if it names one; compared by repr, which
    also tells key order, int from float and True from 1."""
    result, printed = run(case, names)
    state = eval(case.report, {}, names) if case.report else None
    return repr(result), printed, repr(state)


@pytest.mark.parametrize("case", workload.CASES, ids=lambda case: case.name)
def test_baseline_agrees_with_module(T, case):
    native = outcome(case, case.fixture(T))
    assert native == outcome(case, case.fixture(baseline))
    assert native[1] or not case.prints, "a printing case must print"
    assert native[2] != "None" or not case.report, "a named state must say something"


@pytest.mark.parametrize("case", workload.CASES, ids=lambda case: case.name)
def test_floor_takes_the_same_call(case):
    result, printed = run(case, workload.floor(case, case.fixture(baseline)))
    assert result in (None, "") and not printed


def test_floor_keeps_defaults():
    def operation(self, value, scale=1000, *args, name="x", **kwargs):
        return value

    empty = workload.empty_like(operation)
    assert str(inspect.signature(empty)) == "(self, value, scale=1000, *args, name='x', **kwargs)"
    assert empty(None, 1) is None
