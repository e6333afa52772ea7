"""Stand-ins for the package's objects that the module is handed (drivers,
masters, ports, devices, the owner of the registry), and one real instance of
each class of the module built from them with normal arguments."""
import datetime

import vantrel.base.Tessarine as T


class Driver:
    """A base driver: its class is the driver type, its name the class's."""
    _active = True

    @classmethod
    def driverName(cls):
        return "Drv"

    def close(self):
        pass


class Master:
    """A master driver that is connected, and also what the statistics take as
    a port's driver (it has `master`, `port` and `baseDrv`)."""

    def __init__(self, address="10.0.0.1", port=1):
        self.address, self.port = address, port
        self._masterInfo = {"Product Name": "M", "Serial Number": "42"}
        self.baseDrv = Driver()
        self.master = self

    def getBaseDriverType(self):
        return Driver

    def driverName(self):
        return "Drv"

    def connected(self):
        return True

    def disconnect(self, *args, **kwargs):
        pass

    def getMasterInfo(self):
        return self._masterInfo

    def isWrongDevice(self, iodd):
        return False


class Port:
    def __init__(self, device=None):
        self._connectediodd = device

    def connected(self):
        return False

    def disconnect(self):
        pass


class Device:
    """A connected device as the registry, DeviceStatus and renaming see it."""
    connected = True

    def __init__(self, address="10.0.0.1", port=1):
        self._port = (address, port)
        self._device = self
        self._address = address
        self._master = Master(address)
        self._dev = self

    def _checkLostDev(self):
        return False

    _hasConnectionError = _checkInspectionLevelWrongDev = getStatusPdInvalid = _checkLostDev

    def _hasIolink(self, diag=False):
        return 1


class Orvane:
    """The communication object behind the variable, command and lock accessors."""

    def getVariableNames(self, sort=True, matlabNaming=True):
        return ["Process_Data"]

    def read(self, *args):
        return 1

    def write(self, *args):
        return 0

    def getError(self, code):
        return "no error"

    def getValueNames(self, index, sort=True):
        return ["Device reset"]

    def getValue(self, index, key):
        return 128 if isinstance(key, str) else "Device reset"

    def sysCmd(self, name):
        return None


class IoddMaster:
    def __init__(self, master):
        self._master, self.address = master, master.address


class Owner:
    """What CommonDriverManager.iodd is set to: the package's main object."""

    def __init__(self, logger):
        self._logger = logger


def callback(*args, **kwargs):
    pass


PAGE1 = {"Vendor ID": 1, "Device ID": 2, "IO-Link Version ID": 0x11, "Frame Capability": {"IsduSupport": True}}
EVENT = ("Ev", 0x8C42, "WARNING", "APPEARED", "DEVICE", 1, "14:07:33.000")


def registry():
    manager = T.CommonDriverManager()
    master = Master()
    manager.addBaseDriver(Driver())
    manager.addMasterDriver(master.address, master)
    manager.addIoddMaster(IoddMaster(master))
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
    view = tree.getDevStatistics(Master())
    filled(view.receiveRepeats)
    tree.getMasterStatistics(Master(), "10.0.0.1").discoveryAllDuration.add(0.5)
    return tree


def stream_table():
    table = T.ProcessDataStreamTable(["Time", "a (int)", "b (hex)"])
    table.add_row([datetime.datetime(2021, 3, 4, 14, 7, 33), 1, "0A"])
    return table


def repeat_timer():
    # Never started: run() is left to the thread tests.
    timer = T.RepeatTimer("t", 0.01, callback, T.Logger(10), 1, k=2)
    timer.cancel()
    return timer


# Class name -> (constructor arguments, or a factory for views that a parent
# object hands out).  Every class of the module with state of its own.
def constructions():
    tree = statistics()
    return {
        "Logger": (11, "p"),
        "ErrorHandler": ("lastError", T.Logger(11)),
        "Stat": (1000, "%.3f ms", 5),
        "StatMs": (4,),
        "StatSec": (0,),
        "StatMerge": ([filled(T.Stat()), {1: filled(T.StatMs())}],),
        "BaseStatistics": (),
        "Statistics": ([Driver],),
        "MasterStatistics": (tree, Master(), "10.0.0.1"),
        "DevStatistics": (tree, Master(), 1, "10.0.0.1"),
        "ConnStatistics": (),
        "CommonDriverManager": (),
        "DriverOptions": ([Driver], {"drv": {"noZeroInit": True}}),
        "IoddDev": (Master(), "10.0.0.1", 1, "M", "P", {"Serial": "1"}, PAGE1, "matlab"),
        "DeviceStatus": (Device(),),
        "IoddEvent": ("10.0.0.1", 1, EVENT, "d"),
        "_IoddVarAccess": (Orvane(),),
        "_IoddSysAccess": (Orvane(),),
        "AccessLocks": (Orvane(),),
        "DeviceContent": ({"Product Name": "M"}, 1, {"a": 1}, Orvane(), "matlab"),
        "MasterCommands": (Master(),),
        "ProcessDataStreamTable": (["Time", "a (int)", "b (hex)"],),
        "RepeatTimer": ("t", 0.01, callback, T.Logger(10), 1),
    }


# Instances in a state that the normal construction does not reach.
PREPARED = {
    "Statistics": statistics,
    "MasterStatistics": lambda: statistics().getMasterStatistics(Master(), "10.0.0.1"),
    "DevStatistics": lambda: statistics().getDevStatistics(Master()),
    "Stat": lambda: filled(T.Stat()),
    "CommonDriverManager": registry,
    "ProcessDataStreamTable": stream_table,
    "RepeatTimer": repeat_timer,
}


def make(name):
    """A real instance of the class `name`, built with normal arguments."""
    if name in PREPARED:
        return PREPARED[name]()
    return getattr(T, name)(*constructions()[name])


def normal_instances():
    """name -> a real instance of each class with state of its own."""
    return {name: make(name) for name in constructions()}
