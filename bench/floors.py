"""Counts the machine instructions of the interpreter's own roads beside the roads open to
native code, which bound what the module can gain where the work behind a call is small.
Counted as bench/instructions.py counts (callgrind, the measured loop only).

Run: .venv/bin/python bench/floors.py
"""
import subprocess
import sys

from instructions import count_statement

SETUP = """
import functools
class Holder:
    def __init__(self):
        self._field = 7
    @property
    def field(self):
        return self._field
    def method(self):
        return self._field
holder = Holder()
from_native = functools.partial(holder.method)
native_from_native = functools.partial(int)
function = Holder.method
"""
NAMES = ("holder", "from_native", "native_from_native", "function")

ROADS = [
    ("loop alone", "pass"),
    ("instance attribute (specialised)", "holder._field"),
    ("Python property returning a field (specialised)", "holder.field"),
    ("get slot written in C, nothing behind it (function.__name__, generic road)", "function.__name__"),
    ("trivial Python method called from Python (specialised)", "holder.method()"),
    ("C function, nothing behind it, called from C (functools.partial(int))", "native_from_native()"),
    ("trivial Python method called from C (functools.partial(method))", "from_native()"),
]


def main():
    print(f"{'road':76} {'instructions':>12}")
    for name, statement in ROADS:
        print(f"{name:76} {count_statement(SETUP, statement, 3000, NAMES):12d}", flush=True)


if __name__ == "__main__":
    try:
        main()
    except subprocess.CalledProcessError as failure:
        sys.exit(failure.stderr)
