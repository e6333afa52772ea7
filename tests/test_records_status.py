import json
import types

import pytest

import vantrel.base.Tessarine as T


class Iodd:
    """Stands in for the communication object of a device; records every question."""
    def __init__(self, connected=True, lost=(False, False, False), iolink=1, wrong=False, pd_invalid=False):
        self._connected, self._lost, self._iolink = connected, lost, iolink
        self._wrong, self._pd_invalid = wrong, pd_invalid
        self.asked = []
        self._master = types.SimpleNamespace(isWrongDevice=self._answer("isWrongDevice", lambda dev: self._wrong))
        self._dev = types.SimpleNamespace(getStatusPdInvalid=self._answer("getStatusPdInvalid", self._pd))

    def _answer(self, name, function):
        def recorded(*args, **kwargs):
            self.asked.append(name)
            return function(*args, **kwargs)
        return recorded

    def _pd(self):
        if isinstance(self._pd_invalid, Exception):
            raise self._pd_invalid
        return self._pd_invalid

    @property
    def connected(self):
        self.asked.append("connected")
        return self._connected

    def __getattr__(self, name):
        answers = {"_checkLostDev": lambda: self._lost[0], "_hasConnectionError": lambda: self._lost[1],
                   "_checkInspectionLevelWrongDev": lambda: self._lost[2],
                   "_hasIolink": lambda diag: self._iolink if diag is True else None}
        return self._answer(name, answers[name])


STATUS_NAMES = ["lost", "preoperate", "wrongDevice", "pdValid", "connectionError"]


def test_status_not_connected():
    iodd = Iodd(connected=0)
    status = T.DeviceStatus(iodd)
    assert [getattr(status, name) for name in STATUS_NAMES] == ["not connected"] * 5
    assert status.connected == 0 and set(iodd.asked) == {"connected"}
    assert repr(status) == """{
    "DeviceStatus": {
        "connected": 0,
        "lost": "not connected",
        "preoperate": "not connected",
        "wrongDevice": "not connected",
        "pdValid": "not connected",
        "connectionError": "not connected"
    }
}"""
    assert set(iodd.asked) == {"connected"}


@pytest.mark.parametrize("lost, answer, asked", [
    ((1, 2, 3), 1, ["_checkLostDev"]),
    ((0, "", 0), 0, ["_checkLostDev", "_hasConnectionError", "_checkInspectionLevelWrongDev"]),
    ((0, "e", 0), "e", ["_checkLostDev", "_hasConnectionError"])])
def test_lost_stops_at_first_true(lost, answer, asked):
    iodd = Iodd(lost=lost)
    assert T.DeviceStatus(iodd).lost == answer
    assert iodd.asked == ["connected"] + asked


@pytest.mark.parametrize("iolink, preoperate", [(1, True), (2, False)])
def test_preoperate(iolink, preoperate):
    assert T.DeviceStatus(Iodd(iolink=iolink)).preoperate is preoperate


@pytest.mark.parametrize("invalid, valid", [(0, True), (None, True), (1, False)])
def test_pd_valid_is_bool(invalid, valid):
    assert T.DeviceStatus(Iodd(pd_invalid=invalid)).pdValid is valid


def test_status_repr_with_unsupported_pd():
    iodd = Iodd(pd_invalid=T.NotSupportedError("no PD status"), wrong="maybe")
    status = T.DeviceStatus(iodd)
    with pytest.raises(T.NotSupportedError):
        status.pdValid
    report = json.loads(repr(status))["DeviceStatus"]
    assert list(report.items()) == [("connected", True), ("lost", False), ("preoperate", True),
                                    ("wrongDevice", "maybe"), ("pdValid", str(iodd._pd_invalid)),
                                    ("connectionError", False)]
    assert iodd.asked.count("connected") == 1 + 6


def test_status_repr_passes_other_errors():
    status = T.DeviceStatus(Iodd(pd_invalid=ValueError("x")))
    with pytest.raises(ValueError):
        repr(status)
