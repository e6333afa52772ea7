"""The stub beside the module tells the truth: stubtest finds no difference, the stub binds the private names
too and declares the attributes that the constructors set, and typed code that uses it checks strictly."""
import ast
import inspect
import pathlib
import subprocess
import sys

import pytest

import vantrel.base.Tessarine as T
import standins
from conftest import STUB, STUB_TREE, run_python

pytestmark = pytest.mark.whole_package

EXAMPLES = pathlib.Path(__file__).resolve().parents[1] / "examples"
CLASSES = [name for name, value in vars(T).items() if isinstance(value, type) and value.__module__ == T.__name__]


def mypy(tmp_path, module, config_option, *args):
    # A config and cache of its own, run from a folder of its own: no project or user setting leaks in.
    (tmp_path / "mypy.ini").write_text(f"[mypy]\ncache_dir = {tmp_path / 'cache'}\n")
    done = subprocess.run([sys.executable, "-m", module, config_option, tmp_path / "mypy.ini", *args],
                          capture_output=True, text=True, cwd=tmp_path, timeout=600)
    assert done.returncode == 0, done.stdout + done.stderr


def test_stubtest_finds_no_difference_from_the_running_module(tmp_path):
    mypy(tmp_path, "mypy.stubtest", "--mypy-config-file", T.__name__)


def test_typed_examples_and_the_stub_pass_strict_checking(tmp_path):
    # mypy reports nothing inside installed packages: a copy of the stub is checked as a module of its own.
    (tmp_path / "Tessarine.pyi").write_text(STUB.read_text())
    mypy(tmp_path, "mypy", "--config-file", "--strict", EXAMPLES / "demo.py", EXAMPLES / "typed_usage.py",
         tmp_path / "Tessarine.pyi")
    done = run_python((EXAMPLES / "typed_usage.py").read_text())
    assert done.returncode == 0 and "all subsystems answered" in done.stdout, done.stderr


def bound(body):
    """Names a body of the stub binds, in order (re-exported imports in, type-checker-only ones out), and the
    attributes it declares."""
    names, attributes = {}, set()
    for node in body:
        if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
            if "type_check_only" not in map(ast.unparse, node.decorator_list):
                names[node.name] = None
        elif isinstance(node, ast.AnnAssign) and ast.unparse(node.annotation) != "TypeAlias":
            names[node.target.id] = None
            if "ClassVar" not in ast.unparse(node.annotation):
                attributes.add(node.target.id)
        elif isinstance(node, (ast.Import, ast.ImportFrom)):
            names.update(dict.fromkeys(alias.asname for alias in node.names
                                       if alias.asname == alias.name.rpartition(".")[2]))
    return names.keys(), attributes


STUB_CLASSES = {node.name: bound(node.body) for node in STUB_TREE.body if isinstance(node, ast.ClassDef)}
# copyreg caches __slotnames__ on a class at its first copy.
DUNDERS = {"__name__", "__doc__", "__package__", "__loader__", "__spec__", "__file__", "__module__", "__dict__",
           "__weakref__", "__qualname__", "__firstlineno__", "__static_attributes__", "__slotnames__"}


@pytest.mark.parametrize("name", [None] + CLASSES)
def test_stub_binds_every_name_of_the_module_and_its_classes(name):
    runtime, stub = (vars(T), bound(STUB_TREE.body)) if name is None else (vars(getattr(T, name)), STUB_CLASSES[name])
    assert set(runtime) - DUNDERS - stub[0] == set()
    # The module binds all that its stub binds, the imported modules too, and in the same order.
    assert name or [binding for binding in runtime if binding not in DUNDERS] == list(stub[0])


SPECIAL = {"MasterException": ("10.0.0.1", b"\x01"), "MasterMalfunctionException": (standins.Master(),),
           "IOLinkException": (0x8011, None)}


def instance_of(name):
    """A real instance of the class, or of an exception class with each required argument a text."""
    cls = getattr(T, name)
    if not issubclass(cls, BaseException):
        return standins.make(name)
    required = sum(p.default is p.empty for p in inspect.signature(cls).parameters.values())
    return cls(*SPECIAL.get(name, ["m"] * required))


@pytest.mark.parametrize("name", CLASSES)
def test_stub_declares_the_attributes_that_constructors_set(name):
    instance = instance_of(name)
    declared = set().union(*(STUB_CLASSES[cls.__name__][1] for cls in type(instance).__mro__
                             if cls.__module__ == T.__name__))
    if any(cls.__module__ not in (T.__name__, "builtins") for cls in type(instance).__mro__[1:]):
        assert declared <= set(vars(instance))  # the rest belongs to the base class, whose own stubs describe it
    else:
        assert declared == set(vars(instance))
