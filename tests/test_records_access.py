import datetime
import json
import types

import vantrel.base.Tessarine as T

from standins import Recorder
from conftest import outcome


def device(**answers):
    commands = {"restore": 128, 128: "Restore factory settings"}
    return Recorder(**{"read": "value", "write": 0, "getVariableNames": ["B", "A"], "getValueNames": ["2", "Reset ä"],
                       "getValue": lambda index, key: commands[key], "sysCmd": "done", **answers})


def test_variables_and_their_reference():
    dev = device(write=lambda name, value: 0x11 if name == "x" else 0, getError="Access denied")
    variables = T._IoddVarAccess(dev)
    variables._ioc = 6  # a device variable of that name; the reference stays
    failed = outcome(lambda: setattr(variables, "x", 1))
    assert (variables.Temp, dir(variables), variables._ioc, failed) \
        == ("value", ["A", "B"], dev, (T.OrvaneException, "Error 0x  11: Access denied"))
    assert dev.calls == [("write", "_ioc", 6), ("write", "x", 1), ("getError", 0x11), ("read", "Temp"),
                         ("getVariableNames", ("sort", True), ("matlabNaming", True))]
    object.__delattr__(variables, "_ioc")  # then __getattr__ reads _ioc again, as it would in Python
    assert outcome(lambda: variables.anything)[0] is outcome(lambda: setattr(variables, "x", 1))[0] is RecursionError


def test_system_commands_run_on_the_reference_at_the_call():
    dev, other = device(), device()
    commands = T._IoddSysAccess(dev)
    restore = commands.restore
    object.__setattr__(commands, "_ioc", other)
    refused = outcome(lambda: setattr(commands, "_ioc", 1))
    assert (restore.__doc__, restore.__qualname__, dir(commands), restore(), refused) == (
        "System command 128 (0x80) : Restore factory settings", "_IoddSysAccess.__getattr__.<locals>.ret",
        ["Reset_ae", "subIdx_2"], "done", (T.OrvaneException, "Set attribute for system command accessor not allowed"))
    assert (dev.calls, other.calls) == ([("getValue", 2, "restore"), ("getValue", 2, 128)],
                                        [("getValueNames", 2, ("sort", True)), ("sysCmd", "restore")])


# What write answers is ignored; a device without the locks still prints, other errors pass.
def test_locks():
    dev = device(write=0x80, read=lambda *address: {"a": True} if address == (12,) else "value")
    locks = T.AccessLocks(dev)
    locks.localParameterizationLock, locks.localUserInterfaceLock = False, True
    assert (locks.localParameterizationLock, locks.localUserInterfaceLock, repr(locks)) \
        == ("value", "value", json.dumps({"AccessLocks": {"a": True}}, indent=4, ensure_ascii=False))
    assert dev.calls == [("write", 12, 3, False), ("write", 12, 4, True), ("read", 12, 3), ("read", 12, 4),
                         ("read", 12)]
    assert json.loads(repr(T.AccessLocks(device(read=T.OrvaneException("no 12"))))) == {"AccessLocks": "no 12"}
    assert outcome(lambda: repr(T.AccessLocks(device(read=KeyError("x"))))) == (KeyError, "'x'")


# Stamped only with data; the master information converted afresh at each read, so it stays as given.
def test_content(monkeypatch):
    moment = datetime.datetime(2024, 12, 31, 23, 59, 58)
    monkeypatch.setattr(T, "datetime", types.SimpleNamespace(datetime=types.SimpleNamespace(today=lambda: moment)))
    info = {"Product Code": 1}
    made = [T.DeviceContent(), T.DeviceContent(info, 2, {}, object()),
            T.DeviceContent(info, recordFieldNaming="matlab")]
    made[2].master.clear()
    assert [(content.date, content.time, content.master, content.port, content.hasIodd()) for content in made] == [
        (None, None, None, None, False), ("2024-12-31", "23:59:58", info, 2, True),
        (None, None, {"Product_Code": 1}, None, False)]
    assert made[1].master is info and info == {"Product Code": 1}


class DriverCommands(T.MasterCommands):
    def __init__(self, master=None):
        self.early = 1  # set before the command list is made, so it counts
        super().__init__(master)
        self.late = 2

    driverName = staticmethod(lambda: "Sim")


def test_master_commands_are_the_public_names_at_construction():
    base, commands = T.MasterCommands(), DriverCommands(DriverCommands())
    assert (base.getNames(), repr(base), commands.getNames(), repr(commands)) \
        == ((), "<master commands>", ("driverName", "early"), "<Sim master commands>")
    assert [commands.has(name) for name in ("early", "late", "has", "getNames", "__init__", [])] == [True] + [False] * 5
