"""Counts the machine instructions of each benchmark case under valgrind's callgrind,
for the module, the baseline and the floor.  Counts do not depend on what else the
machine is doing, so they compare builds on a shared machine where times cannot.

Run: .venv/bin/python bench/instructions.py [--loops N] [--jobs J] [TEXT ...]
TEXT selects the cases whose name holds it (all cases without one).  With
PYTHONPATH set (a build of scripts/dev-build), that build is counted.

Only what runs inside the measured loop is counted (collection is switched on by
operator.call, which nothing else calls); the loop runs twice before, so the
count leaves out the first judging of shortcuts and the interpreter's warm-up.
"""
import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
from pathlib import Path

import workload

HERE = Path(__file__).resolve().parent
# Cases that take milliseconds a call are counted over fewer calls.
HEAVY = ("16x8", "values,", "MasterStatistics.getStat")

CASE = """
import io, sys
sys.path.insert(0, {here!r})
import baseline, workload
import vantrel.base.Tessarine as native
case = next(c for c in workload.CASES if c.name == {name!r})
variant = {variant!r}
names = (workload.floor(case, case.fixture(baseline)) if variant == "floor"
         else case.fixture(native if variant == "native" else baseline))
statement = case.statement
if case.prints:
    sys.stdout = io.StringIO()
"""

# Runs `statement` with `names` as fast locals, twice first, then `loops` times inside
# operator.call, whose C function switches collection on and off.
LOOP = """
import itertools, operator
scope = {{"repeat": itertools.repeat}}
exec("def timer(loops, %s):\\n    for _ in repeat(None, loops):\\n        %s\\n"
     % (", ".join(names), statement), scope)
scope["timer"](2, *names.values())
operator.call(scope["timer"], {loops}, *names.values())
"""


def count_statement(setup, statement, loops, names=()):
    """Instructions of one run of `statement` after `setup` (which defines `names`)."""
    script = f"{setup}\nnames = {{name: globals()[name] for name in {list(names)!r}}}\nstatement = {statement!r}\n"
    return count_script(script, loops)


def count_script(script, loops):
    environment = dict(os.environ, OPENBLAS_NUM_THREADS="1", PYTHONHASHSEED="0")
    done = subprocess.run(
        ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--toggle-collect=_operator_call",
         "--callgrind-out-file=/dev/null", sys.executable, "-c", script + LOOP.format(loops=loops)],
        capture_output=True, text=True, env=environment, check=True)
    return int(re.search(r"Collected : (\d+)", done.stderr).group(1)) // loops


def count(name, variant, loops):
    return count_script(CASE.format(here=str(HERE), name=name, variant=variant), loops)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("selection", nargs="*")
    parser.add_argument("--loops", type=int, default=300)
    parser.add_argument("--jobs", type=int, default=2)
    options = parser.parse_args()
    cases = [case.name for case in workload.CASES
             if not options.selection or any(text in case.name for text in options.selection)]
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        futures = {(name, variant): pool.submit(count, name, variant,
                                                3 if any(h in name for h in HEAVY) else options.loops)
                   for name in cases for variant in ("native", "baseline", "floor")}
        print(f"{'case':45} {'native':>10} {'baseline':>10} {'floor':>8}  ratio  to floor")
        for name in cases:
            native, baseline, floor = (futures[name, variant].result() for variant in ("native", "baseline", "floor"))
            print(f"{name:45} {native:10d} {baseline:10d} {floor:8d}  {baseline / native:5.2f}  {native / floor:7.2f}",
                  flush=True)


if __name__ == "__main__":
    main()
