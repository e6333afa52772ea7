"""Structures that contain themselves or are nested past the recursion limit
end in RecursionError, as the same code written in Python does; the process
lives on."""
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

walks = [
    (T.dict_depth, looped), (T.dict_depth, mixed), (T.dict_depth, nested(100000)),
    (T._dictMatlabReplace, looped), (T._dictMatlabReplace, nested(100000)),
    (T.Statistics._clearStat, looped), (T.Statistics._clearStat, nested(100000)),
    (lambda e: e == e, event), (lambda e: e.equalExact(e), event), (lambda d: d == d, device),
    (lambda d: T.IoddDev(None, "a", 1, None, None, page1=d, recordFieldNaming="matlab"), looped),
    (lambda d: T.DeviceContent(d, recordFieldNaming="matlab").master, looped),
]

def run(which):
    for walk, structure in walks:
        try:
            walk(structure)
        except RecursionError:
            print(which, "RecursionError")
        else:
            print(which, "no error")

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
    # Under the default limit every walk fails as in Python; with the limit
    # raised or on a small stack, a walk may also finish: only a crash is wrong.
    assert all(line == "main RecursionError" for line in lines[:12]), lines


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
    for depth in range(900, 1200):
        try:
            depth_of(nested_dict(depth))
        except RecursionError:
            return depth

print(first_failing(py_depth), first_failing(T.dict_depth))
'''


def test_native_walk_fails_at_the_depth_python_fails():
    done = run_python(BOUNDARY)
    python, native = done.stdout.split()
    assert python == native
