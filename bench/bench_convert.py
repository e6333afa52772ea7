"""The conversion functions that run per frame or per record field.

Run: .venv/bin/python bench/bench_convert.py --fast
"""
import pyperf

import vantrel.base.Tessarine as T

runner = pyperf.Runner()
frame = bytes(range(32))
runner.bench_func("toHex, 32 bytes", T.toHex, frame)
runner.bench_func("toHexDelim, 32 bytes", T.toHexDelim, frame, ".")
runner.bench_func("is_int_list, 8 ints", T.is_int_list, [1, 2, 3, 4, 5, 6, 7, 8])
runner.bench_func("is_list, single value", T.is_list, 5)
runner.bench_func("_convertMatlabFieldName, umlauts", T._convertMatlabFieldName, "Gr\u00f6\u00dfe A\\B")
runner.bench_func("_convertMatlabFieldName, ASCII", T._convertMatlabFieldName, "Process Data In")
record = {"Temperature value": 1, "Status": {"Bit 0": True, "Bit 1": False}, (5, 2): 3}
runner.bench_func("_dictMatlabReplace, nested record", T._dictMatlabReplace, record)
runner.bench_func("parseMseqCapability", T.parseMseqCapability, 0x31, 2, 1)
runner.bench_func("matlabConvert, mixed", T.matlabConvert, (1.0, [2.5, 3], 4))
