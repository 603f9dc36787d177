#!/usr/bin/python3
"""More than is taken, of everything that a request consists of."""

import unittest

from footprint import Footprint
from strict_wire import StrictWire
from things import A, THINGS, request, thing_service

MAX_HEADERS = 100
MUCH = 8 * 1024 * 1024


def numbered_headers(count):
    return [f"X-{number}: y" for number in range(count)]


class Oversized(unittest.TestCase):
    """One service for all: what one request costs it must not stay with it."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(thing_service())
        cls.pids = cls.service.pids()

    def exchange(self, text):
        wire = StrictWire(self.service)
        wire.send(text)
        answers = wire.read_to_end()
        wire.close()
        return answers

    def tearDown(self):
        self.assertEqual(self.service.pids(), self.pids)
        self.assertEqual(self.service.get(A).json()["Value"], "first")

    def check(self, text, status):
        self.assertEqual(self.exchange(text), [status])

    def check_refused(self, text, status):
        """The client may still be sending when it has been refused for good, so that it does not see why."""
        self.assertIn(self.exchange(text), ([status], []))

    def test_number_of_headers(self):
        self.check(request(A, *numbered_headers(MAX_HEADERS - 1)), 200)
        self.check(request(A, *numbered_headers(MAX_HEADERS)), 431)
        self.check_refused(request(A, *numbered_headers(100_000)), 431)

    def test_numbers_of_query_options_and_selected_names(self):
        self.check(request(f"{THINGS}?{'&' * 5000}$top=1"), 200)
        self.check(request(f"{THINGS}?" + "&".join(f"o{number}=1" for number in range(900))), 200)
        self.check(request(f"{THINGS}?" + "&".join(f"$o{number}=1" for number in range(800))), 501)
        self.check(request(f"{THINGS}?$select=" + "," * 255), 400)
        self.check(request(f"{THINGS}?$select=" + ",".join(["Members"] * 31)), 200)
        # The library reads no longer list.
        self.check(request(f"{THINGS}?$select=" + ",".join(["Members"] * 1000)), 500)
        self.check(request(f"{A}?$select=" + "," * 8000), 500)

    def test_numbers_beyond_every_width(self):
        for digits in (10, 20, 40, 8000):
            for option in ("$top", "$skip"):
                self.check(request(f"{THINGS}?{option}={'9' * digits}"), 400)
                self.check(request(f"{THINGS}?{option}={'0' * (digits - 1)}1"), 200)

    def test_much_of_everything(self):
        self.check_much_of_everything()
        footprint = Footprint(self.service)
        for _ in range(3):
            self.check_much_of_everything()
        footprint.check_same_again()

    def check_much_of_everything(self):
        much = "x" * MUCH
        self.check_refused(request("/" + much), 414)
        self.check_refused(request(A, method=much), 414)
        self.check_refused(request(A, f"X: {much}"), 431)
        self.check_refused(request(A, f"{much}: x"), 431)
        self.check_refused(request(A, "X: y" + "\r\n y" * (MUCH // 4)), 431)
        self.check_refused(request(A, f"Content-Length: {MUCH}", body=much.encode()), 413)
        chunked = "Transfer-Encoding: chunked"
        self.check_refused(request(A, chunked, body=b"%x\r\n" % MUCH + much.encode()), 413)
        self.check_refused(request(A, chunked, body=b"1\r\nx\r\n" * (MUCH // 6)), 413)
        self.assertIn(self.exchange(request(A, chunked, body=b"1;" + much.encode())), ([400], [431], [413], []))
        self.assertIn(self.exchange(request(A, chunked, body=b"0\r\n" + b"X: y\r\n" * (MUCH // 6))),
                      ([400], [431], [413], []))


if __name__ == "__main__":
    unittest.main(verbosity=2)
