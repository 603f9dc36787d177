#!/usr/bin/python3
"""The log: nothing waits for whoever reads standard error, whatever that is, and the service does without it."""

import contextlib
import fcntl
import os
import pty
import re
import signal
import socket
import subprocess
import unittest

from cimgate_host import (BASE, PATIENCE_S, STAMP, Service, children_of, collection_entry, connect_to, member_entry,
                          state_of, wait_until)
from own_address import own_address

GOOD = f"{BASE}/VexoGood/G.1"
GOODS = f"{BASE}/VexoGoodCollection"
# A value of another type than the mapping says: the worker ends.
REAL = f"{BASE}/VexoReal/X"
CAUSE = "Assertion 'status == SQLITE_OK' failed"

DROPPED = re.compile(rf"^{STAMP}0 2 vexodlog: (\d+) lines? (?:was|were) dropped: .*$", re.MULTILINE)
LINE = re.compile(rf"{STAMP}(?:\d+ \d .*|cimgated: .*)")
# Many lines for each request.
# Each request is a worker's, which logs a line of each kind.
ALL_LINES = ("--log-level", "4", "--kept-answers", "0")
PIPE_BYTES = 65536
LINES_OF_A_KIND = 30


def sample():
    text = {"cim_type": "string"}
    headers = {"allowed_operations": ["GET"], "Link_Header": "http://example.net/schemas/VexoGood.json"}
    mapping = (member_entry("VexoGood", "XCIM_Good", {"A": text}, **headers) | collection_entry("VexoGood", **headers))
    mapping |= member_entry("VexoReal", "XCIM_Real", {"A": text})
    columns = ["InstanceID", "A"]
    return mapping, {"classes": {"XCIM_Good": (columns, [("G.1", "fine")]), "XCIM_Real": (columns, [("X", 1.5)])}}


def sound_sample():
    """Without what is told at the start: a resource with a REAL cell."""
    mapping, cache = sample()
    del mapping["VexoReal"]
    return mapping, cache


class LoggingService(Service):
    """Its standard error is any descriptor; those that are named closed are."""

    def __init__(self, stderr, options=(), closed=(), listen="127.0.0.1:0"):
        super().__init__(*sample(), options, listen)
        self._stderr = stderr
        self._closed = closed

    def launch(self):
        def close_descriptors():
            for descriptor in self._closed:
                os.close(descriptor)

        # pylint: disable=consider-using-with,subprocess-popen-preexec-fn
        self.process = subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=self._stderr, text=True, start_new_session=True,
                                        env=dict(os.environ, TZ="UTC"), preexec_fn=close_descriptors)

    def log(self):
        return ""


class LogTest(unittest.TestCase):
    maxDiff = None

    def check_good(self, service):
        answer = service.get(GOOD)
        self.assertEqual((answer.status, answer.json()["A"]), (200, "fine"))

    def check_replaces_workers(self, service):
        before = service.workers()
        self.assertEqual(service.get(REAL).status, 500)
        wait_until(lambda: len(service.workers()) == len(before) and service.workers() != before, "the new worker")
        self.check_good(service)

    def check_serves_and_stops(self, service):
        self.check_good(service)
        self.check_replaces_workers(service)
        service.stop()


class Reader:
    """The end of a pipe, a socket or a terminal that a log is written to."""

    def __init__(self, test, descriptor, writer):
        self.descriptor = descriptor
        self._writer = writer
        os.set_blocking(descriptor, False)
        test.addCleanup(os.close, descriptor)

    def fill(self):
        """Leaves no room at all. The flags of the description that is inherited are as before."""
        flags = fcntl.fcntl(self._writer, fcntl.F_GETFL)
        os.set_blocking(self._writer, False)
        for text in (b"#" * 4095 + b"\n", b"\n"):
            with contextlib.suppress(BlockingIOError):
                while True:
                    os.write(self._writer, text)
        fcntl.fcntl(self._writer, fcntl.F_SETFL, flags)

    def text(self):
        """What is there now, without what fill() wrote."""
        pieces = []
        with contextlib.suppress(BlockingIOError, OSError):
            while piece := os.read(self.descriptor, PIPE_BYTES):
                pieces.append(piece)
        return re.sub(r"^#*\r?\n", "", b"".join(pieces).decode("utf-8"), flags=re.MULTILINE)


class StalledReader(LogTest):
    """Each kind of standard error that has a reader, and the reader does not read."""

    def ends(self, kind):
        if kind == "pipe":
            reader, writer = os.pipe()
        elif kind == "terminal":
            reader, writer = pty.openpty()
        else:
            ends = socket.socketpair(socket.AF_UNIX, socket.SOCK_STREAM)
            reader, writer = (one.detach() for one in ends)
        self.addCleanup(os.close, writer)
        return Reader(self, reader, writer), writer

    def started(self, kind, options=ALL_LINES):
        reader, writer = self.ends(kind)
        service = self.enterContext(LoggingService(writer, options))
        return reader, writer, service

    def test_requests_are_answered_workers_replaced_and_sigterm_obeyed(self):
        for kind in ("pipe", "terminal", "socket"):
            with self.subTest(stderr=kind):
                reader, _, service = self.started(kind)
                reader.fill()
                self.check_serves_and_stops(service)

    def test_it_starts(self):
        for kind in ("pipe", "terminal", "socket"):
            with self.subTest(stderr=kind):
                reader, writer = self.ends(kind)
                reader.fill()
                with LoggingService(writer, ALL_LINES) as service:
                    self.check_serves_and_stops(service)

    def test_it_can_give_up(self):
        reader, writer = self.ends("pipe")
        reader.fill()
        service = LoggingService(writer, ("--registries", "/nowhere"))
        self.addCleanup(service.discard)
        service.launch()
        self.assertEqual(service.process.wait(timeout=PATIENCE_S), 1)

    def test_lines_come_again_and_tell_how_many_were_lost(self):
        reader, _, service = self.started("pipe", ("--workers", "1", *ALL_LINES))
        self.check_good(service)
        self.assertNotRegex(reader.text(), DROPPED)
        self.check_good(service)
        lines_of_a_request = len(reader.text().splitlines())
        reader.fill()
        self.check_good(service)
        reader.text()
        self.check_good(service)
        text = reader.text()
        self.assertEqual([int(count) for count in DROPPED.findall(text)], [lines_of_a_request])
        self.assertEqual(len(text.splitlines()), lines_of_a_request + 1)
        self.check_good(service)
        self.assertNotRegex(reader.text(), DROPPED)

    def test_lines_of_all_processes_stay_whole(self):
        reader, _, service = self.started("pipe", ("--workers", "4", *ALL_LINES))
        for _ in range(5):
            # The reader does not keep up: some lines are lost.
            pending = [service.start_get(uri) for uri in (GOOD, GOODS) * 5]
            for one in pending:
                self.assertEqual(one.answer().status, 200)
            for line in reader.text().splitlines():
                self.assertRegex(line, rf"\A{LINE.pattern}\Z")
                self.assertLess(len(line), 400)

    def test_inherited_descriptor_stays_as_it_was(self):
        reader, writer, service = self.started("pipe")
        flags = fcntl.fcntl(writer, fcntl.F_GETFL)
        reader.fill()
        self.check_good(service)
        self.assertEqual(fcntl.fcntl(writer, fcntl.F_GETFL), flags)

    def test_why_a_worker_ends_is_said_where_there_is_a_reader_again(self):
        reader, _, service = self.started("pipe", ("--workers", "1"))
        reader.fill()
        self.assertEqual(service.get(REAL).status, 500)
        reader.text()
        self.check_good(service)
        self.assertEqual(service.get(REAL).status, 500)
        self.assertIn(CAUSE, wait_until(reader.text, "a line"))

    def test_reader_that_goes_away(self):
        reader, writer = os.pipe()
        with LoggingService(writer, ALL_LINES) as service:
            os.close(writer)
            os.close(reader)
            self.check_serves_and_stops(service)


class ClosedDescriptors(LogTest):
    def test_service_without_standard_descriptors(self):
        for closed in ((2,), (0,), (0, 2), (0, 1, 2)):
            with self.subTest(closed=closed), socket.socket() as probe:
                probe.bind((own_address(), 0))
                host, port = probe.getsockname()
                probe.close()
                service = LoggingService(subprocess.DEVNULL, ALL_LINES, closed, f"{host}:{port}")
                self.addCleanup(service.discard)
                service.launch()
                service.base = f"http://{host}:{port}"
                wait_until(lambda s=service: self.listens(s), "it listens")
                if 1 not in closed:
                    self.assertTrue(service.process.stdout.readline().startswith("cimgated: listening on "))
                self.check_descriptors(service.pids(), closed)
                self.check_serves_and_stops(service)

    def listens(self, service):
        self.assertIsNone(service.process.poll())
        with contextlib.suppress(ConnectionRefusedError):
            connect_to(service.base).close()
            return True
        return False

    def check_descriptors(self, pids, closed):
        for pid in pids:
            for descriptor in closed:
                self.assertEqual(os.readlink(f"/proc/{pid}/fd/{descriptor}"), "/dev/null")


class Journal(LogTest):
    """Standard error is what systemd gives a service: a socket whose numbers are in JOURNAL_STREAM."""

    def test_lines_have_severities_in_place_of_stamps(self):
        ends = socket.socketpair(socket.AF_UNIX, socket.SOCK_STREAM)
        reader, writer = (one.detach() for one in ends)
        self.addCleanup(os.close, writer)
        journal = Reader(self, reader, writer)
        about = os.fstat(writer)
        os.environ["JOURNAL_STREAM"] = f"{about.st_dev}:{about.st_ino}"
        self.addCleanup(os.environ.pop, "JOURNAL_STREAM")
        with LoggingService(writer, ALL_LINES) as service:
            self.check_replaces_workers(service)
        severities = set()
        for line in journal.text().splitlines():
            self.assertRegex(line, r"\A<[2-7]>(?:\d+ \d .*|cimgated: .*)\Z")
            severities.add(re.match(r"<(\d)>\d+ (\d) ", line).groups())
        self.assertEqual(severities, {("3", "2"), ("6", "4"), ("7", "5")})


    def test_cache_that_is_back_is_no_error(self):
        ends = socket.socketpair(socket.AF_UNIX, socket.SOCK_STREAM)
        reader, writer = (one.detach() for one in ends)
        self.addCleanup(os.close, writer)
        journal = Reader(self, reader, writer)
        about = os.fstat(writer)
        os.environ["JOURNAL_STREAM"] = f"{about.st_dev}:{about.st_ino}"
        self.addCleanup(os.environ.pop, "JOURNAL_STREAM")
        service = LoggingService(writer)
        kept = service.directory / "kept.db"
        service.cache_path.rename(kept)
        with service:
            self.assertEqual(service.get(GOOD).status, 503)
            kept.rename(service.cache_path)
            self.check_good(service)
        lines = [line for line in journal.text().splitlines() if "the data cache" in line and " GET " not in line]
        self.assertEqual([line[:3] for line in lines], ["<3>", "<6>"], lines)
        self.assertTrue(lines[0].startswith(f"<3>cimgated: the data cache {service.cache_path} is not there: "))
        self.assertEqual(lines[1], f"<6>cimgated: the data cache {service.cache_path} can be read again")


class Quiet(LogTest):
    """What is not written, or only once."""

    def test_good_requests_write_nothing(self):
        with Service(*sound_sample()) as service:
            for _ in range(100):
                self.check_good(service)
                self.assertEqual(service.get(GOODS).status, 200)
            self.assertEqual(service.log(), "")

    def test_mistakes_of_clients_are_not_logged_as_failures(self):
        with Service(*sound_sample()) as service:
            for target, status in ((f"{BASE}/VexoNone", 404), (f"{BASE}/VexoGood/none", 404), (f"{GOODS}?$top=x", 400),
                                   (f"{GOODS}?$levels=2", 501), ("/%zz", 400)):
                self.assertEqual(service.get(target).status, status, target)
            self.assertNotIn("cimgated: ", service.log())

    def test_expected_lines_are_there_for_who_asks(self):
        with Service(*sample(), ("--log-level", "2")) as service:
            self.check_good(service)
            self.assertIn("Resource not found in RMF", service.log())

    def test_line_that_comes_again_is_told_once_with_its_count(self):
        times = 30
        with Service(*sound_sample(), ("--workers", "1")) as service:
            for _ in range(times):
                self.assertEqual(service.get(f"{BASE}/VexoGood/none").status, 404)
            first = service.lines()
            self.assertEqual([line.partition("] ")[2] for line in first],
                             ["Rows returned is = 0 for get instance request",
                              "SQL query on get instance returned 0 rows"])
            service.stop()
            callers = [line[line.index("["):] for line in first]
            self.assertEqual(service.lines()[len(first):], [f"139 2 {one} ({times - 1} more times)" for one in callers])

    def test_verbose_log_counts_nothing(self):
        with Service(*sample(), ("--log-level", "2", "--workers", "1")) as service:
            for _ in range(3):
                self.assertEqual(service.get(f"{BASE}/VexoGood/none").status, 404)
            self.assertEqual(service.log().count("returned 0 rows"), 3)

    def test_nothing_is_written_at_level_0(self):
        with Service(*sample(), ("--log-level", "0")) as service:
            self.assertEqual(service.get(f"{BASE}/VexoGood/none").status, 404)
            self.check_replaces_workers(service)
            self.assertEqual(service.log(), "")


class Flood(LogTest):
    """Requests that fail in numbers, each with another URI, or with one that is asked for twice."""

    FLOOD = 3 * LINES_OF_A_KIND

    def flood(self, service, target, status):
        for number in range(self.FLOOD // 2):
            for _ in range(2):
                self.assertEqual(service.get(target.format(number)).status, status)

    def withheld(self, service, kind):
        """How many lines of a kind were not written, as is told once the service has stopped."""
        lines = [line for line in service.lines() if line.startswith(kind + " (")]
        self.assertEqual(len(lines), 1, service.log())
        return int(re.fullmatch(r" \((\d+) more like it\)", lines[0].removeprefix(kind))[1])

    def test_first_lines_of_a_cause_are_written_and_the_others_counted(self):
        mapping, cache = sound_sample()
        with Service(mapping, dict(cache, ready=[])) as service:
            self.flood(service, BASE + "/VexoGood/{}", 503)
            first = [line for line in service.lines() if ": GET " in line]
            self.assertEqual(first, [f"140 2 cimgated: GET {BASE}/VexoGood/{number}: 503: the class is not ready in the "
                                     "data cache (entry VexoGood, class XCIM_Good)" for number in range(LINES_OF_A_KIND)])
            # What fails by another cause, or for others, has lines of its own.
            self.assertEqual(service.head(GOOD).status, 503)
            service.stop()
            self.assertIn(f": HEAD {GOOD}: 503: ", service.log())
            # Each of those that were written came twice.
            self.assertEqual(self.withheld(service, "140 2 cimgated: GET ...: 503: the class is not ready in the data cache "
                                                    "..."), self.FLOOD - 2 * LINES_OF_A_KIND)
            self.assertEqual(len([line for line in service.lines() if line.endswith("(1 more time)")]), LINES_OF_A_KIND)

    def test_ends_of_workers_are_counted_too(self):
        with Service(*sample()) as service:
            for number in range(self.FLOOD):
                self.assertEqual(service.get(f"{REAL}?x={number}").status, 500)
            service.stop()
            caller = re.search(r"(\[RowToJson[.]cpp[.][0-9]+ cellToJson\] )" + re.escape(CAUSE), service.log())[1]
            kinds = {"140 2 cimgated: GET ...: 500: worker ...": ": 500: worker",
                     "140 2 cimgated: spawner ...: worker ... ended by signal 6": " ended by signal 6 at ",
                     f"139 2 {caller}...": "] " + CAUSE}
            for kind, text in kinds.items():
                lines = [line for line in service.lines() if text in line and not line.endswith(" more like it)")]
                self.assertEqual(len(lines), LINES_OF_A_KIND, kind)
                self.assertEqual(self.withheld(service, kind), self.FLOOD - LINES_OF_A_KIND)

    def test_verbose_log_withholds_nothing(self):
        mapping, cache = sound_sample()
        with Service(mapping, dict(cache, ready=[]), ("--log-level", "2")) as service:
            self.flood(service, BASE + "/VexoGood/{}", 503)
            service.stop()
            self.assertEqual(service.log().count(": 503: the class is not ready"), self.FLOOD)


class Failures(LogTest):
    """One line for each request that failed says which it was, why it did, and whom to blame."""

    def check_line(self, service, expected):
        """The front's one line that begins so."""
        lines = wait_until(lambda: [line for line in service.lines() if expected in line], expected)
        self.assertEqual(len(lines), 1, lines)
        return lines[0]

    def test_class_that_is_not_ready(self):
        mapping, cache = sample()
        with Service(mapping, dict(cache, ready=["XCIM_Real"])) as service:
            self.assertEqual(service.get(GOOD).status, 503)
            self.assertEqual(self.check_line(service, f": GET {GOOD}: "),
                             f"140 2 cimgated: GET {GOOD}: 503: the class is not ready in the data cache"
                             " (entry VexoGood, class XCIM_Good)")

    def test_table_that_is_missing(self):
        mapping, cache = sample()
        with Service(mapping, dict(cache, ready=["XCIM_Good", "XCIM_Gone"])) as service:
            pass
        mapping |= member_entry("VexoGone", "XCIM_Gone", {"A": {"cim_type": "string"}})
        with Service(mapping, dict(cache, ready=["XCIM_Good", "XCIM_Gone"])) as service:
            target = f"{BASE}/VexoGone/1"
            self.assertEqual(service.get(target).status // 100, 5)
            line = self.check_line(service, f": GET {target}: 5")
            self.assertIn("SQL", line)
            self.assertIn("(entry VexoGone, class XCIM_Gone)", line)

    def test_object_manager_that_is_away(self):
        mapping = member_entry("VexoLive", "XCIM_Live", {"A": {"cim_type": "string"}}, cached=False)
        with Service(mapping) as service:
            target = f"{BASE}/VexoLive/1?$select=A"
            self.assertEqual(service.get(target).status, 503)
            line = self.check_line(service, f": GET {target}: ")
            self.assertRegex(line, r": 503: the CIM object manager cannot be reached; .*rc\(.*"
                                   r"\(entry VexoLive, class XCIM_Live\)\Z")

    def test_end_of_a_worker_is_told_with_its_request_and_what_it_was_at(self):
        with Service(*sample(), ("--workers", "1")) as service:
            [worker] = service.workers()
            spawner = service.spawner()
            self.assertEqual(service.get(REAL).status, 500)
            self.assertEqual(self.check_line(service, f": GET {REAL}: "),
                             f"140 2 cimgated: GET {REAL}: 500: worker {worker} ended at it")
            line = self.check_line(service, " ended by signal ")
            self.assertEqual(line, f"140 2 cimgated: spawner {spawner}: worker {worker} ended by signal 6 at GET {REAL}"
                                   " (entry VexoReal, class XCIM_Real): Unrecognized data type for property A; "
                                   + CAUSE)

    def test_worker_that_is_killed_between_requests_has_none(self):
        with Service(*sample(), ("--workers", "1")) as service:
            self.check_good(service)
            [worker] = service.kill_workers()
            self.assertTrue(self.check_line(service, " ended by signal ").endswith(f"worker {worker} ended by signal 9"))


class Files(LogTest):
    def test_lines_of_one_file_stay_whole(self):
        with Service(*sample(), ALL_LINES) as service:
            self.check_replaces_workers(service)
            log = service.log()
            self.assertIn(CAUSE, log)
            for line in log.splitlines():
                self.assertRegex(line, rf"\A{LINE.pattern}\Z")


if __name__ == "__main__":
    unittest.main(verbosity=2)
