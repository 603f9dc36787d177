#!/usr/bin/python3
"""A target that keeps ending workers is refused for a while, and one worker is kept from live reads."""

import unittest

from cimgate_host import BASE, NO_DEADLINE, Service, member_entry, wait_until
from containment_service import GOOD, REAL, STUCK, sample
from scripted_object_manager import ScriptedObjectManager, found

LIVE = f"{BASE}/VexoLive/L.1"

# Workers that end at one target in a row before it is refused, and for how long it is.
ENDS = 3
REFUSED_S = "60"


def sample_with_live():
    mapping, cache = sample()
    live = member_entry("VexoLive", "XCIM_Live", {"A": {"cim_type": "string"}})
    live["VexoLive"]["mappings"]["XCIM_Live"]["is_cached"] = False
    return mapping | live, cache


class Quarantine(unittest.TestCase):
    maxDiff = None

    def check_refused(self, answer):
        self.assertEqual((answer.status, answer.get("Retry-After")), (503, REFUSED_S))
        self.assertEqual(answer.messages(), [("Base.ServiceTemporarilyUnavailable", [REFUSED_S])])

    def test_target_that_ends_workers_is_refused_without_one(self):
        with Service(*sample()) as service:
            for _ in range(ENDS):
                self.assertEqual(service.get(REAL).status, 500)
            wait_until(lambda: service.log().count("ended by signal") == ENDS, "the workers' end")
            workers = service.workers()
            for _ in range(20):
                self.check_refused(service.get(REAL))
            self.assertLessEqual(set(workers), set(service.workers()))
            self.assertEqual(service.log().count(f"refuses {REAL} for {REFUSED_S} s"), 1)

    def test_other_targets_are_served(self):
        with Service(*sample()) as service:
            for _ in range(ENDS + 1):
                service.get(REAL)
            self.assertEqual(service.get(GOOD).status, 200)
            self.assertEqual(service.get(f"{REAL}?x=1").status, 500)

    def test_target_that_passes_the_deadline_again_and_again_is_refused(self):
        with Service(*sample(), options=("--request-timeout", "1")) as service:
            for _ in range(ENDS):
                self.assertEqual(service.get(STUCK).status, 504)
            self.check_refused(service.get(STUCK))


class KeptWorker(unittest.TestCase):
    def test_live_read_waits_while_a_cached_one_is_answered(self):
        with ScriptedObjectManager(None) as manager, Service(
                *sample_with_live(), options=(*NO_DEADLINE, "--workers", "2", "--cim", manager.url)) as service:
            slow = service.start_get(LIVE)
            manager.await_request()
            waiting = service.start_get(LIVE)
            for _ in range(20):
                self.assertEqual(service.get(GOOD).status, 200)
            self.assertFalse(waiting.is_done())
            self.assertEqual(len(manager.requests), 1)
            manager.release(found("XCIM_Live", A="a"))
            self.assertEqual([read.answer().json()["A"] for read in (slow, waiting)], ["a", "a"])


if __name__ == "__main__":
    unittest.main()
