"""Typed use of vantrel.base.Tessarine, one subsystem after another.

mypy --strict checks this file against the module's stubs, and assert_type
pins the types they promise; running it checks that the module keeps them.
The classes below stand in for the package's drivers and device objects:
they offer exactly what the module asks of such objects.
"""
import datetime
import threading
from collections.abc import Hashable
from typing import Any, Literal, assert_type

import vantrel.base.Tessarine as T


class CollectingLogger(T.Logger):
    """Every printing operation goes through log, so one override takes all lines."""

    def __init__(self) -> None:
        super().__init__(11)
        self.lines: list[str] = []

    def log(self, level: int, head: str, msg: str, *args: object) -> None:
        self.lines.append(head + msg % args)


class Driver:
    """A base driver; the registry files it under its class."""

    portNumbering = True  # ports count from 0, users see them from 1
    _active = False

    @classmethod
    def driverName(cls) -> str:
        return "Typed"

    def close(self) -> None:
        pass


class Master:
    baseDrv = Driver
    _masterInfo = {"Product Name": "TypedMaster", "Serial Number": "0007"}

    def __init__(self, address: str) -> None:
        self.address = address

    def driverName(self) -> str:
        return Driver.driverName()

    def getBaseDriverType(self) -> type[Driver]:
        return Driver

    def getMasterInfo(self) -> dict[str, str]:
        return self._masterInfo

    def connected(self) -> bool:
        return False

    def disconnect(self, port: None, force: bool | None, /, *, removeDriverOrigin: bool) -> None:
        pass

    def isWrongDevice(self, iodd: object) -> bool:
        return False


class IoddMaster:
    def __init__(self, master: Master) -> None:
        self._master = master
        self.address = master.address


class DeviceDriver:
    def __init__(self, address: str) -> None:
        self._address = address

    def getStatusPdInvalid(self) -> bool:
        raise T.NotSupportedError(name="pdValid")


class Device:
    """The package's object of one device: registry entry, status source, variable and lock access."""

    connected = True

    def __init__(self, master: Master, port: int) -> None:
        self._port = (master.address, port)
        self._master = master
        self._device = self._dev = DeviceDriver(master.address)
        self.variables: dict[str, Any] = {"Process_Data_Input": 21.5}

    def _checkLostDev(self) -> bool:
        return False

    def _hasConnectionError(self) -> bool:
        return False

    def _checkInspectionLevelWrongDev(self) -> bool:
        return False

    def _hasIolink(self, diag: bool = False) -> int:
        return 2

    def getVariableNames(self, sort: bool = False, matlabNaming: bool = False) -> list[str]:
        return sorted(self.variables)

    def read(self, key: str | int, subindex: int | None = None) -> Any:
        return self.variables.get(str(key), subindex == 3)

    def write(self, key: str | int, value: Any, *rest: Any) -> int:
        self.variables[str(key)] = value
        return 0

    def getError(self, code: int) -> str:
        return "no error"


class PortDriver:
    baseDrv = Driver

    def __init__(self, master: Master, port: int, device: Device | None) -> None:
        self.master, self.port, self._connectediodd = master, port, device

    def driverName(self) -> str:
        return Driver.driverName()

    def connected(self) -> bool:
        return self._connectediodd is not None

    def disconnect(self) -> None:
        self._connectediodd = None


def failure_reporting() -> None:
    logger = CollectingLogger()
    handler = T.ErrorHandler("lastError", logger)
    assert_type(handler.mode, Literal["raise", "lastError"] | None)
    handler.handleError(T.RequestException("404 Not Found", 404), errInfo="GET /")
    assert_type(handler.getLastErrorCode(), int)
    assert handler.getErrorList() == ["404 Not Found (error code 404) [GET /]"]
    assert logger.lines == ["ERROR: 404 Not Found (error code 404) [GET /]"]
    try:
        raise T.IOLinkException([0x80, 0x11], None)
    except T.OrvaneException as error:
        assert_type(error.code, int)
        assert (error.message, error.code) == ("IO-Link error code 0x8011", 0x8011)


def conversions() -> None:
    assert_type(T.toHex(b"\x01\xab"), str)
    capability = T.parseMseqCapability(0x31, 2, 2)
    assert_type(capability["Preoperate"]["MinRecoveryBitTime"], int)
    assert capability["Operate"]["type"] == "TYPE_2_7" and capability["IsduSupport"]
    renamed = T.dictRenameCapitals({"vendorName": 1})
    assert_type(renamed, dict[str, int])
    assert renamed == {"Vendor Name": 1}
    assert_type(T.undefIfNone(None), str)
    assert_type(T.undefIfNone(5), int)


def registry(master: Master, device: Device) -> T.CommonDriverManager:
    T.CommonDriverManager.iodd = None
    manager = T.CommonDriverManager()
    manager.addBaseDriver(Driver())
    manager.addMasterDriver(master.address, master)
    manager.addIoddMaster(IoddMaster(master))
    manager.addActiveMasterDriver(master.address, master)
    manager.addPort(master.address, 0, PortDriver(master, 0, device))
    manager.addConnectedDev((master.address, 0), device)
    assert_type(manager.getConnectedDevPorts(master.address), list[Hashable])
    assert manager.getConnectedDevPorts() == [(master.address, 0)]
    manager.renameAddress(master.address, "10.0.0.9")
    assert device._port == ("10.0.0.9", 0) and manager.getActiveMasterAddresses() == ["10.0.0.9"]

    options = T.DriverOptions([Driver()], {"typed": {"noZeroInit": True}})
    options["TYPED"]["pollTime"] = 0.5
    assert_type(options.copy(), T.DriverOptions)
    assert options.getValidNames() == ("general", "Typed")
    return manager


def statistics(master: Master) -> None:
    tree = T.Statistics([Driver])
    master_view = tree.getMasterStatistics(master)
    master_view.discoveryAllDuration.add(0.002)
    port_view = tree.getDevStatistics(PortDriver(master, 1, None))
    for repeats in (1, 3):
        port_view.receiveRepeats.add(repeats)
    report = tree.getStat(True)
    leaf = report["masters"][master.address]["receiveRepeats"]
    assert leaf is not None and leaf["count"] == 2 and leaf.get("mean") == "2.0"
    assert_type(master_view.getStat(1), "T._PortReport")
    assert_type(port_view.getStat()["port"], int)
    merged = T.StatMerge([master_view.discoveryAllDuration, master_view.receiveRepeats])
    assert_type(merged.getStat(), "T._StatReport | None")


def records(master: Master, device: Device) -> None:
    record = T.IoddDev(master, master.address, 0, "TypedMaster", None, page1={"Vendor ID": 310})
    assert_type(record.port, tuple[str, int])
    assert record.port == (master.address, 1) and record.masterProductCode == "undefined"
    status = T.DeviceStatus(device)
    assert_type(status.preoperate, bool | str)
    assert status.preoperate is False and '"pdValid": "\\"pdValid\\" is not supported' in repr(status)
    event = T.IoddEvent(master.address, 1, ("Overrun", 0x8C42, "WARNING", "APPEARED", "DEVICE", 3, "12:00:00.000"),
                        "Temperature overrun")
    assert_type(event.type, str)
    assert event.equalExact(event) and len(tuple(event)) == 6
    variables = T._IoddVarAccess(device)
    variables.Process_Data_Input = 22.0
    assert variables.Process_Data_Input == 22.0
    locks = T.AccessLocks(device)
    assert_type(locks.localParameterizationLock, bool)
    content = T.DeviceContent({"Product Name": "TypedMaster"}, 1, data={}, recordFieldNaming="matlab")
    assert content.master == {"Product_Name": "TypedMaster"} and content.date is not None

    class Commands(T.MasterCommands):
        def reboot(self) -> None:
            pass

    assert Commands(master).getNames() == ("reboot",)


def process_data_and_timer() -> None:
    table = T.ProcessDataStreamTable(["Time", "Temperature (float)", "Valid (bool)"])
    table.add_row([datetime.datetime(2024, 5, 1, 12, 0), 21.5, True])
    assert table.isDict and table.values == [{"Temperature": 21.5, "Valid": True}]
    assert_type(table.times, list[datetime.time | str])

    calls: list[int] = []
    done = threading.Event()

    def tick(step: int, *, limit: int) -> None:
        calls.append(step)
        if len(calls) >= limit:
            done.set()

    timer = T.RepeatTimer("typed-tick", 0.01, tick, None, 5, limit=2)
    timer.start()
    assert done.wait(10)
    timer.cancel()
    timer.join()
    assert calls[:2] == [5, 5]


def main() -> None:
    master = Master("10.0.0.1")
    device = Device(master, 0)
    failure_reporting()
    conversions()
    registry(master, device)
    statistics(Master("10.0.0.2"))
    records(master, device)
    process_data_and_timer()
    print("typed usage: all subsystems answered as their types say")


if __name__ == "__main__":
    main()
