"""What the benchmark runs: its inputs and its cases, for the module and for the baseline alike.

A fixture takes a module (the native one or bench/baseline.py) and returns the
names that the statements of its cases use.  Plain objects that stand in for the
package's drivers, masters and devices are made once here and shared by both
modules, so that a look-up returns the very same object from either.
"""
import datetime
import inspect
import types
from dataclasses import dataclass
from typing import Callable


# ------------------------------------------------------------ outside objects

class Driver:
    """A master driver as the statistics see it: its own base driver."""

    def __init__(self, name, address):
        self.name, self.address, self.baseDrv = name, address, self

    def driverName(self):
        return self.name


class BaseDriver:
    _active = False

    @classmethod
    def driverName(cls):
        return "Rest"


class MasterDriver:
    _masterInfo = {"Product Name": "Hub-8", "Serial Number": "000201234567"}

    def getBaseDriverType(self):
        return BaseDriver

    def driverName(self):
        return "Rest"


BASE_DRIVER = BaseDriver()
MASTER_ADDRESSES = [f"192.168.0.{number}" for number in range(1, 9)]
PORTS = range(1, 9)
MASTERS = {address: MasterDriver() for address in MASTER_ADDRESSES}
PORT_DRIVERS = {(address, port): object() for address in MASTER_ADDRESSES for port in PORTS}
DEVICES = {(address, port): object() for address in MASTER_ADDRESSES for port in PORTS}
ADDRESS, PORT = MASTER_ADDRESSES[4], 4

STATISTICS_DRIVERS = [Driver("Drv", f"10.0.{number}.1") for number in range(16)]
MASTER_FIGURES = ("discoveryAllDuration", "discoveryAddrDuration", "discoveryAllRepeats", "discoveryAddrRepeats",
                  "masterConnectDuration")
DEVICE_FIGURES = ("drvConnectDuration", "devConnectDuration", "sendRepeats", "receiveRepeats", "receiveDuration",
                  "sendReceiveDuration")

DEVICE_MASTER = types.SimpleNamespace(baseDrv=types.SimpleNamespace(portNumbering=True), driverName=lambda: "Rest")
PAGE1 = {"Vendor ID": 310, "Device ID": 1234, "IO-Link Version ID": 17, "Frame Capability": {"IsduSupport": True}}
EVENT = ("Overtemp", 0x4210, "WARNING", "APPEARED", "DEVICE", 7, "12:34:56.789")
SAME_EVENT = EVENT[:6] + ("12:34:57.000",)

FRAME = bytes(range(32))
NESTED = {"a": {"b": {"c": {"d": 1}}, "e": 2}, "f": 3}
RECORD = {"Temperature value": 1, "Status": {"Bit 0": True, "Bit 1": False}, (5, 2): 3}
STREAM_ROWS = 10_000
STREAM_START = datetime.datetime(2021, 3, 4, 14, 7, 33)


# ---------------------------------------------------------------- fixtures

def logger(module):
    return {"logger": module.Logger(3), "data": b"\x01\x02\x03", "index": 2, "address": ADDRESS}


def error_handler(module):
    """A handler whose list of past errors is already full, so that each failure also drops the oldest."""
    handler = module.ErrorHandler("lastError", module.Logger(0))
    handler.maxStackLength = 10
    error = module.OrvaneException("failure", 5)
    for number in range(10):
        handler.handleError(module.OrvaneException(f"failure {number}"))
    return {"handler": handler, "error": error}


def figures(module):
    filled = module.Stat()
    filled.add(3)
    filled.add(5)
    durations = module.StatMs()
    durations.add(0.0012)
    durations.add(0.0034)
    history = module.StatMs()
    history.hist.append(0.001)
    history.add(0.002)
    history.add(0.003)
    return {"filled": filled, "durations": durations, "history": history, "count": 4, "seconds": 0.0023}


def fill(figure, index):
    """Gives a figure values; every third one all equal, so that both shapes of a report come up."""
    value = index % 4 + 1 if type(figure).__name__ == "Stat" else 0.001 * (index % 7 + 1)
    if index % 5 == 1:
        figure.hist.append(value)
    figure.add(value)
    figure.add(value if index % 3 == 0 else value * 3)


def statistics_tree(module):
    """16 masters with 8 ports each, every figure filled."""
    tree = module.Statistics(STATISTICS_DRIVERS)
    index = 0
    for drv in STATISTICS_DRIVERS:
        master = tree.getMasterStatistics(drv)
        views = [(master, MASTER_FIGURES)] + [(tree.getDevStatistics(drv, port), DEVICE_FIGURES) for port in PORTS]
        for view, names in views:
            for name in names:
                fill(getattr(view, name), index)
                index += 1
    drv = STATISTICS_DRIVERS[5]
    return {"tree": tree, "drv": drv, "port": PORT, "master": tree.getMasterStatistics(drv)}


def registry(module):
    """8 active masters with 8 ports each, a device at every port."""
    manager = module.CommonDriverManager()
    manager.addBaseDriver(BASE_DRIVER)
    for address, master in MASTERS.items():
        manager.addMasterDriver(address, master)
        manager.addActiveMasterDriver(address, master)
    for (address, port), drv in PORT_DRIVERS.items():
        manager.addPort(address, port, drv)
    for selector, device in DEVICES.items():
        manager.addConnectedDev(selector, device)
    return {"manager": manager, "address": ADDRESS, "port": PORT, "selector": (ADDRESS, PORT)}


def conversions(module):
    names = ("toHex", "toHexDelim", "is_list", "dict_depth", "matlabConvert", "_convertMatlabFieldName",
             "_dictMatlabReplace", "parseMseqCapability")
    return {name: getattr(module, name) for name in names} | {
        "frame": FRAME, "values": [1, 2, 3, 4, 5, 6, 7, 8], "nested": NESTED, "record": RECORD,
        # matlabConvert changes the list inside in place, so each module gets its own.
        "arguments": (1.0, [2.5, 3], 4.5, 6),
    }


def records(module):
    return {
        "event": module.IoddEvent("10.0.0.1", 2, EVENT, "hot"),
        "same": module.IoddEvent("10.0.0.1", 2, SAME_EVENT, "hot"),
        "device": module.IoddDev(DEVICE_MASTER, "10.0.0.1", 0, "Hub-8", "H8", None, PAGE1),
    }


def stream_tables(module):
    """A record stream (time and two data columns) and a single-column stream, 10,000 rows each."""
    record = module.ProcessDataStreamTable(["Time", "Temp (float)", "Level (UInteger)"])
    single = module.ProcessDataStreamTable(["Time", "PD (hex)"])
    for row in range(STREAM_ROWS):
        stamp = STREAM_START + datetime.timedelta(milliseconds=10 * row)
        record.add_row([stamp, 20.5 + row, row])
        single.add_row([stamp, "%04X" % row])
    return {"record": record, "single": single}


# ------------------------------------------------------------------- cases

@dataclass(frozen=True)
class Case:
    name: str
    fixture: Callable
    statement: str
    # What the floor replaces by an empty method or property: "object.member", or a module function's name.
    target: str
    # Compared between module and baseline after the statement ran, besides its result, which alone says too little.
    report: str | None = None
    # The statement prints: it runs with sys.stdout sent to an io.StringIO.
    prints: bool = False


HANDLER_STATE = "(handler.getErrorList(), handler.getLastError(), handler.getLastErrorCode())"

CASES = [
    Case("Logger.rw, filtered", logger, 'logger.rw("read %s", data)', "logger.rw"),
    Case("Logger.rwr, filtered", logger, 'logger.rwr("read %s: %s", index, data)', "logger.rwr"),
    Case("Logger.rwd, filtered", logger, 'logger.rwd("data %s %s", index, data)', "logger.rwd"),
    Case("Logger.debugPeriodic, filtered", logger, 'logger.debugPeriodic("cycle %d", index)', "logger.debugPeriodic"),
    Case("Logger.debugSendRecv, filtered", logger, 'logger.debugSendRecv("sent %r to %s", data, address)',
         "logger.debugSendRecv"),
    Case("Logger.info, printed", logger, 'logger.info("connected to %s", address)', "logger.info", prints=True),
    Case("ErrorHandler.handleError, lastError", error_handler, "handler.handleError(error)", "handler.handleError",
         report=HANDLER_STATE),
    Case("Stat.add", figures, "filled.add(count)", "filled.add", report="filled.getStat()"),
    Case("StatMs.add", figures, "durations.add(seconds)", "durations.add", report="durations.getStat()"),
    Case("StatMs.add, with history", figures, "history.add(seconds)", "history.add", report="history.getStat()"),
    Case("Stat.getStat", figures, "history.getStat()", "history.getStat"),
    Case("Statistics.getMasterStatistics, cached", statistics_tree, "tree.getMasterStatistics(drv)",
         "tree.getMasterStatistics"),
    Case("Statistics.getDevStatistics, cached", statistics_tree, "tree.getDevStatistics(drv, port)",
         "tree.getDevStatistics"),
    Case("Statistics.getStat(True), 16x8", statistics_tree, "tree.getStat(True)", "tree.getStat"),
    Case("repr(Statistics), 16x8", statistics_tree, "repr(tree)", "tree.__repr__"),
    Case("MasterStatistics.getStat", statistics_tree, "master.getStat()", "master.getStat"),
    Case("CommonDriverManager.getMasterDriver", registry, "manager.getMasterDriver(address)",
         "manager.getMasterDriver"),
    Case("CommonDriverManager.getPortDriver", registry, "manager.getPortDriver(address, port)",
         "manager.getPortDriver"),
    Case("CommonDriverManager.checkActivePorts", registry, "manager.checkActivePorts(address, port)",
         "manager.checkActivePorts"),
    Case("CommonDriverManager.getConnectedDev", registry, "manager.getConnectedDev(selector)",
         "manager.getConnectedDev"),
    Case("toHex, 32 bytes", conversions, "toHex(frame)", "toHex"),
    Case("toHexDelim, 32 bytes", conversions, 'toHexDelim(frame, ".")', "toHexDelim"),
    Case("is_list, list", conversions, "is_list(values)", "is_list"),
    Case("is_list, single value", conversions, "is_list(5)", "is_list"),
    Case("dict_depth, 4 deep", conversions, "dict_depth(nested)", "dict_depth"),
    Case("matlabConvert, floats and a list", conversions, "matlabConvert(arguments)", "matlabConvert",
         report="arguments"),
    Case("_convertMatlabFieldName, umlauts", conversions, '_convertMatlabFieldName("Größe A\\\\B")',
         "_convertMatlabFieldName"),
    Case("_convertMatlabFieldName, digits", conversions, '_convertMatlabFieldName("12")', "_convertMatlabFieldName"),
    Case("_dictMatlabReplace, nested record", conversions, "_dictMatlabReplace(record)", "_dictMatlabReplace"),
    Case("parseMseqCapability, no process data", conversions, "parseMseqCapability(0x10, 0, 0)",
         "parseMseqCapability"),
    Case("parseMseqCapability, 2 in 1 out", conversions, "parseMseqCapability(0x31, 2, 1)", "parseMseqCapability"),
    Case("IoddEvent.equalExact, equal events", records, "event.equalExact(same)", "event.equalExact"),
    Case("IoddEvent.code", records, "event.code", "event.code"),
    Case("IoddDev.vendorId", records, "device.vendorId", "device.vendorId"),
    Case("IoddDev.deviceId", records, "device.deviceId", "device.deviceId"),
    Case("IoddDev.port", records, "device.port", "device.port"),
    Case("IoddDev.masterName", records, "device.masterName", "device.masterName"),
    Case("ProcessDataStreamTable.values, 2 columns", stream_tables, "record.values", "record.values"),
    Case("ProcessDataStreamTable.values, 1 column", stream_tables, "single.values", "single.values"),
]


# ------------------------------------------------------------------- floor

class _Source(str):
    """Stands in a signature as its own text: the name under which a default waits beside generated code."""

    def __repr__(self):
        return str(self)


def empty_like(function):
    """A function that takes the parameters of `function`, defaults included, and does nothing."""
    signature = inspect.signature(function)
    defaults = {}
    parameters = []
    for parameter in signature.parameters.values():
        if parameter.default is not parameter.empty:
            name = f"default_{len(defaults)}"
            defaults[name] = parameter.default
            parameter = parameter.replace(default=_Source(name))
        parameters.append(parameter)
    # repr() refuses anything but a str.
    body = 'return ""' if function.__name__ == "__repr__" else "pass"
    exec(f"def {function.__name__}{signature.replace(parameters=parameters)}:\n    {body}\n", defaults)
    return defaults[function.__name__]


def floor(case, names):
    """The names of a case's floor: its target, found in `names`, replaced by an empty function or property."""
    subject, _, member = case.target.rpartition(".")
    if not subject:
        return names | {member: empty_like(names[member])}
    cls = type(names[subject])
    attribute = inspect.getattr_static(cls, member)
    if isinstance(attribute, property):
        empty = property(empty_like(attribute.fget))
    else:
        empty = empty_like(attribute)
    return names | {subject: type("Floor" + cls.__name__, (), {member: empty})()}
