"""Records read at the rate of traffic: event comparison and fields, device fields, status reads.

Run: .venv/bin/python bench/bench_records.py --fast
"""
import types

import pyperf

import vantrel.base.Tessarine as T

runner = pyperf.Runner()

event = T.IoddEvent("10.0.0.1", 2, ("Overtemp", 0x4210, "WARNING", "APPEARED", "DEVICE", 7, "12:34:56.789"), "hot")
same = T.IoddEvent("10.0.0.1", 2, ("Overtemp", 0x4210, "WARNING", "APPEARED", "DEVICE", 7, "12:34:57.000"), "hot")
runner.bench_func("IoddEvent.equalExact, equal events", event.equalExact, same)
runner.bench_func("IoddEvent.code", getattr, event, "code")
runner.bench_func("tuple(IoddEvent)", tuple, event)

master = types.SimpleNamespace(baseDrv=types.SimpleNamespace(portNumbering=True), driverName=lambda: "Sim")
page = {"Vendor ID": 310, "Device ID": 1234, "IO-Link Version ID": 17, "Frame Capability": {"IsduSupport": True}}
device = T.IoddDev(master, "10.0.0.1", 0, "M", "P", None, page)
runner.bench_func("IoddDev.vendorId", getattr, device, "vendorId")
runner.bench_func("IoddDev.port", getattr, device, "port")
runner.bench_func("IoddDev ==", device.__eq__, device)

iodd = types.SimpleNamespace(connected=False)
runner.bench_func("DeviceStatus.lost, not connected", getattr, T.DeviceStatus(iodd), "lost")
