#!/usr/bin/python3
"""A request that ends its worker costs nobody else anything."""

import os
import signal
import unittest

from cimgate_host import await_ends, wait_until
from containment_service import DEADLY, GOOD, GOODS, HUGE, REAL, ContainmentTest
from program import PATIENCE_S

# More than a worker can hold several times over, as it must to answer.
HUGE_BYTES = 64 * 1024 * 1024


class Containment(ContainmentTest):
    def test_request_that_ends_its_worker_is_an_internal_error(self):
        service = self.service()
        for uri, reason in DEADLY.items():
            with self.subTest(uri=uri):
                said = service.log().count("] " + reason)
                self.check_costs_one_worker(service, uri)
                self.assertEqual(service.log().count("] " + reason), said + 1)

    def test_answer_that_does_not_fit_into_a_worker(self):
        self.check_costs_one_worker(self.service(huge_bytes=HUGE_BYTES), HUGE)

    def check_costs_one_worker(self, service, uri):
        before = service.workers()
        self.check_failed(service.get(uri), 500, ("Base.InternalError", []))
        for _ in range(4):
            self.check_good(service)
        self.check_one_replaced(service, before)

    def test_ended_worker_is_logged(self):
        service = self.service()
        [before, other] = service.workers()
        service.get(REAL)
        wait_until(lambda: f"worker {before} ended by signal {int(signal.SIGABRT)}" in service.log()
                   or f"worker {other} ended by signal {int(signal.SIGABRT)}" in service.log(), "the log line")

    def test_one_worker_survives_many_deaths(self):
        service = self.service("--workers", "1")
        for number in range(20):  # another target each time, or it would be refused without a worker
            self.check_failed(service.get(f"{REAL}?n={number}"), 500, ("Base.InternalError", []))
            self.check_good(service)

    def test_requests_beside_deadly_ones_are_all_answered(self):
        service = self.service()
        deadly = [service.start_get(f"{uri}?n={number}") for number in range(4) for uri in DEADLY]
        good = [service.start_get(GOODS) for _ in range(40)]
        for pending in deadly:
            self.check_failed(pending.answer(), 500, ("Base.InternalError", []))
        for pending in good:
            self.assertEqual(pending.answer().json()["Members@odata.count"], 2)

    def test_workers_killed_from_outside_are_replaced(self):
        service = self.service()
        for _ in range(3):
            workers = service.kill_workers()
            self.check_good(service)
            wait_until(lambda w=workers: len(set(service.workers()) - set(w)) == 2, "two new workers")

    def test_service_without_its_spawner_ends(self):
        service = self.service()
        pids = service.pids()
        os.kill(service.spawner(), signal.SIGKILL)
        self.assertEqual(service.process.wait(timeout=PATIENCE_S), 1)
        self.assertIn("cimgated: the spawner has ended", service.log())
        await_ends(pids[1:])


if __name__ == "__main__":
    unittest.main(verbosity=2)
