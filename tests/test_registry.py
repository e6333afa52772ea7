import types

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
        self.calls.append(("close", self.driverName()))


class Net(Sim):
    pass


class Master:
    def __init__(self, calls, drvType, address, connected=False, info=None, masterInfo=None):
        self.calls, self.drvType, self.address, self.is_connected = calls, drvType, address, connected
        self.info, self._masterInfo = info or {}, masterInfo

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


class Device:
    def __init__(self, address, port):
        self._port, self._device = (address, port), types.SimpleNamespace(_address=address)


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
    monkeypatch.setattr(T.CommonDriverManager, "iodd", types.SimpleNamespace(_logger=logger))
    return logger.lines


@pytest.fixture
def connection(calls):
    """Base driver Sim with master "a" (ports 1 in use and 2 with devices) and master "b", both active."""
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls, active=True))
    devices = {1: Device("a", 1), 2: Device("a", 2)}
    masters = {}
    for address in "ab":
        masters[address] = Master(calls, Sim, address, connected=True, masterInfo={"Product Name": "AL"})
        m.addMasterDriver(address, masters[address])
        m.addActiveMasterDriver(address, masters[address])
        m.addIoddMaster(types.SimpleNamespace(_master=masters[address], address=address))
    for port, device in devices.items():
        m.addPort("a", port, Port(calls, port, in_use=port == 1, device=device))
        m.addConnectedDev(("a", port), device)
    return types.SimpleNamespace(manager=m, masters=masters, devices=devices)


def driver_error(text):
    return pytest.raises(T.DriverException, match="^" + __import__("re").escape(text) + "$")


def test_stores_and_owner():
    assert list(vars(T.CommonDriverManager())) == STORES
    assert T.CommonDriverManager.iodd is None


def test_base_drivers(calls, owner):
    m = T.CommonDriverManager()
    view = m.getBaseDrivers()
    first = Sim(calls)
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
    iodd = types.SimpleNamespace(_master=Master(calls, Sim, "a"), address="a")
    assert m.getIoddMaster(Sim, "a") is None and m.getIoddMaster(Net, "a") is None
    m.addIoddMaster(iodd)
    with driver_error("Master already registered for a."):
        m.addIoddMaster(iodd)
    assert m.getIoddMasters() == [iodd] and m.getIoddMaster(Sim, "a") is iodd
    m.removeIoddMaster(master=iodd)
    with driver_error("No master registered for a."):
        m.removeIoddMaster(iodd)
    with pytest.raises(KeyError):
        m.addIoddMaster(types.SimpleNamespace(_master=Master(calls, Net, "b"), address="b"))


def test_master_addresses(calls):
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls))
    first = Master(calls, Sim, "a")
    m.addMasterDriver("a", first)
    with driver_error("Master already registered for a."):
        m.addMasterDriver("a", Master(calls, Sim, "a"))
    m.addMasterDriver("b", Master(calls, Sim, "b"))
    m.addActiveMasterDriver("b", m.getMasterDriver("b"))
    m.addActiveMasterDriver("c", Master(calls, Sim, "c"))
    with driver_error("Active master already registered for c."):
        m.addActiveMasterDriver("c", first)
    with pytest.raises(KeyError):
        m.addMasterDriver("d", Master(calls, Net, "d"))
    assert m.getDriverAddresses(Sim) is m._addresses[Sim] and m.getActiveDriverAddresses(Sim) == ["b", "c"]
    m.getDriverAddresses(Net).append("x")
    assert m.getDriverAddresses(Net) == [] and m.getMasterDriver("a") is first
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
        (None, {}, 'Sim master connected to "a": None'),
    ],
)
def test_connection_line(calls, owner, masterInfo, info, line):
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls))
    m.addActiveMasterDriver("a", Master(calls, Sim, "a", info=info, masterInfo=masterInfo))
    assert owner[1:] == [line]
    assert calls == ([] if masterInfo else [("getMasterInfo", "a")])


def test_connection_line_needs_owner_and_text_serial(calls, monkeypatch):
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls))
    m.addActiveMasterDriver("a", Master(calls, Sim, "a", info={"Serial Number": 7}))
    assert calls == []
    monkeypatch.setattr(T.CommonDriverManager, "iodd", types.SimpleNamespace(_logger=Logger()))
    with pytest.raises(TypeError):
        m.addActiveMasterDriver("b", Master(calls, Sim, "b", info={"Serial Number": 7}))
    assert m.checkActiveMasterDriver("b") and m.getPorts("b") == {}


def test_ports_and_devices(connection):
    m = connection.manager
    m.addActiveMasterDriver("c", Master([], Sim, "c"))
    assert [m.checkActivePorts("x", 1), m.checkActivePorts("b", 1), m.checkActivePorts("a", 1),
            m.checkActivePorts("a", 3)] == [None, {}, True, False]
    first = m.getPortDriver("a", 1)
    with driver_error("Master a has already active port 1."):
        m.addPort("a", 1, Port([], 1))
    with pytest.raises(KeyError):
        m.addPort("x", 1, Port([], 1))
    with driver_error("Cannot access port for inactive b."):
        m.getPortDriver("b", 1)
    with driver_error("Port 3 not available for a."):
        m._getPort("a", 3)
    m.addPort("c", 1, Port([], "c1"))
    assert m._getPort("a", 1) == (m.getPorts("a"), first) and m.getPorts("a") is m._ports["a"]
    assert m.getPortDrivers("") == m.getPortDrivers() == [first, m.getPortDriver("a", 2), m.getPortDriver("c", 1)]
    assert m.getPortDrivers("x") == [] and m.getPorts("x") == {}
    m.addConnectedDev(("c", 1), "dev")
    assert m.getConnectedDevPorts() == [("a", 1), ("a", 2), ("c", 1)] and m.getConnectedDevPorts("c") == [1]
    assert m.getConnectedDev(("x", 1)) is None and m.removeConnectedDev(("c", 1)) == "dev"
    with pytest.raises(KeyError):
        m.removeConnectedDev(("c", 1))
    assert m.getConnectedDevs() == list(connection.devices.values())


def test_rename_moves_everything_under_the_new_address(connection):
    m = connection.manager
    m.addConnectedDev(("b", 5), "other")
    m._addresses[Sim].append("z")
    m.renameAddress("a", newAddr="z")
    assert [d._port for d in connection.devices.values()] == [("z", 1), ("z", 2)]
    assert [d._device._address for d in connection.devices.values()] == ["z", "z"]
    assert list(m._masters) == list(m._openMasters) == list(m._ports) == ["b", "z"]
    assert list(m._ioddmasters[Sim]) == ["b", "z"] and m.getIoddMaster(Sim, "z").address == "a"
    assert list(m._openDevs) == [("z", 1), ("z", 2), ("z", 5)]
    assert (m._addresses[Sim], m._openAddresses[Sim]) == (["b", "z"], ["b", "z"])
    with driver_error("No master registered for a."):
        m.getMasterDriver("a")
    with pytest.raises(KeyError):
        m.renameAddress("a", "y")


def test_rename_to_itself_drops_the_entries(connection):
    m = connection.manager
    m.addConnectedDev(("b", 7), "dev")
    m.renameAddress("b", "b")
    assert list(m._masters) == list(m._ports) == list(m._ioddmasters[Sim]) == ["a"]
    assert list(m._openDevs) == [("b", 1), ("b", 2)] and m._openAddresses[Sim] == ["a", "b"]
    assert T.CommonDriverManager._renameKey({1: 2}, 3, 4) is None


def test_removing_a_whole_connection(connection, calls, owner):
    m = connection.manager
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
        ("close", "Sim"),
    ]
    assert owner[-4:] == ['Sim master "a" disconnected', 'Sim master "a" removed',
                          'Sim master "b" disconnected', 'Sim master "b" removed']
    assert [getattr(m, store) for store in STORES[:-1]] == [{}] * 7
    assert list(m._openDevs) == [("a", 1), ("a", 2)]


@pytest.mark.parametrize("active, with_owner, line", [(True, False, None), (False, True, 'Closed base driver "Sim".')])
def test_removing_a_base_driver(calls, monkeypatch, active, with_owner, line):
    logger = Logger()
    if with_owner:
        monkeypatch.setattr(T.CommonDriverManager, "iodd", types.SimpleNamespace(_logger=logger))
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls, active=active))
    assert m.removeBaseDriver(Sim) is None
    assert calls == ([("close", "Sim")] if active else []) and logger.lines[-1:] == ([line] if line else [])


def test_what_stays_behind_a_master(connection, calls, owner):
    m = connection.manager
    connection.masters["b"].is_connected = False
    m.removeMasterDriver("b")
    assert owner[-1] == 'Sim master "b" removed' and m.checkActiveMasterDriver("b")
    assert m.getMasterAddresses() == ["a"] and m.getActiveDriverAddresses(Sim) == ["a", "b"]
    m.removeActiveMasterDriver("b")
    assert (m.getActiveMasterAddresses(), list(m._ports)) == (["a"], ["a"])
    del m._openMasters["a"]
    with driver_error("No active master registered for a."):
        m.removeMasterDriver("a", True)
    assert m.getMasterAddresses() == ["a"]
    m.addActiveMasterDriver("a", connection.masters["a"])
    m.removeActiveMasterDriver("a", True)
    assert m.getConnectedDevs() == list(connection.devices.values())
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
    m = connection.manager
    m.getPortDriver("a", 2).in_use = in_use
    if removed:
        m.removePort("a", 2, force)
    else:
        with driver_error("Cannot remove active master a."):
            m.removePort("a", 2, force)
    assert calls == [("connected", 2)] * asked + [("disconnect", 2)] * disconnected
    assert m.checkActivePorts("a", 2) is not removed


def test_calls_are_checked_before_running():
    with pytest.raises(TypeError, match=r"^removePort\(\) takes at least 3 positional arguments \(2 given\)$"):
        T.CommonDriverManager().removePort("a")
