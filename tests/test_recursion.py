"""Structures that contain themselves end in RecursionError and the process lives on; structures that
Python's own walks reach the end of, the module's walks reach too."""
from conftest import run_python

WALKS = r'''
import sys, threading
import vantrel.base.Tessarine as T
from hostile import nested_dict

looped, mixed = {}, {"a": [None]}
looped["a"] = looped
mixed["a"][0] = mixed["b"] = mixed
event = T.IoddEvent("a", 1, None, "d")
event._event = [0, event, 0, 0, 0, 0, 0]
device = T.IoddDev(None, "a", 1, None, None, page1={"Vendor ID": 1})
device._page1 = {"Vendor ID": device}
walks = [(T.dict_depth, looped), (T.dict_depth, mixed), (T._dictMatlabReplace, looped),
         (T.Statistics._clearStat, looped), (lambda e: e == e, event), (lambda e: e.equalExact(e), event),
         (lambda d: d == d, device), (lambda d: T.IoddDev(None, "a", 1, None, None, page1=d, recordFieldNaming="matlab"),
         looped), (lambda d: T.DeviceContent(d, recordFieldNaming="matlab").master, looped)]
deep = nested_dict(100000)  # may be walked where the interpreter's limits allow it: only a crash is wrong
deep_walks = [(T.dict_depth, deep), (T._dictMatlabReplace, deep), (T.Statistics._clearStat, deep)]

def run():
    for walk, structure in walks + deep_walks:
        try:
            walk(structure)
            print("no error")
        except RecursionError:
            print("RecursionError")

run()
sys.setrecursionlimit(1000000)   # now the native stack ends what it ends
run()
threading.stack_size(256 * 1024)
worker = threading.Thread(target=run)
worker.start()
worker.join()
print("alive", T.dict_depth({"a": {"b": {}}}))
'''


def test_walks_of_looped_and_deep_structures_end_in_recursion_error():
    done = run_python(WALKS)
    assert done.returncode == 0, done.stderr[-3000:]
    *runs, alive = done.stdout.splitlines()
    assert alive == "alive 3" and len(runs) == 3 * 12
    assert {line for number, line in enumerate(runs) if number % 12 < 9} == {"RecursionError"}, runs


BOUNDARY = r'''
import vantrel.base.Tessarine as T
from hostile import nested_dict

def py_depth(d):
    return 0 if not isinstance(d, dict) else 1 + max(map(py_depth, d.values()), default=0)

def fails(depth):
    try:
        py_depth(nested_dict(depth))
    except RecursionError:
        return True

high = 1
while not fails(high):    # the interpreter's limits, found by trying
    high *= 2
low = high // 2
while high - low > 1:
    middle = (low + high) // 2
    low, high = (low, middle) if fails(middle) else (middle, high)
print(high, T.dict_depth(nested_dict(high - 1)))
'''


def test_native_walk_goes_as_deep_as_the_same_walk_in_python():
    # Where Python's own walk stops depends on the build of the interpreter; wherever it is, the module's
    # walk must reach as deep.
    done = run_python(BOUNDARY)
    assert done.returncode == 0, done.stderr[-3000:]
    python, native = map(int, done.stdout.split())
    assert native == python
