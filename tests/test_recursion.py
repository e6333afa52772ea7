"""Self-containing structures end the walks in RecursionError and the process lives on; Python's depths are reached."""
from conftest import run_python

WALKS = r'''
import sys, threading
import vantrel.base.Tessarine as T
from conftest import outcome
from hostile import looped_dict, nested_dict

looped, mixed, deep = looped_dict(), {"a": [None]}, nested_dict(100000)
mixed["a"][0] = mixed["b"] = mixed
event, device = T.IoddEvent("a", 1, None, "d"), T.IoddDev(None, "a", 1, None, None, page1={"Vendor ID": 1})
event._event, device._page1 = [0, event, 0, 0, 0, 0, 0], {"Vendor ID": device}
matlab = lambda page: T.IoddDev(None, "a", 1, None, None, page1=page, recordFieldNaming="matlab")
walks = [(T.dict_depth, looped), (T.dict_depth, mixed), (T._dictMatlabReplace, looped),
         (T.Statistics._clearStat, looped), (lambda e: e == e, event), (lambda e: e.equalExact(e), event),
         (lambda d: d == d, device), (matlab, looped), (lambda d: T.DeviceContent(d, recordFieldNaming="matlab").master,
         looped), (T.dict_depth, deep), (T._dictMatlabReplace, deep), (T.Statistics._clearStat, deep)]


def run():
    for walk, structure in walks:
        print(outcome(lambda: walk(structure))[0])


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
    # The deep ones may be walked where the interpreter's limits allow it: only a crash is wrong.
    assert [line for number, line in enumerate(runs) if number % 12 < 9] == [str(RecursionError)] * 27, runs
    assert set(runs) <= {str(RecursionError), "returned"}


BOUNDARY = r'''
import bisect
import vantrel.base.Tessarine as T
from conftest import outcome
from hostile import nested_dict


def py_depth(d):
    return 0 if not isinstance(d, dict) else 1 + max(map(py_depth, d.values()), default=0)


fails = lambda depth: outcome(lambda: py_depth(nested_dict(depth)))[0] is RecursionError
high = bisect.bisect(range(100000), False, key=fails)  # the interpreter's limits, found by trying
print(high, T.dict_depth(nested_dict(high - 1)))
'''


def test_native_walk_goes_as_deep_as_the_same_walk_in_python():
    # Where Python's own walk stops depends on the build of the interpreter; wherever it is, the module's
    # walk must reach as deep.
    done = run_python(BOUNDARY)
    assert done.returncode == 0, done.stderr[-3000:]
    python, native = map(int, done.stdout.split())
    assert native == python
