#!/usr/bin/python3
"""What is missing or damaged: what holds all the same, and what is logged. docs/operations.md shows these tests as a
table."""

import fcntl
import json
import os
import re
import signal
import sqlite3
import time
import unittest
from pathlib import Path

from action_service import DONE, RUN, ActionService, action_mapping
from cache_damage import PAGE_BYTES
from cimgate_host import (BASE, CIMGATED, Service, ServiceTest, children_of, collection_entry, member_entry, name_of,
                          wait_until, write_cache)
from oem_client import BY_ID, OemService, container_entry, embedded_data, embedded_entry
from program import run_program
from scripted_object_manager import ScriptedObjectManager, found

OPERATIONS = Path(os.environ["CIMGATE_SOURCE_DIR"], "docs", "operations.md")
TEXT = {"cim_type": "string"}
# Of the faults that are found at the start, so many are logged.
MAX_TOLD = 20
# Entries of a mapping whose check is not waited for.
LARGE = 3000
# Entries of a mapping whose schemas take some tenths of a second.
OTHERS = 150


def things(*names):
    """A mapping of things that are read from the cache, and that cache."""
    mapping, classes = {}, {}
    for name in names:
        mapping |= member_entry(name, f"XCIM_{name}", {"InstanceID": TEXT, "A": TEXT})
        classes[f"XCIM_{name}"] = (["InstanceID", "A"], [("T.1", "fine")])
    return mapping, {"classes": classes}


def lost_things():
    """A mapping that takes long to check: all of its entries have a mistake."""
    return {f"VexoLost{number:04}": {} for number in range(LARGE)}


def line_of(text, part):
    return text[:text.index(part)].count("\n") + 1


class Start(ServiceTest):
    """What is wrong with mapping and cache when the service starts."""

    def told(self, service):
        """What the log says of the files: lines behind "cimgated: "."""
        paths = (str(service.mapping_path), str(service.cache_path), "and ")
        found = [line.partition("cimgated: ")[2] for line in service.log().splitlines()]
        return [line for line in found if line.startswith(paths)]

    def test_mapping_file_that_is_no_json(self):
        service = Service('{\n  "VexoThing": {\n    "Name": "x",\n  }\n}')
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""), log)
        self.assertIn(f"cimgated: the mapping file {service.mapping_path} is not a JSON object: line 4, column 3: "
                      "Missing '}' or object member name; correct it or name another one with --rmf\n", log)
        self.assertEqual(self.told(service), [])
        service.discard()

    def test_mapping_and_cache_without_faults(self):
        with Service(*things("VexoThing")) as service:
            self.check_value(service, f"{BASE}/VexoThing/T.1")
            self.assertEqual(self.told(service), [])

    def test_mistakes_in_the_mapping(self):
        mapping, cache = things("VexoThing", "VexoOther", "VexoThird")
        del cache["classes"]["XCIM_VexoThird"]
        properties = mapping["VexoOther"]["mappings"]["XCIM_VexoOther"]["properties"]
        properties["B"] = {"cim_type": "unit8"}
        text = json.dumps(mapping, indent=1)
        with Service(text, cache) as service:
            path = service.mapping_path
            self.check_value(service, f"{BASE}/VexoThing/T.1")
            [no_column, no_type, no_table] = self.told(service)
            line = line_of(text, '"unit8"')
            self.assertTrue(no_type.startswith(f'{path}:{line}: VexoOther, property B: "cim_type" is "unit8", '), no_type)
            line = line_of(text, '"B"')
            self.assertEqual(no_column, f"{path}:{line}: VexoOther, property B: the table Tbl_XCIM_VexoOther has no column "
                             '"B"; all reads of the resource are answered 500; correct the name, or have the column made')
            self.assertEqual(service.get(f"{BASE}/VexoOther/T.1").status, 500)
            line = line_of(text, '"XCIM_VexoThird"')
            self.assertEqual(no_table, f"{path}:{line}: VexoThird, class XCIM_VexoThird: the data cache has no table "
                             "Tbl_XCIM_VexoThird; reads of it are answered 503 until it is there; correct the name of the "
                             "class, or have the table made")
            self.assertEqual(service.get(f"{BASE}/VexoThird/T.1").status, 503)

    def test_more_mistakes_than_are_logged(self):
        mapping, cache = things("VexoThing")
        mapping |= {f"VexoLost{number:02}": {} for number in range(MAX_TOLD + 3)}
        with Service(mapping, cache) as service:
            self.check_value(service, f"{BASE}/VexoThing/T.1")
            told = self.told(service)
            self.assertEqual(len(told), MAX_TOLD + 1)
            self.assertEqual(told[-1], "and 3 more: cimgated --check tells all")


    def test_mapping_that_takes_long_to_check(self):
        mapping, cache = things("VexoThing")
        mapping |= lost_things()
        with Service(mapping, cache) as service:
            self.assertIn("cimgated-check", map(name_of, children_of(service.spawner())))
            self.check_value(service, f"{BASE}/VexoThing/T.1")
            wait_until(lambda: len(self.told(service)) > MAX_TOLD, "the lines of the check")
            told = self.told(service)
            self.assertEqual([re.search(r"VexoLost\d+", line)[0] for line in told[:-1]],
                             [f"VexoLost{number:04}" for number in range(MAX_TOLD)])
            self.assertEqual(told[-1], f"and {LARGE - MAX_TOLD} more: cimgated --check tells all")
            wait_until(lambda: "cimgated-check" not in map(name_of, children_of(service.spawner())), "its end")
            service.stop()
            self.assertEqual(self.told(service), told)


class Schemas(ServiceTest):
    """Who asks for the schemas of the mapping file before they are made, or when they cannot be."""

    SCHEMA = "/redfish/v1/JsonSchemas/VexoThing.v1_0_0.json"

    def service(self, *options, more=None, stopped=("cimgated-schema",)):
        """One that listens while their maker, and what else is named before it, is stopped; the maker's process."""
        mapping, cache = things("VexoThing", *(f"VexoOther{number}" for number in range(OTHERS)))
        service = Service(mapping | (more or {}), cache, options=options)
        self.addCleanup(service.discard)
        service.launch()
        for name in stopped:
            pid = wait_until(lambda name=name: self.process_of(service, name), name)
            os.kill(pid, signal.SIGSTOP)
        return service.await_listening(), pid

    @staticmethod
    def process_of(service, name):
        return next((pid for spawner in children_of(service.process.pid) for pid in children_of(spawner)
                     if name_of(pid) == name), None)

    def test_maker_of_schemas_that_takes_long(self):
        service, maker = self.service()
        pending = service.start_get(self.SCHEMA)
        for _ in range(3):
            self.check_value(service, f"{BASE}/VexoThing/T.1")
        self.assertEqual(service.get("/redfish/v1/JsonSchemas").status, 200)
        self.assertFalse(pending.is_done())
        os.kill(maker, signal.SIGCONT)
        self.assertEqual(pending.answer().json()["title"], "#VexoThing.v1_0_0.VexoThing")
        service.stop()
        self.assertNotIn("schemas", service.log())

    def test_maker_of_schemas_that_is_stuck(self):
        service, maker = self.service("--request-timeout", "1")
        begin = time.monotonic()
        answer = service.get(self.SCHEMA)
        self.assertGreaterEqual(time.monotonic() - begin, 0.5)
        self.check_failed(answer, 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))
        self.assertEqual(answer.get("Retry-After"), "5")
        wait_until(lambda: f"cimgated: GET {self.SCHEMA}: 503: the schemas of the mapping file are not made yet" in service.log(),
                   "the log's line")
        self.check_value(service, f"{BASE}/VexoThing/T.1")
        os.kill(maker, signal.SIGCONT)
        wait_until(lambda: service.get(self.SCHEMA).status == 200, "the schemas")
        service.stop()

    def test_maker_of_schemas_that_is_killed(self):
        # The check, which goes on beside it, has nothing to do with that.
        service, maker = self.service(more=lost_things(), stopped=("cimgated-check", "cimgated-schema"))
        pending = service.start_get(self.SCHEMA)
        os.kill(maker, signal.SIGKILL)
        for answer in (pending.answer(), service.get(self.SCHEMA)):
            self.assertEqual((answer.status, answer.messages()[0][0]), (404, "Vexo.SYS403"))
        self.check_value(service, f"{BASE}/VexoThing/T.1")
        os.kill(self.process_of(service, "cimgated-check"), signal.SIGCONT)
        service.stop()
        self.assertIn(f"maker of schemas {maker} ended by signal 9 at schemas of the mapping file\n", service.log())
        self.assertEqual(service.log().count("the schemas of the mapping file could not be made: requests for them are answered 404\n"), 1)


class Check(ServiceTest):
    """cimgated --check."""

    def check(self, service):
        done = run_program(CIMGATED, "--check", "--rmf", str(service.mapping_path), "--cache", str(service.cache_path))
        self.assertEqual(done.stderr, "")
        return done.returncode, done.stdout

    def service(self, *arguments):
        service = Service(*arguments)
        self.addCleanup(service.discard)
        return service

    def test_check_of_sound_files(self):
        service = self.service(*things("VexoThing"))
        self.assertEqual(self.check(service), (0, f"{service.mapping_path}: sound\n{service.cache_path}: sound\n"))

    def test_check_of_files_with_mistakes(self):
        mapping, cache = things("VexoThing")
        mapping |= {f"VexoLost{number:02}": {} for number in range(MAX_TOLD + 3)}
        service = self.service(json.dumps(mapping, indent=1), cache)
        with sqlite3.connect(service.cache_path) as connection:
            connection.execute("drop table Tbl_CMPIReady")
        connection.close()
        status, out = self.check(service)
        self.assertEqual(status, 1)
        self.assertTrue(out.startswith(f"{service.mapping_path}: {MAX_TOLD + 3} faults\n"), out)
        line = line_of(service.mapping_path.read_text(encoding="utf-8"), '"VexoLost22"')
        self.assertIn(f'  line {line}, VexoLost22:\n    The entry has no "@odata.id".\n', out)
        self.assertIn(f"\n{service.cache_path}: 1 fault\n    The table Tbl_CMPIReady ", out)

    def test_check_of_a_mapping_that_is_no_json(self):
        service = self.service("{\n]")
        status, out = self.check(service)
        self.assertEqual(status, 1)
        self.assertTrue(out.startswith(f"{service.mapping_path}: 1 fault\n  line 2, column 1:\n"), out)
        self.assertTrue(out.endswith(f"\n{service.cache_path}: not looked at, without a mapping\n"), out)

    def test_check_of_a_mapping_that_is_missing(self):
        status, out = self.check(self.service(None))
        self.assertEqual(status, 1)
        self.assertIn("    It cannot be read: No such file or directory.\n    The service does not start.\n", out)

    def test_check_of_a_cache_with_a_damaged_page(self):
        rows = [(f"T.{number}", "x" * 500) for number in range(100)]
        service = self.service(things("VexoThing")[0], {"classes": {"XCIM_VexoThing": (["InstanceID", "A"], rows)}})
        content = service.cache_path.read_bytes()
        service.cache_path.write_bytes(content[:-PAGE_BYTES] + b"\xff" * PAGE_BYTES)
        status, out = self.check(service)
        self.assertEqual(status, 1)
        self.assertIn(f"{service.mapping_path}: sound\n{service.cache_path}: 1 fault\n    It is damaged: ", out)


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
            told = run_program(*service.command, "--check").stdout
            self.assertIn("    It cannot be opened: it is no regular file.\n    The service does not start.\n", told)

    def test_data_cache_that_may_not_be_read(self):
        # An administrator may read any file, unless he gives that right up.
        in_front = ["setpriv", "--bounding-set=-all"] if os.geteuid() == 0 else []
        service = self.service(cache())
        service.cache_path.chmod(0)
        told = run_program(*in_front, *service.command, "--check").stdout
        self.assertIn("    It cannot be opened: Permission denied.\n    The service does not start.\n", told)
        service.command = in_front + service.command
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""), log)
        self.assertIn(f"cannot open the data cache {service.cache_path}: Permission denied", log)

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

    def test_association_table_that_is_missing(self):
        content = cache()
        del content["associations"]
        mapping = member_entry("VexoTied", "XCIM_Thing", {"A": {"cim_type": "string"}}, Links=ENCLOSURES)
        service = ActionService(self.manager.url, cached_and_live() | mapping, "--workers", "3", "--request-timeout", "1",
                                cache=content)
        self.addCleanup(service.discard)
        with service:
            self.assertIn(", link VexoEnclosureCollection: the data cache's table of the link, "
                          "Tbl_xcim_enclosureemmdependency, cannot be read: no such table: "
                          "Tbl_xcim_enclosureemmdependency; each request that shows the link runs until its deadline "
                          "(504); have the table made, if only empty, or take the link out", service.log())
            tied = f"{BASE}/VexoTied/T.1"
            for one in [service.start_get(uri) for uri in (LINKED, tied)]:
                self.check_failed(one.answer(), 504, ("Base.OperationTimeout", []))
            self.check_value(service, f"{tied}?$select=A")
            self.check_value(service, THING)
            self.check_what_needs_none(service)
            for uri in (LINKED, tied):
                self.assertIn(f"GET {uri}: 504: worker ", service.log())

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


GOOD = f"{BASE}/VexoGood/G.1"
BROKEN = f"{BASE}/VexoBroken/1"


def sample():
    mapping = (embedded_entry("VexoGood", "XCIM_Good", {"A": TEXT}) | container_entry("GoodOem", VexoGood=BY_ID)
               | member_entry("VexoBroken", "XCIM_Broken", {"A": TEXT}))
    columns = ["InstanceID", "A"]
    return mapping, {"classes": {"XCIM_Good": (columns, [("G.1", "fine")]), "XCIM_Broken": (columns, [("1", 1.5)])}}


class Processes(ServiceTest):
    """What happens to the processes of the service."""

    def check_good(self, service):
        self.check_value(service, GOOD)
        self.assertEqual(service.ask("GoodOem", "G.1"), {"VexoGood": embedded_data("VexoGood", "G.1", A="fine")})

    def await_line(self, service, *parts):
        return wait_until(lambda: [line for line in service.lines() if all(part in line for part in parts)], parts)

    def test_value_that_ends_a_worker(self):
        with OemService(*sample()) as service:
            self.assertEqual(service.get(BROKEN).status, 500)
            self.await_line(service, f"GET {BROKEN}: 500: worker")
            self.await_line(service, "spawner", f"ended by signal 6 at GET {BROKEN}", "class XCIM_Broken", "property A")
            self.check_good(service)

    def test_worker_that_is_killed(self):
        with OemService(*sample()) as service:
            [worker, *_] = service.workers()
            os.kill(worker, signal.SIGKILL)
            self.await_line(service, "spawner", f"worker {worker} ended by signal 9")
            self.check_good(service)

    def test_queue_process_that_is_stopped(self):
        with OemService(*sample()) as service:
            process = service.endpoint_process()
            os.kill(process, signal.SIGSTOP)
            self.await_line(service, f"process {process} does not answer")
            self.await_line(service, f"message-queue endpoint {process} ended by signal 9")
            service.await_new_endpoint_process(process)
            self.check_good(service)

    def test_lock_on_the_queues_directory(self):
        service = OemService(*sample())
        directory = os.open(service.directory, os.O_RDONLY)
        self.addCleanup(os.close, directory)
        fcntl.flock(directory, fcntl.LOCK_SH)
        with service:
            self.await_line(service, f"somebody keeps a lock on {service.directory}")
            self.check_good(service)

    def test_signals_without_a_meaning(self):
        with OemService(*sample(), ("--workers", "2")) as service:
            pids = [*service.pids(), service.endpoint_process()]
            for pid in pids:
                for number in (signal.SIGUSR1, signal.SIGUSR2, signal.SIGQUIT, signal.SIGALRM):
                    os.kill(pid, number)
            self.check_good(service)
            self.assertEqual([*service.pids(), service.endpoint_process()], pids)
            [counters] = self.await_line(service, "cimgated: counters: 0 requests answered")
            self.assertIn("workers 2, busy 0, started 2, ended 0", counters)

    def test_access_log_on_a_full_disk(self):
        with OemService(*sample(), ("--access-log", "/dev/full")) as service:
            for _ in range(3):
                self.check_good(service)
            [line] = self.await_line(service, "/dev/full")
            self.assertIn("No space left on device; lines are lost", line)


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
