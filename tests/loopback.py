"""The loopback HTTP server of the tests, which answers well or fails on purpose by path."""
import http.server
import socket
import threading

import pytest


def reply(status, body=b"", headers=b""):
    return b"HTTP/1.1 %s\r\nContent-Length: %d\r\n%s\r\n%s" % (status, len(body), headers, body)


# /stall says nothing until the server stops; /cut hangs up 97 bytes short, /garbage after a nonsense answer.
HANG_UPS = {"/cut": b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc", "/garbage": b"NONSENSE\r\n\r\n"}
ANSWERS = {"/ok": reply(b"200 OK", b"hello"), "/missing": reply(b"404 Not Found", b"no"), **HANG_UPS,
           "/loop": reply(b"302 Found", headers=b"Location: /loop\r\n")}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        if self.path == "/stall":
            self.server.stopping.wait(30)
        else:
            self.wfile.write(ANSWERS[self.path])
        self.close_connection = self.path == "/stall" or self.path in HANG_UPS

    do_POST, log_message = do_GET, (lambda self, *args: None)


@pytest.fixture(scope="module")
def server():
    """The running server, at `url`; at `refused`, an address whose port is bound but not listening."""
    running = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
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

