"""Every Python block of the README runs as written, each in a fresh interpreter."""
import pathlib
import re

import pytest

from conftest import run_python

README = pathlib.Path(__file__).resolve().parent.parent / "README.md"
BLOCKS = re.findall(r"^```python\n(.*?)^```$", README.read_text(), flags=re.MULTILINE | re.DOTALL)


@pytest.mark.parametrize("code", BLOCKS, ids=lambda code: code.splitlines()[0].lstrip("# "))
def test_readme_block_runs(code):
    result = run_python(code)
    assert result.returncode == 0, result.stderr
