#!/usr/bin/python3
"""A data cache with a damaged page, with half a transaction, or with a lock on it costs only those who need it."""

import signal
import sqlite3
import subprocess
import sys
import unittest

from cache_damage import PAGE_BYTES, overwrite
from footprint import Footprint
from recovery_service import ROWS, THING, THINGS, RecoveryTest

# Leaves a transaction half written behind: its pages are in the file already, with a journal to undo them.
HALF_A_TRANSACTION = """
import os, signal, sqlite3, sys
connection = sqlite3.connect(sys.argv[1], isolation_level=None)
connection.execute("pragma cache_size = 2")
connection.execute("begin immediate")
connection.execute("update Tbl_XCIM_Thing set A = 'half'")
os.kill(os.getpid(), signal.SIGKILL)
"""


class CacheDamage(RecoveryTest):
    def test_damaged_page_costs_those_who_need_it(self):
        service = self.service("--request-timeout", "2", "--workers", "4")
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
            damaged_pages = [service.start_get(f"{THINGS}?$skip={skip}") for skip in (210, 250, 400)]
            for pending in damaged_pages:
                self.assertIn(pending.answer().status, (500, 504))
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


if __name__ == "__main__":
    unittest.main(verbosity=2)
