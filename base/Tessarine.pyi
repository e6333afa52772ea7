# Type stubs of vantrel.base.Tessarine, by subsystem.
#
# Names that begin with an underscore and are marked @type_check_only exist
# for type checkers only: they describe what the module asks of the objects
# that the package hands to it (drivers, masters, loggers, ...) and the
# shapes of the reports it returns.  Import them under TYPE_CHECKING.
#
# The docstrings are the module's own documentation texts, word for word;
# what has none here has none there (tests/test_frame.py compares them).
# The names of the module stand in the order the module binds them
# (tests/test_typing.py compares it).
import builtins
import importlib.metadata
import urllib3.util
from _collections_abc import dict_values
from _typeshed import FileDescriptorOrPath, SupportsItems
from collections.abc import Callable, Hashable, Iterable, Iterator, Mapping, Sequence
from types import ModuleType
from typing import (Any, ClassVar, Literal, NoReturn, NotRequired, ParamSpec, Protocol, Self, TypeAlias, TypedDict,
                    TypeVar, overload, type_check_only)

from collections import deque as deque
import time as time, datetime as datetime, re as re, hashlib as hashlib, threading as threading
import array as array, traceback as traceback, sys as sys, json as json, types as types, os as os
import copy as copy, warnings as warnings, importlib as importlib
np: ModuleType | None
import prettytable as prettytable, urllib3 as urllib3

_T = TypeVar("_T")
_K = TypeVar("_K")
_V = TypeVar("_V")
_NewKey = TypeVar("_NewKey")
_P = ParamSpec("_P")

# --- what the module asks of outside objects ---

@type_check_only
class _LoggerLike(Protocol):
    """Anything with the printing operations of Logger may stand in for one."""
    def info(self, msg: str, /, *args: object) -> object: ...
    def warning(self, msg: str, /, *args: object) -> object: ...
    def deprecated(self, msg: str, /, *args: object) -> object: ...
    def error(self, msg: str, /, *args: object) -> object: ...
    def debugExecute(self, methodCall: str, /, *args: object) -> object: ...
    def debug(self, msg: str, /, *args: object) -> object: ...
    def debugPeriodic(self, msg: str, /, *args: object) -> object: ...
    def debugSendRecv(self, msg: str, /, *args: object) -> object: ...
    def rw(self, msg: str, /, *args: object) -> object: ...
    def rwr(self, msg: str, /, *args: object) -> object: ...
    def rwd(self, msg: str, /, *args: object) -> object: ...

@type_check_only
class _NamedDriver(Protocol):
    def driverName(self) -> str: ...

@type_check_only
class _BaseDriver(_NamedDriver, Protocol):
    @property
    def _active(self) -> object: ...
    def close(self) -> object: ...

# The registry files base drivers under their class, type(drv).
_DriverType: TypeAlias = builtins.type[_BaseDriver]

@type_check_only
class _MasterDriver(_NamedDriver, Protocol):
    def getBaseDriverType(self) -> _DriverType: ...
    def connected(self) -> object: ...
    def disconnect(self, port: None, force: bool | None, /, *, removeDriverOrigin: bool) -> object: ...
    @property
    def _masterInfo(self) -> Mapping[str, object] | None: ...
    def getMasterInfo(self) -> Mapping[str, object]: ...

@type_check_only
class _DeviceAddress(Protocol):
    _address: str

@type_check_only
class _ConnectedDevice(Protocol):
    # Written with a new (address, port) tuple on renaming; the port is the
    # caller's own key, so its type stays open (a settable member is invariant).
    _port: tuple[str, Any]
    @property
    def _device(self) -> _DeviceAddress: ...

@type_check_only
class _PortDriver(Protocol):
    def connected(self) -> object: ...
    def disconnect(self) -> object: ...
    @property
    def _connectediodd(self) -> _ConnectedDevice | None: ...

@type_check_only
class _HasAddress(Protocol):
    @property
    def address(self) -> str: ...

@type_check_only
class _IoddMaster(_HasAddress, Protocol):
    @property
    def _master(self) -> _MasterDriver: ...

@type_check_only
class _Owner(Protocol):
    """The package's main object, set as CommonDriverManager.iodd."""
    @property
    def _logger(self) -> _LoggerLike: ...

@type_check_only
class _MalfunctioningMaster(_NamedDriver, _HasAddress, Protocol):
    @property
    def _masterInfo(self) -> Mapping[str, object]: ...

@type_check_only
class _IoLinkErrorTexts(Protocol):
    def _getErrorText(self, errorCode: int, /) -> str: ...
    def _getError(self, message: str, /) -> int: ...

@type_check_only
class _OnBaseDriver(_NamedDriver, Protocol):
    @property
    def baseDrv(self) -> _NamedDriver: ...

@type_check_only
class _AddressedDriver(_OnBaseDriver, _HasAddress, Protocol):
    """A master driver that names its base driver and address."""

@type_check_only
class _PortLevelDriver(_OnBaseDriver, Protocol):
    """A port driver that knows its master and port."""
    @property
    def master(self) -> _HasAddress: ...
    @property
    def port(self) -> int: ...

@type_check_only
class _PortNumbering(Protocol):
    @property
    def portNumbering(self) -> object: ...

@type_check_only
class _RecordMaster(_NamedDriver, Protocol):
    @property
    def baseDrv(self) -> _PortNumbering: ...

@type_check_only
class _TaggedElement(Protocol):
    @property
    def tag(self) -> str: ...

@type_check_only
class _AttributedElement(Protocol):
    @property
    def attrib(self) -> Iterable[str]: ...

@type_check_only
class _WrongDeviceCheck(Protocol):
    # Given the package's device object itself, whatever its class.
    def isWrongDevice(self, iodd: Any, /) -> bool: ...

@type_check_only
class _ProcessDataStatus(Protocol):
    def getStatusPdInvalid(self) -> bool: ...

@type_check_only
class _StatusSource(Protocol):
    """The package's object of one device, asked afresh by DeviceStatus."""
    @property
    def connected(self) -> bool: ...
    def _checkLostDev(self) -> bool: ...
    def _hasConnectionError(self) -> bool: ...
    def _checkInspectionLevelWrongDev(self) -> bool: ...
    def _hasIolink(self, *, diag: bool) -> int: ...
    @property
    def _master(self) -> _WrongDeviceCheck: ...
    @property
    def _dev(self) -> _ProcessDataStatus: ...

@type_check_only
class _VariableSource(Protocol):
    def getVariableNames(self, *, sort: bool, matlabNaming: bool) -> Iterable[str]: ...
    def read(self, name: str, /) -> Any: ...
    def write(self, name: str, value: Any, /) -> int: ...
    def getError(self, code: int, /) -> str: ...

@type_check_only
class _SystemCommandSource(Protocol):
    def getValueNames(self, index: int, /, *, sort: bool) -> Iterable[object]: ...
    # A name gives the command's value, a value its full name.
    def getValue(self, index: int, key: int | str, /) -> int | str: ...
    def sysCmd(self, name: str, /) -> Any: ...

@type_check_only
class _LockSource(Protocol):
    def read(self, index: int, subindex: int = ..., /) -> Any: ...
    def write(self, index: int, subindex: int, value: bool, /) -> object: ...

@type_check_only
class _Mergeable(Protocol):
    """What StatMerge reads of each figure it merges."""
    @property
    def count(self) -> int: ...
    @property
    def _sum(self) -> float: ...
    @property
    def min(self) -> float: ...
    @property
    def max(self) -> float: ...
    @property
    def scale(self) -> float: ...
    @property
    def format(self) -> str: ...

# --- shapes of the reports ---

@type_check_only
class _StatReport(TypedDict):
    count: int
    min: str
    max: str
    mean: NotRequired[str]
    hist: NotRequired[list[str]]

@type_check_only
class _PortReport(TypedDict):
    drvConnectDuration: _StatReport | None
    receiveRepeats: _StatReport | None
    sendRepeats: _StatReport | None
    receiveDuration: _StatReport | None
    sendReceiveDuration: _StatReport | None

# The five figures of a master as a whole, beside its five merged port figures.
@type_check_only
class _MasterFigures(_PortReport):
    discoveryAllDuration: _StatReport | None
    discoveryAddrDuration: _StatReport | None
    discoveryAllRepeats: _StatReport | None
    discoveryAddrRepeats: _StatReport | None
    masterConnectDuration: _StatReport | None

@type_check_only
class _MasterEntry(_MasterFigures):
    driver: str
    ports: NotRequired[dict[int, _PortReport]]

@type_check_only
class _GlobalReport(_MasterFigures):
    devConnectDuration: _StatReport | None
    masters: dict[str, _MasterEntry]

@type_check_only
class _MasterReport(_MasterFigures):
    driver: str
    address: str
    ports: dict[int, _PortReport]

@type_check_only
class _DeviceReport(_PortReport):
    driver: str
    address: str
    port: int
    devConnectDuration: _StatReport | None

@type_check_only
class _ConnReport(TypedDict):
    duration: _StatReport | None
    repeats: _StatReport | None
    errors: int

@type_check_only
class _OperateMseq(TypedDict):
    type: str | None
    IsduByteLength: int

@type_check_only
class _PreoperateMseq(TypedDict):
    type: str | None
    IsduByteLength: int
    MinRecoveryBitTime: int

@type_check_only
class _MseqCapability(TypedDict):
    IsduSupport: bool
    Operate: _OperateMseq
    Preoperate: _PreoperateMseq

# --- module state ---

_http: urllib3.PoolManager

# --- conversion functions ---
# The comparisons hand back whatever == and != give, an array for arrays.
def equals(obj1: object, obj2: object) -> Any:
    """Equals."""
def notequals(obj1: object, obj2: object) -> Any:
    """Not equals."""
def toHex(arr: Iterable[int], pre: str = '0x') -> str:
    """Convert byte array to hex string '0x...'"""
def toHexDelim(arr: Iterable[int], delim: str = '') -> str:
    """Format bytes into hex format AB.CD.EF"""
@overload
def undefIfNone(obj: None) -> str:
    """Returns x if not None, else 'undefined'"""
@overload
def undefIfNone(obj: _T) -> _T: ...
def dict_depth(d: object) -> int: ...
# Keyword arguments go on to urllib3's PoolManager.request as they are.
def postUrl(url: str, **kwargs: Any) -> urllib3.BaseHTTPResponse:
    """Read URL with Post data

    Raises:
        RequestException: if the response status is not 200"""
def readUrl(url: str, method: str = 'GET', **kwargs: Any) -> urllib3.BaseHTTPResponse:
    """Read URL

    Raises:
        RequestException: if the response status is not 200"""
def postUrlNoException(url: str, **kwargs: Any) -> urllib3.BaseHTTPResponse:
    """Read URL with Post data without exception"""
def readUrlNoException(url: str, method: str = 'GET', **kwargs: Any) -> urllib3.BaseHTTPResponse:
    """Read URL without exception"""
def format_exception(e: object) -> str: ...
# None, not False, when numpy is missing: use the result as a truth value.
def is_list(obj: object) -> bool | None:
    """Is list?"""
def is_int_list(obj: object) -> bool:
    """Is list of integers or floats?"""
def is_str_list(obj: object) -> bool:
    """Is list of str?"""
def is_list_none(obj: object) -> bool | None:
    """Is list or None?"""
def matlabConvert(args: tuple[object, ...] | list[Any]) -> tuple[Any, ...]:
    """Convert Float to Int arguments for Matlab"""
def isMatlabNaming(recordFieldNaming: str) -> bool:
    """Check record field naming setup and return if is Matlab naming"""
def find_line_data(lines: Sequence[str], name: str, addLines: int, prefix: str, suffix: str,
                   maxLines: int = 3) -> str | None:
    """Find data in string line."""
def filesha256(filename: FileDescriptorOrPath, blockSize: int = 1048576) -> bytes:
    """Get sha256 of file."""
def getRootNamespace(element: _TaggedElement) -> str:
    """Get name space of a root node"""
def getRootSchema(element: _AttributedElement) -> str:
    """Get schema of a root node"""
def getModuleVersions(modules: Iterable[ModuleType | str | None]) -> str:
    """Get module versions"""
def parseMseqCapability(mSeqCap: int, pdIn: int, pdOut: int) -> _MseqCapability:
    """Parse M-Sequence capability."""
def dictRename(adict: SupportsItems[_K, _V], old: Sequence[object], new: Sequence[_NewKey]) -> dict[_K | _NewKey, _V]:
    """Rename matching dict keys"""
def dictRenameCapitals(adict: SupportsItems[str, _V]) -> dict[str, _V]:
    '''Rename "abcdEfgHij" to "Abcd Efg Hij"'''
def dictReplace(adict: SupportsItems[str, _V], old: str, new: str, strip: str | None = None) -> dict[str, _V]:
    """Rename dict key sub strings"""
def _convertToAscii(aName: str) -> str:
    """Convert UTF8 to ASCII"""
# Nested dictionaries come back converted, other values as they are.
def _dictMatlabReplace(aDict: SupportsItems[object, object], index: bool = False, dot: bool = False) -> dict[str, Any]:
    """Dict field Matlab style replacing"""
def _convertMatlabFieldName(aName: object, subIdx: object = None, index: bool = False, dot: bool = False) -> str:
    """Convert field name to Matlab style"""

# --- records ---
class DeviceStatus:
    """Device connection status returned by Orvane.status."""
    _notConnText: ClassVar[str]
    _iodd: _StatusSource
    def __init__(self, iodd: _StatusSource) -> None: ...
    # Every answer but connected is the text "not connected" while the device is not.
    @property
    def connected(self) -> bool:
        """Device connected?"""
    @property
    def lost(self) -> bool | str:
        """Device or master connection lost, wrong device or wrong data storage?"""
    @property
    def preoperate(self) -> bool | str:
        """Device is in preoperate mode?"""
    @property
    def wrongDevice(self) -> bool | str:
        """Wrong device?"""
    @property
    def pdValid(self) -> bool | str:
        """Process data in valid?"""
    @property
    def connectionError(self) -> bool | str:
        """Connection error to master?"""
    def __repr__(self) -> str:
        """Returns the object data in JSON-format."""

class IoddDev:
    """IODD device returned by Orvane.getDevices, Orvane.getConnectedDevice and IoddMaster.getDevices.

    Orvane.connect connects to that device."""
    _recordFieldNaming: bool
    _master: _RecordMaster | None
    _address: str
    _port: int
    _masterName: str | None
    _masterProdCode: str | None
    _devIdent: dict[str, Any] | None
    _page1: dict[str, Any] | None
    # Page 1 is decoded by the package; its values are what it put there.
    def __init__(self, master: _RecordMaster | None, address: str, port: int, masterName: str | None,
                 masterProdCode: str | None, devIdent: dict[str, Any] | None = None,
                 page1: dict[str, Any] | None = None, recordFieldNaming: str = 'original') -> None: ...
    @property
    def address(self) -> str:
        """Master address."""
    @property
    def portId(self) -> int:
        """Port ID."""
    @property
    def port(self) -> tuple[str, int]:
        """Port (tuple of address and port ID)."""
    @property
    def driver(self) -> str:
        """Driver name"""
    @property
    def name(self) -> str: ...
    @property
    def masterName(self) -> str:
        """Master name"""
    @property
    def vendorId(self) -> Any:
        """Vendor ID"""
    @property
    def deviceId(self) -> Any:
        """Device ID"""
    @property
    def ioLinkRevision(self) -> Any:
        """IO-Link revision"""
    @property
    def isduSupported(self) -> Any:
        """ISDU support?"""
    @property
    def page1(self) -> dict[str, Any] | None:
        """Page 1 (direct parameter page 0)"""
    @property
    def productCode(self) -> str: ...
    @property
    def masterProductCode(self) -> str:
        """Master product code."""
    @property
    def deviceIdentifier(self) -> dict[str, Any] | None:
        """Device identifiers (dict)."""
    def _getPage(self, fld: str) -> Any: ...
    def _setPage1(self, page1: dict[str, Any] | None) -> None: ...
    @staticmethod
    def _getType() -> builtins.type[IoddDev]: ...
    def __eq__(self, obj: object) -> bool: ...
    __hash__: ClassVar[None]  # type: ignore[assignment]
    def __repr__(self) -> str:
        """Returns the object data in JSON-format."""

class IoddEvent:
    _address: str
    _port: int
    _event: Sequence[Any]
    _description: str
    # event: name, code, type, mode, source, counter, time.
    def __init__(self, address: str, port: int, event: Sequence[Any], description: str) -> None: ...
    @property
    def address(self) -> str:
        """Event address"""
    @property
    def port(self) -> int:
        """Event port"""
    @property
    def description(self) -> str:
        """Event description"""
    @property
    def name(self) -> str:
        """Event name"""
    @property
    def code(self) -> int:
        """Event code"""
    # From here on the class body's own "type" hides the builtin.
    @property
    def type(self) -> str:
        """Event type"""
    @property
    def mode(self) -> str:
        """Event mode"""
    @property
    def source(self) -> str:
        """Event source"""
    @property
    def counter(self) -> int:
        """Event counting number"""
    @property
    def time(self) -> str:
        """Event time"""
    def equalKind(self, event: IoddEvent) -> bool:
        """Event is of equal kind?"""
    def __eq__(self, event: object) -> bool:
        """Event is equal?"""
    def equalExact(self, event: IoddEvent) -> bool:
        """Event is exactly equal?"""
    @staticmethod
    def _getType() -> builtins.type[IoddEvent]: ...
    def __getitem__(self, index: int) -> str | int: ...
    # Six items: the time is left out.
    def __iter__(self) -> Iterator[str | int]: ...
    __hash__: ClassVar[None]  # type: ignore[assignment]
    def __repr__(self) -> str:
        """Returns the object data in JSON-format."""

class _IoddVarAccess:
    """Variable access helper class."""
    _ioc: _VariableSource
    def __init__(self, orvane: _VariableSource) -> None:
        """Constructor."""
    def __dir__(self) -> Iterable[str]: ...
    def __getattr__(self, name: str) -> Any:
        """Read variable."""
    def __setattr__(self, name: str, value: Any) -> None:
        """Write variable."""

class _IoddSysAccess:
    """System command access helper class."""
    _ioc: _SystemCommandSource
    def __init__(self, orvane: _SystemCommandSource) -> None:
        """Constructor."""
    def __dir__(self) -> list[str]: ...
    def __getattr__(self, name: str) -> Callable[[], Any]: ...
    def __setattr__(self, name: str, value: object) -> NoReturn: ...

class AccessLocks:
    """Device access locks returned by Orvane.accessLocks."""
    _ioc: _LockSource
    def __init__(self, ioc: _LockSource) -> None: ...
    @property
    def localParameterizationLock(self) -> bool:
        """Local parameterization lock.

        True ('Locked'): control elements on the device are disabled (write protection).
        False ('Unlocked'): unlocked."""
    @localParameterizationLock.setter
    def localParameterizationLock(self, value: bool) -> None: ...
    @property
    def localUserInterfaceLock(self) -> bool:
        """Local user interface lock.

        True ('Locked'): controls and displays on the device are disabled.
        False ('Unlocked'): unlocked."""
    @localUserInterfaceLock.setter
    def localUserInterfaceLock(self, value: bool) -> None: ...
    def __repr__(self) -> str:
        """Returns the object data in JSON-format"""

class DeviceContent:
    """Device content."""
    _masterInfo: dict[str, Any] | None
    _port: int | None
    _data: object
    _ioc: object
    _recordFieldNaming: bool
    _date: str | None
    _time: str | None
    def __init__(self, masterInfo: dict[str, Any] | None = None, port: int | None = None, data: object = None,
                 ioc: object = None, recordFieldNaming: str = 'original') -> None: ...
    @property
    def master(self) -> dict[str, Any] | None:
        """Master information."""
    @property
    def port(self) -> int | None:
        """Port ID."""
    @property
    def date(self) -> str | None:
        """Date of the snapshot."""
    @property
    def time(self) -> str | None:
        """Time of the snapshot."""
    def hasIodd(self) -> bool:
        """Check if IODD is loaded"""

class MasterCommands:
    """Base master commands."""
    _master: _NamedDriver | None
    _commands: tuple[str, ...]
    def __init__(self, master: _NamedDriver | None = None) -> None: ...
    def has(self, cmd: object) -> bool:
        """Returns true iff command cmd available."""
    def getNames(self) -> tuple[str, ...]:
        """Returns tuple of command names."""
    def __repr__(self) -> str: ...

# --- process data and timing ---
class RepeatTimer(threading.Timer):
    """Repeat timer class."""
    _logger: _LoggerLike | None
    cancelled: bool
    # Extra arguments, after logger, reach every call of function.
    def __init__(self, name: str | None, interval: float, function: Callable[_P, object],
                 logger: _LoggerLike | None = None, *args: _P.args, **kwargs: _P.kwargs) -> None: ...
    def run(self) -> None: ...
    def cancel(self) -> None: ...

class ProcessDataStreamTable(prettytable.PrettyTable):
    _types: list[str]
    _names: list[str]
    def __init__(self, fieldNames: Sequence[str]) -> None: ...
    def __len__(self) -> int: ...
    @property
    def types(self) -> list[str]:
        """List of stream process data field types"""
    @property
    def names(self) -> list[str]:
        """List of stream process data field names"""
    @property
    def isRaw(self) -> bool:
        """Stream contains raw data"""
    @property
    def isDict(self) -> bool:
        """Stream cointains record data (dict)"""
    @property
    def headerNames(self) -> list[str]:
        """List of header names"""
    @property
    def datetimes(self) -> list[datetime.datetime | datetime.time | str]:
        """List of process data time stamps (datetime, time or str)"""
    @property
    def times(self) -> list[datetime.time | str]:
        """List of process data time stamps (time or str)"""
    @property
    def timesStr(self) -> list[str]:
        """List of process data time stamps (str)"""
    @property
    def count(self) -> int:
        """Number of entries (int)"""
    # Cells are what the package put into the rows: one dict per row for record data.
    @property
    def values(self) -> list[Any]:
        """List of process data values

        Multiple column values are converted to dictionaries (dict)."""

# --- statistics ---
class Stat:
    """Moving statistics"""
    count: int
    min: float
    max: float
    _sum: float
    scale: float
    format: str
    hist: deque[float] | None
    def __init__(self, scale: float = 1, strformat: str = '%s', histSize: int = 10) -> None: ...
    def add(self, value: float) -> None:
        """Add new value for statistics"""
    def getStat(self) -> _StatReport | None:
        """Get statistics (dict)"""
    def clear(self) -> None:
        """Clear"""
    @property
    def mean(self) -> float:
        """Get mean value"""
    def __repr__(self) -> str:
        """Returns the object data in JSON format"""

class StatMs(Stat):
    """Moving statistics for milliseconds"""
    def __init__(self, histSize: int = 10) -> None: ...

class StatSec(Stat):
    """Moving statistics for seconds"""
    def __init__(self, histSize: int = 10) -> None: ...

class StatMerge(Stat):
    """Merged statistics"""
    _inited: bool
    # A dict is unpacked one level; its values are figures (dict is invariant,
    # so the value type cannot be narrowed without refusing dict[int, StatMs]).
    def __init__(self, stats: Iterable[_Mergeable | dict[Any, Any]]) -> None: ...
    def _addStat(self, stat: _Mergeable) -> None:
        """Add statistics to merge"""

class BaseStatistics:
    """Base Statistics"""
    _statNames: list[str]
    def __init__(self) -> None: ...
    # Any attribute of the object, by name: a figure, a dict of them, a flag.
    def getStatistic(self, name: str) -> Any:
        """Get statistic by name"""

class Statistics(BaseStatistics):
    """Statisticts"""
    active: bool
    discoveryAllDuration: dict[tuple[str, str], StatMs]
    discoveryAddrDuration: dict[tuple[str, str], StatMs]
    discoveryAllRepeats: dict[tuple[str, str], Stat]
    discoveryAddrRepeats: dict[tuple[str, str], Stat]
    masterConnectDuration: dict[tuple[str, str], StatSec]
    receiveRepeats: dict[tuple[str, str], dict[int, Stat]]
    sendRepeats: dict[tuple[str, str], dict[int, Stat]]
    receiveDuration: dict[tuple[str, str], dict[int, StatMs]]
    sendReceiveDuration: dict[tuple[str, str], dict[int, StatMs]]
    drvConnectDuration: dict[tuple[str, str], dict[int, StatSec]]
    devConnectDuration: dict[tuple[str, int], StatSec]
    _cache: dict[tuple[str, str] | tuple[str, str, int], MasterStatistics | DevStatistics]
    _addrPorts: dict[str | None, list[int]]
    # The ten figures kept per driver and address, of both levels.
    _driverStats: list[dict[tuple[str, str], Any]]
    _addrStats: list[dict[tuple[str, int], StatSec]]
    _driverNames: list[str]
    def __init__(self, drivers: Iterable[_NamedDriver]) -> None: ...
    def checkMaster(self, sel: tuple[str, str]) -> None:
        """Check master stat and add missing"""
    def checkDev(self, drvName: str, addr: str, port: int) -> None:
        """Check device stat and add missing"""
    def clear(self, addr: str | Iterable[str] | None = None, values: str | Iterable[str] | None = None,
              driver: str | Iterable[str] | None = None) -> None:
        """Clear all statistics"""
    @staticmethod
    def _clearStat(astat: Stat | dict[Any, Any]) -> None: ...
    def getStat(self, getPorts: bool = False) -> _GlobalReport:
        """Get overall statistics (dict)"""
    def __repr__(self) -> str:
        """Returns the object data in JSON format"""
    # Without an address the selector comes from the driver's base driver and address.
    @overload
    @staticmethod
    def getMasterSel(drv: _NamedDriver, addr: str) -> tuple[str, str]:
        """Get master selector"""
    @overload
    @staticmethod
    def getMasterSel(drv: _AddressedDriver, addr: None = None) -> tuple[str, str]: ...
    # Without a port the selector comes from a port driver's master and port.
    @overload
    @staticmethod
    def getDeviceSel(drv: _NamedDriver, port: int, address: str) -> tuple[str, str, int]:
        """Get device selector"""
    @overload
    @staticmethod
    def getDeviceSel(drv: _AddressedDriver, port: int, address: None = None) -> tuple[str, str, int]: ...
    @overload
    @staticmethod
    def getDeviceSel(drv: _PortLevelDriver, port: None = None, address: str | None = None) -> tuple[str, str, int]: ...
    @staticmethod
    def stat(stat: Stat | None) -> _StatReport | None:
        """Get statistics"""
    @staticmethod
    def mergestat(stats: dict[Any, Any] | None) -> _StatReport | None:
        """Get collected statistics"""
    @overload
    def getMasterStatistics(self, drv: _NamedDriver, addr: str) -> MasterStatistics:
        """Get cached master stat."""
    @overload
    def getMasterStatistics(self, drv: _AddressedDriver, addr: None = None) -> MasterStatistics: ...
    @overload
    def getDevStatistics(self, drv: _NamedDriver, port: int, address: str) -> DevStatistics:
        """Get cached dev stat."""
    @overload
    def getDevStatistics(self, drv: _AddressedDriver, port: int, address: None = None) -> DevStatistics: ...
    @overload
    def getDevStatistics(self, drv: _PortLevelDriver, port: None = None, address: str | None = None) -> DevStatistics: ...

class MasterStatistics(BaseStatistics):
    """Master driver statisticts"""
    _drvName: str
    _addr: str
    discoveryAllDuration: StatMs
    discoveryAddrDuration: StatMs
    discoveryAllRepeats: Stat
    discoveryAddrRepeats: Stat
    masterConnectDuration: StatSec
    drvConnectDuration: dict[int, StatSec]
    receiveRepeats: dict[int, Stat]
    sendRepeats: dict[int, Stat]
    receiveDuration: dict[int, StatMs]
    sendReceiveDuration: dict[int, StatMs]
    _ports: list[int]
    _addrStats: list[Stat]
    _portStats: list[dict[int, StatSec] | dict[int, Stat] | dict[int, StatMs]]
    @overload
    def __init__(self, stat: Statistics, drv: _NamedDriver, addr: str) -> None: ...
    @overload
    def __init__(self, stat: Statistics, drv: _AddressedDriver, addr: None = None) -> None: ...
    def clear(self, ports: int | Iterable[int] | None = None, values: str | Iterable[str] | None = None) -> None:
        """Clear some or all statistics."""
    def getPortStat(self, port: int) -> _PortReport:
        """Get master port statistics (dict or None)"""
    @overload
    def getStat(self, port: None = None) -> _MasterReport:
        """Get master statistics (dict)"""
    @overload
    def getStat(self, port: int) -> _PortReport: ...
    def __repr__(self) -> str:
        """Returns the object data in JSON format"""

class DevStatistics(BaseStatistics):
    """Device statistics"""
    _drvName: str
    _addr: str
    _port: int
    receiveRepeats: Stat
    sendRepeats: Stat
    receiveDuration: StatMs
    sendReceiveDuration: StatMs
    drvConnectDuration: StatSec
    devConnectDuration: StatSec
    _stats: list[Stat]
    @overload
    def __init__(self, stat: Statistics, drv: _NamedDriver, port: int, address: str) -> None: ...
    @overload
    def __init__(self, stat: Statistics, drv: _AddressedDriver, port: int, address: None = None) -> None: ...
    @overload
    def __init__(self, stat: Statistics, drv: _PortLevelDriver, port: None = None, address: str | None = None) -> None: ...
    def clear(self, values: str | Iterable[str] | None = None) -> None:
        """Clear some or all statistics."""
    def getStat(self) -> _DeviceReport:
        """Get device statistics (dict)"""
    def __repr__(self) -> str:
        """Returns the object data in JSON format"""

class ConnStatistics(BaseStatistics):
    """Connection statistics"""
    repeats: Stat
    duration: StatSec
    errors: int
    _stats: list[Stat]
    def __init__(self) -> None: ...
    def clear(self) -> None:
        """Clear statistics"""
    def getStat(self) -> _ConnReport:
        """Get connection statistics (dict)"""
    def __repr__(self) -> str:
        """Returns the object data in JSON format"""

# --- registry ---
# The options of each driver mean something only to that driver.
class DriverOptions(dict[str, dict[str, Any]]):
    _driverNames: tuple[str, ...]
    _lowerNames: tuple[str, ...]
    _default: Self
    # At most one extra argument is usable: the initial options.
    def __init__(self, driverList: Iterable[_NamedDriver], *args: dict[str, dict[str, Any]]) -> None: ...
    @staticmethod
    def _checkOptions(options: object) -> None: ...
    def copy(self) -> Self: ...
    def reset(self) -> None: ...
    def getValidNames(self) -> tuple[str, ...]: ...
    def _setOptions(self, value: dict[str, dict[str, Any]]) -> None: ...
    def _getName(self, name: str) -> str: ...
    def __getitem__(self, key: str) -> dict[str, Any]: ...
    def __setitem__(self, key: str, value: dict[str, Any]) -> None: ...

# Ports are the caller's own keys; connected devices are the package's
# objects, which the registry keeps and hands back without looking at them.
class CommonDriverManager:
    """Manager for commonly used drivers."""
    iodd: ClassVar[_Owner | None]
    _drivers: dict[_DriverType, _BaseDriver]
    _addresses: dict[_DriverType, list[str]]
    _masters: dict[str, _MasterDriver]
    _openAddresses: dict[_DriverType, list[str]]
    _openMasters: dict[str, _MasterDriver]
    _ports: dict[str, dict[Hashable, _PortDriver]]
    _ioddmasters: dict[_DriverType, dict[str, _IoddMaster]]
    _openDevs: dict[tuple[str, Hashable], Any]
    def __init__(self) -> None: ...
    def checkBaseDriverActive(self, drvType: _DriverType) -> bool: ...
    def getBaseDrivers(self) -> dict_values[_DriverType, _BaseDriver]: ...
    def getBaseDriver(self, drvType: _DriverType) -> _BaseDriver: ...
    def addBaseDriver(self, drv: _BaseDriver) -> None: ...
    def getIoddMaster(self, baseType: _DriverType, address: str) -> _IoddMaster | None: ...
    def getIoddMasters(self) -> list[_IoddMaster]: ...
    def addIoddMaster(self, master: _IoddMaster) -> None: ...
    def removeIoddMaster(self, master: _IoddMaster) -> None: ...
    def getDriverAddresses(self, drvType: _DriverType) -> list[str]: ...
    def getMasterAddresses(self) -> list[str]: ...
    def getMasterDrivers(self) -> list[_MasterDriver]: ...
    def getMasterDriver(self, address: str) -> _MasterDriver: ...
    def checkMasterDriver(self, address: str) -> bool: ...
    def addMasterDriver(self, address: str, drv: _MasterDriver) -> None: ...
    def getActiveDriverAddresses(self, drvType: _DriverType) -> list[str]: ...
    def getActiveMasterAddresses(self) -> list[str]: ...
    def getInactiveMasterAddresses(self) -> list[str]: ...
    def getActiveMasterDrivers(self) -> list[_MasterDriver]: ...
    def getActiveMasterDriver(self, address: str) -> _MasterDriver: ...
    def checkActiveMasterDriver(self, address: str) -> bool: ...
    def addActiveMasterDriver(self, address: str, drv: _MasterDriver) -> None: ...
    def addPort(self, address: str, port: Hashable, drv: _PortDriver) -> None: ...
    def getPorts(self, address: str) -> dict[Hashable, _PortDriver]: ...
    # None for an inactive master, its empty port table for one without ports.
    def checkActivePorts(self, address: str, port: Hashable) -> bool | dict[Hashable, _PortDriver] | None: ...
    def getPortDriver(self, address: str, port: Hashable) -> _PortDriver: ...
    def getPortDrivers(self, address: str | None = None) -> list[_PortDriver]: ...
    def _getPort(self, address: str, port: Hashable) -> tuple[dict[Hashable, _PortDriver], _PortDriver]: ...
    def addConnectedDev(self, aName: tuple[str, Hashable], aDev: object) -> None: ...
    def getConnectedDev(self, aName: tuple[str, Hashable]) -> Any: ...
    def getConnectedDevs(self) -> list[Any]: ...
    # Bare ports of one master, or the whole (address, port) selectors of all.
    @overload
    def getConnectedDevPorts(self, address: None = None) -> list[tuple[str, Hashable]]: ...
    @overload
    def getConnectedDevPorts(self, address: str) -> list[Hashable]: ...
    def removeConnectedDev(self, aName: tuple[str, Hashable]) -> Any: ...
    def renameAddress(self, oldAddr: str, newAddr: str) -> None:
        """Rename master address"""
    @staticmethod
    def _renameKey(adict: dict[_K, Any], old: _K, new: _K) -> None: ...
    # force works by truth, and only removePort tells None from False.
    def removeBaseDriver(self, drvType: _DriverType, force: bool | None = False) -> None: ...
    def removeMasterDriver(self, address: str, force: bool | None = False) -> None: ...
    def removeActiveMasterDriver(self, address: str, force: bool | None = False) -> None: ...
    def removePort(self, address: str, port: Hashable, force: bool | None = False) -> None: ...

# --- failure reporting ---
class Logger:
    """Orvane Logger class."""
    _logLevel: int
    _printDate: bool
    _prefix: str
    _printSecDecimals: int
    _dateformat: str
    _decimalsscale: float
    def __init__(self, logLevel: int, prefix: str = '') -> None:
        """logLevel: 0: disable all logging, 1: print errors, 2: print warnings, 3: print info,
                  4: print read/write, 5: print read/write result, 6: print read/write data,
                  9: debug, 10: periodic debug, 11: send/recv debug"""
    def setPrefix(self, label: str) -> None: ...
    def setSecondsDecimals(self, decimals: int) -> None: ...
    def info(self, msg: str, *args: object) -> None: ...
    def warning(self, msg: str, *args: object) -> None: ...
    def deprecated(self, msg: str, *args: object) -> None: ...
    def error(self, msg: str, *args: object) -> None: ...
    def debugExecute(self, methodCall: str, *args: object) -> None: ...
    def debug(self, msg: str, *args: object) -> None: ...
    def debugPeriodic(self, msg: str, *args: object) -> None: ...
    def debugSendRecv(self, msg: str, *args: object) -> None: ...
    def rw(self, msg: str, *args: object) -> None: ...
    def rwr(self, msg: str, *args: object) -> None: ...
    def rwd(self, msg: str, *args: object) -> None: ...
    def log(self, level: int, head: str, msg: str, *args: object) -> None: ...

_Mode: TypeAlias = Literal['raise', 'lastError']

class ErrorHandler:
    """Orvane error handler."""
    _mode: int
    maxStackLength: int
    _logger: _LoggerLike
    _errorStack: list[str]
    _lastErrorCode: int
    # Normally a text; the second of two exception arguments as it came.
    _lastError: Any
    # The default logger is one Logger(0), shared by every handler made without one.
    def __init__(self, mode: _Mode = 'raise', logger: _LoggerLike = ...) -> None: ...
    @property
    def mode(self) -> _Mode | None:
        """Get mode"""
    @mode.setter
    def mode(self, value: _Mode) -> None:
        """Set mode"""
    @property
    def logLevel(self) -> int:
        """Get mode"""
    @logLevel.setter
    def logLevel(self, value: int) -> None:
        """Set mode"""
    # mode, when given, is the number of a mode: 1 raises.
    def handleError(self, error: BaseException, mode: int | None = None, errInfo: object = None) -> None: ...
    def clearLastError(self) -> None: ...
    def getErrorList(self) -> list[str]: ...
    def getLastError(self) -> Any: ...
    def getLastErrorCode(self) -> int: ...
    @staticmethod
    def getErrorMsg(errCode: int) -> str: ...

class NotImplementedAbstract(NotImplementedError):
    """Not implemented abstract exception"""
    def __init__(self) -> None: ...

class NotImplementedYet(NotImplementedError):
    """Not implemented yet exception"""
    def __init__(self, message: str | None = '') -> None: ...

class OrvaneException(Exception):
    """Base class for Orvane exceptions"""
    message: str
    # Only set when the code given is an int.
    code: int
    def __init__(self, message: str, code: int = -1) -> None: ...

class NonConformIoddException(OrvaneException):
    """Non conform IODD exception"""
    def __init__(self, message: str) -> None: ...

class IoddCollectionException(OrvaneException):
    """IoddCollection exception"""
    def __init__(self, message: str) -> None: ...

class DriverException(OrvaneException):
    """Orvane driver exception"""
    def __init__(self, message: str) -> None: ...

class CouldNotOpenMasterException(DriverException):
    """Could not open master driver exception"""
    def __init__(self, message: str) -> None: ...

class InvalidCallException(DriverException):
    """Invalid driver call exception"""
    def __init__(self, message: str) -> None: ...

class MasterException(DriverException):
    """Orvane master exception"""
    def __init__(self, address: str, bytesdata: bytes | bytearray | memoryview) -> None: ...

class NotConnectedException(OrvaneException):
    """Not connected exception"""
    def __init__(self) -> None: ...

class MasterNotConnectedException(NotConnectedException):
    """Master not connected exception"""
    def __init__(self) -> None: ...

class NotSupportedError(DriverException):
    """Not supported exception"""
    def __init__(self, message: str | None = None, name: object = None) -> None: ...

class CommunicationFailedError(DriverException):
    """Communication failed exception"""
    def __init__(self) -> None: ...

class MasterMalfunctionException(DriverException):
    """Master malfunction exception"""
    def __init__(self, masterDrv: _MalfunctioningMaster) -> None: ...

class CommException(DriverException):
    """Communication exception."""
    def __init__(self, message: str) -> None: ...

class RequestException(DriverException):
    """Request exception."""
    def __init__(self, message: str, code: int = 0) -> None: ...

class IOLinkException(OrvaneException):
    """IO-Link exception"""
    # A numeric IO-Link error (a code, or its high and low byte) with an
    # object that has the texts, or None for the generic one; or a text with
    # its code, or with the object that knows the code.
    @overload
    def __init__(self, message: int | list[int] | tuple[int, ...], code: _IoLinkErrorTexts | None) -> None: ...
    @overload
    def __init__(self, message: str, code: int | _IoLinkErrorTexts) -> None: ...

class InvalidIoddException(OrvaneException):
    """Invalid IODD exception"""
    def __init__(self, fn: object) -> None: ...

class NotSupportedBySimDeviceException(OrvaneException):
    """Function not supported by simulation device exception"""
    def __init__(self) -> None: ...

class SimNotPluggedinException(OrvaneException):
    """Simulation device or master not plugged in exception"""
    def __init__(self, message: str | None = '') -> None: ...

class NotSimulatorException(OrvaneException):
    """Not simulator exception"""
    def __init__(self) -> None: ...

class NoIoLinkException(OrvaneException):
    """IO-Link not active exception"""
    def __init__(self) -> None: ...

class IndexUnavailableException(OrvaneException):
    """Index unavailable exception."""
    def __init__(self, message: str) -> None: ...

class TTimeException(OrvaneException):
    """TTime exception."""
    def __init__(self, message: str) -> None: ...

class RecordFieldException(OrvaneException):
    """Record field exception."""
    def __init__(self, message: str) -> None: ...

class BlockParameterException(OrvaneException):
    """Block parameter exception"""
    def __init__(self, message: str) -> None: ...

class BlockParameterNotAllowedException(BlockParameterException):
    """Block parameter command not allowed exception"""
    def __init__(self) -> None: ...

class BlockParameterAlreadyActiveException(BlockParameterException):
    """Block parameter already active exception"""
    def __init__(self) -> None: ...

class BlockParameterWritingNotActiveException(BlockParameterException):
    """Block parameter writing not active exception"""
    def __init__(self) -> None: ...

class BlockParameterReadingNotActiveException(BlockParameterException):
    """Block parameter reading not active exception"""
    def __init__(self) -> None: ...
