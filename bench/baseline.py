"""The benchmarked operations written in plain Python, the way the module behaves.

This is the yardstick of bench/run.py: each class and function does what its
native counterpart does, with the same names, texts and quirks, and looks the
module's other names up at each call like the native code does.  It holds only
what the benchmarked operations and the benchmark's inputs need.
"""
import array
import datetime
import json
import re
import time
from collections import deque

import prettytable

try:
    import numpy as np
except ImportError:
    np = None


# ---------------------------------------------------------------- exceptions

class OrvaneException(Exception):
    """Base class for Orvane exceptions"""

    def __init__(self, message, code=-1):
        self.message = message
        if isinstance(code, int):
            self.code = code
        Exception.__init__(self, message)


class DriverException(OrvaneException):
    """Orvane driver exception"""

    def __init__(self, message):
        OrvaneException.__init__(self, message)


# ------------------------------------------------------------ logger, handler

class Logger(object):
    """Orvane Logger class."""

    def __init__(self, logLevel, prefix=''):
        self._logLevel = logLevel
        self._printDate = True
        self._prefix = prefix
        self.setSecondsDecimals(1)

    def setPrefix(self, label):
        self._prefix = " " + label

    def setSecondsDecimals(self, decimals):
        self._printSecDecimals = decimals
        if not decimals:
            self._dateformat = "%H:%M:%S"
            return
        self._dateformat = "%.2d:%.2d:%.2d.%." + str(decimals) + "d"
        self._decimalsscale = 10 ** (6 - decimals)

    def info(self, msg, *args):
        self.log(3, "INFO: ", msg, *args)

    def warning(self, msg, *args):
        self.log(2, "WARNING: ", msg, *args)

    def deprecated(self, msg, *args):
        self.log(0, "DEPRECATED: ", msg, *args)

    def error(self, msg, *args):
        self.log(1, "ERROR: ", msg, *args)

    def debugExecute(self, methodCall, *args):
        self.log(9, "DEBUG: calling ", methodCall, *args)

    def debug(self, msg, *args):
        self.log(9, "DEBUG: ", msg, *args)

    def debugPeriodic(self, msg, *args):
        self.log(10, "DEBUG: ", msg, *args)

    def debugSendRecv(self, msg, *args):
        self.log(11, "DEBUG: ", msg, *args)

    def rw(self, msg, *args):
        self.log(4, "R/W: ", msg, *args)

    def rwr(self, msg, *args):
        self.log(5, "R/W Result: ", msg, *args)

    def rwd(self, msg, *args):
        self.log(6, "R/W Data: ", msg, *args)

    def log(self, level, head, msg, *args):
        if self._logLevel < level:
            return
        if not self._printDate:
            timeText = ''
        elif self._printSecDecimals:
            now = datetime.datetime.now()
            timeText = self._dateformat % (now.hour, now.minute, now.second,
                                           int(now.microsecond / self._decimalsscale))
        else:
            timeText = time.strftime(self._dateformat)
        print("[" + timeText + self._prefix + "] " + head + msg % args)


class ErrorHandler(object):
    """Orvane error handler."""

    def __init__(self, mode='raise', logger=Logger(0)):
        self._mode = 1
        self.maxStackLength = 100
        self._logger = logger
        self._errorStack = []
        self.mode = mode
        self._lastErrorCode = 0
        self._lastError = ''
        self.clearLastError()

    @property
    def mode(self):
        """Get mode"""
        return {1: 'raise', 2: 'lastError'}.get(self._mode)

    @mode.setter
    def mode(self, value):
        """Set mode"""
        try:
            modes = {'raise': 1, 'lastError': 2}
            if value not in modes:
                raise Exception("invalid mode: %s" % (value,))
            self._mode = modes[value]
        except Exception as error:
            self.handleError(error)

    def handleError(self, error, mode=None, errInfo=None):
        self._lastErrorCode = -1
        if mode is None:
            mode = self._mode
        msg = ''
        if hasattr(error, 'message'):
            self._lastError = error.message
            if hasattr(error, 'code') and error.code != -1:
                self._lastErrorCode = error.code
                msg = "%s (error code %s)" % (error.message, error.code)
            else:
                msg = error.message
            if errInfo:
                msg += " [%s]" % (errInfo,)
        elif hasattr(error, 'args'):
            if len(error.args) == 2:
                self._lastError = error.args[1]
                if isinstance(error.args[1], tuple) and len(error.args[1]) == 4:
                    msg = '%s: File "%s", line %s, col %s: %s' % ((error.args[0],) + error.args[1])
                else:
                    msg = str(error.args[1]) + " (" + str(error.args[0]) + ")"
            else:
                for arg in error.args:
                    msg += str(arg) + " "
                msg = msg.rstrip()
                self._lastError = msg
        else:
            msg = "DANGEROUS"
            self._lastError = msg
        self._logger.error(msg)
        self._errorStack.append(msg)
        if len(self._errorStack) > self.maxStackLength:
            self._errorStack.pop(0)
        if mode == 1:
            raise error

    def clearLastError(self):
        self._lastErrorCode = 0
        self._lastError = ''

    def getErrorList(self):
        return self._errorStack

    def getLastError(self):
        return self._lastError

    def getLastErrorCode(self):
        return self._lastErrorCode


# ---------------------------------------------------------- value helpers

def toHex(arr, pre='0x'):
    """Convert byte array to hex string '0x...'"""
    return pre + "".join(format(x, '02X') for x in arr)


def toHexDelim(arr, delim=''):
    """Format bytes into hex format AB.CD.EF"""
    return delim.join(format(x, '02X') for x in arr)


def undefIfNone(obj):
    """Returns x if not None, else 'undefined'"""
    return "undefined" if obj is None else obj


def dict_depth(d):
    if not isinstance(d, dict):
        return 0
    if not d:
        return 1
    return 1 + max(map(dict_depth, d.values()))


def is_list(obj):
    """Is list?"""
    if isinstance(obj, (list, tuple, range, set, array.array, memoryview)):
        return True
    if np is None:
        return np
    return isinstance(obj, np.ndarray)


# ------------------------------------------------------------ field naming

def matlabConvert(args):
    """Convert Float to Int arguments for Matlab"""
    for i, arg in enumerate(args):
        if isinstance(arg, float):
            if isinstance(args, tuple):
                args = list(args)
            args[i] = int(arg)
        elif is_list(arg):
            if isinstance(arg, array.array):
                if isinstance(args, tuple):
                    args = list(args)
                arg = list(arg)
                args[i] = arg
            for j, val in enumerate(arg):
                if isinstance(val, float):
                    if isinstance(args, tuple):
                        args = list(args)
                    arg[j] = int(val)
    if isinstance(args, list):
        return tuple(args)
    return args


def isMatlabNaming(recordFieldNaming):
    """Check record field naming setup and return if is Matlab naming"""
    naming = recordFieldNaming.lower()
    namings = ["original", "matlab"]
    if naming not in namings:
        raise OrvaneException("Invalid record field naming: %s" % (recordFieldNaming,))
    return naming != namings[0]


def _convertToAscii(aName):
    """Convert UTF8 to ASCII"""
    for umlaut, plain in (("ä", "ae"), ("ö", "oe"), ("ü", "ue"), ("Ä", "Ae"), ("Ö", "Oe"), ("Ü", "Ue"),
                          ("ß", "ss"), ("é", "e"), ("è", "e"), ("á", "a"), ("à", "a")):
        aName = aName.replace(umlaut, plain)
    return aName


def _convertMatlabFieldName(aName, subIdx=None, index=False, dot=False):
    """Convert field name to Matlab style"""
    if isinstance(aName, tuple) and len(aName) == 2 and not isinstance(aName[0], str):
        aName = "index_%s_%s" % (aName[0], aName[1])
    elif not isinstance(aName, str):
        aName = str(aName)
    aName = aName.replace("\\", "_")
    fldML = _convertToAscii(aName)
    fldML = re.sub("[^a-zA-Z0-9_.]" if dot else "[^a-zA-Z0-9_]", "_", fldML)
    if re.fullmatch("[0-9]+", fldML):
        fldML = ("index_" if index else "subIdx_") + fldML
    revals = "[a-zA-Z0-9]"
    if subIdx and len(re.findall(revals, aName)) > 2 and len(re.findall(revals, fldML)) < 3:
        fldML = "subIdx_%s" % subIdx
    return fldML


def _dictMatlabReplace(aDict, index=False, dot=False):
    """Dict field Matlab style replacing"""
    ret = {}
    for key, value in aDict.items():
        if isinstance(value, dict):
            value = _dictMatlabReplace(value, index, dot)
        ret[_convertMatlabFieldName(key, index=index, dot=dot)] = value
    return ret


# ------------------------------------------------------ M-sequence capability

def parseMseqCapability(mSeqCap, pdIn, pdOut):
    """Parse M-Sequence capability."""
    if pdIn == 0 and pdOut == 0:
        isduByteLen = (mSeqCap >> 1) & 8
        seq = {1: "TYPE_0", 2: "TYPE_1_2"}.get(isduByteLen)
    elif pdIn > 2 or pdOut > 2:
        isduByteLen = 2
        seq = "TYPE_1_1/1_2"
    else:
        isduByteLen = 1
        seq = "TYPE_2_%d" % (pdIn + (pdOut + 2 + (pdIn > 0)) * (pdOut > 0))
    preoperate = (mSeqCap >> 4) & 3
    return {
        "IsduSupport": (mSeqCap & 1) > 0,
        "Operate": {"type": seq, "IsduByteLength": isduByteLen},
        "Preoperate": {
            "type": {0: "TYPE_0", 1: "TYPE_1_2", 2: "TYPE_1_V"}.get(preoperate),
            "IsduByteLength": {0: 1, 1: 2, 2: 8, 3: 32}.get(preoperate),
            "MinRecoveryBitTime": {0: 100, 1: 100, 2: 210, 3: 550}.get(preoperate),
        },
    }


# ---------------------------------------------------------------- registry

class CommonDriverManager(object):
    """Manager for commonly used drivers."""

    iodd = None

    def __init__(self):
        self._drivers = {}
        self._addresses = {}
        self._masters = {}
        self._openAddresses = {}
        self._openMasters = {}
        self._ports = {}
        self._ioddmasters = {}
        self._openDevs = {}

    def addBaseDriver(self, drv):
        drvType = type(drv)
        if drvType in self._drivers:
            raise DriverException("Driver already registered: %s." % drv.driverName())
        self._drivers[drvType] = drv
        self._addresses[drvType] = []
        self._openAddresses[drvType] = []
        self._ioddmasters[drvType] = {}
        if CommonDriverManager.iodd:
            CommonDriverManager.iodd._logger.debug('Opened base driver "%s".', drv.driverName())

    def getMasterDriver(self, address):
        drv = self._masters.get(address)
        if drv is None:
            raise DriverException("No master registered for %s." % address)
        return drv

    def addMasterDriver(self, address, drv):
        if address in self._masters:
            raise DriverException("Master already registered for %s." % address)
        drvType = drv.getBaseDriverType()
        self._addresses[drvType].append(address)
        self._masters[address] = drv

    def addActiveMasterDriver(self, address, drv):
        if address in self._openMasters:
            raise DriverException("Active master already registered for %s." % address)
        drvType = drv.getBaseDriverType()
        self._openAddresses[drvType].append(address)
        self._openMasters[address] = drv
        self._ports[address] = {}
        if CommonDriverManager.iodd:
            info = drv._masterInfo
            if not info:
                info = drv.getMasterInfo()
            name = info.get("Product Name")
            if not name:
                name = info.get("Product Code")
            ser = info.get("Serial Number")
            serialnr = ", S/N: " + ser if ser else ""
            CommonDriverManager.iodd._logger.debug('%s master connected to "%s": %s%s',
                                                   drv.driverName(), address, name, serialnr)

    def addPort(self, address, port, drv):
        if self.checkActivePorts(address, port):
            raise DriverException("Master %s has already active port %s." % (address, port))
        self._ports[address][port] = drv

    def checkActivePorts(self, address, port):
        ports = self._ports.get(address)
        if not ports:
            return ports
        return port in ports

    def getPortDriver(self, address, port):
        return self._getPort(address, port)[1]

    def _getPort(self, address, port):
        ports = self._ports.get(address)
        if not ports:
            raise DriverException("Cannot access port for inactive %s." % address)
        if port not in ports:
            raise DriverException("Port %s not available for %s." % (port, address))
        return ports, ports[port]

    def addConnectedDev(self, aName, aDev):
        self._openDevs[aName] = aDev

    def getConnectedDev(self, aName):
        return self._openDevs.get(aName)


# -------------------------------------------------------------- statistics

class Stat(object):
    """Moving statistics"""

    def __init__(self, scale=1, strformat="%s", histSize=10):
        self.count = 0
        self.min = 1000000.0
        self.max = -1000000.0
        self._sum = 0
        self.scale = scale
        self.format = strformat
        self.hist = deque([], histSize) if histSize else None

    def add(self, value):
        """Add new value for statistics"""
        self.count += 1
        self._sum += value
        if value < self.min:
            self.min = value
        if value > self.max:
            self.max = value
        if self.hist:
            self.hist.append(value)

    def getStat(self):
        """Get statistics (dict)"""
        if not self.count:
            return None
        ret = {
            "count": self.count,
            "min": self.format % (self.min * self.scale),
            "max": self.format % (self.max * self.scale),
        }
        if self.min != self.max:
            ret["mean"] = self.format % (self.mean * self.scale)
            if self.hist:
                ret["hist"] = [self.format % (value * self.scale) for value in self.hist]
        return ret

    def clear(self):
        """Clear"""
        self.count = 0
        self.min = 1000000.0
        self.max = -1000000.0
        self._sum = 0.0
        if self.hist:
            self.hist.clear()

    @property
    def mean(self):
        """Get mean value"""
        return self._sum / self.count

    def __repr__(self):
        """Returns the object data in JSON format"""
        return json.dumps(self.getStat(), indent=4, ensure_ascii=False)


class StatMs(Stat):
    """Moving statistics for milliseconds"""

    def __init__(self, histSize=10):
        Stat.__init__(self, 1000, "%.3f ms", histSize)


class StatSec(Stat):
    """Moving statistics for seconds"""

    def __init__(self, histSize=10):
        Stat.__init__(self, 1, "%.3f s", histSize)


class StatMerge(Stat):
    """Merged statistics"""

    def __init__(self, stats):
        Stat.__init__(self, 1, "", 0)
        self._inited = False
        for stat in stats:
            if isinstance(stat, dict):
                for value in stat.values():
                    self._addStat(value)
            else:
                self._addStat(stat)

    def _addStat(self, stat):
        """Add statistics to merge"""
        if not self._inited:
            self.scale = stat.scale
            self.format = stat.format
            self._inited = True
        self.count += stat.count
        self._sum += stat._sum
        if stat.min < self.min:
            self.min = stat.min
        if stat.max > self.max:
            self.max = stat.max


class BaseStatistics(object):
    """Base Statistics"""

    def __init__(self):
        self._statNames = []
        for name in dir(self):
            if not name.startswith("_") and isinstance(getattr(self, name), (dict, Stat)):
                self._statNames.append(name)

    def getStatistic(self, name):
        """Get statistic by name"""
        if hasattr(self, name):
            return getattr(self, name)
        raise KeyError("Statistic not found: %s" % name)


def _portStat(figures, port):
    """The report of one port over the five per-port figures, given in report order."""
    names = ("drvConnectDuration", "receiveRepeats", "sendRepeats", "receiveDuration", "sendReceiveDuration")
    return {name: Statistics.stat(figure.get(port)) for name, figure in zip(names, figures)}


class Statistics(BaseStatistics):
    """Statisticts"""

    def __init__(self, drivers):
        self.active = True
        self.discoveryAllDuration = {}
        self.discoveryAddrDuration = {}
        self.discoveryAllRepeats = {}
        self.discoveryAddrRepeats = {}
        self.masterConnectDuration = {}
        self.receiveRepeats = {}
        self.sendRepeats = {}
        self.receiveDuration = {}
        self.sendReceiveDuration = {}
        self.drvConnectDuration = {}
        self.devConnectDuration = {}
        self._cache = {}
        self._addrPorts = {"sim": []}
        self._driverStats = [self.discoveryAllDuration, self.discoveryAddrDuration, self.discoveryAllRepeats,
                             self.discoveryAddrRepeats, self.masterConnectDuration, self.drvConnectDuration,
                             self.receiveRepeats, self.sendRepeats, self.receiveDuration, self.sendReceiveDuration]
        self._addrStats = [self.devConnectDuration]
        self._driverNames = [drv.driverName() for drv in drivers]
        BaseStatistics.__init__(self)

    def checkMaster(self, sel):
        """Check master stat and add missing"""
        if sel not in self.discoveryAllDuration:
            self.discoveryAllDuration[sel] = StatMs()
            self.discoveryAddrDuration[sel] = StatMs()
            self.discoveryAllRepeats[sel] = Stat()
            self.discoveryAddrRepeats[sel] = Stat()
            self.masterConnectDuration[sel] = StatSec()
        if sel not in self.receiveRepeats:
            self.receiveRepeats[sel] = {}
            self.sendRepeats[sel] = {}
            self.receiveDuration[sel] = {}
            self.sendReceiveDuration[sel] = {}
            self.drvConnectDuration[sel] = {}

    def checkDev(self, drvName, addr, port):
        """Check device stat and add missing"""
        sel = (drvName, addr)
        selcom = (addr, port)
        self.checkMaster(sel)
        if port not in self.receiveRepeats[sel]:
            self.receiveRepeats[sel][port] = Stat()
            self.sendRepeats[sel][port] = Stat()
            self.receiveDuration[sel][port] = StatMs()
            self.sendReceiveDuration[sel][port] = StatMs()
            self.drvConnectDuration[sel][port] = StatSec()
        if selcom not in self.devConnectDuration:
            self.devConnectDuration[selcom] = StatSec()

    def getStat(self, getPorts=False):
        """Get overall statistics (dict)"""
        ret = {
            "discoveryAllDuration": Statistics.mergestat(self.discoveryAllDuration),
            "discoveryAddrDuration": Statistics.mergestat(self.discoveryAddrDuration),
            "discoveryAllRepeats": Statistics.mergestat(self.discoveryAllRepeats),
            "discoveryAddrRepeats": Statistics.mergestat(self.discoveryAddrRepeats),
            "masterConnectDuration": Statistics.mergestat(self.masterConnectDuration),
            "drvConnectDuration": Statistics.mergestat(self.drvConnectDuration),
            "devConnectDuration": Statistics.mergestat(self.devConnectDuration),
            "receiveRepeats": Statistics.mergestat(self.receiveRepeats),
            "sendRepeats": Statistics.mergestat(self.sendRepeats),
            "receiveDuration": Statistics.mergestat(self.receiveDuration),
            "sendReceiveDuration": Statistics.mergestat(self.sendReceiveDuration),
        }
        masters = {}
        ret["masters"] = masters
        for sel in self.receiveRepeats:
            masterread = self.receiveRepeats.get(sel)
            master = {
                "driver": sel[0],
                "discoveryAllDuration": Statistics.stat(self.discoveryAllDuration.get(sel)),
                "discoveryAddrDuration": Statistics.stat(self.discoveryAddrDuration.get(sel)),
                "discoveryAllRepeats": Statistics.stat(self.discoveryAllRepeats.get(sel)),
                "discoveryAddrRepeats": Statistics.stat(self.discoveryAddrRepeats.get(sel)),
                "masterConnectDuration": Statistics.stat(self.masterConnectDuration.get(sel)),
                "drvConnectDuration": Statistics.mergestat(self.drvConnectDuration.get(sel)),
                "receiveRepeats": Statistics.mergestat(masterread),
                "sendRepeats": Statistics.mergestat(self.sendRepeats.get(sel)),
                "receiveDuration": Statistics.mergestat(self.receiveDuration.get(sel)),
                "sendReceiveDuration": Statistics.mergestat(self.sendReceiveDuration.get(sel)),
            }
            if getPorts and masterread:
                figures = (self.drvConnectDuration[sel], self.receiveRepeats[sel], self.sendRepeats[sel],
                           self.receiveDuration[sel], self.sendReceiveDuration[sel])
                master["ports"] = {port: _portStat(figures, port) for port in masterread}
            masters[sel[1]] = master
        return ret

    def __repr__(self):
        """Returns the object data in JSON format"""
        return json.dumps({"GlobalStatistics": self.getStat()}, indent=4, ensure_ascii=False)

    @staticmethod
    def getMasterSel(drv, addr=None):
        """Get master selector"""
        drvName = drv.driverName()
        if drvName == "Sim":
            return (drvName, "sim")
        if addr:
            return (drvName, addr)
        return (drv.baseDrv.driverName(), drv.address)

    @staticmethod
    def getDeviceSel(drv, port=None, address=None):
        """Get device selector"""
        drvName = drv.driverName()
        if drvName == "Sim":
            return (drvName, "sim", 0)
        if port is None and hasattr(drv, "master"):
            return (drv.baseDrv.driverName(), drv.master.address, drv.port)
        if address is None:
            return (drv.baseDrv.driverName(), drv.address, port)
        return (drvName, address, port)

    @staticmethod
    def stat(stat):
        """Get statistics"""
        if stat:
            return stat.getStat()
        return None

    @staticmethod
    def mergestat(stats):
        """Get collected statistics"""
        if not stats:
            return None
        return StatMerge(list(stats.values())).getStat()

    def getMasterStatistics(self, drv, addr=None):
        """Get cached master stat."""
        sel = Statistics.getMasterSel(drv, addr)
        cached = self._cache.get(sel)
        if cached:
            return cached
        if addr not in self._addrPorts:
            self._addrPorts[addr] = []
        masterStat = MasterStatistics(self, drv, addr)
        self._cache[sel] = masterStat
        return masterStat

    def getDevStatistics(self, drv, port=None, address=None):
        """Get cached dev stat."""
        sel = Statistics.getDeviceSel(drv, port, address)
        cached = self._cache.get(sel)
        if cached:
            return cached
        addr = sel[1]
        if addr not in self._addrPorts:
            self._addrPorts[addr] = []
        aport = sel[2]
        if aport not in self._addrPorts[addr]:
            self._addrPorts[addr].append(aport)
        devStat = DevStatistics(self, drv, port, address)
        self._cache[sel] = devStat
        return devStat


class MasterStatistics(BaseStatistics):
    """Master driver statisticts"""

    def __init__(self, stat, drv, addr=None):
        sel = Statistics.getMasterSel(drv, addr)
        stat.checkMaster(sel)
        self._drvName = sel[0]
        self._addr = sel[1]
        self.discoveryAllDuration = stat.discoveryAllDuration[sel]
        self.discoveryAddrDuration = stat.discoveryAddrDuration[sel]
        self.discoveryAllRepeats = stat.discoveryAllRepeats[sel]
        self.discoveryAddrRepeats = stat.discoveryAddrRepeats[sel]
        self.masterConnectDuration = stat.masterConnectDuration[sel]
        self.drvConnectDuration = stat.drvConnectDuration[sel]
        self.receiveRepeats = stat.receiveRepeats[sel]
        self.sendRepeats = stat.sendRepeats[sel]
        self.receiveDuration = stat.receiveDuration[sel]
        self.sendReceiveDuration = stat.sendReceiveDuration[sel]
        self._ports = stat._addrPorts[addr]
        self._addrStats = [self.discoveryAllDuration, self.discoveryAddrDuration, self.discoveryAllRepeats,
                           self.discoveryAddrRepeats, self.masterConnectDuration]
        self._portStats = [self.drvConnectDuration, self.receiveRepeats, self.sendRepeats,
                           self.receiveDuration, self.sendReceiveDuration]
        BaseStatistics.__init__(self)

    def getPortStat(self, port):
        """Get master port statistics (dict or None)"""
        return _portStat(self._portStats, port)

    def getStat(self, port=None):
        """Get master statistics (dict)"""
        if port is not None:
            return self.getPortStat(port)
        return {
            "driver": self._drvName,
            "address": self._addr,
            "discoveryAllDuration": Statistics.stat(self.discoveryAllDuration),
            "discoveryAllRepeats": Statistics.stat(self.discoveryAllRepeats),
            "discoveryAddrDuration": Statistics.stat(self.discoveryAddrDuration),
            "discoveryAddrRepeats": Statistics.stat(self.discoveryAddrRepeats),
            "masterConnectDuration": Statistics.stat(self.masterConnectDuration),
            "drvConnectDuration": Statistics.mergestat(self.drvConnectDuration),
            "receiveRepeats": Statistics.mergestat(self.receiveRepeats),
            "sendRepeats": Statistics.mergestat(self.sendRepeats),
            "receiveDuration": Statistics.mergestat(self.receiveDuration),
            "sendReceiveDuration": Statistics.mergestat(self.sendReceiveDuration),
            "ports": {port: self.getPortStat(port) for port in self.receiveRepeats},
        }

    def __repr__(self):
        """Returns the object data in JSON format"""
        return json.dumps({"MasterStatistics": self.getStat()}, indent=4, ensure_ascii=False)


class DevStatistics(BaseStatistics):
    """Device statistics"""

    def __init__(self, stat, drv, port=None, address=None):
        drvName, addr, port = Statistics.getDeviceSel(drv, port, address)
        stat.checkDev(drvName, addr, port)
        sel = (drvName, addr)
        selcom = (addr, port)
        self._drvName = drvName
        self._addr = addr
        self._port = port
        self.receiveRepeats = stat.receiveRepeats[sel][port]
        self.sendRepeats = stat.sendRepeats[sel][port]
        self.receiveDuration = stat.receiveDuration[sel][port]
        self.sendReceiveDuration = stat.sendReceiveDuration[sel][port]
        self.drvConnectDuration = stat.drvConnectDuration[sel][port]
        self.devConnectDuration = stat.devConnectDuration[selcom]
        self._stats = [self.receiveRepeats, self.sendRepeats, self.receiveDuration,
                       self.sendReceiveDuration, self.drvConnectDuration, self.devConnectDuration]
        BaseStatistics.__init__(self)

    def getStat(self):
        """Get device statistics (dict)"""
        return {
            "driver": self._drvName,
            "address": self._addr,
            "port": self._port,
            "drvConnectDuration": Statistics.stat(self.drvConnectDuration),
            "devConnectDuration": Statistics.stat(self.devConnectDuration),
            "sendRepeats": Statistics.stat(self.sendRepeats),
            "receiveRepeats": Statistics.stat(self.receiveRepeats),
            "receiveDuration": Statistics.stat(self.receiveDuration),
            "sendReceiveDuration": Statistics.stat(self.sendReceiveDuration),
        }

    def __repr__(self):
        """Returns the object data in JSON format"""
        return json.dumps({"DeviceStatistics": self.getStat()}, indent=4, ensure_ascii=False)


# ----------------------------------------------------------------- records

class IoddDev(object):
    """IODD device returned by Orvane.getDevices, Orvane.getConnectedDevice and IoddMaster.getDevices.
    Orvane.connect connects to this device."""

    def __init__(self, master, address, port, masterName, masterProdCode, devIdent=None, page1=None,
                 recordFieldNaming='original'):
        self._recordFieldNaming = isMatlabNaming(recordFieldNaming)
        if page1 and self._recordFieldNaming:
            page1 = _dictMatlabReplace(page1)
        self._master = master
        self._address = address
        self._port = port
        self._masterName = masterName
        self._masterProdCode = masterProdCode
        self._devIdent = devIdent
        self._page1 = page1

    @property
    def address(self):
        """Master address."""
        return self._address

    @property
    def portId(self):
        """Port ID."""
        if not self._master or not self._master.baseDrv.portNumbering:
            return self._port
        return self._port + 1

    @property
    def port(self):
        """Port (tuple of address and port ID)."""
        return (self._address, self.portId)

    @property
    def masterName(self):
        """Master name"""
        return undefIfNone(self._masterName)

    @property
    def vendorId(self):
        """Vendor ID"""
        return self._getPage("Vendor ID")

    @property
    def deviceId(self):
        """Device ID"""
        return self._getPage("Device ID")

    def _getPage(self, fld):
        if not self._page1:
            return None
        if fld not in self._page1 and self._recordFieldNaming:
            fld = _convertMatlabFieldName(fld)
        return self._page1[fld]


class IoddEvent(object):
    def __init__(self, address, port, event, description):
        self._address = address
        self._port = port
        self._event = event
        self._description = description

    @property
    def address(self):
        """Event address"""
        return self._address

    @property
    def port(self):
        """Event port"""
        return self._port

    @property
    def description(self):
        """Event description"""
        return self._description

    @property
    def name(self):
        """Event name"""
        return self._event[0]

    @property
    def code(self):
        """Event code"""
        return self._event[1]

    @property
    def type(self):
        """Event type"""
        return self._event[2]

    @property
    def mode(self):
        """Event mode"""
        return self._event[3]

    @property
    def source(self):
        """Event source"""
        return self._event[4]

    @property
    def counter(self):
        """Event counting number"""
        return self._event[5]

    def equalKind(self, event):
        """Event is of equal kind?"""
        return (self.code == event.code and self.source == event.source
                and self.type == event.type and self.mode == event.mode)

    def __eq__(self, event):
        """Event is equal?"""
        return (self.equalKind(event) and self.address == event.address
                and self.port == event.port and self.counter == event.counter)

    def equalExact(self, event):
        """Event is exactly equal?"""
        return self.__eq__(event) and self.name == event.name and self.description == event.description


# ------------------------------------------------------------ process data

class ProcessDataStreamTable(prettytable.PrettyTable):
    def __init__(self, fieldNames):
        prettytable.PrettyTable.__init__(self, fieldNames)
        fields = fieldNames[1:]
        self._types = [re.match(r".*\((.*)\)", field).group(1) for field in fields]
        self._names = [re.match(r"(.*) \(.*\)", field).group(1) for field in fields]

    @property
    def isDict(self):
        """Stream cointains record data (dict)"""
        return len(self._names) > 1

    @property
    def values(self):
        """List of process data values"""
        names = self._names
        rows = self.rows
        if self.isDict:
            return [dict(zip(names, x[1:])) for x in rows]
        return [x[1] for x in rows]
