"""Every function, method and property of the module, on real instances too, gets odd and hostile arguments in a
child process (sweep.py): each call must end in a result or an ordinary exception, never bring the interpreter down."""
import json

import pytest

from conftest import SCALE, run_python


# Proof that the odd values reached the code: the hostile objects' own error, and the end of the recursion limit.
@pytest.mark.parametrize("part, least_calls, reached", [
    ("functions", 400000, {"Hostile", "RecursionError", "TypeError", "AttributeError"}),
    ("instances", 300000, {"Hostile", "TypeError", "AttributeError"}),
])
def test_odd_arguments_never_crash(part, least_calls, reached):
    done = run_python(f"import sweep; sweep.main({part!r})", timeout=600)
    assert done.returncode == 0, done.stderr[-3000:]
    summary = json.loads(done.stdout.splitlines()[-1])
    assert summary["faults"] == []
    assert summary["calls"] > least_calls * SCALE
    assert reached <= summary["raised"].keys()
