"""Property-based calls: hypothesis builds nested dicts, lists and tuples out
of odd scalars and hostile objects, ties some of them into loops, and feeds
them to every function and to the operations of real instances, whose
attributes it also sets.  Meant for a child process (test_properties.py);
the examples are derived, not drawn at random, so every run makes the same
calls."""
import contextlib
import faulthandler

from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import vantrel.base.Tessarine as T

import hostile
import standins
import sweep

ODD = hostile.odd_values(depth=1500)


def odd_value(index):
    return ODD[index]


# Drawn by position: hypothesis describes a strategy by the values it holds,
# and some of these refuse to be described.
odd = st.integers(0, len(ODD) - 1).map(odd_value)

scalars = st.one_of(odd, st.none(), st.booleans(), st.integers(), st.floats(), st.text(),
                    st.binary())
keys = st.one_of(st.text(max_size=8), st.integers(), st.tuples(st.integers(), st.integers()),
                 st.sampled_from(["Vendor ID", "Frame Capability", "IsduSupport", "Product Name", "\ud800"]))
structures = st.recursive(
    scalars,
    lambda inner: st.one_of(st.lists(inner, max_size=4), st.tuples(inner, inner), st.dictionaries(keys, inner, max_size=4)),
    max_leaves=12,
)


def tied(value):
    """The structure, made to hold itself."""
    if type(value) is dict:
        value["self"] = value
    elif type(value) is list:
        value.append(value)
    else:
        value = [value]
        value.append((value,))
    return value


values = st.one_of(structures, structures.map(tied))


def checked(examples):
    return settings(derandomize=True, database=None, deadline=None, max_examples=max(1, round(examples * sweep.SCALE)),
                    suppress_health_check=list(HealthCheck))


def judge(where, operation, args):
    """The call ends in a result or an ordinary exception."""
    if sweep.left_out(where, args):
        return
    try:
        operation(*args)
    except BaseException as error:
        wrong = hostile.verdict(error, sweep.ORDINARY)
        assert wrong is None, f"{where}: {wrong}"


@checked(800)
@given(targets=st.lists(st.sampled_from(list(sweep.module_callables())), min_size=1, max_size=8),
       args=st.lists(values, max_size=4))
def every_function(targets, args):
    for where, function in targets:
        judge(where, function, args)


@checked(400)
@given(name=st.sampled_from(sorted(standins.constructions())), data=st.data())
def instance_operations(name, data):
    instance = standins.make(name)
    operations = list(sweep.operations(instance))
    attributes = sorted(vars(instance))
    for _ in range(data.draw(st.integers(1, 6), label="steps")):
        if attributes and data.draw(st.booleans(), label="set an attribute"):
            vars(instance)[data.draw(st.sampled_from(attributes))] = data.draw(values)
        where, operation = data.draw(st.sampled_from(operations))
        judge(where, operation, data.draw(st.lists(values, max_size=3)))


def main(patience=600):
    faulthandler.enable()
    faulthandler.dump_traceback_later(patience, exit=True)
    T._http = sweep.Pool(ODD)
    T.CommonDriverManager.iodd = standins.Owner(T.Logger(11))
    with contextlib.redirect_stdout(sweep.Discard()):
        every_function()
        instance_operations()
    print("passed")
