import json

import pytest

import vantrel.base.Tessarine as T

ALL = ["devConnectDuration", "discoveryAddrDuration", "discoveryAddrRepeats", "discoveryAllDuration",
       "discoveryAllRepeats", "drvConnectDuration", "masterConnectDuration", "receiveDuration", "receiveRepeats",
       "sendReceiveDuration", "sendRepeats"]
PORT_KEYS = ["drvConnectDuration", "receiveRepeats", "sendRepeats", "receiveDuration", "sendReceiveDuration"]


class Driver:
    def __init__(self, name, address=None, base="Base"):
        self.name, self.address = name, address
        if base:
            self.baseDrv = Driver(base, base=None)

    def driverName(self):
        return self.name


class PortDriver(Driver):
    def __init__(self, name, address, port):
        super().__init__(name)
        self.master, self.port = Driver(name, address, base=None), port


@pytest.fixture
def tree():
    return T.Statistics([Driver("Base"), Driver("Other"), Driver("Sim")])


def count(leaf):
    return leaf and leaf["count"]


def test_new_tree(tree):
    assert tree._statNames == ALL
    assert tree._addrPorts == {"sim": []} and tree._driverNames == ["Base", "Other", "Sim"]
    assert tree.getStat() == dict({name: None for name in ALL}, masters={})
    assert list(tree.getStat()) == ["discoveryAllDuration", "discoveryAddrDuration", "discoveryAllRepeats",
                                    "discoveryAddrRepeats", "masterConnectDuration", "drvConnectDuration",
                                    "devConnectDuration"] + PORT_KEYS[1:] + ["masters"]
    assert tree.getStatistic("active") is True
    with pytest.raises(KeyError, match="Statistic not found: nope"):
        tree.getStatistic("nope")
    tree.clear(addr="sim")


@pytest.mark.parametrize(
    "drv, addr, sel",
    [
        (Driver("Sim"), "10.0.0.9", ("Sim", "sim")),
        (Driver("Drv", "a"), "b", ("Drv", "b")),
        (Driver("Drv", "a"), "", ("Base", "a")),
        (Driver("Drv", "a"), None, ("Base", "a")),
    ],
)
def test_master_selector(drv, addr, sel):
    assert T.Statistics.getMasterSel(drv, addr) == sel


@pytest.mark.parametrize(
    "drv, port, address, sel",
    [
        (Driver("Sim"), 4, "x", ("Sim", "sim", 0)),
        (PortDriver("Drv", "m", 3), None, "x", ("Base", "m", 3)),
        (PortDriver("Drv", "m", 3), 0, "x", ("Drv", "x", 0)),
        (Driver("Drv", "a"), 2, None, ("Base", "a", 2)),
        (Driver("Drv", "a"), 2, "", ("Drv", "", 2)),
    ],
)
def test_device_selector(drv, port, address, sel):
    assert T.Statistics.getDeviceSel(drv, port, address) == sel


def test_device_values_reach_every_report(tree):
    drv = Driver("Drv", "10.0.0.1")
    dev = tree.getDevStatistics(drv, 1)
    assert tree.getDevStatistics(drv, 1) is dev
    for value in (3, 5):
        dev.receiveRepeats.add(value)
    leaf = {"count": 2, "min": "3", "max": "5", "mean": "4.0"}
    master = tree.getMasterStatistics(drv)
    assert master.receiveRepeats[1] is dev.receiveRepeats
    assert master.getStat()["ports"] == {1: dict({key: None for key in PORT_KEYS}, receiveRepeats=leaf)}
    overall = tree.getStat(True)
    assert overall["receiveRepeats"] == leaf
    assert overall["masters"]["10.0.0.1"]["ports"][1]["receiveRepeats"] == leaf
    assert json.loads(repr(tree)) == {"GlobalStatistics": tree.getStat()}
    assert json.loads(repr(master))["MasterStatistics"]["ports"]["1"]["receiveRepeats"] == leaf
    assert json.loads(repr(dev))["DeviceStatistics"]["receiveRepeats"] == leaf


def test_master_view(tree):
    drv = Driver("Drv", "a")
    master = tree.getMasterStatistics(drv)
    assert tree.getMasterStatistics(drv) is master
    assert tree._addrPorts == {"sim": [], None: []} and master._ports == []
    assert master._statNames == ALL[1:]
    report = master.getStat()
    assert list(report) == ["driver", "address", "discoveryAllDuration", "discoveryAllRepeats",
                            "discoveryAddrDuration", "discoveryAddrRepeats", "masterConnectDuration"] + PORT_KEYS + [
                                "ports"]
    assert (report["driver"], report["address"], report["ports"]) == ("Base", "a", {})
    assert master.getPortStat(9) == {key: None for key in PORT_KEYS}
    tree.getDevStatistics(drv, 0)
    assert master.getStat(0) == master.getPortStat(0) and list(master.getStat()["ports"]) == [0]


def test_sim_master_is_filed_under_sim(tree):
    tree.getMasterStatistics(Driver("Sim"), "10.0.0.9").masterConnectDuration.add(2)
    assert "10.0.0.9" in tree._addrPorts
    entry = tree.getStat()["masters"]["sim"]
    assert entry["driver"] == "Sim" and entry["masterConnectDuration"]["count"] == 1
    dev = tree.getDevStatistics(Driver("Sim"), 5, "x")
    assert (dev._addr, dev._port) == ("sim", 0) and tree._addrPorts["sim"] == [0]


def test_same_address_keeps_one_master_entry_but_counts_both(tree):
    tree.getDevStatistics(Driver("Base", "a"), 1, "a").sendRepeats.add(1)
    tree.getDevStatistics(Driver("Other", "a"), 1, "a").sendRepeats.add(2)
    report = tree.getStat(1)
    assert report["sendRepeats"]["count"] == 2
    assert report["masters"]["a"]["driver"] == "Other" and count(report["masters"]["a"]["sendRepeats"]) == 1


def fill_two_masters(tree):
    views = [tree.getDevStatistics(Driver(name, "x"), port, addr) for name, addr in (("Base", "a"), ("Other", "b"))
             for port in (1, 2)]
    for view in views:
        for name in view._statNames:
            view.getStatistic(name).add(1)
    for name in ("Base", "Other"):
        tree.getMasterStatistics(Driver(name), "a" if name == "Base" else "b").discoveryAllRepeats.add(1)
    return views


@pytest.mark.parametrize(
    "kwargs, left",
    [
        ({}, {}),
        ({"driver": "Base"}, {"b": 1}),
        ({"addr": "a", "driver": ["Base"]}, {"b": 1}),
        ({"addr": "b", "values": "receiveRepeats"}, {"a": 1, "b": {"receiveRepeats": None}}),
        ({"driver": "Other", "values": ["devConnectDuration"]}, {"a": 1, "b": 1}),
    ],
)
def test_tree_clear(tree, kwargs, left):
    views = fill_two_masters(tree)
    tree.clear(**kwargs)
    masters = tree.getStat()["masters"]
    for addr in ("a", "b"):
        entry = masters[addr]
        expect = left.get(addr)
        for name in ("discoveryAllRepeats", "receiveRepeats", "sendRepeats"):
            wanted = expect.get(name, 1) if isinstance(expect, dict) else expect
            assert count(entry[name]) == (wanted and (1 if name == "discoveryAllRepeats" else 2)), (addr, name)
    # devConnectDuration is never filtered: named or by default, it empties in full.
    emptied = "values" not in kwargs or kwargs["values"] == ["devConnectDuration"]
    assert [v.devConnectDuration.count for v in views] == [0 if emptied else 1] * 4


@pytest.mark.parametrize(
    "kwargs, message",
    [({"addr": "zz"}, "Address not found: zz"), ({"driver": "Late"}, "Driver not found: Late"),
     ({"values": ["receiveRepeats", "nope"]}, "Statistic not found: nope")],
)
def test_tree_clear_refusals(tree, kwargs, message):
    views = fill_two_masters(tree)
    with pytest.raises(KeyError, match=message):
        tree.clear(**kwargs)
    assert views[0].receiveRepeats.count == (0 if "values" in kwargs else 1)
    with pytest.raises(AttributeError):
        tree.clear(values="active")


@pytest.mark.parametrize(
    "kwargs, cleared",
    [
        ({}, {"discoveryAllRepeats", (1, "receiveRepeats"), (2, "receiveRepeats"), (1, "sendRepeats")}),
        ({"ports": 2}, {"discoveryAllRepeats", (2, "receiveRepeats")}),
        ({"ports": True}, {"discoveryAllRepeats", (1, "receiveRepeats"), (1, "sendRepeats")}),
        ({"ports": []}, {"discoveryAllRepeats", (1, "receiveRepeats"), (2, "receiveRepeats"), (1, "sendRepeats")}),
        ({"ports": [1, 7], "values": "receiveRepeats"}, {(1, "receiveRepeats")}),
        ({"ports": 1, "values": "discoveryAllRepeats"}, {"discoveryAllRepeats"}),
    ],
)
def test_master_clear(tree, kwargs, cleared):
    drv = Driver("Drv", "a")
    master = tree.getMasterStatistics(drv)
    for port in (1, 2):
        tree.getDevStatistics(drv, port).receiveRepeats.add(1)
    master.sendRepeats[1].add(1)
    master.discoveryAllRepeats.add(1)
    master.clear(**kwargs)
    figures = {"discoveryAllRepeats": master.discoveryAllRepeats}
    figures.update({(port, name): getattr(master, name)[port] for port in (1, 2)
                    for name in ("receiveRepeats", "sendRepeats") if (port, name) != (2, "sendRepeats")})
    assert {key for key, figure in figures.items() if figure.count == 0} == cleared


def test_device_view_and_its_clear(tree):
    dev = tree.getDevStatistics(PortDriver("Drv", "m", 3), None, "ignored")
    assert (dev._drvName, dev._addr, dev._port) == ("Base", "m", 3)
    assert dev.getStat() == dict(driver="Base", address="m", port=3, **{k: None for k in [
        "drvConnectDuration", "devConnectDuration", "sendRepeats", "receiveRepeats", "receiveDuration",
        "sendReceiveDuration"]})
    assert list(dev.getStat())[3:6] == ["drvConnectDuration", "devConnectDuration", "sendRepeats"]
    for name in dev._statNames:
        dev.getStatistic(name).add(1)
    dev.clear("sendRepeats")
    assert [dev.getStatistic(n).count for n in dev._statNames] == [1, 1, 1, 1, 1, 0]
    with pytest.raises(KeyError, match="Statistic not found: x"):
        dev.clear(["receiveRepeats", "x"])
    assert dev.receiveRepeats.count == 0 and dev.receiveDuration.count == 1
    dev.clear()
    assert all(dev.getStatistic(n).count == 0 for n in dev._statNames)


def test_connection_shared_by_drivers_on_one_port(tree):
    first = tree.getDevStatistics(Driver("Base", "a"), 1, "a")
    second = tree.getDevStatistics(Driver("Other", "a"), 1, "a")
    assert first.devConnectDuration is second.devConnectDuration
    assert first.receiveRepeats is not second.receiveRepeats


def test_connection_statistics():
    conn = T.ConnStatistics()
    empty = {"duration": None, "repeats": None, "errors": 0}
    assert conn.getStat() == empty and list(conn.getStat()) == list(empty)
    assert json.loads(repr(conn)) == empty and conn._statNames == ["duration", "repeats"]
    assert conn.duration.hist is None and conn.getStatistic("errors") == 0
    conn.repeats.add(2)
    conn.duration.add(1.5)
    conn.errors = 4
    assert conn.getStat() == {"duration": {"count": 1, "min": "1.500 s", "max": "1.500 s"},
                              "repeats": {"count": 1, "min": "2", "max": "2"}, "errors": 4}
    conn.clear()
    assert conn.getStat() == empty


def test_missing_driver_members_pass_through(tree):
    with pytest.raises(AttributeError):
        tree.getMasterStatistics(object())
    assert tree._cache == {} and tree.discoveryAllDuration == {}


def test_self_holding_dict_does_not_crash():
    loop = {}
    loop[1] = loop
    with pytest.raises(RecursionError):
        T.Statistics._clearStat(loop)
