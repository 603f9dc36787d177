#!/usr/bin/python3
"""What goes wrong with the service's processes: it recovers by itself as soon as it can, or ends, and never hangs."""

import contextlib
import os
import resource
import signal
import unittest

from cimgate_host import Wires, await_ends, children_of, connect_to, wait_until
from footprint import Footprint
from program import PATIENCE_S
from recovery_service import THING, RecoveryTest


def processes(service):
    """The front and all its descendants, however far it has come."""
    spawners = children_of(service.process.pid)
    return [service.process.pid, *spawners, *(pid for spawner in spawners for pid in children_of(spawner))]


class Recovery(RecoveryTest):
    # ---- Processes

    def test_workers_killed_again_and_again_while_requests_come_in(self):
        with self.service() as service, Wires(service.base, 100) as wires:
            self.check_good(service)
            footprint = Footprint(service)
            for index in range(len(wires)):
                # Each is a target of its own: none is refused for the workers' ends.
                wires.send(index, f"{THING}?n={index}")
                if index % 10 == 9:
                    for pid in service.workers():
                        with contextlib.suppress(ProcessLookupError):
                            os.kill(pid, signal.SIGKILL)
            statuses = [answer.status for answer in wires.read_answers(len(wires))]
            # 503 where no worker gets ready in time.
            self.assertEqual(set(statuses) - {200, 500, 503}, set())
            self.assertIn(200, statuses)
            for _ in range(10):
                self.check_good(service)
            wires.__exit__()
            footprint.check_same_again()

    def test_front_without_descriptors_takes_clients_and_workers_again_later(self):
        with self.service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            before = service.workers()
            used = len(os.listdir(f"/proc/{service.process.pid}/fd"))
            # A sanitizer needs descriptors itself where it meets a type for the first time: let it have met them all.
            with contextlib.ExitStack() as idle:
                for _ in range(20):
                    idle.enter_context(connect_to(service.base))
            self.check_good(service)
            footprint.check_same_again()
            _, most = resource.prlimit(service.process.pid, resource.RLIMIT_NOFILE)
            resource.prlimit(service.process.pid, resource.RLIMIT_NOFILE, (used, most))
            with contextlib.ExitStack() as idle:
                for _ in range(20):
                    idle.enter_context(connect_to(service.base))
                service.kill_workers()
            resource.prlimit(service.process.pid, resource.RLIMIT_NOFILE, (most, most))
            self.check_good(service)
            wait_until(lambda: len(set(service.workers()) - set(before)) == len(before), "the new workers")
            footprint.check_same_again()

    def test_only_the_front_listens_to_signals(self):
        with self.service() as service:
            pids = service.pids()
            for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGPIPE):
                for pid in pids[1:]:
                    os.kill(pid, number)
                for _ in range(4):
                    self.check_good(service)
                self.assertEqual(service.pids(), pids)

    # ---- Ends

    def test_start_that_hangs_can_be_ended(self):
        signals = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)
        starts = [(number, self.start_that_hangs()) for number in signals]
        pids = [wait_until(lambda s=service: len(processes(s)) >= 2 and processes(s), "its processes")
                for _, service in starts]
        for number, service in starts:
            service.process.send_signal(number)
        for (number, service), own in zip(starts, pids):
            with self.subTest(signal=number.name):
                service.process.wait(timeout=PATIENCE_S)
                await_ends(own)

    def start_that_hangs(self):
        """A service that has been started, with a pipe for its mapping file."""
        service = self.service()
        service.mapping_path.unlink()
        os.mkfifo(service.mapping_path)
        service.launch()
        return service

    def test_service_that_waits_for_its_cache_can_be_ended(self):
        with self.service() as service:
            service.cache_path.unlink()
            service.kill_workers()
            wait_until(lambda: f"the data cache {service.cache_path} is not there" in service.log(), "a failed look")
            pids = processes(service)
            service.process.send_signal(signal.SIGTERM)
            service.await_end(pids)

    def test_service_whose_spawner_is_stopped_can_be_ended(self):
        service = self.service().start()
        pids = service.pids()
        os.kill(service.spawner(), signal.SIGSTOP)
        try:
            self.check_good(service)
            service.process.send_signal(signal.SIGTERM)
            service.process.wait(timeout=PATIENCE_S)
            await_ends(pids)
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.kill(pids[1], signal.SIGKILL)


if __name__ == "__main__":
    unittest.main(verbosity=2)
