"""Eight threads at once on every shared object of the module, switching as
often as the interpreter lets them: nothing crashes, nothing deadlocks,
nothing but the interpreter's error for a dictionary that changed size under
a walk is raised, and every count that a single thread keeps adds up."""
import collections
import contextlib
import io
import itertools
import sys
import threading
import time

import pytest

import vantrel.base.Tessarine as T

import hostile
import standins

THREADS = 8
SECONDS = 3.0
PATIENCE = 120  # bounds a deadlock; the machine may be busy


def driver_class(index):
    return type(f"Driver{index}", (standins.Driver,), {"driverName": classmethod(lambda cls: cls.__name__)})


class Master(standins.Master):
    """A master of one thread's driver class, which reports itself gone so
    that its removal leaves the active level to removeActiveMasterDriver."""

    def __init__(self, address, driver):
        super().__init__(address)
        self.driver = driver

    def getBaseDriverType(self):
        return self.driver

    def connected(self):
        return False


class Shared:
    """What all threads work on, and the outcome each thread keeps of its own."""

    def __init__(self):
        self.figure = T.Stat()
        self.tree = T.Statistics([standins.Driver])
        self.manager = T.CommonDriverManager()
        self.quiet = T.Logger(0)
        self.printing = T.Logger(11, "p")
        self.handler = T.ErrorHandler("lastError", T.Logger(-1))
        self.handler.maxStackLength = 50
        self.options = T.DriverOptions([standins.Driver], {"Drv": {"noZeroInit": True}})
        self.adds = collections.Counter()
        self.registered = {}
        self.errors = []


class Worker:
    """One thread: a round of every kind of traffic, again and again."""

    def __init__(self, shared, index):
        self.shared, self.index = shared, index
        self.own = T.Stat()
        self.driver = driver_class(index)
        # One master for all threads, a port of its own for each.
        self.master = standins.Master("10.0.0.1", port=index)
        self.new_ports = ((index, n) for n in range(8))
        self.addresses = itertools.cycle(f"10.{index}.{n}.1" for n in range(4))
        self.masters = {}
        self.printed = 0

    def statistics(self):
        tree = self.shared.tree
        view = tree.getDevStatistics(self.master)
        view.receiveRepeats.add(1)
        self.own.add(1)
        self.shared.adds[self.index] += 1
        self.shared.figure.add(self.index)
        tree.getMasterStatistics(self.master, self.master.address).discoveryAllDuration.add(0.5)
        # Ports that no other thread knows: the tree grows under the reports.
        tree.getDevStatistics(self.master, next(self.new_ports, 0), "10.9.9.9")
        tree.getStat(True)
        repr(tree)
        repr(view)

    def registry(self):
        manager = self.shared.manager
        address = next(self.addresses)
        if address in self.masters:
            manager.removeConnectedDev((address, 1))
            manager.removeActiveMasterDriver(address, True)
            manager.removeMasterDriver(address)
            del self.masters[address]
        else:
            master = self.masters[address] = Master(address, self.driver)
            manager.addMasterDriver(address, master)
            manager.addActiveMasterDriver(address, master)
            manager.addPort(address, 1, standins.Port())
            manager.addConnectedDev((address, 1), standins.Device(address))
        manager.getPortDrivers()
        manager.getInactiveMasterAddresses()
        manager.getConnectedDevPorts()

    def logging(self):
        self.shared.quiet.rw("filtered %s", self.index)
        self.shared.printing.info("thread %s", self.index)
        self.printed += 1

    def failures(self):
        handler = self.shared.handler
        handler.handleError(T.OrvaneException("failed", self.index), errInfo="thread")
        handler.handleError(ValueError("a", "b"))
        handler.mode = "lastError"
        handler.logLevel = -1

    def conversions(self):
        assert T.toHex(bytes([self.index, 0xAB])) == f"0x{self.index:02X}AB"
        assert T.dict_depth({"a": {"b": {}}, "c": self.index}) == 3
        assert T._dictMatlabReplace({"Größe A": {"1": self.index}}) == {"Groesse_A": {"subIdx_1": self.index}}
        assert T.parseMseqCapability(0x31, 1, 1)["Operate"]["type"] == "TYPE_2_5"
        assert T.matlabConvert((1.5, [2.5], self.index)) == (1, [2], self.index)

    def options(self):
        options = self.shared.options
        options["drv"]["thread"] = self.index
        options["DRV"] = {"thread": self.index}
        options.copy()
        options.reset()

    def timers(self):
        ticks = threading.Event()
        timer = T.RepeatTimer(None, 0.0005, ticks.set, T.Logger(-1))
        timer.start()
        ticks.wait(0.002)
        timer.cancel()
        timer.join(PATIENCE)
        assert not timer.is_alive()

    def run(self, deadline):
        steps = [self.statistics, self.registry, self.logging, self.failures, self.conversions, self.options]
        # A timer's thread costs more than all the other steps together.
        rounds = itertools.cycle([steps + [self.timers]] + [steps] * 3)
        while time.monotonic() < deadline:
            for step in next(rounds):
                try:
                    step()
                except RuntimeError as error:
                    if not hostile.CHANGED_DURING_WALK.fullmatch(str(error)):
                        self.shared.errors.append(error)
                except Exception as error:
                    self.shared.errors.append(error)
        self.shared.registered[self.index] = (self.driver, sorted(self.masters))


@pytest.fixture
def tiny_switch_interval():
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1e-6)
    yield
    sys.setswitchinterval(interval)


def test_eight_threads_share_everything(monkeypatch, tiny_switch_interval):
    shared = Shared()
    monkeypatch.setattr(T.CommonDriverManager, "iodd", standins.Owner(T.Logger(11)))
    workers = [Worker(shared, index) for index in range(THREADS)]
    for worker in workers:
        shared.manager.addBaseDriver(worker.driver())
    deadline = time.monotonic() + SECONDS
    threads = [threading.Thread(target=worker.run, args=(deadline,), daemon=True) for worker in workers]
    with contextlib.redirect_stdout(io.StringIO()) as printed:
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join(PATIENCE)
    assert not any(thread.is_alive() for thread in threads)
    assert shared.errors == []

    # Counts that one thread keeps alone add up.
    report = shared.tree.getStat(True)
    ports = report["masters"]["10.0.0.1"]["ports"]
    for worker in workers:
        assert worker.own.count == shared.adds[worker.index] > 0
        assert ports[worker.index]["receiveRepeats"]["count"] == shared.adds[worker.index]
    assert report["receiveRepeats"]["count"] == sum(shared.adds.values())
    assert shared.figure.getStat()["min"] == "0"

    # The registry holds exactly what the threads left registered.
    manager = shared.manager
    left = {address: driver for driver, addresses in shared.registered.values() for address in addresses}
    assert set(manager.getMasterAddresses()) == set(manager.getActiveMasterAddresses()) == set(left)
    assert set(manager.getConnectedDevPorts()) == {(address, 1) for address in left}
    assert len(manager.getPortDrivers()) == len(left)
    for driver, addresses in shared.registered.values():
        assert sorted(manager.getDriverAddresses(driver)) == addresses

    # One line per printing call.
    assert printed.getvalue().count("p] INFO: thread ") == sum(worker.printed for worker in workers)
    assert len(shared.handler.getErrorList()) <= 50 and shared.handler.getLastErrorCode() in (-1, *range(THREADS))
    shared.options.reset()
    assert list(shared.options) == ["Drv"]
