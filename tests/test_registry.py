from types import SimpleNamespace as NS

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome

STORES = ["_drivers", "_addresses", "_masters", "_openAddresses", "_openMasters", "_ports", "_ioddmasters", "_openDevs"]


class Sim:
    """A base driver; its class is the driver type."""
    driverName = classmethod(lambda cls: cls.__name__)

    def __init__(self, calls, active=True):
        self.calls, self._active = calls, active

    def close(self):
        self.calls.append("close")


class Net(Sim):
    pass


def master(calls, address, masterInfo=None, info=None, drvType=Sim):
    """A connected master that records what it is asked for that describes or ends its connection."""
    made = NS(address=address, _masterInfo=masterInfo, is_connected=True, getBaseDriverType=lambda: drvType,
              driverName=drvType.driverName, getMasterInfo=lambda: calls.append(("getMasterInfo", address)) or info,
              disconnect=lambda *args, **kwargs: calls.append(("disconnect", address, args, kwargs)))
    made.connected = lambda: made.is_connected
    return made


def port(calls, name, in_use, device):
    made = NS(in_use=in_use, _connectediodd=device, disconnect=lambda: calls.append(("disconnect", name)))
    made.connected = lambda: calls.append(("connected", name)) or made.in_use
    return made


@pytest.fixture
def calls():
    return []


@pytest.fixture
def connection(calls):
    """Active driver Sim; masters "a" (port 1 in use, port 2 free, a device on each) and "b", both connected."""
    m = T.CommonDriverManager()
    m.addBaseDriver(Sim(calls))
    for address in "ab":
        made = master(calls, address, masterInfo={"Product Name": "AL"})
        m.addMasterDriver(address, made)
        m.addActiveMasterDriver(address, made)
        m.addIoddMaster(NS(_master=made, address=address))
    for number in (1, 2):
        device = NS(_port=("a", number), _device=NS(_address="a"))
        m.addPort("a", number, port(calls, number, number == 1, device))
        m.addConnectedDev(("a", number), device)
    return m


def test_queries_and_the_log_of_a_connection(owner, connection, calls):
    m, drivers = connection, connection.getBaseDrivers()
    m.addBaseDriver(Net(calls))
    m.addMasterDriver("c", master([], "c", drvType=Net))
    m.addActiveMasterDriver("d", master([], "d", {"Product Code": "P", "Serial Number": "4"}))
    m.addConnectedDev(("b", 1), "dev")
    assert [text for _, text in owner.lines] == [
        'Opened base driver "Sim".', 'Sim master connected to "a": AL', 'Sim master connected to "b": AL',
        'Opened base driver "Net".', 'Sim master connected to "d": P, S/N: 4']
    assert list(drivers) == [m.getBaseDriver(Sim), m.getBaseDriver(Net)] and m.checkBaseDriverActive(NS) is False
    assert (m.getMasterAddresses(), m.getActiveMasterAddresses(), m.getInactiveMasterAddresses()) == (
        ["a", "b", "c"], ["a", "b", "d"], ["c"])
    assert (m.getMasterDrivers(), m.getActiveMasterDrivers()) == (
        [m.getMasterDriver(address) for address in "abc"], [m.getActiveMasterDriver(address) for address in "abd"])
    assert m.getDriverAddresses(Net) is m._addresses[Net] and m.getActiveDriverAddresses(Sim) == ["a", "b", "d"]
    m.getDriverAddresses(NS).append("x")
    assert m.getDriverAddresses(NS) == m.getActiveDriverAddresses(Net) == [] and m.getDriverAddresses(Net) == ["c"]
    assert [m.checkMasterDriver("d"), m.checkActiveMasterDriver("d"), m.checkActiveMasterDriver("c")] == [
        False, True, False]
    assert [m.checkActivePorts(*port) for port in [("x", 1), ("d", 1), ("a", 1), ("a", 3)]] == [None, {}, True, False]
    first, second = m.getPortDriver("a", 1), m.getPortDriver("a", 2)
    assert m._getPort("a", 1) == (m.getPorts("a"), first) and m.getPorts("a") is m._ports["a"]
    assert m.getPortDrivers("") == m.getPortDrivers() == [first, second] and m.getPortDrivers("x") == []
    assert m.getPorts("x") == {} and m.getConnectedDev(("x", 1)) is None and m.getConnectedDev(("b", 1)) == "dev"
    assert m.getConnectedDevPorts() == [("a", 1), ("a", 2), ("b", 1)] and m.getConnectedDevPorts("b") == [1]
    assert m.getConnectedDevs()[2] == "dev" and m.removeConnectedDev(("b", 1)) == "dev"
    iodd = m.getIoddMaster(Sim, "b")
    assert m.getIoddMasters() == [m.getIoddMaster(Sim, "a"), iodd] and m.getIoddMaster(Net, "a") is None
    assert m.removeIoddMaster(master=iodd) is None and m.getIoddMaster(Sim, "b") is None and calls == []


# Each refusal leaves every store as it was, and asks at most whether a master is connected.
REFUSALS = [
    (lambda m: m.addBaseDriver(Sim([])), "Driver already registered: Sim."),
    (lambda m: m.addIoddMaster(m.getIoddMaster(Sim, "a")), "Master already registered for a."),
    (lambda m: m.removeIoddMaster(NS(_master=master([], "c"), address="c")), "No master registered for c."),
    (lambda m: m.addMasterDriver("a", master([], "a")), "Master already registered for a."),
    (lambda m: m.getActiveMasterDriver("c"), "No active master registered for c."),
    (lambda m: m.getPortDriver("b", 1), "Cannot access port for inactive b."),
    (lambda m: m.removeBaseDriver(Sim), "Cannot remove active driver Sim."),
    (lambda m: m.removeActiveMasterDriver("a"), "Cannot remove active master a."),
    (lambda m: m.removeActiveMasterDriver("b"), "Cannot remove active master b."),
    (lambda m: m.removeMasterDriver("b", 0), "Cannot remove active master b."),
    (lambda m: m.addIoddMaster(NS(_master=master([], "c", drvType=Net), address="c")), KeyError),
    (lambda m: m.addMasterDriver("c", master([], "c", drvType=Net)), KeyError),
    (lambda m: m.addPort("x", 1, None), KeyError),
    (lambda m: m.removeConnectedDev(("b", 1)), KeyError),
    (lambda m: m.renameAddress("x", "y"), KeyError),
]


@pytest.mark.parametrize("action, refusal", REFUSALS)
def test_refusals(connection, calls, action, refusal):
    before = {store: repr(getattr(connection, store)) for store in STORES}
    raised = outcome(lambda: action(connection))
    assert raised[0] is refusal if refusal is KeyError else raised == (T.DriverException, refusal)
    assert {store: repr(getattr(connection, store)) for store in STORES} == before and calls == []


@pytest.mark.parametrize("masterInfo, info, raised", [
    ({}, {"Product Name": "", "Product Code": "PC"}, ("returned", None)),
    (None, {"Serial Number": 7}, (TypeError, 'can only concatenate str (not "int") to str')),
])
def test_connection_line_from_asked_info(connection, calls, request, masterInfo, info, raised):
    # Without an owner the master is asked for nothing.
    connection.addActiveMasterDriver("x", master(calls, "x", masterInfo, info))
    assert calls == []
    owner = request.getfixturevalue("owner")
    assert outcome(lambda: connection.addActiveMasterDriver("y", master(calls, "y", masterInfo, info))) == raised
    assert owner.lines == [("debug", 'Sim master connected to "y": PC')] * (raised[0] == "returned")
    assert calls == [("getMasterInfo", "y")] and connection.checkActivePorts("y", 1) == {}


def test_rename_moves_everything_under_the_new_address(connection):
    m = connection
    devices = m.getConnectedDevs()
    m.getPortDriver("a", 1)._connectediodd = None
    m.addConnectedDev(("b", 5), "other")
    m._addresses[Sim].append("z")
    m.renameAddress("a", newAddr="z")
    assert [(d._port, d._device._address) for d in devices] == [(("a", 1), "a"), (("z", 2), "z")]
    assert list(m._masters) == list(m._openMasters) == list(m._ports) == list(m._ioddmasters[Sim]) == ["b", "z"]
    assert m.getIoddMaster(Sim, "z").address == "a" and list(m._openDevs) == [("z", 1), ("z", 2), ("z", 5)]
    assert m._addresses[Sim] == m._openAddresses[Sim] == ["b", "z"]


def test_rename_to_itself_drops_the_entries(connection):
    connection.addConnectedDev(("b", 7), "dev")
    connection.renameAddress("b", "b")
    assert list(connection._masters) == list(connection._ports) == list(connection._ioddmasters[Sim]) == ["a"]
    assert list(connection._openDevs) == [("b", 1), ("b", 2)] and connection._openAddresses[Sim] == ["a", "b"]


@pytest.mark.parametrize("active, owned, raised, last_line", [
    # With an owner, an active driver is closed and then refused its log line.
    (True, True, (UnboundLocalError, "local variable 'drv' referenced before assignment"), []),
    (True, False, ("returned", None), []),
    (False, True, ("returned", None), ['Closed base driver "Sim".']),
])
def test_forced_removal_of_a_whole_connection(connection, calls, request, active, owned, raised, last_line):
    owner = request.getfixturevalue("owner") if owned else NS(lines=[])
    connection.getBaseDriver(Sim)._active = active
    assert outcome(lambda: connection.removeBaseDriver(Sim, force=1)) == raised
    origin = {"removeDriverOrigin": True}
    assert calls == [("connected", 1), ("disconnect", 1), ("connected", 2), ("disconnect", "a", (None, 1), origin),
                     ("disconnect", "b", (None, 1), origin)] + ["close"] * active
    master_lines = ['Sim master "a" disconnected', 'Sim master "a" removed', 'Sim master "b" disconnected',
                    'Sim master "b" removed']
    assert [text for _, text in owner.lines] == master_lines * owned + last_line
    assert [getattr(connection, store) for store in STORES[:-1]] == [{}] * 7
    assert list(connection._openDevs) == [("a", 1), ("a", 2)]


def test_what_stays_behind_a_master(connection, owner):
    m = connection
    m.getMasterDriver("b").is_connected = False
    m.removeMasterDriver("b")
    assert owner.lines == [("debug", 'Sim master "b" removed')] and m.checkActiveMasterDriver("b")
    assert (m.getMasterAddresses(), m.getDriverAddresses(Sim), m.getActiveDriverAddresses(Sim)) == (
        ["a"], ["a"], ["a", "b"])
    m.removeActiveMasterDriver("b")
    assert m.getActiveMasterAddresses() == list(m._ports) == ["a"]
    m.removeActiveMasterDriver("a", True)
    assert m.getMasterAddresses() == ["a"] and len(m.getConnectedDevs()) == 2
    assert list(m._ioddmasters[Sim]) == ["a", "b"]
    assert outcome(lambda: m.removeMasterDriver("a", True)) == (T.DriverException, "No active master registered for a.")


# force None removes a port without asking it; a false force refuses one in use; True disconnects it.
@pytest.mark.parametrize("force, in_use, asked, disconnected, removed", [
    (None, True, 0, 0, True), (0, True, 1, 0, False), (True, True, 1, 1, True),
    (False, False, 1, 0, True), (True, False, 1, 0, True),
])
def test_remove_port_force(connection, calls, force, in_use, asked, disconnected, removed):
    connection.getPortDriver("a", 2).in_use = in_use
    raised = outcome(lambda: connection.removePort("a", 2, force))
    assert raised == (("returned", None) if removed else (T.DriverException, "Cannot remove active master a."))
    assert calls == [("connected", 2)] * asked + [("disconnect", 2)] * disconnected
    assert connection.checkActivePorts("a", 2) is not removed
