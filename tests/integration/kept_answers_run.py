#!/usr/bin/python3
"""A writer that commits as fast as it can while readers look whether each answer is at least as new as the last commit that
had returned when they asked.

Run by itself it does so as often as its argument says, with both journals and while workers and the writer are killed, and
prints figures (scripts/kept-answers-checks).
"""

import contextlib
import http.client
import json
import os
import signal
import sqlite3
import subprocess
import sys
import threading
import time

from cimgate_host import BASE, NO_OBJECT_MANAGER, Service, collection_entry, member_entry, write_cache

MAPPING = {**member_entry("VexoThing", "XCIM_Thing", {"InstanceID": {"cim_type": "string"}, "N": {"cim_type": "uint64"}}),
           **collection_entry("VexoThing"),
           **member_entry("VexoLive", "XCIM_Live", {"InstanceID": {"cim_type": "string"}}, cached=False)}
THINGS = 60
READERS = 16
# Commits in a row, then a while in which answers are kept.
BURST = 10
PAUSE_S = 0.03
# Between two killings, of a worker and of a writer in the middle of its transaction by turns.
DEATH_PAUSE_S = 0.1
# A writer that is killed before it commits: its changes are on their way into the file, and it says so.
DOOMED_WRITER = """
import sqlite3, sys, time
cache = sqlite3.connect(sys.argv[1], isolation_level=None, timeout=30)
cache.execute("pragma synchronous = off")
cache.execute("pragma cache_size = 1")
cache.execute("begin immediate")
cache.execute("update Tbl_XCIM_Thing set N = 0")
print("in its transaction", flush=True)
time.sleep(60)
"""


def fill(path, value=0):
    write_cache(path, {"XCIM_Thing": (["InstanceID", "N"], [(str(i), value) for i in range(THINGS)])})


def thing(number):
    return f"{BASE}/VexoThing/{number}"


class Run:
    """So many checks of one service, and at least so many workers and writers killed meanwhile; then committed, refused,
    stale and deaths say what came of them."""

    def __init__(self, service, journal, checks, least_deaths=0):
        self.service, self.journal, self.left, self.least_deaths = service, journal, checks, least_deaths
        self.kills = least_deaths > 0
        self.committed = self.refused = self.deaths = 0
        self.stale = []
        self.writing = threading.Lock()  # while a writer that will be killed has the cache, nobody waits for it

    def check(self):
        with contextlib.closing(self.connect()) as cache:
            cache.execute(f"pragma journal_mode = {self.journal}")
        readers = [threading.Thread(target=self.read, args=(number % 3,)) for number in range(READERS)]
        others = [threading.Thread(target=self.write)] + [threading.Thread(target=self.kill)] * self.kills
        for thread in readers + others:
            thread.start()
        for thread in readers + others:
            thread.join()

    def is_on(self):
        return self.left > 0 or self.deaths < self.least_deaths

    def connect(self):
        cache = sqlite3.connect(self.service.cache_path, isolation_level=None, check_same_thread=False, timeout=30)
        cache.execute("pragma synchronous = off")
        return cache

    def write(self):
        with contextlib.closing(self.connect()) as cache:
            while self.is_on():
                with self.writing:
                    cache.execute("update Tbl_XCIM_Thing set N = ?", (self.committed + 1,))
                    self.committed += 1
                if self.committed % BURST == 0:
                    time.sleep(PAUSE_S)

    def kill(self):
        while self.is_on():
            time.sleep(DEATH_PAUSE_S)
            if self.deaths % 2 == 0:
                self.kill_worker()
            else:
                self.kill_writer()
            self.deaths += 1

    def kill_worker(self):
        with contextlib.suppress(ProcessLookupError, IndexError):
            os.kill(self.service.workers()[0], signal.SIGKILL)

    def kill_writer(self):
        with self.writing, subprocess.Popen([sys.executable, "-c", DOOMED_WRITER, str(self.service.cache_path)],
                                            stdout=subprocess.PIPE) as writer:
            writer.stdout.readline()
            writer.kill()

    def roll_back(self):
        """What a writer has left that was killed: the service, which only reads, cannot."""
        with contextlib.closing(self.connect()) as cache:
            cache.execute("select count(*) from Tbl_XCIM_Thing").fetchall()

    def read(self, number):
        host, _, port = self.service.base.removeprefix("http://").rpartition(":")
        with contextlib.closing(http.client.HTTPConnection(host, int(port), timeout=30)) as connection:
            while self.is_on():
                least = self.committed
                connection.request("GET", thing(number))
                answer = connection.getresponse()
                self.judge(answer.status, answer.read(), least)
                self.left -= 1

    # A reader that may not write can take a rollback journal that is just going for one that was left; of a request that
    # was with a worker that was killed nothing is told.
    def judge(self, status, body, least):
        if status == 503 and (self.journal != "wal" or self.kills) or status == 500 and self.kills:
            self.refused += 1
        elif status != 200 or json.loads(body)["N"] < least:
            self.stale.append((status, body, least))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    checks = int(sys.argv[1]) // 4
    failed = False
    for journal in ("wal", "delete"):
        for deaths in (0, 1):
            with Service(MAPPING, options=("--cim", NO_OBJECT_MANAGER)) as service:
                fill(service.cache_path)
                run = Run(service, journal, checks, deaths)
                begin = time.monotonic()
                run.check()
            print(f"{journal:6} {checks} checks in {time.monotonic() - begin:.0f} s, {run.committed} commits, {run.deaths} killed, "
                  f"{run.refused} refused, {len(run.stale)} stale {run.stale[:3] or ''}", flush=True)
            failed = failed or bool(run.stale)
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
