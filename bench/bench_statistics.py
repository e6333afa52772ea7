"""The paths device traffic takes: add on a figure, and the cached views.

Run: .venv/bin/python bench/bench_statistics.py --fast
"""
import pyperf

import vantrel.base.Tessarine as T


class Driver:
    def __init__(self, name, address):
        self.name, self.address, self.baseDrv = name, address, self

    def driverName(self):
        return self.name


runner = pyperf.Runner()
figure = T.StatMs()
figure.add(0.001)
runner.bench_func("StatMs.add", figure.add, 0.002)
started = T.Stat()
started.hist.append(0)
runner.bench_func("Stat.add with history", started.add, 3)

tree = T.Statistics([Driver("Drv", "10.0.0.1")])
drv = Driver("Drv", "10.0.0.1")
tree.getDevStatistics(drv, 1)
runner.bench_func("Statistics.getMasterStatistics, cached", tree.getMasterStatistics, drv)
runner.bench_func("Statistics.getDevStatistics, cached", tree.getDevStatistics, drv, 1)
runner.bench_func("Statistics.getStat, one master", tree.getStat, True)
