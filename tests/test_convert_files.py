import hashlib
import importlib.metadata
import os
import types
import xml.etree.ElementTree as ElementTree

import pytest

import vantrel.base.Tessarine as T

LINES = ["header", "  <Name>motor</Name>", "  <Value> 12.5 </Value>", "  <Value>first", "half</Value>", "end"]


@pytest.mark.parametrize(
    "args, expected",
    [
        ((LINES, "motor", 1, "<Value>", "</Value>"), "12.5"),
        ((LINES, "12.5", 1, "<Value>", "</Value>"), "firsthalf"),
        ((LINES, "header", 0, "<Name>", "</Name>", 2), "motor"),
        ((LINES, "motor", 1, "<Other>", "</Other>"), None),
        ((LINES, "motor", 1, "<Value>", "</Value>", 0), None),
        ((LINES, "motor", 6, "<Value>", "</Value>"), None),
        # Counts beyond any index bound empty ranges, as they do in Python.
        ((LINES, "motor", 2**64, "<Value>", "</Value>"), None),
        ((LINES, "motor", 1, "<Value>", "</Value>", -2**64), None),
    ],
)
def test_find_line_data(args, expected):
    assert T.find_line_data(*args) == expected


@pytest.mark.parametrize("add_lines, max_lines", [(1, 2), (-2**63, 3), (-10**30, 3), (1, 2**64)])
def test_find_line_data_does_not_guard_the_end_of_the_lines(add_lines, max_lines):
    with pytest.raises(IndexError):
        T.find_line_data(["name", "<v> open"], "name", add_lines, "<v>", "</v>", max_lines)


def test_a_failed_search_moves_on_to_the_next_line_with_the_name():
    lines = ["key", "nothing here", "key", "<v>7</v>"]
    assert T.find_line_data(lines, "key", 1, "<v>", "</v>", maxLines=1) == "7"


def find_line_data_as_written(lines, name, addLines, prefix, suffix, maxLines=3):
    for i in range(len(lines) - addLines):
        if lines[i].find(name) >= 0:
            for k in range(maxLines):
                line = lines[i + addLines + k]
                start = line.find(prefix)
                if start < 0:
                    continue
                start += len(prefix)
                text = line
                for j in range(maxLines):
                    end = text[start:].find(suffix)
                    if end >= 0:
                        return text[start:start + end].strip()
                    line = lines[i + addLines + j + 1]
                    text += line
    return None


def outcome(function, *args):
    try:
        return function(*args)
    except Exception as error:
        return type(error), str(error)


@pytest.mark.parametrize(
    "args",
    [
        # counts beyond any C integer, as the host's arithmetic takes them
        (["name", "<v>1</v>"], "name", 2**31, "<v>", "</v>"),
        (["name", "<v>1</v>"], "name", 2**63, "<v>", "</v>"),
        (["name", "<v>1</v>"], "name", 2**100, "<v>", "</v>"),
        (["name", "<v>1</v>"], "name", -2**63, "<v>", "</v>"),
        (["other", "<v>1</v>"], "name", -2**63, "<v>", "</v>"),
        (["name", "<v>1</v>"], "name", 1, "<v>", "</v>", 2**31),
        (["name", "<v>1</v>"], "name", 1, "<v>", "</v>", 2**63),
        (["name", "<v>a", "b</v>"], "name", 1, "<v>", "</v>", 2**63),
        (["name", "nothing"], "name", 1, "<v>", "</v>", 2**63),
        (["name", "<v>open"], "name", 1, "<v>", "</v>", 2**63),
        (["name", "<v>1</v>"], "name", 1, "<v>", "</v>", -2**63),
        # maxLines is read only once a line holds the name
        (["x"], "N", 0, "P", "S", "z"),
        ([], "N", 0, "P", "S", None),
        (["N"], "N", 0, "P", "S", "z"),
        (["N", "P"], "N", 1, "P", "S", 1.0),
        # the host's own refusals and coercions
        (["name", "<v>1</v>"], "name", 1.0, "<v>", "</v>"),
        (["name", "<v>1</v>"], "name", True, "<v>", "</v>"),
        (["name", "<v>1</v>"], "name", "1", "<v>", "</v>"),
        (["name", "<v>1</v>"], 5, 1, "<v>", "</v>"),
        (["name", "<v>1</v>"], "name", 1, None, "</v>"),
        (["name", "<v>1</v>"], "name", 1, "<v>", None),
        ([b"name", b"<v> 5 </v>"], b"name", 1, b"<v>", b"</v>"),
        ([["name"], ["<v>", "x", "</v>"]], "name", 1, "<v>", "</v>"),
        (("name", "<v>a", "", "b</v>"), "name", 1, "<v>", "</v>", 3),
        (["name", "<v></v>"], "name", 1, "<v>", ""),
    ],
)
def test_find_line_data_computes_as_written(args):
    assert outcome(T.find_line_data, *args) == outcome(find_line_data_as_written, *args)


def test_find_line_data_big_counts():
    lines = ["name", "<v> 1 </v>"]
    assert T.find_line_data(lines, "name", 2**63, "<v>", "</v>") is None
    assert T.find_line_data(lines, "name", 1, "<v>", "</v>", 2**63) == "1"
    with pytest.raises(IndexError):
        T.find_line_data(lines, "name", -2**63, "<v>", "</v>")
    assert T.find_line_data(["x"], "N", 0, "P", "S", "z") is None
    assert T.find_line_data([], "N", 0, "P", "S", None) is None


def test_filesha256_reads_in_blocks(tmp_path):
    path = tmp_path / "data.bin"
    content = os.urandom(2 * 1048576 + 123)
    path.write_bytes(content)
    assert T.filesha256(str(path)) == hashlib.sha256(content).digest()
    assert T.filesha256(path, blockSize=1000) == hashlib.sha256(content).digest()
    (tmp_path / "empty").write_bytes(b"")
    assert T.filesha256(tmp_path / "empty") == hashlib.sha256(b"").digest()
    with pytest.raises(FileNotFoundError):
        T.filesha256(tmp_path / "missing")


@pytest.mark.parametrize("block_size, error", [(None, None), ("big", TypeError)])
def test_filesha256_closes_its_file_on_every_way_out(tmp_path, block_size, error):
    path = tmp_path / "data.bin"
    path.write_bytes(b"abc")
    descriptor = os.open(path, os.O_RDONLY)
    if error:
        with pytest.raises(error):
            T.filesha256(descriptor, block_size)
    else:
        assert T.filesha256(descriptor) == hashlib.sha256(b"abc").digest()
    with pytest.raises(OSError):
        os.fstat(descriptor)


SCHEMA = "http://www.w3.org/2001/XMLSchema-instance"


@pytest.mark.parametrize(
    "document, namespace, schema",
    [
        (f'<r xmlns="urn:a" xmlns:xsi="{SCHEMA}" xsi:schemaLocation="urn:a a.xsd"/>', "{urn:a}", "{" + SCHEMA + "}"),
        ('<r schemaLocation="x" other="y"/>', "", ""),
        ("<r/>", "", ""),
    ],
)
def test_root_namespace_and_schema(document, namespace, schema):
    root = ElementTree.fromstring(document)
    assert (T.getRootNamespace(root), T.getRootSchema(root)) == (namespace, schema)


def test_get_module_versions():
    numpy_version = importlib.metadata.version("numpy")
    invented = types.ModuleType("no_such_distribution_here")
    invented.__version__ = "9.9"
    assert T.getModuleVersions([None, "", "no-such-distribution-here"]) == ""
    assert T.getModuleVersions(["numpy", invented, types.ModuleType("numpy")]) == (
        f"numpy = {numpy_version}\nno_such_distribution_here = unknown\nnumpy = {numpy_version}\n"
    )
