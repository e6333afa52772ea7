"""Every documentation text of the module, word for word; undocumented names have none."""
import types

import pytest

import vantrel.base.Tessarine as T

JSON_REPR = "Returns the object data in JSON format"
JSON_REPR_RECORD = "Returns the object data in JSON-format."
URL_RAISES = "\n\nRaises:\n    RequestException: if the response status is not 200"

DOCUMENTED = {
    # value helpers
    "equals": "Equals.",
    "notequals": "Not equals.",
    "toHex": "Convert byte array to hex string '0x...'",
    "toHexDelim": "Format bytes into hex format AB.CD.EF",
    "undefIfNone": "Returns x if not None, else 'undefined'",
    "is_list": "Is list?",
    "is_int_list": "Is list of integers or floats?",
    "is_str_list": "Is list of str?",
    "is_list_none": "Is list or None?",
    # URL functions
    "postUrl": "Read URL with Post data" + URL_RAISES,
    "readUrl": "Read URL" + URL_RAISES,
    "postUrlNoException": "Read URL with Post data without exception",
    "readUrlNoException": "Read URL without exception",
    # naming
    "matlabConvert": "Convert Float to Int arguments for Matlab",
    "isMatlabNaming": "Check record field naming setup and return if is Matlab naming",
    "dictRename": "Rename matching dict keys",
    "dictRenameCapitals": 'Rename "abcdEfgHij" to "Abcd Efg Hij"',
    "dictReplace": "Rename dict key sub strings",
    "_convertToAscii": "Convert UTF8 to ASCII",
    "_dictMatlabReplace": "Dict field Matlab style replacing",
    "_convertMatlabFieldName": "Convert field name to Matlab style",
    # files, text and XML
    "find_line_data": "Find data in string line.",
    "filesha256": "Get sha256 of file.",
    "getRootNamespace": "Get name space of a root node",
    "getRootSchema": "Get schema of a root node",
    "getModuleVersions": "Get module versions",
    "parseMseqCapability": "Parse M-Sequence capability.",
    # device status
    "DeviceStatus": "Device connection status returned by Orvane.status.",
    "DeviceStatus.connected": "Device connected?",
    "DeviceStatus.lost": "Device or master connection lost, wrong device or wrong data storage?",
    "DeviceStatus.preoperate": "Device is in preoperate mode?",
    "DeviceStatus.wrongDevice": "Wrong device?",
    "DeviceStatus.pdValid": "Process data in valid?",
    "DeviceStatus.connectionError": "Connection error to master?",
    "DeviceStatus.__repr__": JSON_REPR_RECORD,
    # device record
    "IoddDev": "IODD device returned by Orvane.getDevices, Orvane.getConnectedDevice and IoddMaster.getDevices."
               "\n\nOrvane.connect connects to that device.",
    "IoddDev.address": "Master address.",
    "IoddDev.portId": "Port ID.",
    "IoddDev.port": "Port (tuple of address and port ID).",
    "IoddDev.driver": "Driver name",
    "IoddDev.masterName": "Master name",
    "IoddDev.vendorId": "Vendor ID",
    "IoddDev.deviceId": "Device ID",
    "IoddDev.ioLinkRevision": "IO-Link revision",
    "IoddDev.isduSupported": "ISDU support?",
    "IoddDev.page1": "Page 1 (direct parameter page 0)",
    "IoddDev.masterProductCode": "Master product code.",
    "IoddDev.deviceIdentifier": "Device identifiers (dict).",
    "IoddDev.__repr__": JSON_REPR_RECORD,
    # event record
    "IoddEvent.address": "Event address",
    "IoddEvent.port": "Event port",
    "IoddEvent.description": "Event description",
    "IoddEvent.name": "Event name",
    "IoddEvent.code": "Event code",
    "IoddEvent.type": "Event type",
    "IoddEvent.mode": "Event mode",
    "IoddEvent.source": "Event source",
    "IoddEvent.counter": "Event counting number",
    "IoddEvent.time": "Event time",
    "IoddEvent.equalKind": "Event is of equal kind?",
    "IoddEvent.__eq__": "Event is equal?",
    "IoddEvent.equalExact": "Event is exactly equal?",
    "IoddEvent.__repr__": JSON_REPR_RECORD,
    # accessors
    "_IoddVarAccess": "Variable access helper class.",
    "_IoddVarAccess.__init__": "Constructor.",
    "_IoddVarAccess.__getattr__": "Read variable.",
    "_IoddVarAccess.__setattr__": "Write variable.",
    "_IoddSysAccess": "System command access helper class.",
    "_IoddSysAccess.__init__": "Constructor.",
    "AccessLocks": "Device access locks returned by Orvane.accessLocks.",
    "AccessLocks.localParameterizationLock": "Local parameterization lock.\n\n"
        "True ('Locked'): control elements on the device are disabled (write protection).\n"
        "False ('Unlocked'): unlocked.",
    "AccessLocks.localUserInterfaceLock": "Local user interface lock.\n\n"
        "True ('Locked'): controls and displays on the device are disabled.\n"
        "False ('Unlocked'): unlocked.",
    "AccessLocks.__repr__": "Returns the object data in JSON-format",
    # device content and master commands
    "DeviceContent": "Device content.",
    "DeviceContent.master": "Master information.",
    "DeviceContent.port": "Port ID.",
    "DeviceContent.date": "Date of the snapshot.",
    "DeviceContent.time": "Time of the snapshot.",
    "DeviceContent.hasIodd": "Check if IODD is loaded",
    "MasterCommands": "Base master commands.",
    "MasterCommands.has": "Returns true iff command cmd available.",
    "MasterCommands.getNames": "Returns tuple of command names.",
    # process data and timing
    "RepeatTimer": "Repeat timer class.",
    "ProcessDataStreamTable.types": "List of stream process data field types",
    "ProcessDataStreamTable.names": "List of stream process data field names",
    "ProcessDataStreamTable.isRaw": "Stream contains raw data",
    "ProcessDataStreamTable.isDict": "Stream cointains record data (dict)",
    "ProcessDataStreamTable.headerNames": "List of header names",
    "ProcessDataStreamTable.datetimes": "List of process data time stamps (datetime, time or str)",
    "ProcessDataStreamTable.times": "List of process data time stamps (time or str)",
    "ProcessDataStreamTable.timesStr": "List of process data time stamps (str)",
    "ProcessDataStreamTable.count": "Number of entries (int)",
    "ProcessDataStreamTable.values": "List of process data values\n\n"
        "Multiple column values are converted to dictionaries (dict).",
    # statistics
    "Stat": "Moving statistics",
    "Stat.add": "Add new value for statistics",
    "Stat.getStat": "Get statistics (dict)",
    "Stat.clear": "Clear",
    "Stat.mean": "Get mean value",
    "Stat.__repr__": JSON_REPR,
    "StatMs": "Moving statistics for milliseconds",
    "StatSec": "Moving statistics for seconds",
    "StatMerge": "Merged statistics",
    "StatMerge._addStat": "Add statistics to merge",
    "BaseStatistics": "Base Statistics",
    "BaseStatistics.getStatistic": "Get statistic by name",
    "Statistics": "Statisticts",
    "Statistics.checkMaster": "Check master stat and add missing",
    "Statistics.checkDev": "Check device stat and add missing",
    "Statistics.clear": "Clear all statistics",
    "Statistics.getStat": "Get overall statistics (dict)",
    "Statistics.__repr__": JSON_REPR,
    "Statistics.getMasterSel": "Get master selector",
    "Statistics.getDeviceSel": "Get device selector",
    "Statistics.stat": "Get statistics",
    "Statistics.mergestat": "Get collected statistics",
    "Statistics.getMasterStatistics": "Get cached master stat.",
    "Statistics.getDevStatistics": "Get cached dev stat.",
    "MasterStatistics": "Master driver statisticts",
    "MasterStatistics.clear": "Clear some or all statistics.",
    "MasterStatistics.getPortStat": "Get master port statistics (dict or None)",
    "MasterStatistics.getStat": "Get master statistics (dict)",
    "MasterStatistics.__repr__": JSON_REPR,
    "DevStatistics": "Device statistics",
    "DevStatistics.clear": "Clear some or all statistics.",
    "DevStatistics.getStat": "Get device statistics (dict)",
    "DevStatistics.__repr__": JSON_REPR,
    "ConnStatistics": "Connection statistics",
    "ConnStatistics.clear": "Clear statistics",
    "ConnStatistics.getStat": "Get connection statistics (dict)",
    "ConnStatistics.__repr__": JSON_REPR,
    # registry
    "CommonDriverManager": "Manager for commonly used drivers.",
    "CommonDriverManager.renameAddress": "Rename master address",
    # logger and error handler
    "Logger": "Orvane Logger class.",
    "Logger.__init__": "logLevel: 0: disable all logging, 1: print errors, 2: print warnings, 3: print info,\n"
                       "          4: print read/write, 5: print read/write result, 6: print read/write data,\n"
                       "          9: debug, 10: periodic debug, 11: send/recv debug",
    "ErrorHandler": "Orvane error handler.",
    "ErrorHandler.mode": "Get mode",
    "ErrorHandler.mode.fset": "Set mode",
    "ErrorHandler.logLevel": "Get mode",
    "ErrorHandler.logLevel.fset": "Set mode",
    # exception tree
    "NotImplementedAbstract": "Not implemented abstract exception",
    "NotImplementedYet": "Not implemented yet exception",
    "OrvaneException": "Base class for Orvane exceptions",
    "NonConformIoddException": "Non conform IODD exception",
    "IoddCollectionException": "IoddCollection exception",
    "DriverException": "Orvane driver exception",
    "CouldNotOpenMasterException": "Could not open master driver exception",
    "InvalidCallException": "Invalid driver call exception",
    "MasterException": "Orvane master exception",
    "NotConnectedException": "Not connected exception",
    "MasterNotConnectedException": "Master not connected exception",
    "NotSupportedError": "Not supported exception",
    "CommunicationFailedError": "Communication failed exception",
    "MasterMalfunctionException": "Master malfunction exception",
    "CommException": "Communication exception.",
    "RequestException": "Request exception.",
    "IOLinkException": "IO-Link exception",
    "InvalidIoddException": "Invalid IODD exception",
    "NotSupportedBySimDeviceException": "Function not supported by simulation device exception",
    "SimNotPluggedinException": "Simulation device or master not plugged in exception",
    "NotSimulatorException": "Not simulator exception",
    "NoIoLinkException": "IO-Link not active exception",
    "IndexUnavailableException": "Index unavailable exception.",
    "TTimeException": "TTime exception.",
    "RecordFieldException": "Record field exception.",
    "BlockParameterException": "Block parameter exception",
    "BlockParameterNotAllowedException": "Block parameter command not allowed exception",
    "BlockParameterAlreadyActiveException": "Block parameter already active exception",
    "BlockParameterWritingNotActiveException": "Block parameter writing not active exception",
    "BlockParameterReadingNotActiveException": "Block parameter reading not active exception",
}


def own_members(cls):
    """Dotted names and objects of what a class defines itself: functions, static methods, properties and setters."""
    for name, value in vars(cls).items():
        if isinstance(value, staticmethod):
            yield f"{cls.__name__}.{name}", value.__func__
        elif isinstance(value, property):
            yield f"{cls.__name__}.{name}", value
            if value.fset is not None:
                yield f"{cls.__name__}.{name}.fset", value.fset
        elif callable(value) and not isinstance(value, type):
            yield f"{cls.__name__}.{name}", value


def module_names():
    """Every function and class of the module, and every member of its classes, with its object."""
    for name, value in vars(T).items():
        if isinstance(value, types.ModuleType) or getattr(value, "__module__", None) != T.__name__:
            continue
        yield name, value
        if isinstance(value, type):
            yield from own_members(value)


EVERY_NAME = dict(module_names())


@pytest.mark.parametrize("name, text", DOCUMENTED.items(), ids=list(DOCUMENTED))
def test_documented_text(name, text):
    assert EVERY_NAME[name].__doc__ == text


@pytest.mark.parametrize("name", sorted(set(EVERY_NAME) - set(DOCUMENTED)))
def test_undocumented_name_has_no_text(name):
    assert EVERY_NAME[name].__doc__ is None


def test_every_name_is_checked():
    # A name that is added later falls under one of the two tests above.
    assert set(DOCUMENTED) <= set(EVERY_NAME)
    assert {"format_exception", "dict_depth", "IoddEvent", "ProcessDataStreamTable", "DriverOptions",
            "IoddDev.__init__", "IoddDev.name", "IoddEvent.__getitem__", "Logger.log"} <= set(EVERY_NAME)
