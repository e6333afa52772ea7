from types import SimpleNamespace as NS

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome

STORES = ["_drivers", "_addresses", "_masters", "_openAddresses", "_openMasters", "_ports", "_ioddmasters", "_openDevs"]


class Sim:
    """A base driver that records its closing; its class is the driver type."""
    driverName, _active = classmethod(lambda cls: cls.__name__), True

    def __init__(self, calls):
        self.close = lambda: calls.append("close")


Net = type("Net", (Sim,), {})


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
def connection():
    """Active driver Sim; masters "a" (port 1 in use, port 2 free, a device on each) and "b", both connected; in
    `calls`, what the drivers are asked that describes or ends a connection."""
    m = T.CommonDriverManager()
    m.calls = calls = []
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


def test_queries_and_the_log_of_a_connection(owner, connection):
    m, drivers = connection, connection.getBaseDrivers()
    m.addBaseDriver(Net(m.calls))
    m.addMasterDriver("c", master([], "c", drvType=Net))
    asked = {"Product Name": "", "Product Code": "P", "Serial Number": "4"}  # "d" holds no info: it is asked
    m.addActiveMasterDriver("d", master(m.calls, "d", {}, asked))
    m.addConnectedDev(("b", 1), "dev")
    assert [text for _, text in owner.lines] == [
        'Opened base driver "Sim".', 'Sim master connected to "a": AL', 'Sim master connected to "b": AL',
        'Opened base driver "Net".', 'Sim master connected to "d": P, S/N: 4']
    assert list(drivers) == [m.getBaseDriver(Sim), m.getBaseDriver(Net)]
    assert (m.checkBaseDriverActive(Sim), m.checkBaseDriverActive(NS)) == (True, False)
    assert (m.getMasterAddresses(), m.getActiveMasterAddresses(), m.getInactiveMasterAddresses()) == (
        ["a", "b", "c"], ["a", "b", "d"], ["c"])
    assert (m.getMasterDrivers(), m.getActiveMasterDrivers()) == (
        [m.getMasterDriver(address) for address in "abc"], [m.getActiveMasterDriver(address) for address in "abd"])
    assert m.getDriverAddresses(NS) == m.getActiveDriverAddresses(Net) == [] and m.getDriverAddresses(Net) == ["c"]
    checks = [m.checkMasterDriver("d"), m.checkActiveMasterDriver("d"), m.checkActiveMasterDriver("c")]
    assert checks == [False, True, False] and m.getActiveDriverAddresses(Sim) == ["a", "b", "d"]
    assert [m.checkActivePorts(*port) for port in [("x", 1), ("d", 1), ("a", 1), ("a", 3)]] == [None, {}, True, False]
    first, second = m.getPortDriver("a", 1), m.getPortDriver("a", 2)
    assert m._getPort("a", 1) == (m.getPorts("a"), first) and m.getPorts("a") is m._ports["a"]
    assert m.getPortDrivers("") == m.getPortDrivers() == [first, second] and m.getPortDrivers("x") == []
    assert m.getPorts("x") == {} and m.getConnectedDev(("x", 1)) is None and m.getConnectedDev(("b", 1)) == "dev"
    assert m.getConnectedDevPorts() == [("a", 1), ("a", 2), ("b", 1)] and m.getConnectedDevPorts("b") == [1]
    assert m.getConnectedDevs()[2] == "dev" and m.removeConnectedDev(("b", 1)) == "dev"
    iodd = m.getIoddMaster(Sim, "b")
    assert m.getIoddMasters() == [m.getIoddMaster(Sim, "a"), iodd] and m.getIoddMaster(Net, "a") is None
    assert m.removeIoddMaster(master=iodd) is None and m.getIoddMaster(Sim, "b") is None
    assert m.calls == [("getMasterInfo", "d")]


# Each refusal leaves every store as it was, and asks at most whether a master is connected.
REFUSALS = [
    (lambda m: m.addBaseDriver(Sim([])), "Driver already registered: Sim."),
    (lambda m: m.addIoddMaster(m.getIoddMaster(Sim, "a")), "Master already registered for a."),
    (lambda m: m.removeIoddMaster(NS(_master=master([], "c"), address="c")), "No master registered for c."),
    (lambda m: m.addMasterDriver("a", master([], "a")), "Master already registered for a."),
    (lambda m: m.removeBaseDriver(Sim), "Cannot remove active driver Sim."),
    (lambda m: m.removeActiveMasterDriver("a"), "Cannot remove active master a."),
    (lambda m: m.removeActiveMasterDriver("b"), "Cannot remove active master b."),
]


@pytest.mark.parametrize("action, refusal", REFUSALS)
def test_refusals(connection, action, refusal):
    before = {store: repr(getattr(connection, store)) for store in STORES}
    assert outcome(lambda: action(connection)) == (T.DriverException, refusal)
    assert {store: repr(getattr(connection, store)) for store in STORES} == before and connection.calls == []


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


@pytest.mark.parametrize("active, raised, last_line", [
    # With an owner, an active driver is closed and then refused its log line.
    (True, (UnboundLocalError, "local variable 'drv' referenced before assignment"), []),
    (False, ("returned", None), ['Closed base driver "Sim".']),
])
def test_forced_removal_of_a_whole_connection(connection, owner, active, raised, last_line):
    connection.getBaseDriver(Sim)._active = active
    assert outcome(lambda: connection.removeBaseDriver(Sim, force=1)) == raised
    ports = [("connected", 1), ("disconnect", 1), ("connected", 2)]
    masters = [("disconnect", address, (None, 1), {"removeDriverOrigin": True}) for address in "ab"]
    assert connection.calls == ports + masters + ["close"] * active
    master_lines = [f'Sim master "{address}" {done}' for address in "ab" for done in ("disconnected", "removed")]
    assert [text for _, text in owner.lines] == master_lines + last_line
    assert [getattr(connection, store) for store in STORES[:-1]] == [{}] * 7
    assert list(connection._openDevs) == [("a", 1), ("a", 2)]


def test_what_stays_behind_a_master(connection, owner):
    m = connection
    m.getMasterDriver("b").is_connected = False
    m.removeMasterDriver("b")
    assert owner.lines == [("debug", 'Sim master "b" removed')] and m.getActiveDriverAddresses(Sim) == ["a", "b"]
    assert m.getMasterAddresses() == m.getDriverAddresses(Sim) == ["a"] and m.checkActiveMasterDriver("b")
    m.removeActiveMasterDriver("b")
    assert m.getActiveMasterAddresses() == list(m._ports) == ["a"]
    m.removeActiveMasterDriver("a", True)
    assert m.getMasterAddresses() == ["a"] and len(m.getConnectedDevs()) == len(m.getIoddMasters()) == 2
    assert outcome(lambda: m.removeMasterDriver("a", True)) == (T.DriverException, "No active master registered for a.")


# force None removes a port without asking it; a false force refuses one in use; True disconnects it.
@pytest.mark.parametrize("force, in_use, asked, disconnected, removed", [
    (None, True, 0, 0, True), (0, True, 1, 0, False), (False, False, 1, 0, True), (True, True, 1, 1, True),
])
def test_remove_port_force(connection, force, in_use, asked, disconnected, removed):
    connection.getPortDriver("a", 2).in_use = in_use
    raised = outcome(lambda: connection.removePort("a", 2, force))
    assert raised == (("returned", None) if removed else (T.DriverException, "Cannot remove active master a."))
    assert connection.calls == [("connected", 2)] * asked + [("disconnect", 2)] * disconnected
    assert connection.checkActivePorts("a", 2) is not removed


# ----------------------------------------------------------------------------------------- driver options
GIVEN = {"sim": {"noZeroInit": True}}
NOT_A_DICT = (TypeError, "Invalid type. Driver options have to be dictionaries")


def invalid(name):
    return ValueError, f"Invalid driver options name: '{name}'. Valid names are: ('general', 'sim', 'NET-IP')"


@pytest.fixture
def options():
    return T.DriverOptions([type(name, (Sim,), {}) for name in ("sim", "NET-IP")], {"SIM": {"noZeroInit": True}})


@pytest.mark.parametrize("key, name", [("SIM", "sim"), ("Sim", "sim"), ("net_ip", "NET-IP"), ("NET_IP", "NET-IP")])
def test_forgiving_option_names_file_under_the_drivers_spelling(options, key, name):
    options[key]["x"] = key
    assert options[name]["x"] == key and options._getName(key) == name


@pytest.mark.parametrize("action, refusal", [
    (lambda options: options.__setitem__("foo", 3), invalid("foo")),  # the name is checked first
    (lambda options: options.__setitem__("sim", 3), NOT_A_DICT),
    (lambda options: options["foo"], invalid("foo")),
    # Everything is checked before anything is replaced.
    (lambda options: options._setOptions({"sim": {}, "net_ip": 1}), NOT_A_DICT),
    (lambda options: options._setOptions({"sim": {}, "x": {}}), invalid("x")),
    (lambda options: options._setOptions([("sim", {})]), NOT_A_DICT),
])
def test_option_refusals_change_nothing(options, action, refusal):
    assert outcome(lambda: action(options)) == refusal and options == GIVEN


def test_set_options_reset_and_copy(options):
    assert isinstance(options, dict) and options.getValidNames() == ("general", "sim", "NET-IP")
    options._setOptions({"Sim": {"a": 1}, "SIM": {"b": 2}, "net-ip": {}})
    assert options == {"sim": {"b": 2}, "NET-IP": {}}
    options.reset()
    assert options == GIVEN
    # The defaults share their inner dicts with the restored options.
    options["sim"]["noZeroInit"] = False
    options.reset()
    assert options == options._default == {"sim": {"noZeroInit": False}}
    duplicate = options.copy()
    duplicate["sim"]["noZeroInit"] = True
    assert type(duplicate) is T.DriverOptions and options["sim"] == {"noZeroInit": False}
