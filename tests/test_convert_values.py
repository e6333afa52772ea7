import array

import numpy
import pytest

import vantrel.base.Tessarine as T
from conftest import run_python


@pytest.mark.parametrize(
    "call, expected",
    [
        (lambda: T.toHex(b"\x01\xab"), "0x01AB"),
        (lambda: T.toHex(b"\x01\xab", ""), "01AB"),
        (lambda: T.toHex(b""), "0x"),
        (lambda: T.toHex([256, 0, True]), "0x1000001"),
        (lambda: T.toHex(bytearray(b"\xff"), pre="#"), "#FF"),
        (lambda: T.toHex([-1, 2**70, 10]), "0x" + "".join(format(x, "02X") for x in [-1, 2**70, 10])),
        (lambda: T.toHexDelim(b"\xab\xcd\xef", "."), "AB.CD.EF"),
        (lambda: T.toHexDelim(b"\xab\xcd\xef"), "ABCDEF"),
        (lambda: T.toHexDelim(b"", "."), ""),
        (lambda: T.toHexDelim(memoryview(b"\x01\x02"), delim="\u00e4"), "01\u00e402"),
    ],
)
def test_hex_texts(call, expected):
    assert call() == expected


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: T.toHex([1.5]), ValueError),
        (lambda: T.toHex("ab"), ValueError),
        (lambda: T.toHex(5), TypeError),
        (lambda: T.toHex(b"\x01", b"0x"), TypeError),
        (lambda: T.toHexDelim(b"\x01", 5), AttributeError),
        (lambda: T.toHexDelim(b"\x01\x02", b"."), TypeError),
    ],
)
def test_hex_failures_are_the_hosts(call, error):
    with pytest.raises(error):
        call()


def test_comparisons_return_what_the_operands_give():
    assert T.equals(1, 1.0) is True and T.notequals("a", "a") is False
    assert T.equals(numpy.array([1, 2]), 1).tolist() == [True, False]


@pytest.mark.parametrize("value, expected", [(None, "undefined"), (0, 0), ("", "")])
def test_undef_if_none(value, expected):
    assert T.undefIfNone(value) == expected


@pytest.mark.parametrize(
    "value, depth",
    [(5, 0), ({}, 1), ({"a": 1}, 1), ({"a": {}}, 2), ({"a": 1, "b": {"c": {"d": 0}}}, 3), ({"a": [{"b": 1}]}, 1)],
)
def test_dict_depth(value, depth):
    assert T.dict_depth(value) == depth


def test_module_names_are_looked_up_at_each_call(monkeypatch):
    dict_depth, is_int_list = T.dict_depth, T.is_int_list
    monkeypatch.setattr(T, "dict_depth", lambda d: 10)
    monkeypatch.setattr(T, "is_list", lambda obj: False)
    assert dict_depth({"a": 1}) == 11
    assert is_int_list([1]) is False


@pytest.mark.parametrize(
    "value, listed",
    [
        ([1], True), ((1,), True), (range(3), True), ({1}, True), (memoryview(b"a"), True),
        (array.array("b", [1]), True), (numpy.zeros(2), True),
        (b"a", False), (bytearray(b"a"), False), ("a", False), ({}, False), (frozenset(), False), (5, False),
    ],
)
def test_is_list_with_numpy(value, listed):
    assert T.is_list(value) is listed
    assert T.is_list_none(value) is listed


def test_without_numpy_installed():
    process = run_python(
        "import sys; sys.modules['numpy'] = None\n"
        "import vantrel.base.Tessarine as T\n"
        "print(T.is_list(5), T.is_list_none(5), T.is_list((5,)), T.is_int_list(5))"
    )
    assert process.stdout == "None None True False\n", process.stderr


def test_without_numpy_the_answer_is_np_itself(monkeypatch):
    monkeypatch.setattr(T, "np", None)
    assert T.is_list(5) is None
    assert T.is_list_none(5) is None
    assert T.is_list([5]) is True
    assert T.is_int_list(5) is False and T.is_str_list(5) is False


@pytest.mark.parametrize(
    "test, value, expected",
    [
        (T.is_int_list, [], True), (T.is_str_list, [], True),
        (T.is_int_list, [1, 2.5, True], True), (T.is_int_list, [1, "a"], False),
        (T.is_int_list, numpy.zeros(2), True), (T.is_int_list, numpy.zeros(2, dtype=int), False),
        (T.is_str_list, ("a", "b"), True), (T.is_str_list, ["a", 1], False),
        (T.is_int_list, None, False), (T.is_str_list, "ab", False),
    ],
)
def test_element_type_lists(test, value, expected):
    assert test(value) is expected


def test_is_list_none_of_none():
    assert T.is_list_none(None) is True


def test_a_claimed_class_counts_as_with_isinstance():
    class Proxy:
        __class__ = list

    assert T.is_list(Proxy()) is True
