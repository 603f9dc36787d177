#!/usr/bin/python3
"""Many clients of the endpoint at once, beside those of HTTP, and clients that do not keep to the protocol."""

import concurrent.futures
import contextlib
import json
import random
import socket
import threading
import unittest
from pathlib import Path

import zmq

from cimgate_host import BASE, Pending, wait_until
from footprint import Footprint
from oem_client import (BY_ID, DELIMITER, GREETING, LONG_FRAME, ONE_OF_MORE, READY, TEXT, OemService, OemTest,
                        connect_raw, container_entry, embedded_entry, new_socket, request_text, shake_hands)

ROWS = 300
CLIENTS = 20
REQUESTS_OF_A_CLIENT = 20
SENT_AHEAD = 200
HTTP_READS = 50

LONG_ANSWER = 8_000_000
# More than a worker can hold, or than an answer may be.
TOO_LONG_ANSWER = 64 * 1024 * 1024

LONGEST_REQUEST = 64 * 1024
MOST_FRAMES_IN_FRONT = 8
SEED = 1


def sample():
    mapping = embedded_entry("VexoGood", "XCIM_Good", {"A": TEXT})
    mapping |= embedded_entry("VexoLong", "XCIM_Long", {"A": TEXT})
    mapping |= container_entry("GoodOem", VexoGood=BY_ID)
    mapping |= container_entry("LongOem", VexoLong=BY_ID)
    columns = ["InstanceID", "A"]
    rows = [("L.1", "l" * 20_000), ("L.2", "l" * LONG_ANSWER), ("L.3", "l" * TOO_LONG_ANSWER)]
    return mapping, {"classes": {"XCIM_Good": (columns, [(f"G.{i}", f"value {i}") for i in range(ROWS)]),
                                 "XCIM_Long": (columns, rows)}}


def value_of(answer):
    return answer["VexoGood"]["A"]


class ManyClients(OemTest):
    def test_each_answer_is_that_of_its_client_and_request(self):
        with OemService(*sample()) as service:
            footprint = Footprint(service)
            faults = []

            def ask_again_and_again(first):
                with service.client() as client:
                    for number in range(first, first + REQUESTS_OF_A_CLIENT):
                        answer = client.ask("GoodOem", f"G.{number % ROWS}")
                        if answer.get("VexoGood", {}).get("A") != f"value {number % ROWS}":
                            faults.append((number, answer))

            threads = [threading.Thread(target=ask_again_and_again, args=(10 * number,)) for number in range(CLIENTS)]
            for thread in threads:
                thread.start()
            with service.dealer() as dealer:
                for number in range(SENT_AHEAD):
                    dealer.send(number, "GoodOem", f"G.{number}")
                answers = dict(dealer.receive() for _ in range(SENT_AHEAD))
            for thread in threads:
                thread.join()
            self.assertEqual(faults, [])
            self.assertEqual({number: value_of(answer) for number, answer in answers.items()},
                             {number: f"value {number}" for number in range(SENT_AHEAD)})
            footprint.check_same_again()

    def test_clients_of_both_kinds_side_by_side(self):
        with OemService(*sample()) as service, service.client() as client:
            pending = Pending([f"{service.base}{BASE}/VexoGood/G.{number}" for number in range(100)])
            for number in range(100):
                self.assertEqual(value_of(client.ask("GoodOem", f"G.{number}")), f"value {number}")
            self.assertEqual(pending.output().count(b"HTTP/1.1 200 OK\r\n"), 100)

    def flood(self, service, is_over):
        """Has SENT_AHEAD requests on their way until it is over; gives back how many were answered."""
        with service.dealer() as dealer:
            for number in range(SENT_AHEAD):
                dealer.send(number, "GoodOem", f"G.{number}")
            expected = SENT_AHEAD
            waiting = set(range(SENT_AHEAD))
            while waiting:
                number, answer = dealer.receive()
                waiting.remove(number)
                if value_of(answer) != f"value {number % ROWS}":
                    raise AssertionError(f"{number}: {answer}")
                if not is_over.is_set():
                    dealer.send(expected, "GoodOem", f"G.{expected % ROWS}")
                    waiting.add(expected)
                    expected += 1
            return expected

    def test_flood_stops_neither_reads_over_http_nor_other_clients(self):
        with (OemService(*sample(), options=("--workers", "2")) as service,
              concurrent.futures.ThreadPoolExecutor() as threads):
            is_over = threading.Event()
            flood = threads.submit(self.flood, service, is_over)
            try:
                for number in range(HTTP_READS):
                    answer = service.get(f"{BASE}/VexoGood/G.{number}")
                    self.assertEqual((answer.status, answer.json().get("A")), (200, f"value {number}"))
                    self.assertEqual(value_of(service.ask("GoodOem", f"G.{number}")), f"value {number}")
            finally:
                is_over.set()
            self.assertGreaterEqual(flood.result(), SENT_AHEAD)

    def test_client_that_does_not_take_its_answers_stops_no_other(self):
        with OemService(*sample()) as service, new_socket(zmq.DEALER) as idle:
            idle.setsockopt(zmq.RCVHWM, 1)
            idle.connect(service.endpoint)
            for _ in range(SENT_AHEAD):
                idle.send_multipart([DELIMITER, request_text("LongOem", "L.1")])
            for number in range(SENT_AHEAD):
                self.assertEqual(value_of(service.ask("GoodOem", f"G.{number}")), f"value {number}")
            self.assertEqual(service.get(f"{BASE}/VexoGood/G.1").status, 200)

    def test_long_answer(self):
        with OemService(*sample()) as service:
            self.assertEqual(service.ask("LongOem", "L.2")["VexoLong"]["A"], "l" * LONG_ANSWER)
            self.check_error(service.ask("LongOem", "L.3"), "WorkerEnded", "log")
            self.assertEqual(value_of(service.ask("GoodOem", "G.1")), "value 1")


class Protocol(OemTest):
    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(OemService(*sample()))

    def setUp(self):
        self.process = self.service.endpoint_process()

    def tearDown(self):
        self.assertEqual(value_of(self.service.ask("GoodOem", "G.7")), "value 7")
        self.assertEqual(self.service.endpoint_process(), self.process)

    def test_frames_in_front_of_a_request_come_back(self):
        request = request_text("GoodOem", "G.1")
        with self.service.dealer() as dealer:
            for in_front in ([], [b"one"], [b"\0\xff", b"x" * 200], [b"f"] * MOST_FRAMES_IN_FRONT):
                dealer.send_raw(*in_front, DELIMITER, request)
                *frames, answer = dealer.receive_raw()
                self.assertEqual(frames, [*in_front, DELIMITER])
                self.assertEqual(value_of(json.loads(answer)), "value 1")

    def test_messages_without_a_delimiter_that_can_be_told_are_dropped(self):
        request = request_text("GoodOem", "G.1")
        with self.service.dealer() as dealer:
            for frames in ([request], [b"x", request], [b"x"] * 100,
                           [*[b"f"] * (MOST_FRAMES_IN_FRONT + 1), DELIMITER, request],
                           [*[b"f"] * 1000, DELIMITER, request]):
                dealer.send_raw(*frames)
            # What is refused is answered before anything that needs a worker.
            for number in (5, 6):
                dealer.send(number, "GoodOem", f"G.{number}")
                answered, answer = dealer.receive()
                self.assertEqual((answered, value_of(answer)), (number, f"value {number}"))

    def test_delimiter_without_a_request_is_a_malformed_request(self):
        with self.service.dealer() as dealer:
            dealer.send_raw(b"one", DELIMITER)
            *frames, answer = dealer.receive_raw()
            self.assertEqual(frames, [b"one", DELIMITER])
            self.check_error(json.loads(answer), "MalformedRequest", "frame")

    def test_request_that_is_too_long_costs_the_connection(self):
        for frames in ([request_text("GoodOem", "G.1").ljust(LONGEST_REQUEST + 1)], [b"x" * 10_000_000]):
            with self.service.dealer() as dealer:
                dealer.send_raw(DELIMITER, *frames)
                dealer.await_new_connection()
                self.assertEqual(value_of(dealer.ask("GoodOem", "G.5")), "value 5")

    def test_sockets_of_other_kinds(self):
        for kind in (zmq.PUSH, zmq.PUB, zmq.PAIR):
            with new_socket(kind) as other, self.service.client() as client:
                other.connect(self.service.endpoint)
                with contextlib.suppress(zmq.Again):  # it has been found already that the kinds do not fit
                    other.send_multipart([DELIMITER, request_text("GoodOem", "G.1")], zmq.NOBLOCK)
                self.assertEqual(value_of(client.ask("GoodOem", "G.2")), "value 2")

    def connect(self):
        return self.enterContext(connect_raw(self.service))

    def read_to_the_end(self, raw):
        with contextlib.suppress(ConnectionError):
            while raw.recv(65536):
                pass

    def test_garbage_instead_of_the_protocol(self):
        noise = random.Random(SEED)
        garbage = [b"", b"\0", b"GET / HTTP/1.1\r\n\r\n", GREETING[:10], GREETING[:40], GREETING,
                   GREETING + b"\0" * 100,
                   GREETING + READY[2:], GREETING + READY[:9], GREETING + READY, GREETING + READY + b"\0" * 100,
                   *(noise.randbytes(noise.randrange(1, 5000)) for _ in range(50)),
                   *(GREETING + noise.randbytes(500) for _ in range(20)),
                   *(GREETING + READY + noise.randbytes(500) for _ in range(20))]
        for bytes_sent in garbage:
            raw = self.connect()
            with contextlib.suppress(ConnectionError):  # it may have had enough before the end
                raw.sendall(bytes_sent)
                raw.shutdown(socket.SHUT_WR)
            self.read_to_the_end(raw)

    def test_garbage_after_the_protocol_has_begun(self):
        noise = random.Random(SEED)
        for bytes_sent in (ONE_OF_MORE + b"\0", ONE_OF_MORE + b"\x05cut", LONG_FRAME + b"\xff" * 8 + b"x" * 100,
                           LONG_FRAME + b"\x7f" + b"\xff" * 7, LONG_FRAME + bytes(3), READY, READY[:3], b"\xff" * 100,
                           *(noise.randbytes(500) for _ in range(20))):
            raw = self.connect()
            shake_hands(raw)
            with contextlib.suppress(ConnectionError):
                raw.sendall(bytes_sent)
                raw.shutdown(socket.SHUT_WR)
            self.read_to_the_end(raw)

    def test_connections_that_say_nothing(self):
        silent = [self.connect() for _ in range(50)]
        self.assertEqual(value_of(self.service.ask("GoodOem", "G.1")), "value 1")
        self.assertEqual(len(silent), 50)

    def test_clients_that_leave_before_their_answers(self):
        for _ in range(10):
            with self.service.dealer() as dealer:
                for number in range(50):
                    dealer.send(number, "GoodOem", f"G.{number}")
                dealer.receive()

    def test_clients_that_come_and_go_leave_nothing_behind(self):
        footprint = Footprint(self.service)
        descriptors = Path(f"/proc/{self.process}/fd")
        before = len(list(descriptors.iterdir()))
        for number in range(200):
            self.assertEqual(value_of(self.service.ask("GoodOem", f"G.{number}")), f"value {number}")
        wait_until(lambda: len(list(descriptors.iterdir())) <= before, f"{before} descriptors")
        footprint.check_same_again()


if __name__ == "__main__":
    unittest.main(verbosity=2)
