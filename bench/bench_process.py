"""Column views of a recorded process data stream, 1000 rows.

Run: .venv/bin/python bench/bench_process.py --fast
"""
import datetime

import pyperf

import vantrel.base.Tessarine as T

start = datetime.datetime(2021, 3, 4, 14, 7, 33)
record = T.ProcessDataStreamTable(["Time", "Temp (float)", "Level (UInteger)", "Alarm (Boolean)"])
raw = T.ProcessDataStreamTable(["Time", "PD (hex)"])
for i in range(1000):
    stamp = start + datetime.timedelta(milliseconds=10 * i)
    record.add_row([stamp, 20.5 + i, i, bool(i & 1)])
    raw.add_row([stamp, "%04X" % i])

runner = pyperf.Runner()
runner.bench_func("ProcessDataStreamTable(header)", T.ProcessDataStreamTable, ["Time", "a (int)", "b (hex)"])
runner.bench_func("values, record stream", lambda: record.values)
runner.bench_func("values, raw stream", lambda: raw.values)
runner.bench_func("times", lambda: record.times)
runner.bench_func("timesStr", lambda: record.timesStr)
