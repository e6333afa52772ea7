"""No call with arguments of the wrong kind may bring the interpreter down:
every function, method and property of the module gets odd arguments, and
whatever it raises, the process must live on."""
from conftest import run_python

SWEEP = r'''
import itertools, types, faulthandler
faulthandler.enable()
import vantrel.base.Tessarine as T

odd = [None, 0, -1, 2**70, 1.5, float("nan"), "", "x y", b"\x01", [], [1, 2.5], (1,), {}, {"a": {"b": 1}},
       object(), T]
# Network, threads and file descriptors (0 is stdin) are left to their own tests.
skip = {"postUrl", "readUrl", "postUrlNoException", "readUrlNoException", "RepeatTimer", "filesha256"}


def callables():
    for name in dir(T):
        value = getattr(T, name)
        if name in skip or name.startswith("__") or isinstance(value, types.ModuleType):
            continue
        if not isinstance(value, type):
            if callable(value):
                yield value
            continue
        yield value
        for member in vars(value).values():
            if isinstance(member, property):
                yield from filter(None, (member.fget, member.fset))
            elif isinstance(member, staticmethod):
                yield member.__func__
            elif callable(member) and not isinstance(member, type):
                yield member


calls = 0
for function in callables():
    for count in range(4):
        arguments = itertools.product(odd, repeat=count)
        for args in arguments if count < 3 else itertools.islice(arguments, 0, None, 7):
            try:
                function(*args)
            except Exception:
                pass
            calls += 1
print(calls)
'''


def test_odd_arguments_never_crash():
    done = run_python(SWEEP)
    assert done.returncode == 0, done.stderr[-3000:]
    assert int(done.stdout.split()[-1]) > 100000
