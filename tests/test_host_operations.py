"""Where a text or value is made by one of the host's operations, the outcome is that operation's, errors included."""
import datetime
from unittest import mock

import pytest

import vantrel.base.Tessarine as T


def outcome(action):
    try:
        return "returned", action()
    except Exception as error:
        return type(error), error.args


def driver_error(text, operand):
    """What the registry raises: the text formatted with `%` by the operand as given."""
    raise T.DriverException(text % operand)


class Base:
    """A base driver class whose name is whatever the case gives it."""

    name = "base"
    _active = False

    @classmethod
    def driverName(cls):
        return cls.name

    def close(self):
        pass


class Master:
    def __init__(self, base=Base, address="m"):
        self.base, self.address = base, address

    def getBaseDriverType(self):
        return self.base

    def driverName(self):
        return "master"

    def connected(self):
        return False


class BusyPort:
    def connected(self):
        return True


def manager_with(address, *ports):
    """A manager with Base registered and `address` active, with busy `ports`."""
    manager = T.CommonDriverManager()
    manager.addBaseDriver(Base())
    manager.addActiveMasterDriver(address, Master())
    for port in ports:
        manager.addPort(address, port, BusyPort())
    return manager


def named_base(name):
    return type("Named", (Base,), {"name": name})


def iodd_master(address):
    return type("IoddMaster", (), {"_master": Master(), "address": address})()


def twice(action):
    action()
    return action()


# Each case: the registry call, and the text with its `%` operand as the
# system builds them.
REGISTRY_CASES = {
    "getMasterDriver": (lambda v: T.CommonDriverManager().getMasterDriver(v),
                        lambda v: ("No master registered for %s.", v)),
    "getActiveMasterDriver": (lambda v: T.CommonDriverManager().getActiveMasterDriver(v),
                              lambda v: ("No active master registered for %s.", v)),
    "addMasterDriver": (lambda v: twice(lambda m=manager_with("other"): m.addMasterDriver(v, Master())),
                        lambda v: ("Master already registered for %s.", v)),
    "addActiveMasterDriver": (lambda v: manager_with(v).addActiveMasterDriver(v, Master()),
                              lambda v: ("Active master already registered for %s.", v)),
    "_getPort inactive": (lambda v: T.CommonDriverManager()._getPort(v, 1),
                          lambda v: ("Cannot access port for inactive %s.", v)),
    "_getPort missing port": (lambda v: manager_with("a", 1)._getPort("a", v),
                              lambda v: ("Port %s not available for %s.", (v, "a"))),
    "_getPort missing port of address": (lambda v: manager_with(v, 1)._getPort(v, 2),
                                         lambda v: ("Port %s not available for %s.", (2, v))),
    "addPort": (lambda v: manager_with(v, v).addPort(v, v, BusyPort()),
                lambda v: ("Master %s has already active port %s.", (v, v))),
    "removePort": (lambda v: manager_with(v, 1).removePort(v, 1),
                   lambda v: ("Cannot remove active master %s.", v)),
    "removeActiveMasterDriver": (lambda v: manager_with(v, 1).removeActiveMasterDriver(v),
                                 lambda v: ("Cannot remove active master %s.", v)),
    "removeMasterDriver": (lambda v: T.CommonDriverManager().removeMasterDriver(v),
                           lambda v: ("No master registered for %s.", v)),
    "getBaseDriver": (lambda v: T.CommonDriverManager().getBaseDriver(named_base(v)),
                      lambda v: ("No driver registered for %s.", v)),
    "addBaseDriver": (lambda v: twice(lambda m=T.CommonDriverManager(), cls=named_base(v): m.addBaseDriver(cls())),
                      lambda v: ("Driver already registered: %s.", v)),
    "removeBaseDriver": (lambda v: manager_with_named_driver(v).removeBaseDriver(Base),
                         lambda v: ("Cannot remove active driver %s.", v)),
    "addIoddMaster": (lambda v: twice(lambda m=manager_with("a"), i=iodd_master(v): m.addIoddMaster(i)),
                      lambda v: ("Master already registered for %s.", v)),
    "removeIoddMaster": (lambda v: manager_with("a").removeIoddMaster(iodd_master(v)),
                         lambda v: ("No master registered for %s.", v)),
}


def manager_with_named_driver(name):
    manager = manager_with("a")
    manager._drivers[Base].driverName = lambda: name
    return manager


@pytest.mark.parametrize("operand", ["10.0.0.1", ("t",), ("a", "b"), 7, None], ids=repr)
@pytest.mark.parametrize("case", REGISTRY_CASES, ids=str)
def test_registry_texts_format_the_value_as_given(case, operand):
    call, text = REGISTRY_CASES[case]
    assert outcome(lambda: call(operand)) == outcome(lambda: driver_error(*text(operand)))


def test_registry_text_of_a_one_item_tuple():
    with pytest.raises(T.DriverException, match=r"^No master registered for t\.$"):
        T.CommonDriverManager().getMasterDriver(("t",))
    with pytest.raises(TypeError, match="^not all arguments converted during string formatting$"):
        T.CommonDriverManager().getMasterDriver(("a", "b"))


@pytest.mark.parametrize("name", ["sim", ("t",), ("a", "b"), 5])
@pytest.mark.parametrize("argument, text", [("driver", "Driver not found: %s"), ("addr", "Address not found: %s")])
def test_statistics_filters_format_the_unknown_value_as_given(argument, text, name):
    def expected():
        raise KeyError(text % name)

    stats = T.Statistics([])
    stats._addrPorts.pop("sim")
    assert outcome(lambda: stats.clear(**{argument: [name]})) == outcome(expected)


def prefixed_logger(prefix):
    logger = T.Logger(3)
    logger._prefix = prefix
    return logger


class Table:
    isDict = False

    def __init__(self, types):
        self._types = types


@pytest.mark.parametrize(
    "module_call, written",
    [
        # message[0] * 256 + message[1]: the product fails before the index
        (lambda: T.IOLinkException([None], None), lambda: [None][0] * 256 + [None][1]),
        (lambda: T.IOLinkException([1], None), lambda: [1][0] * 256 + [1][1]),
        (lambda: T.IOLinkException(("1", 2), None), lambda: "1" * 256 + 2),
        # key.replace(old, new) as str.replace refuses its arguments
        (lambda: T.dictReplace({"": None}, "", None), lambda: "".replace("", None)),
        (lambda: T.dictReplace({"a": 1}, None, "b"), lambda: "a".replace(None, "b")),
        (lambda: T.dictReplace({"a b ": 1}, " ", "_", " "), lambda: {"a b ".strip(" ").replace(" ", "_"): 1}),
        # self._types[0] == "hex" on whatever _types holds
        (lambda: T.ProcessDataStreamTable.isRaw.fget(Table({})),
         lambda: {}[0] == "hex"),
        (lambda: T.ProcessDataStreamTable.isRaw.fget(Table("hex")), lambda: "hex"[0] == "hex"),
        # "[" + time + prefix + "] " + head + msg % args, left to right
        (lambda: T.Logger(3).log(3, 5, "100%"), lambda: "[" + "t" + "" + "] " + 5 + "100%" % ()),
        (lambda: prefixed_logger(5).info("100%"), lambda: "[" + "t" + 5 + "] " + "INFO: " + "100%" % ()),
        (lambda: prefixed_logger(" p").info("100%"), lambda: "[" + "t" + " p" + "] " + "INFO: " + "100%" % ()),
    ],
)
def test_written_operations(module_call, written):
    assert outcome(module_call) == outcome(written)


def test_stream_columns_index_rows_as_written():
    table = T.ProcessDataStreamTable(["time", "a (int)"])
    stamp = datetime.datetime(2024, 1, 2, 3, 4, 5)
    table.add_row([stamp, 1])
    table._rows.append({0: "k0", 1: "k1"})
    assert table.datetimes == [stamp, "k0"] and table.times == [stamp.time(), "k0"]
    assert table.values == [1, "k1"]


def claiming(cls, length=None, **attributes):
    """An object that isinstance() takes for an instance of `cls`, as a mock with a spec is."""
    claimer = mock.MagicMock(spec=cls, **attributes)
    if length is not None:
        claimer.__len__.return_value = length
        claimer.__getitem__.side_effect = str
    return claimer


@pytest.mark.parametrize(
    "check",
    [
        lambda: T.OrvaneException("x", claiming(int)).code.__class__ is int,
        lambda: T.IOLinkException(claiming(int), claiming(object, _getErrorText=lambda code: "t")).message == "t",
        lambda: T.IOLinkException("x", claiming(int)).code.__class__ is int,
        lambda: T.ErrorHandler.logLevel.fset(T.ErrorHandler(logger=T.Logger(0)), claiming(int)) is None,
        lambda: T.StatMerge([claiming(dict, values=lambda: [])]).getStat() is None,
        lambda: outcome(lambda: T.Statistics([]).clear(addr=claiming(str, length=1)))[0] is KeyError,
    ],
)
def test_type_tests_are_those_of_isinstance(check):
    assert check()


def test_syntax_error_position_of_a_tuple_like_value():
    handler = T.ErrorHandler("lastError")
    handler.handleError(Exception("a", claiming(tuple, length=4)))
    assert handler.getErrorList() == ['a: File "0", line 1, col 2: 3']
