#!/usr/bin/python3
"""Answers that are given again without a worker while the data cache is unchanged, and never after a commit that was
there before the request."""

import http.client
import json
import os
import re
import signal
import sqlite3
import threading
import time
import unittest

from cimgate_host import BASE, NO_OBJECT_MANAGER, Service, collection_entry, member_entry, wait_until, write_cache

MAPPING = {**member_entry("VexoThing", "XCIM_Thing", {"InstanceID": {"cim_type": "string"}, "N": {"cim_type": "uint64"}}),
           **collection_entry("VexoThing"),
           **member_entry("VexoLive", "XCIM_Live", {"InstanceID": {"cim_type": "string"}}, cached=False)}
THINGS = 60
READERS = 16
CHECKS = 5000
JOURNALS = ("wal", "delete")
# What no two answers have alike.
VOLATILE = ("date",)


def fill(path, value=0):
    write_cache(path, {"XCIM_Thing": (["InstanceID", "N"], [(str(i), value) for i in range(THINGS)])})


def thing(number):
    return f"{BASE}/VexoThing/{number}"


class KeptAnswers(unittest.TestCase):
    def service(self, *options):
        service = Service(MAPPING, options=("--cim", NO_OBJECT_MANAGER, *options))
        fill(service.cache_path)
        return service

    def figures(self, service):
        """Answers that are kept, requests that were given one, those that were not, and what was dropped."""
        before = service.log().count("counters:")
        os.kill(service.process.pid, signal.SIGUSR1)
        wait_until(lambda: service.log().count("counters:") > before, "the counters")
        last = re.findall(r"kept answers (\d+) of \d+ bytes, given (\d+), not there (\d+), dropped (\d+)", service.log())[-1]
        return tuple(int(figure) for figure in last)

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

    def test_options_are_told_apart(self):
        with self.service() as service:
            for _ in range(3):
                for count in (1, 2, 3):
                    answer = service.get(f"{BASE}/VexoThingCollection?$top={count}")
                    self.assertEqual(len(answer.json()["Members"]), count)
                    self.assertEqual(len(service.get(f"{BASE}/VexoThingCollection?%24top={count}").json()["Members"]),
                                     len(service.get(f"{BASE}/VexoThingCollection?%24top={count}&y").json()["Members"]))

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
                self.check_commits(service, journal)

    def check_commits(self, service, journal):
        writer = sqlite3.connect(service.cache_path, isolation_level=None, check_same_thread=False, timeout=30)
        writer.execute(f"pragma journal_mode = {journal}")
        writer.execute("pragma synchronous = off")
        committed, stale, refused, left = [0], [], [0], [CHECKS]

        def write():
            while left[0] > 0:
                writer.execute("update Tbl_XCIM_Thing set N = ?", (committed[0] + 1,))
                committed[0] += 1
                # Some commits as fast as can be, then a while in which answers are kept.
                time.sleep(0.03 if committed[0] % 10 == 0 else 0)

        def read(number):
            host, _, port = service.base.removeprefix("http://").rpartition(":")
            connection = http.client.HTTPConnection(host, int(port), timeout=30)
            while left[0] > 0:
                least = committed[0]
                connection.request("GET", thing(number))
                answer = connection.getresponse()
                body = answer.read()
                # A reader that may not write can take a rollback journal that is just going for one that was left.
                if answer.status == 503 and journal != "wal":
                    refused[0] += 1
                elif answer.status != 200 or json.loads(body)["N"] < least:
                    stale.append((answer.status, body, least))
                left[0] -= 1
            connection.close()

        threads = [threading.Thread(target=write)] + [threading.Thread(target=read, args=(number % 3,))
                                                      for number in range(READERS)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        writer.close()
        self.assertEqual(stale, [])
        self.assertLess(refused[0], CHECKS / 100)
        self.assertGreater(committed[0], 20)
        self.assertGreater(self.figures(service)[1], CHECKS / 20)


if __name__ == "__main__":
    unittest.main(verbosity=2)
