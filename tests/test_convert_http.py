import sys
import traceback

import pytest
import urllib3

import vantrel.base.Tessarine as T
from conftest import outcome, run_python
from loopback import Recorder, server  # noqa: F401 (the fixture)


@pytest.mark.parametrize("path, status, reason", [("/missing", 404, "Not Found"), ("/empty", 204, "No Content")])
def test_any_other_status_than_200_raises_only_with_the_checking_functions(server, path, status, reason):
    assert T.readUrlNoException(server.url + path).status == status
    with pytest.raises(T.RequestException) as caught:
        T.readUrl(server.url + path)
    assert (caught.value.code, caught.value.message) == (status, f"{status} {reason}")


def test_redirects_three_are_followed_a_fourth_fails(server):
    assert T.readUrl(server.url + "/hop/3").data == b"arrived"
    with pytest.raises(urllib3.exceptions.MaxRetryError):
        T.readUrlNoException(server.url + "/hop/4")


def test_the_four_functions_go_through_http_and_posts_fix_the_method(monkeypatch):
    pool = Recorder()
    monkeypatch.setattr(T, "_http", pool)
    assert T.readUrl("u1", headers={"a": "b"}) is pool
    T.postUrl("u2", body=b"x")
    T.readUrlNoException("u3", "PUT")
    T.postUrlNoException(url="u4")
    assert pool.calls == [(("GET", "u1"), {"headers": {"a": "b"}}), (("POST", "u2"), {"body": b"x"}),
                          (("PUT", "u3"), {}), (("POST", "u4"), {})]
    for post, inner in [(T.postUrl, "readUrl"), (T.postUrlNoException, "readUrlNoException")]:
        collision = f"{inner}() got multiple values for keyword argument 'method'"
        assert outcome(lambda: post("u", method="GET")) == (TypeError, collision)


def handle_missing_key():
    try:
        {}["missing"]
    except KeyError as error:
        # The stack without this function and its caller, then where the exception came from.
        entries = traceback.format_stack()[:-2] + traceback.format_tb(sys.exc_info()[2])
        expected = "Traceback (most recent call last):\n" + "".join(entries + traceback.format_exception_only(error))
        return T.format_exception(error), T.format_exception(None), expected[:-1]


def reach_the_handler():
    return handle_missing_key()


def test_format_exception_leaves_out_the_caller_and_its_caller():
    text, text_without_argument, expected = reach_the_handler()
    assert text == text_without_argument == expected and "in reach_the_handler\n" not in text


def test_format_exception_on_a_stack_shorter_than_two():
    process = run_python("import vantrel.base.Tessarine as T; print(T.format_exception(None), end='')")
    assert process.stdout == "Traceback (most recent call last):\nNoneType: None", process.stderr
