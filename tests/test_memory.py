"""Repeating the traffic of each subsystem must not grow memory: nothing leaks on
the ways in, the ways out, or the error paths between."""
import contextlib
import datetime
import gc
import os
import pathlib
import runpy
import tracemalloc

import pytest

import vantrel.base.Tessarine as T

DEMO = pathlib.Path(__file__).resolve().parent.parent / "examples" / "demo.py"


def swallow(error_type, call, *args, **kwargs):
    try:
        call(*args, **kwargs)
    except error_type:
        pass


def demo_road():
    """One whole connection, registered and taken apart again."""
    return runpy.run_path(str(DEMO))["main"]


def frame_errors():
    logger = T.Logger(0)
    handler = T.ErrorHandler(mode="lastError", logger=T.Logger(-1))
    handler.maxStackLength = 5

    def errors():
        logger.rw("filtered %s", 1)
        logger.log(5, "h", "m %d", 2)
        handler.handleError(T.OrvaneException("m", 3), errInfo="i")
        swallow(TypeError, T.Logger.info)
        swallow(TypeError, T.Logger, 0, logLevel=1)
        swallow(TypeError, T.toHex, b"", pre="", nope=1)
        swallow(TypeError, T.Stat, 1, "%s", 10, 4)
        swallow(ZeroDivisionError, lambda: T.Stat().mean)
    return errors


def statistics_traffic():
    class Driver:
        @classmethod
        def driverName(cls):
            return "Sim"
    statistics = T.Statistics([Driver])

    def traffic():
        view = statistics.getDevStatistics(Driver, 1, "10.0.0.1")
        view.receiveDuration.add(0.001)
        statistics.getMasterStatistics(Driver, "10.0.0.1").discoveryAllDuration.add(0.5)
        repr(statistics)
        statistics.getStat(True)
        statistics.clear()
    return traffic


def records_traffic():
    page1 = {"Vendor ID": 1, "Device ID": 2, "IO-Link Version ID": 0x11, "Frame Capability": {"IsduSupport": True}}

    def traffic():
        device = T.IoddDev(None, "10.0.0.1", 1, "M", "P", page1=page1)
        repr(device)
        event = T.IoddEvent("10.0.0.1", 1, ("Ev", 0x8C42, "Warning", "Event appears", "Device", 1, 0), "d")
        repr(event)
        list(event)
        event == T.IoddEvent("10.0.0.1", 2, tuple(event), "d")
        repr(T.DeviceContent({"a": 1}))
        T.MasterCommands().getNames()
    return traffic


def conversions():
    def convert():
        T.toHex(b"\x01\xab")
        T._convertMatlabFieldName("Größe A\\B")
        T.parseMseqCapability(0x31, 0, 0)
        T.dictReplace({"a b": 1}, " ", "_")
        T.matlabConvert({"x y": [1, 2]})
        swallow(Exception, T.readUrlNoException, "http://127.0.0.1:9/", timeout=0.001, retries=False)
    return convert


def process_table():
    stamp = datetime.datetime(2021, 3, 4, 14, 7, 33)

    def table():
        stream = T.ProcessDataStreamTable(["Time", "a (int)", "b (hex)"])
        stream.add_row([stamp, 1, "0A"])
        stream.values, stream.timesStr, len(stream), str(stream)
    return table


@pytest.mark.parametrize("workload", [demo_road, frame_errors, statistics_traffic, records_traffic, conversions,
                                      process_table])
def test_repeated_traffic_does_not_grow_memory(workload):
    step = workload()

    def repeat():
        for _ in range(300):
            step()

    with open(os.devnull, "w") as sink, contextlib.redirect_stdout(sink):
        repeat()
        gc.collect()
        tracemalloc.start()
        before = tracemalloc.get_traced_memory()[0]
        repeat()
        # Failed requests and tables leave cycles behind; only what the
        # collector cannot free counts.
        gc.collect()
        grown = tracemalloc.get_traced_memory()[0] - before
        tracemalloc.stop()
    assert grown < 64 * 1024
