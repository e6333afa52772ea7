import types

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome

GIVEN = {"sim": {"noZeroInit": True}}
NOT_A_DICT = (TypeError, "Invalid type. Driver options have to be dictionaries")


def invalid(name):
    return ValueError, f"Invalid driver options name: '{name}'. Valid names are: ('general', 'sim', 'NET-IP')"


def driver(name):
    return types.SimpleNamespace(driverName=lambda: name)


@pytest.fixture
def options():
    return T.DriverOptions([driver("sim"), driver("NET-IP")], {"SIM": {"noZeroInit": True}})


def test_construction(options):
    assert isinstance(options, dict) and options == GIVEN and options.getValidNames() == ("general", "sim", "NET-IP")
    inner = {"x": 1}
    shared = T.DriverOptions([driver("sim")], {"Sim": inner})
    assert shared["sim"] is inner and shared._default["sim"] is not inner and T.DriverOptions([])["General"] == {}
    assert outcome(lambda: T.DriverOptions([], {}, {})) == (
        TypeError, "_setOptions() takes exactly 2 positional arguments (3 given)")


@pytest.mark.parametrize("key, name", [("SIM", "sim"), ("Sim", "sim"), ("net_ip", "NET-IP"), ("NET_IP", "NET-IP")])
def test_forgiving_names_file_under_the_drivers_spelling(options, key, name):
    options[key]["x"] = key
    assert options[name]["x"] == key and options._getName(key) == name and options.get(key) is None


@pytest.mark.parametrize("action, refusal", [
    (lambda options: options.__setitem__("foo", {}), invalid("foo")),
    (lambda options: options.__setitem__("foo", 3), invalid("foo")),
    (lambda options: options.__setitem__("sim", 3), NOT_A_DICT),
    (lambda options: options["foo"], invalid("foo")),
    # Everything is checked before anything is replaced.
    (lambda options: options._setOptions({"sim": {}, "net_ip": 1}), NOT_A_DICT),
    (lambda options: options._setOptions({"sim": {}, "x": {}}), invalid("x")),
    (lambda options: options._setOptions([("sim", {})]), NOT_A_DICT),
])
def test_refusals_change_nothing(options, action, refusal):
    assert outcome(lambda: action(options)) == refusal and options == GIVEN


def test_set_options_reset_and_copy(options):
    options._setOptions({"Sim": {"a": 1}, "SIM": {"b": 2}, "net-ip": {}})
    assert options == {"sim": {"b": 2}, "NET-IP": {}}
    options.reset()
    assert options == GIVEN
    # The defaults share their inner dicts with the restored options.
    options["sim"]["noZeroInit"] = False
    options.reset()
    assert options == options._default == {"sim": {"noZeroInit": False}}
    duplicate = options.copy()
    duplicate["sim"]["noZeroInit"] = True
    assert type(duplicate) is T.DriverOptions and options["sim"] == {"noZeroInit": False}
    assert duplicate.getValidNames() == options.getValidNames() and duplicate._default is not options._default
