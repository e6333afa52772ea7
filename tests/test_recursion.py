"""Structures that contain themselves end in RecursionError and the process
lives on; structures that Python's own walks reach the end of, the module's
walks reach too."""
import pytest

from conftest import run_python

WALKS = r'''
import sys, threading
import vantrel.base.Tessarine as T
from hostile import nested_dict as nested

looped = {}
looped["a"] = looped
mixed = {"a": [None]}
mixed["a"][0] = mixed
mixed["b"] = mixed
event = T.IoddEvent("a", 1, None, "d")
event._event = [0, event, 0, 0, 0, 0, 0]
device = T.IoddDev(None, "a", 1, None, None, page1={"Vendor ID": 1})
device._page1 = {"Vendor ID": device}

deep = nested(100000)
walks = [
    (T.dict_depth, looped), (T.dict_depth, mixed), (T.dict_depth, deep),
    (T._dictMatlabReplace, looped), (T._dictMatlabReplace, deep),
    (T.Statistics._clearStat, looped), (T.Statistics._clearStat, deep),
    (lambda e: e == e, event), (lambda e: e.equalExact(e), event), (lambda d: d == d, device),
    (lambda d: T.IoddDev(None, "a", 1, None, None, page1=d, recordFieldNaming="matlab"), looped),
    (lambda d: T.DeviceContent(d, recordFieldNaming="matlab").master, looped),
]

def run(which):
    for walk, structure in walks:
        kind = "deep" if structure is deep else "looped"
        try:
            walk(structure)
        except RecursionError:
            print(which, kind, "RecursionError")
        else:
            print(which, kind, "no error")

run("main")
sys.setrecursionlimit(1000000)   # now the native stack ends what it ends
run("raised")
threading.stack_size(256 * 1024)
worker = threading.Thread(target=run, args=("thread",))
worker.start()
worker.join()
print("alive", T.dict_depth({"a": {"b": {}}}))
'''


def test_walks_of_looped_and_deep_structures_end_in_recursion_error():
    done = run_python(WALKS)
    assert done.returncode == 0, done.stderr[-3000:]
    lines = done.stdout.splitlines()
    assert lines[-1] == "alive 3"
    assert len(lines) == 1 + 3 * 12
    # A structure that holds itself has no end to reach; one nested a hundred
    # thousand deep may be walked where the interpreter's limits allow it
    # (a C stack check instead of a count): only a crash is wrong.
    looped = [line for line in lines if " looped " in line]
    assert len(looped) == 3 * 9 and all(line.endswith(" RecursionError") for line in looped), lines


BOUNDARY = r'''
import vantrel.base.Tessarine as T
from hostile import nested_dict

def py_depth(d):
    if not isinstance(d, dict):
        return 0
    if not d:
        return 1
    return 1 + max(map(py_depth, d.values()))

def first_failing(depth_of):
    low, high = 1, 1
    while True:                       # the interpreter's limits, found by trying
        try:
            depth_of(nested_dict(high))
        except RecursionError:
            break
        low, high = high, high * 2
    while high - low > 1:
        middle = (low + high) // 2
        try:
            depth_of(nested_dict(middle))
            low = middle
        except RecursionError:
            high = middle
    return high

python = first_failing(py_depth)
print(python, T.dict_depth(nested_dict(python - 1)))
'''


def test_native_walk_goes_as_deep_as_the_same_walk_in_python():
    # Where Python's own walk stops depends on the build of the interpreter
    # (its C recursion limit, its stack); whatever it is, the module's walk
    # must reach at least as deep.
    done = run_python(BOUNDARY)
    assert done.returncode == 0, done.stderr[-3000:]
    python, native = map(int, done.stdout.split())
    assert native == python
