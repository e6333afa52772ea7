"""Start-up of the module: once per process, in one interpreter, with its imports."""
import pytest

from conftest import run_python

PUBLIC_NAMES = """deque time datetime re hashlib threading array traceback sys json types os copy warnings importlib
np prettytable urllib3 _http equals notequals toHex toHexDelim undefIfNone dict_depth postUrl readUrl
postUrlNoException readUrlNoException format_exception is_list is_int_list is_str_list is_list_none matlabConvert
isMatlabNaming find_line_data filesha256 getRootNamespace getRootSchema getModuleVersions parseMseqCapability
dictRename dictRenameCapitals dictReplace _convertToAscii _dictMatlabReplace _convertMatlabFieldName DeviceStatus
IoddDev IoddEvent _IoddVarAccess _IoddSysAccess AccessLocks DeviceContent MasterCommands RepeatTimer
ProcessDataStreamTable Stat StatMs StatSec StatMerge BaseStatistics Statistics MasterStatistics DevStatistics
ConnStatistics DriverOptions CommonDriverManager Logger ErrorHandler NotImplementedAbstract NotImplementedYet
OrvaneException NonConformIoddException IoddCollectionException DriverException CouldNotOpenMasterException
InvalidCallException MasterException NotConnectedException MasterNotConnectedException NotSupportedError
CommunicationFailedError MasterMalfunctionException CommException RequestException IOLinkException
InvalidIoddException NotSupportedBySimDeviceException SimNotPluggedinException NotSimulatorException
NoIoLinkException IndexUnavailableException TTimeException RecordFieldException BlockParameterException
BlockParameterNotAllowedException BlockParameterAlreadyActiveException BlockParameterWritingNotActiveException
BlockParameterReadingNotActiveException""".split()


def test_public_names_in_order(T):
    defined = [name for name in vars(T) if not name.startswith("__")]
    assert defined == PUBLIC_NAMES


def test_http_pool_configuration(T):
    settings = T._http.connection_pool_kw
    retries = settings["retries"]
    assert settings["timeout"] == 10.0
    assert (retries.connect, retries.read, retries.status, retries.redirect) == (0, 0, 0, 3)


def check(code, **env):
    process = run_python(code, **env)
    assert process.returncode == 0, process.stderr
    return process.stdout


def test_no_version_warning_on_the_interpreter_built_for():
    # The start-up compares the running interpreter with the one the module
    # was built for; warnings turned into errors would end the import.
    process = run_python("import vantrel.base.Tessarine", "-W", "error")
    assert process.returncode == 0, process.stderr


def test_one_module_object_and_one_body_run():
    check("""
import sys, vantrel.base.Tessarine as first
pool = first._http
del sys.modules['vantrel.base.Tessarine']
import vantrel.base.Tessarine as second
assert second is first and second._http is pool
""")


def test_reinitialisation_is_refused():
    out = check("""
import importlib.util
spec = importlib.util.find_spec('vantrel.base.Tessarine')
one, two = importlib.util.module_from_spec(spec), importlib.util.module_from_spec(spec)
spec.loader.exec_module(one)
try:
    spec.loader.exec_module(two)
except RuntimeError as error:
    print(error)
""")
    assert out == "Module 'Tessarine' has already been imported. Re-initialisation is not supported.\n"


def test_second_interpreter_is_refused():
    out = check("""
import _interpreters
import vantrel.base.Tessarine
interpreter = _interpreters.create('legacy')
failure = _interpreters.run_string(interpreter, 'import vantrel.base.Tessarine')
print(failure.type.__name__, failure.msg)
""")
    assert out == ("ImportError Interpreter change detected - this module can only be loaded into one interpreter "
                   "per process.\n")


def test_numpy_is_optional():
    out = check("""
import sys
sys.modules['numpy'] = None
import vantrel.base.Tessarine as T
print(T.np)
""")
    assert out == "None\n"


@pytest.mark.parametrize("required", ["prettytable", "urllib3"])
def test_required_imports_leave_nothing_behind(required):
    out = check(f"""
import sys, traceback
sys.modules[{required!r}] = None
try:
    import vantrel.base.Tessarine
except ImportError as error:
    print('init vantrel.base.Tessarine' in [f.name for f in traceback.extract_tb(error.__traceback__)])
print('vantrel.base.Tessarine' in sys.modules)
del sys.modules[{required!r}]
import vantrel.base.Tessarine as T
print(T.Logger.__name__)
""")
    assert out == "True\nFalse\nLogger\n"
