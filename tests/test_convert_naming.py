import array
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome


@pytest.mark.parametrize("args, kwargs, expected", [
    (("Gr\u00f6\u00dfe A\\B",), {}, "Groesse_A_B"), (("\u00e9t\u00e9 \u00e0 l\u00e0",), {}, "ete_a_la"),
    (("\u00c4\u00d6\u00dc\u00e8\u00e1\u00fc",), {}, "AeOeUeeaue"), (("\u65e5\u672c",), {}, "__"),
    (("12",), {}, "subIdx_12"), (("12",), {"index": True}, "index_12"), ((7,), {}, "subIdx_7"),
    (((5, 2),), {}, "index_5_2"), ((("a", 2),), {}, "__a___2_"), (("a.b",), {}, "a_b"),
    (("a.b",), {"dot": True}, "a.b"), (("1.2",), {"dot": True}, "1.2"), (("1abc",), {"subIdx": 4}, "1abc"),
])
def test_convert_matlab_field_name(args, kwargs, expected):
    assert T._convertMatlabFieldName(*args, **kwargs) == expected


@pytest.mark.parametrize("ascii, sub_index, result", [
    ("-", (3,), ("returned", "subIdx_3")), ("-", None, ("returned", "_")),
    (5, None, (TypeError, "expected string or bytes-like object, got 'int'")),
    (b"abc", None, (TypeError, "cannot use a string pattern on a bytes-like object")),
])
def test_what_the_conversion_to_ascii_gives_decides(monkeypatch, ascii, sub_index, result):
    monkeypatch.setattr(T, "_convertToAscii", lambda name: ascii)
    assert outcome(lambda: T._convertMatlabFieldName("abc", sub_index)) == result


def test_matlab_convert():
    nested, kept, numbers = [2.5], (1, "a"), array.array("d", [1.5])
    assert (T.matlabConvert((1.0, nested, 3)), nested, T.matlabConvert([1, 2])) == ((1, [2], 3), [2], (1, 2))
    assert T.matlabConvert(kept) is kept and T.matlabConvert((numbers,)) == ([1],) and numbers[0] == 1.5
    assert outcome(lambda: T.matlabConvert(((1.5,),))) == (TypeError, "'tuple' object does not support item assignment")


@pytest.mark.parametrize("call, result", [
    (lambda: T.isMatlabNaming("MatLab"), ("returned", True)), (lambda: T.isMatlabNaming("matlab"), ("returned", True)),
    (lambda: T.isMatlabNaming("ORIGINAL"), ("returned", False)),
    (lambda: T.isMatlabNaming("original"), ("returned", False)),
    (lambda: T.isMatlabNaming("Camel"), (T.OrvaneException, "Invalid record field naming: Camel")),
    (lambda: T.isMatlabNaming(5), (AttributeError, "'int' object has no attribute 'lower'")),
    (lambda: T._dictMatlabReplace({"a b": {"1": {"x.y": 1}}, "l": [{"c d": 2}], (3, 4): 5}, dot=True),
     ("returned", {"a_b": {"subIdx_1": {"x.y": 1}}, "l": [{"c d": 2}], "index_3_4": 5})),
    (lambda: T._dictMatlabReplace({"a b": 1, "a_b": 2, "c": 3}), ("returned", {"a_b": 2, "c": 3})),
    (lambda: T._dictMatlabReplace(None), (AttributeError, "'NoneType' object has no attribute 'items'")),
    (lambda: T.dictRename({"a": 1, "b": 2}, ["a"], ["x"]), ("returned", {"x": 1, "b": 2})),
    (lambda: T.dictRename({"b": 1}, ["a", "b"], ["x"]), (IndexError, "list index out of range")),
    (lambda: T.dictRenameCapitals({"abcdEfgHij": 1, "aABCD": 2, "x": 3}),
     ("returned", {"Abcd Efg Hij": 1, "AA BC D": 2, "X": 3})),
    (lambda: T.dictRenameCapitals({"": 1}), (IndexError, "string index out of range")),
    (lambda: T.dictRenameCapitals({5: 1}), (TypeError, "'int' object is not subscriptable")),
    (lambda: T.dictReplace({" a b ": 1, "c": 2}, " ", "_", " "), ("returned", {"a_b": 1, "c": 2})),
    (lambda: T.dictReplace({" a b ": 1}, " ", "_"), ("returned", {"_a_b_": 1})),
])
def test_names_and_keys(call, result):
    assert repr(outcome(call)) == repr(result)  # the text pins the order of the keys as well


def unpacked(pair):
    key, value = pair
    return {key: value}


@pytest.mark.parametrize("rewrite", [lambda items: T.dictRename(items, [], []), T.dictRenameCapitals,
                                     lambda items: T.dictReplace(items, "a", "b"), T._dictMatlabReplace])
@pytest.mark.parametrize("pair", [(1, 2, 3), [1, 2, 3], "abc", (1,), [1], (), iter(()), 5, None])
def test_items_that_are_not_pairs_fail_as_unpacking_does(rewrite, pair):
    assert outcome(lambda: rewrite(types.SimpleNamespace(items=lambda: [pair]))) == outcome(lambda: unpacked(pair))
