"""Starting, refusing to start, and stopping."""

import json
import os
import signal
import socket
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path

from cimgate_host import CIMGATED, REGISTRIES, Host, entry, ready, wait_until

ROOT = "/redfish/v1/Vexo/"
SERVICE = {"VexoService": {"@odata.id": ROOT + "VexoService", "mappings": {"XCIM_Service": {}}}}


def cached_mapping():
    return {"VexoThing": entry(ROOT + "VexoThing", "XCIM_T", {"InstanceID": {"cim_type": "string"}},
                               Links={"VexoEnclosureCollection": {}})}


def fill(connection):
    connection.execute("CREATE TABLE Tbl_XCIM_T (InstanceID TEXT)")
    connection.execute("INSERT INTO Tbl_XCIM_T VALUES ('1')")
    ready(connection, "XCIM_T")


class Refusals(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.path = Path(directory.name)
        self.mapping_file = self.path / "mapping.json"
        self.mapping_file.write_text(json.dumps(cached_mapping()), encoding="utf-8")

    def run_host(self, *arguments):
        return subprocess.run([CIMGATED, *map(str, arguments)], capture_output=True, text=True, timeout=60,
                              check=False)

    def check_refused(self, status, texts, *arguments):
        done = self.run_host(*arguments)
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertEqual(done.stdout, "")
        last = [line for line in done.stderr.splitlines() if line.startswith("cimgated: ")]
        self.assertEqual(len(last), 1, done.stderr)
        for text in texts:
            self.assertIn(text, last[0])

    def check_not_started(self, texts, *arguments):
        self.check_refused(1, texts, "--listen", "127.0.0.1:0", "--registries", REGISTRIES, *arguments)

    def test_help(self):
        done = self.run_host("--help")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for option in ("--listen", "--rmf", "--cache", "--registries", "--auth", "--workers", "--log-level",
                       "--request-timeout", "--help"):
            self.assertIn(option, done.stdout)

    def test_wrong_options(self):
        for arguments in (["--nope", "1"], ["--listen"], ["--listen", "127.0.0.1"], ["--listen", "127.0.0.1:70000"],
                          ["--listen", "localhost:1"], ["--listen", "0.0.0.0:8000"], ["--listen", "10.0.0.1:8000"],
                          ["--listen", "[::]:8000"], ["--auth", "file"], ["--workers", "x"],
                          ["--workers", "0"], ["--log-level", "5"], ["--request-timeout", "0"], ["argument"]):
            with self.subTest(arguments=arguments):
                self.check_refused(2, [arguments[0]], *arguments)

    def test_a_missing_mapping_file(self):
        self.check_not_started([str(self.path / "nope.json"), "--rmf"], "--rmf", self.path / "nope.json")

    def test_a_mapping_file_that_is_no_json_object(self):
        for text in ("{", "[]", "", "{\"a\": }", "[" * 5000):
            with self.subTest(text=text[:10]):
                self.mapping_file.write_text(text, encoding="utf-8")
                self.check_not_started([str(self.mapping_file), "--rmf"], "--rmf", self.mapping_file)

    def test_a_cache_that_is_needed_and_missing(self):
        cache = self.path / "nope.db"
        self.check_not_started([str(cache), "--cache"], "--rmf", self.mapping_file, "--cache", cache)
        self.assertFalse(cache.exists())

    def test_missing_registries(self):
        self.check_refused(1, [str(self.path), "--registries"], "--listen", "127.0.0.1:0", "--rmf",
                           self.mapping_file, "--registries", self.path)

    def test_a_port_in_use(self):
        self.mapping_file.write_text(json.dumps(SERVICE), encoding="utf-8")
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            address = f"127.0.0.1:{taken.getsockname()[1]}"
            self.check_refused(1, [address, "--listen"], "--listen", address, "--registries", REGISTRIES,
                               "--rmf", self.mapping_file)


class Life(unittest.TestCase):
    def test_a_mapping_without_cached_classes_needs_no_cache(self):
        host = Host(SERVICE)
        self.assertFalse(host.cache_file.exists())
        self.assertEqual(host.get(ROOT + "VexoService").status, 200)
        self.assertEqual(host.stop(), 0)

    def test_a_cache_that_is_no_database_costs_its_requests_only(self):
        host = Host({**SERVICE, **cached_mapping()}, fill)
        host.cache_file.write_bytes(b"not a database" * 1000)
        # Not ready, as far as anyone can tell.
        self.assertEqual(host.get(ROOT + "VexoThing/1").status, 503)
        self.assertEqual(host.get(ROOT + "VexoService").status, 200)
        self.assertEqual(host.stop(), 0)

    def test_log_levels(self):
        quiet = Host(SERVICE, options=["--log-level", "0"])
        quiet.get("/nope")
        self.assertEqual(quiet.log_text(), "")
        self.assertEqual(quiet.stop(), 0)
        verbose = Host(SERVICE, options=["--log-level", "4"])
        verbose.get("/nope")
        self.assertRegex(verbose.log_text(), r"\[UriResolution\.cpp\.\d+ ParseUri\] Parsing URI\(/nope\)  URICount\(1\)")
        self.assertEqual(verbose.stop(), 0)

    def test_signals_stop_it_with_all_its_processes(self):
        for signal_number in (signal.SIGTERM, signal.SIGINT):
            host = Host(SERVICE)
            processes = [host.process.pid, *host.children(), *host.workers()]
            self.assertGreaterEqual(len(processes), 4)
            self.assertEqual(host.stop(signal_number), 0)
            self.assertTrue(wait_until(lambda pids=processes: not any(os.path.exists(f"/proc/{pid}")
                                                                      for pid in pids)))

    def test_it_stops_while_a_request_is_stalled(self):
        host = Host(cached_mapping(), fill)  # the association table behind the link is missing
        stalled = threading.Thread(target=self.ignore_failure, args=(host, ROOT + "VexoThing/1"))
        stalled.start()
        self.assertTrue(wait_until(lambda: self.cpu_is_used(host)))
        self.assertEqual(host.stop(), 0)
        stalled.join()

    @staticmethod
    def ignore_failure(host, uri):
        try:
            host.get(uri)
        except (subprocess.CalledProcessError, OSError):
            pass

    @staticmethod
    def cpu_is_used(host):
        ticks = 0
        for pid in host.workers():
            fields = Path(f"/proc/{pid}/stat").read_text(encoding="latin-1").rpartition(")")[2].split()
            ticks = max(ticks, int(fields[11]) + int(fields[12]))
        return ticks > 30


if __name__ == "__main__":
    unittest.main(verbosity=2)
