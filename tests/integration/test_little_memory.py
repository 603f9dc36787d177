#!/usr/bin/python3
"""A front that may have little memory beside what it has at rest: what it lacks memory for is given up, the service
goes on."""

import contextlib
import resource
import unittest

from cimgate_host import BASE, Service, ServiceTest, connect_to, member_entry, wait_until
from footprint import is_sanitized
from things import request

SPARE_BYTES = 24 * 1024 * 1024
BODIES = 60
BODY_BYTES = 1024 * 1024
LARGE_BYTES = 6 * 1024 * 1024
READERS = 12

THING, LARGE = f"{BASE}/VexoThing/A", f"{BASE}/VexoLarge/A"


def service_with_large_answers():
    text = {"A": {"cim_type": "string"}}
    mapping = member_entry("VexoThing", "XCIM_Thing", text) | member_entry("VexoLarge", "XCIM_Large", text)
    columns = ["InstanceID", "A"]
    cache = {"classes": {"XCIM_Thing": (columns, [("A", "fine")]), "XCIM_Large": (columns, [("A", "x" * LARGE_BYTES)])}}
    return Service(mapping, cache, options=("--client-memory", str(256 * 1024 * 1024)))


def address_space(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmSize")) * 1024


class LittleMemory(ServiceTest):
    def setUp(self):
        self.service = self.enterContext(service_with_large_answers())
        self.check_value(self.service, THING)
        self.pid = self.service.process.pid
        if is_sanitized(self.pid):
            self.skipTest("the address sanitizer reserves all of the address space")
        limit = address_space(self.pid) + SPARE_BYTES
        resource.prlimit(self.pid, resource.RLIMIT_AS, (limit, resource.RLIM_INFINITY))

    def check_goes_on(self):
        self.check_value(self.service, THING)
        self.assertEqual(self.service.process.pid, self.pid)
        self.assertIsNone(self.service.process.poll())

    def test_bodies_for_which_there_is_no_memory(self):
        head = request(THING, "Content-Type: application/json", f"Content-Length: {BODY_BYTES}", method="POST")
        with contextlib.ExitStack() as stack:
            connections = []
            for _ in range(BODIES):
                connection = stack.enter_context(connect_to(self.service.base))
                connections.append(connection)
                with contextlib.suppress(OSError):
                    connection.sendall(head + b"x" * (BODY_BYTES - 1))
            wait_until(lambda: any(map(self.is_over, connections)), "the end of a connection")
            self.assertFalse(all(map(self.is_over, connections)))
        self.check_goes_on()

    @staticmethod
    def is_over(connection):
        connection.setblocking(False)
        try:
            return connection.recv(1) == b""
        except BlockingIOError:
            return False
        except ConnectionResetError:
            return True

    def test_answers_for_which_there_is_no_memory(self):
        with contextlib.ExitStack() as stack:
            for _ in range(READERS):  # who do not read
                connection = stack.enter_context(connect_to(self.service.base))
                connection.sendall(request(LARGE))
            wait_until(lambda: "was out of memory" in self.service.log(), "the log's line")
        self.check_goes_on()


if __name__ == "__main__":
    unittest.main(verbosity=2)
