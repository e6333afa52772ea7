"""Every documentation text of the module, word for word; undocumented names have none."""
import types

import pytest

import vantrel.base.Tessarine as T

# "name: text" entries, " | " between them; ".member" belongs to the class of
# the entry before it, a line that starts with spaces goes on with the text
# of the line above, and {json}, {record} and {raises} stand for shared texts.
TEXTS = r"""
equals: Equals. | notequals: Not equals. | toHex: Convert byte array to hex string '0x...'
toHexDelim: Format bytes into hex format AB.CD.EF | undefIfNone: Returns x if not None, else 'undefined'
is_list: Is list? | is_int_list: Is list of integers or floats? | is_str_list: Is list of str?
is_list_none: Is list or None? | postUrl: Read URL with Post data{raises} | readUrl: Read URL{raises}
postUrlNoException: Read URL with Post data without exception | readUrlNoException: Read URL without exception
matlabConvert: Convert Float to Int arguments for Matlab
isMatlabNaming: Check record field naming setup and return if is Matlab naming
dictRename: Rename matching dict keys | dictRenameCapitals: Rename "abcdEfgHij" to "Abcd Efg Hij"
dictReplace: Rename dict key sub strings | _convertToAscii: Convert UTF8 to ASCII
_dictMatlabReplace: Dict field Matlab style replacing | _convertMatlabFieldName: Convert field name to Matlab style
find_line_data: Find data in string line. | filesha256: Get sha256 of file.
getRootNamespace: Get name space of a root node | getRootSchema: Get schema of a root node
getModuleVersions: Get module versions | parseMseqCapability: Parse M-Sequence capability.
DeviceStatus: Device connection status returned by Orvane.status. | .connected: Device connected?
DeviceStatus.lost: Device or master connection lost, wrong device or wrong data storage?
DeviceStatus.preoperate: Device is in preoperate mode? | .wrongDevice: Wrong device?
DeviceStatus.pdValid: Process data in valid? | .connectionError: Connection error to master? | .__repr__: {record}
IoddDev: IODD device returned by Orvane.getDevices, Orvane.getConnectedDevice and
   IoddMaster.getDevices.\n\nOrvane.connect connects to that device.
IoddDev.address: Master address. | .portId: Port ID. | .port: Port (tuple of address and port ID).
IoddDev.driver: Driver name | .masterName: Master name | .vendorId: Vendor ID | .deviceId: Device ID
IoddDev.ioLinkRevision: IO-Link revision | .isduSupported: ISDU support? | .page1: Page 1 (direct parameter page 0)
IoddDev.masterProductCode: Master product code. | .deviceIdentifier: Device identifiers (dict).
IoddDev.__repr__: {record} | IoddEvent.address: Event address | .port: Event port | .description: Event description
IoddEvent.name: Event name | .code: Event code | .type: Event type | .mode: Event mode | .source: Event source
IoddEvent.counter: Event counting number | .time: Event time | .equalKind: Event is of equal kind?
IoddEvent.__eq__: Event is equal? | .equalExact: Event is exactly equal? | .__repr__: {record}
_IoddVarAccess: Variable access helper class. | .__init__: Constructor. | .__getattr__: Read variable.
_IoddVarAccess.__setattr__: Write variable. | _IoddSysAccess: System command access helper class.
_IoddSysAccess.__init__: Constructor. | AccessLocks: Device access locks returned by Orvane.accessLocks.
AccessLocks.localParameterizationLock: Local parameterization lock.\n\nTrue ('Locked'): control elements on the
   device are disabled (write protection).\nFalse ('Unlocked'): unlocked.
AccessLocks.localUserInterfaceLock: Local user interface lock.\n\nTrue ('Locked'): controls and displays on the
   device are disabled.\nFalse ('Unlocked'): unlocked.
AccessLocks.__repr__: Returns the object data in JSON-format | DeviceContent: Device content.
DeviceContent.master: Master information. | .port: Port ID. | .date: Date of the snapshot.
DeviceContent.time: Time of the snapshot. | .hasIodd: Check if IODD is loaded
MasterCommands: Base master commands. | .has: Returns true iff command cmd available.
MasterCommands.getNames: Returns tuple of command names. | RepeatTimer: Repeat timer class.
ProcessDataStreamTable.types: List of stream process data field types
ProcessDataStreamTable.names: List of stream process data field names | .isRaw: Stream contains raw data
ProcessDataStreamTable.isDict: Stream cointains record data (dict) | .headerNames: List of header names
ProcessDataStreamTable.datetimes: List of process data time stamps (datetime, time or str)
ProcessDataStreamTable.times: List of process data time stamps (time or str)
ProcessDataStreamTable.timesStr: List of process data time stamps (str) | .count: Number of entries (int)
ProcessDataStreamTable.values: List of process data values\n\nMultiple column values are converted to dictionaries
   (dict).
Stat: Moving statistics | .add: Add new value for statistics | .getStat: Get statistics (dict) | .clear: Clear
Stat.mean: Get mean value | .__repr__: {json} | StatMs: Moving statistics for milliseconds
StatSec: Moving statistics for seconds | StatMerge: Merged statistics | ._addStat: Add statistics to merge
BaseStatistics: Base Statistics | .getStatistic: Get statistic by name | Statistics: Statisticts
Statistics.checkMaster: Check master stat and add missing | .checkDev: Check device stat and add missing
Statistics.clear: Clear all statistics | .getStat: Get overall statistics (dict) | .__repr__: {json}
Statistics.getMasterSel: Get master selector | .getDeviceSel: Get device selector | .stat: Get statistics
Statistics.mergestat: Get collected statistics | .getMasterStatistics: Get cached master stat.
Statistics.getDevStatistics: Get cached dev stat. | MasterStatistics: Master driver statisticts
MasterStatistics.clear: Clear some or all statistics. | .getPortStat: Get master port statistics (dict or None)
MasterStatistics.getStat: Get master statistics (dict) | .__repr__: {json} | DevStatistics: Device statistics
DevStatistics.clear: Clear some or all statistics. | .getStat: Get device statistics (dict) | .__repr__: {json}
ConnStatistics: Connection statistics | .clear: Clear statistics | .getStat: Get connection statistics (dict)
ConnStatistics.__repr__: {json} | CommonDriverManager: Manager for commonly used drivers.
CommonDriverManager.renameAddress: Rename master address | Logger: Orvane Logger class.
Logger.__init__: logLevel: 0: disable all logging, 1: print errors, 2: print warnings, 3: print info,\n          4:
   print read/write, 5: print read/write result, 6: print read/write data,\n          9: debug, 10: periodic debug,
   11: send/recv debug
ErrorHandler: Orvane error handler. | .mode: Get mode | .mode.fset: Set mode | .logLevel: Get mode
ErrorHandler.logLevel.fset: Set mode | NotImplementedAbstract: Not implemented abstract exception
NotImplementedYet: Not implemented yet exception | OrvaneException: Base class for Orvane exceptions
NonConformIoddException: Non conform IODD exception | IoddCollectionException: IoddCollection exception
DriverException: Orvane driver exception | CouldNotOpenMasterException: Could not open master driver exception
InvalidCallException: Invalid driver call exception | MasterException: Orvane master exception
NotConnectedException: Not connected exception | MasterNotConnectedException: Master not connected exception
NotSupportedError: Not supported exception | CommunicationFailedError: Communication failed exception
MasterMalfunctionException: Master malfunction exception | CommException: Communication exception.
RequestException: Request exception. | IOLinkException: IO-Link exception
InvalidIoddException: Invalid IODD exception
NotSupportedBySimDeviceException: Function not supported by simulation device exception
SimNotPluggedinException: Simulation device or master not plugged in exception
NotSimulatorException: Not simulator exception | NoIoLinkException: IO-Link not active exception
IndexUnavailableException: Index unavailable exception. | TTimeException: TTime exception.
RecordFieldException: Record field exception. | BlockParameterException: Block parameter exception
BlockParameterNotAllowedException: Block parameter command not allowed exception
BlockParameterAlreadyActiveException: Block parameter already active exception
BlockParameterWritingNotActiveException: Block parameter writing not active exception
BlockParameterReadingNotActiveException: Block parameter reading not active exception
"""
SHARED = {"json": "Returns the object data in JSON format", "record": "Returns the object data in JSON-format.",
          "raises": r"\n\nRaises:\n    RequestException: if the response status is not 200"}


def documented():
    texts, owner = {}, None
    for entry in TEXTS.replace("\n   ", " ").strip().replace("\n", " | ").split(" | "):
        name, text = entry.split(": ", 1)
        name = owner + name if name.startswith(".") else name
        owner = name.split(".")[0]
        texts[name] = text.format(**SHARED).replace(r"\n", "\n")
    return texts


def module_names():
    """Every function and class of the module, and what its classes define: functions, properties and setters."""
    for name, value in vars(T).items():
        if not isinstance(value, types.ModuleType) and getattr(value, "__module__", None) == T.__name__:
            yield name, value
            for member, item in vars(value).items() if isinstance(value, type) else ():
                item = getattr(item, "__func__", item)
                if callable(item) and not isinstance(item, type) or isinstance(item, property):
                    yield f"{name}.{member}", item
                if getattr(item, "fset", None):
                    yield f"{name}.{member}.fset", item.fset


DOCUMENTED, EVERY_NAME = documented(), dict(module_names())


@pytest.mark.parametrize("name", EVERY_NAME)
def test_documentation_text(name):
    assert EVERY_NAME[name].__doc__ == DOCUMENTED.get(name)


def test_every_documented_name_exists():
    # A name added later falls under the test above.
    assert len(DOCUMENTED) == 169 and set(DOCUMENTED) <= set(EVERY_NAME)
    assert {"format_exception", "dict_depth", "IoddEvent", "ProcessDataStreamTable", "DriverOptions",
            "IoddDev.__init__", "IoddDev.name", "IoddEvent.__getitem__", "Logger.log"} <= set(EVERY_NAME)
