import re
from types import SimpleNamespace as NS

import pytest

import vantrel.base.Tessarine as T

STORES = ["_drivers", "_addresses", "_masters", "_openAddresses", "_openMasters", "_ports", "_ioddmasters", "_openDevs"]


class Sim:
    """A base driver; its class is the driver type."""

    def __init__(self, calls, active=False):
        self.calls, self._active = calls, active

    @classmethod
    def driverName(cls):
        return cls.__name__

    def close(self):
        self.calls.append("close")


class Net(Sim):
    pass


class Master:
    def __init__(self, calls, address, connected=False, info=None, masterInfo=None, drvType=Sim):
        self.calls, self.address, self.is_connected, self.drvType = calls, address, connected, drvType
        self.info, self._masterInfo = info, masterInfo

    def getBaseDriverType(self):
        return self.drvType

    def driverName(self):
        return self.drvType.driverName()

    def connected(self):
        return self.is_connected

    def getMasterInfo(self):
        self.calls.append(("getMasterInfo", self.address))
        return self.info

    def disconnect(self, *args, **kwargs):
        self.calls.append(("disconnect", self.address, args, kwargs))
        self.is_connected = False


class Port:
    def __init__(self, calls, name, in_use=False, device=None):
        self.calls, self.name, self.in_use, self._connectediodd = calls, name, in_use, device

    def connected(self):
        self.calls.append(("connected", self.name))
        return self.in_use

    def disconnect(self, *args):
        self.calls.append(("disconnect", self.name) + args)


class Logger:
    def __init__(self):
        self.lines = []

    def debug(self, format, *args):
        self.lines.append(format % args)


@pytest.fixture
def calls():
    return []


@pytest.fixture
def owner(monkeypatch):
    logger = Logger()
    monkeypatch.setattr(T.CommonDriverManager, "iodd", NS(_logger=logger))
    return logger.lines


@pytest.fixture
def connection(calls):
    """Active driver Sim; masters "a" (port 1 in use, port 2 free, a device on each) and "b", both connected."""
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls, active=True))
    for address in "ab":
        master = Master(calls, address, connected=True, masterInfo={"Product Name": "AL"})
        m.addMasterDriver(address, master)
        m.addActiveMasterDriver(address, master)
        m.addIoddMaster(NS(_master=master, address=address))
    for port in (1, 2):
        device = NS(_port=("a", port), _device=NS(_address="a"))
        m.addPort("a", port, Port(calls, port, in_use=port == 1, device=device))
        m.addConnectedDev(("a", port), device)
    return m


def driver_error(text):
    return pytest.raises(T.DriverException, match="^" + re.escape(text) + "$")


def test_base_drivers(calls, owner):
    m = T.CommonDriverManager()
    assert list(vars(m)) == STORES
    view, first = m.getBaseDrivers(), Sim(calls)
    m.addBaseDriver(first)
    with driver_error("Driver already registered: Sim."):
        m.addBaseDriver(Sim(calls))
    m.addBaseDriver(Net(calls))
    assert list(view) == [first, m.getBaseDriver(Net)] and m.getBaseDriver(Sim) is first
    assert m.checkBaseDriverActive(Sim) is True and m.checkBaseDriverActive(Master) is False
    assert owner == ['Opened base driver "Sim".', 'Opened base driver "Net".']
    with driver_error("No driver registered for Unknown."):
        m.getBaseDriver(drvType=type("Unknown", (Sim,), {}))


def test_iodd_masters(calls):
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls))
    iodd = NS(_master=Master(calls, "a"), address="a")
    assert m.getIoddMaster(Sim, "a") is None and m.getIoddMaster(Net, "a") is None
    m.addIoddMaster(iodd)
    with driver_error("Master already registered for a."):
        m.addIoddMaster(iodd)
    assert m.getIoddMasters() == [iodd] and m.getIoddMaster(Sim, "a") is iodd
    m.removeIoddMaster(master=iodd)
    with driver_error("No master registered for a."):
        m.removeIoddMaster(iodd)
    with pytest.raises(KeyError):
        m.addIoddMaster(NS(_master=Master(calls, "b", drvType=Net), address="b"))


def test_master_addresses(calls):
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls))
    first = Master(calls, "a")
    m.addMasterDriver("a", first)
    with driver_error("Master already registered for a."):
        m.addMasterDriver("a", Master(calls, "a"))
    m.addMasterDriver("b", Master(calls, "b"))
    m.addActiveMasterDriver("b", m.getMasterDriver("b"))
    m.addActiveMasterDriver("c", Master(calls, "c"))
    with driver_error("Active master already registered for c."):
        m.addActiveMasterDriver("c", first)
    with pytest.raises(KeyError):
        m.addMasterDriver("d", Master(calls, "d", drvType=Net))
    m.getDriverAddresses(Net).append("x")
    assert m.getDriverAddresses(Sim) is m._addresses[Sim] and m.getDriverAddresses(Net) == []
    assert (m.getMasterAddresses(), m.getActiveMasterAddresses(), m.getInactiveMasterAddresses()) == (
        ["a", "b"], ["b", "c"], ["a"])
    assert m.getActiveMasterDrivers() == [m.getActiveMasterDriver("b"), m.getActiveMasterDriver("c")]
    assert m.checkMasterDriver("c") is False and m.checkActiveMasterDriver("c") is True
    with driver_error("No active master registered for a."):
        m.getActiveMasterDriver("a")
    with driver_error("No master registered for c."):
        m.getMasterDriver("c")


@pytest.mark.parametrize(
    "masterInfo, info, line",
    [
        ({"Product Name": "AL", "Serial Number": "42"}, None, 'Sim master connected to "a": AL, S/N: 42'),
        ({}, {"Product Name": "", "Product Code": "PC"}, 'Sim master connected to "a": PC'),
        (None, {"Serial Number": 7}, TypeError),
    ],
)
def test_connection_line(calls, monkeypatch, masterInfo, info, line):
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls))
    m.addActiveMasterDriver("x", Master(calls, "x", info=info, masterInfo=masterInfo))
    assert calls == []
    logger = Logger()
    monkeypatch.setattr(T.CommonDriverManager, "iodd", NS(_logger=logger))
    if line is TypeError:
        with pytest.raises(TypeError):
            m.addActiveMasterDriver("a", Master(calls, "a", info=info))
    else:
        m.addActiveMasterDriver("a", Master(calls, "a", info=info, masterInfo=masterInfo))
    assert logger.lines == ([] if line is TypeError else [line]) and m.getPorts("a") == {}
    assert calls == ([] if masterInfo else [("getMasterInfo", "a")])


def test_ports_and_devices(connection):
    m = connection
    m.addActiveMasterDriver("c", Master([], "c"))
    assert [m.checkActivePorts(*port) for port in [("x", 1), ("c", 1), ("a", 1), ("a", 3)]] == [None, {}, True, False]
    first = m.getPortDriver("a", 1)
    with driver_error("Master a has already active port 1."):
        m.addPort("a", 1, None)
    with pytest.raises(KeyError):
        m.addPort("x", 1, None)
    with driver_error("Cannot access port for inactive c."):
        m.getPortDriver("c", 1)
    with driver_error("Port 3 not available for a."):
        m._getPort("a", 3)
    m.addPort("b", 1, "b1")
    assert m._getPort("a", 1) == (m.getPorts("a"), first) and m.getPorts("a") is m._ports["a"]
    assert m.getPortDrivers("") == m.getPortDrivers() == [first, m.getPortDriver("a", 2), "b1"]
    assert m.getPortDrivers("x") == [] and m.getPorts("x") == {}
    m.addConnectedDev(("b", 1), "dev")
    assert m.getConnectedDevPorts() == [("a", 1), ("a", 2), ("b", 1)] and m.getConnectedDevPorts("b") == [1]
    assert m.getConnectedDev(("x", 1)) is None and m.removeConnectedDev(("b", 1)) == "dev"
    with pytest.raises(KeyError):
        m.removeConnectedDev(("b", 1))


def test_rename_moves_everything_under_the_new_address(connection):
    m = connection
    devices = m.getConnectedDevs()
    m.addConnectedDev(("b", 5), "other")
    m._addresses[Sim].append("z")
    m.renameAddress("a", newAddr="z")
    assert [(d._port, d._device._address) for d in devices] == [(("z", 1), "z"), (("z", 2), "z")]
    assert list(m._masters) == list(m._openMasters) == list(m._ports) == list(m._ioddmasters[Sim]) == ["b", "z"]
    assert m.getIoddMaster(Sim, "z").address == "a" and list(m._openDevs) == [("z", 1), ("z", 2), ("z", 5)]
    assert m._addresses[Sim] == m._openAddresses[Sim] == ["b", "z"]
    with driver_error("No master registered for a."):
        m.getMasterDriver("a")
    with pytest.raises(KeyError):
        m.renameAddress("a", "y")


def test_rename_to_itself_drops_the_entries(connection):
    connection.addConnectedDev(("b", 7), "dev")
    connection.renameAddress("b", "b")
    assert list(connection._masters) == list(connection._ports) == list(connection._ioddmasters[Sim]) == ["a"]
    assert list(connection._openDevs) == [("b", 1), ("b", 2)] and connection._openAddresses[Sim] == ["a", "b"]


def test_removing_a_whole_connection(connection, calls, owner):
    m = connection
    with driver_error("Cannot remove active driver Sim."):
        m.removeBaseDriver(Sim)
    with driver_error("Cannot remove active master a."):
        m.removeActiveMasterDriver("a")
    assert calls == []
    with pytest.raises(UnboundLocalError, match="^local variable 'drv' referenced before assignment$"):
        m.removeBaseDriver(Sim, force=1)
    assert calls == [
        ("connected", 1), ("disconnect", 1), ("connected", 2),
        ("disconnect", "a", (None, 1), {"removeDriverOrigin": True}),
        ("disconnect", "b", (None, 1), {"removeDriverOrigin": True}),
        "close",
    ]
    assert owner[-4:] == ['Sim master "a" disconnected', 'Sim master "a" removed',
                          'Sim master "b" disconnected', 'Sim master "b" removed']
    assert [getattr(m, store) for store in STORES[:-1]] == [{}] * 7 and list(m._openDevs) == [("a", 1), ("a", 2)]


@pytest.mark.parametrize("active, owned, lines", [(True, False, []), (False, True, ['Closed base driver "Sim".'])])
def test_removing_a_base_driver(calls, monkeypatch, active, owned, lines):
    logger = Logger()
    monkeypatch.setattr(T.CommonDriverManager, "iodd", NS(_logger=logger) if owned else None)
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls, active=active))
    assert m.removeBaseDriver(Sim) is None and m._drivers == {}
    assert calls == ["close"] * active and logger.lines[1:] == lines


def test_what_stays_behind_a_master(connection, owner):
    m = connection
    m.getMasterDriver("b").is_connected = False
    m.removeMasterDriver("b")
    assert owner[-1] == 'Sim master "b" removed' and m.checkActiveMasterDriver("b")
    assert m.getMasterAddresses() == ["a"] and m.getActiveDriverAddresses(Sim) == ["a", "b"]
    m.removeActiveMasterDriver("b")
    assert m.getActiveMasterAddresses() == list(m._ports) == ["a"]
    master = m._openMasters.pop("a")
    with driver_error("No active master registered for a."):
        m.removeMasterDriver("a", True)
    m._openMasters["a"] = master
    m.removeActiveMasterDriver("a", True)
    assert m.getMasterAddresses() == ["a"] and len(m.getConnectedDevs()) == 2
    assert list(m._ioddmasters[Sim]) == ["a", "b"]


@pytest.mark.parametrize(
    "force, in_use, asked, disconnected, removed",
    [
        (None, True, False, False, True),
        (False, True, True, False, False),
        (0, True, True, False, False),
        (True, True, True, True, True),
        (None, False, False, False, True),
        (False, False, True, False, True),
        (True, False, True, False, True),
    ],
)
def test_remove_port_force(connection, calls, force, in_use, asked, disconnected, removed):
    connection.getPortDriver("a", 2).in_use = in_use
    if removed:
        connection.removePort("a", 2, force)
    else:
        with driver_error("Cannot remove active master a."):
            connection.removePort("a", 2, force)
    assert calls == [("connected", 2)] * asked + [("disconnect", 2)] * disconnected
    assert connection.checkActivePorts("a", 2) is not removed
