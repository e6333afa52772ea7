"""Outside faults: a server that misbehaves, a file that fails."""
import hashlib
import os
import warnings

import pytest
import urllib3

import vantrel.base.Tessarine as T
from conftest import SCALE, outcome
from loopback import server  # noqa: F401 (the fixture)


def filesha256_as_written(path, block_size):
    with open(path, "rb") as file:
        sha = hashlib.sha256()
        while block := file.read(block_size):
            sha.update(block)
        return sha.digest()


# A file left to the collector closes too, but warns: each call must close its own.  Also a missing file, the
# folder, and /proc/self/mem, which opens, then fails on read (nothing is mapped at address 0).
@pytest.mark.parametrize("name, block_size", [("data", 1000), ("data", 1048576), ("data", "big"), ("missing", 1),
                                              ("", 1), ("/proc/self/mem", 1048576)])
def test_filesha256_hashes_or_raises_the_error_of_the_file_and_closes_it(tmp_path, name, block_size):
    (tmp_path / "data").write_bytes(os.urandom(2 * 1048576 + 123))
    with warnings.catch_warnings(record=True) as warned:
        warnings.simplefilter("always", ResourceWarning)
        hashed = outcome(lambda: T.filesha256(tmp_path / name, block_size))
    assert (hashed, warned) == (outcome(lambda: filesha256_as_written(tmp_path / name, block_size)), [])


TIMEOUT = 0.3 * SCALE  # per request: the stalling server never answers


METHOD = {T.readUrl: "GET", T.readUrlNoException: "GET", T.postUrl: "POST", T.postUrlNoException: "POST"}


def failure(call):
    with pytest.raises(urllib3.exceptions.HTTPError) as caught:
        call()
    return type(caught.value), type(getattr(caught.value, "reason", None))


@pytest.mark.parametrize("path", ["refused", "/stall", "/cut", "/garbage", "/loop"])
@pytest.mark.parametrize("function", METHOD, ids=lambda function: function.__name__)
def test_url_functions_pass_the_error_of_urllib3_on_unchanged(function, path, server):
    faulty_url = server.refused if path == "refused" else server.url + path
    with urllib3.PoolManager(**T._http.connection_pool_kw) as direct:  # the same settings, asked directly
        assert failure(lambda: function(faulty_url, timeout=TIMEOUT)) \
            == failure(lambda: direct.request(METHOD[function], faulty_url, timeout=TIMEOUT))
    assert function(server.url + "/ok").data == b"hello"
