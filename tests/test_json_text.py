"""The JSON texts of the reports: exactly json.dumps(report, indent=4, ensure_ascii=False),
whether the module writes them itself or leaves them to the host's json, which it must
do whenever json or its report is anything but plain."""
import collections
import enum
import json
import sys
import textwrap

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import vantrel.base.Tessarine as T

from conftest import run_python


class Device:
    """What AccessLocks asks its report of: read(12) hands over any value as it is."""

    def __init__(self, locks):
        self.locks = locks

    def read(self, index):
        return self.locks


def text_of(locks):
    return repr(T.AccessLocks(Device(locks)))


def expected(locks):
    return json.dumps({"AccessLocks": locks}, indent=4, ensure_ascii=False)


def deep(depth, inner=None):
    value = [] if inner is None else inner
    for _ in range(depth):
        value = [value]
    return value


PLAIN = {
    "escapes": 'quote " backslash \\ slash / \n\r\t\b\f',
    "controls": "".join(map(chr, range(0x20))) + "\x7f",
    "latin-1": "Größe µ ÿ",
    "two bytes": "Ω € \u2028 \ufeff",
    "astral": "\U0001F600 \U0010FFFF",
    "lone surrogates": "\ud800 \udfff x\udc80",
    "empty text": "",
    "eight plain then a quote": 'abcdefgh"ijklmnop',
    "escape late in a long text": "a" * 40 + "\x01" + "b" * 3,
    "ints": [0, 1, -1, 2**30 - 1, 2**30, -2**30, 2**63, -2**63 - 1, 10**100, -(10**100)],
    "floats": [0.0, -0.0, 1.5, -2.25, 1e16, 1e-7, 123456789.125, 1e308, 5e-324, 0.1 + 0.2],
    "not finite": [float("nan"), float("inf"), -float("inf")],
    "constants": [True, False, None],
    "keys": {"s": 1, 7: 2, -8: 3, 1.5: 4, -0.0: 5, True: 6, False: 7, None: 8, float("nan"): 9, 10**30: 10},
    "empties": {"list": [], "dict": {}, "tuple": (), "nested": [[], {}, [[]], {"a": {}}]},
    "tuples": ("a", (1, (2.5, None)), [()]),
    "wide keys": {"ключ": "значение", "\U0001F600": ["\u00e9"]},
    "shared, not circular": [[1, 2]] * 3,
    "top-level text": "just a str",
    "top-level int": 42,
    "top-level empty dict": {},
    "insertion order": dict.fromkeys("zyxwvu", 0),
}


@pytest.mark.parametrize("value", PLAIN.values(), ids=PLAIN.keys())
def test_plain_reports_read_as_json_writes_them(value):
    assert text_of(value) == expected(value)


def test_report_wider_than_its_first_text():
    # Narrow texts come first; the wide one at the end widens the whole text.
    value = {"a": "ascii", "b": "latin-1 é", "c": "two bytes €", "d": "astral \U0001F600"}
    text = text_of(value)
    assert text == expected(value)
    assert text_of({"only": "ascii"}).isascii()


def test_stat_reports():
    empty = T.Stat()
    assert repr(empty) == "null"
    empty.add(3)
    assert repr(empty) == json.dumps(empty.getStat(), indent=4, ensure_ascii=False)


def text_or_error(write, value):
    try:
        return write(value)
    except RecursionError as error:
        return type(error), str(error)


@pytest.mark.parametrize("beyond", [200, 2 * sys.getrecursionlimit()])
def test_nested_beyond_the_recursion_limit_as_json_nests(beyond):
    # How deep the host's encoder goes depends on the interpreter: the limit,
    # the C recursion limit of its build, or its stack.  The text goes as deep.
    value = deep(sys.getrecursionlimit() + beyond)
    assert text_or_error(text_of, value) == text_or_error(expected, value)


keys = st.one_of(st.text(st.characters(exclude_categories=()), max_size=10), st.integers(), st.floats(),
                 st.booleans(), st.none())
scalars = st.one_of(st.none(), st.booleans(), st.integers(), st.integers(-2**80, 2**80), st.floats(),
                    st.text(st.characters(exclude_categories=())),
                    st.text(st.sampled_from('a"\\\n\x00\x1fé€\U0001F600'), min_size=7, max_size=20))
reports = st.recursive(
    scalars,
    lambda inner: st.one_of(st.lists(inner, max_size=5), st.lists(inner, max_size=5).map(tuple),
                            st.dictionaries(keys, inner, max_size=5)),
    max_leaves=30,
)


@settings(derandomize=True, database=None, deadline=None, max_examples=600, suppress_health_check=list(HealthCheck))
@given(reports)
def test_drawn_reports_read_as_json_writes_them(value):
    assert text_of(value) == expected(value)


# --- values that only the host's json may write: same text or same error ---------

class Color(enum.IntEnum):
    RED = 1


class Text(str):
    def __repr__(self):
        return "never"


class Float(float):
    def __repr__(self):
        return "never"


class Items(dict):
    def items(self):
        return [("replaced", True)]


@pytest.mark.parametrize("value", [
    Text("a text subclass"), Color.RED, {Color.RED: Color.RED}, Float(2.5), Items(original=1),
    collections.OrderedDict(b=1, a=2), [Text("k"), {Text("k"): Items()}],
], ids=["str subclass", "int enum", "int enum key", "float subclass", "dict subclass with items",
        "ordered dict", "subclasses nested"])
def test_subclasses_are_the_hosts_to_write(value):
    assert text_of(value) == expected(value)


def circular_list():
    value = [1]
    value.append([value])
    return value


def circular_dict():
    value = {"a": {}}
    value["a"]["back"] = value
    return value


@pytest.mark.parametrize("value", [
    object(), b"bytes", {1, 2}, 1j, collections.UserList, {(1, 2): "tuple key"}, {b"k": 1}, [1, [2, {"deep": object()}]],
    circular_list(), circular_dict(), 10**5000,
], ids=["object", "bytes", "set", "complex", "class", "tuple key", "bytes key", "deep object", "circular list",
        "circular dict", "too many digits"])
def test_unwritable_reports_raise_what_json_raises(value):
    with pytest.raises(Exception) as host:
        expected(value)
    with pytest.raises(type(host.value)) as ours:
        text_of(value)
    assert str(ours.value) == str(host.value)


# --- json replaced or changed: the host's own code runs --------------------------

def recording_dumps(calls):
    original = json.dumps

    def dumps(report, **keywords):
        calls.append(keywords)
        return "recorded " + original(report, **keywords)

    return dumps


@pytest.mark.parametrize("replace", [
    lambda monkeypatch, dumps: monkeypatch.setattr(T, "json", type("Fake", (), {"dumps": staticmethod(dumps)})),
    lambda monkeypatch, dumps: monkeypatch.setattr(json, "dumps", dumps),
], ids=["module attribute json", "json.dumps"])
def test_replaced_dumps_is_called(monkeypatch, replace):
    text, calls = expected([1]), []
    replace(monkeypatch, recording_dumps(calls))
    assert text_of([1]) == "recorded " + text
    assert calls == [{"indent": 4, "ensure_ascii": False}]
    monkeypatch.undo()
    assert text_of([1]) == text


def sorting_defaults():
    return {**json.dumps.__kwdefaults__, "sort_keys": True}


def replaced_code(obj, *, skipkeys=False, ensure_ascii=True, check_circular=True, allow_nan=True, cls=None,
                  indent=None, separators=None, default=None, sort_keys=False, **kw):
    return "replaced code"


class EqualsEncoder(json.JSONEncoder):
    key_separator = " = "


@pytest.mark.parametrize("target, name, replacement, text", [
    (json.dumps, "__kwdefaults__", sorting_defaults, '{\n    "AccessLocks": {\n        "a": 2,\n        "b": 1\n    }\n}'),
    (json.dumps, "__code__", lambda: replaced_code.__code__, "replaced code"),
    (json, "JSONEncoder", lambda: EqualsEncoder, '{\n    "AccessLocks" = {\n        "b" = 1,\n        "a" = 2\n    }\n}'),
    (json.JSONEncoder, "key_separator", lambda: ":", '{\n    "AccessLocks":{\n        "b":1,\n        "a":2\n    }\n}'),
    (json.encoder, "encode_basestring", lambda: lambda text: '"%s"' % text.upper(),
     '{\n    "ACCESSLOCKS": {\n        "B": 1,\n        "A": 2\n    }\n}'),
    (json.encoder, "c_make_encoder", lambda: None, '{\n    "AccessLocks": {\n        "b": 1,\n        "a": 2\n    }\n}'),
], ids=["dumps defaults", "dumps code", "encoder class", "encoder class changed", "string encoder",
        "no C encoder"])
def test_changed_json_is_used_as_it_is(monkeypatch, target, name, replacement, text):
    monkeypatch.setattr(target, name, replacement())
    assert text_of({"b": 1, "a": 2}) == text
    monkeypatch.undo()
    assert text_of({"b": 1, "a": 2}) == expected({"b": 1, "a": 2})


def test_recursion_without_c_encoder_is_the_hosts(monkeypatch):
    # The pure-Python encoder counts Python frames: the limit is sys.getrecursionlimit().
    monkeypatch.setattr(json.encoder, "c_make_encoder", None)
    with pytest.raises(RecursionError):
        text_of(deep(sys.getrecursionlimit() + 200))


@pytest.mark.parametrize("setup", [
    "import json; json.dumps = lambda report, **keywords: 'early ' + repr(sorted(keywords))",
    "import json; json.JSONEncoder.key_separator = ' = '",
    textwrap.dedent("""\
        import sys, types
        fake = types.ModuleType("json")
        fake.dumps = lambda report, **keywords: 'fake ' + repr(sorted(keywords))
        sys.modules["json"] = fake"""),
], ids=["dumps replaced", "encoder class changed", "another json module"])
def test_json_changed_before_the_module_started(setup):
    code = setup + textwrap.dedent("""
        import vantrel.base.Tessarine as T
        class Device:
            def read(self, index):
                return {"b": 1}
        print(repr(T.AccessLocks(Device())))
        """)
    done = run_python(code)
    assert done.returncode == 0, done.stderr
    reference = run_python(setup + "\nimport json\nprint(json.dumps({'AccessLocks': {'b': 1}}, indent=4, "
                                   "ensure_ascii=False))")
    assert done.stdout == reference.stdout
