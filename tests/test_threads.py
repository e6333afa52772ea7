"""Eight threads at once on every shared object, switching as often as the interpreter lets them: nothing crashes,
deadlocks or raises but the host's error for a dict changed under a walk, and every count one thread keeps adds up."""
import contextlib
import io
import sys
import threading
import types

import vantrel.base.Tessarine as T

import hostile
import standins
from conftest import SCALE

# Rounds for each thread, about a second's worth: a count, not a time box, so that no thread is starved of its
# share and every count below is exact.  Never a multiple of four, so that some masters stay registered.
ROUNDS = 4 * max(1, int(37 * SCALE)) + 2


def traffic(shared, index):
    """One thread: every step of traffic, ROUNDS times."""
    driver = type(f"Driver{index}", (standins.Driver,), {"driverName": classmethod(lambda cls: cls.__name__)})
    tree, manager, handler, options = shared.tree, shared.manager, shared.handler, shared.options
    manager.addBaseDriver(driver())
    master, masters = standins.Master("10.0.0.1", port=index), {}

    def toggle(address):
        """A master of this thread's driver class with a port and a device, registered or taken apart again."""
        if masters.pop(address, None):
            manager.removeConnectedDev((address, 1))
            manager.removeActiveMasterDriver(address, True)
            return manager.removeMasterDriver(address)
        # Gone: removing it leaves the active level to the manager.
        masters[address] = made = standins.Master(address)
        made.getBaseDriverType, made.connected = lambda: driver, lambda: False
        manager.addMasterDriver(address, made)
        manager.addActiveMasterDriver(address, made)
        manager.addPort(address, 1, standins.Port())
        manager.addConnectedDev((address, 1), standins.Device(address))

    def timer():
        ticks = threading.Event()
        ticking = T.RepeatTimer(None, 0.0005, ticks.set, T.Logger(-1))
        ticking.start()
        ticks.wait(0.002 * SCALE)
        ticking.cancel()
        ticking.join(60 * SCALE)
        assert not ticking.is_alive()

    steps = [
        lambda n: tree.getDevStatistics(master).receiveRepeats.add(1),  # the figure of this thread's own port
        lambda n: tree.getMasterStatistics(master, master.address).discoveryAllDuration.add(0.5),
        lambda n: tree.getDevStatistics(master, n % 8, "10.9.9.9"),  # the tree grows under the reports
        lambda n: (repr(tree), repr(tree.getDevStatistics(master))),
        lambda n: toggle(f"10.{index}.{n % 4}.1"),
        lambda n: (manager.getPortDrivers(), manager.getInactiveMasterAddresses(), manager.getConnectedDevPorts()),
        lambda n: shared.printing.info("thread %s", index),
        lambda n: handler.handleError(T.OrvaneException("failed", index), errInfo="thread"),
        lambda n: handler.handleError(ValueError("a", "b")),
        lambda n: (setattr(handler, "mode", "lastError"), setattr(handler, "logLevel", -1)),
        lambda n: (options["drv"].update(thread=index), options.__setitem__("DRV", {"thread": index})),
        lambda n: (options.copy(), options.reset()),
        lambda n: n % 4 or timer(),  # a timer's thread costs more than all the other steps together
    ]
    for n in range(ROUNDS):
        for step in steps:
            try:
                step(n)
            except RuntimeError as error:
                if not hostile.CHANGED_DURING_WALK.fullmatch(str(error)):
                    shared.errors.append(error)
            except Exception as error:
                shared.errors.append(error)
    shared.registered[index] = driver, sorted(masters)


def test_eight_threads_share_everything(monkeypatch):
    monkeypatch.setattr(T.CommonDriverManager, "iodd", standins.Owner(T.Logger(11)))
    shared = types.SimpleNamespace(
        tree=T.Statistics([standins.Driver]), manager=T.CommonDriverManager(), printing=T.Logger(11, "p"),
        handler=T.ErrorHandler("lastError", T.Logger(-1)), errors=[], registered={},
        options=T.DriverOptions([standins.Driver], {"Drv": {"noZeroInit": True}}))
    shared.handler.maxStackLength = 50
    interval = sys.getswitchinterval()
    threads = [threading.Thread(target=traffic, args=(shared, index), daemon=True) for index in range(8)]
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

    ports = shared.tree.getStat(True)["masters"]["10.0.0.1"]["ports"]
    assert [ports[index]["receiveRepeats"]["count"] for index in range(8)] == [ROUNDS] * 8
    assert printed.getvalue().count("p] INFO: thread ") == 8 * ROUNDS  # one line per call
    assert len(shared.handler.getErrorList()) <= 50 and shared.handler.getLastErrorCode() in (-1, *range(8))
    shared.options.reset()
    assert list(shared.options) == ["Drv"]

    # The registry holds exactly what the threads left registered.
    manager = shared.manager
    left = {address for driver, addresses in shared.registered.values() for address in addresses}
    assert left and set(manager.getMasterAddresses()) == set(manager.getActiveMasterAddresses()) == left
    assert set(manager.getConnectedDevPorts()) == {(address, 1) for address in left}
    assert len(manager.getPortDrivers()) == len(left) and all(
        sorted(manager.getDriverAddresses(driver)) == addresses for driver, addresses in shared.registered.values())
