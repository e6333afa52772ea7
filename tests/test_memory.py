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
import urllib3

import vantrel.base.Tessarine as T

import hostile
import sweep
from loopback import FaultyServer, refused_url

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


def recursion_errors():
    looped, mixed, deep = hostile.looped_dict(), hostile.looped_mixed(), hostile.nested_dict(3000)
    event = T.IoddEvent("a", 1, None, "d")
    event._event = [0, event, 0, 0, 0, 0, 0]

    def errors():
        for walk, structure in [(T.dict_depth, looped), (T.dict_depth, deep), (T._dictMatlabReplace, mixed),
                                (T.Statistics._clearStat, looped), (lambda e: e == e, event),
                                (lambda page: T.DeviceContent(page, recordFieldNaming="matlab").master, looped)]:
            swallow(RecursionError, walk, structure)
    return errors


def odd_arguments():
    """Every function and method of the module (but those that go out on the
    network), with hostile arguments in every place; each call fails
    somewhere else on its way."""
    calls = []
    for where, function in sweep.module_callables():
        if "Url" in where:
            continue
        counts = list(sweep.accepted_counts(function, range(4)))
        for value in (hostile.FailingStr("abc"), hostile.LyingDict({"a": 1}), hostile.failing("__eq__")):
            calls += [(function, (value,) * count) for count in counts if not sweep.left_out(where, (value,) * count)]

    def errors():
        for function, args in calls:
            swallow(Exception, function, *args)
    return errors


def timer_errors():
    timer = T.RepeatTimer("t", -1, hostile.fail, T.Logger(11), 1)

    def errors():
        for args in [5, [1], ()]:
            timer.finished, timer.args = sweep.OneRound(), args
            swallow(Exception, timer.run)
    return errors


def url_errors(server):
    with refused_url() as refused:
        pass

    def errors():
        for url in [refused, server.url + "/cut", server.url + "/garbage", server.url + "/loop"]:
            swallow(urllib3.exceptions.HTTPError, T.readUrl, url, timeout=1.0)
            swallow(urllib3.exceptions.HTTPError, T.postUrlNoException, url, timeout=1.0, retries=False)
    return errors


def file_errors(tmp_path):
    def errors():
        for path in [tmp_path / "missing", tmp_path, "/proc/self/mem"]:
            swallow(OSError, T.filesha256, path)
    return errors


def growth(step, times=300):
    """What `times` runs of step leave allocated, after as many to warm up."""
    def repeat():
        for _ in range(times):
            step()

    # Traced from the start, so that what the second round frees of the
    # first (a pool's connections, a server's threads) counts against it.
    with open(os.devnull, "w") as sink, contextlib.redirect_stdout(sink):
        tracemalloc.start()
        repeat()
        gc.collect()
        before = tracemalloc.get_traced_memory()[0]
        repeat()
        # Failed requests and tables leave cycles behind; only what the
        # collector cannot free counts.
        gc.collect()
        grown = tracemalloc.get_traced_memory()[0] - before
        tracemalloc.stop()
    return grown


@pytest.mark.parametrize("workload", [demo_road, frame_errors, statistics_traffic, records_traffic, conversions,
                                      process_table, timer_errors])
def test_repeated_traffic_does_not_grow_memory(workload):
    assert growth(workload()) < 64 * 1024


def test_recursion_errors_do_not_grow_memory():
    # Each error carries a traceback a thousand entries long: fewer rounds
    # show a leak as well.
    assert growth(recursion_errors(), times=20) < 64 * 1024


def test_failing_calls_with_odd_arguments_do_not_grow_memory():
    assert growth(odd_arguments(), times=30) < 64 * 1024


@pytest.fixture(scope="module")
def server():
    faulty = FaultyServer()
    yield faulty
    faulty.close()


def test_faults_from_outside_do_not_grow_memory(server, tmp_path):
    assert growth(url_errors(server), times=100) < 64 * 1024
    assert growth(file_errors(tmp_path)) < 64 * 1024
