#!/usr/bin/python3
"""The access log: a line for each request, and nobody waits for it."""

import os
import re
import signal
import subprocess
import unittest

from cimgate_host import BASE, Service, ask, connect_to, member_entry, wait_until
from oem_client import BY_ID, OemService, container_entry, embedded_entry

GOOD = f"{BASE}/VexoGood/G.1"
LINE = re.compile(r'(\S+) - - \[(\d\d/[A-Z][a-z]{2}/\d{4}:\d\d:\d\d:\d\d \+0000)\] "(.*)" (\d{3}) (\d+) (\d+\.\d{6})')


def sample():
    mapping = member_entry("VexoGood", "XCIM_Good", {"A": {"cim_type": "string"}})
    return mapping, {"classes": {"XCIM_Good": (["InstanceID", "A"], [("G.1", "fine")])}}


class AccessLog(unittest.TestCase):
    def service(self, *options):
        service = Service(*sample(), options)
        self.path = service.directory / "access"
        if not options:
            service.command += ["--access-log", str(self.path)]
        return service

    def lines(self, count):
        """All lines, once there are so many: each request line, status and bytes."""
        text = wait_until(lambda: self.text() if self.text().count("\n") == count else None, f"{count} lines")
        found = [LINE.fullmatch(line) for line in text.splitlines()]
        self.assertNotIn(None, found, text)
        self.assertEqual({match[1] for match in found}, {"127.0.0.1"})
        return [(match[3], int(match[4]), int(match[5])) for match in found]

    def text(self):
        return self.path.read_text(encoding="ascii") if self.path.exists() else ""

    def test_each_request_has_a_line(self):
        with self.service() as service:
            body = len(service.get(GOOD).body)
            none = len(service.get(f"{BASE}/VexoGood/none?$select=A").body)
            service.head(GOOD)
            refused = len(service.post(GOOD, b"{", content_type="text/plain").body)
            self.assertEqual(self.lines(4), [(f"GET {GOOD} HTTP/1.1", 200, body),
                                             (f"GET {BASE}/VexoGood/none?$select=A HTTP/1.1", 404, none),
                                             (f"HEAD {GOOD} HTTP/1.1", 200, 0),
                                             (f"POST {GOOD} HTTP/1.1", 415, refused)])

    def test_what_could_not_be_read_has_one_too(self):
        with self.service() as service:
            with connect_to(service.base) as connection:
                connection.sendall(b"nonsense\r\n\r\n")
                while connection.recv(65536):
                    pass
            [(line, status, _)] = self.lines(1)
            self.assertEqual((line, status), ("-", 400))

    def test_what_a_client_sends_cannot_look_like_another_line(self):
        with self.service() as service:
            service.get('/a"b\\c')
            [(line, _, _)] = self.lines(1)
            self.assertEqual(line, "GET /a\\x22b\\x5cc HTTP/1.1")

    def test_long_uris_are_cut(self):
        with self.service() as service:
            service.get("/" + "x" * 8000)
            [(line, _, _)] = self.lines(1)
            self.assertEqual(line, f"GET /{'x' * 1023} HTTP/1.1")

    def test_each_request_of_the_message_queue_has_a_line(self):
        mapping = embedded_entry("VexoGood", "XCIM_Good", {"A": {"cim_type": "string"}})
        mapping |= container_entry("GoodOem", VexoGood=BY_ID)
        service = OemService(mapping, sample()[1])
        path = service.directory / "access"
        service.command += ["--access-log", str(path)]
        with service:
            asked = [("GoodOem", "G.1", "OEM GoodOem G.1", 200), ("NoneOem", "G.1", "OEM NoneOem G.1", 404),
                     ("GoodOem", "'", "-", 400)]
            for container, instance_id, *_ in asked:
                service.ask(container, instance_id)
            lines = wait_until(lambda: len(text := path.read_text(encoding="ascii").splitlines()) == 3 and text, "3 lines")
        found = [LINE.fullmatch(line) for line in lines]
        self.assertEqual([(match[1], match[3], int(match[4])) for match in found],
                         [("-", request, status) for _, _, request, status in asked])
        self.assertTrue(all(int(match[5]) > 10 and float(match[6]) > 0 for match in found))

    def test_file_that_is_renamed_is_made_anew(self):
        with self.service() as service:
            service.get(GOOD)
            self.lines(1)
            self.path.rename(service.directory / "old")
            wait_until(lambda: service.get(GOOD).status == 200 and self.path.exists(), "the new file")
            self.assertEqual(self.lines(1)[0][1], 200)
            self.assertEqual(self.path.stat().st_mode & 0o777, 0o640)

    def test_standard_output(self):
        with self.service("--access-log", "-") as service:
            self.assertEqual(service.get(GOOD).status, 200)
            self.assertRegex(service.process.stdout.readline(), LINE)

    def test_file_that_standard_error_goes_to_as_well(self):
        service = self.service("--access-log", "-")
        self.addCleanup(service.discard)
        with self.path.open("wb") as file:
            # pylint: disable-next=consider-using-with
            service.process = subprocess.Popen(service.command, stdin=subprocess.DEVNULL, stdout=file, stderr=file,
                                               start_new_session=True)
        self.addCleanup(self.end, service)
        listening = wait_until(lambda: re.search(r"\Acimgated: listening on (.*)\n", self.text()), "the service")
        for count in range(1, 4):
            self.assertEqual(ask(listening[1], GOOD).status, 200)
            wait_until(lambda count=count: self.text().count(f'"GET {GOOD} ') == count, "the line")
            os.kill(service.process.pid, signal.SIGUSR1)
            wait_until(lambda count=count: self.text().count("cimgated: counters: ") == count, "the counters")
        accesses = [line for line in self.text().splitlines()[1:] if not re.match(r"\d{4}-\d\d-\d\dT[\d:.]+Z \[", line)]
        self.assertEqual([bool(LINE.fullmatch(line)) for line in accesses], [True] * 3, self.text())

    @staticmethod
    def end(service):
        service.process.kill()
        service.process.wait()
        service.process = None

    def test_pipe_that_nobody_reads_stops_nothing(self):
        service = self.service()
        os.mkfifo(self.path)
        reader = os.open(self.path, os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, reader)
        with service:
            target = "/" + "x" * 1000
            for _ in range(80):
                self.assertEqual(ask(service.base, target).status, 404)
            lost = [line for line in service.lines() if "access log" in line]
            self.assertEqual(len(lost), 1, lost)
            self.assertIn("lines are lost", lost[0])
            self.assertTrue(os.read(reader, 1 << 20).startswith(b"127.0.0.1 - - ["))
            self.assertEqual(ask(service.base, GOOD).status, 200)
            wait_until(lambda: [line for line in service.lines() if "is written again" in line], "the second line")

    def test_file_that_cannot_be_opened_stops_the_start(self):
        service = Service(*sample(), ("--access-log", "/nowhere/access"))
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""))
        self.assertIn("cannot open the access log /nowhere/access: No such file or directory", log)
        service.discard()


if __name__ == "__main__":
    unittest.main(verbosity=2)
