"""The loopback HTTP server of the tests, which answers well or fails on purpose
by path, and a stand-in for the pool `_http`."""
import http.server
import socket
import threading

import pytest


def reply(status, body=b"", location=None):
    moved = b"Location: %s\r\n" % location if location else b""
    return b"HTTP/1.1 %s\r\nContent-Length: %d\r\n%s\r\n%s" % (status, len(body), moved, body)


# /hop/N redirects N times before it arrives; /stall says nothing until the
# server stops; /cut hangs up 97 bytes short, /garbage after a nonsense answer.
HANG_UPS = {"/cut": b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc", "/garbage": b"NONSENSE\r\n\r\n"}
ANSWERS = {"/ok": reply(b"200 OK", b"hello"), "/missing": reply(b"404 Not Found", b"no"), **HANG_UPS,
           "/empty": reply(b"204 No Content"), "/loop": reply(b"302 Found", location=b"/loop"),
           "/hop/0": reply(b"200 OK", b"arrived"),
           **{"/hop/%d" % hops: reply(b"302 Found", location=b"/hop/%d" % (hops - 1)) for hops in range(1, 5)}}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        if self.path == "/stall":
            self.server.stopping.wait(30)
        else:
            self.wfile.write(ANSWERS[self.path])
        self.close_connection = self.path == "/stall" or self.path in HANG_UPS

    do_POST = do_GET

    def log_message(self, *args):
        pass


@pytest.fixture(scope="module")
def server():
    """The running server, at `url`; at `refused`, an address whose port is bound but not listening."""
    running = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    running.daemon_threads = True
    running.handle_error = lambda *args: None  # a client that timed out has gone before its answer
    running.url, running.stopping = "http://127.0.0.1:%d" % running.server_address[1], threading.Event()
    threading.Thread(target=running.serve_forever, daemon=True).start()
    with socket.socket() as bound:
        bound.bind(("127.0.0.1", 0))
        running.refused = "http://127.0.0.1:%d/" % bound.getsockname()[1]
        yield running
    running.stopping.set()
    running.shutdown()
    running.server_close()


class Recorder:
    """Stands in for `_http`: records each request, hands it on to `pool` (or
    answers 200 itself), and keeps what the pool raised."""
    status, reason = 200, "OK"

    def __init__(self, pool=None):
        self.pool, self.calls, self.raised = pool, [], None

    def request(self, *args, **kwargs):
        self.calls.append((args, kwargs))
        try:
            return self.pool.request(*args, **kwargs) if self.pool else self
        except Exception as error:
            self.raised = error
            raise
