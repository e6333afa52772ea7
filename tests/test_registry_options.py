import types

import pytest

import vantrel.base.Tessarine as T

INVALID = "Invalid driver options name: '{}'. Valid names are: ('general', 'sim', 'NET-IP')"


def driver(name):
    return types.SimpleNamespace(driverName=lambda: name)


@pytest.fixture
def options():
    return T.DriverOptions([driver("sim"), driver("NET-IP")], {"SIM": {"noZeroInit": True}})


def test_construction(options):
    assert isinstance(options, dict) and options == {"sim": {"noZeroInit": True}}
    assert options.getValidNames() == ("general", "sim", "NET-IP") and options._lowerNames == ("general", "sim", "net-ip")
    assert type(options._default) is T.DriverOptions and options._default == options
    inner = {"x": 1}
    shared = T.DriverOptions([driver("sim")], {"Sim": inner})
    assert shared["sim"] is inner and shared._default["sim"] is not inner
    assert T.DriverOptions(driverList=[])["General"] == {}
    with pytest.raises(TypeError, match=r"^_setOptions\(\) takes exactly 2 positional arguments \(3 given\)$"):
        T.DriverOptions([], {}, {})


@pytest.mark.parametrize("key, name", [("SIM", "sim"), ("Sim", "sim"), ("net_ip", "NET-IP"), ("NET_IP", "NET-IP")])
def test_forgiving_names(options, key, name):
    options[key]["x"] = key
    assert options[name]["x"] == key and options._getName(key) == name


def test_reading_a_valid_name_files_it(options):
    assert options["net-ip"] == {} and list(options) == ["sim", "NET-IP"]
    assert options.get("SIM") is None


@pytest.mark.parametrize(
    "key, value, error, text",
    [
        ("foo", {}, ValueError, INVALID.format("foo")),
        ("foo", 3, ValueError, INVALID.format("foo")),
        ("sim", 3, TypeError, "Invalid type. Driver options have to be dictionaries"),
    ],
)
def test_refused_assignments(options, key, value, error, text):
    with pytest.raises(error) as raised:
        options[key] = value
    assert str(raised.value) == text
    with pytest.raises(ValueError):
        options["foo"]


def test_set_options_checks_everything_first(options):
    for bad in ({"sim": {}, "net_ip": 1}, {"sim": {}, "x": {}}, [("sim", {})]):
        with pytest.raises((TypeError, ValueError)):
            options._setOptions(bad)
        assert options == {"sim": {"noZeroInit": True}}
    options._setOptions({"Sim": {"a": 1}, "SIM": {"b": 2}})
    assert options == {"sim": {"b": 2}}


def test_reset_and_the_sharing_it_keeps(options):
    options["general"]["added"] = 1
    del options["sim"]
    options.reset()
    assert options == {"sim": {"noZeroInit": True}}
    options["sim"]["noZeroInit"] = False
    options.reset()
    assert options == options._default == {"sim": {"noZeroInit": False}}


def test_copy_is_deep(options):
    duplicate = options.copy()
    duplicate["sim"]["noZeroInit"] = False
    assert type(duplicate) is T.DriverOptions and options["sim"] == {"noZeroInit": True}
    assert duplicate.getValidNames() == options.getValidNames() and duplicate._default is not options._default
