"""Value, naming, file, URL and M-sequence helpers."""
import array
import importlib.metadata
import traceback
import types
import xml.etree.ElementTree as ElementTree

import numpy
import pytest

import vantrel.base.Tessarine as T
from conftest import outcome, run_python
from loopback import server  # noqa: F401 (the fixture)
from standins import Recorder


AS_WRITTEN = {T.toHex: lambda arr, pre="0x": pre + "".join(format(x, "02X") for x in arr),
              T.toHexDelim: lambda arr, delim="": delim.join(format(x, "02X") for x in arr)}


TO_HEX = [(b"\x01\xab",), (b"\x01\xab", ""), (b"",), ([256, 0, True],), (bytearray(b"\xff"), "#"), ([-1, 2**70, 10],),
          ([1.5],), ("ab",), (5,), (b"\x01", b"0x"), ([1], "\ud800")]


TO_HEX_DELIM = [(b"\xab\xcd\xef", "."), (b"\xab\xcd\xef",), (b"", "."), (memoryview(b"\x01\x02"), "\u00e4"),
                ([1, 300], "\ud800"), (b"\x01", 5), (b"\x01\x02", b"."), (bytearray(b"\x01\x02"), b"."), ([1.5], ".")]


@pytest.mark.parametrize("function, args", [(T.toHex, args) for args in TO_HEX] +
                         [(T.toHexDelim, args) for args in TO_HEX_DELIM])
def test_hex_texts_compute_as_written(function, args):
    assert outcome(lambda: function(*args)) == outcome(lambda: AS_WRITTEN[function](*args))


@pytest.mark.parametrize("args, kwargs, expected", [
    (("Gr\u00f6\u00dfe A\\B",), {}, "Groesse_A_B"), (("\u00e9t\u00e9 \u00e0 l\u00e0",), {}, "ete_a_la"),
    (("\u00c4\u00d6\u00dc\u00e8\u00e1\u00fc",), {}, "AeOeUeeaue"), (("\u65e5\u672c",), {}, "__"),
    (("12",), {}, "subIdx_12"), (("12",), {"index": True}, "index_12"), ((7,), {}, "subIdx_7"),
    (((5, 2),), {}, "index_5_2"), ((("a", 2),), {}, "__a___2_"), (("a.b",), {}, "a_b"),
    (("a.b",), {"dot": True}, "a.b"), (("1.2",), {"dot": True}, "1.2"), (("1abc",), {"subIdx": 4}, "1abc"),
    (("ab",), {"subIdx": 4}, "ab"),
])
def test_convert_matlab_field_name(args, kwargs, expected):
    assert T._convertMatlabFieldName(*args, **kwargs) == expected


@pytest.mark.parametrize("ascii, sub_index, result", [
    ("-", (3,), ("returned", "subIdx_3")), ("-", None, ("returned", "_")),
    (5, None, (TypeError, "expected string or bytes-like object, got 'int'")),
    (b"abc", None, (TypeError, "cannot use a string pattern on a bytes-like object"))])
def test_what_the_conversion_to_ascii_gives_decides(monkeypatch, ascii, sub_index, result):
    monkeypatch.setattr(T, "_convertToAscii", lambda name: ascii)
    assert outcome(lambda: T._convertMatlabFieldName("abc", sub_index)) == result


def test_matlab_convert():
    nested, kept, numbers = [2.5], (1, "a"), array.array("d", [1.5])
    assert (T.matlabConvert((1.0, nested, 3)), nested, T.matlabConvert([1, 2])) == ((1, [2], 3), [2], (1, 2))
    assert T.matlabConvert(kept) is kept and T.matlabConvert((numbers,)) == ([1],) and numbers[0] == 1.5


@pytest.mark.parametrize("call, result", [
    (lambda: T.equals(1, 1.0), ("returned", True)), (lambda: T.notequals("a", "a"), ("returned", False)),
    (lambda: T.undefIfNone(None), ("returned", "undefined")), (lambda: T.undefIfNone(0), ("returned", 0)),
    (lambda: T.isMatlabNaming("MatLab"), ("returned", True)),
    (lambda: T.isMatlabNaming("ORIGINAL"), ("returned", False)),
    (lambda: T.isMatlabNaming("Camel"), (T.OrvaneException, "Invalid record field naming: Camel")),
    (lambda: T._dictMatlabReplace({"a b": {"1": {"x.y": 1}}, "l": [{"c d": 2}], (3, 4): 5}, dot=True),
     ("returned", {"a_b": {"subIdx_1": {"x.y": 1}}, "l": [{"c d": 2}], "index_3_4": 5})),
    (lambda: T._dictMatlabReplace({"a b": 1, "a_b": 2, "c": 3}), ("returned", {"a_b": 2, "c": 3})),
    (lambda: T.dictRename({"a": 1, "b": 2}, ["a"], ["x"]), ("returned", {"x": 1, "b": 2})),
    (lambda: T.dictRenameCapitals({"abcdEfgHij": 1, "aABCD": 2, "x": 3}),
     ("returned", {"Abcd Efg Hij": 1, "AA BC D": 2, "X": 3})),
    (lambda: T.dictReplace({" a b ": 1, "c": 2}, " ", "_", " "), ("returned", {"a_b": 1, "c": 2})),
    (lambda: T.dictReplace({" a b ": 1}, " ", "_"), ("returned", {"_a_b_": 1})),
])
def test_values_names_and_keys(call, result):
    assert repr(outcome(call)) == repr(result)  # the text pins the order of the keys as well


@pytest.mark.parametrize("pair", [(1, 2, 3), [1, 2, 3], "abc", (1,), [1], (), iter(()), 5, None])
def test_items_that_are_not_pairs_fail_as_unpacking_does(pair):
    items = types.SimpleNamespace(items=lambda: [pair])
    assert outcome(lambda: T.dictRenameCapitals(items)) == outcome(lambda: [{key: value} for key, value in [pair]])


# is_list, is_int_list (of numbers), is_str_list; is_list_none answers as is_list, and True for None.
@pytest.mark.parametrize("value, answers", [
    ([], (True, True, True)), ([1, "a"], (True, False, False)), (("a", "b"), (True, False, True)),
    *[(value, (True, True, False)) for value in ([1, 2.5, True], range(3), {1}, memoryview(b"a"), numpy.zeros(2))],
    (array.array("b", [1]), (True, True, False)), (numpy.zeros(2, int), (True, False, False)),
    (type("Claims", (), {"__class__": list})(), (True,) + ((TypeError, "'Claims' object is not iterable"),) * 2),
    *[(value, (False, False, False)) for value in (None, b"a", bytearray(b"a"), "a", {}, frozenset(), 5)],
])
def test_list_tests(value, answers):
    expected = [answer if type(answer) is tuple else ("returned", answer) for answer in answers]
    tests = (T.is_list, T.is_int_list, T.is_str_list, T.is_list_none)
    assert repr([outcome(lambda: test(value)) for test in tests]) \
        == repr(expected + [("returned", answers[0] or value is None)])


def test_without_numpy_the_answer_is_np_itself():
    process = run_python("import sys; sys.modules['numpy'] = None\nimport vantrel.base.Tessarine as T\n"
                         "print(T.np, T.is_list(5), T.is_list_none(5), T.is_list((5,)), T.is_int_list(5))")
    assert process.stdout == "None None None True False\n", process.stderr


# capability, process data in and out -> ISDU support, OPERATE type and length, PREOPERATE type, length, recovery time
@pytest.mark.parametrize("capability, pd_in, pd_out, report", [
    (0, 0, 0, (False, None, 0, "TYPE_0", 1, 100)), (0x10, 0, 0, (False, None, 8, "TYPE_1_2", 2, 100)),
    (0x21, 0, 0, (True, None, 0, "TYPE_1_V", 8, 210)), (0x31, 0, 0, (True, None, 8, None, 32, 550)),
    (0xCE, 0, 0, (False, None, 0, "TYPE_0", 1, 100)), (-1, 0, 0, (True, None, 8, None, 32, 550)),
    *[(0, pd_in, pd_out, (False, f"TYPE_2_{code}", 1, "TYPE_0", 1, 100)) for pd_in, pd_out, code in [
        (1, 0, 1), (2, 0, 2), (0, 1, 3), (0, 2, 4), (1, 1, 5), (1, 2, 6), (2, 1, 6), (2, 2, 7)]],
    *[(0, pd_in, pd_out, (False, "TYPE_1_1/1_2", 2, "TYPE_0", 1, 100)) for pd_in, pd_out in [(3, 0), (0, 3), (32, 32)]],
])
def test_mseq_capability_and_process_data_lengths(capability, pd_in, pd_out, report):
    isdu, operate_type, operate_length, *preoperate = report
    expected = {"IsduSupport": isdu, "Operate": {"type": operate_type, "IsduByteLength": operate_length},
                "Preoperate": dict(zip(["type", "IsduByteLength", "MinRecoveryBitTime"], preoperate))}
    assert repr(T.parseMseqCapability(capability, pd_in, pd_out)) == repr(expected)  # pins key order and types


def find_line_data_as_written(lines, name, addLines, prefix, suffix, maxLines=3):
    for i in range(len(lines) - addLines):
        if lines[i].find(name) >= 0:
            for k in range(maxLines):
                text = lines[i + addLines + k]
                start = text.find(prefix)
                if start >= 0:
                    start += len(prefix)
                    for j in range(maxLines):
                        end = text[start:].find(suffix)
                        if end >= 0:
                            return text[start:start + end].strip()
                        text += lines[i + addLines + j + 1]


LINES = ["header", "  <n>motor</n>", "  <v> 12.5 </v>", "  <v>first", "half</v>", "end"]


NAMED, V = ["name", "<v> 1 </v>"], ("<v>", "</v>")


@pytest.mark.parametrize("args", [
    (LINES, "motor", 1, *V), (LINES, "12.5", 1, *V), (LINES, "header", 0, "<n>", "</n>", 2), (LINES, "motor", 6, *V),
    (LINES, "motor", 1, "<o>", "</o>"), (LINES, "motor", 1, *V, 0), (["key", "no", "key", "<v>7</v>"], "key", 1, *V, 1),
    # counts beyond any C integer, as the host's arithmetic takes them, its refusals and coercions; maxLines is
    # read only once a line holds the name
    *[(NAMED, "name", add, *V) for add in (2**31, 2**63, 2**100, -2**63, -10**30, 1.0, True, "1")],
    *[(NAMED, "name", 1, *V, most) for most in (2**63, 2**64, -2**63, "z")], (["no", "<v>1</v>"], "name", -2**63, *V),
    *[(lines, "name", 1, *V, 2**63) for lines in (["name", "<v>a", "b</v>"], ["name", "no"], ["name", "<v>open"])],
    (["name", "<v> open"], "name", 1, *V, 2), ([b"name", b"<v> 5 </v>"], b"name", 1, b"<v>", b"</v>"),
    ([["name"], ["<v>", "x", "</v>"]], "name", 1, *V), (("name", "<v>a", "", "b</v>"), "name", 1, *V),
    (NAMED, 5, 1, *V), (NAMED, "name", 1, "<v>", None), (NAMED, "name", 1, "<v>", ""), ([], "N", 0, "P", "S", None),
])
def test_find_line_data_computes_as_written(args):
    assert outcome(lambda: T.find_line_data(*args)) == outcome(lambda: find_line_data_as_written(*args))


def test_root_namespace_and_schema():
    roots = [ElementTree.fromstring(document) for document in (
        '<r xmlns="urn:a" xmlns:s="urn:s" s:schemaLocation="urn:a a.xsd"/>', '<r schemaLocation="x" other="y"/>')]
    assert [(T.getRootNamespace(root), T.getRootSchema(root)) for root in roots] == [("{urn:a}", "{urn:s}"), ("", "")]


def test_get_module_versions():
    invented = types.ModuleType("no_such_distribution_here")
    numpy = "numpy = %s\n" % importlib.metadata.version("numpy")
    modules = [None, "numpy", "", invented, "no-such-distribution-here", types.ModuleType("numpy")]
    assert T.getModuleVersions(modules) == numpy + "no_such_distribution_here = unknown\n" + numpy


def test_any_other_status_than_200_raises_only_with_the_checking_functions(server):
    answer, raised = T.readUrlNoException(server.url + "/missing"), outcome(lambda: T.readUrl(server.url + "/missing"))
    assert (answer.status, raised) == (404, (T.RequestException, "404 Not Found"))


def test_the_four_functions_go_through_http_and_posts_fix_the_method(monkeypatch):
    monkeypatch.setattr(T, "_http", Recorder(request=types.SimpleNamespace(status=200)))
    answers = [T.readUrl("u1", headers={"a": "b"}), T.postUrl("u2", body=b"x"), T.readUrlNoException("u3", "PUT"),
               T.postUrlNoException(url="u4")]
    assert (answers, T._http.calls) == ([T._http.answers["request"]] * 4, [
        ("request", "GET", "u1", ("headers", {"a": "b"})), ("request", "POST", "u2", ("body", b"x")),
        ("request", "PUT", "u3"), ("request", "POST", "u4")])


def test_format_exception_leaves_out_the_caller_and_its_caller():
    try:
        {}["missing"]
    except KeyError as error:
        # The head, the stack without this function and its caller, then where the exception came from.
        expected = "".join(traceback.format_exception(error)[:1] + traceback.format_stack()[:-2]
                           + traceback.format_exception(error)[1:])
        assert T.format_exception(error) == T.format_exception(None) == expected[:-1]
