#!/usr/bin/python3
"""Answers that are given again without a worker while the data cache is unchanged, and never after a commit that was
there before the request."""

import contextlib
import os
import re
import signal
import sqlite3
import unittest
import unittest.mock

from cimgate_host import BASE, NO_OBJECT_MANAGER, Service, ask, wait_until
from footprint import is_sanitized
from kept_answers_run import MAPPING, Run, fill, thing

CHECKS = 5000
CHECKS_WITH_DEATHS = 2000
DEATHS = 6
JOURNALS = ("wal", "delete")
# What no two answers have alike.
VOLATILE = ("date",)
# What answers may take in the test of a flood, and what else its memory may grow by meanwhile.
KEPT_BYTES = 256 * 1024
FLOOD_BYTES = 1024 * 1024


class KeptAnswers(unittest.TestCase):
    def service(self, *options):
        service = Service(MAPPING, options=("--cim", NO_OBJECT_MANAGER, *options))
        fill(service.cache_path)
        return service

    def figures(self, service):
        """Answers that are kept, requests that were given one, those that were not, and what was dropped."""
        kept = r"kept answers (\d+) of \d+ bytes, given (\d+), not there (\d+), dropped (\d+)"
        return tuple(int(figure) for figure in re.search(kept, self.counters(service)).groups())

    def busy(self, service):
        return int(re.search(r", busy (\d+)", self.counters(service)).group(1))

    def counters(self, service):
        """The line of the log, as it is now."""
        before = service.log().count("counters:")
        os.kill(service.process.pid, signal.SIGUSR1)
        wait_until(lambda: service.log().count("counters:") > before, "the counters")
        return [line for line in service.lines() if "counters:" in line][-1]

    def test_third_request_needs_no_worker_until_the_cache_changes(self):
        with self.service() as service, sqlite3.connect(service.cache_path, isolation_level=None) as writer:
            for target in (thing(1), f"{BASE}/VexoThingCollection?$skip=50", f"{BASE}/VexoThingCollection?$top=3&x=1"):
                first = service.get(target)
                self.assertEqual(first.status, 200)
                for _ in range(3):
                    self.assertEqual(service.get(target).body, first.body)
            self.assertEqual(self.figures(service), (3, 6, 6, 0))
            writer.execute("update Tbl_XCIM_Thing set N = 7")
            self.assertEqual(service.get(thing(1)).json()["N"], 7)
            self.assertEqual(self.figures(service)[1:], (6, 7, 3))
        writer.close()

    def test_answers_are_the_same_with_and_without_keeping(self):
        answers, options_of = [], {"GET": (), "HEAD": ("--head",)}
        for options in ((), ("--kept-answers", "0")):
            with self.service(*options) as service:
                for method in options_of:
                    for target in (thing(2), f"{BASE}/VexoThingCollection", thing(2) + "?$select=N"):
                        for _ in range(3):
                            answer = service.get(target, *options_of[method])
                            headers = [pair for pair in answer.headers if pair[0] not in VOLATILE]
                            answers.append((method, target, answer.status, headers, answer.body))
        half = len(answers) // 2
        self.assertEqual(answers[:half], answers[half:])

    def test_only_what_came_from_the_cache_is_kept(self):
        with self.service() as service:
            for target, status in ((thing("none"), 404), (thing(1) + "?$filter=a", 501), (f"{BASE}/VexoLive/1", 503)):
                for _ in range(4):
                    self.assertEqual(service.get(target).status, status)
            self.assertEqual(self.figures(service)[:2], (0, 0))

    def test_only_what_a_worker_was_asked_for_counts_as_not_there(self):
        with self.service() as service:
            for target, status in (("/redfish/v1/", 200), (thing(1) + "?$unknown=1", 501), (thing(1), 200)):
                for _ in range(2):
                    self.assertEqual(service.get(target).status, status)
            self.assertEqual(self.figures(service), (1, 0, 2, 0))

    def test_options_are_told_apart(self):
        with self.service() as service:
            for _ in range(3):
                for count in (1, 2, 3):
                    answer = service.get(f"{BASE}/VexoThingCollection?$top={count}")
                    self.assertEqual(len(answer.json()["Members"]), count)
                    self.assertEqual(len(service.get(f"{BASE}/VexoThingCollection?%24top={count}").json()["Members"]),
                                     len(service.get(f"{BASE}/VexoThingCollection?%24top={count}&y").json()["Members"]))

    def test_what_changes_no_answer_is_refused_all_the_same(self):
        with self.service() as service:
            for _ in range(3):
                self.assertEqual(service.get(thing(1) + "?x=1").status, 200)
            for query, status in (("x=%2", 400), ("x=" + "1" * 8190, 414)):
                self.assertEqual(service.get(f"{thing(1)}?{query}").status, status, query[:9])
            self.assertEqual(self.figures(service), (1, 1, 2, 0))

    def test_file_that_takes_the_place_is_read(self):
        with self.service() as service:
            for value in range(1, 6):
                for _ in range(3):
                    self.assertEqual(service.get(thing(1)).json()["N"], value - 1)
                fill(service.cache_path.with_suffix(".new"), value)
                service.cache_path.with_suffix(".new").rename(service.cache_path)

    def test_each_answer_is_as_new_as_the_last_commit_before_its_request(self):
        for journal in JOURNALS:
            with self.subTest(journal=journal), self.service() as service:
                run = Run(service, journal, CHECKS)
                run.check()
                self.assertEqual(run.stale, [])
                self.assertLess(run.refused, CHECKS / 100)
                self.assertGreater(run.committed, 20)
                self.assertGreater(self.figures(service)[1], CHECKS / 20)

    def test_no_answer_is_stale_while_workers_and_writers_are_killed(self):
        for journal in JOURNALS:
            with self.subTest(journal=journal), self.service() as service:
                run = Run(service, journal, CHECKS_WITH_DEATHS, DEATHS)
                run.check()
                self.assertEqual(run.stale, [])
                run.roll_back()
                self.assertEqual(read_until_answered(service)["N"], run.committed)

    def test_index_that_is_cut_off_or_overwritten_ends_nothing_and_gives_nothing_old(self):
        damages = {"cut off": lambda index: os.truncate(index, 0), "cut in the header": lambda index: os.truncate(index, 95),
                   "overwritten": overwrite_header}
        for name, damage in damages.items():
            with self.subTest(name), bus_errors_kill(), self.service("--workers", "1") as service:
                with contextlib.closing(sqlite3.connect(service.cache_path, isolation_level=None)) as writer:
                    writer.execute("pragma journal_mode = wal")
                    writer.execute("update Tbl_XCIM_Thing set N = 1")
                    for _ in range(3):
                        self.assertEqual(service.get(thing(1)).json()["N"], 1)
                    given = self.figures(service)[1]
                    damage(f"{service.cache_path}-shm")
                    self.assertEqual(service.process.poll(), None)
                    # A worker that SQLite's map has killed costs its request.
                    outcomes = ((200, 1), (500, None), (503, None))
                    self.assertIn(status_and_value(service.get(thing(1))), outcomes)
                    self.assertEqual(self.figures(service)[1], given)
                    # A worker may have made a new index meanwhile: then answers are kept anew.
                    for _ in range(2):
                        self.assertIn(status_and_value(service.get(thing(1))), outcomes)
                    self.assertEqual(service.process.poll(), None)

    def test_answer_that_was_overtaken_by_a_commit_is_not_kept(self):
        with self.service("--workers", "1") as service:
            self.assertEqual(service.get(thing(1)).json()["N"], 0)
            [worker] = service.workers()
            os.kill(worker, signal.SIGSTOP)
            pending = service.start_get(thing(1))
            wait_until(lambda: self.busy(service) == 1, "the request with the worker")
            with contextlib.closing(sqlite3.connect(service.cache_path, isolation_level=None)) as writer:
                writer.execute("update Tbl_XCIM_Thing set N = 1")
            os.kill(worker, signal.SIGCONT)
            self.assertEqual(pending.answer().json()["N"], 1)
            self.assertEqual(self.figures(service)[0], 0)

    def test_exclusive_lock_sends_requests_to_a_worker(self):
        for journal in JOURNALS:
            with self.subTest(journal=journal), self.service() as service:
                self.check_lock(service, journal)

    def check_lock(self, service, journal):
        with contextlib.closing(sqlite3.connect(service.cache_path, isolation_level=None)) as writer:
            writer.execute(f"pragma journal_mode = {journal}")
            writer.execute("update Tbl_XCIM_Thing set N = 1")
            for _ in range(3):
                self.assertEqual(service.get(thing(1)).json()["N"], 1)
            writer.execute("begin exclusive")
            writer.execute("update Tbl_XCIM_Thing set N = 2")
            pending = service.start_get(thing(1))
            writer.execute("commit")
            answer = pending.answer()
            self.assertIn(status_and_value(answer), ((200, 1), (200, 2)))
            self.assertEqual(service.get(thing(1)).json()["N"], 2)

    def test_cache_that_is_cut_off_gives_nothing_old(self):
        with self.service() as service:
            for _ in range(3):
                self.assertEqual(service.get(thing(1)).json()["N"], 0)
            os.truncate(service.cache_path, 0)
            for _ in range(3):
                self.assertEqual(service.get(thing(1)).status, 503)
            # As many changes as before: SQLite, which counts them, cannot tell, and may refuse the file.
            fill(service.cache_path, 5)
            for _ in range(3):
                answer = service.get(thing(1))
                self.assertIn(status_and_value(answer), ((200, 5), (503, None)))
            fill(service.cache_path.with_suffix(".new"), 6)
            service.cache_path.with_suffix(".new").rename(service.cache_path)
            self.assertEqual(service.get(thing(1)).json()["N"], 6)

    def test_flood_of_different_uris_takes_no_more_than_kept_answers_may(self):
        with self.service("--kept-answers", str(KEPT_BYTES)) as service:
            pages = [f"{BASE}/VexoThingCollection?$top={top}&$skip={skip}" for top in range(1, 26) for skip in range(20)]
            ask_all(service, pages[:20] * 3)
            before = resident_bytes(service.process.pid)
            for _ in range(3):
                ask_all(service, pages)
            answers, _, _, dropped = self.figures(service)
            self.assertGreater(dropped, 100)
            self.assertLess(answers, len(pages))
            if not is_sanitized(service.process.pid):
                self.assertLess(resident_bytes(service.process.pid) - before, KEPT_BYTES + FLOOD_BYTES)


def bus_errors_kill():
    """Programs that are started meanwhile are killed by a bus error, as they are without a sanitizer."""
    options = f"{os.environ.get('ASAN_OPTIONS', '')}:handle_sigbus=0"
    return unittest.mock.patch.dict(os.environ, ASAN_OPTIONS=options)


def read_until_answered(service):
    """Workers that were killed are replaced after a while."""
    wait_until(lambda: service.get(thing(0)).status == 200, "an answer")
    return service.get(thing(0)).json()


def status_and_value(answer):
    return answer.status, answer.json().get("N")


def overwrite_header(index):
    with open(index, "r+b") as file:
        file.seek(16)
        file.write(b"\xff" * 8)


def ask_all(service, targets):
    for target in targets:
        ask(service.base, target)


def resident_bytes(pid):
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as rollup:
        return int(re.search(r"^Private_Dirty: +(\d+) kB$", rollup.read(), re.MULTILINE).group(1)) * 1024


if __name__ == "__main__":
    unittest.main(verbosity=2)
