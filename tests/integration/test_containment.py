"""Requests that end or stall their worker cost themselves an error and nobody else anything."""

import concurrent.futures
import os
import signal
import time
import unittest
from pathlib import Path

from cimgate_host import Host, child_pids, entry, ready, wait_until

ROOT = "/redfish/v1/Vexo/"
GOOD = ROOT + "VexoGood/1"
REAL_CELL = ROOT + "VexoReal/1"
UNKNOWN_TYPE = ROOT + "VexoType/1"
STALLING = "/redfish/v1/Vexo/VexoStall/1"
TIMEOUT_S = 2


def mapping():
    key = {"InstanceID": {"cim_type": "string"}}
    return {
        "VexoGood": entry(ROOT + "VexoGood", "XCIM_Good", key),
        "VexoReal": entry(ROOT + "VexoReal", "XCIM_Real", {**key, "Value": {"cim_type": "uint32"}}),
        "VexoType": entry(ROOT + "VexoType", "XCIM_Type", {**key, "Value": {"cim_type": "real32"}}),
        # The association table behind this link is missing.
        "VexoStall": entry(ROOT + "VexoStall", "XCIM_Good", key, Links={"VexoEnclosureCollection": {}}),
    }


def fill(connection):
    connection.execute("CREATE TABLE Tbl_XCIM_Good (InstanceID TEXT)")
    connection.execute("INSERT INTO Tbl_XCIM_Good VALUES ('1')")
    for name, value in (("Real", 1.5), ("Type", 7)):
        connection.execute(f"CREATE TABLE Tbl_XCIM_{name} (InstanceID TEXT, Value)")
        connection.execute(f"INSERT INTO Tbl_XCIM_{name} VALUES ('1', ?)", (value,))
    ready(connection, "XCIM_Good", "XCIM_Real", "XCIM_Type")


def is_gone(pid):
    return not Path(f"/proc/{pid}").exists()


class Containment(unittest.TestCase):
    def setUp(self):
        self.host = Host(mapping(), fill, ["--workers", "2", "--request-timeout", str(TIMEOUT_S)])
        self.addCleanup(self.host.stop)

    def check_good(self):
        self.assertEqual(self.host.get(GOOD).status, 200)

    def check_aborts(self, uri, log_line):
        before = set(self.host.workers())
        answer = self.host.get(uri)
        self.assertEqual(answer.status, 500)
        self.assertEqual(answer.message_ids, ["Base.1.18.InternalError"])
        for _ in range(5):
            self.check_good()
        self.assertTrue(wait_until(lambda: len(self.host.workers()) == 2))
        self.assertEqual(len(before & set(self.host.workers())), 1)
        self.assertIn(log_line, self.host.log_text())

    def test_a_floating_point_cell(self):
        self.check_aborts(REAL_CELL, "Assertion 'status == SQLITE_OK' failed")

    def test_an_unknown_cim_type(self):
        self.check_aborts(UNKNOWN_TYPE, "Assertion 'ret == true' failed")

    def test_a_missing_association_table_ends_at_the_deadline(self):
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            begin = time.monotonic()
            stalled = pool.submit(self.host.get, STALLING)
            # Others are served all the while, each in much less than the deadline.
            served = 0
            while not stalled.done():
                answer_at = time.monotonic()
                self.check_good()
                self.assertLess(time.monotonic() - answer_at, TIMEOUT_S / 2)
                served += 1
            elapsed = time.monotonic() - begin
        self.assertGreater(served, 10)
        self.assertGreaterEqual(elapsed, TIMEOUT_S)
        self.assertEqual(stalled.result().status, 504)
        self.assertEqual(stalled.result().message_ids, ["Base.1.18.OperationTimeout"])
        self.check_good()

    def test_more_stalling_requests_than_workers(self):
        with concurrent.futures.ThreadPoolExecutor(3) as pool:
            statuses = [answer.status for answer in pool.map(self.host.get, [STALLING] * 3)]
        # The third waits as long as it may be served, then another while for its own answer.
        self.assertTrue(set(statuses) <= {503, 504}, statuses)
        self.assertGreaterEqual(statuses.count(504), 2)
        self.check_good()

    def test_workers_killed_from_outside_are_replaced(self):
        before = self.host.workers()
        self.assertEqual(len(before), 2)
        for pid in before:
            os.kill(pid, signal.SIGKILL)
        self.assertTrue(wait_until(lambda: all(map(is_gone, before)) and len(self.host.workers()) == 2))
        self.assertTrue(wait_until(lambda: self.host.get(GOOD).status == 200))

    def test_without_its_spawner_the_service_ends_and_says_so(self):
        spawner, = self.host.children()
        workers = self.host.workers()
        os.kill(spawner, signal.SIGKILL)
        self.assertEqual(self.host.process.wait(30), 1)
        self.assertIn("cimgated: the spawner has ended", self.host.log_text())
        self.assertTrue(wait_until(lambda: all(map(is_gone, workers))))

    def test_nothing_outlives_a_killed_front(self):
        others = self.host.children() + self.host.workers()
        self.assertEqual(len(others), 3)
        self.host.process.kill()
        self.host.process.wait()
        self.assertTrue(wait_until(lambda: all(map(is_gone, others))))

    def test_descriptors_and_processes_are_back_afterwards(self):
        def descriptors():
            return len(os.listdir(f"/proc/{self.host.process.pid}/fd"))

        self.check_good()
        before = descriptors()
        for i in range(100):
            self.assertEqual(self.host.get(REAL_CELL if i % 10 == 0 else GOOD).status,
                             500 if i % 10 == 0 else 200)
        self.assertTrue(wait_until(lambda: len(self.host.workers()) == 2))
        self.assertTrue(wait_until(lambda: descriptors() == before), (before, descriptors()))
        spawner, = self.host.children()
        self.assertTrue(wait_until(lambda: len(child_pids(spawner)) == 2))


if __name__ == "__main__":
    unittest.main(verbosity=2)
