#!/usr/bin/python3
"""What is missing or damaged: what holds all the same, and what is logged. docs/operations.md shows these tests as a
table."""

import os
import re
import signal
import unittest
from pathlib import Path

from action_service import DONE, RUN, ActionService, action_mapping
from cache_damage import PAGE_BYTES
from cimgate_host import BASE, Service, ServiceTest, collection_entry, member_entry, wait_until, write_cache
from scripted_object_manager import ScriptedObjectManager, found

OPERATIONS = Path(os.environ["CIMGATE_SOURCE_DIR"], "docs", "operations.md")


class Start(ServiceTest):
    """What is wrong with mapping and cache when the service starts."""

    def test_mapping_file_that_is_no_json(self):
        service = Service('{\n  "VexoThing": {,}\n}')
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""), log)
        self.assertIn(str(service.mapping_path), log)
        service.discard()


THING = f"{BASE}/VexoThing/T.1"
THINGS = f"{BASE}/VexoThingCollection"
LIVE = f"{BASE}/VexoLive/L.1"
LINKED = f"{BASE}/VexoLinked/L.1"
ENCLOSURES = {"VexoEnclosureCollection": {}}


def cached_and_live():
    """A mapping with a cached class, live ones with fixed links and with those of an association table, and an action."""
    text = {"cim_type": "string"}
    live = {"InstanceID": text, "A": text}
    return (member_entry("VexoThing", "XCIM_Thing", {"A": text, "Filler": text}) | collection_entry("VexoThing")
            | member_entry("VexoLive", "XCIM_Live", live, cached=False, Links={"ComputerSystem": {"@odata.id": "/s"}})
            | member_entry("VexoLinked", "XCIM_Live", live, cached=False, Links=ENCLOSURES) | action_mapping())


def cache():
    return {"classes": {"XCIM_Thing": (["InstanceID", "A", "Filler"],
                                       [(f"T.{i}", "fine", "f" * 200) for i in range(300)])},
            "associations": {"Tbl_xcim_enclosureemmdependency": [("L", "L.1", "R", "E.1")]}}


def object_manager():
    return ScriptedObjectManager(
        lambda request: DONE if "<METHODCALL" in request else found("XCIM_Live", InstanceID="L.1", A="live"))


class DataCache(ServiceTest):
    """A data cache that is missing or damaged, beside an object manager that is sound."""

    def setUp(self):
        self.manager = self.enterContext(object_manager())

    def service(self, content=None):
        service = ActionService(self.manager.url, cached_and_live(), "--workers", "2", cache=content)
        self.addCleanup(service.discard)
        return service

    def check_later(self, answer):
        self.check_failed(answer, 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))
        self.assertEqual(answer.get("Retry-After"), "5")

    def check_only_what_needs_it_fails(self, service):
        for uri in (THING, THINGS, f"{BASE}/VexoThing/none", LINKED):
            self.check_later(service.get(uri))
        self.check_later(service.post(LINKED))
        self.check_what_needs_none(service)

    def check_what_needs_none(self, service):
        self.check_value(service, LIVE, "live")
        self.assertEqual(service.post(RUN).status, 200)
        self.assertEqual(service.get(f"{BASE}/VexoNone").status, 404)
        self.assertEqual(service.get(f"{BASE}/VexoService?$unknown=1").status, 501)

    def check_all_good(self, service):
        for _ in range(2):  # by each worker
            self.check_value(service, THING)
            links = service.get(LINKED).json()["Links"]["VexoEnclosureCollection"]
            self.assertEqual(len(links), 1)
        self.assertEqual(service.post(LINKED).status, 405)
        self.check_what_needs_none(service)

    def check_told(self, service, *beginnings):
        """What is told of the cache, in this order; each once."""
        told = [line.partition(str(service.cache_path))[2].strip() for line in service.log().splitlines()
                if f"the data cache {service.cache_path}" in line]
        self.assertEqual([line[:len(start)] for line, start in zip(told, beginnings)], list(beginnings), told)
        self.assertEqual(len(told), len(beginnings), told)

    def check_comes_back(self, service, *told):
        """What needs the cache fails until there is a sound one in its place; workers that are killed make no line."""
        with service:
            for _ in range(3):
                self.check_only_what_needs_it_fails(service)
            service.kill_workers()
            self.check_only_what_needs_it_fails(service)
            self.check_told(service, *told)
            new = service.directory / "new.db"
            write_cache(new, **cache())
            new.rename(service.cache_path)
            self.check_all_good(service)
            self.check_told(service, *told, "can be read again")

    def test_data_cache_that_is_missing(self):
        self.check_comes_back(self.service(), "is not there:")

    def test_data_cache_that_is_no_database(self):
        service = self.service()
        service.cache_path.write_bytes(b"not a database" * 1000)
        self.check_comes_back(service, "cannot be read: file is not a database:")

    def test_data_cache_without_readiness_table(self):
        service = self.service()
        service.cache_path.touch()
        self.check_comes_back(service, "cannot be read: no such table: Tbl_CMPIReady:")

    def test_data_cache_that_cannot_be_opened(self):
        for make in (Path.mkdir, os.mkfifo):
            service = self.service()
            make(service.cache_path)
            status, out, log = service.fail()
            self.assertEqual((status, out), (1, ""), log)
            self.assertIn(f"cannot open the data cache {service.cache_path}: it is no regular file", log)

    def test_data_cache_that_goes_while_it_is_read(self):
        with self.service(cache()) as service:
            self.check_all_good(service)
            service.cache_path.unlink()
            self.check_all_good(service)  # from the file that is open
            self.check_told(service)
            os.kill(service.workers()[0], signal.SIGKILL)
            wait_until(lambda: "is not there:" in service.log(), "the look of the new worker")
            for _ in range(10):  # one worker has it, one has none
                self.assertIn(service.get(THING).status, (200, 503))
            self.check_told(service, "is not there:")
            service.kill_workers()
            self.check_only_what_needs_it_fails(service)
            self.check_told(service, "is not there:")
            write_cache(service.cache_path, **cache())
            self.check_all_good(service)
            self.check_told(service, "is not there:", "can be read again")

    def test_page_of_the_data_cache_that_is_damaged(self):
        service = self.service(cache())
        content = service.cache_path.read_bytes()
        page = content.index(b"T.250fine") // PAGE_BYTES
        service.cache_path.write_bytes(content[:page * PAGE_BYTES] + b"\xff" * PAGE_BYTES
                                       + content[(page + 1) * PAGE_BYTES:])
        with service:
            for key in ("T.250", "never.was"):
                uri = f"{BASE}/VexoThing/{key}"
                self.check_later(service.get(uri))
                self.assertIn(f"GET {uri}: 503: cannot read Tbl_XCIM_Thing: database disk image is malformed; ",
                              service.log())
            self.check_all_good(service)
            self.check_told(service)


class Table(unittest.TestCase):
    """The documented table of faults."""

    def test_its_rows_are_the_tests(self):
        [_, section] = OPERATIONS.read_text(encoding="utf-8").split("\n## Faults\n")
        rows = re.findall(r"^\|.*\| `(\w+)` \|$", section.partition("\n## ")[0], re.MULTILINE)
        cases = [case for case in globals().values() if isinstance(case, type) and case is not Table]
        tests = [name for case in cases for name in vars(case) if name.startswith("test_")]
        self.assertEqual(sorted(rows), sorted(tests))


if __name__ == "__main__":
    unittest.main(verbosity=2)
