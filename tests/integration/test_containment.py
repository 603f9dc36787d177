#!/usr/bin/python3
"""A request that ends or occupies its worker costs nobody else anything."""

import os
import signal
import unittest

from cimgate_host import BASE, Service, Wires, member_entry, collection_entry, state_of, wait_until

GOOD = f"{BASE}/VexoGood/G.1"
GOODS = f"{BASE}/VexoGoodCollection"
STUCK = f"{BASE}/VexoStuck/S.1"
HUGE = f"{BASE}/VexoHuge/H.1"

# What ends a worker, cells and types that the cache and the mapping never have when they are right, and why.
DEADLY = {f"{BASE}/VexoReal/X": "Assertion 'status == SQLITE_OK' failed",
          f"{BASE}/VexoRealCollection": "Assertion 'status == SQLITE_OK' failed",
          f"{BASE}/VexoTyped/X": "Assertion 'ret == true' failed",
          f"{BASE}/VexoUntyped/X": "Empty type is found in RMF",
          f"{BASE}/VexoWord/X": "Did not match data type string"}
REAL = f"{BASE}/VexoReal/X"

MAX_WAITING = 128
# More than a worker can hold several times over, as it must to answer.
HUGE_BYTES = 64 * 1024 * 1024


def sample(huge_bytes=0):
    text = {"cim_type": "string"}
    mapping = member_entry("VexoGood", "XCIM_Good", {"A": text}) | collection_entry("VexoGood")
    mapping |= member_entry("VexoReal", "XCIM_Real", {"A": {"cim_type": "uint32"}}) | collection_entry("VexoReal")
    mapping |= member_entry("VexoTyped", "XCIM_Number", {"A": {"cim_type": "real64"}})
    mapping |= member_entry("VexoUntyped", "XCIM_Number", {"A": {}})
    mapping |= member_entry("VexoWord", "XCIM_Number", {"A": text})
    mapping |= member_entry("VexoHuge", "XCIM_Huge", {"A": text})
    # A link whose association table is missing: reading its rows never ends.
    mapping |= member_entry("VexoStuck", "XCIM_Good", {"A": text}, Links={"VexoEnclosureCollection": {}})
    columns = ["InstanceID", "A"]
    classes = {"XCIM_Good": (columns, [("G.1", "fine"), ("S.1", "fine")]), "XCIM_Real": (columns, [("X", 1.5)]),
               "XCIM_Number": (columns, [("X", 5)]), "XCIM_Huge": (columns, [("H.1", "h" * huge_bytes)])}
    return mapping, {"classes": classes}


class Containment(unittest.TestCase):
    """Each test with a service of its own: what one does to its workers is not the next one's concern."""

    maxDiff = None

    def service(self, *options, huge_bytes=0):
        return self.enterContext(Service(*sample(huge_bytes), options))

    def check_good(self, service):
        answer = service.get(GOOD)
        self.assertEqual((answer.status, answer.json()["A"]), (200, "fine"))

    def check_failed(self, answer, status, message):
        self.assertEqual(answer.status, status)
        self.assertEqual(answer.messages(), [(message, [])])
        self.assertEqual(answer.get("OData-Version"), "4.0")
        self.assertEqual(answer.get("Content-Type"), "application/json")

    # ---- Workers that end

    def test_request_that_ends_its_worker_is_an_internal_error(self):
        service = self.service()
        for uri, reason in DEADLY.items():
            with self.subTest(uri=uri):
                said = service.log().count(reason)
                self.check_costs_one_worker(service, uri)
                self.assertEqual(service.log().count(reason), said + 1)

    def test_answer_that_does_not_fit_into_a_worker(self):
        self.check_costs_one_worker(self.service(huge_bytes=HUGE_BYTES), HUGE)

    def check_costs_one_worker(self, service, uri):
        before = service.workers()
        self.check_failed(service.get(uri), 500, "Base.InternalError")
        for _ in range(4):
            self.check_good(service)
        self.check_one_replaced(service, before)

    def check_one_replaced(self, service, before):
        def replaced():
            now = service.workers()
            return len(now) == len(before) and set(now) - set(before)

        # The one that ends may be seen for a while after its request's answer.
        self.assertEqual(len(wait_until(replaced, "the new worker")), 1)

    def test_ended_worker_is_logged(self):
        service = self.service()
        [before, other] = service.workers()
        service.get(REAL)
        wait_until(lambda: f"worker {before} ended by signal {int(signal.SIGABRT)}" in service.log()
                   or f"worker {other} ended by signal {int(signal.SIGABRT)}" in service.log(), "the log line")

    def test_one_worker_survives_many_deaths(self):
        service = self.service("--workers", "1")
        for number in range(20):  # another target each time, or it would be refused without a worker
            self.check_failed(service.get(f"{REAL}?n={number}"), 500, "Base.InternalError")
            self.check_good(service)

    def test_requests_beside_deadly_ones_are_all_answered(self):
        service = self.service()
        deadly = [service.start_get(f"{uri}?n={number}") for number in range(4) for uri in DEADLY]
        good = [service.start_get(GOODS) for _ in range(40)]
        for pending in deadly:
            self.check_failed(pending.answer(), 500, "Base.InternalError")
        for pending in good:
            self.assertEqual(pending.answer().json()["Members@odata.count"], 2)

    def test_workers_killed_from_outside_are_replaced(self):
        service = self.service()
        for _ in range(3):
            workers = service.kill_workers()
            self.check_good(service)
            wait_until(lambda w=workers: len(set(service.workers()) - set(w)) == 2, "two new workers")

    def test_cache_that_goes_away_costs_waiting_only(self):
        service = self.service()
        moved = service.directory / "moved"
        service.cache_path.rename(moved)
        service.kill_workers()
        wait_until(lambda: service.log().count("a worker ended before it had a request") >= 3, "failed starts")
        pending = service.start_get(GOOD)
        started = service.log().count("Can't open database")
        moved.rename(service.cache_path)
        self.assertEqual(pending.answer().status, 200)
        self.check_good(service)
        # The pauses grow: in the second or so that this took, not hundreds of processes were made.
        self.assertLess(started, 30)

    # ---- Workers that do not come back

    def test_request_that_never_ends_is_ended_at_its_deadline(self):
        service = self.service("--request-timeout", "2")
        before = service.workers()
        stuck = service.start_get(STUCK)
        service.await_busy_worker()
        answered = 0
        while not stuck.is_done():
            self.check_good(service)
            answered += 1
        self.check_failed(stuck.answer(), 504, "Base.OperationTimeout")
        self.assertGreaterEqual(answered, 10)
        self.check_good(service)
        self.check_one_replaced(service, before)
        self.assertIn("passed the deadline of its request", service.log())

    def test_more_requests_that_never_end_than_workers(self):
        service = self.service("--request-timeout", "2")
        stuck = [service.start_get(STUCK) for _ in range(5)]
        statuses = [pending.answer().status for pending in stuck]
        self.assertGreaterEqual(statuses.count(504), 2)
        self.assertEqual(set(statuses) - {503, 504}, set())
        self.check_good(service)

    def test_worker_at_its_end_gets_no_further_request(self):
        service = self.service("--request-timeout", "2", "--workers", "1")
        for _ in range(2):
            stuck = service.start_get(STUCK)
            service.await_busy_worker()
            self.check_failed(stuck.answer(), 504, "Base.OperationTimeout")
            self.check_good(service)

    def test_stalled_worker_is_ended_at_the_deadline(self):
        service = self.service("--request-timeout", "2", "--workers", "1")
        [worker] = service.workers()
        os.kill(worker, signal.SIGSTOP)
        self.check_failed(service.get(GOOD), 504, "Base.OperationTimeout")
        self.check_good(service)
        self.assertEqual(state_of(worker), "")

    def test_request_that_waits_too_long_is_told_to_come_back(self):
        service = self.service("--request-timeout", "1")
        service.cache_path.rename(service.directory / "moved")
        service.kill_workers()
        answer = service.get(GOOD)
        self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
        self.assertEqual(answer.messages(), [("Base.ServiceTemporarilyUnavailable", ["5"])])
        # What needs no worker is answered all the same.
        self.assertEqual(service.get("/").status, 404)

    def test_full_queue_answers_at_once(self):
        surplus = 11
        service = self.service("--request-timeout", "20", "--workers", "1")
        with Wires(service.base, 1 + MAX_WAITING + surplus) as wires:
            wires.send(0, STUCK)
            service.await_busy_worker()
            for index in range(1, len(wires)):
                wires.send(index, GOOD)
            refused = wires.read_answers(surplus)
            for answer in refused:
                self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
                self.assertEqual(answer.messages(), [("Base.ServiceTemporarilyUnavailable", ["5"])])
            os.kill(service.workers()[0], signal.SIGKILL)
            answers = wires.read_answers(1 + MAX_WAITING)
            self.assertEqual(sorted(answer.status for answer in answers), [200] * MAX_WAITING + [500])

    # ---- Afterwards

    def test_descriptors_and_processes_are_back_afterwards(self):
        service = self.service("--request-timeout", "1")
        processes = (service.process.pid, service.spawner())

        def descriptors():
            return [len(os.listdir(f"/proc/{pid}/fd")) for pid in processes]

        # The spawner may still be at the last worker's: what leaks is more than that.
        before = descriptors()
        pending = [service.start_get(uri) for uri in [STUCK, *DEADLY, GOOD, GOODS, "/", REAL + "%"] * 3]
        for one in pending:
            one.answer()
        wait_until(lambda: all(now <= then for now, then in zip(descriptors(), before)),
                   f"descriptors as before: {before}")
        wait_until(lambda: len(service.workers()) == 2, "two workers")  # one that has ended may still be listed

    # ---- The spawner

    def test_service_without_its_spawner_ends(self):
        service = self.service()
        pids = service.pids()
        os.kill(service.spawner(), signal.SIGKILL)
        self.assertEqual(service.process.wait(timeout=10), 1)
        self.assertIn("cimgated: the spawner has ended", service.log())
        wait_until(lambda: all(state_of(pid) in ("", "Z") for pid in pids[1:]), "the end of all processes")


if __name__ == "__main__":
    unittest.main(verbosity=2)
