import datetime
import json
import types

import pytest

import vantrel.base.Tessarine as T


class Device:
    """Stands in for the communication object of a device; records every call."""
    def __init__(self, write_result=0, locks=None):
        self.calls = []
        self.write_result = write_result
        self.locks = locks

    def _record(self, *call):
        self.calls.append(call)

    def read(self, *args):
        self._record("read", *args)
        if args == (12,) and isinstance(self.locks, Exception):
            raise self.locks
        return self.locks if args == (12,) else ("value", *args)

    def write(self, *args):
        self._record("write", *args)
        return self.write_result

    def getError(self, code):
        self._record("getError", code)
        return "Access denied"

    def getVariableNames(self, sort, matlabNaming):
        self._record("getVariableNames", sort, matlabNaming)
        return ["Var_2", "Var_1"]

    def getValueNames(self, index, sort):
        return [f"{index}", "Reset ä"] if sort else []

    def getValue(self, index, key):
        self._record("getValue", index, key)
        return 128 if key == "restore" else "Restore factory settings"

    def sysCmd(self, name):
        self._record("sysCmd", name)
        return len(self.calls)


def test_variable_access():
    dev = Device()
    variables = T._IoddVarAccess(dev)
    assert variables.Temperature == ("value", "Temperature")
    assert variables._private == ("value", "_private")
    assert dir(variables) == ["Var_1", "Var_2"]
    assert dev.calls[-1] == ("getVariableNames", True, True)
    variables.Setpoint = 5
    assert dev.calls[-1] == ("write", "Setpoint", 5)
    variables._ioc = 6  # a device variable of that name; the reference stays
    assert variables._ioc is dev and dev.calls[-1] == ("write", "_ioc", 6)


def test_failed_variable_write():
    dev = Device(write_result=0x11)
    with pytest.raises(T.OrvaneException) as raised:
        T._IoddVarAccess(dev).x = 1
    assert raised.value.message == "Error 0x  11: Access denied"
    assert dev.calls == [("write", "x", 1), ("getError", 0x11)]


def test_accessor_without_reference():
    # Reading _ioc falls back to __getattr__, which reads _ioc again: the
    # recursion ends at the recursion limit, as it does in Python.
    variables = T._IoddVarAccess(Device())
    object.__delattr__(variables, "_ioc")
    with pytest.raises(RecursionError):
        variables.anything
    with pytest.raises(RecursionError):
        variables.anything = 1


def test_system_commands():
    dev = Device()
    commands = T._IoddSysAccess(dev)
    restore = commands.restore
    assert restore.__doc__ == "System command 128 (0x80) : Restore factory settings"
    assert dev.calls == [("getValue", 2, "restore"), ("getValue", 2, 128)]
    assert (restore(), restore()) == (3, 4)
    assert dev.calls[2:] == [("sysCmd", "restore")] * 2
    assert dir(commands) == ["Reset_ae", "subIdx_2"]


def test_system_command_takes_no_arguments():
    restore = T._IoddSysAccess(Device()).restore
    with pytest.raises(TypeError) as refused:
        restore(1)
    assert str(refused.value) == "ret() takes exactly 0 positional arguments (1 given)"
    assert restore.__qualname__ == "_IoddSysAccess.__getattr__.<locals>.ret"


def test_system_command_runs_on_the_current_reference():
    commands = T._IoddSysAccess(Device())
    restore = commands.restore
    other = Device()
    object.__setattr__(commands, "_ioc", other)
    restore()
    assert other.calls == [("sysCmd", "restore")]


@pytest.mark.parametrize("name", ["_ioc", "restore"])
def test_system_command_attributes_are_read_only(name):
    with pytest.raises(T.OrvaneException, match="Set attribute for system command accessor not allowed"):
        setattr(T._IoddSysAccess(Device()), name, 1)


@pytest.mark.parametrize("attribute, subindex", [("localParameterizationLock", 3), ("localUserInterfaceLock", 4)])
def test_lock_attributes(attribute, subindex):
    dev = Device(write_result=0x80)
    locks = T.AccessLocks(dev)
    assert getattr(locks, attribute) == ("value", 12, subindex)
    setattr(locks, attribute, True)  # what write answers is ignored
    assert dev.calls == [("read", 12, subindex), ("write", 12, subindex, True)]


@pytest.mark.parametrize("locks, text", [
    ({"a": True}, '{\n    "AccessLocks": {\n        "a": true\n    }\n}'),
    (T.OrvaneException("Index 12 not available"), '{\n    "AccessLocks": "Index 12 not available"\n}')])
def test_locks_repr(locks, text):
    assert repr(T.AccessLocks(Device(locks=locks))) == text


def test_locks_repr_passes_other_errors():
    with pytest.raises(KeyError):
        repr(T.AccessLocks(Device(locks=KeyError("x"))))


def test_empty_device_content():
    content = T.DeviceContent()
    assert (content.date, content.time, content.master, content.port, content.hasIodd()) == (None,) * 4 + (False,)


def test_content_stamp(monkeypatch):
    moment = datetime.datetime(2024, 12, 31, 23, 59, 58)
    monkeypatch.setattr(T, "datetime", types.SimpleNamespace(datetime=types.SimpleNamespace(today=lambda: moment)))
    content = T.DeviceContent({"a": 1}, 2, {}, object())
    assert (content.date, content.time, content.port, content.hasIodd()) == ("2024-12-31", "23:59:58", 2, True)


def test_content_master_in_matlab_naming():
    info = {"Product Code": {"Serial No": 1}}
    content = T.DeviceContent(info, recordFieldNaming="matlab")
    first, second = content.master, content.master
    assert first == second == {"Product_Code": {"Serial_No": 1}} and first is not second
    first.clear()
    assert content._masterInfo is info and info == {"Product Code": {"Serial No": 1}}
    assert T.DeviceContent(info).master is info


def test_invalid_content_naming_keeps_first_attributes():
    content = T.DeviceContent.__new__(T.DeviceContent)
    with pytest.raises(T.OrvaneException, match="Invalid record field naming: none"):
        content.__init__(1, 2, 3, 4, "none")
    assert (content._masterInfo, content._ioc) == (1, 4) and not hasattr(content, "_date")


class Commands(T.MasterCommands):
    def setup(self):
        pass

    def _helper(self):
        pass

    def driverName(self):
        return "Sim"

    action = None

    def __init__(self, master=None):
        self.early = 1  # set before the command list is made, so it counts
        super().__init__(master)
        self.late = 2


def test_master_commands():
    base = T.MasterCommands()
    assert (base.getNames(), repr(base), base._master) == ((), "<master commands>", None)
    commands = Commands(Commands())
    assert commands.getNames() == ("action", "driverName", "early", "setup")
    assert repr(commands) == "<Sim master commands>"
    assert [commands.has(name) for name in ("setup", "has", "getNames", "_helper", [])] == [True] + [False] * 4
