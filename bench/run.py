"""Times each hot operation of the module beside its plain-Python baseline and the floor
of an empty Python call taking the same arguments, and writes the table to bench/results.md.

Run: scripts/bench [pyperf options]; scripts/bench --fast is the quick development run,
with two worker processes a benchmark in place of five.
--only TEXT runs the cases whose name holds TEXT, --results PATH writes elsewhere.
--road fast|general names the build being timed (default fast): its means are kept in
bench/means-ROAD.json, and the table shows every road that has means there.
With PYTHONPATH set (a build of scripts/dev-build), the workers import that build too.

Each case is timed three times in a row (module, baseline, floor), so that the three
numbers of one row come from the same minutes of the machine's life.
"""
import contextlib
import datetime
import functools
import json
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
ROADS = {"fast": "fast roads", "general": "general road"}  # the builds: with TESSARINE_FAST_ROADS on and off
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
    command.extend(("--road", args.road))


def means_file(road):
    return RESULTS.with_name(f"means-{road}.json")


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


def ratio_column(means):
    """Per case: baseline time / module time, each as timed in that road's own run."""
    return {case: plain / own for case, (own, plain, _) in means.items()}


def write_results(path, args):
    measured = {road: json.loads(means_file(road).read_text()) for road in ROADS if means_file(road).exists()}
    ratios = {road: ratio_column(means) for road, means in measured.items()}
    rows = []
    for case in workload.CASES:
        cells = []
        for road in measured:
            own = measured[road].get(case.name)
            cells.append(format_time(own[0]) if own else "")
        plain = next((means[case.name][1] for means in measured.values() if case.name in means), None)
        if plain is None:
            continue
        cells.append(format_time(plain))
        cells += [f"{ratios[road][case.name]:.2f}" if case.name in ratios[road] else "" for road in measured]
        first = next(iter(measured.values())).get(case.name)
        cells.append(f"{first[0] / first[2]:.2f}" if first else "")
        rows.append(f"| {case.name} | " + " | ".join(cells) + " |")
    quick = quick_options(args)
    names = [ROADS[road] for road in measured]
    summary = []
    for road, column in ratios.items():
        worst = min(column, key=column.get)
        summary.append(f"- {ROADS[road]}: geometric mean of the ratios {statistics.geometric_mean(column.values()):.2f}, "
                       f"worst {column[worst]:.2f} ({worst})")
    lines = [
        "# Module beside its plain-Python baseline",
        "",
        *([f"Quick development run ({', '.join(quick)}): rough numbers, not for quoting.", ""] if quick else []),
        "Mean time of one call, for the build with the fast roads (`TESSARINE_FAST_ROADS` on, the default on",
        "CPython 3.13) and the build without them (the general road, as on CPython 3.14).",
        "Ratio: baseline time / module time (above 1, the module is faster), each road against the baseline",
        "timed in the same run. To floor: module time / time of an empty Python method taking the same",
        f"arguments in the same way ({names[0]}).",
        "",
        "| operation | " + " | ".join(names) + " | baseline | " + " | ".join(f"ratio, {n}" for n in names)
        + " | to floor |",
        "| --- | " + " | ".join("---:" for _ in range(2 * len(names) + 2)) + " |",
        *rows,
        "",
        *summary,
        f"- Command: `{shlex.join(['bench/run.py', *sys.argv[1:]])}` for each road (`scripts/bench` runs both)",
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
    runner.argparser.add_argument("--road", default="fast", choices=ROADS, help="the build being timed")
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
        kept = json.loads(means_file(args.road).read_text()) if means_file(args.road).exists() else {}
        kept.update({case.name: [means[case.name, variant] for variant in VARIANTS]
                     for case in workload.CASES if (case.name, "native") in means})
        means_file(args.road).write_text(json.dumps(kept, indent=1) + "\n", encoding="utf-8")
        write_results(Path(args.results), args)
        print(f"Table written to {args.results}")


if __name__ == "__main__":
    main()
