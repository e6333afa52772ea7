import pytest

import vantrel.base.Tessarine as T

FIELDS = ["name", "code", "type", "mode", "source", "counter", "time"]
SEQUENCE = ("Overtemp", 0x4210, "WARNING", "APPEARED", "DEVICE", 7, "12:34:56.789")


def event(description="too hot", address="10.0.0.1", port=2, **changes):
    sequence = [changes.get(field, value) for field, value in zip(FIELDS, SEQUENCE)]
    return T.IoddEvent(address, port, sequence, description)


def test_repr():
    assert repr(event(description="zu heiß")) == """{
    "Event": {
        "address": "10.0.0.1",
        "port": 2,
        "name": "Overtemp",
        "description": "zu heiß",
        "code": 16912,
        "type": "WARNING",
        "mode": "APPEARED",
        "source": "DEVICE",
        "counter": 7,
        "time": "12:34:56.789"
    }
}"""


@pytest.mark.parametrize("index, value", [(6, "12:34:56.789"), (-1, "12:34:56.789"), (-7, "Overtemp")])
def test_index_access(index, value):
    assert event()[index] == value


@pytest.mark.parametrize("index, error", [(7, "Index out of range, only 0..6 allowed"), (slice(0, 2), "not supported")])
def test_index_refused(index, error):
    with pytest.raises((IndexError, TypeError), match=error):
        event()[index]


def test_iteration_stops_before_time_and_reads_afresh():
    ev = event()
    assert tuple(ev) == SEQUENCE[:6]
    items = iter(ev)
    assert next(items) == "Overtemp"
    ev._event = ("x", "y")
    assert next(items) == "y"
    with pytest.raises(IndexError):
        next(items)


@pytest.mark.parametrize("other, kind, equal, exact", [
    (event(time="00:00:00.000"), True, True, True),
    (event(counter=8), True, False, False),
    (event(description="other"), True, True, False),
    (event(name="other"), True, True, False),
    (event(port=3), True, False, False),
    (event(code=1), False, False, False),
    (event(source="MASTER"), False, False, False),
])
def test_degrees_of_equality(other, kind, equal, exact):
    ev = event()
    assert (ev.equalKind(other), ev == other, ev.equalExact(other)) == (kind, equal, exact)


def test_equality_answers_with_last_comparison():
    class Code:
        def __eq__(self, other):
            return "verdict"
    assert event(mode=Code()).equalKind(event()) == "verdict"
    assert event(mode=Code(), source="X").equalKind(event()) is False


def test_no_hash_and_comparison_with_foreign_object():
    with pytest.raises(TypeError):
        hash(event())
    with pytest.raises(AttributeError):
        event() == 1
    assert T.IoddEvent._getType() is T.IoddEvent


def test_short_event():
    ev = T.IoddEvent("a", 1, SEQUENCE[:6], "d")
    assert len(tuple(ev)) == 6
    with pytest.raises(IndexError):
        repr(ev)
