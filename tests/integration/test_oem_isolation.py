#!/usr/bin/python3
"""What a request to the endpoint does to its worker reaches that request and no other, over HTTP neither."""

import os
import signal
import unittest

from cimgate_host import BASE, NO_DEADLINE, Wires, wait_until
from oem_client import BY_ID, TEXT, OemService, OemTest, container_entry, embedded_data, embedded_entry, request_text

GOOD = f"{BASE}/VexoGood/G.1"
STUCK = f"{BASE}/VexoStuck/G.1"
GOOD_ANSWER = {"VexoGood": embedded_data("VexoGood", "G.1", A="fine")}

# Workers that end at one container and id in a row before it is refused.
ENDS = 3
# Requests that may wait for a worker.
WAITING = 128


def sample():
    mapping = embedded_entry("VexoGood", "XCIM_Good", {"A": TEXT})
    mapping |= embedded_entry("VexoTwoKeys", "XCIM_Good", {"A": TEXT}, key_properties=["InstanceID", "A"])
    mapping |= embedded_entry("VexoReal", "XCIM_Real", {"A": TEXT})
    # A link whose association table is missing: reading its rows never ends.
    mapping |= embedded_entry("VexoStuck", "XCIM_Good", {"A": TEXT}, Links={"VexoEnclosureCollection": {}})
    mapping |= container_entry("GoodOem", VexoGood=BY_ID)
    mapping |= container_entry("DeadlyOem", VexoGood=BY_ID, VexoTwoKeys=BY_ID)
    mapping |= container_entry("RealOem", VexoGood=BY_ID, VexoReal=("", "A > 0 and InstanceID <> '#p1'"))
    mapping |= container_entry("StuckOem", VexoStuck=BY_ID)
    # The expression leaves nothing of some ids.
    mapping |= container_entry("EmptyKeyOem", VexoGood=("^x*([0-9.G]*)", ""))
    columns = ["InstanceID", "A"]
    return mapping, {"classes": {"XCIM_Good": (columns, [("G.1", "fine")]), "XCIM_Real": (columns, [("X", 1.5)])}}


class Isolation(OemTest):
    def check_good(self, service):
        self.assertEqual(service.ask("GoodOem", "G.1"), GOOD_ANSWER)
        self.check_value(service, GOOD)

    def test_request_that_ends_its_worker_fails_alone(self):
        with OemService(*sample()) as service, service.client() as client:
            for container, instance_id in (("DeadlyOem", "G.1"), ("RealOem", "G.1"), ("EmptyKeyOem", "xx")):
                with self.subTest(container=container):
                    self.check_error(client.ask(container, instance_id), "WorkerEnded", "log")
                    self.check_good(service)
            self.assertEqual(client.ask("EmptyKeyOem", "xxG.1"), GOOD_ANSWER)
            log = service.log()
            self.assertIn("[mCimClass][KEYPROPERTIES_KEY].size() == 1' failed", log)
            self.assertIn(f"ended by signal {int(signal.SIGABRT)}", log)

    def test_container_and_id_that_end_workers_again_and_again_are_refused_without_one(self):
        with OemService(*sample()) as service, service.client() as client:
            for _ in range(ENDS):
                self.check_error(client.ask("DeadlyOem", "G.1"), "WorkerEnded")
            wait_until(lambda: service.log().count("ended by signal") == ENDS, "the workers' end")
            wait_until(lambda: len(service.workers()) == max(2, os.cpu_count()), "the new workers")
            workers = service.workers()
            for _ in range(20):
                self.check_error(client.ask("DeadlyOem", "G.1"), "Busy", "minute")
            self.check_good(service)
            self.assertEqual(service.workers(), workers)
            refusals = [line for line in service.log().splitlines() if " refuses " in line]
            self.assertEqual(len(refusals), 1, refusals)
            self.assertRegex(refusals[0], r"DeadlyOem.*G\.1.* for 60 s: workers end at it")
            # Another id of that container is another target.
            self.check_error(client.ask("DeadlyOem", "G.2"), "WorkerEnded")
            self.check_good(service)

    def test_request_that_never_ends_is_too_late(self):
        with OemService(*sample(), options=("--request-timeout", "1")) as service, service.client() as client:
            for _ in range(ENDS):
                self.check_error(client.ask("StuckOem", "G.1"), "TooLate", "deadline")
                self.check_good(service)
            self.check_error(client.ask("StuckOem", "G.1"), "Busy", "minute")
            self.check_good(service)

    def test_worker_killed_in_the_middle_of_a_request_fails_that_request(self):
        with OemService(*sample(), options=NO_DEADLINE) as service, service.client() as client:
            for number in (signal.SIGKILL, signal.SIGABRT):
                with self.subTest(signal=number.name):
                    client.send(request_text("StuckOem", "G.1"))
                    [busy] = service.await_busy_workers()
                    self.check_good(service)
                    os.kill(busy, number)
                    self.check_error(client.receive_json(), "WorkerEnded", "log")
                    self.check_good(service)

    def test_requests_that_wait_for_a_worker_in_vain_are_told_so(self):
        with OemService(*sample(), options=("--workers", "1", "--request-timeout", "2")) as service:
            with service.client() as stuck, service.client() as waiting:
                stuck.send(request_text("StuckOem", "G.1"))
                service.await_busy_workers()
                waiting.send(request_text("GoodOem", "G.1"))
                self.check_error(stuck.receive_json(), "TooLate")
                # Whether the next worker is there before its own deadline is a matter of time.
                answer = waiting.receive_json()
                if answer != GOOD_ANSWER:
                    self.check_error(answer, "Busy", "5 seconds")
                self.check_good(service)

    def test_http_client_that_fills_the_queue_gives_way_to_the_message_queue(self):
        options = (*NO_DEADLINE, "--workers", "1")
        with OemService(*sample(), options=options) as service, Wires(service.base, 1 + WAITING + 2) as wires:
            for index in range(len(wires)):
                wires.send(index, f"{STUCK}?n={index}")
            self.assertEqual([answer.status for answer in wires.read_answers(2)], [503, 503])
            with service.client() as client:
                client.send(request_text("GoodOem", "G.1"))
                self.assertEqual([answer.status for answer in wires.read_answers(1)], [503])
            pids = service.pids()
            for number in (signal.SIGTERM, signal.SIGINT):  # the second one does not wait for them
                service.process.send_signal(number)
            service.await_end(pids)

    def test_client_that_leaves_before_its_answer(self):
        with OemService(*sample(), options=NO_DEADLINE) as service:
            with service.client() as leaving:
                leaving.send(request_text("StuckOem", "G.1"))
                [busy] = service.await_busy_workers()
            self.check_good(service)
            endpoint = service.endpoint_process()
            os.kill(busy, signal.SIGKILL)
            wait_until(lambda: f"worker {busy} ended by signal" in service.log(), "the worker's end")
            self.check_good(service)
            self.assertEqual(service.endpoint_process(), endpoint)

    def test_stuck_requests_leave_the_others_the_workers_that_are_free(self):
        with OemService(*sample(), options=(*NO_DEADLINE, "--workers", "3")) as service, service.dealer() as dealer:
            for number in range(2):
                dealer.send(number, "StuckOem", "G.1")
            busy = service.await_busy_workers(2)
            for _ in range(10):
                self.check_good(service)
            for pid in busy:
                os.kill(pid, signal.SIGKILL)
            for _ in busy:
                self.check_error(dealer.receive()[1], "WorkerEnded")


if __name__ == "__main__":
    unittest.main(verbosity=2)
