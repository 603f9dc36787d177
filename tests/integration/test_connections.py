#!/usr/bin/python3
"""HTTP connections: kept, closed, shared by several requests; and what is no HTTP."""

import re
import unittest

from cimgate_host import BASE, Answer, Pending, SharedServiceTest, connect_to, read_answer
from things import A, B, THINGS, request, thing_service


class Wire:
    """A bare connection."""

    def __init__(self, base):
        self._socket = connect_to(base)
        self._input = self._socket.makefile("rb")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._input.close()
        self._socket.close()

    def send(self, text):
        self._socket.sendall(text if isinstance(text, bytes) else text.encode("latin-1"))

    def read_answer(self, has_body=True):
        return read_answer(self._input, has_body)

    def is_closed(self):
        return self._input.read(1) == b""

    def receive_once(self):
        return self._socket.recv(65536)


class Connections(SharedServiceTest):
    @staticmethod
    def make_service():
        return thing_service()

    def wire(self):
        return Wire(self.service.base)

    def connects(self, *options, uris=(A, B, THINGS)):
        """How many connections curl made for each of several requests."""
        arguments = [*options, "-w", "\n%{num_connects} %{http_version}\n"]
        output = Pending(arguments + [self.service.base + uri for uri in uris]).output().decode()
        return re.findall(r"^(\d) [\d.]+$", output, re.MULTILINE)

    def test_connection_is_kept(self):
        self.assertEqual(self.connects(), ["1", "0", "0"])
        self.assertIsNone(self.service.get(A).get("Connection"))

    def test_connection_is_kept_after_errors(self):
        self.assertEqual(self.connects(uris=(f"{BASE}/Nope", "/", A)), ["1", "0", "0"])
        self.assertEqual(self.connects("-X", "DELETE"), ["1", "0", "0"])

    def test_connection_close_is_said_and_done(self):
        close = ("-H", "Connection: close")
        self.assertEqual(self.connects(*close), ["1", "1", "1"])
        self.assertEqual(self.service.get(A, *close).get("Connection"), "close")
        with self.wire() as wire:
            wire.send(request(A, "Connection: close"))
            self.assertEqual(wire.read_answer().json()["Value"], "first")
            self.assertTrue(wire.is_closed())

    def test_http_1_0(self):
        answer = self.service.get(A, "-0")
        self.assertEqual((answer.version, answer.status), ("1.0", 200))
        self.assertEqual(answer.json()["Value"], "first")
        with self.wire() as wire:
            wire.send(f"GET {A} HTTP/1.0\r\n\r\n")
            self.assertEqual(wire.read_answer().status, 200)
            self.assertTrue(wire.is_closed())

    def test_http_1_0_that_asks_to_stay(self):
        with self.wire() as wire:
            for _ in range(2):
                wire.send(f"GET {A} HTTP/1.0\r\nConnection: keep-alive\r\n\r\n")
                self.assertEqual(wire.read_answer().get("Connection"), "keep-alive")

    def test_head_leaves_the_connection_usable(self):
        with self.wire() as wire:
            wire.send(request(A, method="HEAD"))
            length = int(wire.read_answer(has_body=False).get("Content-Length"))
            wire.send(request(A))
            answer = wire.read_answer()
            self.assertEqual(answer.json()["Value"], "first")
            self.assertEqual(len(answer.body), length)

    def test_pipelined_requests_are_answered_in_order(self):
        uris = [A, "/", B, f"{BASE}/Nope", THINGS] * 5
        with self.wire() as wire:
            wire.send(b"".join(request(uri) for uri in uris))
            for uri in uris:
                answer = wire.read_answer()
                if uri in (A, B, THINGS):
                    self.assertEqual(answer.json()["@odata.id"], uri)
                else:
                    self.assertEqual((uri, answer.status), (uri, 404))

    def test_body_of_a_refused_request_is_not_the_next_request(self):
        with self.wire() as wire:
            wire.send(request(A, "Content-Length: 4", method="PATCH") + b"GET " + request(B))
            self.assertEqual(wire.read_answer().status, 405)
            self.assertEqual(wire.read_answer().json()["Value"], "second")

    def test_body_that_waits_for_leave_is_asked_for(self):
        with self.wire() as wire:
            wire.send(request(A, "Content-Length: 2", "Expect: 100-continue"))
            self.assertEqual(wire.read_answer(has_body=False).status, 100)
            wire.send("{}")
            self.assertEqual(wire.read_answer().json()["Value"], "first")

    def test_answer_arrives_in_one_piece(self):
        # Headers and body written apart cost a delayed acknowledgement on a kept connection.
        with self.wire() as wire:
            for _ in range(20):
                wire.send(request(A))
                head, _, body = wire.receive_once().partition(b"\r\n\r\n")
                self.assertEqual(int(Answer(head).get("Content-Length")), len(body))

    def test_many_connections_at_once(self):
        wires = [self.wire() for _ in range(100)]
        for wire in wires:
            wire.send(request(THINGS))
        for wire in wires:
            self.assertEqual(wire.read_answer().json()["Members@odata.count"], 3)
            wire.__exit__()

    def test_client_that_leaves_harms_nobody(self):
        for text in ("GET ", request(A)[:-2], request(A), request(THINGS), request(A) * 50,
                     request(A, "Content-Length: 100") + b"half"):
            with self.wire() as wire:
                wire.send(text)
        self.assertEqual(self.service.get(A).status, 200)

    # ---- What is no HTTP, or too much of it

    def check_refused(self, text, status, message):
        with self.wire() as wire:
            wire.send(text)
            answer = wire.read_answer()
            self.check_failed(answer, status, message)
            self.assertEqual(answer.get("Connection"), "close")
            self.assertTrue(wire.is_closed())

    def test_malformed_requests_get_a_redfish_error(self):
        for text in ("nonsense\r\n\r\n", "GET\r\n\r\n", f"GET {A} HTTP/1.1\r\nno colon\r\n\r\n",
                     f"GET {A} HTTP/0.9\r\n\r\n", f"GET {A} HTTP/1.1\r\n\r\n", "\x16\x03\x01\x02\x00\x01\r\n\r\n"):
            self.check_refused(text, 400, ("Base.UnrecognizedRequestBody", []))

    def test_requests_that_speak_another_http_get_a_redfish_error(self):
        self.check_refused(f"GET {A} HTTP/3.0\r\n\r\n", 505, ("Base.HttpVersionNotSupported", []))
        self.check_refused(request(A, "Content-Encoding: gzip", "Content-Length: 2", method="POST"), 415,
                           ("Base.HeaderInvalid", ["Content-Encoding"]))
        self.check_refused(request(A, "Expect: more", method="POST"), 417, ("Base.HeaderInvalid", ["Expect"]))

    def test_long_headers(self):
        self.check_refused(request(A, "X: " + "x" * 20000), 431, ("Base.HeaderTooLong", []))

    def test_long_body(self):
        self.check_refused(request(A, "Content-Length: 1048577", method="POST"), 413, ("Base.PayloadTooLarge", []))


if __name__ == "__main__":
    unittest.main(verbosity=2)
