"""Faults from outside reach the caller as the error of the library that met them, unchanged, and leave
nothing behind: the pool serves the next request, and no file descriptor stays open."""
import os

import pytest
import urllib3

import vantrel.base.Tessarine as T
from conftest import SCALE, outcome, run_python
from loopback import Recorder, server  # noqa: F401 (the fixture)

TIMEOUT = 0.3 * SCALE  # per request: the stalling server never answers
METHOD = {T.readUrl: "GET", T.readUrlNoException: "GET", T.postUrl: "POST", T.postUrlNoException: "POST"}
HERE = os.path.dirname(os.path.abspath(__file__))
# A missing file, a directory, and a file that opens but fails on read: nothing is mapped at address 0.
UNREADABLE = [os.path.join(HERE, "missing"), HERE, "/proc/self/mem"]


def kind(error):
    """An error's class, and for a MaxRetryError the class of its reason."""
    return type(error), type(getattr(error, "reason", None))


def raised_by(call):
    with pytest.raises(Exception) as caught:
        call()
    return caught.value


@pytest.mark.parametrize("path", ["refused", "/stall", "/cut", "/garbage", "/loop"])
@pytest.mark.parametrize("function", METHOD, ids=lambda function: function.__name__)
def test_url_functions_pass_the_error_of_urllib3_on_unchanged(function, path, server, monkeypatch):
    faulty_url = server.refused if path == "refused" else server.url + path
    recorder = Recorder(T._http)
    monkeypatch.setattr(T, "_http", recorder)
    error = raised_by(lambda: function(faulty_url, timeout=TIMEOUT))
    assert error is recorder.raised and isinstance(error, urllib3.exceptions.HTTPError)
    # The same pool settings, asked directly, fail in the same way.
    direct = urllib3.PoolManager(**recorder.pool.connection_pool_kw)
    assert kind(error) == kind(raised_by(lambda: direct.request(METHOD[function], faulty_url, timeout=TIMEOUT)))
    assert function(server.url + "/ok").data == b"hello"


@pytest.mark.parametrize("path", UNREADABLE)
def test_filesha256_raises_the_error_of_the_file(path):
    def read():
        with open(path, "rb") as file:
            return file.read(1048576)
    assert outcome(lambda: T.filesha256(path)) == outcome(read)


DESCRIPTORS = r'''
import contextlib, gc, os, sys
import vantrel.base.Tessarine as T
sys.unraisablehook = (unraisable := []).append
paths = %r
T.filesha256(paths[0])  # what the first call imports opens no descriptor later
before = sorted(os.listdir("/proc/self/fd"))
for path in paths * 200:
    with contextlib.suppress(OSError):
        T.filesha256(path, 7)
gc.collect()
print(before == sorted(os.listdir("/proc/self/fd")), len(unraisable))
'''


def test_filesha256_leaves_no_descriptor_open():
    done = run_python(DESCRIPTORS % [__file__, *UNREADABLE], "-W", "error::ResourceWarning")
    assert done.stdout.split() == ["True", "0"], done.stderr[-3000:]
