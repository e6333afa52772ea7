"""Where a text or value is made by one of the host's operations, the outcome is that operation's, errors included."""
import datetime
from unittest import mock

import pytest

import vantrel.base.Tessarine as T

import standins
from conftest import outcome


BusyPort = type("BusyPort", (), {"connected": lambda self: True})


def manager_with(address, *ports):
    """A manager with a driver registered and `address` active, with busy `ports`."""
    manager = T.CommonDriverManager()
    manager.addBaseDriver(standins.Driver())
    manager.addActiveMasterDriver(address, standins.Master())
    for port in ports:
        manager.addPort(address, port, BusyPort())
    return manager


# The registry call with the operand, its text, and the `%` operand of the
# text as the registry builds it: the operand formats as given, tuples too.
REGISTRY_CASES = [
    (lambda v: T.CommonDriverManager().getMasterDriver(v), "No master registered for %s.", lambda v: v),
    (lambda v: manager_with(v).addActiveMasterDriver(v, None), "Active master already registered for %s.", lambda v: v),
    (lambda v: T.CommonDriverManager()._getPort(v, 1), "Cannot access port for inactive %s.", lambda v: v),
    (lambda v: manager_with("a", 1)._getPort("a", v), "Port %s not available for %s.", lambda v: (v, "a")),
    (lambda v: manager_with(v, v).addPort(v, v, BusyPort()), "Master %s has already active port %s.", lambda v: (v, v)),
    (lambda v: manager_with(v, 1).removePort(v, 1), "Cannot remove active master %s.", lambda v: v),
    (lambda v: T.CommonDriverManager().getBaseDriver(type("Drv", (), {"driverName": staticmethod(lambda: v)})),
     "No driver registered for %s.", lambda v: v),
]


@pytest.mark.parametrize("operand", ["10.0.0.1", ("t",), ("a", "b"), 7, None], ids=repr)
@pytest.mark.parametrize("call, text, operand_of", REGISTRY_CASES)
def test_registry_texts_format_the_value_as_given(call, text, operand_of, operand):
    def expected():
        raise T.DriverException(text % operand_of(operand))

    assert outcome(lambda: call(operand)) == outcome(expected)


@pytest.mark.parametrize("name", ["sim", ("t",), ("a", "b"), 5])
@pytest.mark.parametrize("argument, text", [("driver", "Driver not found: %s"), ("addr", "Address not found: %s")])
def test_statistics_filters_format_the_unknown_value_as_given(argument, text, name):
    def expected():
        raise KeyError(text % name)

    stats = T.Statistics([])
    stats._addrPorts.pop("sim")
    assert outcome(lambda: stats.clear(**{argument: [name]})) == outcome(expected)


def raw_table(types):
    return T.ProcessDataStreamTable.isRaw.fget(mock.NonCallableMock(isDict=False, _types=types))


@pytest.mark.parametrize("module_call, written", [
    # message[0] * 256 + message[1]: the product fails before the index
    (lambda: T.IOLinkException([None], None), lambda: [None][0] * 256 + [None][1]),
    (lambda: T.IOLinkException([1], None), lambda: [1][0] * 256 + [1][1]),
    (lambda: T.IOLinkException(("1", 2), None), lambda: "1" * 256 + 2),
    # key.replace(old, new) as str.replace refuses its arguments
    (lambda: T.dictReplace({"": None}, "", None), lambda: "".replace("", None)),
    (lambda: T.dictReplace({"a": 1}, None, "b"), lambda: "a".replace(None, "b")),
    # self._types[0] == "hex" on whatever _types holds
    (lambda: raw_table({}), lambda: {}[0] == "hex"),
    (lambda: raw_table("hex"), lambda: "hex"[0] == "hex"),
    # "[" + time + prefix + "] " + head + msg % args, left to right
    (lambda: T.Logger(3).log(3, 5, "100%"), lambda: "[" + "t" + "" + "] " + 5 + "100%" % ()),
    (lambda: T.Logger(3, 5).info("100%"), lambda: "[" + "t" + 5 + "] " + "INFO: " + "100%" % ()),
])
def test_written_operations(module_call, written):
    assert outcome(module_call) == outcome(written)


def test_stream_columns_index_rows_as_written():
    table = T.ProcessDataStreamTable(["time", "a (int)"])
    stamp = datetime.datetime(2024, 1, 2, 3, 4, 5)
    table.add_row([stamp, 1])
    table._rows.append({0: "k0", 1: "k1"})
    assert (table.datetimes, table.times, table.values) == ([stamp, "k0"], [stamp.time(), "k0"], [1, "k1"])


def claiming(cls, length=None, **attributes):
    """An object that isinstance() takes for an instance of `cls`, as a mock with a spec is."""
    claimer = mock.MagicMock(spec=cls, **attributes)
    if length is not None:
        claimer.__len__.return_value = length
        claimer.__getitem__.side_effect = str
    return claimer


def level_set_to(level):
    handler = T.ErrorHandler(logger=T.Logger(0))
    handler.logLevel = level
    return handler.logLevel is level


@pytest.mark.parametrize("check", [
    lambda: T.OrvaneException("x", claiming(int)).code.__class__ is int,
    lambda: T.IOLinkException(claiming(int), claiming(object, _getErrorText=lambda code: "t")).message == "t",
    lambda: T.IOLinkException("x", claiming(int)).code.__class__ is int,
    lambda: level_set_to(claiming(int)),
    lambda: T.StatMerge([claiming(dict, values=lambda: [standins.filled(T.Stat())])]).getStat()["count"] == 2,
    lambda: outcome(lambda: T.Statistics([]).clear(addr=claiming(str, length=1)))[0] is KeyError,
])
def test_type_tests_are_those_of_isinstance(check):
    assert check()


def test_syntax_error_position_of_a_tuple_like_value():
    handler = T.ErrorHandler("lastError")
    handler.handleError(Exception("a", claiming(tuple, length=4)))
    assert handler.getErrorList() == ['a: File "0", line 1, col 2: 3']
