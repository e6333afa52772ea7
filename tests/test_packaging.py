"""The source distribution is complete: unpacked on its own, it builds a wheel
that installs into a fresh environment and passes tests from the same tree."""
import os
import pathlib
import subprocess
import sys
import tarfile
import venv
import zipfile

import pytest

pytestmark = pytest.mark.whole_package

ROOT = pathlib.Path(__file__).resolve().parent.parent
# A few test files that need nothing beyond the module and its dependencies.
TESTS_FROM_THE_SDIST = ["test_exceptions.py", "test_mseq.py", "test_registry.py", "test_readme.py"]


def run(*command, cwd=None, timeout=900):
    # The fresh environment must find only what it installed itself.
    environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
    result = subprocess.run([str(part) for part in command], cwd=cwd, capture_output=True, text=True, timeout=timeout,
                            env=environment)
    assert result.returncode == 0, f"{command}\n{result.stdout}\n{result.stderr}"
    return result.stdout


def package_index_reachable():
    """Whether pip reaches its default package index, with every local folder and setting left out."""
    environment = {key: value for key, value in os.environ.items() if not key.startswith("PIP_")}
    environment["PIP_CONFIG_FILE"] = os.devnull
    probe = subprocess.run([sys.executable, "-m", "pip", "index", "versions", "scikit-build-core", "--retries", "0",
                            "--timeout", "20", "--disable-pip-version-check"],
                           capture_output=True, text=True, env=environment, timeout=120)
    return probe.returncode == 0


@pytest.mark.package_index
def test_sdist_builds_a_wheel_that_installs_and_passes_tests(tmp_path):
    if not package_index_reachable():
        pytest.skip("the package index is out of reach: a fresh environment cannot get the build tools")
    dist = tmp_path / "dist"
    # The sdist needs only the build backend, which this environment has.
    run(sys.executable, "-m", "build", "--sdist", "--no-isolation", "--outdir", dist, ROOT)
    (sdist,) = dist.glob("*.tar.gz")
    with tarfile.open(sdist) as archive:
        archive.extractall(tmp_path / "unpacked", filter="data")
    (source,) = (tmp_path / "unpacked").iterdir()

    # Isolated, as a user's pip would build it: the backend comes from the index.
    run(sys.executable, "-m", "pip", "wheel", "--no-deps", "--wheel-dir", dist, source)
    (wheel,) = dist.glob("*.whl")
    with zipfile.ZipFile(wheel) as archive:
        names = archive.namelist()
    package_files = sorted(name.rpartition("/")[2] for name in names if name.startswith("vantrel/"))
    assert [name for name in package_files if not name.endswith(".so")] == ["Tessarine.pyi", "py.typed"]
    assert any(name.startswith(f"vantrel/base/Tessarine.cpython-{sys.version_info[0]}{sys.version_info[1]}") for name in names)
    assert any(name.endswith(".dist-info/licenses/LICENSE") for name in names)

    environment = tmp_path / "venv"
    venv.create(environment, with_pip=True)
    python = environment / "bin" / "python"
    run(python, "-m", "pip", "install", "--quiet", "--disable-pip-version-check", wheel, "pytest")
    smoke = ("import vantrel.base.Tessarine as T; print(T.__file__); "
             "print(T.ErrorHandler.getErrorMsg(0x8011), T.parseMseqCapability(0x31, 2, 2)['Preoperate']['type'])")
    printed = run(python, "-c", smoke, cwd=tmp_path).splitlines()
    assert printed[0].startswith(str(environment)) and printed[1] == "IO-Link error code 0x8011 None"
    run(python, "-m", "pytest", "-q", "-p", "no:cacheprovider", *TESTS_FROM_THE_SDIST, cwd=source / "tests")
