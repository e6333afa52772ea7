import json
from types import SimpleNamespace as NS

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome

MASTER = "discoveryAllDuration discoveryAddrDuration discoveryAllRepeats discoveryAddrRepeats masterConnectDuration"
PORT = "drvConnectDuration receiveRepeats sendRepeats receiveDuration sendReceiveDuration".split()
TREE = MASTER.split() + PORT[:1] + ["devConnectDuration"] + PORT[1:]
LEAF = {"count": 2, "min": "3", "max": "5", "mean": "4.0"}


def driver(name, address=None, **more):
    """A driver as the tree sees it: of base driver Base unless it is the simulator."""
    return NS(driverName=lambda: name, address=address, baseDrv=NS(driverName=lambda: "Base"), **more)


def port_driver(address, port):
    return driver("Drv", master=NS(address=address), port=port)


@pytest.fixture
def tree():
    return T.Statistics([driver("Base"), driver("Other"), driver("Sim")])


def as_json(report):
    return json.dumps(report, indent=4, ensure_ascii=False)


@pytest.mark.parametrize("select, arguments, selector", [
    ("getMasterSel", (driver("Sim"), "10.0.0.9"), ("Sim", "sim")),
    ("getMasterSel", (driver("Drv", "a"), "b"), ("Drv", "b")),
    ("getMasterSel", (driver("Drv", "a"), ""), ("Base", "a")),
    ("getDeviceSel", (driver("Sim"), 4, "x"), ("Sim", "sim", 0)),
    ("getDeviceSel", (port_driver("m", 3), None, "x"), ("Base", "m", 3)),
    ("getDeviceSel", (port_driver("m", 3), 0, "x"), ("Drv", "x", 0)),
    ("getDeviceSel", (driver("Drv", "a"), 2), ("Base", "a", 2)),
])
def test_selectors(select, arguments, selector):
    assert getattr(T.Statistics, select)(*arguments) == selector


def test_values_reach_every_report_in_its_order(tree):
    drv = driver("Drv", "10.0.0.1")
    dev = tree.getDevStatistics(drv, 0)
    for value in (3, 5):
        dev.receiveRepeats.add(value)
    master = tree.getMasterStatistics(drv)
    assert tree.getDevStatistics(drv, 0) is dev and tree.getMasterStatistics(drv) is master
    # Ports are listed under the selector's address, a master under the address as given.
    assert tree._addrPorts == {"sim": [], "10.0.0.1": [0], None: []} and master._ports is tree._addrPorts[None]
    ports = dict.fromkeys(PORT) | {"receiveRepeats": LEAF}
    where = {"driver": "Base", "address": "10.0.0.1"}
    device = where | {"port": 0} | dict.fromkeys(["drvConnectDuration", "devConnectDuration", "sendRepeats"]) | ports
    of_master = where | dict.fromkeys(MASTER.split()[i] for i in (0, 2, 1, 3, 4)) | ports | {"ports": {0: ports}}
    entry = {"driver": "Base"} | dict.fromkeys(MASTER.split()) | ports
    overall = dict.fromkeys(TREE) | {"receiveRepeats": LEAF, "masters": {"10.0.0.1": entry}}
    assert (master.getStat(0), master.getPortStat(9)) == (ports, dict.fromkeys(PORT))
    # The texts show the order of every report; only the overall one leaves out the ports.
    expected = {"DeviceStatistics": device, "MasterStatistics": of_master, "GlobalStatistics": overall}
    assert [repr(dev), repr(master), repr(tree)] == [as_json({key: report}) for key, report in expected.items()]


def counts(figures):
    return "".join(str(figure.count) for figure in figures)


# What is left of discoveryAllRepeats, receiveRepeats and sendRepeats of masters a and b, on each of two ports
# where a port has them, and then of the four devConnectDuration; figures are cleared in the order named.
@pytest.mark.parametrize("options, raised, left", [
    ({}, None, "00000 00000 0000"),
    ({"driver": "Base"}, None, "00000 11111 0000"),
    ({"addr": "a", "driver": ["Base"]}, None, "00000 11111 0000"),
    ({"addr": "b", "values": "receiveRepeats"}, None, "11111 10011 1111"),
    ({"driver": "Other", "values": ["devConnectDuration"]}, None, "11111 11111 0000"),
    ({"values": ["receiveRepeats", "nope"]}, (KeyError, "'Statistic not found: nope'"), "10011 10011 1111"),
    ({"values": "active"}, (AttributeError, "'bool' object has no attribute 'clear'"), "11111 11111 1111"),
])
def test_tree_clear(tree, options, raised, left):
    views = [tree.getDevStatistics(driver(name), port, addr) for name, addr in (("Base", "a"), ("Other", "b"))
             for port in (1, 2)]
    for view in views:
        for name in view._statNames:
            view.getStatistic(name).add(1)
    masters = [tree.getMasterStatistics(driver(name), addr) for name, addr in (("Base", "a"), ("Other", "b"))]
    figures = []
    for master in masters:
        master.discoveryAllRepeats.add(1)
        figures += [master.discoveryAllRepeats, *master.receiveRepeats.values(), *master.sendRepeats.values()]
    assert outcome(lambda: tree.clear(**options)) == (raised or ("returned", None))
    connections = counts(view.devConnectDuration for view in views)
    assert " ".join([counts(figures[:5]), counts(figures[5:]), connections]) == left


@pytest.mark.parametrize("options, left", [
    ({}, "0000"), ({"ports": 2}, "0101"), ({"ports": 0}, "0111"), ({"ports": True}, "0010"), ({"ports": []}, "0000"),
    ({"ports": [1, 7], "values": "receiveRepeats"}, "1011"), ({"ports": 1, "values": "discoveryAllRepeats"}, "0111"),
])
def test_master_clear(tree, options, left):
    drv = driver("Drv", "a")
    master = tree.getMasterStatistics(drv)
    for port in (1, 2):
        tree.getDevStatistics(drv, port).receiveRepeats.add(1)
    master.sendRepeats[1].add(1)
    master.discoveryAllRepeats.add(1)
    master.clear(**options)
    assert counts([master.discoveryAllRepeats, *master.receiveRepeats.values(), master.sendRepeats[1]]) == left


def test_device_clear_and_what_drivers_at_one_port_share(tree):
    dev = tree.getDevStatistics(port_driver("m", 3), None, "ignored")
    other = tree.getDevStatistics(driver("Other"), 3, "m")
    for name in dev._statNames:
        dev.getStatistic(name).add(1)
    # A connection's duration is kept per address and port, the other figures per driver too.
    assert counts(map(other.getStatistic, other._statNames)) == "100000"
    dev.clear("sendRepeats")
    assert counts(map(dev.getStatistic, dev._statNames)) == "111110"


def test_connection_statistics():
    conn, empty = T.ConnStatistics(), {"duration": None, "repeats": None, "errors": 0}
    assert repr(conn) == as_json(empty) and conn._statNames == ["duration", "repeats"] and conn.duration.hist is None
    conn.repeats.add(2)
    conn.duration.add(1.5)
    conn.errors = 4
    assert repr(conn) == as_json({"duration": {"count": 1, "min": "1.500 s", "max": "1.500 s"},
                                  "repeats": {"count": 1, "min": "2", "max": "2"}, "errors": 4})
    conn.clear()
    assert conn.getStat() == empty and conn.getStatistic("errors") == 0


# ---------------------------------------------------------------------------------------------- figures
def filled(cls, *values, **kwargs):
    figure = cls(**kwargs)
    for value in values:
        figure.add(value)
    return figure


def test_cleared_and_empty_figures():
    new, figure = T.Stat(), filled(T.StatMs, 1, 2)
    figure.hist.append(1)  # a history grows only once started
    figure.clear()
    for empty in (new, figure):
        assert (empty.count, empty.min, empty.max, empty._sum) == (0, 1000000.0, -1000000.0, 0)
        assert empty.getStat() is None and repr(empty) == "null"
    assert list(figure.hist) == [] and T.Stat(histSize=0).hist is T.StatMerge([]).hist is None


@pytest.mark.parametrize("figures, merged", [
    # Weighted by count, shown as the first figure shows its values.
    (lambda: [filled(T.StatMs, 0.001, 0.002, 0.003), filled(T.StatSec, 0.011)],
     {"count": 4, "min": "1.000 ms", "max": "11.000 ms", "mean": "4.250 ms"}),
    # One level of dict is unpacked: a master's figure of port to figure.
    (lambda: [{1: filled(T.Stat, 1), 2: filled(T.Stat, 5)}, filled(T.Stat, 3)],
     {"count": 3, "min": "1", "max": "5", "mean": "3.0"}),
    (lambda: [filled(T.Stat, 1), filled(T.Stat, 1), T.Stat()], {"count": 2, "min": "1", "max": "1"}),
    (lambda: [], None),
    # The sentinels bound the designed range of a figure.
    (lambda: [filled(T.Stat, 2000000, 3000000)],
     {"count": 2, "min": "1000000.0", "max": "3000000", "mean": "2500000.0"}),
])
def test_merged_reports(figures, merged):
    assert T.StatMerge(figures()).getStat() == merged
