"""A client that sends any bytes, and takes nothing but well-formed answers."""

import contextlib
import json
import re
import socket

from cimgate_host import connect_to

HEAD = re.compile(rb"HTTP/1\.[01] (\d{3}) [A-Za-z -]+\r\n((?:[A-Za-z0-9-]+: [\x20-\x7e]*\r\n)*)\r\n")
LENGTH = re.compile(rb"Content-Length: (\d+)\r\n")


class StrictWire:
    """A connection that is made when it is needed, and kept as long as the service keeps it."""

    def __init__(self, service):
        self._base = service.base
        self._socket = None
        self._received = b""
        self.made = 0

    def send(self, text):
        if self._socket is None:
            self._socket = connect_to(self._base)
            self._received = b""
            self.made += 1
        # The answer to what has been sent so far may end the connection.
        with contextlib.suppress(BrokenPipeError, ConnectionResetError):
            self._socket.sendall(text)

    def read_answer(self):
        """The status of the next answer; 0 for the end of the connection."""
        while self._socket is not None:
            match = HEAD.match(self._received)
            if match and match[1] == b"100":
                self._received = self._received[match.end():]
            elif match:
                return self._read_body(match)
            elif not self._receive():
                if self._received:
                    raise AssertionError(f"no answer: {self._received[:500]!r}")
                self.close()
        return 0

    def read_to_end(self):
        """The statuses of all answers to what has been sent; nothing more will be."""
        with contextlib.suppress(OSError):  # the service has closed it already
            self._socket.shutdown(socket.SHUT_WR)
        return list(iter(self.read_answer, 0))

    def close(self):
        if self._socket is not None:
            self._socket.close()
        self._socket = None

    def _read_body(self, match):
        lengths = LENGTH.findall(match[2])
        has_body = match[1] != b"204"  # which may not even have a length (RFC 9110, 8.6)
        if len(lengths) != has_body:
            raise AssertionError(f"lengths {lengths}: {match[0]!r}")
        length = int(lengths[0]) if has_body else 0
        end = match.end() + length
        while len(self._received) < end:
            if not self._receive():
                raise AssertionError(f"{len(self._received) - match.end()} bytes of a body of {length}")
        if has_body:
            json.loads(self._received[match.end():end].decode("utf-8"))
        self._received = self._received[end:]
        is_kept = b"Connection: keep-alive\r\n" if match[0].startswith(b"HTTP/1.0") else b""
        if b"Connection: close\r\n" in match[2] or is_kept not in match[2]:
            self._read_end()
        return int(match[1])

    def _read_end(self):
        while self._receive():
            pass
        if self._received:
            raise AssertionError(f"more behind the last answer: {self._received[:500]!r}")
        self.close()

    def _receive(self):
        try:
            data = self._socket.recv(65536)
        except ConnectionResetError:
            data = b""
        self._received += data
        return bool(data)
