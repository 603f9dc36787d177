#!/usr/bin/python3
"""Requests at the edge of what is taken, and message framing that two readers could take differently."""

import socket
import unittest

from cimgate_host import Answer, ServiceTest, connect_to
from things import A, B, request, thing_service

MAX_BODY_BYTES = 1024 * 1024
MAX_HEADER_BYTES = 16 * 1024

LAST = f"GET {B} HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n".encode()


def request_of(size, target):
    """A request of this size, with one long header."""
    text = request(target, "X: ")
    return text.replace(b"X: ", b"X: " + b"x" * (size - len(text)))


def exchange(service, *pieces):
    """Sends the pieces, the last of which must end the connection, and reads until the service closes it; the answers
    in their order."""
    with connect_to(service.base) as connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for piece in pieces:
            connection.sendall(piece)
        received = b"".join(iter(lambda: connection.recv(65536), b""))
    return split_answers(received)


def split_answers(received):
    answers = []
    while received:
        head, mark, rest = received.partition(b"\r\n\r\n")
        answer = Answer(head + mark)
        length = int(answer.get("Content-Length"))
        if len(rest) < length:
            raise AssertionError(f"{len(rest)} bytes of a body of {length}")
        answer.body, received = rest[:length], rest[length:]
        answers.append(answer)
    return answers


class WireLimits(ServiceTest):
    def check_refused(self, answers, status, message):
        """One answer, which ends the connection: nothing behind it was taken for a request."""
        self.assertEqual([answer.status for answer in answers], [status])
        self.check_failed(answers[0], status, (message, []))
        self.assertEqual(answers[0].get("Connection"), "close")

    def check_both(self, answers, status=200):
        """The first answer, and behind it that to the last request."""
        self.assertEqual([answer.status for answer in answers], [status, 200])
        if status == 200:
            self.assertEqual(answers[0].json()["Value"], "first")
        self.assertEqual(answers[1].json()["Value"], "second")

    # ---- Sizes

    def test_body_of_a_mebibyte_is_taken(self):
        body = b"x" * MAX_BODY_BYTES
        with thing_service() as service:
            for method, status in (("GET", 200), ("POST", 415)):
                with self.subTest(method=method):
                    text = request(A, f"Content-Length: {MAX_BODY_BYTES}", method=method, body=body)
                    self.check_both(exchange(service, text, LAST), status)

    def test_body_above_a_mebibyte_is_refused_for_every_method(self):
        with thing_service() as service:
            for method in ("GET", "POST"):
                with self.subTest(method=method):
                    text = request(A, f"Content-Length: {MAX_BODY_BYTES + 1}", method=method)
                    self.check_refused(exchange(service, text, LAST), 413, "Base.PayloadTooLarge")

    def test_body_above_a_mebibyte_in_chunks_is_refused(self):
        chunk = b"10000\r\n" + b"x" * 0x10000 + b"\r\n"
        with thing_service() as service:
            answers = exchange(service, request(A, "Transfer-Encoding: chunked", method="POST"), chunk * 17)
            self.check_refused(answers, 413, "Base.PayloadTooLarge")

    def test_headers_up_to_their_limit_are_taken(self):
        with thing_service() as service:
            for target in (A, f"{A}?{'x' * 1000}", f"{A}?{'x' * 7000}"):
                with self.subTest(target=target[:50]):
                    self.check_both(exchange(service, request_of(MAX_HEADER_BYTES, target), LAST))

    def test_headers_above_their_limit_are_refused(self):
        with thing_service() as service:
            for size in (MAX_HEADER_BYTES + 1024, 2 * MAX_HEADER_BYTES):
                with self.subTest(size=size):
                    self.check_refused(exchange(service, request_of(size, A) + LAST), 431, "Base.HeaderTooLong")

    def test_headers_above_their_limit_are_not_blamed_on_a_uri_that_fits(self):
        with thing_service() as service:
            for length in (200, 1000, 7000):
                with self.subTest(length=length):
                    text = request_of(2 * MAX_HEADER_BYTES, f"{A}?{'x' * length}")
                    self.check_refused(exchange(service, text + LAST), 431, "Base.HeaderTooLong")

    # ---- Framing

    def test_body_in_chunks_ends_where_the_next_request_begins(self):
        body = b"5\r\nGET /\r\n4;x=y\r\nabcd\r\n0\r\nTrailer: t\r\n\r\n"
        with thing_service() as service:
            self.check_both(exchange(service, request(A, "Transfer-Encoding: chunked", body=body), LAST))

    def test_request_in_single_bytes(self):
        text = request(A, "Content-Length: 3", body=b"{}\n") + LAST
        with thing_service() as service:
            self.check_both(exchange(service, *(text[i:i + 1] for i in range(len(text)))))

    def test_framing_that_can_be_read_in_two_ways_is_refused(self):
        # RFC 9112, sections 3.2 and 6.3: what hides a second request from one of two readers.
        with thing_service() as service:
            for headers, body in [
                    (("Content-Length: 3", "Transfer-Encoding: chunked"), b"0\r\n\r\n"),
                    (("Transfer-Encoding: chunked", "Content-Length: 3"), b"0\r\n\r\n"),
                    (("Content-Length: 0", "Content-Length: 3"), b""),
                    (("Content-Length: 3x",), b"abc"),
                    (("Content-Length: +3",), b"abc"),
                    (("Content-Length: 18446744073709551617",), b"x"),
                    (("Host: other",), b""),
                    (("Transfer-Encoding: chunked",), b"xyz\r\n\r\n"),
                    (("Content-Length : 3",), b"abc")]:
                with self.subTest(headers=headers):
                    self.check_refused(exchange(service, request(A, *headers, body=body) + LAST), 400,
                                       "Base.UnrecognizedRequestBody")

    def test_transfer_coding_that_hides_where_the_body_ends_is_refused(self):
        # RFC 9112, section 6.3: a body whose last coding is not "chunked" has no end that can be known.
        with thing_service() as service:
            for coding in ("gzip", "chunked, gzip", "identity"):
                with self.subTest(coding=coding):
                    text = request(A, f"Transfer-Encoding: {coding}", body=request("/"))
                    self.check_refused(exchange(service, text + LAST), 400, "Base.UnrecognizedRequestBody")

    def test_transfer_coding_of_http_1_0_ends_the_connection(self):
        # RFC 9112, section 6.1: HTTP/1.0 knows no transfer codings, so that its framing cannot be trusted.
        with thing_service() as service:
            text = f"GET {A} HTTP/1.0\r\nConnection: keep-alive\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"
            answers = exchange(service, text.encode() + LAST)
            self.assertEqual(len(answers), 1)
            self.assertIn(answers[0].status, (200, 400))


if __name__ == "__main__":
    unittest.main(verbosity=2)
