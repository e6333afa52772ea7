import os
import subprocess
import sys

import pytest

import vantrel.base.Tessarine as Tessarine


def pytest_configure(config):
    config.addinivalue_line(
        "markers", "package_index: needs the package index to set up a fresh environment; skips itself without it")


@pytest.fixture
def T():
    return Tessarine


def run_python(code, *options, timeout=120, **env):
    """Runs code in a fresh interpreter that finds the same module; returns the process."""
    environment = dict(os.environ, **env)
    environment["PYTHONPATH"] = os.pathsep.join(p for p in sys.path if p)
    return subprocess.run([sys.executable, *options, "-c", code], capture_output=True, text=True, env=environment,
                          stdin=subprocess.DEVNULL, timeout=timeout)
