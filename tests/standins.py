"""Stand-ins for the package's objects that the module is handed, and real instances of the module's classes."""
import datetime

import vantrel.base.Tessarine as T


class Driver:
    """A base driver: its class is the driver type, its name the class's."""
    _active = True
    driverName = classmethod(lambda cls: "Drv")
    close = lambda self: None


class Master:
    """A connected master driver, and what the statistics take as a port's driver (`master`, `port`, `baseDrv`)."""
    getBaseDriverType, driverName, connected = (lambda self: Driver), (lambda self: "Drv"), (lambda self: True)
    disconnect, isWrongDevice = (lambda self, *args, **kwargs: None), (lambda self, iodd: False)
    getMasterInfo = lambda self: self._masterInfo

    def __init__(self, address="10.0.0.1", port=1):
        self.address, self.port, self.baseDrv, self.master = address, port, Driver(), self
        self._masterInfo = {"Product Name": "M", "Serial Number": "42"}


class Port:
    connected, disconnect = (lambda self: False), (lambda self: None)

    def __init__(self, device=None):
        self._connectediodd = device


class Device:
    """A connected device as the registry, DeviceStatus and renaming see it."""
    connected = True
    _checkLostDev = _hasConnectionError = _checkInspectionLevelWrongDev = getStatusPdInvalid = lambda self: False
    _hasIolink = lambda self, diag=False: 1

    def __init__(self, address="10.0.0.1", port=1):
        self._port, self._address, self._master = (address, port), address, Master(address)
        self._device = self._dev = self


class Orvane:
    """The communication object behind the variable, command and lock accessors."""
    getVariableNames = lambda self, sort=True, matlabNaming=True: ["Process_Data"]
    read, write, sysCmd = (lambda self, *args: 1), (lambda self, *args: 0), (lambda self, name: None)
    getError, getValueNames = (lambda self, code: "no error"), (lambda self, index, sort=True: ["Device reset"])
    getValue = lambda self, index, key: 128 if isinstance(key, str) else "Device reset"


class Owner:
    """What CommonDriverManager.iodd is set to: the package's main object."""

    def __init__(self, logger):
        self._logger = logger


callback = lambda *args, **kwargs: None  # noqa: E731 (what the timers call)


def registry():
    manager, master = T.CommonDriverManager(), Master()
    manager.addBaseDriver(Driver())
    manager.addMasterDriver(master.address, master)
    manager.addIoddMaster(type("IoddMaster", (), {"_master": master, "address": master.address})())
    manager.addActiveMasterDriver(master.address, master)
    manager.addPort(master.address, 1, Port(Device()))
    manager.addConnectedDev((master.address, 1), Device())
    return manager


def filled(stat):
    for value in (0.001, 0.003):
        stat.add(value)
    stat.hist.append(0.002)
    return stat


def statistics():
    tree = T.Statistics([Driver])
    filled(tree.getDevStatistics(Master()).receiveRepeats)
    tree.getMasterStatistics(Master(), "10.0.0.1").discoveryAllDuration.add(0.5)
    return tree


def stream_table():
    table = T.ProcessDataStreamTable(["Time", "a (int)", "b (hex)"])
    table.add_row([datetime.datetime(2021, 3, 4, 14, 7, 33), 1, "0A"])
    return table


def repeat_timer():
    timer = T.RepeatTimer("t", 0.01, callback, T.Logger(10), 1, k=2)
    timer.cancel()  # never started: run() is left to the thread tests
    return timer


PAGE1 = {"Vendor ID": 1, "Device ID": 2, "IO-Link Version ID": 0x11, "Frame Capability": {"IsduSupport": True}}
EVENT = ("Ev", 0x8C42, "WARNING", "APPEARED", "DEVICE", 1, "14:07:33.000")


# Class name -> constructor arguments, for every class of the module with state of its own.
def constructions():
    tree = statistics()
    return {
        "Logger": (11, "p"), "ErrorHandler": ("lastError", T.Logger(11)), "Stat": (1000, "%.3f ms", 5),
        "StatMs": (4,), "StatSec": (0,), "StatMerge": ([filled(T.Stat()), {1: filled(T.StatMs())}],),
        "BaseStatistics": (), "Statistics": ([Driver],), "MasterStatistics": (tree, Master(), "10.0.0.1"),
        "DevStatistics": (tree, Master(), 1, "10.0.0.1"), "ConnStatistics": (), "CommonDriverManager": (),
        "DriverOptions": ([Driver], {"drv": {"noZeroInit": True}}),
        "IoddDev": (Master(), "10.0.0.1", 1, "M", "P", {"Serial": "1"}, PAGE1, "matlab"),
        "DeviceStatus": (Device(),), "IoddEvent": ("10.0.0.1", 1, EVENT, "d"), "_IoddVarAccess": (Orvane(),),
        "_IoddSysAccess": (Orvane(),), "AccessLocks": (Orvane(),),
        "DeviceContent": ({"Product Name": "M"}, 1, {"a": 1}, Orvane(), "matlab"), "MasterCommands": (Master(),),
        "ProcessDataStreamTable": (["Time", "a (int)", "b (hex)"],),
        "RepeatTimer": ("t", 0.01, callback, T.Logger(10), 1),
    }


# Instances in a state that the normal construction does not reach.
PREPARED = {
    "Statistics": statistics, "MasterStatistics": lambda: statistics().getMasterStatistics(Master(), "10.0.0.1"),
    "DevStatistics": lambda: statistics().getDevStatistics(Master()), "Stat": lambda: filled(T.Stat()),
    "CommonDriverManager": registry, "ProcessDataStreamTable": stream_table, "RepeatTimer": repeat_timer,
}


def make(name):
    """A real instance of the class `name`, built with normal arguments."""
    return PREPARED[name]() if name in PREPARED else getattr(T, name)(*constructions()[name])


def normal_instances():
    """name -> a real instance of each class with state of its own."""
    return {name: make(name) for name in constructions()}


class Recorder:
    """A communication object: records each call with its arguments, answers with a value, an error or a function."""

    def __init__(self, **answers):
        self.calls, self.answers = [], answers

    def __getattr__(self, operation):
        def answer(*args, **kwargs):
            self.calls.append((operation, *args, *kwargs.items()))
            reply = self.answers[operation]
            if isinstance(reply, Exception):
                raise reply
            return reply(*args) if callable(reply) else reply
        return answer
