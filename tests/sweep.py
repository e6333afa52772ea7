"""Calls every operation of the module with odd arguments and judges what comes out, in a child process that a crash
takes down instead of the test run: `sweep.main('functions')` prints one JSON summary line on standard output."""
import collections
import contextlib
import faulthandler
import functools
import itertools
import json
import os
import re
import sys
import types

import vantrel.base.Tessarine as T

import hostile
import standins
from conftest import SCALE

# Everything a call may raise without being a fault: the host's own errors, those of the standard library the module
# calls (open among them), the module's own tree, and what the hostile arguments raise.  MemoryError is the host's
# answer to a container that claims a length it does not have.
ORDINARY = (TypeError, ValueError, AttributeError, LookupError, ArithmeticError, RecursionError, NameError,
            NotImplementedError, MemoryError, OSError, re.error, hostile.Hostile, T.OrvaneException)


def left_out(where, args):
    """Calls not to make, in Python neither: 10 ** (6 - decimals) for huge negative decimals; filesha256 of a small
    int, which closes that descriptor."""
    if where.endswith("setSecondsDecimals"):
        return any(type(arg) is int and arg < -1000 for arg in args)
    return where == "filesha256" and bool(args) and type(args[0]) in (int, bool) and 0 <= args[0] < 1024


def members(cls):
    """The operations a class of the module defines: (name, callable, whether it takes the instance first).
    RepeatTimer.run only ends once its timer is cancelled: it is swept a round at a time, by sweep_timer_rounds."""
    for name, member in vars(cls).items():
        if isinstance(member, property):
            yield from ((name, accessor, True) for accessor in (member.fget, member.fset) if accessor)
        elif isinstance(member, staticmethod):
            yield name, member.__func__, False
        elif callable(member) and not isinstance(member, type) and name != "run":
            yield name, member, True


def module_callables():
    for name in dir(T):
        value = getattr(T, name)
        if name.startswith("__") or not callable(value):
            continue
        if isinstance(value, type) and value.__module__ == T.__name__:
            yield name, value
            yield from ((f"{name}.{member}", function) for member, function, _ in members(value))
        elif not isinstance(value, type):
            yield name, value


def operations(instance):
    """(qualified name, operation bound to the instance) for every operation its classes of the module define."""
    for cls in type(instance).__mro__:
        if cls.__module__ == T.__name__:
            for name, function, binds in members(cls):
                yield f"{type(instance).__name__}.{name}", function.__get__(instance) if binds else function


class Judge:
    """Makes the calls and keeps the record: counts, exception types, faults."""
    where, calls = None, 0

    def __init__(self):
        self.raised, self.faults = collections.Counter(), []

    def call(self, where, function, args):
        if left_out(where, args):
            return
        if where != self.where:
            # Standard error names the operation that a crash interrupts.
            self.where = where
            os.write(2, f"{where}\n".encode())
        self.calls += 1
        try:
            function(*args)
        except BaseException as error:
            self.raised[type(error).__name__] += 1
            wrong = hostile.verdict(error, ORDINARY)
            if wrong:
                self.faults.append(f"{where}({', '.join(type(arg).__name__ for arg in args)}): {wrong}")

    def unraisable(self, report):
        self.faults.append(f"unraisable in {report.object!r:.100}: {report.exc_type.__name__}: {report.exc_value}")


REFUSED_COUNT = re.compile(r"\w+\(\) takes (exactly|at least|at most) \d+ positional arguments? \(\d+ given\)")


def accepted_counts(function, counts):
    """The numbers of arguments the function's signature takes: the others only meet the frame's refusal."""
    for count in counts:
        try:
            function(*[None] * count)
        except TypeError as error:
            if REFUSED_COUNT.fullmatch(str(error)):
                continue
        except Exception:
            pass
        yield count


def argument_lists(odd, counts, budget):
    """Lists of odd arguments of each length in `counts`: all, or an even spread of as many as the budget allows."""
    for count in counts:
        every = max(1, round(len(odd) ** count / (budget.get(count, len(odd) ** count) * SCALE)))
        yield from itertools.islice(itertools.product(odd, repeat=count), 0, None, every)


# Keyword arguments the frame must refuse or pass on, whatever their names.
ODD_KEYWORDS = [{"\ud800": 1}, {"self": hostile.Liar()}, {hostile.LyingStr("self"): 1}, {"timeout": 0, "x": None}]


def sweep_functions(judge, odd):
    abyss = hostile.abyss()
    for where, function in module_callables():
        counts = list(accepted_counts(function, range(4)))
        for args in argument_lists(odd, counts, {2: 4000, 3: 1500}):
            judge.call(where, function, args)
        # Each in every place, the others plain: one walk to the bottom costs.
        for count, deep, place in itertools.product(counts, abyss, range(3)):
            if place < count:
                judge.call(where, function, (None,) * place + (deep,) + (None,) * (count - place - 1))
        for count, keywords in itertools.product(counts, ODD_KEYWORDS):
            judge.call(where, functools.partial(function, **keywords), ("x",) * count)


def odd_builds(odd):
    """Instances made with one normal constructor argument replaced by an odd one."""
    for name, normal in standins.constructions().items():
        for position, value in itertools.product(range(len(normal)), odd):
            with contextlib.suppress(Exception):
                yield getattr(T, name)(*normal[:position], value, *normal[position + 1:])


def sweep_odd_states(judge, odd):
    """Each attribute of each instance set to each odd value in turn, and every operation called with plain ones."""
    plain = ("10.0.0.1", 1, standins.Master())
    for instance in standins.normal_instances().values():
        plain_calls = [(where, operation, plain[:count]) for where, operation in operations(instance)
                       for count in accepted_counts(operation, range(4))]
        state = vars(instance)
        for attribute, kept in list(state.items()):
            for state[attribute] in itertools.islice(odd, 0, None, max(1, round(1 / SCALE))):
                for call in plain_calls:
                    judge.call(*call)
            state[attribute] = kept


class OneRound:
    """A timer's `finished` event that lets exactly one round run."""
    waits = 0

    def wait(self, timeout=None):
        self.waits += 1
        return self.waits > 1


def sweep_timer_rounds(judge, odd):
    """RepeatTimer.run for one round, each attribute it reads odd in turn; the round overruns its negative interval."""
    attributes = ("interval", "function", "args", "kwargs", "_logger", "_name", "cancelled", "finished")
    for attribute, value in itertools.product(attributes, odd):
        timer = T.RepeatTimer("t", -1, standins.callback, T.Logger(11), 1, k=2)
        timer.finished = OneRound()
        vars(timer)[attribute] = value
        judge.call("RepeatTimer.run", timer.run, ())


def sweep_instances(judge, odd):
    """Every operation of normal instances, and of instances built with an odd argument, with odd arguments."""
    normal = [(instance, range(3), {2: 4000}) for instance in standins.normal_instances().values()]
    for instance, counts, budget in itertools.chain(normal, ((built, range(2), {1: 8}) for built in odd_builds(odd))):
        for where, operation in operations(instance):
            for args in argument_lists(odd, accepted_counts(operation, counts), budget):
                judge.call(where, operation, args)
    sweep_odd_states(judge, odd)
    sweep_timer_rounds(judge, odd)


def main(which, patience=600):
    # A crash shows where it happened; a call that never ends shows where it hangs, and ends the run.
    faulthandler.enable()
    faulthandler.dump_traceback_later(patience, exit=True)
    # Walks of structures nested past the limit fail at the limit: a low one makes each such failure cheap.
    sys.setrecursionlimit(300)
    odd = hostile.odd_values(depth=sys.getrecursionlimit() + 700)
    # Stands in for _http: every request answers with the next odd status and reason.
    answers = itertools.cycle(odd)
    T._http = types.SimpleNamespace(request=lambda method, url, **kwargs: types.SimpleNamespace(
        status=next(answers), reason=next(answers)))
    T.CommonDriverManager.iodd = standins.Owner(T.Logger(11))
    judge = Judge()
    sys.unraisablehook = judge.unraisable
    with open(os.devnull, "w") as sink, contextlib.redirect_stdout(sink):
        globals()["sweep_" + which](judge, odd)
    print(json.dumps({"calls": judge.calls, "raised": judge.raised, "faults": judge.faults[:50]}))
