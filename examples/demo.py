"""A short walk through the module: logging and failure handling."""
import vantrel.base.Tessarine as T

logger = T.Logger(3)
logger.setPrefix("demo")
logger.info("connected to %s", "10.0.0.1")
logger.rw("a read/write line, filtered out at level %d", 3)

handler = T.ErrorHandler(mode="lastError", logger=logger)
handler.handleError(T.MasterException("10.0.0.1", b"\x01\xab"))
handler.handleError(T.IOLinkException([0x80, 0x11], None), errInfo="port 2")
print("last error:", handler.getLastError(), "code", handler.getLastErrorCode())
print("error list:", handler.getErrorList())

handler.mode = "raise"
try:
    handler.handleError(T.NotSupportedError(name="port"))
except T.DriverException as error:
    print("raised:", error)
