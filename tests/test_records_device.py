import json
import types

import pytest

import vantrel.base.Tessarine as T

PAGE = {"Vendor ID": 310, "Device ID": 1234, "IO-Link Version ID": 17, "Frame Capability": {"IsduSupport": True}}


class Master:
    def __init__(self, numbering):
        self.baseDrv = types.SimpleNamespace(portNumbering=numbering)

    def driverName(self):
        return "Sim"


class Owner:
    """Stands in for the package's main object: its logger records deprecations."""
    def __init__(self):
        self.lines = []
        self._logger = self

    def deprecated(self, msg):
        self.lines.append(msg)


@pytest.fixture
def owner(monkeypatch):
    owner = Owner()
    monkeypatch.setattr(T.CommonDriverManager, "iodd", owner)
    return owner


def device(master=None, port=3, page1=None, naming="original", name=None, code=None, ident=None):
    return T.IoddDev(master, "10.0.0.1", port, name, code, ident, page1, naming)


def test_bare_record():
    dev = device()
    assert (dev.portId, dev.port, dev.driver, dev.masterName, dev.masterProductCode) \
        == (3, ("10.0.0.1", 3), "undefined", "undefined", "undefined")
    assert [dev.vendorId, dev.deviceId, dev.ioLinkRevision, dev.isduSupported, dev.deviceIdentifier, dev.page1] \
        == [None] * 6
    assert json.loads(repr(dev)) == {"IoddDevice": {
        "vendorId": None, "deviceId": None, "driver": "undefined",
        "master": {"name": "undefined", "productCode": "undefined"},
        "port": ["10.0.0.1", 3], "deviceIdentifier": None}}


def test_repr_text():
    dev = device(Master(True), 0, PAGE, name="M", code="P", ident={"serial": "ä1"})
    assert repr(dev) == """{
    "IoddDevice": {
        "vendorId": 310,
        "deviceId": 1234,
        "driver": "Sim",
        "master": {
            "name": "M",
            "productCode": "P"
        },
        "port": [
            "10.0.0.1",
            1
        ],
        "deviceIdentifier": {
            "serial": "ä1"
        }
    }
}"""


@pytest.mark.parametrize("numbering, port_id", [(True, 1), (False, 0), (0, 0)])
def test_port_numbering(numbering, port_id):
    dev = device(Master(numbering), 0)
    assert (dev.portId, dev.port, dev._port) == (port_id, ("10.0.0.1", port_id), 0)


@pytest.mark.parametrize("naming, matlab", [("original", False), ("MatLab", True), ("ORIGINAL", False)])
def test_page_in_either_naming(naming, matlab):
    page = dict(PAGE)
    dev = device(page1=page, naming=naming)
    assert dev._recordFieldNaming is matlab
    assert ("Vendor_ID" in dev.page1) is matlab and page == PAGE
    assert (dev.vendorId, dev.deviceId, dev.ioLinkRevision, dev.isduSupported) == (310, 1234, 17, True)
    dev._setPage1(page)
    assert dev.page1 is page and dev.vendorId == 310


@pytest.mark.parametrize("page, naming, error", [
    ({"x": 1}, "original", "Vendor ID"), ({"x": 1}, "matlab", "Vendor_ID"), ({}, "matlab", None)])
def test_missing_field(page, naming, error):
    dev = device(page1=page, naming=naming)
    if error is None:
        assert dev.vendorId is None
    else:
        with pytest.raises(KeyError, match=error):
            dev.vendorId


@pytest.mark.parametrize("capability", [None, {}])
def test_empty_frame_capability(capability):
    assert device(page1={"Frame Capability": capability}).isduSupported is None


def test_invalid_naming():
    with pytest.raises(T.OrvaneException, match="Invalid record field naming: Other"):
        device(naming="Other")


def test_empty_identifiers_read_as_none():
    assert device(ident={}).deviceIdentifier is None


@pytest.mark.parametrize("old, new, message", [
    ("name", "masterName", 'name: use "masterName" instead.'),
    ("productCode", "masterProductCode", 'productCode: use "masterProductCode" instead.')])
def test_deprecated_names_log_at_every_read(owner, old, new, message):
    dev = device(name="M", code="P")
    assert [getattr(dev, old), getattr(dev, old)] == [getattr(dev, new)] * 2
    assert owner.lines == [message, message]
    repr(dev)
    assert len(owner.lines) == 2


def test_deprecated_name_without_owner():
    with pytest.raises(AttributeError):
        device().name


def test_equality():
    a = device(Master(True), 0, PAGE, name="A")
    assert a == device(Master(True), 0, PAGE, name="B")
    assert a != device(Master(True), 1, PAGE)
    assert a == device(Master(False), 1, PAGE)  # another port, the same port ID
    with pytest.raises(TypeError):
        hash(a)
    with pytest.raises(AttributeError):
        a == 5


def test_type_and_keywords():
    dev = T.IoddDev(master=None, address="a", port=1, masterName="n", masterProdCode="c")
    assert T.IoddDev._getType() is T.IoddDev and dev.masterName == "n"
    with pytest.raises(AttributeError):
        dev.address = "b"
