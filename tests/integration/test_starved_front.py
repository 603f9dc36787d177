#!/usr/bin/python3
"""A front whose allocations fail, all of them or one now and then, while everything happens to it: once there is memory
again, all of it works as before.

Environment: as in cimgate_host.py; STARVED_SERVICE, a cimgated whose front can be starved.
"""

import contextlib
import itertools
import os
import signal
import unittest
import unittest.mock

from action_service import DONE
from cimgate_host import BASE, ServiceTest, children_of, connect_to, member_entry, name_of, wait_until
from footprint import is_sanitized
from oem_client import BY_ID, Client, OemService, container_entry, embedded_data, embedded_entry, request_text
from scripted_object_manager import ScriptedObjectManager, found
from things import request

TEXT = {"cim_type": "string"}
THING, LIVE, NONE = (f"{BASE}/{name}" for name in ("VexoThing/T.1", "VexoLive/L.1", "VexoThing/none"))
SCHEMA = "/redfish/v1/JsonSchemas/VexoThing.v1_0_0.json"
WORKERS = 2
# Which allocations fail: all of them, each second one and so on.
STARVATIONS = (1, 2, 3, 4, 7, 17, 31)
# How long a client waits for an answer that may not come.
SHORT_S = 0.05


def object_manager():
    return ScriptedObjectManager(
        lambda request: DONE if "<METHODCALL" in request else found("XCIM_Live", InstanceID="L.1", A="live"))


class StarvedService(OemService):
    def __init__(self, url, more=None, options=()):
        mapping = (embedded_entry("VexoThing", "XCIM_Thing", {"A": TEXT})
                   | member_entry("VexoLive", "XCIM_Live", {"InstanceID": TEXT, "A": TEXT}, cached=False)
                   | container_entry("ThingOem", VexoThing=BY_ID) | (more or {}))
        super().__init__(mapping, {"classes": {"XCIM_Thing": (["InstanceID", "A"], [("T.1", "fine")])}},
                         ("--workers", str(WORKERS), "--cim", url, *options))
        self.command[0] = os.environ["STARVED_SERVICE"]
        self.file = self.directory / "starved"
        self.starve(0)

    def launch(self):
        with unittest.mock.patch.dict(os.environ, STARVED_FILE=str(self.file)):
            super().launch()

    def starve(self, each):
        """Each so manyth allocation of the front fails from now on; 0: none."""
        with self.file.open("r+b" if self.file.exists() else "wb") as file:
            file.write(each.to_bytes(4, "little"))


class StarvedFront(ServiceTest):
    def setUp(self):
        self.service = self.enterContext(StarvedService(self.enterContext(object_manager()).url))
        if is_sanitized(self.service.process.pid):
            self.skipTest("the address sanitizer has an operator new of its own")
        self.check_all()

    def check_all(self):
        """Everything works, as soon as workers and the queue's process that have ended are replaced."""
        for uri in (THING, LIVE):
            wait_until(lambda uri=uri: self.service.get(uri).status == 200, uri)
        self.check_value(self.service, THING)
        self.check_value(self.service, LIVE, "live")
        wait_until(lambda: len(self.service.workers()) == WORKERS, "the workers")
        with Client(self.service.endpoint) as client:
            self.assertEqual(client.ask("ThingOem", "T.1"), {"VexoThing": embedded_data("VexoThing", "T.1", A="fine")})
        told = self.service.log().count("counters:")
        os.kill(self.service.process.pid, signal.SIGUSR1)
        wait_until(lambda: self.service.log().count("counters:") > told, "the counters")

    def ask_in_vain(self):
        """Requests of every kind, of whose answers there may be none."""
        for uri in (THING, LIVE, NONE, "/redfish/v1/", SCHEMA):
            with contextlib.suppress(OSError), connect_to(self.service.base, timeout=SHORT_S) as connection:
                connection.sendall(request(uri, "Connection: close"))
                while connection.recv(65536):
                    pass
        os.kill(self.service.process.pid, signal.SIGUSR1)

    def end_processes(self):
        """A worker and the queue's process, which are to be replaced, unless the front has just ended them for want of memory."""
        for pid in self.service.workers()[:1] + self.service.endpoint_processes():
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)

    def test_all_works_again_once_there_is_memory(self):
        pid = self.service.process.pid
        for each in STARVATIONS:
            with self.subTest(each=each):
                with Client(self.service.endpoint) as client:
                    self.service.starve(each)
                    client.send(request_text("ThingOem", "T.1"))
                    self.ask_in_vain()
                    self.end_processes()
                    self.ask_in_vain()
                    self.service.starve(0)
                self.check_all()
        self.assertIn("was out of memory: what needed it has been given up", self.service.log())
        self.assertEqual((self.service.process.pid, self.service.process.poll()), (pid, None))


class AwaitedSchemas(ServiceTest):
    """Of clients that wait for schemas, one for which memory is short loses its connection, and no other does."""

    def setUp(self):
        # Their schemas take some tenths of a second.
        more = {}
        for number in range(150):
            more |= member_entry(f"VexoOther{number}", f"XCIM_Other{number}", {"A": TEXT}, cached=False)
        service = StarvedService(self.enterContext(object_manager()).url, more, ("--request-timeout", "1"))
        self.addCleanup(service.discard)
        service.launch()
        os.kill(wait_until(lambda: self.maker_of_schemas(service), "their maker"), signal.SIGSTOP)
        self.service = service.await_listening()

    @staticmethod
    def maker_of_schemas(service):
        return next((pid for spawner in children_of(service.process.pid) for pid in children_of(spawner)
                     if name_of(pid) == "cimgated-schema"), None)

    def answered(self, each, count=10):
        """Of each client, in the order in which they came, whether it gets an answer while allocations fail."""
        with contextlib.ExitStack() as stack:
            clients = [stack.enter_context(connect_to(self.service.base)) for _ in range(count)]
            for client in clients:
                client.sendall(request(SCHEMA, "Connection: close"))
            self.check_value(self.service, THING)
            self.service.starve(each)
            answered = [stack.enter_context(client.makefile("rb")).readline() != b"" for client in clients]
            self.service.starve(0)
        return answered

    def test_that_do_not_come(self):
        if is_sanitized(self.service.process.pid):
            self.skipTest("the address sanitizer has an operator new of its own")
        # More than an answer takes, so that one that goes without is between others.
        rounds = [self.answered(each) for each in (40, 42, 50, 54)]
        self.assertTrue(any(False in answered for answered in rounds), rounds)
        for answered in rounds:
            self.assertFalse(any(not one and not next_one for one, next_one in itertools.pairwise(answered)), rounds)


if __name__ == "__main__":
    unittest.main(verbosity=2)
