"""Times each hot operation of the module beside its plain-Python baseline and the floor
of an empty Python call taking the same arguments, and writes the table to bench/results.md.

Run: scripts/bench [pyperf options]; scripts/bench --fast is the quick development run,
with two worker processes a benchmark in place of five.
--only TEXT runs the cases whose name holds TEXT, --results PATH writes elsewhere.
With PYTHONPATH set (a build of scripts/dev-build), the workers import that build too.

Each case is timed three times in a row (module, baseline, floor), so that the three
numbers of one row come from the same minutes of the machine's life.
"""
import contextlib
import datetime
import functools
import io
import itertools
import os
import platform
import shlex
import statistics
import sys
import time
from pathlib import Path

import pyperf

import baseline
import workload
import vantrel.base.Tessarine as native

VARIANTS = ("native", "baseline", "floor")
RESULTS = Path(__file__).with_name("results.md")
FLOORS = Path(__file__).with_name("floors.md")  # measured floors, counted by bench/floors.py

# Every variant runs the one statement of its case in this loop, with its names as fast locals.
TIMER = """
def timer(loops, {names}):
    clock = perf_counter
    start = clock()
    for _ in repeat(None, loops):
        {statement}
    return clock() - start
"""


@functools.cache
def prepared(case, variant):
    """The loop of one variant of a case and its arguments, made once per worker process."""
    if variant == "floor":
        names = workload.floor(case, case.fixture(baseline))
    else:
        names = case.fixture(native if variant == "native" else baseline)
    scope = {"perf_counter": time.perf_counter, "repeat": itertools.repeat}
    exec(TIMER.format(names=", ".join(names), statement=case.statement), scope)
    return scope["timer"], tuple(names.values())


def time_case(loops, case, variant):
    timer, arguments = prepared(case, variant)
    if not case.prints:
        return timer(loops, *arguments)
    with contextlib.redirect_stdout(io.StringIO()):
        return timer(loops, *arguments)


def pass_own_options(command, args):
    if args.only:
        command.extend(("--only", args.only))


def format_time(seconds):
    for unit, scale in (("ns", 1e9), ("µs", 1e6), ("ms", 1e3)):
        if seconds * scale < 1000:
            return f"{seconds * scale:.3g} {unit}"
    return f"{seconds:.3g} s"


def cpu_model():
    with contextlib.suppress(OSError), open("/proc/cpuinfo", encoding="utf-8") as cpuinfo:
        for line in cpuinfo:
            if line.startswith("model name"):
                return line.partition(":")[2].strip()
    return platform.processor() or platform.machine()


def quick_options(args):
    """The options that make this a quick development run rather than a run to quote."""
    options = {"--fast": args.fast, "--debug-single-value": args.debug_single_value, "--only": args.only}
    return [option for option, given in options.items() if given]


def write_results(path, means, args):
    rows = []
    ratios = {}
    for case in workload.CASES:
        if (case.name, "native") not in means:
            continue
        own, plain, empty = (means[case.name, variant] for variant in VARIANTS)
        ratios[case.name] = plain / own
        rows.append(f"| {case.name} | {format_time(own)} | {format_time(plain)} | {plain / own:.2f} | "
                    f"{own / empty:.2f} |")
    worst = min(ratios, key=ratios.get)
    quick = quick_options(args)
    lines = [
        "# Module beside its plain-Python baseline",
        "",
        *([f"Quick development run ({', '.join(quick)}): rough numbers, not for quoting.", ""] if quick else []),
        "Mean time of one call. Ratio: baseline time / module time (above 1, the module is faster).",
        "To floor: module time / time of an empty Python method taking the same arguments in the same way.",
        "",
        "| operation | native | baseline | ratio | to floor |",
        "| --- | ---: | ---: | ---: | ---: |",
        *rows,
        "",
        f"- Geometric mean of the ratios: {statistics.geometric_mean(ratios.values()):.2f}",
        f"- Worst ratio: {ratios[worst]:.2f} ({worst})",
        f"- Command: `{shlex.join(['bench/run.py', *sys.argv[1:]])}`",
        f"- Date: {datetime.datetime.now().astimezone().strftime('%Y-%m-%d %H:%M %Z')}",
        f"- Interpreter: {platform.python_implementation()} {sys.version.split()[0]}",
        f"- Machine: {cpu_model()}, {os.cpu_count()} cores",
        "",
    ]
    if FLOORS.exists():
        lines += [FLOORS.read_text(encoding="utf-8")]
    path.write_text("\n".join(lines), encoding="utf-8")


def main():
    runner = pyperf.Runner(processes=5, values=3, add_cmdline_args=pass_own_options)
    runner.argparser.add_argument("--only", default="", metavar="TEXT", help="run the cases whose name holds TEXT")
    runner.argparser.add_argument("--results", default=str(RESULTS), metavar="PATH", help="where the table goes")
    args = runner.parse_args()
    if args.fast and not args.worker:
        # Worker start-up (numpy included) outweighs the timing itself: two workers keep the quick run short.
        args.processes = 2
    if "PYTHONPATH" in os.environ:
        args.inherit_environ = [*(args.inherit_environ or ()), "PYTHONPATH"]
    means = {}
    for case in workload.CASES:
        if args.only not in case.name:
            continue
        for variant in VARIANTS:
            benchmark = runner.bench_time_func(f"{case.name} [{variant}]", time_case, case, variant)
            if benchmark is not None and not args.worker:
                means[case.name, variant] = benchmark.mean()
    if means:
        write_results(Path(args.results), means, args)
        print(f"Table written to {args.results}")


if __name__ == "__main__":
    main()
