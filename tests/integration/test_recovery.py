#!/usr/bin/python3
"""What goes wrong around the service: it recovers by itself as soon as it can, or ends, and never hangs."""

import contextlib
import os
import resource
import signal
import socket
import sqlite3
import struct
import subprocess
import sys
import unittest

from cimgate_host import (BASE, PATIENCE_S, Wires, children_of, collection_entry, member_entry, state_of, wait_until,
                          write_cache)
from footprint import Footprint
from service_with_log import ServiceWithLog

THING = f"{BASE}/VexoThing/T.1"
THINGS = f"{BASE}/VexoThingCollection"
ROWS = 500
PAGE_BYTES = 4096
# Where a database file counts its changes (its readers keep what they have read otherwise).
CHANGE_COUNTER = slice(24, 28)

# Leaves a transaction half written behind: its pages are in the file already, with a journal to undo them.
HALF_A_TRANSACTION = """
import os, signal, sqlite3, sys
connection = sqlite3.connect(sys.argv[1], isolation_level=None)
connection.execute("pragma cache_size = 2")
connection.execute("begin immediate")
connection.execute("update Tbl_XCIM_Thing set A = 'half'")
os.kill(os.getpid(), signal.SIGKILL)
"""


def classes(value="fine"):
    return {"XCIM_Thing": (["InstanceID", "A", "Filler"],
                           [(f"T.{i}", value, "f" * 200) for i in range(ROWS)])}


def sample():
    text = {"cim_type": "string"}
    mapping = member_entry("VexoThing", "XCIM_Thing", {"A": text, "Filler": text}) | collection_entry("VexoThing")
    return mapping, {"classes": classes()}


def replace_cache(service, value):
    """As a writer does that must not be seen half-way: a new file takes the old one's name."""
    new = service.directory / "new.db"
    write_cache(new, classes(value))
    new.rename(service.cache_path)


def overwrite(path, content):
    """Writes a database, or what has been one, in place; as one more change than those that are there."""
    changes = struct.unpack(">I", path.read_bytes()[CHANGE_COUNTER])[0] + 1
    path.write_bytes(content[:CHANGE_COUNTER.start] + struct.pack(">I", changes) + content[CHANGE_COUNTER.stop:])


def processes(service):
    """The front and all its descendants, however far it has come."""
    spawners = children_of(service.process.pid)
    return [service.process.pid, *spawners, *(pid for spawner in spawners for pid in children_of(spawner))]


class Recovery(unittest.TestCase):
    maxDiff = None

    def service(self, *options):
        service = ServiceWithLog(*sample(), options=("--workers", "2", *options))
        self.addCleanup(service.discard)
        return service

    def check_good(self, service, value="fine"):
        answer = service.get(THING)
        self.assertEqual((answer.status, answer.json().get("A")), (200, value))

    def check_later(self, service):
        answer = service.get(THING)
        self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))

    # ---- The cache

    def test_start_without_a_cache_works_as_soon_as_there_is_one(self):
        service = self.service()
        moved = service.directory / "moved"
        service.cache_path.rename(moved)
        with service:
            for _ in range(3):
                self.check_later(service)
            # What needs no cache is answered all the while.
            self.assertEqual(service.get(f"{BASE}/VexoThing/T.1?$unknown=1").status, 501)
            log = service.log()
            self.assertIn(f"cimgated: the data cache {service.cache_path} is not there", log)
            self.assertIn("--cache", log)
            moved.rename(service.cache_path)
            wait_until(lambda: service.get(THING).status == 200, "an answer from the cache")
            wait_until(lambda: len(service.workers()) == 2, "the second worker")
            for _ in range(4):
                self.check_good(service)

    def test_replaced_cache_is_read(self):
        with self.service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            for number in range(3):
                replace_cache(service, f"new {number}")
                for _ in service.workers():
                    self.check_good(service, f"new {number}")
            footprint.check_same_again()

    def test_cache_that_is_no_database_for_a_while(self):
        with self.service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            content = service.cache_path.read_bytes()
            for garbage in (b"garbage" * 10_000, content[:100] + bytes(len(content) - 100), content[:PAGE_BYTES + 7]):
                with self.subTest(garbage=garbage[:20]):
                    overwrite(service.cache_path, garbage)
                    self.check_later(service)
                    overwrite(service.cache_path, content)
                    self.check_good(service)
            footprint.check_same_again()

    def test_cache_that_is_filled_after_the_start(self):
        service = ServiceWithLog(sample()[0], options=("--workers", "2"))
        service.cache_path.touch()
        with service:
            for _ in range(4):
                self.check_later(service)
            write_cache(service.cache_path, classes())
            for _ in range(4):
                self.check_good(service)

    def test_damaged_page_costs_those_who_need_it(self):
        service = self.service("--request-timeout", "4")
        with sqlite3.connect(service.cache_path) as connection:
            # Counting reads the index, which stays whole.
            connection.execute("create index Keys on Tbl_XCIM_Thing (InstanceID)")
        connection.close()
        content = service.cache_path.read_bytes()
        page = content.index(b"T.250f") // PAGE_BYTES
        damaged = content[:page * PAGE_BYTES] + b"\xff" * PAGE_BYTES + content[(page + 1) * PAGE_BYTES:]
        service.cache_path.write_bytes(damaged)
        with service:
            self.check_good(service)
            footprint = Footprint(service)
            # Where no row can be read there is no end of them either: the worker's memory or its deadline ends it.
            for skip in (210, 250, 400):
                self.assertIn(service.get(f"{THINGS}?$skip={skip}").status, (500, 504))
                self.check_good(service)
                self.assertEqual(len(service.get(f"{THINGS}?$skip=100").json()["Members"]), 50)
            footprint.check_same_again()
            overwrite(service.cache_path, content)
            self.assertEqual(len(service.get(f"{THINGS}?$skip=250&$top=20").json()["Members"]), 20)

    def test_writer_that_ends_in_the_middle_of_a_transaction(self):
        with self.service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            done = subprocess.run([sys.executable, "-c", HALF_A_TRANSACTION, str(service.cache_path)], check=False)
            self.assertEqual(done.returncode, -signal.SIGKILL)
            # Readers may not undo it, and do not show it.
            self.check_later(service)
            with sqlite3.connect(service.cache_path) as connection:
                self.assertEqual(connection.execute("select count(*) from Tbl_XCIM_Thing").fetchone(), (ROWS,))
            connection.close()
            self.check_good(service)
            footprint.check_same_again()

    def test_writer_that_keeps_its_lock(self):
        with self.service("--request-timeout", "1") as service:
            self.check_good(service)
            footprint = Footprint(service)
            connection = sqlite3.connect(service.cache_path, isolation_level=None)
            connection.execute("begin exclusive")
            answer = service.get(THING)
            self.assertEqual((answer.status, answer.messages()), (504, [("Base.OperationTimeout", [])]))
            connection.execute("commit")
            connection.close()
            self.check_good(service)
            footprint.check_same_again()

    # ---- Processes

    def test_workers_killed_again_and_again_while_requests_come_in(self):
        with self.service() as service, Wires(service.base, 100) as wires:
            self.check_good(service)
            footprint = Footprint(service)
            for index in range(len(wires)):
                wires.send(index, f"{THING}?n={index}")  # each a target of its own: none is refused for the workers' ends
                if index % 10 == 9:
                    for pid in service.workers():
                        with contextlib.suppress(ProcessLookupError):
                            os.kill(pid, signal.SIGKILL)
            statuses = [answer.status for answer in wires.read_answers(len(wires))]
            # 503 where no worker gets ready in time.
            self.assertEqual(set(statuses) - {200, 500, 503}, set())
            self.assertIn(200, statuses)
            for _ in range(10):
                self.check_good(service)
            wires.__exit__()
            footprint.check_same_again()

    def test_front_without_descriptors_takes_clients_and_workers_again_later(self):
        with self.service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            before = service.workers()
            used = len(os.listdir(f"/proc/{service.process.pid}/fd"))
            _, most = resource.prlimit(service.process.pid, resource.RLIMIT_NOFILE)
            resource.prlimit(service.process.pid, resource.RLIMIT_NOFILE, (used, most))
            host, _, port = service.base.removeprefix("http://").rpartition(":")
            with contextlib.ExitStack() as idle:
                for _ in range(20):
                    idle.enter_context(socket.create_connection((host, int(port)), timeout=PATIENCE_S))
                service.kill_workers()
            resource.prlimit(service.process.pid, resource.RLIMIT_NOFILE, (most, most))
            self.check_good(service)
            wait_until(lambda: len(set(service.workers()) - set(before)) == len(before), "the new workers")
            footprint.check_same_again()

    def test_only_the_front_listens_to_signals(self):
        with self.service() as service:
            pids = service.pids()
            for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGPIPE):
                for pid in pids[1:]:
                    os.kill(pid, number)
                for _ in range(4):
                    self.check_good(service)
                self.assertEqual(service.pids(), pids)

    # ---- Ends

    def test_start_that_hangs_can_be_ended(self):
        for name in ("mapping_path", "cache_path"):
            for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
                with self.subTest(file=name, signal=number.name):
                    service = self.service()
                    path = getattr(service, name)
                    path.unlink()
                    os.mkfifo(path)
                    service.launch()
                    pids = wait_until(lambda s=service: len(processes(s)) >= 2 and processes(s), "its processes")
                    service.process.send_signal(number)
                    service.process.wait(timeout=PATIENCE_S)
                    wait_until(lambda p=pids: all(state_of(pid) in ("", "Z") for pid in p), "the end of all processes")

    def test_service_that_waits_for_its_cache_can_be_ended(self):
        with self.service() as service:
            service.cache_path.unlink()
            service.kill_workers()
            wait_until(lambda: "a worker ended before it had a request" in service.log(), "a failed start")
            pids = processes(service)
            service.process.send_signal(signal.SIGTERM)
            service.await_end(pids)

    def test_service_whose_spawner_is_stopped_can_be_ended(self):
        service = self.service().start()
        pids = service.pids()
        os.kill(service.spawner(), signal.SIGSTOP)
        try:
            self.check_good(service)
            service.process.send_signal(signal.SIGTERM)
            service.process.wait(timeout=PATIENCE_S)
            wait_until(lambda: all(state_of(pid) in ("", "Z") for pid in pids), "the end of all processes")
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pids[1], signal.SIGKILL)


if __name__ == "__main__":
    unittest.main(verbosity=2)
