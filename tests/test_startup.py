"""Start-up of the module: once per process, in one interpreter, with its imports."""
import pytest

from conftest import run_python


def test_http_pool_configuration(T):
    settings, retries = T._http.connection_pool_kw, T._http.connection_pool_kw["retries"]
    assert (settings["timeout"], retries.connect, retries.read, retries.status, retries.redirect) == (10.0, 0, 0, 0, 3)


IMPORT = "import vantrel.base.Tessarine as T\n"
EXECUTED_TWICE = """import importlib.util
spec = importlib.util.find_spec('vantrel.base.Tessarine')
one, two = importlib.util.module_from_spec(spec), importlib.util.module_from_spec(spec)
spec.loader.exec_module(one)
try:
    spec.loader.exec_module(two)
except RuntimeError as error:
    print(error)"""
WITHOUT = """import sys, traceback
sys.modules[{0!r}] = None
try:
    import vantrel.base.Tessarine
except ImportError as error:
    print('init vantrel.base.Tessarine' in [f.name for f in traceback.extract_tb(error.__traceback__)])
print('vantrel.base.Tessarine' in sys.modules)
del sys.modules[{0!r}]
""" + IMPORT + "print(T.Logger.__name__)"


@pytest.mark.parametrize("code, printed", [
    # The start-up compares the running interpreter with the one the module
    # was built for: a warning, turned into an error, would end the import.
    ("import warnings\nwarnings.simplefilter('error')\n" + IMPORT, ""),
    ("import sys\n" + IMPORT + "pool = T._http\ndel sys.modules['vantrel.base.Tessarine']\n"
     "import vantrel.base.Tessarine as again\nprint(again is T and again._http is pool)", "True\n"),
    (EXECUTED_TWICE, "Module 'Tessarine' has already been imported. Re-initialisation is not supported.\n"),
    (IMPORT + "import _interpreters\nfailure = _interpreters.run_string(_interpreters.create('legacy'), "
     "'import vantrel.base.Tessarine')\nprint(failure.type.__name__, failure.msg)",
     "ImportError Interpreter change detected - this module can only be loaded into one interpreter per process.\n"),
    (WITHOUT.format("prettytable"), "True\nFalse\nLogger\n"),
], ids=["no warning", "one module", "executed twice", "second interpreter", "a failed import"])
def test_start_up(code, printed):
    done = run_python(code)
    assert (done.returncode, done.stdout) == (0, printed), done.stderr
