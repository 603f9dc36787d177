#!/usr/bin/python3
"""Thousands of requests that are no HTTP, or hardly: each whose end can be told is answered, the others are answered or
their connection closed, and nothing else happens."""

import random
import threading
import unittest

from cimgate_host import BASE
from footprint import Footprint
from strict_wire import StrictWire
from things import A, thing_service

REQUESTS = 20_000
# After so many the service has allocated what it needs for such clients.
WARM_UP = 2_000
SEED = 20240501
# Clients at a time: while one makes up its request, the service answers another one's.
SENDERS = 4

# What a client's request may make of itself; 500 is the library's answer to a "$select" that is empty or too long.
STATUSES = {200, 204, 400, 404, 405, 406, 408, 413, 414, 415, 417, 421, 431, 500, 501, 505}

TARGETS = [A, A + "?$select=Value", f"{BASE}/VexoThingCollection?$top=2&$skip=1", "/", f"{BASE}/%56exoThing/A",
           f"http://host{A}", "*", f"{BASE}/Nope"]
HEADERS = ["Accept: */*", "Connection: keep-alive", "X-Long: " + "x" * 200, "Cookie: a=b; c=d", "TE: trailers",
           "Expect: 100-continue", "Upgrade: h2c", "If-Match: *"]

METHODS = [b"", b"get", b"G\0T", b"POST", b"PUT", b"DELETE", b"OPTIONS", b"TRACE", b"CONNECT", b"PRI", b"GET\t",
           b" GET", b"G" * 5000, b"\xff\xfe", b"M-SEARCH", b"GET GET"]
VERSIONS = [b"", b"HTTP/1.0", b"HTTP/0.9", b"HTTP/2.0", b"HTTP/1.10", b"HTTP/11", b"http/1.1", b"HTTP/1.1 ",
            b"HTTP/1,1", b"ICY", b"HTTP/\xff", b"HTTP/1.1\0"]
ESCAPES = [b"%", b"%0", b"%00", b"%zz", b"%%", b"%2", b"%ff", b"%2f..%2f", b"%u0041", b"/" * 300, b"/../..", b"?" * 50,
           b"&" * 50, b"#x", b"$top=%31", b"&$top=-1", b"&$skip=99999999999999999999", b"&$select=", b"a" * 9000, b" "]
LENGTHS = [b"-1", b"+1", b"0x10", b"1e3", b"", b" ", b"1 1", b"1,1", b"99999999999999999999", b"18446744073709551616",
           b"1048577", b"4294967297", b"\xb2", b"00000000000000000003", b"3\0"]
CHUNKS = [b"0\r\n", b"-1\r\n", b"\r\n", b"ffffffffffffffff\r\n", b"10000000000000000\r\nx", b"3\r\nabcd\r\n", b"g\r\n",
          b"3;" + b"e" * 9000 + b"\r\nabc\r\n0\r\n\r\n", b"3\nabc\n0\n\n", b"0\r\nA: b\r\n" * 500,
          b"0x3\r\nabc\r\n0\r\n\r\n",
          b"3\r\nabc0\r\n\r\n", b"1\r\nx\r\n" * 500]


class Generator:
    """Requests made from valid ones, the same for the same seed."""

    def __init__(self, seed):
        self._seed = seed
        self._random = random.Random(seed)

    def __str__(self):
        return f"seed {self._seed}"

    def one(self):
        """A request, and whether its end can be told, whatever is wrong with it: behind an empty line."""
        if self._random.random() < 0.5:
            return self._with_head_damaged(), True
        damage = self._random.choice([self._with_length, self._with_chunks, self._cut, self._with_bytes_damaged,
                                      self._with_too_much])
        return damage(), False

    def _head(self, *more):
        some = self._random.sample(HEADERS, self._random.randrange(4))
        lines = [f"GET {self._random.choice(TARGETS)} HTTP/1.1", "Host: localhost", *some, *more]
        return "".join(line + "\r\n" for line in lines).encode()

    def _with_head_damaged(self):
        line, rest = self._head().split(b"\r\n", 1)
        method, target, version = line.split(b" ")
        kind = self._random.randrange(5)
        if kind == 0:
            method = self._random.choice(METHODS)
        elif kind == 1:
            version = self._random.choice(VERSIONS)
        elif kind == 2:
            at = self._random.randrange(len(target) + 1)
            target = target[:at] + self._random.choice(ESCAPES) + target[at:]
        elif kind == 3:
            rest = self._damaged(rest).rstrip(b"\r\n") + b"\r\n"
        else:
            target = self._damaged(target)
        return method + b" " + target + b" " + version + b"\r\n" + rest + b"\r\n"

    def _damaged(self, text):
        """A few bytes replaced, put in, or taken out."""
        for _ in range(self._random.randrange(1, 4)):
            at = self._random.randrange(len(text) + 1)
            piece = self._random.choice([b"", b"\0", b"\n", b"\r", b"\r\n ", b"\t", b":", b"\x7f",
                                         self._random.randbytes(1), self._random.randbytes(4)])
            text = text[:at] + piece + text[at + self._random.randrange(3):]
        return text

    def _with_length(self):
        return self._head("Content-Length: ")[:-2] + self._random.choice(LENGTHS) + b"\r\n\r\nabc"

    def _with_chunks(self):
        return self._head("Transfer-Encoding: chunked") + b"\r\n" + self._random.choice(CHUNKS)

    def _cut(self):
        text = self._head("Content-Length: 5") + b"\r\nabcde"
        return text[:self._random.randrange(len(text))]

    def _with_bytes_damaged(self):
        return self._damaged(self._head(self._random.choice(["Content-Length: 5", "Transfer-Encoding: chunked"]))
                             + b"\r\n5\r\nabcde\r\n0\r\n\r\n")

    def _with_too_much(self):
        return self._head(*self._random.choice([["X: y"] * 2000, ["x" * 30_000 + ": y"], ["X: " + "y" * 30_000],
                                                [" folded"] * 50])) + b"\r\n"


class Sender(threading.Thread):
    """Sends its part of the requests, one after the other."""

    def __init__(self, service, generator, count):
        super().__init__()
        self._wire = StrictWire(service)
        self._generator = generator
        self._count = count
        self.seen = set()
        self.fault = None

    @property
    def connections(self):
        return self._wire.made

    def run(self):
        try:
            for number in range(self._count):
                text, has_end = self._generator.one()
                self._exchange(number, text, has_end)
        except Exception as error:  # pylint: disable=broad-except
            self.fault = error
        finally:
            self._wire.close()

    def _exchange(self, number, text, has_end):
        try:
            self._wire.send(text)
            self.seen.update([self._wire.read_answer()] if has_end else self._wire.read_to_end())
        except Exception as error:
            error.add_note(f"request {number} of {self._generator}: {text[:2000]!r}")
            raise


class MalformedHttp(unittest.TestCase):
    maxDiff = None

    def send(self, service, generators, count):
        """Sends so many requests altogether; gives back the statuses that were seen, and the number of connections."""
        senders = [Sender(service, generator, count // len(generators)) for generator in generators]
        for sender in senders:
            sender.start()
        for sender in senders:
            sender.join()
        for fault in [sender.fault for sender in senders if sender.fault is not None]:
            raise fault
        return set().union(*(sender.seen for sender in senders)), sum(sender.connections for sender in senders)

    def test_no_request_hangs_or_harms(self):
        service = self.enterContext(thing_service())
        pids = service.pids()
        generators = [Generator(SEED + number) for number in range(SENDERS)]
        first_seen, _ = self.send(service, generators, WARM_UP)
        footprint = Footprint(service)
        seen, connections = self.send(service, generators, REQUESTS - WARM_UP)
        seen |= first_seen
        # The generators reach all of it, and connections outlive what can be told apart.
        self.assertEqual(seen - STATUSES, set())
        self.assertLessEqual({200, 400, 404, 405, 413, 414, 431}, seen)
        self.assertLess(connections, 0.9 * (REQUESTS - WARM_UP))
        # Nothing that a client sends ends a worker either.
        self.assertEqual(service.pids(), pids)
        footprint.check_same_again()
        self.assertEqual(service.get(A).json()["Value"], "first")


if __name__ == "__main__":
    unittest.main(verbosity=2)
