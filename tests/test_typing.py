"""The stub beside the module tells the truth: stubtest compares every name and
parameter with the running module, the instance attributes it declares are
the ones the constructors set, and typed code that uses it checks strictly."""
import ast
import inspect
import pathlib
import subprocess
import sys

import pytest

import vantrel.base.Tessarine as T

pytestmark = pytest.mark.whole_package

ROOT = pathlib.Path(__file__).resolve().parent.parent
STUB = pathlib.Path(T.__file__).with_name("Tessarine.pyi")
TYPED_EXAMPLES = [ROOT / "examples" / "demo.py", ROOT / "examples" / "typed_usage.py"]


@pytest.fixture(scope="module")
def mypy_config(tmp_path_factory):
    """A config of its own, so that no project or user setting leaks in, and a cache that dies with the run."""
    folder = tmp_path_factory.mktemp("mypy")
    config = folder / "mypy.ini"
    config.write_text(f"[mypy]\ncache_dir = {folder / 'cache'}\n")
    return config


def run_tool(module, *args):
    # From a folder of its own: mypy reads configuration from the working directory.
    result = subprocess.run([sys.executable, "-m", module, *map(str, args)], capture_output=True, text=True,
                            cwd=pathlib.Path(T.__file__).parent, timeout=600)
    return result.returncode, result.stdout + result.stderr


def test_stub_and_marker_sit_beside_the_module():
    assert STUB.is_file() and STUB.with_name("py.typed").is_file()


def test_stubtest_finds_no_difference_from_the_running_module(mypy_config):
    code, output = run_tool("mypy.stubtest", "--mypy-config-file", mypy_config, T.__name__)
    assert code == 0, output


def test_typed_examples_and_the_stub_pass_strict_checking(mypy_config):
    # mypy reports nothing inside installed packages: a copy of the stub is
    # checked as a module of its own.
    stub_copy = mypy_config.with_name("Tessarine.pyi")
    stub_copy.write_text(STUB.read_text())
    code, output = run_tool("mypy", "--config-file", mypy_config, "--strict", *TYPED_EXAMPLES, stub_copy)
    assert code == 0, output


def test_typed_usage_runs_as_its_types_say():
    result = subprocess.run([sys.executable, str(ROOT / "examples" / "typed_usage.py")],
                            capture_output=True, text=True, timeout=120)
    assert result.returncode == 0, result.stderr
    assert "all subsystems answered" in result.stdout


# stubtest looks only at public names and at what a class binds; the checks
# below cover the private names and the attributes that constructors set.

def is_type_check_only(node):
    return any(isinstance(d, ast.Name) and d.id == "type_check_only" for d in node.decorator_list)


def bound_names(body):
    """Names that a module or class body of the stub binds, re-exported imports included."""
    for node in body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)) and not is_type_check_only(node):
            yield node.name
        elif isinstance(node, ast.AnnAssign):
            yield node.target.id
        elif isinstance(node, ast.Assign):
            yield from (target.id for target in node.targets)
        elif isinstance(node, (ast.Import, ast.ImportFrom)):
            yield from (alias.asname for alias in node.names if alias.asname == alias.name.rpartition(".")[2])


def is_class_var(annotation):
    target = annotation.value if isinstance(annotation, ast.Subscript) else annotation
    return isinstance(target, ast.Name) and target.id == "ClassVar"


def instance_attributes(classdef):
    return {node.target.id for node in classdef.body
            if isinstance(node, ast.AnnAssign) and not is_class_var(node.annotation)}


@pytest.fixture(scope="module")
def stub():
    return ast.parse(STUB.read_text())


@pytest.fixture(scope="module")
def stub_classes(stub):
    return {node.name: node for node in stub.body if isinstance(node, ast.ClassDef) and not is_type_check_only(node)}


MODULE_DUNDERS = {"__name__", "__doc__", "__package__", "__loader__", "__spec__", "__file__"}
# copyreg caches __slotnames__ on a class at its first copy.
CLASS_DUNDERS = {"__module__", "__doc__", "__dict__", "__weakref__", "__qualname__", "__firstlineno__",
                 "__static_attributes__", "__slotnames__"}
MODULE_CLASSES = [name for name, value in vars(T).items()
                  if isinstance(value, type) and value.__module__ == T.__name__]


def test_stub_binds_every_name_of_the_module(stub):
    assert set(vars(T)) - MODULE_DUNDERS - set(bound_names(stub.body)) == set()


@pytest.mark.parametrize("name", MODULE_CLASSES)
def test_stub_class_has_every_member_of_the_class(stub_classes, name):
    runtime = set(vars(getattr(T, name))) - CLASS_DUNDERS
    assert runtime - set(bound_names(stub_classes[name].body)) == set()


class Sim:
    address = "sim"
    _masterInfo = {}

    @staticmethod
    def driverName():
        return "Sim"


def sample_instances():
    statistics = T.Statistics([])
    yield T.DeviceStatus(object())
    yield T.IoddDev(None, "10.0.0.1", 1, None, None)
    yield T.IoddEvent("10.0.0.1", 1, (), "")
    yield T._IoddVarAccess(object())
    yield T._IoddSysAccess(object())
    yield T.AccessLocks(object())
    yield T.DeviceContent()
    yield T.MasterCommands()
    yield T.RepeatTimer(None, 1.0, print)
    yield T.ProcessDataStreamTable(["Time", "Value (int)"])
    yield from (T.Stat(), T.StatMs(), T.StatSec(), T.StatMerge([]), T.BaseStatistics(), statistics)
    yield statistics.getMasterStatistics(Sim, "sim")
    yield statistics.getDevStatistics(Sim, 0, "sim")
    yield T.ConnStatistics()
    yield from (T.DriverOptions([]), T.CommonDriverManager(), T.Logger(0), T.ErrorHandler())
    special = {"MasterException": ("10.0.0.1", b"\x01"), "MasterMalfunctionException": (Sim,),
               "IOLinkException": (0x8011, None)}
    for name in MODULE_CLASSES:
        cls = getattr(T, name)
        if issubclass(cls, BaseException):
            required = [p for p in inspect.signature(cls).parameters.values() if p.default is p.empty]
            yield cls(*special.get(name, ["m"] * len(required)))


@pytest.mark.parametrize("instance", list(sample_instances()), ids=lambda instance: type(instance).__name__)
def test_stub_declares_the_attributes_that_constructors_set(stub_classes, instance):
    own = [cls for cls in type(instance).__mro__ if cls.__module__ == T.__name__]
    declared = set().union(*(instance_attributes(stub_classes[cls.__name__]) for cls in own))
    foreign = [cls for cls in type(instance).__mro__[1:] if cls.__module__ not in (T.__name__, "builtins")]
    if foreign:
        # The rest belongs to the base class, whose own stubs describe it.
        assert declared <= set(vars(instance))
    else:
        assert declared == set(vars(instance))
