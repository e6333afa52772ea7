import ast
import datetime
import os
import pathlib
import subprocess
import sys
import types

import pytest

import vantrel.base.Tessarine as Tessarine

# The stub shipped beside the module, as a tree: its names, bases and docstrings are the module's.
STUB = pathlib.Path(Tessarine.__file__).with_name("Tessarine.pyi")
STUB_TREE = ast.parse(STUB.read_text())


def pytest_configure(config):
    for marker in ("package_index: needs the package index to set up a fresh environment; skips itself without it",
                   "whole_package: tests the package rather than one build of the module; run against one build"):
        config.addinivalue_line("markers", marker)


def pytest_collection_modifyitems(config, items):
    # The second run of scripts/test, against the build without the fast roads, skips what ran the first time.
    if os.environ.get("TESSARINE_TESTS_AGAIN"):
        for item in items:
            if item.get_closest_marker("whole_package"):
                item.add_marker(pytest.mark.skip(reason="tested with the installed build"))


@pytest.fixture
def T():
    return Tessarine


def run_python(code, *options, timeout=120, **env):
    """Runs code in a fresh interpreter that finds the same module; returns the process."""
    environment = dict(os.environ, **env, PYTHONPATH=os.pathsep.join(p for p in sys.path if p))
    return subprocess.run([sys.executable, *options, "-c", code], capture_output=True, text=True, env=environment,
                          stdin=subprocess.DEVNULL, timeout=timeout)


# How much the sweeps, the thread stress and the timers do and wait (scripts/sanitize-test halves it).
SCALE = float(os.environ.get("TESSARINE_TEST_SCALE", "1"))


def outcome(action):
    """What calling action() gives: ("returned", value), or the type and text of what it raised."""
    try:
        return "returned", action()
    except Exception as error:
        return type(error), str(error)


class OwnerLogger:
    def __init__(self):
        self._logger, self.lines = self, []

    def __getattr__(self, operation):
        return lambda message, *args: self.lines.append((operation, message % args if args else message))


@pytest.fixture
def owner(monkeypatch):
    """CommonDriverManager.iodd set to an owner whose logger records (operation, line)."""
    monkeypatch.setattr(Tessarine.CommonDriverManager, "iodd", OwnerLogger())
    return Tessarine.CommonDriverManager.iodd


@pytest.fixture
def clock(monkeypatch):
    """Fixes the module's clock (now and today) at 2021-03-04 14:07:33; call it to set other microseconds."""
    def set_to(microsecond=456789):
        now = datetime.datetime(2021, 3, 4, 14, 7, 33, microsecond)
        fixed = types.SimpleNamespace(now=lambda: now, today=lambda: now)
        monkeypatch.setattr(Tessarine, "datetime", types.SimpleNamespace(datetime=fixed))
    set_to()
    return set_to
