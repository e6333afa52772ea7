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
