#!/usr/bin/python3
"""Actions whose object manager is away, stalls, breaks off or refuses: no method is called twice, none is said to be
done that was not, and other requests are served."""

import os
import signal
import threading
import unittest

from action_service import DONE, RUN, ActionService, MethodCall, action_mapping, declared
from cimgate_host import BASE, NO_DEADLINE, member_entry, wait_until, write_cache
from program import PATIENCE_S
from scripted_object_manager import ScriptedObjectManager, cim_error, found, http, method_error, method_response

LIVE = f"{BASE}/VexoLive/L.1"
CACHED = f"{BASE}/VexoCached/C.1"

INTERNAL = [("Vexo.SYS446", []), ("Base.InternalError", [])]
WORKER_ENDED = [("Base.InternalError", [])]
MISSING = [("Vexo.SYS403", ["VexoService"]), ("Base.ResourceMissingAtURI", ["VexoService"])]

# CIM status -> status, messages and "Allow" of the answer.
CIM_ERRORS = {1: (500, INTERNAL, None), 2: (403, [("Vexo.KTX0506", []), ("Base.InsufficientPrivilege", [])], None),
              3: (404, MISSING, None), 4: (404, MISSING, None), 5: (404, MISSING, None),
              16: (405, [("Vexo.SYS402", [])], ""), 17: (405, [("Vexo.SYS402", [])], "")}

# Requests that are answered while a method goes on.
OTHERS = 50


def mapping():
    text = {"cim_type": "string"}
    return (action_mapping({"Text": declared()}) | member_entry("VexoLive", "XCIM_Live", {"A": text}, cached=False)
            | member_entry("VexoCached", "XCIM_Cached", {"A": text}))


def cache(value="c"):
    return {"classes": {"XCIM_Cached": (["InstanceID", "A"], [("C.1", value)])}}


def service_at(url, *options):
    return ActionService(url, mapping(), *options, cache=cache())


def is_call(request):
    return "<METHODCALL" in request


class Failures(unittest.TestCase):
    maxDiff = None

    def check(self, answer, status, messages, allow=None):
        self.assertEqual((answer.status, answer.messages(), answer.get("Allow")), (status, messages, allow))

    def check_unavailable(self, answer, seconds="5"):
        self.check(answer, 503, [("Base.ServiceTemporarilyUnavailable", [seconds])])
        self.assertEqual(answer.get("Retry-After"), seconds)


class Refusals(Failures):
    def test_cim_errors(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url) as service:
            workers = service.workers()
            for number, (code, expected) in enumerate(CIM_ERRORS.items()):
                with self.subTest(code=code):
                    manager.release(method_error("Run", code, "because"))
                    self.check(service.run(), *expected)
                    calls = [request for request in manager.requests if "CIMMethod: GetClass\r\n" not in request]
                    self.assertEqual(len(calls), number + 1)
            self.assertEqual(service.workers(), workers)

    def test_cim_error_without_a_translation_costs_a_worker(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url) as service:
            for code in (6, 7, 13, 28, 200):
                with self.subTest(code=code):
                    before = len(manager.requests)
                    manager.release(method_error("Run", code))
                    self.check(service.run(), 500, WORKER_ENDED)
                    manager.release(DONE)
                    self.assertEqual(service.run().status, 200)
                    self.assertEqual(len(manager.requests), before + 2)

    def test_answers_that_are_none(self):
        broken = http(method_response("Run", "")[:-40])
        with ScriptedObjectManager(None) as manager, service_at(manager.url) as service:
            for number, answer in enumerate((http("so what"), http("<html/>"), http("", status="500 Oops"), broken,
                                             http(method_response("Run", ""), content_type="text/html"))):
                with self.subTest(answer=answer):
                    manager.release(answer)
                    self.check(service.run(), 500, INTERNAL)
                    self.assertEqual(len(manager.requests), number + 1)

    def test_action_that_keeps_ending_workers_is_refused_and_reads_are_not(self):
        with ScriptedObjectManager(method_error("Run", 7)) as manager, service_at(manager.url) as service:
            for _ in range(3):
                self.check(service.run(), 500, WORKER_ENDED)
            self.check_unavailable(service.run(), "60")
            self.assertEqual(len(manager.requests), 3)
            self.assertEqual(service.log().count(f"refuses POST {RUN} for 60 s"), 1)
            self.assertEqual(service.get(RUN).status, 405)
            self.assertEqual(service.get(CACHED).status, 200)


class Absence(Failures):
    def test_object_manager_that_is_away_and_comes_back(self):
        with ScriptedObjectManager(DONE) as away:
            pass
        with service_at(away.url) as service:
            workers = service.workers()
            for _ in range(5):
                self.check_unavailable(service.run())
            self.assertEqual(service.run("{").status, 400)
            with ScriptedObjectManager(DONE, port=away.port) as manager:
                for _ in range(5):
                    self.assertEqual(service.run().status, 200)
                self.assertEqual(len(manager.requests), 5)
            self.check_unavailable(service.run())
            self.assertEqual(service.workers(), workers)

    def test_object_manager_that_ends_during_a_call(self):
        with ScriptedObjectManager(None) as manager:
            service = self.enterContext(service_at(manager.url))
            workers = service.workers()
            pending = service.start_post(RUN)
            manager.await_request()
        self.check(pending.answer(), 500, INTERNAL)  # whether or not the method has done its work
        self.assertEqual(len(manager.requests), 1)
        self.assertEqual((service.get(CACHED).status, service.workers()), (200, workers))
        with ScriptedObjectManager(DONE, port=manager.port):
            self.assertEqual(service.run().status, 200)

    def test_connection_that_breaks_during_a_call(self):
        for answer in (b"", DONE[:20], DONE[:-10]):
            with ScriptedObjectManager(answer, close=True) as manager, service_at(manager.url) as service:
                self.check(service.run(), 500, INTERNAL)
                self.assertEqual(len(manager.requests), 1)
                manager.answer = DONE
                self.assertEqual(service.run().status, 200)

    def test_connection_that_was_kept_and_closed_since(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url, "--workers", "1") as service:
            for _ in range(3):
                manager.release(found("XCIM_Live", InstanceID="L.1", A="a"))
                self.assertEqual(service.get(LIVE).status, 200)
                manager.close_connections()
                manager.release(DONE)
                self.assertEqual(service.run().status, 200)
                manager.close_connections()
            self.assertEqual(sum(is_call(request) for request in manager.requests), 3)

    def test_posting_to_an_instance(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url) as service:
            manager.release(found("XCIM_Live", InstanceID="L.1", A="a"))
            self.check(service.post(LIVE), 405, [("Vexo.SYS402", [])], "GET, HEAD, OPTIONS")
            manager.release(cim_error(6))
            self.check(service.post(LIVE), 404,
                       [("Vexo.SYS403", ["VexoLive"]), ("Base.ResourceMissingAtURI", ["VexoLive"])])
            self.assertFalse(any(is_call(request) for request in manager.requests))


class Time(Failures):
    def test_method_that_never_answers_costs_the_request_its_deadline(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url, "--request-timeout", "2") as service:
            self.check(service.run(), 504, [("Base.OperationTimeout", [])])
            self.assertEqual(len(manager.requests), 1)
            manager.release(DONE)
            self.assertEqual(service.run().status, 200)

    def test_worker_that_ends_during_a_call(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url, *NO_DEADLINE, "--workers", "1") as service:
            pending = service.start_post(RUN)
            manager.await_request()
            [worker] = service.workers()
            os.kill(worker, signal.SIGKILL)
            self.check(pending.answer(), 500, WORKER_ENDED)
            self.assertEqual(len(manager.requests), 1)
            manager.release(DONE)
            self.assertEqual(service.run().status, 200)

    def test_one_worker_is_kept_from_actions(self):
        with ScriptedObjectManager(None) as manager, service_at(manager.url, *NO_DEADLINE, "--workers", "2") as service:
            pending = [service.start_post(RUN, {"Text": "first"})]
            manager.await_request()
            pending.append(service.start_post(RUN, {"Text": "second"}))
            for _ in range(30):
                self.assertEqual(service.get(CACHED).json()["A"], "c")
            self.assertEqual((len(manager.requests), pending[1].is_done()), (1, False))
            manager.release(DONE)
            self.assertEqual([one.answer().status for one in pending], [200, 200])
            self.assertEqual([MethodCall(request).arguments[0][2] for request in manager.requests], ["first", "second"])

    def test_long_bodies_that_wait_are_bounded(self):
        body = {"Text": "x" * (1024 * 1024 - len('{"Text": ""}'))}
        with ScriptedObjectManager(None) as manager, service_at(manager.url, *NO_DEADLINE, "--workers", "2") as service:
            calls = [service.start_post(RUN)]
            manager.await_request()
            calls += [service.start_post(RUN, body) for _ in range(9)]
            refused = wait_until(lambda: [one for one in calls if one.is_done()], "a refused call")
            self.check_unavailable(refused[0].answer())
            manager.release(DONE)
            self.assertEqual(sorted(one.answer().status for one in calls if one not in refused), [200] * 9)

    def test_call_is_sent_once_when_the_cache_is_replaced(self):
        with ScriptedObjectManager(DONE) as manager, service_at(manager.url, "--workers", "1") as service:
            self.assertEqual(service.run().status, 200)
            self.assertEqual(service.get(CACHED).json()["A"], "c")  # opens the cache
            workers = service.workers()
            write_cache(service.directory / "new.db", **cache("new"))
            os.replace(service.directory / "new.db", service.cache_path)
            self.assertEqual(service.run().status, 200)
            self.assertEqual(len(manager.requests), 2)
            self.assertNotEqual(service.workers(), workers)
            self.assertEqual(service.get(CACHED).json()["A"], "new")

    def test_method_that_takes_long_while_others_are_served(self):
        is_over = threading.Event()

        def answer(request):
            if not is_call(request):
                return found("XCIM_Live", InstanceID="L.1", A="a")
            is_over.wait(PATIENCE_S)
            return DONE

        with ScriptedObjectManager(answer) as manager, \
                service_at(manager.url, *NO_DEADLINE, "--workers", "3") as service:
            pending = service.start_post(RUN)
            manager.await_request()
            for _ in range(OTHERS):
                self.assertEqual((service.get(LIVE).json()["A"], service.get(CACHED).json()["A"]), ("a", "c"))
            self.assertFalse(pending.is_done())
            is_over.set()
            self.assertEqual(pending.answer().status, 200)
            self.assertEqual(sum(is_call(request) for request in manager.requests), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
