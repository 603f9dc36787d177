#!/usr/bin/python3
"""Live reads of an object manager that is away, stalls, breaks off, talks nonsense or refuses."""

import os
import unittest

from cimgate_host import BASE, Service, collection_entry, member_entry
from scripted_object_manager import ScriptedObjectManager, cim_error, found, http, response

THING = f"{BASE}/VexoLive/L.1"
THINGS = f"{BASE}/VexoLiveCollection"
CACHED = f"{BASE}/VexoCached/C.1"

GOOD = found("XCIM_Live", InstanceID="L.1", A="a")
INTERNAL = [("Vexo.SYS446", []), ("Base.InternalError", [])]


def sample():
    live = member_entry("VexoLive", "XCIM_Live", {"InstanceID": {"cim_type": "string"}, "A": {"cim_type": "string"}},
                        cached=False)
    cached = member_entry("VexoCached", "XCIM_Cached", {"A": {"cim_type": "string"}})
    return (live | collection_entry("VexoLive") | cached,
            {"classes": {"XCIM_Cached": (["InstanceID", "A"], [("C.1", "c")])}})


def descriptor_count(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


def service_at(url, *options):
    return Service(*sample(), options=("--cim", url, *options))


class Answers(unittest.TestCase):
    maxDiff = None

    def check(self, answer, status, messages):
        with ScriptedObjectManager(answer) as manager, service_at(manager.url) as service:
            got = service.get(THING)
            self.assertEqual((got.status, got.messages()), (status, messages))
            manager.answer = GOOD
            self.assertEqual(service.get(THING).json()["A"], "a")
            self.assertEqual(service.get(CACHED).json()["A"], "c")

    def test_instance_that_the_object_manager_does_not_know(self):
        self.check(cim_error(6, "no such thing"), 404, [("Vexo.SYS419", ["L.1"])])

    def test_class_or_namespace_that_it_does_not_know(self):
        for code in (3, 4, 5):
            self.check(cim_error(code), 404, [("Vexo.SYS403", ["VexoLive"]),
                                              ("Base.ResourceMissingAtURI", ["VexoLive"])])

    def test_access_denied(self):
        self.check(cim_error(2), 403, [("Vexo.KTX0506", []), ("Base.InsufficientPrivilege", [])])

    def test_failure(self):
        self.check(cim_error(1, "it is broken"), 500, INTERNAL)

    def test_status_without_a_translation_costs_a_worker(self):
        for code in (7, 13, 28, 200):
            self.check(cim_error(code), 500, [("Base.InternalError", [])])

    def test_text_that_is_not_xml(self):
        self.check(http("so what"), 500, INTERNAL)

    def test_xml_that_is_not_cim(self):
        self.check(http("<html><body>Hello</body></html>", content_type="application/xml"), 500, INTERNAL)

    def test_xml_that_breaks_off(self):
        self.check(http(GOOD.split(b"\r\n\r\n", 1)[1].decode()[:-40]), 500, INTERNAL)

    def test_answer_of_another_content_type(self):
        self.check(http(response("GetInstance", "<IRETURNVALUE/>"), content_type="text/html"), 500, INTERNAL)

    def test_answer_without_an_instance(self):
        self.check(http(response("GetInstance", "<IRETURNVALUE/>")), 500, INTERNAL)

    def test_http_errors(self):
        self.check(http("", status="500 Oops"), 500, INTERNAL)
        self.check(http("", status="400 Bad Request", headers="CIMError: request-not-valid\r\n"), 500, INTERNAL)

    def test_no_http_at_all(self):
        with ScriptedObjectManager(b"220 mail.example ESMTP\r\n", close=True) as manager, \
                service_at(manager.url) as service:
            got = service.get(THING)
            self.assertEqual((got.status, got.messages()), (500, INTERNAL))


class Connections(unittest.TestCase):
    def test_object_manager_that_is_away_and_comes_back(self):
        with ScriptedObjectManager(GOOD) as away:
            pass
        with service_at(away.url, "--workers", "2") as service:
            for path in (THING, THINGS):
                got = service.get(path)
                self.assertEqual((got.status, got.get("Retry-After")), (503, "5"))
                self.assertEqual(got.messages(), [("Base.ServiceTemporarilyUnavailable", ["5"])])
            self.assertEqual(service.get(CACHED).status, 200)
            workers = service.workers()
            with ScriptedObjectManager(GOOD, port=away.port):
                for _ in range(10):
                    self.assertEqual(service.get(THING).json()["A"], "a")
            self.assertEqual(service.get(THING).status, 503)
            self.assertEqual(service.workers(), workers)

    def test_connection_is_kept_and_one_that_was_closed_is_replaced(self):
        with ScriptedObjectManager(GOOD) as manager, service_at(manager.url, "--workers", "1") as service:
            for _ in range(5):
                self.assertEqual(service.get(THING).status, 200)
            opened = manager.connection_count()
            self.assertLessEqual(opened, 2)  # one to see whether it is there, one for requests
            manager.close_connections()
            for _ in range(5):
                self.assertEqual(service.get(THING).status, 200)
            self.assertGreater(manager.connection_count(), opened)

    def test_answer_that_breaks_off_with_its_connection(self):
        for cut in (20, 120, len(GOOD) - 10):
            with ScriptedObjectManager(GOOD[:cut], close=True) as manager, service_at(manager.url) as service:
                self.assertEqual(service.get(THING).status, 500)
                manager.answer = GOOD
                self.assertEqual(service.get(THING).json()["A"], "a")

    def test_object_manager_that_never_answers_costs_the_request_its_deadline(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url, "--request-timeout", "1") as service:
            got = service.get(THING)
            self.assertEqual((got.status, got.messages()), (504, [("Base.OperationTimeout", [])]))
            manager.answer = GOOD
            self.assertEqual(service.get(THING).json()["A"], "a")

    def test_cached_reads_go_on_while_the_object_manager_stalls(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url, "--workers", "2") as service:
            stalled = service.start_get(THING)
            manager.await_request()
            for _ in range(50):
                self.assertEqual(service.get(CACHED).status, 200)
            self.assertFalse(stalled.is_done())
            manager.release(GOOD)
            self.assertEqual(stalled.answer().json()["A"], "a")

    def test_no_descriptor_is_lost(self):
        with ScriptedObjectManager(GOOD[:-10], close=True) as manager, \
                service_at(manager.url, "--workers", "1") as service:
            self.assertEqual(service.get(THING).status, 500)
            [worker] = service.workers()
            before = descriptor_count(worker)
            for _ in range(30):
                self.assertEqual(service.get(THING).status, 500)
            self.assertEqual(service.workers(), [worker])
            self.assertLessEqual(descriptor_count(worker), before + 1)


if __name__ == "__main__":
    unittest.main()
