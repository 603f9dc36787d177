#!/usr/bin/python3
"""A service with an endpoint stops as one without: what is being answered is answered, and nothing is left."""

import os
import signal
import unittest

from cimgate_host import NO_DEADLINE, await_ends
from oem_client import OemService, OemTest, request_text
from test_oem_isolation import GOOD_ANSWER, sample


class Stop(OemTest):
    def test_request_that_is_being_answered_is_still_answered(self):
        with OemService(*sample(), options=("--request-timeout", "2")) as service, service.client() as client:
            client.send(request_text("StuckOem", "G.1"))
            service.await_busy_workers()
            service.stop()
            self.check_error(client.receive_json(), "TooLate")
            self.assertFalse(service.socket_path.exists())

    def test_nothing_is_left(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with OemService(*sample()) as service, service.client() as client:
                self.assertEqual(client.ask("GoodOem", "G.1"), GOOD_ANSWER)
                service.stop(number)
                self.assertFalse(service.socket_path.exists())

    def test_signal_to_the_whole_group_stops_it(self):
        with OemService(*sample()) as service, service.client() as client:
            self.assertEqual(client.ask("GoodOem", "G.1"), GOOD_ANSWER)
            pids = service.pids()
            os.killpg(service.process.pid, signal.SIGTERM)
            service.await_end(pids)
            self.assertFalse(service.socket_path.exists())

    def test_requests_that_go_on_coming_do_not_hold_it_up(self):
        with OemService(*sample()) as service, service.dealer() as dealer:
            for number in range(1000):
                dealer.send(number, "GoodOem", "G.1")
            dealer.receive()
            service.stop()
            self.assertFalse(service.socket_path.exists())

    def test_killed_front_leaves_no_process(self):
        service = OemService(*sample(), options=NO_DEADLINE).start()
        self.addCleanup(service.discard)
        with service.client() as client:
            client.send(request_text("StuckOem", "G.1"))
            service.await_busy_workers()
            pids = service.pids()
            service.kill()
            await_ends(pids)


if __name__ == "__main__":
    unittest.main(verbosity=2)
