"""Eight threads at once on every shared object of the module, switching as often as the interpreter lets
them: nothing crashes or deadlocks, nothing but the interpreter's error for a dictionary that changed size
under a walk is raised, and every count that one thread keeps alone adds up."""
import collections
import contextlib
import io
import itertools
import sys
import threading
import time
import types

import vantrel.base.Tessarine as T

import hostile
import standins
from conftest import SCALE


def traffic(shared, index, deadline):
    """One thread: every kind of traffic, again and again, until the deadline."""
    driver = type(f"Driver{index}", (standins.Driver,), {"driverName": classmethod(lambda cls: cls.__name__)})
    shared.manager.addBaseDriver(driver())
    own, master, masters = T.Stat(), standins.Master("10.0.0.1", port=index), {}
    new_ports, addresses = iter(range(8)), itertools.cycle(f"10.{index}.{n}.1" for n in range(4))

    def statistics():
        shared.tree.getDevStatistics(master).receiveRepeats.add(1)
        own.add(1)
        shared.adds[index] += 1
        shared.figure.add(index)
        shared.tree.getMasterStatistics(master, master.address).discoveryAllDuration.add(0.5)
        shared.tree.getDevStatistics(master, next(new_ports, 0), "10.9.9.9")  # the tree grows under the reports
        repr(shared.tree), repr(shared.tree.getDevStatistics(master))

    def registry():
        address, manager = next(addresses), shared.manager
        if masters.pop(address, None):
            manager.removeConnectedDev((address, 1))
            manager.removeActiveMasterDriver(address, True)
            manager.removeMasterDriver(address)
        else:
            # Of this thread's driver class, and gone: removing it leaves the active level to the manager.
            masters[address] = standins.Master(address)
            masters[address].getBaseDriverType, masters[address].connected = lambda: driver, lambda: False
            manager.addMasterDriver(address, masters[address])
            manager.addActiveMasterDriver(address, masters[address])
            manager.addPort(address, 1, standins.Port())
            manager.addConnectedDev((address, 1), standins.Device(address))
        manager.getPortDrivers(), manager.getInactiveMasterAddresses(), manager.getConnectedDevPorts()

    def others():
        shared.quiet.rw("filtered %s", index)
        shared.printing.info("thread %s", index)
        shared.printed[index] += 1
        shared.handler.handleError(T.OrvaneException("failed", index), errInfo="thread")
        shared.handler.handleError(ValueError("a", "b"))
        shared.handler.mode, shared.handler.logLevel = "lastError", -1
        assert T.toHex(bytes([index, 0xAB])) == f"0x{index:02X}AB" and T.dict_depth({"a": {}, "c": index}) == 2
        assert T._dictMatlabReplace({"Größe A": {"1": index}}) == {"Groesse_A": {"subIdx_1": index}}
        assert T.matlabConvert((1.5, [2.5], index)) == (1, [2], index)
        assert T.parseMseqCapability(0x31, 1, 1)["Operate"]["type"] == "TYPE_2_5"
        shared.options["drv"]["thread"] = index
        shared.options["DRV"] = {"thread": index}
        shared.options.copy(), shared.options.reset()

    def timer():
        ticks = threading.Event()
        ticking = T.RepeatTimer(None, 0.0005, ticks.set, T.Logger(-1))
        ticking.start()
        ticks.wait(0.002 * SCALE)
        ticking.cancel()
        ticking.join(60 * SCALE)
        assert not ticking.is_alive()

    # A timer's thread costs more than all the other steps together.
    for steps in itertools.cycle([(statistics, registry, others, timer)] + [(statistics, registry, others)] * 3):
        if time.monotonic() > deadline:
            break
        for run in steps:
            try:
                run()
            except RuntimeError as error:
                if not hostile.CHANGED_DURING_WALK.fullmatch(str(error)):
                    shared.errors.append(error)
            except Exception as error:
                shared.errors.append(error)
    shared.own[index], shared.registered[index] = own.count, (driver, sorted(masters))


def test_eight_threads_share_everything(monkeypatch):
    monkeypatch.setattr(T.CommonDriverManager, "iodd", standins.Owner(T.Logger(11)))
    shared = types.SimpleNamespace(
        figure=T.Stat(), tree=T.Statistics([standins.Driver]), manager=T.CommonDriverManager(), quiet=T.Logger(0),
        printing=T.Logger(11, "p"), handler=T.ErrorHandler("lastError", T.Logger(-1)), errors=[], own={},
        options=T.DriverOptions([standins.Driver], {"Drv": {"noZeroInit": True}}), registered={},
        adds=collections.Counter(), printed=collections.Counter())
    shared.handler.maxStackLength = 50
    interval, deadline = sys.getswitchinterval(), time.monotonic() + SCALE
    threads = [threading.Thread(target=traffic, args=(shared, index, deadline), daemon=True) for index in range(8)]
    sys.setswitchinterval(1e-6)
    try:
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join(120 * SCALE)  # bounds a deadlock
    finally:
        sys.setswitchinterval(interval)
    assert not any(thread.is_alive() for thread in threads) and shared.errors == []

    report = shared.tree.getStat(True)
    ports = report["masters"]["10.0.0.1"]["ports"]
    for index, count in shared.own.items():  # a starved thread may have counted nothing: that is no fault
        assert count == shared.adds[index] and (not count or ports[index]["receiveRepeats"]["count"] == count)
    assert report["receiveRepeats"]["count"] == sum(shared.adds.values())
    assert shared.figure.getStat()["min"] == str(min(index for index, count in shared.adds.items() if count))

    # The registry holds exactly what the threads left registered.
    manager = shared.manager
    left = {address for driver, addresses in shared.registered.values() for address in addresses}
    assert set(manager.getMasterAddresses()) == set(manager.getActiveMasterAddresses()) == left
    assert set(manager.getConnectedDevPorts()) == {(address, 1) for address in left}
    assert len(manager.getPortDrivers()) == len(left)
    for driver, addresses in shared.registered.values():
        assert sorted(manager.getDriverAddresses(driver)) == addresses

    assert printed.getvalue().count("p] INFO: thread ") == sum(shared.printed.values())  # one line per call
    assert len(shared.handler.getErrorList()) <= 50 and shared.handler.getLastErrorCode() in (-1, *range(8))
    shared.options.reset()
    assert list(shared.options) == ["Drv"]
