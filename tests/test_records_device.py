import json

import pytest

import vantrel.base.Tessarine as T

from conftest import outcome
from standins import PAGE1, Master


def numbered_master(numbering):
    made = Master()
    made.baseDrv.portNumbering = numbering
    return made


def device(master=None, port=3, page1=None, naming="original", name=None, code=None, ident=None):
    return T.IoddDev(master, "10.0.0.1", port, name, code, ident, page1, naming)


def test_bare_record():
    dev = T.IoddDev(master=None, address="10.0.0.1", port=3, masterName=None, masterProdCode=None, devIdent={})
    assert (dev.portId, dev.port, dev.driver, dev.masterName, dev.masterProductCode, dev.vendorId, dev.deviceId,
            dev.ioLinkRevision, dev.isduSupported, dev.deviceIdentifier, dev.page1) \
        == (3, ("10.0.0.1", 3), "undefined", "undefined", "undefined") + (None,) * 6


def test_repr_lists_every_field_in_order():
    dev = device(numbered_master(True), 0, PAGE1, name="M", code="P", ident={"serial": "ä1"})
    report = {"vendorId": 1, "deviceId": 2, "driver": "Drv", "master": {"name": "M", "productCode": "P"},
              "port": ["10.0.0.1", 1], "deviceIdentifier": {"serial": "ä1"}}
    assert repr(dev) == json.dumps({"IoddDevice": report}, indent=4, ensure_ascii=False)
    assert T.IoddDev._getType() is T.IoddDev


# Equal records show the same port ID, which another port of a master that numbers from 1 may have.
@pytest.mark.parametrize("numbering, port, port_id, equal", [(True, 0, 1, True), (False, 1, 1, True),
                                                              (0, 0, 0, False), (True, 1, 2, False)])
def test_port_numbering_and_equality(numbering, port, port_id, equal):
    dev = device(numbered_master(numbering), port, PAGE1, name="other")
    assert (dev.port, dev == device(numbered_master(True), 0, PAGE1)) == (("10.0.0.1", port_id), equal)


# A page stored in original naming, as _setPage1 stores it, still reads on a record in Matlab naming.
def test_page_in_matlab_naming():
    page = dict(PAGE1)
    dev = device(page1=page, naming="MatLab")
    assert ("Vendor_ID" in dev.page1, page) == (True, PAGE1)
    assert (dev.vendorId, dev.deviceId, dev.ioLinkRevision, dev.isduSupported) == (1, 2, 0x11, True)
    dev._setPage1(page)
    assert (dev.page1, dev.vendorId) == (page, 1)


@pytest.mark.parametrize("naming, missing", [("original", "'Vendor ID'"), ("matlab", "'Vendor_ID'")])
def test_missing_field_is_named_as_the_record_names_it(naming, missing):
    assert outcome(lambda: device(page1={"x": 1}, naming=naming).vendorId) == (KeyError, missing)


@pytest.mark.parametrize("old, new, value", [("name", "masterName", "M"), ("productCode", "masterProductCode", "P")])
def test_deprecated_names_log_at_every_read(owner, old, new, value):
    dev = device(name="M", code="P")
    assert [getattr(dev, old) for _ in range(2)] == [value] * 2
    repr(dev)  # reads the new names only
    assert owner.lines == [("deprecated", f'{old}: use "{new}" instead.')] * 2
