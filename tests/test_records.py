"""The records of a device (IoddDev, DeviceStatus, IoddEvent, DeviceContent), its accessors, MasterCommands."""
import json
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome
from standins import EVENT, PAGE1, Recorder


def numbered_master(numbering):
    return types.SimpleNamespace(baseDrv=types.SimpleNamespace(portNumbering=numbering), driverName=lambda: "Drv")


def device(master=None, port=3, page1=None, naming="original", name=None, code=None, ident=None):
    return T.IoddDev(master, "10.0.0.1", port, name, code, ident, page1, naming)


# A page given in Matlab naming is stored converted, one given to _setPage1 as it is; a bare record has none.
def test_repr_lists_every_field_in_order_and_a_bare_record_has_none():
    bare = device(ident={})
    assert (bare.driver, bare.masterName, bare.masterProductCode, bare.ioLinkRevision, bare.isduSupported,
            bare.deviceIdentifier, bare.page1) == ("undefined",) * 3 + (None,) * 4
    dev = device(numbered_master(True), 0, PAGE1, "MatLab", name="M", code="P", ident={"serial": "ä1"})
    report = {"vendorId": 1, "deviceId": 2, "driver": "Drv", "master": {"name": "M", "productCode": "P"},
              "port": ["10.0.0.1", 1], "deviceIdentifier": {"serial": "ä1"}}
    assert (repr(dev), dev.ioLinkRevision, dev.isduSupported, list(dev.page1)) \
        == (json.dumps({"IoddDevice": report}, indent=4, ensure_ascii=False), 0x11, True,
            ["Vendor_ID", "Device_ID", "IO_Link_Version_ID", "Frame_Capability"])
    dev._setPage1(PAGE1)
    assert (dev.page1, T.IoddDev._getType()) == (PAGE1, T.IoddDev)


# Equal records show the same port ID, which another port of a master that numbers from 1 may have.
@pytest.mark.parametrize("numbering, port, port_id, equal", [(True, 0, 1, True), (False, 1, 1, True),
                                                              (0, 0, 0, False), (True, 1, 2, False)])
def test_port_numbering_and_equality(numbering, port, port_id, equal):
    dev = device(numbered_master(numbering), port, PAGE1, name="other")
    assert (dev.port, dev == device(numbered_master(True), 0, PAGE1)) == (("10.0.0.1", port_id), equal)


def test_deprecated_names_log_at_every_read(owner):
    dev = device(name="M", code="P")
    assert ([dev.name, dev.name, dev.productCode], owner.lines) == (["M", "M", "P"], [
        ("deprecated", 'name: use "masterName" instead.'), ("deprecated", 'name: use "masterName" instead.'),
        ("deprecated", 'productCode: use "masterProductCode" instead.')])


LOST_CHECKS = ["_checkLostDev", "_hasConnectionError", "_checkInspectionLevelWrongDev"]


def communication(connected=True, lost=(False, False, False), **answers):
    made = Recorder(**dict(zip(LOST_CHECKS, lost)), **{
        "_hasIolink": 1, "isWrongDevice": False, "getStatusPdInvalid": False, "read": "value", "write": 0,
        "getVariableNames": ["B", "A"], "getValueNames": ["2", "Reset ä"], "sysCmd": "done",
        "getValue": lambda index, key: {"restore": 128, 128: "Restore factory settings"}[key], **answers})
    made.connected, made._master, made._dev = connected, made, made  # its own master and device
    return made


# How many questions a property asks shows where `or` stopped, and that a device not connected is asked nothing.
@pytest.mark.parametrize("answers, name, expected, questions", [
    ({"lost": (1, 2, 3)}, "lost", 1, 1), ({"lost": (0, "", 0)}, "lost", 0, 3), ({"lost": (0, "e", 0)}, "lost", "e", 2),
    ({"lost": (0, "e", 0)}, "connectionError", "e", 1), ({"_hasIolink": 1}, "preoperate", True, 1),
    ({"_hasIolink": 2}, "preoperate", False, 1), ({"getStatusPdInvalid": 0}, "pdValid", True, 1),
    ({"getStatusPdInvalid": 1}, "pdValid", False, 1), ({"connected": 0}, "connected", 0, 0),
    *[({"connected": 0}, name, "not connected", 0)
      for name in ["lost", "preoperate", "wrongDevice", "pdValid", "connectionError"]]])
def test_status_answers(answers, name, expected, questions):
    dev = communication(**answers)
    value = getattr(T.DeviceStatus(dev), name)
    assert (value, type(value), len(dev.calls)) == (expected, type(expected), questions)


def test_status_repr_shows_unsupported_as_text():
    dev = communication(getStatusPdInvalid=T.NotSupportedError("no PD"), isWrongDevice=T.NotSupportedError("no"))
    report = {"connected": True, "lost": False, "preoperate": True, "wrongDevice": "no", "pdValid": "no PD",
              "connectionError": False}
    assert repr(T.DeviceStatus(dev)) == json.dumps({"DeviceStatus": report}, indent=4, ensure_ascii=False)
    assert dev.calls == [("getStatusPdInvalid",), ("isWrongDevice", dev), *[(c,) for c in LOST_CHECKS],
                         ("_hasIolink", ("diag", True)), ("_hasConnectionError",)]


# Iteration stops before the time and reads the fields afresh at each step.
def test_event_repr_iteration_and_index():
    ev = T.IoddEvent("10.0.0.1", 2, list(EVENT), "zu heiß")
    report = {"address": "10.0.0.1", "port": 2, "name": "Ev", "description": "zu heiß",
              **dict(zip(["code", "type", "mode", "source", "counter", "time"], EVENT[1:]))}
    assert repr(ev) == json.dumps({"Event": report}, indent=4, ensure_ascii=False)
    items = iter(ev)
    assert (tuple(ev), next(items), T.IoddEvent._getType(), ev[6], ev[-7]) \
        == (EVENT[:6], "Ev", T.IoddEvent, EVENT[6], "Ev")
    assert (outcome(lambda: ev[7]), outcome(lambda: hash(ev))) \
        == ((IndexError, "Index out of range, only 0..6 allowed"), (TypeError, "unhashable type: 'IoddEvent'"))
    ev._event = ("x", "y")
    assert (next(items), outcome(lambda: next(items))) == ("y", (IndexError, "tuple index out of range"))


def test_variables_and_their_reference():
    dev = communication(write=lambda name, value: 0x11 if name == "x" else 0, getError="Access denied")
    variables = T._IoddVarAccess(dev)
    variables._ioc = 6  # a device variable of that name; the reference stays
    failed = outcome(lambda: setattr(variables, "x", 1))
    assert (variables.Temp, dir(variables), variables._ioc, failed) \
        == ("value", ["A", "B"], dev, (T.OrvaneException, "Error 0x  11: Access denied"))
    assert dev.calls == [("write", "_ioc", 6), ("write", "x", 1), ("getError", 0x11), ("read", "Temp"),
                         ("getVariableNames", ("sort", True), ("matlabNaming", True))]


def test_system_commands_run_on_the_reference_at_the_call():
    dev, other = communication(), communication()
    commands = T._IoddSysAccess(dev)
    restore = commands.restore
    object.__setattr__(commands, "_ioc", other)
    refused = outcome(lambda: setattr(commands, "_ioc", 1))
    assert (restore.__doc__, restore.__qualname__, dir(commands), restore(), refused) == (
        "System command 128 (0x80) : Restore factory settings", "_IoddSysAccess.__getattr__.<locals>.ret",
        ["Reset_ae", "subIdx_2"], "done", (T.OrvaneException, "Set attribute for system command accessor not allowed"))
    assert (dev.calls, other.calls) == ([("getValue", 2, "restore"), ("getValue", 2, 128)],
                                        [("getValueNames", 2, ("sort", True)), ("sysCmd", "restore")])


# What write answers is ignored; a device without the locks still prints.
def test_locks():
    dev = communication(write=0x80, read=lambda *address: {"a": True} if address == (12,) else "value")
    locks = T.AccessLocks(dev)
    locks.localParameterizationLock, locks.localUserInterfaceLock = False, True
    assert (locks.localParameterizationLock, locks.localUserInterfaceLock, repr(locks)) \
        == ("value", "value", json.dumps({"AccessLocks": {"a": True}}, indent=4, ensure_ascii=False))
    assert dev.calls == [("write", 12, 3, False), ("write", 12, 4, True), ("read", 12, 3), ("read", 12, 4),
                         ("read", 12)]
    assert json.loads(repr(T.AccessLocks(communication(read=T.OrvaneException("no"))))) == {"AccessLocks": "no"}


# Stamped only with data; the master information converted afresh at each read, so it stays as given.
def test_content(clock):
    info = {"Product Code": 1}
    made = [T.DeviceContent(), T.DeviceContent(info, 2, {}, 1), T.DeviceContent(info, recordFieldNaming="matlab")]
    made[2].master.clear()
    assert [(content.date, content.time, content.master, content.port, content.hasIodd()) for content in made] == [
        (None, None, None, None, False), ("2021-03-04", "14:07:33", info, 2, True),
        (None, None, {"Product_Code": 1}, None, False)]


# The commands are the public names at construction, but the two queries.
def test_master_commands():
    driver_commands = type("DriverCommands", (T.MasterCommands,), {"driverName": staticmethod(lambda: "Sim")})
    base, commands = T.MasterCommands(), driver_commands(driver_commands())
    assert (base.getNames(), repr(base), commands.getNames(), repr(commands)) \
        == ((), "<master commands>", ("driverName",), "<Sim master commands>")
    assert [commands.has(name) for name in ("driverName", "has", "getNames", "__init__")] == [True] + [False] * 3
