"""The source distribution is complete: unpacked on its own, it builds a wheel that installs into a fresh
environment and passes tests from the same tree."""
import os
import pathlib
import subprocess
import sys
import sysconfig
import tarfile
import venv
import zipfile

import pytest

pytestmark = pytest.mark.whole_package

ROOT = pathlib.Path(__file__).resolve().parents[1]


def run(*command, cwd=None):
    # The fresh environment must find only what it installed itself.
    environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
    done = subprocess.run([str(part) for part in command], cwd=cwd, capture_output=True, text=True, timeout=900,
                          env=environment)
    assert done.returncode == 0, f"{command}\n{done.stdout}\n{done.stderr}"
    return done.stdout


@pytest.mark.package_index
def test_sdist_builds_a_wheel_that_installs_and_passes_tests(tmp_path):
    # Whether pip reaches its default package index, with every local folder and setting left out but the
    # certificates it is told to trust.
    probe = subprocess.run([sys.executable, "-m", "pip", "index", "versions", "scikit-build-core", "--retries", "0",
                            "--timeout", "20", "--disable-pip-version-check"], capture_output=True, timeout=120,
                           env={**{k: v for k, v in os.environ.items() if not k.startswith("PIP_") or k == "PIP_CERT"},
                                "PIP_CONFIG_FILE": os.devnull})
    if probe.returncode:
        pytest.skip("the package index is out of reach: a fresh environment cannot get the build tools")
    dist, unpacked, environment = tmp_path / "dist", tmp_path / "unpacked", tmp_path / "venv"
    # The sdist needs only the build backend, which this environment has; the wheel is built isolated, as a
    # user's pip would build it, with the backend from the index.
    run(sys.executable, "-m", "build", "--sdist", "--no-isolation", "--outdir", dist, ROOT)
    with tarfile.open(*dist.glob("*.tar.gz")) as archive:
        archive.extractall(unpacked, filter="data")
    (source,) = unpacked.iterdir()
    run(sys.executable, "-m", "pip", "wheel", "--no-deps", "--wheel-dir", dist, source)
    (wheel,) = dist.glob("*.whl")
    with zipfile.ZipFile(wheel) as archive:
        names = archive.namelist()
    package = sorted(f"vantrel/base/Tessarine{end}" for end in (".pyi", sysconfig.get_config_var("EXT_SUFFIX")))
    assert sorted(name for name in names if name.startswith("vantrel/")) == package + ["vantrel/base/py.typed"]
    assert any(name.endswith(".dist-info/licenses/LICENSE") for name in names)

    venv.create(environment, with_pip=True)
    python = environment / "bin" / "python"
    run(python, "-m", "pip", "install", "--quiet", "--disable-pip-version-check", wheel, "pytest")
    # Test files that need only the module and its dependencies, which only the fresh environment can provide.
    run(python, "-m", "pytest", "-q", "-p", "no:cacheprovider", "test_failure.py", "test_process.py",
        "test_registry.py", "test_readme.py", cwd=source / "tests")
