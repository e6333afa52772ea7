"""Repeating the traffic of each subsystem, its ways in, out and the error paths between, must not grow memory."""
import contextlib
import functools
import gc
import os
import pathlib
import runpy
import tracemalloc

import pytest

import vantrel.base.Tessarine as T

import hostile
import standins
import sweep
from loopback import server  # noqa: F401 (the fixture)

HERE = pathlib.Path(__file__).resolve().parent


def subsystem_traffic():
    """A connection set up and taken apart; the ways in and out, error paths too, of every other subsystem."""
    logger, handler = T.Logger(0), T.ErrorHandler(mode="lastError", logger=T.Logger(-1))
    handler.maxStackLength = 5
    tree, timer = T.Statistics([standins.Driver]), T.RepeatTimer("t", -1, hostile.fail, T.Logger(11), 1)

    def event_round():
        event = T.IoddEvent("10.0.0.1", 1, ("Ev", 0x8C42, "Warning", "Event appears", "Device", 1, 0), "d")
        return repr(event), list(event), event == T.IoddEvent("10.0.0.1", 2, tuple(event), "d")

    def timer_round(args):
        timer.finished, timer.args = sweep.OneRound(), args
        timer.run()
    return [runpy.run_path(str(HERE.parent / "examples" / "demo.py"))["main"],
            lambda: logger.rw("filtered %s", 1), lambda: logger.log(5, "h", "m %d", 2), T.Logger.info,
            lambda: handler.handleError(T.OrvaneException("m", 3), errInfo="i"), lambda: T.Logger(0, logLevel=1),
            lambda: T.toHex(b"", pre="", nope=1), lambda: T.Stat(1, "%s", 10, 4), lambda: T.Stat().mean,
            lambda: tree.getMasterStatistics(standins.Driver, "10.0.0.1").discoveryAllDuration.add(0.5), tree.clear,
            lambda: [read(standins.stream_table()) for read in (len, str, lambda made: (made.values, made.timesStr))],
            lambda: repr(T.DeviceContent({"a": 1})), lambda: T.MasterCommands().getNames(), lambda: repr(tree),
            event_round, lambda: T.toHex(b"\x01\xab"), lambda: T._convertMatlabFieldName("Gr\u00f6\u00dfe A\\B"),
            lambda: T.parseMseqCapability(0x31, 0, 0), lambda: T.dictReplace({"a b": 1}, " ", "_"),
            lambda: T.matlabConvert({"x y": [1, 2]}), lambda: T.filesha256(HERE / "conftest.py", 100),
            *[functools.partial(T.filesha256, path) for path in [HERE / "missing", HERE, "/proc/self/mem"]],
            *[functools.partial(timer_round, args) for args in [5, [1], ()]]]


def hostile_calls():
    """Looped and too deep structures; every operation but the network's, with hostile arguments in every place."""
    looped, mixed, deep = hostile.looped_dict(), hostile.looped_mixed(), hostile.nested_dict(3000)
    event = T.IoddEvent("a", 1, None, "d")
    event._event = [0, event, 0, 0, 0, 0, 0]
    calls = [lambda: T.dict_depth(looped), lambda: T.dict_depth(deep), lambda: T._dictMatlabReplace(mixed),
             lambda: T.Statistics._clearStat(looped), lambda: event == event,
             lambda: T.DeviceContent(looped, recordFieldNaming="matlab").master]
    odd = (hostile.FailingStr("abc"), hostile.LyingDict({"a": 1}), hostile.failing("__eq__"))
    for where, function in sweep.module_callables():
        counts = [] if "Url" in where else list(sweep.accepted_counts(function, range(4)))
        calls += [functools.partial(function, *(value,) * count) for value in odd for count in counts
                  if not sweep.left_out(where, (value,) * count)]
    return calls


def url_errors(server):
    urls = [server.refused] + [server.url + path for path in ("/cut", "/garbage", "/loop")]
    return [functools.partial(T.readUrl, url, timeout=1.0) for url in urls] + [
        functools.partial(T.postUrlNoException, url, timeout=1.0, retries=False) for url in urls]


def growth(calls, rounds):
    """What `rounds` rounds of the calls leave allocated after as many to warm up, traced from the start so
    that what the second frees of the first (a pool's connections, a server's threads) counts against it."""
    def repeat():
        for call in calls * rounds:
            with contextlib.suppress(Exception):
                call()
        gc.collect()  # failed requests and tables leave cycles: only what the collector cannot free counts
        return tracemalloc.get_traced_memory()[0]

    with open(os.devnull, "w") as sink, contextlib.redirect_stdout(sink):
        tracemalloc.start()
        before = repeat()
        grown = repeat() - before
        tracemalloc.stop()
    return grown


# Errors that carry a traceback a thousand entries long, or come by the hundred, show a leak in fewer rounds.
@pytest.mark.parametrize("workload, rounds", [
    (lambda server: subsystem_traffic(), 300), (lambda server: hostile_calls(), 25), (url_errors, 100)])
def test_repeated_calls_do_not_grow_memory(server, workload, rounds):
    assert growth(workload(server), rounds) < 64 * 1024
