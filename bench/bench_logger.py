"""The logger's filtered high-rate operations and the error handler's path.

Run: .venv/bin/python bench/bench_logger.py --fast
"""
import pyperf

import vantrel.base.Tessarine as T

runner = pyperf.Runner()
quiet = T.Logger(3)
runner.bench_func("Logger.rw filtered, no args", quiet.rw, "frame %s")
runner.bench_func("Logger.rwd filtered, 3 args", quiet.rwd, "frame %s %s %s", 1, 2, 3)
runner.bench_func("Logger.debugSendRecv filtered", quiet.debugSendRecv, "sent %r", b"\x01")
runner.bench_func("Logger.log filtered", quiet.log, 11, "DEBUG: ", "m")

handler = T.ErrorHandler("lastError", T.Logger(0))
handler.maxStackLength = 10
error = T.OrvaneException("failure", 5)
runner.bench_func("ErrorHandler.handleError, lastError mode", handler.handleError, error)
