import array

import pytest

import vantrel.base.Tessarine as T


@pytest.mark.parametrize("naming, matlab", [("matlab", True), ("MatLab", True), ("original", False), ("ORIGINAL", False)])
def test_is_matlab_naming(naming, matlab):
    assert T.isMatlabNaming(naming) is matlab


def test_an_invalid_naming_keeps_its_case_in_the_message():
    with pytest.raises(T.OrvaneException, match="^Invalid record field naming: Camel$"):
        T.isMatlabNaming("Camel")
    with pytest.raises(AttributeError):
        T.isMatlabNaming(5)


@pytest.mark.parametrize(
    "args, kwargs, expected",
    [
        (("Gr\u00f6\u00dfe A\\B",), {}, "Groesse_A_B"),
        (("12",), {}, "subIdx_12"),
        (("12",), {"index": True}, "index_12"),
        (((5, 2),), {}, "index_5_2"),
        ((("a", 2),), {}, "__a___2_"),
        (("a.b",), {}, "a_b"),
        (("a.b",), {"dot": True}, "a.b"),
        (("1.2",), {"dot": True}, "1.2"),
        ((7,), {}, "subIdx_7"),
        (("\u65e5\u672c",), {}, "__"),
        (("1abc",), {"subIdx": 4}, "1abc"),
        (("\u00e9t\u00e9 \u00e0 l\u00e0",), {}, "ete_a_la"),
    ],
)
def test_convert_matlab_field_name(args, kwargs, expected):
    assert T._convertMatlabFieldName(*args, **kwargs) == expected


def test_field_names_convert_through_the_module_names(monkeypatch):
    convert = T._convertMatlabFieldName
    # A conversion that drops letters lets the sub-index take over.
    monkeypatch.setattr(T, "_convertToAscii", lambda name: "-")
    assert convert("abc", subIdx=(3,)) == "subIdx_3"
    assert convert("abc") == "_"
    monkeypatch.setattr(T, "_convertToAscii", lambda name: 5)
    with pytest.raises(TypeError, match="expected string or bytes-like object, got 'int'"):
        convert("abc")


def test_dict_matlab_replace_descends_into_dicts_only():
    source = {"a b": {"1": {"x.y": 1}}, "l": [{"c d": 2}], (3, 4): 5}
    assert T._dictMatlabReplace(source, dot=True) == {"a_b": {"subIdx_1": {"x.y": 1}}, "l": [{"c d": 2}], "index_3_4": 5}
    assert T._dictMatlabReplace({"a b": 1, "a_b": 2, "c": 3}) == {"a_b": 2, "c": 3}
    with pytest.raises(AttributeError):
        T._dictMatlabReplace(None)


def test_matlab_convert():
    nested = [2.5]
    assert T.matlabConvert((1.0, nested, 3)) == (1, [2], 3)
    assert nested == [2]
    kept = (1, "a")
    assert T.matlabConvert(kept) is kept
    assert T.matlabConvert([1, 2]) == (1, 2)
    numbers = array.array("d", [1.5])
    assert T.matlabConvert((numbers,)) == ([1],) and numbers[0] == 1.5
    with pytest.raises(TypeError):
        T.matlabConvert(((1.5,),))


@pytest.mark.parametrize(
    "call, expected",
    [
        (lambda: T.dictRename({"a": 1, "b": 2}, ["a"], ["x"]), {"x": 1, "b": 2}),
        (lambda: T.dictRenameCapitals({"abcdEfgHij": 1, "aABCD": 2, "x": 3}), {"Abcd Efg Hij": 1, "AA BC D": 2, "X": 3}),
        (lambda: T.dictReplace({" a b ": 1}, " ", "_", " "), {"a_b": 1}),
        (lambda: T.dictReplace({" a b ": 1}, " ", "_"), {"_a_b_": 1}),
    ],
)
def test_key_rewriting(call, expected):
    assert call() == expected


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda: T.dictRename({"b": 1}, ["a", "b"], ["x"]), IndexError),
        (lambda: T.dictRenameCapitals({"": 1}), IndexError),
        (lambda: T.dictRenameCapitals({5: 1}), TypeError),
    ],
)
def test_key_rewriting_failures(call, error):
    with pytest.raises(error):
        call()


def test_items_that_are_not_pairs_fail_as_unpacking_does():
    class Odd:
        def items(self):
            return [(1, 2, 3)]

    with pytest.raises(ValueError, match=r"^too many values to unpack \(expected 2\)$"):
        T.dictReplace(Odd(), "a", "b")
