import json

import pytest

import vantrel.base.Tessarine as T

from conftest import outcome
from standins import Recorder

STATUS_NAMES = ["lost", "preoperate", "wrongDevice", "pdValid", "connectionError"]
LOST_CHECKS = ["_checkLostDev", "_hasConnectionError", "_checkInspectionLevelWrongDev"]


def iodd(connected=True, lost=(False, False, False), iolink=1, wrong=False, pd_invalid=False):
    """A device's communication object that is its own master and device."""
    made = Recorder(**dict(zip(LOST_CHECKS, lost)), _hasIolink=iolink, isWrongDevice=wrong,
                    getStatusPdInvalid=pd_invalid)
    made.connected, made._master, made._dev = connected, made, made
    return made


# The order of the questions is pinned by the report; how many a property asks shows where `or` stopped, and
# that a device not connected is asked nothing further.
@pytest.mark.parametrize("answers, name, expected, questions", [
    ({"lost": (1, 2, 3)}, "lost", 1, 1), ({"lost": (0, "", 0)}, "lost", 0, 3), ({"lost": (0, "e", 0)}, "lost", "e", 2),
    ({"lost": (0, "e", 0)}, "connectionError", "e", 1), ({"iolink": 1}, "preoperate", True, 1),
    ({"iolink": 2}, "preoperate", False, 1), ({"pd_invalid": 0}, "pdValid", True, 1),
    ({"pd_invalid": 1}, "pdValid", False, 1), ({"connected": 0}, "connected", 0, 0),
    *[({"connected": 0}, name, "not connected", 0) for name in STATUS_NAMES]])
def test_each_answer(answers, name, expected, questions):
    device = iodd(**answers)
    value = getattr(T.DeviceStatus(device), name)
    assert (value, type(value), len(device.calls)) == (expected, type(expected), questions)


def test_repr_shows_unsupported_as_text_and_passes_other_errors():
    device = iodd(pd_invalid=T.NotSupportedError("no PD status"), wrong=T.NotSupportedError("no check"))
    status = T.DeviceStatus(device)
    report = {"connected": True, "lost": False, "preoperate": True, "wrongDevice": "no check",
              "pdValid": "no PD status", "connectionError": False}
    assert repr(status) == json.dumps({"DeviceStatus": report}, indent=4, ensure_ascii=False)
    assert device.calls == [("getStatusPdInvalid",), ("isWrongDevice", device), *[(c,) for c in LOST_CHECKS],
                            ("_hasIolink", ("diag", True)), ("_hasConnectionError",)]
    device.answers["getStatusPdInvalid"] = ValueError("x")
    assert outcome(lambda: repr(status)) == (ValueError, "x")
