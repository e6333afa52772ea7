"""A loopback HTTP server that fails on purpose, one way per path, and an
address where nothing listens."""
import contextlib
import socket
import threading

OK = b"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello"
# Promises 100 bytes, sends 3, and hangs up.
CUT = b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc"
GARBAGE = b"NONSENSE\r\n\r\n"
LOOP = b"HTTP/1.1 302 Found\r\nLocation: /loop\r\nContent-Length: 0\r\n\r\n"


class FaultyServer:
    """/ok answers and keeps the connection; /stall says nothing until the
    server stops; /cut ends in the middle of the body; /garbage sends no
    status line; /loop redirects to itself."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.url = "http://127.0.0.1:%d" % self.listener.getsockname()[1]
        self.stopping = threading.Event()
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self.answer, args=(connection,), daemon=True).start()

    def answer(self, connection):
        with connection, contextlib.suppress(OSError):
            while path := self.next_path(connection):
                if path == "/stall":
                    self.stopping.wait(30)
                    return
                reply = {"/ok": OK, "/cut": CUT, "/garbage": GARBAGE, "/loop": LOOP}[path]
                connection.sendall(reply)
                if reply in (CUT, GARBAGE):
                    return

    @staticmethod
    def next_path(connection):
        request = b""
        while b"\r\n\r\n" not in request:
            chunk = connection.recv(65536)
            if not chunk:
                return None
            request += chunk
        head, _, body = request.partition(b"\r\n\r\n")
        length = next((int(line.split(b":")[1]) for line in head.split(b"\r\n")
                       if line.lower().startswith(b"content-length:")), 0)
        while len(body) < length:
            body += connection.recv(65536)
        return head.split(b" ")[1].decode()

    def close(self):
        self.stopping.set()
        with contextlib.suppress(OSError):
            self.listener.shutdown(socket.SHUT_RDWR)  # wakes the accepting thread
        self.listener.close()


@contextlib.contextmanager
def refused_url():
    """A URL whose port is bound but not listening: connecting is refused."""
    with socket.socket() as bound:
        bound.bind(("127.0.0.1", 0))
        yield "http://127.0.0.1:%d/" % bound.getsockname()[1]
