import hashlib
import importlib.metadata
import os
import types
import xml.etree.ElementTree as ElementTree

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome

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
    return None


LINES = ["header", "  <n>motor</n>", "  <v> 12.5 </v>", "  <v>first", "half</v>", "end"]
NAMED, V = ["name", "<v> 1 </v>"], ("<v>", "</v>")


@pytest.mark.parametrize("args", [
    (LINES, "motor", 1, *V), (LINES, "12.5", 1, *V), (LINES, "header", 0, "<n>", "</n>", 2), (LINES, "motor", 6, *V),
    (LINES, "motor", 1, "<o>", "</o>"), (LINES, "motor", 1, *V, 0), (["key", "no", "key", "<v>7</v>"], "key", 1, *V, 1),
    # counts beyond any C integer, as the host's arithmetic takes them, and the host's refusals and coercions
    *[(NAMED, "name", add, *V) for add in (2**31, 2**63, 2**100, -2**63, -10**30, 1.0, True, "1")],
    *[(NAMED, "name", 1, *V, most) for most in (2**63, 2**64, -2**63, "z")], (["no", "<v>1</v>"], "name", -2**63, *V),
    *[(lines, "name", 1, *V, 2**63) for lines in (["name", "<v>a", "b</v>"], ["name", "no"], ["name", "<v>open"])],
    (["name", "<v> open"], "name", 1, *V, 2), (NAMED, 5, 1, *V), (NAMED, "name", 1, None, "</v>"),
    (NAMED, "name", 1, "<v>", None), (NAMED, "name", 1, "<v>", ""), ([["name"], ["<v>", "x", "</v>"]], "name", 1, *V),
    ([b"name", b"<v> 5 </v>"], b"name", 1, b"<v>", b"</v>"), (("name", "<v>a", "", "b</v>"), "name", 1, *V),
    # maxLines is read only once a line holds the name
    ([], "N", 0, "P", "S", None), (["x"], "N", 0, "P", "S", "z"), (["N", "P"], "N", 1, "P", "S", 1.0),
])
def test_find_line_data_computes_as_written(args):
    assert outcome(lambda: T.find_line_data(*args)) == outcome(lambda: find_line_data_as_written(*args))


@pytest.mark.parametrize("block_size", [1000, 1048576, "big"])
def test_filesha256_reads_in_blocks_and_closes_its_file_on_every_way_out(tmp_path, block_size):
    content = os.urandom(2 * 1048576 + 123)
    (tmp_path / "data").write_bytes(content)
    descriptor = os.open(tmp_path / "data", os.O_RDONLY)
    assert outcome(lambda: T.filesha256(descriptor, block_size)) == (("returned", hashlib.sha256(content).digest())
        if block_size != "big" else (TypeError, "argument should be integer or None, not 'str'"))
    with pytest.raises(OSError):
        os.fstat(descriptor)


SCHEMA = "http://www.w3.org/2001/XMLSchema-instance"


@pytest.mark.parametrize("document, namespace, schema", [
    (f'<r xmlns="urn:a" xmlns:xsi="{SCHEMA}" xsi:schemaLocation="urn:a a.xsd"/>', "{urn:a}", "{" + SCHEMA + "}"),
    ('<r schemaLocation="x" other="y"/>', "", ""), ("<r/>", "", ""),
])
def test_root_namespace_and_schema(document, namespace, schema):
    root = ElementTree.fromstring(document)
    assert (T.getRootNamespace(root), T.getRootSchema(root)) == (namespace, schema)


def test_get_module_versions():
    invented = types.ModuleType("no_such_distribution_here")
    invented.__version__ = "9.9"
    numpy = "numpy = %s\n" % importlib.metadata.version("numpy")
    modules = [None, "numpy", "", invented, "no-such-distribution-here", types.ModuleType("numpy")]
    assert T.getModuleVersions(modules) == numpy + "no_such_distribution_here = unknown\n" + numpy
