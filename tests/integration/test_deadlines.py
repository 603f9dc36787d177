#!/usr/bin/python3
"""A request that occupies its worker, or waits for one in vain, ends at its deadline and costs nobody else anything."""

import os
import signal
import unittest

from cimgate_host import Wires, wait_until
from containment_service import DEADLY, GOOD, GOODS, REAL, STUCK, ContainmentTest
from program import state_of

MAX_WAITING = 128


class Deadlines(ContainmentTest):
    def test_request_that_never_ends_is_ended_at_its_deadline(self):
        service = self.service("--request-timeout", "2")
        before = service.workers()
        stuck = service.start_get(STUCK)
        service.await_busy_workers()
        for _ in range(10):
            self.check_good(service)
        self.assertFalse(stuck.is_done())
        self.check_failed(stuck.answer(), 504, ("Base.OperationTimeout", []))
        self.check_good(service)
        self.check_one_replaced(service, before)
        self.assertIn("passed the deadline of its request", service.log())

    def test_more_requests_that_never_end_than_workers(self):
        service = self.service("--request-timeout", "1")
        stuck = [service.start_get(STUCK) for _ in range(5)]
        statuses = [pending.answer().status for pending in stuck]
        self.assertGreaterEqual(statuses.count(504), 2)
        self.assertEqual(set(statuses) - {503, 504}, set())
        self.check_good(service)

    def test_worker_at_its_end_gets_no_further_request(self):
        service = self.service("--request-timeout", "1", "--workers", "1")
        for _ in range(2):
            self.check_failed(service.get(STUCK), 504, ("Base.OperationTimeout", []))
            self.check_good(service)

    def test_stalled_worker_is_ended_at_the_deadline(self):
        service = self.service("--request-timeout", "1", "--workers", "1")
        [worker] = service.workers()
        os.kill(worker, signal.SIGSTOP)
        self.check_failed(service.get(GOOD), 504, ("Base.OperationTimeout", []))
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
            service.await_busy_workers()
            for index in range(1, len(wires)):
                wires.send(index, GOOD)
            refused = wires.read_answers(surplus)
            for answer in refused:
                self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
                self.assertEqual(answer.messages(), [("Base.ServiceTemporarilyUnavailable", ["5"])])
            os.kill(service.workers()[0], signal.SIGKILL)
            answers = wires.read_answers(1 + MAX_WAITING)
            self.assertEqual(sorted(answer.status for answer in answers), [200] * MAX_WAITING + [500])

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


if __name__ == "__main__":
    unittest.main(verbosity=2)
