import os
import subprocess
import sys

import pytest

import vantrel.base.Tessarine as Tessarine


def pytest_configure(config):
    config.addinivalue_line(
        "markers", "package_index: needs the package index to set up a fresh environment; skips itself without it")
    config.addinivalue_line(
        "markers", "whole_package: tests the package rather than one build of the module; run against one build")


def pytest_collection_modifyitems(config, items):
    # scripts/test runs the suite a second time against the build without the
    # fast roads: what does not depend on the build ran the first time.
    if os.environ.get("TESSARINE_TESTS_AGAIN"):
        again = pytest.mark.skip(reason="tested with the installed build")
        for item in items:
            if item.get_closest_marker("whole_package"):
                item.add_marker(again)


@pytest.fixture
def T():
    return Tessarine


def run_python(code, *options, timeout=120, **env):
    """Runs code in a fresh interpreter that finds the same module; returns the process."""
    environment = dict(os.environ, **env)
    environment["PYTHONPATH"] = os.pathsep.join(p for p in sys.path if p)
    return subprocess.run([sys.executable, *options, "-c", code], capture_output=True, text=True, env=environment,
                          stdin=subprocess.DEVNULL, timeout=timeout)


# How much the sweeps, the thread stress and the timers do and wait: one
# setting for all of them (scripts/sanitize-test halves it, where each call
# costs more).
SCALE = float(os.environ.get("TESSARINE_TEST_SCALE", "1"))


def outcome(action):
    """What calling action() gives: ("returned", value), or the type and text of what it raised."""
    try:
        return "returned", action()
    except Exception as error:
        return type(error), str(error)


class OwnerLogger:
    """The package's main object as CommonDriverManager.iodd: its logger records each line, by operation."""

    def __init__(self):
        self._logger = self
        self.lines = []

    def __getattr__(self, operation):
        return lambda message, *args: self.lines.append((operation, message % args if args else message))


@pytest.fixture
def owner(monkeypatch):
    """CommonDriverManager.iodd set to an owner whose logger records (operation, line)."""
    made = OwnerLogger()
    monkeypatch.setattr(Tessarine.CommonDriverManager, "iodd", made)
    return made


@pytest.fixture
def clock(monkeypatch):
    """Fixes the module's clock at 2021-03-04 14:07:33; call it to set other microseconds."""
    import datetime
    import types

    def set_to(microsecond=456789):
        now = datetime.datetime(2021, 3, 4, 14, 7, 33, microsecond)
        monkeypatch.setattr(Tessarine, "datetime", types.SimpleNamespace(datetime=types.SimpleNamespace(now=lambda: now)))
    set_to()
    return set_to
