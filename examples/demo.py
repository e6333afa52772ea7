"""The road of one connection through vantrel.base.Tessarine.

A base driver, one master with a device on port 1, traffic recorded in the
statistics, a failure handled, then everything taken apart again.  The
driver, master, port and device classes stand in for the package's own.
"""
import json

import vantrel.base.Tessarine as T


class SimDriver:
    """A base driver: its class is the driver type the registry files it under."""

    portNumbering = False  # ports are counted from 1 already
    _active = True

    @classmethod
    def driverName(cls) -> str:
        return "Demo"

    def close(self) -> None:
        print("base driver closed")


class Master:
    address = "10.0.0.1"
    baseDrv = SimDriver
    _masterInfo = {"Product Name": "DemoMaster", "Serial Number": "0042"}

    def __init__(self) -> None:
        self.is_connected = True

    def getBaseDriverType(self) -> type[SimDriver]:
        return SimDriver

    def driverName(self) -> str:
        return SimDriver.driverName()

    def getMasterInfo(self) -> dict[str, str]:
        return self._masterInfo

    def connected(self) -> bool:
        return self.is_connected

    def disconnect(self, *args: object, **kwargs: object) -> None:
        print("master disconnected")
        self.is_connected = False


class DeviceDriver:
    """The driver of one device; renaming a master tells it the new address."""

    def __init__(self, address: str) -> None:
        self._address = address


class Device:
    """The package's object of a connected device, filed under its port selector."""

    def __init__(self, address: str, port: int) -> None:
        self._port = (address, port)
        self._device = DeviceDriver(address)

    def __repr__(self) -> str:
        return f"<device at {self._port}>"


class Port:
    def __init__(self, device: Device) -> None:
        self._connectediodd = device

    def connected(self) -> bool:
        return False

    def disconnect(self) -> None:
        print("port disconnected")


class Owner:
    """What the package sets as CommonDriverManager.iodd: its logger sees the registry's lines."""
    _logger = T.Logger(9)


def main() -> None:
    T.CommonDriverManager.iodd = Owner()
    registry = T.CommonDriverManager()
    statistics = T.Statistics([SimDriver])
    handler = T.ErrorHandler(mode="lastError", logger=Owner._logger)

    print("-- 1. register the base driver and the master")
    driver, master = SimDriver(), Master()
    registry.addBaseDriver(driver)
    registry.addMasterDriver(master.address, master)

    print("-- 2. the master connects; port 1 opens with a device")
    registry.addActiveMasterDriver(master.address, master)
    device = Device(master.address, 1)
    registry.addPort(master.address, 1, Port(device))
    registry.addConnectedDev((master.address, 1), device)
    print("connected devices:", registry.getConnectedDevs())

    print("-- 3. records for the user, figures while traffic runs")
    record = T.IoddDev(master, master.address, 1, "DemoMaster", "DM-1",
                       page1={"Vendor ID": 310, "Device ID": 1234, "IO-Link Version ID": 0x11,
                              "Frame Capability": {"IsduSupport": True}})
    print(repr(record))
    view = statistics.getDevStatistics(driver, 1, master.address)
    for milliseconds in (0.8, 1.1, 0.9):
        view.receiveDuration.add(milliseconds / 1000)
    view.sendRepeats.add(1)
    event = T.IoddEvent(master.address, 1, ("Device event", 0x8C42, "WARNING", "APPEARED", "DEVICE", 1, "12:00:00.000"),
                        "Temperature overrun")
    print(repr(event))

    print("-- 4. a failure goes through the error handler")
    handler.handleError(T.IOLinkException([0x80, 0x11], None), errInfo="port 1")
    print("last error:", handler.getLastError(), "code", handler.getLastErrorCode())

    print("-- 5. the merged report, down to each port")
    print(json.dumps(statistics.getStat(True)["masters"], indent=2))

    print("-- 6. take it apart again; the figures stay")
    registry.removeConnectedDev((master.address, 1))
    registry.removePort(master.address, 1, force=True)
    registry.removeActiveMasterDriver(master.address, force=True)
    registry.removeMasterDriver(master.address, force=True)
    # Closing an active base driver ends in an UnboundLocalError while an
    # owner is set (the package relies on it); the owner goes first here.
    T.CommonDriverManager.iodd = None
    registry.removeBaseDriver(SimDriver, force=True)
    print("masters left:", registry.getMasterAddresses(), "figures kept:",
          statistics.getStat(True)["masters"] != {})


if __name__ == "__main__":
    main()
