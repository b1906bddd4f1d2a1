"""A web server on this machine that answers byte by byte as a test wants."""

import contextlib
import os
import socket
import struct
import threading


def reply(body, status="200 OK"):
    """A whole reply with its length."""
    return (f"HTTP/1.0 {status}\r\nContent-Type: text/html\r\n"
            f"Content-Length: {len(body)}\r\n\r\n").encode() + body


def send(*pieces, pause=0.0):
    """An answer in pieces, with pauses between them."""
    def answer(connection, closing):
        for number, piece in enumerate(pieces):
            if number and closing.wait(pause):
                return
            connection.sendall(piece)
    return answer


def hang(_connection, closing):
    """Never answers."""
    closing.wait()


def break_off(connection, _closing):
    """Ends the connection as a crash of the server would."""
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def redirect(program, known, host):
    """Has a program file know `host` in place of the one that it was built with."""
    code = program.read_bytes()
    assert code.count(known) == 1, f"the build knows another host than {known}"
    program.write_bytes(code.replace(known, host.encode().ljust(len(known), b"\0")))


class WebServer:
    """Answers each request by `answer(connection, closing)` and keeps the requests.

    It has an address of its own, port 80, so that any number of them run at once;
    `host` is that of a server that has closed. While `reading` isn't set, it leaves
    what follows the beginning of a request, which goes to `begun`, on the wire.
    """

    def __init__(self, host=None):
        self.requests = []
        self.begun = []
        self.reading = threading.Event()
        self.reading.set()
        self.answer = send(reply(b""))
        self._closing = threading.Event()
        self._listener, self.host = self._listen(host)
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    @staticmethod
    def _listen(wanted):
        for _ in range(50):
            host = wanted or "127." + ".".join(str(1 + byte % 250) for byte in os.urandom(3))
            listener = socket.socket()
            listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            with contextlib.suppress(OSError):
                listener.bind((host, 80))
                listener.listen()
                listener.settimeout(0.05)
                return listener, host
            listener.close()
        raise RuntimeError("port 80 can't be had; tests run as root, or with "
                           "net.ipv4.ip_unprivileged_port_start below 81")

    def _accept(self):
        while not self._closing.is_set():
            try:
                connection, _ = self._listener.accept()
            except socket.timeout:
                continue
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        with connection, contextlib.suppress(OSError):
            connection.settimeout(60)
            request = self._receive(connection)
            if request:  # some connections are only a look whether anyone is there
                self.requests.append(request)
                self.answer(connection, self._closing)

    def _receive(self, connection):
        request, length = bytearray(), None
        while length is None or len(request) < length:
            piece = connection.recv(65536)
            if not piece:
                break
            if not request:
                self.begun.append(piece)
            request += piece
            length = length or self._length(request)
            self.reading.wait()
        return bytes(request)

    @staticmethod
    def _length(beginning):
        """The whole request's, or None before the end of its head."""
        head, end, _ = bytes(beginning).partition(b"\r\n\r\n")
        fields = dict(line.split(b": ", 1) for line in head.split(b"\r\n")[1:] if end)
        return len(head + end) + int(fields.get(b"Content-Length", b"0")) if end else None

    def close(self):
        self._closing.set()
        self.reading.set()
        self._thread.join()
        self._listener.close()
