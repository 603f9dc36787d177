#!/usr/bin/python3
"""Clients that take their time, hundreds of them, beside one that does not.

Environment: IMPATIENT_SERVICE, cimgated with shorter limits of time.
"""

import os
import selectors
import threading
import time
import unittest

from cimgate_host import BASE, Answer, connect_to
from footprint import Footprint
from program import PATIENCE_S
from things import A, thing_service

# Below the limit of all connections, and from each address below that of one.
IDLE = 500
ADDRESSES = [f"127.0.0.{number}" for number in range(2, 7)]
# Of each kind.
SLOW = 25
# Between two bytes of theirs.
DRIP_S = 0.05


def impatient_service():
    service = thing_service()
    service.command[0] = os.environ["IMPATIENT_SERVICE"]
    return service


def connect(service, number):
    return connect_to(service.base, source_address=(ADDRESSES[number % len(ADDRESSES)], 0))


class Drip:
    """A connection on which bytes come one by one, for as long as it lasts."""

    def __init__(self, service, number, begin, drop):
        self.socket = connect(service, number)
        self.socket.sendall(begin)
        self._drop = drop
        self.received = b""
        self.is_over = False

    def drip(self):
        try:
            self.socket.sendall(self._drop)
        except OSError:
            pass  # its answer is there to be read, or it is closed

    def receive(self):
        try:
            data = self.socket.recv(65536)
        except ConnectionResetError:
            data = b""
        self.received += data
        self.is_over = not data


class SlowClients(unittest.TestCase):
    maxDiff = None

    def check_good(self, service):
        self.assertEqual(service.get(A).json()["Value"], "first")

    def test_many_idle_connections(self):
        with thing_service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            idle = [connect(service, number) for number in range(IDLE)]
            for connection in idle[::2]:  # some of them have asked already
                connection.sendall(f"GET {A} HTTP/1.1\r\nHost: localhost\r\n\r\n".encode())
                self.assertTrue(connection.recv(65536).startswith(b"HTTP/1.1 200 OK\r\n"))
            for _ in range(20):
                self.check_good(service)
            self.assertGreaterEqual(len(os.listdir(f"/proc/{service.process.pid}/fd")), IDLE)
            for connection in idle:  # none had to make room
                connection.setblocking(False)
                with self.assertRaises(BlockingIOError):
                    connection.recv(1)
                connection.close()
            footprint.check_same_again()

    def test_requests_that_come_byte_by_byte_are_refused_in_time(self):
        head = f"GET {A} HTTP/1.1\r\nHost: localhost\r\n"
        kinds = [(b"G", b"E"), (head.encode(), b""), (head.encode() + b"X: ", b"y"),
                 (head.encode() + b"Content-Length: 1000\r\n\r\n", b"z"),
                 (head.encode() + b"Content-Length: 1000\r\n\r\n", b""),
                 (head.encode() + b"Transfer-Encoding: chunked\r\n\r\n", b"1\r\nx\r\n")]
        with impatient_service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            drips = [Drip(service, number, *kind) for kind in kinds for number in range(SLOW)]
            self.drip_until_all_are_over(service, drips)
            for drip in drips:
                answer = Answer(drip.received)
                self.assertEqual((answer.status, answer.get("Connection")), (408, "close"))
                self.assertEqual(answer.messages(), [("Base.OperationTimeout", [])])
                drip.socket.close()
            footprint.check_same_again()

    def drip_until_all_are_over(self, service, drips):
        end = time.monotonic() + PATIENCE_S
        with selectors.DefaultSelector() as selector:
            for drip in drips:
                selector.register(drip.socket, selectors.EVENT_READ, drip)
            while selector.get_map():
                self.assertLess(time.monotonic(), end, f"{len(selector.get_map())} connections are still open")
                for key, _ in selector.select(timeout=DRIP_S):
                    key.data.receive()
                    if key.data.is_over:
                        selector.unregister(key.fileobj)
                for key in list(selector.get_map().values()):
                    key.data.drip()
                self.check_good(service)

    def test_answers_that_nobody_reads_hold_nobody_up(self):
        request = f"GET {BASE}/VexoThingCollection HTTP/1.1\r\nHost: localhost\r\n\r\n".encode()
        with thing_service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            greedy = [connect(service, number) for number in range(SLOW)]
            senders = [threading.Thread(target=self.send_until_it_stops, args=(connection, request * 100))
                       for connection in greedy]
            for thread in senders:
                thread.start()
            for thread in senders:
                self.check_good(service)
                thread.join()
            for connection in greedy:
                connection.close()
            self.check_good(service)
            footprint.check_same_again()

    @staticmethod
    def send_until_it_stops(connection, text):
        """The service takes no more requests from whoever does not take the answers."""
        connection.settimeout(1)
        try:
            while True:
                connection.sendall(text)
        except OSError:
            pass


if __name__ == "__main__":
    unittest.main(verbosity=2)
