"""Faults from outside the process: a server that refuses, stalls, hangs up
in the middle of an answer, answers nonsense or redirects for ever, and files
that vanish or cannot be read.  The caller gets the error of the library that
met the fault, unchanged, and nothing is left behind: the HTTP pool serves
the next request, and no file descriptor stays open."""
import errno
import os

import pytest
import urllib3

import vantrel.base.Tessarine as T

from conftest import run_python
from loopback import FaultyServer, refused_url

TIMEOUT = 0.3  # per request: the stalling server never answers

URL_FUNCTIONS = [T.readUrl, T.readUrlNoException, T.postUrl, T.postUrlNoException]
METHOD = {T.readUrl: "GET", T.readUrlNoException: "GET", T.postUrl: "POST", T.postUrlNoException: "POST"}


@pytest.fixture(scope="module")
def server():
    faulty = FaultyServer()
    yield faulty
    faulty.close()


class Recorder:
    """Wraps the pool and keeps what its request raised."""

    def __init__(self, pool):
        self.pool, self.raised = pool, None

    def request(self, *args, **kwargs):
        try:
            return self.pool.request(*args, **kwargs)
        except Exception as error:
            self.raised = error
            raise


def kind(error):
    """An error's class, and for a MaxRetryError the class of its reason."""
    return type(error), type(getattr(error, "reason", None))


def failure_of(call):
    with pytest.raises(Exception) as caught:
        call()
    return caught.value


@pytest.fixture(params=["refused", "/stall", "/cut", "/garbage", "/loop"])
def faulty_url(request, server):
    if request.param == "refused":
        with refused_url() as url:
            yield url
    else:
        yield server.url + request.param


@pytest.mark.parametrize("function", URL_FUNCTIONS, ids=lambda function: function.__name__)
def test_url_functions_pass_the_error_of_urllib3_on_unchanged(function, faulty_url, server, monkeypatch):
    recorder = Recorder(T._http)
    monkeypatch.setattr(T, "_http", recorder)
    error = failure_of(lambda: function(faulty_url, timeout=TIMEOUT))
    assert error is recorder.raised
    assert isinstance(error, urllib3.exceptions.HTTPError)
    # The same pool settings, asked directly, fail in the same way.
    direct = urllib3.PoolManager(**recorder.pool.connection_pool_kw)
    assert kind(error) == kind(failure_of(lambda: direct.request(METHOD[function], faulty_url, timeout=TIMEOUT)))
    # And the pool serves the next request.
    assert function(server.url + "/ok").data == b"hello"


def test_the_pool_survives_a_run_of_faults(server):
    for path in ["/cut", "/ok", "/garbage", "/ok", "/loop", "/stall", "/ok"] * 3:
        try:
            assert T.readUrl(server.url + path, timeout=TIMEOUT).data == b"hello"
        except urllib3.exceptions.HTTPError:
            assert path != "/ok"


@pytest.fixture(params=["missing", "directory", "unreadable", "fails on read"])
def unreadable_path(request, tmp_path):
    if request.param == "missing":
        return tmp_path / "missing"
    if request.param == "directory":
        return tmp_path
    if request.param == "unreadable":
        if os.geteuid() == 0:
            pytest.skip("root reads a file without read permission")
        path = tmp_path / "secret"
        path.write_bytes(b"secret")
        path.chmod(0)
        return path
    # Opens, but reading its first page fails: nothing is mapped at address 0.
    if not os.path.exists("/proc/self/mem"):
        pytest.skip("no /proc")
    return "/proc/self/mem"


def test_filesha256_raises_the_error_of_the_file(unreadable_path):
    error = failure_of(lambda: T.filesha256(unreadable_path))
    def read():
        with open(unreadable_path, "rb") as file:
            return file.read(1048576)
    expected = failure_of(read)
    assert type(error) is type(expected) and error.errno == expected.errno != errno.EBADF


DESCRIPTORS = r'''
import gc, os, sys
import vantrel.base.Tessarine as T
unraisable = []
sys.unraisablehook = unraisable.append

def open_descriptors():
    return sorted(os.listdir("/proc/self/fd"))

paths = sys.argv[1:]
T.filesha256(paths[0])  # what the first call imports opens no descriptor later
before = open_descriptors()
for _ in range(200):
    for path in paths:
        try:
            T.filesha256(path, 7)
        except OSError:
            pass
gc.collect()
after = open_descriptors()
print(before == after, len(unraisable))
'''


def test_filesha256_leaves_no_descriptor_open(tmp_path):
    readable = tmp_path / "readable"
    readable.write_bytes(b"x" * 100)
    paths = [str(readable), str(tmp_path / "missing"), str(tmp_path), "/proc/self/mem"]
    code = DESCRIPTORS.replace("sys.argv[1:]", repr(paths))
    done = run_python(code, "-W", "error::ResourceWarning")
    assert done.stdout.split() == ["True", "0"], done.stderr[-3000:]
