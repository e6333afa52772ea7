"""The registry's look-ups on the communication path, and driver options by forgiving name.

Run: .venv/bin/python bench/bench_registry.py --fast
"""
import pyperf

import vantrel.base.Tessarine as T


class Sim:
    _active = False

    @classmethod
    def driverName(cls):
        return "Sim"


class Master:
    _masterInfo = {"Product Name": "AL"}

    def getBaseDriverType(self):
        return Sim


manager = T.CommonDriverManager()
manager.addBaseDriver(Sim())
for number in range(8):
    address = f"192.168.0.{number}"
    manager.addMasterDriver(address, Master())
    manager.addActiveMasterDriver(address, Master())
    for port in range(1, 9):
        manager.addPort(address, port, object())
        manager.addConnectedDev((address, port), object())

runner = pyperf.Runner()
runner.bench_func("getMasterDriver", manager.getMasterDriver, "192.168.0.5")
runner.bench_func("getActiveMasterDriver", manager.getActiveMasterDriver, "192.168.0.5")
runner.bench_func("getPortDriver", manager.getPortDriver, "192.168.0.5", 4)
runner.bench_func("getConnectedDev", manager.getConnectedDev, ("192.168.0.5", 4))
runner.bench_func("getPortDrivers, all masters", manager.getPortDrivers)

options = T.DriverOptions([Sim()], {"sim": {"noZeroInit": True}})
runner.bench_func("DriverOptions[canonical]", options.__getitem__, "Sim")
runner.bench_func("DriverOptions[forgiving]", options.__getitem__, "SIM")
