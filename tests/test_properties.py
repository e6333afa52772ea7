"""Hypothesis feeds every function and the operations of real instances with
structures built from odd scalars and hostile objects (properties.py, in a
child process): no call may crash or raise more than an ordinary error."""
from conftest import run_python


def test_generated_arguments_never_crash():
    done = run_python("import properties; properties.main()", timeout=600)
    assert done.returncode == 0 and done.stdout.endswith("passed\n"), (done.stdout + done.stderr)[-5000:]
