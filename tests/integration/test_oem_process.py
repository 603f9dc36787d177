#!/usr/bin/python3
"""The process that holds the endpoint may end, whoever does it: HTTP goes on, and the endpoint comes back."""

import contextlib
import os
import signal
import socket
import stat
import unittest

from cimgate_host import BASE, NO_DEADLINE, wait_until
from footprint import Footprint, is_sanitized
from oem_client import (BY_ID, ONE_OF_MORE, TEXT, OemService, OemTest, connect_raw, container_entry, embedded_data,
                        embedded_entry, request_text, shake_hands)
from program import state_of

GOOD = f"{BASE}/VexoGood/G.1"
GOOD_ANSWER = {"VexoGood": embedded_data("VexoGood", "G.1", A="fine")}

# Descriptors that a process of the service may have here: enough for HTTP and the workers.
DESCRIPTORS = 64
# Parts of a message that together need more memory than the process may have.
PARTS = 6_000_000
PARTS_AT_ONCE = 10_000


def sample():
    mapping = embedded_entry("VexoGood", "XCIM_Good", {"A": TEXT})
    # A link whose association table is missing: reading its rows never ends.
    mapping |= embedded_entry("VexoStuck", "XCIM_Good", {"A": TEXT}, Links={"VexoEnclosureCollection": {}})
    mapping |= container_entry("GoodOem", VexoGood=BY_ID)
    mapping |= container_entry("StuckOem", VexoStuck=BY_ID)
    return mapping, {"classes": {"XCIM_Good": (["InstanceID", "A"], [("G.1", "fine")])}}


class EndpointProcess(OemTest):
    def check_http(self, service):
        self.check_value(service, GOOD)

    def check_good(self, service):
        self.check_http(service)
        self.assertEqual(service.ask("GoodOem", "G.1"), GOOD_ANSWER)

    def test_killed_one_is_replaced_and_its_clients_are_answered(self):
        with OemService(*sample()) as service, service.dealer() as dealer:
            footprint = Footprint(service)
            for number in (signal.SIGKILL, signal.SIGABRT):
                with self.subTest(signal=number.name):
                    self.assertEqual(dealer.ask("GoodOem", "G.1"), GOOD_ANSWER)
                    process = service.endpoint_process()
                    os.kill(process, number)
                    self.check_http(service)
                    service.await_new_endpoint_process(process)
                    dealer.await_new_connection()
                    self.assertEqual(dealer.ask("GoodOem", "G.1"), GOOD_ANSWER)
                    self.assertEqual(stat.S_IMODE(service.socket_path.stat().st_mode), 0o660)
                    self.assertIn(f"message-queue endpoint {process} ended by signal {int(number)}", service.log())
            self.check_good(service)
            footprint.check_same_again()

    def test_one_that_is_killed_with_requests_on_their_way(self):
        with OemService(*sample(), options=NO_DEADLINE) as service, service.dealer() as dealer:
            dealer.send(1, "StuckOem", "G.1")
            [busy] = service.await_busy_workers()
            process = service.endpoint_process()
            os.kill(process, signal.SIGKILL)
            service.await_new_endpoint_process(process)
            dealer.await_new_connection()
            # The answer comes when nobody can be given it any more.
            os.kill(busy, signal.SIGKILL)
            wait_until(lambda: f"worker {busy} ended by signal" in service.log(), "the worker's end")
            dealer.send(2, "GoodOem", "G.1")
            self.assertEqual(dealer.receive(), (2, GOOD_ANSWER))
            self.check_good(service)

    def test_place_that_is_taken_meanwhile(self):
        with OemService(*sample()) as service:
            process = service.endpoint_process()
            service.socket_path.unlink()
            service.socket_path.write_bytes(b"precious")
            os.kill(process, signal.SIGKILL)
            refusal = f"cimgated: --oem-endpoint {service.endpoint}: there is something that is no socket"
            wait_until(lambda: service.log().count(refusal) >= 2, "new processes that cannot open the endpoint")
            self.check_http(service)
            self.assertEqual(service.socket_path.read_bytes(), b"precious")
            service.socket_path.unlink()
            wait_until(service.socket_path.exists, "the endpoint's socket")
            self.check_good(service)

    def test_one_that_is_stopped_for_a_while(self):
        with OemService(*sample()) as service, service.client() as client:
            process = service.endpoint_process()
            os.kill(process, signal.SIGSTOP)
            wait_until(lambda: state_of(process) == "T", "the stop")
            client.send(request_text("GoodOem", "G.1"))
            for _ in range(10):
                self.check_http(service)
            os.kill(process, signal.SIGCONT)
            self.assertEqual(client.receive_json(), GOOD_ANSWER)

    def test_service_whose_endpoint_process_is_stopped_can_be_ended(self):
        with OemService(*sample()) as service:
            os.kill(service.endpoint_process(), signal.SIGSTOP)
            self.check_http(service)
            service.stop()

    def test_it_does_not_listen_to_signals(self):
        with OemService(*sample()) as service:
            process = service.endpoint_process()
            for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGPIPE):
                os.kill(process, number)
                self.check_good(service)
            self.assertEqual(service.endpoint_process(), process)

    def test_it_is_limited(self):
        with OemService(*sample()) as service:
            process = service.endpoint_process()
            with open(f"/proc/{process}/limits", encoding="ascii") as file:
                limits = file.read()
            self.assertRegex(limits, r"Max core file size +0 +0 ")
            if not is_sanitized(process):
                self.assertRegex(limits, r"Max address space +268435456 +268435456 ")

    def test_more_connections_than_descriptors(self):
        with OemService(*sample(), limits=f"ulimit -n {DESCRIPTORS}") as service:
            self.check_good(service)
            process = service.endpoint_process()
            with contextlib.ExitStack() as open_connections:
                for _ in range(2 * DESCRIPTORS):
                    connection = open_connections.enter_context(socket.socket(socket.AF_UNIX))
                    connection.setblocking(False)
                    with contextlib.suppress(OSError):  # of those behind the one that was too much
                        connection.connect(str(service.socket_path))
                self.check_http(service)
                service.await_new_endpoint_process(process)
                self.check_good(service)
            self.check_good(service)

    def send_parts(self, service):
        """Sends the parts of one message until all are sent or the connection is lost."""
        chunk = (ONE_OF_MORE + b"\x01p") * PARTS_AT_ONCE
        with connect_raw(service) as raw, contextlib.suppress(ConnectionError):
            shake_hands(raw)
            for _ in range(PARTS // PARTS_AT_ONCE):
                raw.sendall(chunk)

    def test_message_that_does_not_end(self):
        with OemService(*sample()) as service:
            process = service.endpoint_process()
            self.send_parts(service)
            self.check_http(service)
            if not is_sanitized(service.process.pid):
                # There is no end but that of the memory.
                service.await_new_endpoint_process(process)
            self.check_good(service)


if __name__ == "__main__":
    unittest.main(verbosity=2)
