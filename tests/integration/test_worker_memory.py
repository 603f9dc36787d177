#!/usr/bin/python3
"""Workers that come near the limit of their memory, as with a CIM client that loses some at each read."""

import resource
import unittest

from cimgate_host import ServiceTest
from test_little_memory import address_space
from things import A, thing_service

MAKES_WAY = "makes way for another one: it has come near the limit of its memory\n"


class WorkerMemory(ServiceTest):
    def test_worker_near_its_limit_is_replaced_between_two_requests(self):
        with thing_service("--workers", "1", "--kept-answers", "0") as service:
            self.check_value(service, A, "first", "Value")
            [worker] = service.workers()
            used = address_space(worker)
            _, most = resource.prlimit(worker, resource.RLIMIT_AS)
            resource.prlimit(worker, resource.RLIMIT_AS, (used * 3 // 2, most))
            self.check_value(service, A, "first", "Value")
            self.assertEqual(service.workers(), [worker])
            resource.prlimit(worker, resource.RLIMIT_AS, (used * 5 // 4, most))
            for _ in range(2):
                self.check_value(service, A, "first", "Value")
            self.assertNotEqual(service.workers(), [worker])
            self.assertEqual(service.log().count(MAKES_WAY), 1)
            self.assertIn(f"worker {worker} {MAKES_WAY}", service.log())


if __name__ == "__main__":
    unittest.main(verbosity=2)
