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
