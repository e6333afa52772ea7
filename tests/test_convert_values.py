import array

import numpy
import pytest

import vantrel.base.Tessarine as T
from conftest import outcome, run_python


def to_hex_as_written(arr, pre="0x"):
    return pre + "".join(format(x, "02X") for x in arr)


def to_hex_delim_as_written(arr, delim=""):
    return delim.join(format(x, "02X") for x in arr)


TO_HEX = [(b"\x01\xab",), (b"\x01\xab", ""), (b"",), ([256, 0, True],), (bytearray(b"\xff"), "#"), ([-1, 2**70, 10],),
          ([1.5],), ("ab",), (5,), (b"\x01", b"0x"), ([1], "\ud800")]
TO_HEX_DELIM = [(b"\xab\xcd\xef", "."), (b"\xab\xcd\xef",), (b"", "."), (memoryview(b"\x01\x02"), "\u00e4"),
                ([1, 300], "\ud800"), (b"\x01", 5), (b"\x01\x02", b"."), (bytearray(b"\x01\x02"), b"."), ([1.5], ".")]


@pytest.mark.parametrize("function, as_written, args", [(T.toHex, to_hex_as_written, args) for args in TO_HEX] +
                         [(T.toHexDelim, to_hex_delim_as_written, args) for args in TO_HEX_DELIM])
def test_hex_texts_compute_as_written(function, as_written, args):
    assert outcome(lambda: function(*args)) == outcome(lambda: as_written(*args))


@pytest.mark.parametrize("function, args, expected", [
    (T.equals, (1, 1.0), True), (T.notequals, ("a", "a"), False), (T.undefIfNone, (None,), "undefined"),
    (T.undefIfNone, (0,), 0), (T.undefIfNone, ("",), ""), (T.dict_depth, (5,), 0), (T.dict_depth, ({},), 1),
    (T.dict_depth, ({"a": 1},), 1), (T.dict_depth, ({"a": {}},), 2), (T.dict_depth, ({"a": [{"b": 1}]},), 1),
    (T.dict_depth, ({"a": 1, "b": {"c": {"d": 0}}, "e": {}},), 3), (T.is_list_none, (None,), True),
])
def test_plain_values(function, args, expected):
    result = function(*args)
    assert (type(result), result) == (type(expected), expected)


def test_comparisons_return_what_the_operands_give():
    assert T.equals(numpy.array([1, 2]), 1).tolist() == [True, False]


@pytest.mark.parametrize("value, listed", [
    ([1], True), ((1,), True), (range(3), True), ({1}, True), (memoryview(b"a"), True), (array.array("b", [1]), True),
    (numpy.zeros(2), True), (type("ClaimsToBeAList", (), {"__class__": list})(), True),
    (b"a", False), (bytearray(b"a"), False), ("a", False), ({}, False), (frozenset(), False), (5, False),
])
def test_is_list_with_numpy(value, listed):
    assert T.is_list(value) is listed and T.is_list_none(value) is listed


@pytest.mark.parametrize("value, of_numbers, of_str", [
    ([], True, True), ([1, 2.5, True], True, False), ([1, "a"], False, False), (("a", "b"), False, True),
    (numpy.zeros(2), True, False), (numpy.zeros(2, int), False, False), (None, False, False), ("ab", False, False),
])
def test_element_type_lists(value, of_numbers, of_str):
    assert repr((T.is_int_list(value), T.is_str_list(value))) == repr((of_numbers, of_str))


def test_without_numpy_the_answer_is_np_itself():
    process = run_python("import sys; sys.modules['numpy'] = None\nimport vantrel.base.Tessarine as T\n"
                         "print(T.np, T.is_list(5), T.is_list_none(5), T.is_list((5,)), T.is_int_list(5))")
    assert process.stdout == "None None None True False\n", process.stderr
