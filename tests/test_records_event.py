import json

import pytest

import vantrel.base.Tessarine as T

from conftest import outcome

FIELDS = ["name", "code", "type", "mode", "source", "counter", "time"]
SEQUENCE = ("Overtemp", 0x4210, "WARNING", "APPEARED", "DEVICE", 7, "12:34:56.789")


def event(description="too hot", port=2, **changes):
    return T.IoddEvent("10.0.0.1", port, [changes.get(field, value) for field, value in zip(FIELDS, SEQUENCE)],
                       description)


def test_repr_lists_every_field_in_order():
    report = {"address": "10.0.0.1", "port": 2, "name": "Overtemp", "description": "zu heiß",
              **dict(zip(FIELDS[1:], SEQUENCE[1:]))}
    assert repr(event("zu heiß")) == json.dumps({"Event": report}, indent=4, ensure_ascii=False)
    assert T.IoddEvent._getType() is T.IoddEvent


@pytest.mark.parametrize("action, expected", [
    (lambda ev: ev[6], ("returned", "12:34:56.789")), (lambda ev: ev[-7], ("returned", "Overtemp")),
    (lambda ev: ev[7], (IndexError, "Index out of range, only 0..6 allowed")),
    (lambda ev: ev[0:2], (TypeError, "'>' not supported between instances of 'slice' and 'int'")),
    (hash, (TypeError, "unhashable type: 'IoddEvent'")),
    (lambda ev: ev == 1, (AttributeError, "'int' object has no attribute 'code'"))])
def test_index_hash_and_foreign_comparison(action, expected):
    assert outcome(lambda: action(event())) == expected


def test_iteration_stops_before_time_and_reads_afresh():
    ev = event()
    items = iter(ev)
    assert (tuple(ev), next(items)) == (SEQUENCE[:6], "Overtemp")
    ev._event = ("x", "y")
    assert (next(items), outcome(lambda: next(items))) == ("y", (IndexError, "tuple index out of range"))


Verdict = type("Verdict", (), {"__eq__": lambda self, other: "verdict"})


# Of equal kind, equal, exactly equal: each degree takes in more fields, and answers with the last comparison made.
@pytest.mark.parametrize("changes, degrees", [
    ({"time": "0"}, (True, True, True)), ({"counter": 8}, (True, False, False)), ({"port": 3}, (True, False, False)),
    ({"description": "0"}, (True, True, False)), ({"name": "0"}, (True, True, False)),
    ({"code": 1}, (False, False, False)), ({"source": "0"}, (False, False, False)),
    ({"mode": Verdict()}, ("verdict", True, True))])
def test_degrees_of_equality(changes, degrees):
    ev, other = event(**changes), event()
    assert (ev.equalKind(other), ev == other, ev.equalExact(other)) == degrees
