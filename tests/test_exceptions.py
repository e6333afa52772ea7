import ast
import pathlib
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome
from standins import Master


class Iodd:
    def _getErrorText(self, code):
        return f"text {code:#x}"

    def _getError(self, message):
        if message == "known":
            return 17
        raise (KeyError if message == "broken" else T.DriverException)(message)


def test_tree_is_the_one_the_stub_declares():
    stub = ast.parse(pathlib.Path(T.__file__).with_name("Tessarine.pyi").read_text())
    tree = {node.name: [ast.unparse(base) for base in node.bases] for node in stub.body
            if isinstance(node, ast.ClassDef) and issubclass(getattr(T, node.name, type), BaseException)}
    assert len(tree) == 30
    assert {name: [base.__name__ for base in getattr(T, name).__bases__] for name in tree} == tree


MASTER_WITHOUT_INFO = types.SimpleNamespace(driverName=lambda: "D", address="a", _masterInfo={})


@pytest.mark.parametrize("make, expected", [
    (lambda: T.OrvaneException("x", True), ("x", True)),
    (lambda: T.OrvaneException("x", "5"), ("x", None)),
    (lambda: T.DriverException("m"), ("m", -1)),
    (lambda: T.RequestException("404 Not Found", 404), ("404 Not Found", 404)),
    (lambda: T.RequestException("x"), ("x", 0)),
    (lambda: T.IOLinkException([0x80, 0x11], None), ("IO-Link error code 0x8011", 0x8011)),
    (lambda: T.IOLinkException(0x8011, None), ("IO-Link error code 0x8011", 0x8011)),
    (lambda: T.IOLinkException((0, 0, 9), None), ("IO-Link error code 0x0000", 0)),
    (lambda: T.IOLinkException(-1, None), ("IO-Link error code 0x-001", -1)),
    (lambda: T.IOLinkException([0x80, 0x11], Iodd()), ("text 0x8011", 0x8011)),
    (lambda: T.IOLinkException("x", 7), ("x", 7)),
    (lambda: T.IOLinkException("known", Iodd()), ("known", 17)),
    (lambda: T.IOLinkException("unknown", Iodd()), ("unknown", -1)),
    (lambda: T.IOLinkException("broken", Iodd()), (KeyError, "'broken'")),
    (lambda: T.NotSupportedError(), ("Not supported by this master", -1)),
    (lambda: T.NotSupportedError(name="port"), ('"port" is not supported by this master', -1)),
    (lambda: T.NotSupportedError("boom", "x"), ("boom", -1)),
    (lambda: T.InvalidCallException("bad"), ("bad Please send us traceback for analyse.", -1)),
    (lambda: T.SimNotPluggedinException(""), ("Simulation device or master not plugged in", -1)),
    (lambda: T.MasterException("10.0.0.1", b"\x01\xab"), ("Master Error (10.0.0.1): 01.ab", -1)),
    (lambda: T.MasterMalfunctionException(Master()),
     ('Drv: master malfunction detected: "10.0.0.1" (M). Please restart the master.', -1)),
    (lambda: T.MasterMalfunctionException(MASTER_WITHOUT_INFO),
     ('D: master malfunction detected: "a" (None). Please restart the master.', -1)),
    (lambda: T.InvalidIoddException("a.xml"), ('Not a valid IODD: "a.xml"', -1)),
    (lambda: T.NotConnectedException(), ("not connected", -1)),
    (lambda: T.MasterNotConnectedException(), ("Master not connected", -1)),
    (lambda: T.CommunicationFailedError(), ("Communication failed", -1)),
    (lambda: T.BlockParameterWritingNotActiveException(), ("Block parameter writing not active", -1)),
    (lambda: T.NotImplementedAbstract(), ("Abstract not implemented", None)),
    (lambda: T.NotImplementedYet(0), ("Not implemented yet", None)),
    (lambda: T.NotImplementedYet("later"), ("later", None)),
])
def test_text_and_code(make, expected):
    kind, error = outcome(make)
    if kind == "returned":
        # The package's own exceptions keep their text as `message` too.
        assert error.args == (str(error),) and getattr(error, "message", str(error)) == str(error)
        kind, error = str(error), getattr(error, "code", None)
    assert (kind, error) == expected
