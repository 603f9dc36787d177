#!/usr/bin/python3
"""How the service starts, says that it cannot, and stops."""

import os
import signal
import socket
import tempfile
import unittest
from pathlib import Path

from cimgate_host import (BASE, REGISTRIES, Service, await_ends, children_of, collection_entry, connect_to,
                          member_entry, wait_until, without_stamps)
from own_address import own_address
from program import state_of

THING = f"{BASE}/VexoThing/T.1"
STUCK = f"{BASE}/VexoStuck/T.1"


def mapping(cached=True):
    text = {"cim_type": "string"}
    return (member_entry("VexoThing", "XCIM_Thing", {"A": text}, cached=cached) | collection_entry("VexoThing")
            | member_entry("VexoStuck", "XCIM_Thing", {"A": text}, cached=cached, Links={"VexoEnclosureCollection": {}})
            | member_entry("VexoService", "XCIM_Service", {"A": text}, key="", cached=cached))


def cache():
    return {"classes": {"XCIM_Thing": (["InstanceID", "A"], [("T.1", "a")])}}


def has_ipv6():
    try:
        with socket.socket(socket.AF_INET6) as probe:
            probe.bind(("::1", 0))
        return True
    except OSError:
        return False


def listens(service):
    try:
        connect_to(service.base).close()
    except (ConnectionRefusedError, ConnectionResetError):  # the latter where it stops at that moment
        return False
    return True


class CannotStart(unittest.TestCase):
    def check_fails(self, service, *hints):
        """It gives up with status 1, says why in one line, and says nothing on standard output."""
        status, out, log = service.fail()
        service.discard()
        self.assertEqual((status, out), (1, ""), log)
        [line] = [line for line in without_stamps(log) if line.startswith("cimgated: ")]
        for hint in hints:
            self.assertIn(hint, line)

    def test_missing_mapping_file(self):
        service = Service(None, cache())
        self.check_fails(service, f"cannot read the mapping file {service.mapping_path}: No such file or directory; ", "--rmf")

    def test_mapping_file_that_is_a_directory(self):
        service = Service(None, cache())
        service.mapping_path.mkdir()
        self.check_fails(service, f"cannot read the mapping file {service.mapping_path}: Is a directory; ", "--rmf")

    def test_mapping_file_that_is_empty(self):
        self.check_fails(Service("", cache()), "line 1, column 1: Syntax error: value, object or array expected; correct it")

    def test_mapping_file_that_is_no_json_object(self):
        for text in ("", "{", "nonsense", "[]", "5", "null", '{"a": }', "[" * 5000):
            with self.subTest(text=text[:10]):
                service = Service(text, cache())
                self.check_fails(service, "the mapping file", str(service.mapping_path), "not a JSON object", "--rmf")

    def test_cache_that_is_a_directory(self):
        service = Service(mapping())
        service.cache_path.mkdir()
        self.check_fails(service, "data cache", str(service.cache_path), "--cache")

    def test_missing_registries(self):
        with tempfile.TemporaryDirectory() as empty:
            self.check_fails(Service(mapping(), cache(), ["--registries", empty]), empty, "--registries")

    def test_port_in_use(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            address = f"127.0.0.1:{taken.getsockname()[1]}"
            service = Service(mapping(), cache(), listen=address)
            self.check_fails(service, f"cannot listen on http://{address}", "in use", "--listen")

    def test_nothing_is_left_of_it(self):
        service = Service(mapping())
        service.cache_path.mkdir()
        service.launch()
        pids = set()

        def has_ended():
            pids.update(children_of(service.process.pid))
            for pid in list(pids):
                pids.update(children_of(pid))
            return service.process.poll() is not None

        wait_until(has_ended, "the end")
        self.assertEqual([pid for pid in pids if state_of(pid)], [])
        service.discard()


class Starts(unittest.TestCase):
    def test_cache_is_not_needed_where_nothing_is_cached(self):
        with Service(mapping(cached=False)) as service:
            self.assertEqual(service.get(f"{BASE}/VexoService").json()["Id"], "VexoService")
            self.assertEqual(service.get(THING).status, 503)
            self.assertFalse(service.cache_path.exists())

    def test_empty_mapping(self):
        with Service({}) as service:
            self.assertEqual(service.get(THING).status, 404)

    def test_cache_that_is_empty_at_first(self):
        service = Service(mapping())
        service.cache_path.touch()
        with service:
            self.assertEqual((service.get(THING).status, service.get(THING).get("Retry-After")), (503, "5"))

    def test_cache_that_is_no_database(self):
        service = Service(mapping())
        service.cache_path.write_bytes(b"not a database" * 1000)
        with service:
            # As far as anyone can tell it is not ready yet.
            self.assertEqual((service.get(THING).status, service.get(THING).get("Retry-After")), (503, "5"))
            self.assertEqual(service.get(f"{BASE}/VexoService").status, 200)

    def test_number_of_workers(self):
        for options, count in [([], max(2, os.cpu_count())), (["--workers", "1"], 1), (["--workers", "5"], 5)]:
            with Service(mapping(), cache(), options) as service:
                self.assertEqual(len(service.workers()), count)
                self.assertEqual(service.get(THING).status, 200)

    def test_workers_are_limited(self):
        with Service(mapping(), cache()) as service:
            for pid in service.workers():
                limits = Path(f"/proc/{pid}/limits").read_text(encoding="ascii")
                self.assertRegex(limits, r"Max core file size +0 +0 ")
                if "asan" not in Path(f"/proc/{pid}/maps").read_text(encoding="ascii"):
                    self.assertRegex(limits, r"Max address space +268435456 +268435456 ")

    def test_ipv6(self):
        if not has_ipv6():
            self.skipTest("no IPv6 loopback on this machine")
        with Service(mapping(), cache(), listen="[::1]:0") as service:
            self.assertRegex(service.base, r"\Ahttp://\[::1\]:\d+\Z")
            self.assertEqual(service.get(THING).json()["A"], "a")

    def test_log_levels(self):
        for level, has_errors, has_steps, has_facts in [("0", False, False, False), ("1", True, False, False),
                                                        ("3", True, True, False), ("4", True, True, True)]:
            with Service(mapping(), cache(), ["--log-level", level]) as service:
                self.assertEqual(service.get(f"{BASE}/VexoThing/none").status, 404)
                log = service.log()
                self.assertEqual("SQL query on get instance returned 0 rows" in log, has_errors, level)
                self.assertEqual("] Entering" in log, has_steps, level)
                self.assertEqual(" entity Name VexoThing " in log, has_facts, level)


class Stops(unittest.TestCase):
    def test_signals_stop_it(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with Service(mapping(), cache()) as service:
                self.assertEqual(service.get(THING).status, 200)
                service.stop(number)

    def test_signal_to_the_whole_group_stops_it(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with Service(mapping(), cache()) as service:
                pids = service.pids()
                os.killpg(service.process.pid, number)
                service.await_end(pids)

    def test_idle_connections_do_not_hold_it_up(self):
        with Service(mapping(), cache()) as service:
            with connect_to(service.base) as idle:
                service.get(THING)
                service.stop()
                self.assertEqual(idle.recv(1), b"")

    def test_request_that_is_being_answered_is_still_answered(self):
        with Service(mapping(), cache(), ["--request-timeout", "2"]) as service:
            stuck = service.start_get(STUCK)
            service.await_busy_workers()
            service.stop()
            answer = stuck.answer()
            self.assertEqual((answer.status, answer.get("Connection")), (504, "close"))

    def test_second_signal_does_not_wait(self):
        with Service(mapping(), cache(), ["--request-timeout", "3600"]) as service:
            stuck = service.start_get(STUCK)
            service.await_busy_workers()
            pids = service.pids()
            service.process.send_signal(signal.SIGTERM)
            wait_until(lambda: not listens(service), "the end of listening")
            self.assertIsNone(service.process.poll())
            service.process.send_signal(signal.SIGINT)
            service.await_end(pids)
            with self.assertRaisesRegex(AssertionError, "Empty reply"):
                stuck.answer()

    def test_killed_front_leaves_no_process(self):
        service = Service(mapping(), cache()).start()
        self.addCleanup(service.discard)
        stuck = service.start_get(STUCK)
        service.await_busy_workers()
        pids = service.pids()
        service.kill()
        await_ends(pids)
        with self.assertRaises(AssertionError):
            stuck.answer()

    def test_port_is_free_again_at_once(self):
        with Service(mapping(), cache(), listen=f"{own_address()}:0") as first:
            address = first.base.removeprefix("http://")
            self.assertEqual(first.get(THING, "-H", "Connection: close").status, 200)
        with Service(mapping(), cache(), listen=address) as second:
            self.assertEqual(second.base, f"http://{address}")
            self.assertEqual(second.get(THING).status, 200)

    def test_registries_are_those_that_were_named(self):
        self.assertTrue(Path(REGISTRIES, "Base.1.18.json").is_file())
        with tempfile.TemporaryDirectory() as directory:
            for name in ("Base.1.18.json", "Vexo.1.0.json"):
                text = Path(REGISTRIES, name).read_text(encoding="utf-8")
                Path(directory, name).write_text(text.replace("No resource was found", "Nothing was seen"),
                                                 encoding="utf-8")
            with Service(mapping(), cache(), ["--registries", directory]) as service:
                body = service.get("/").json()
                self.assertIn("Nothing was seen for '/'.", body["error"]["@Message.ExtendedInfo"][0]["Message"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
