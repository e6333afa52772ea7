import http.server
import socket
import sys
import threading
import time
import traceback

import pytest
import urllib3

import vantrel.base.Tessarine as T
from conftest import run_python


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *args):
        pass

    def answer(self, status, body=b""):
        self.send_response(status)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        if self.path == "/ok":
            self.answer(200, b"hello")
        elif self.path == "/empty":
            self.send_response(204)
            self.end_headers()
        elif self.path.startswith("/hop/"):
            left = int(self.path.rsplit("/", 1)[1])
            if left == 0:
                self.answer(200, b"arrived")
            else:
                self.send_response(302)
                self.send_header("Location", f"/hop/{left - 1}")
                self.send_header("Content-Length", "0")
                self.end_headers()
        elif self.path == "/slow":
            time.sleep(1.0)
            self.answer(200, b"late")
        else:
            self.answer(404, b"no")

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        self.answer(200, b"POST " + body)


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, request, client_address):
        pass  # the slow answer finds its client gone after the time-out


@pytest.fixture(scope="module")
def server():
    httpd = Server(("127.0.0.1", 0), Handler)
    thread = threading.Thread(target=httpd.serve_forever, daemon=True)
    thread.start()
    yield f"http://127.0.0.1:{httpd.server_address[1]}"
    httpd.shutdown()
    httpd.server_close()


def test_read_url_returns_the_response_of_a_200(server):
    response = T.readUrl(server + "/ok")
    assert (response.status, response.data) == (200, b"hello")


@pytest.mark.parametrize("path, status, reason", [("/missing", 404, "Not Found"), ("/empty", 204, "No Content")])
def test_any_other_status_raises_only_with_the_checking_functions(server, path, status, reason):
    assert T.readUrlNoException(server + path).status == status
    with pytest.raises(T.RequestException) as caught:
        T.readUrl(server + path)
    assert (caught.value.code, caught.value.message) == (status, f"{status} {reason}")


def test_post_sends_its_fields(server):
    for post in (T.postUrl, T.postUrlNoException):
        data = post(server + "/form", fields={"answer": "42"}).data
        assert data.startswith(b"POST ") and b'name="answer"' in data and b"42" in data


def test_redirects_three_are_followed_a_fourth_fails(server):
    assert T.readUrl(server + "/hop/3").data == b"arrived"
    with pytest.raises(urllib3.exceptions.MaxRetryError):
        T.readUrlNoException(server + "/hop/4")


def test_a_per_request_timeout_passes_through(server):
    with pytest.raises(urllib3.exceptions.HTTPError) as caught:
        T.readUrl(server + "/slow", timeout=0.2)
    assert "timed out" in str(caught.value)


def test_a_refused_connection_passes_through():
    with socket.socket() as unused:
        unused.bind(("127.0.0.1", 0))
        port = unused.getsockname()[1]
    with pytest.raises(urllib3.exceptions.MaxRetryError):
        T.readUrl(f"http://127.0.0.1:{port}/")


class Recorder:
    def __init__(self, status=200):
        self.calls = []
        self.status, self.reason = status, "Fine"

    def request(self, *args, **kwargs):
        self.calls.append((args, kwargs))
        return self


def test_replacing_http_redirects_all_four_functions(monkeypatch):
    pool = Recorder()
    monkeypatch.setattr(T, "_http", pool)
    assert T.readUrl("u1", headers={"a": "b"}) is pool
    T.postUrl("u2", body=b"x")
    T.readUrlNoException("u3", "PUT")
    T.postUrlNoException(url="u4")
    assert pool.calls == [
        (("GET", "u1"), {"headers": {"a": "b"}}),
        (("POST", "u2"), {"body": b"x"}),
        (("PUT", "u3"), {}),
        (("POST", "u4"), {}),
    ]


def test_read_url_hands_on_what_the_inner_function_gave(monkeypatch):
    answer = Recorder(status=201)
    monkeypatch.setattr(T, "readUrlNoException", lambda url, method, **kwargs: answer)
    with pytest.raises(T.RequestException) as caught:
        T.postUrl("u")
    assert caught.value.code == 201
    answer.status = 200
    assert T.readUrl("u") is answer


@pytest.mark.parametrize("post, inner", [(T.postUrl, "readUrl"), (T.postUrlNoException, "readUrlNoException")])
def test_method_given_to_post_collides(post, inner):
    with pytest.raises(TypeError, match=rf"^{inner}\(\) got multiple values for keyword argument 'method'$"):
        post("u", method="GET")


def rendered_in_place(stack):
    """The steps of format_exception, on the stack taken where the module's function is called."""
    entries = stack[:-2]
    entries.extend(traceback.format_tb(sys.exc_info()[2]))
    entries.extend(traceback.format_exception_only(sys.exc_info()[0], sys.exc_info()[1]))
    return ("Traceback (most recent call last):\n" + "".join(entries))[:-1]


def handle_missing_key():
    try:
        {}["missing"]
    except KeyError as error:
        stack = traceback.format_stack()
        return T.format_exception(error), T.format_exception(None), rendered_in_place(stack), stack


def reach_the_handler():
    return handle_missing_key()


def test_format_exception_leaves_out_the_caller_and_its_caller():
    text, text_without_argument, expected, stack = reach_the_handler()
    assert text == text_without_argument == expected
    head = "Traceback (most recent call last):\n" + "".join(stack[:-2])
    assert text.startswith(head) and text.endswith("KeyError: 'missing'")
    # The handler shows only through the handled exception's own entry; the
    # function that called it not at all.
    assert text.count("in handle_missing_key\n") == 1 and "in reach_the_handler\n" not in text
    assert "in test_format_exception_leaves_out_the_caller_and_its_caller\n" in text


def test_format_exception_on_a_stack_shorter_than_two():
    code = "import vantrel.base.Tessarine as T; print(T.format_exception(None), end='')"
    process = run_python(code)
    assert process.stdout == "Traceback (most recent call last):\nNoneType: None", process.stderr


def test_format_exception_without_an_exception():
    text = T.format_exception(None)
    assert text.startswith("Traceback (most recent call last):\n") and text.endswith("\nNoneType: None")
    assert sys.exc_info() == (None, None, None)
