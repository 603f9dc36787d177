#!/usr/bin/python3
"""The cache's writer and its readers do not disturb each other, however often it writes."""

import http.client
import itertools
import json
import multiprocessing
import sqlite3
import threading
import unittest

from cimgate_host import BASE, Service, array_cell, collection_entry, member_entry
from footprint import Footprint
from program import PATIENCE_S

COLUMNS = [f"C{i}" for i in range(10)]
ROWS = 40
CLIENTS = 3
REQUESTS = 200
# Generations that the readers must have seen at least, each of them.
GENERATIONS = 10


def row(number, generation):
    return (f"R.{number}", *[generation] * len(COLUMNS), array_cell(2, [generation] * 3))


def sample():
    properties = {name: {"cim_type": "uint32"} for name in (*COLUMNS, "List")}
    mapping = member_entry("VexoRow", "XCIM_Row", properties) | collection_entry("VexoRow")
    return mapping, {"classes": {"XCIM_Row": (["InstanceID", *COLUMNS, "List"], [row(i, 1) for i in range(ROWS)])}}


def write_generations(path, stop, started):
    """Gives all columns of all rows one number after the other, by updates and by refilling the table in turns."""
    connection = sqlite3.connect(path, timeout=2 * PATIENCE_S, isolation_level=None)
    # What a power failure leaves is not what is tested; the disk would only set the pace.
    connection.execute("pragma synchronous = off")
    update = "update Tbl_XCIM_Row set " + ", ".join(f"{name} = ?" for name in (*COLUMNS, "List"))
    marks = ", ".join("?" * (len(COLUMNS) + 2))
    for generation in itertools.count(2):
        if stop.is_set():
            break
        connection.execute("begin immediate")
        if generation % 2 == 0:
            connection.execute(update, row(0, generation)[1:])
        else:
            connection.execute("delete from Tbl_XCIM_Row")
            connection.executemany(f"insert into Tbl_XCIM_Row values ({marks})",
                                   [row(i, generation) for i in range(ROWS)])
        connection.execute("commit")
        started.set()
    connection.close()


def generation_of(member):
    """The one number that all columns have."""
    [generation] = {member[name] for name in COLUMNS} | set(member["List"])
    return generation


class Reader:
    """A client that asks until it has made its requests and seen its generations, or finds a fault."""

    def __init__(self, service, paths):
        self._connection = http.client.HTTPConnection(service.base.removeprefix("http://"), timeout=PATIENCE_S)
        self._paths = itertools.cycle(paths)
        self.fault = None
        self._thread = threading.Thread(target=self._run)
        self._thread.start()

    def wait(self):
        self._thread.join()
        self._connection.close()
        return self.fault

    def _run(self):
        try:
            self._read()
        except Exception as error:  # pylint: disable=broad-except
            self.fault = repr(error)

    def _read(self):
        last, changes, requests = 1, 0, 0
        while requests < REQUESTS or changes < GENERATIONS:
            generation = self._get(next(self._paths))
            if generation < last:
                raise AssertionError(f"generation {generation} after {last}")
            requests += 1
            changes += generation > last
            last = generation

    def _get(self, path):
        self._connection.request("GET", path)
        answer = self._connection.getresponse()
        body = answer.read()
        if answer.status != 200:
            raise AssertionError(f"{path}: {answer.status} {dict(answer.getheaders())} {body[:500]}")
        members = json_of(body)
        # A page is of one generation, too: it is read by one statement.
        [generation] = {generation_of(member) for member in members}
        return generation


def json_of(body):
    value = json.loads(body)
    return value.get("Members", [value])


class CacheWriter(unittest.TestCase):
    def check_readers(self, journal_mode):
        service = Service(*sample(), options=("--workers", "3"))
        with sqlite3.connect(service.cache_path) as connection:
            [mode] = connection.execute(f"pragma journal_mode = {journal_mode}").fetchone()
            self.assertEqual(mode, journal_mode)
        connection.close()
        processes = multiprocessing.get_context("spawn")
        stop, started = processes.Event(), processes.Event()
        with service:
            footprint = Footprint(service)
            writer = processes.Process(target=write_generations, args=(service.cache_path, stop, started))
            writer.start()
            try:
                self.assertTrue(started.wait(PATIENCE_S))
                instances = [f"{BASE}/VexoRow/R.{i}" for i in range(0, ROWS, 7)]
                collection = f"{BASE}/VexoRowCollection"
                readers = [Reader(service, [collection, *instances, f"{collection}?$skip=5&$top=30"])
                           for _ in range(CLIENTS)]
                self.assertEqual([reader.wait() for reader in readers], [None] * CLIENTS)
            finally:
                stop.set()
                writer.join(PATIENCE_S)
            self.assertEqual(writer.exitcode, 0)
            self.check_no_lock_is_kept(service)
            footprint.check_same_again()

    def check_no_lock_is_kept(self, service):
        """What a reader still held would stop the writer, and make its log grow."""
        with sqlite3.connect(service.cache_path, timeout=0, isolation_level=None) as connection:
            connection.execute("begin exclusive")
            connection.execute("commit")
            [busy, left, _] = connection.execute("pragma wal_checkpoint(truncate)").fetchone()
            self.assertEqual(busy, 0)
            self.assertIn(left, (0, -1))
        connection.close()

    def test_readers_beside_a_writer_with_a_write_ahead_log(self):
        self.check_readers("wal")

    def test_readers_beside_a_writer_with_a_rollback_journal(self):
        for mode in ("delete", "truncate", "persist"):
            with self.subTest(mode=mode):
                self.check_readers(mode)


if __name__ == "__main__":
    unittest.main(verbosity=2)
