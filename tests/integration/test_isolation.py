#!/usr/bin/python3
"""What ends a worker in the middle of its work, or the spawner, reaches its own request and no other."""

import os
import signal
import unittest

from cimgate_host import NO_DEADLINE, Pending, Service, await_ends, wait_until
from containment_service import GOOD, GOODS, REAL, STUCK, ContainmentTest, sample
from program import PATIENCE_S, state_of

REQUESTS = 200
ABORTS = 10


class Isolation(ContainmentTest):
    def test_worker_killed_in_the_middle_of_a_request_fails_that_request(self):
        with Service(*sample(), options=NO_DEADLINE) as service:
            for number in (signal.SIGKILL, signal.SIGABRT):
                with self.subTest(signal=number.name):
                    workers = service.workers()
                    stuck = service.start_get(STUCK)
                    [busy] = service.await_busy_workers()
                    self.check_good(service)
                    os.kill(busy, number)
                    self.check_failed(stuck.answer(), 500, ("Base.InternalError", []))
                    self.check_good(service)
                    now = wait_until(lambda w=workers, b=busy: len(set(service.workers()) - set(w)) == 1
                                     and b not in service.workers() and service.workers(), "the new worker")
                    self.assertEqual(len(now), len(workers))

    def test_requests_beside_endless_ones_are_answered_in_parallel(self):
        with Service(*sample(), options=(*NO_DEADLINE, "--workers", "3")) as service:
            stuck = [service.start_get(STUCK) for _ in range(2)]
            busy = service.await_busy_workers(2)
            good = [service.start_get(uri) for uri in [GOOD, GOODS] * 10]
            for pending in good:
                self.assertEqual(pending.answer().status, 200)
            self.assertEqual([pending.is_done() for pending in stuck], [False, False])
            for pid in busy:
                os.kill(pid, signal.SIGKILL)
            for pending in stuck:
                self.check_failed(pending.answer(), 500, ("Base.InternalError", []))

    def test_endless_requests_end_at_their_deadline_side_by_side(self):
        with Service(*sample(), options=("--request-timeout", "2", "--workers", "4")) as service:
            stuck = [service.start_get(STUCK) for _ in range(3)]
            for pending in stuck:
                self.check_failed(pending.answer(), 504, ("Base.OperationTimeout", []))
            self.check_good(service)

    def test_connection_outlives_the_request_that_ended_its_worker(self):
        with Service(*sample()) as service:
            urls = [service.base + uri for uri in (GOOD, REAL, GOOD, REAL, GOODS)]
            output = Pending(["-w", "\n=%{http_code} %{num_connects}\n", *urls]).output().decode()
            self.assertEqual([line for line in output.splitlines() if line.startswith("=")],
                             ["=200 1", "=500 0", "=200 0", "=500 0", "=200 0"])

    def test_head_of_a_deadly_request_has_no_body(self):
        with Service(*sample()) as service:
            get = service.get(REAL)
            head = service.head(REAL)
            self.assertEqual((get.status, head.status, head.body), (500, 500, b""))
            self.assertEqual(head.get("Content-Length"), get.get("Content-Length"))

    def test_front_keeps_no_descriptor_of_answered_requests(self):
        with Service(*sample()) as service:
            def descriptors():
                return len(os.listdir(f"/proc/{service.process.pid}/fd"))

            before = descriptors()
            workers = len(service.workers())
            for number in range(ABORTS):
                self.check_failed(service.get(f"{REAL}?n={number}"), 500, ("Base.InternalError", []))
                output = Pending([service.base + GOOD] * (REQUESTS // ABORTS)).output()
                self.assertEqual(output.count(b"HTTP/1.1 200 OK\r\n"), REQUESTS // ABORTS)
            wait_until(lambda: descriptors() == before, f"{before} descriptors")
            # The dead are waited for: none is left among the spawner's children.
            wait_until(lambda: [state_of(pid) in ("R", "S") for pid in service.workers()] == [True] * workers,
                       f"{workers} living workers")

    def test_request_of_a_service_whose_spawner_ends_gets_no_answer(self):
        with Service(*sample(), options=NO_DEADLINE) as service:
            stuck = service.start_get(STUCK)
            service.await_busy_workers()
            pids = service.pids()
            os.kill(service.spawner(), signal.SIGKILL)
            self.assertEqual(service.process.wait(timeout=PATIENCE_S), 1)
            with self.assertRaisesRegex(AssertionError, "curl ended with"):
                stuck.answer()
            await_ends(pids)


if __name__ == "__main__":
    unittest.main(verbosity=2)
