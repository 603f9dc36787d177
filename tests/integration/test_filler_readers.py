#!/usr/bin/python3
"""Readers of the data cache beside cimgate-cached: of another user, who may write neither the file nor its directory, before it,
while it writes, behind it, without it, and whatever ends it.

The tests run as root, who may become that user.
"""

import json
import os
import random
import re
import signal
import unittest
from pathlib import Path

from cache_reader import USER, CacheReader
from cim_object_manager import Class, InstancePath, ObjectManager, declaration
from cimgate_host import BASE, NO_OBJECT_MANAGER, member_entry, wait_until
from filler import Filler, reading_service
from filler_kills import READ_CLASSES, Generations, Kills, mapping
from oem_client import OemService
from scripted_object_manager import ScriptedObjectManager

SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])
KILLS = 50
# Longer than any read takes that waits for nobody, on a machine with other work; a lock is waited for up to 10 s.
SLOW_MS = 2000
TEXT = {"cim_type": "string"}
# No refresh comes by itself while a test looks.
SELDOM = ("--interval", "3600")


def setUpModule():  # pylint: disable=invalid-name
    if os.geteuid() != 0:
        raise AssertionError("readers of another user cannot be tried: run the tests as root")


def others_service(filler, *options):
    """A service of the other user, who may read a filler's files."""
    service = reading_service(filler, "--user", USER, *options)
    service.directory.chmod(0o755)
    return service


def kill_all(filler):
    """Ends all its processes at one time."""
    os.killpg(filler.process.pid, signal.SIGKILL)
    filler.kill()


class ReadersTest(unittest.TestCase):
    maxDiff = None

    def generations(self, *options):
        """A filler of classes that have another generation each time that they are asked for."""
        manager = self.enterContext(ScriptedObjectManager(Generations()))
        return self.filler(mapping(), manager.url, *options)

    def filler(self, wanted, url, *options):
        filler = Filler(wanted, url, options)
        self.addCleanup(filler.discard)
        return filler

    def things(self, *options, count=20):
        """An object manager with things, and a filler of them."""
        things = Class("XCIM_Thing", {"InstanceID": "string", "A": "string"})
        elements = things.elements([{"InstanceID": f"T.{i}", "A": "a"} for i in range(count)])
        manager = self.enterContext(ObjectManager({"repository.xml": declaration(elements)}))
        return manager, self.filler(member_entry("VexoThing", "XCIM_Thing", {"A": TEXT}), manager.url, *options)


class OtherUser(ReadersTest):
    def test_a_service_that_was_there_before_the_file_answers_as_soon_as_a_class_is_ready(self):
        manager, filler = self.things()
        uri = f"{BASE}/VexoThing/T.7"
        with others_service(filler) as service:
            front, spawner = service.process.pid, service.spawner()
            answer = service.get(uri)
            self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
            with filler:
                wait_until(lambda: service.get(uri).status == 200, "an answer from the cache")
                self.assertEqual(service.get(uri).json()["A"], "a")
                manager.modify(InstancePath("XCIM_Thing", InstanceID="T.7"), {"A": ("string", "b")})
                filler.refresh()
                self.assertEqual(service.get(uri).json()["A"], "b")
            self.assertEqual(service.get(uri).json()["A"], "b")
            self.assertEqual((service.process.pid, service.spawner()), (front, spawner))

    def test_a_reader_sees_each_refresh_whatever_becomes_of_the_filler(self):
        filler = self.generations(*SELDOM)
        lasting = self.enterContext(CacheReader(filler.cache_path, READ_CLASSES, is_lasting=True, pause_s=3600))
        self.assertEqual(lasting.read(), {})

        def seen():
            with CacheReader(filler.cache_path, READ_CLASSES, is_lasting=False, pause_s=3600) as brief:
                both = brief.read(), lasting.read()
            self.assertEqual(*both)
            return both[0]["XCIM_Small"]

        for end in (filler.stop, lambda: kill_all(filler), filler.kill):
            filler.start_filled()
            first = seen()
            filler.refresh()
            second = seen()
            self.assertGreater(second, first)
            end()
            self.assertEqual(seen(), second)
        filler.start_filled()
        self.assertGreater(seen(), second)

    def test_a_file_on_its_own_is_read(self):
        filler = self.generations(*SELDOM)
        for end in (filler.stop, filler.kill):
            filler.start_filled()
            end()
            # Nobody has it open now; the second one comes while the first one reads.
            with CacheReader(filler.cache_path, READ_CLASSES, is_lasting=True, pause_s=3600) as first:
                seen = first.read()
                with CacheReader(filler.cache_path, READ_CLASSES, is_lasting=True, pause_s=3600) as second:
                    self.assertEqual((second.read(), first.read()), (seen, seen))
                    filler.start_filled()
                    self.assertGreater(first.read()["XCIM_Small"], seen["XCIM_Small"])
                    self.assertEqual(second.read(), first.read())
                    filler.stop()

    def test_index_of_the_log_that_is_half_written_is_waited_for(self):
        filler = self.generations(*SELDOM)
        filler.start_filled()
        with others_service(filler) as service:
            uri = f"{BASE}/VexoSmall/XCIM_Small.0"
            before = service.get(uri).json()["Generation"]
            # As a writer leaves it that is killed at it: the two copies of its header differ.
            with Path(f"{filler.cache_path}-shm").open("r+b") as index:
                index.write(bytes(8))
            pending = service.start_get(uri)
            filler.process.send_signal(signal.SIGHUP)
            answer = pending.answer()
            self.assertEqual(answer.status, 200, service.log())
            self.assertGreaterEqual(answer.json()["Generation"], before)
            self.assertNotIn("cannot be read", service.log())

    def test_index_of_the_log_that_stays_half_written_is_503(self):
        filler = self.generations(*SELDOM)
        filler.start_filled()
        with others_service(filler) as service:
            uri = f"{BASE}/VexoSmall/XCIM_Small.0"
            self.assertEqual(service.get(uri).status, 200)
            with Path(f"{filler.cache_path}-shm").open("r+b") as index:
                index.write(bytes(8))
            answer = service.get(uri)
            self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
            filler.refresh()
            self.assertEqual(service.get(uri).status, 200)

    def test_the_other_user_can_write_nothing_there(self):
        filler = self.generations()
        filler.start_filled()
        for path in filler.directory.iterdir():
            self.assertEqual(path.stat().st_mode & 0o022, 0, path)
        self.assertEqual(filler.directory.stat().st_mode & 0o022, 0)

    def test_kills_at_any_moment_are_not_noticed(self):
        seed = random.SystemRandom().randrange(2**32)
        with Kills(seed) as kills:
            kills.run(KILLS)
            figures = kills.figures()
        with self.subTest(seed=seed, **figures):
            self.assertEqual(figures["faults"], [])
            self.assertLess(max(*figures["slowest_read_ms"], figures["slowest_answer_ms"]), SLOW_MS)
            self.assertGreater(min(*figures["reads"], figures["answers"]), KILLS)
            self.assertGreater(min(figures["changes"]), KILLS // 2)


class Unchanged(ReadersTest):
    def test_a_refresh_without_changes_writes_nothing(self):
        manager, filler = self.things()
        filler.start_filled()
        log = Path(f"{filler.cache_path}-wal")

        def traces(connection):
            about = log.stat()
            return (connection.execute("pragma data_version").fetchone(), about.st_size, about.st_mtime_ns,
                    filler.cache_path.stat().st_mtime_ns)

        with filler.connection() as connection:
            before = traces(connection)
            for _ in range(3):
                filler.refresh()
            self.assertEqual(traces(connection), before)
            self.assertEqual(filler.class_status("XCIM_Thing")["changed"], 0)
            manager.modify(InstancePath("XCIM_Thing", InstanceID="T.7"), {"A": ("string", "b")})
            filler.refresh()
            self.assertNotEqual(traces(connection)[0], before[0])
            self.assertEqual(filler.class_status("XCIM_Thing")["changed"], 1)


class Sample(ReadersTest):
    """What the library asks of the sample's data cache."""

    def test_only_collections_and_counts_are_scanned(self):
        files = {path.name: path.read_text(encoding="utf-8") for path in (SOURCE_DIR / "data/sample/cim").iterdir()}
        manager = self.enterContext(ObjectManager(files))
        wanted = json.loads((SOURCE_DIR / "data/resourcemapping.json").read_text(encoding="utf-8"))
        filler = self.filler(wanted, manager.url)
        self.assertEqual(filler.fill(), [])
        others = self.instance_queries(wanted)
        for line in self.logged_queries(filler, wanted):
            self.assertTrue(any(query.startswith(line) for query in others) or " where " not in line, line)
        with filler.connection() as connection:
            for query in others | self.other_queries():
                plan = [detail for *_, detail in connection.execute(f"explain query plan {query}",
                                                                    ["x"] * query.count("?"))]
                self.assertEqual([step for step in plan if not step.startswith(("SEARCH ", "SCALAR SUBQUERY "))], [], query)

    @staticmethod
    def instance_queries(wanted):
        """The SELECTs of instances, by their key and by the conditions of containers."""
        queries = set()
        conditions = [(resource, how["QueryClause"].replace("#p1", "x")) for entry in wanted.values()
                      for resource, how in entry.get("instances", {}).items() if how["QueryClause"]]
        for name, entry in wanted.items():
            for cim_class, mapped in entry.get("mappings", {}).items():
                if not mapped.get("is_cached"):
                    continue
                key = entry["UniqueSelector"]
                query = f"select {','.join([*sorted(mapped['properties']), key])} from Tbl_{cim_class} where "
                queries.add(f"{query}{key} = ?")
                queries |= {f"{query}{condition} COLLATE NOCASE" for resource, condition in conditions if resource == name}
        return queries

    @staticmethod
    def other_queries():
        """Those of links and readiness."""
        links = {"select __LeftClass, __LeftClassKey, __RightClass, __RightClassKey from Tbl_xcim_enclosureemmdependency "
                 f"where {side} = ?" for side in ("__LeftClassKey", "__RightClassKey")}
        return links | {'select count(*) from Tbl_CMPIReady where ClassName = "XCIM_DiskDrive" COLLATE NOCASE'}

    def logged_queries(self, filler, wanted):
        """What the library logs of those that it made for an instance of each class and for each container; long ones are
        cut."""
        with reading_service(filler, "--log-level", "4", kind=OemService) as service:
            for entry in wanted.values():
                members = service.get(entry["@odata.id"] + "?$top=1").json().get("Members", []) \
                    if entry.get("is_collection") else []
                for member in members:
                    self.assertIn(service.get(member["@odata.id"]).status, (200, 503))
            for container, instance in (("DriveOem", "Disk.Bay.0:Enclosure.2"), ("MemoryOem", "DIMM.Socket.A1")):
                self.assertTrue(service.ask(container, instance))
            logged = re.findall(r"(?:Execute|Formed) query (select .*)$", service.log(), re.MULTILINE)
        self.assertGreater(len(logged), 20)
        return {line.removesuffix(" is success") for line in logged}


class Large(ReadersTest):
    def test_200_classes_with_10000_rows_small_ones_first(self):
        count, few, many = 200, 25, 5025
        names = [f"XCIM_Class{number:03}" for number in range(count)]
        elements, wanted = [], {}
        for name in names:
            properties = {"InstanceID": "string", "A": "string", "B": "uint32"}
            rows = many if name == names[0] else few
            elements += Class(name, properties).elements([{"InstanceID": f"{name}.{i}", "A": "a", "B": i} for i in range(rows)])
            wanted |= member_entry(name.replace("XCIM_", "Vexo"), name, {"A": TEXT, "B": {"cim_type": "uint32"}})
        manager = self.enterContext(ObjectManager({"repository.xml": declaration(elements)}))
        filler = self.filler(wanted, manager.url)
        filler.start_filled()
        lines = filler.lines()
        self.assertEqual([re.sub(r" in \d+ ms, ", ", ", line) for line in lines],
                         [f"cimgate-cached: {name}: {few} rows, {few} written" for name in names[1:]]
                         + [f"cimgate-cached: {names[0]}: {many} rows, {many} written"])
        self.assertEqual(filler.ready(), names)
        self.assertEqual(sum(one["rows"] for one in filler.status()["classes"]), 10000)
        service = self.enterContext(others_service(filler, "--cim", NO_OBJECT_MANAGER))
        for name, key in ((names[0], many - 1), (names[7], 3)):
            answer = service.get(f"{BASE}/{name.replace('XCIM_', 'Vexo')}/{name}.{key}")
            self.assertEqual((answer.status, answer.json()["B"]), (200, key))


if __name__ == "__main__":
    unittest.main(verbosity=2)
