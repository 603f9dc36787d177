#!/usr/bin/python3
"""Resources of a service file, made of what mapped resources answer: of one state of the data cache, kept while that is
unchanged, and never failed by a part that is not there.

Environment: as in cimgate_host.py.
"""

import gzip
import sqlite3
import threading
import unittest

from cimgate_host import NO_DEADLINE, ServiceTest, ask, wait_until
from composed_service import (BASE, CHASSIS, DEADLY, GONE, HEALTHS, LEFT, LIVE, NOT_READY, RIGHT, ROOT, THING, THINGS,
                              ComposedService, chassis, missing, of)
from scripted_object_manager import ScriptedObjectManager, found

# Reads beside a writer, and how many states of the cache they must have seen to say something.
READS = 150
STATES = 5
ENDS = 3  # of workers at one target, until it is refused


class Values(ServiceTest):
    def values(self, **declared):
        """The values of a chassis with these sources."""
        with ComposedService(chassis(**declared)) as service:
            body = service.body()
        return {name: body[name] for name in declared} | ({"Status": body["Status"]} if "Status" in body else {})

    def test_are_what_the_parts_show(self):
        self.assertEqual(
            self.values(A=of(THING, "A"), On=of(THING, "IsOn"), N=of(THING, "N"), Watts=of(THING, "N", divide=1000),
                        Health=of(THING, "Health", values=HEALTHS), Words=of(THING, "Words"),
                        Healths=of(THING, "Words", values=HEALTHS), Named=of(THING, "IsOn", values={"true": "On", "false": "Off"}),
                        Unnamed=of(THING, "A", values={"other": "x"}), Null=of(f"{BASE}/VexoThing/T.3", "A")),
            {"A": "first", "On": True, "N": 1500, "Watts": 1.5, "Health": "OK", "Words": ["Good", "Poor", "other"],
             "Healths": ["OK", "Warning"], "Named": "On", "Unnamed": None, "Null": None})

    def test_are_aggregates_over_all_pages(self):
        few, many = f"{BASE}/VexoFewCollection", f"{BASE}/VexoManyCollection"
        self.assertEqual(
            self.values(Count={"count": many}, Both={"count": [few, THINGS]}, One={"count": THING},
                        Sum={"sum": few, "property": "N"}, Kilo={"sum": THINGS, "property": "N", "divide": 1000},
                        Sums={"sum": [THING, THINGS], "property": "N"}, Together={"sum": [few, THINGS], "property": "N"},
                        Worst={"worst": THINGS, "property": "Health", "values": HEALTHS},
                        WorstOfOne={"worst": [THING], "property": "Health", "values": HEALTHS},
                        WorstOfNone={"worst": f"{BASE}/VexoThing/T.3", "property": "Health", "values": HEALTHS}),
            {"Count": 1001, "Both": 1003, "One": 1, "Sum": 1000, "Kilo": 2, "Sums": 3500, "Together": 3000, "Worst": "Warning",
             "WorstOfOne": "OK", "WorstOfNone": None})

    def test_of_a_part_of_a_collection_end_where_that_ends(self):
        few = f"{BASE}/VexoFewCollection"
        parts = {"?$skip=950": 50, "?$skip=900": 100, "?$skip=990": 10, "?$top=50": 50, "?$top=120": 120,
                 "?$skip=800&$top=100": 100, "?$skip=900&$top=100": 100, "?$skip=940&$top=100": 60}
        self.assertEqual(self.values(**{part: {"sum": few + part, "property": "N"} for part in parts}), parts)

    def test_of_more_rows_than_may_be_are_null_and_told(self):
        many = f"{BASE}/VexoManyCollection"
        values = self.values(A=of(THING, "A"), Sum={"sum": many, "property": "N"}, Status={"State": "Enabled"})
        self.assertEqual((values["A"], values["Sum"], values["Status"]["State"]), ("first", None, "Enabled"))
        self.assertEqual(missing(values["Status"]), [(["#/Sum"], "ServiceTemporarilyUnavailable")])

    def test_of_collections_whose_pages_cannot_be_asked_for_are_null_and_told(self):
        page, stuck = f"{BASE}/VexoPageCollection", f"{BASE}/VexoStuckCollection"
        values = self.values(Count={"count": stuck}, Page={"sum": page, "property": "N"}, Sum={"sum": stuck, "property": "N"})
        self.assertEqual((values["Count"], values["Page"], values["Sum"]), (51, 50, None))
        self.assertEqual(missing(values["Status"]), [(["#/Sum"], "ServiceTemporarilyUnavailable")])

    def test_that_not_all_members_are_known_for_are_in_the_log(self):
        for collection, why in (("VexoMany", "has too many members"), ("VexoStuck", "shows no more than its first page")):
            uri = f"{BASE}/{collection}Collection"
            declared = chassis(Count={"count": uri}, Last=of(THING, "A"), Sum={"sum": uri, "property": "N"})
            with ComposedService(declared) as service:
                service.body()
                [line] = [line for line in service.lines() if CHASSIS in line]
            self.assertRegex(line, rf"its part {uri} {why}\W.*\(entry {collection}Collection, class XCIM_{collection[4:]}\)")

    def test_are_embedded_data_of_a_container(self):
        thing = {"embed": "ThingOem", "id": "T.1"}
        values = self.values(Oem={"Vexo": {"Thing": thing, "None": {"embed": "NoOem", "id": "T.1"}}})
        self.assertEqual(values["Oem"]["Vexo"]["Thing"]["VexoThing"]["A"], "first")
        self.assertIsNone(values["Oem"]["Vexo"]["None"])
        self.assertEqual(missing(values["Status"]), [(["#/Oem/Vexo/None"], "ResourceMissingAtURI")])


class Parts(ServiceTest):
    """Of which one is not there, or ends its worker."""

    def test_one_that_does_not_exist_gives_null_and_a_status(self):
        declared = chassis(A=of(THING, "A"), B=of(GONE, "A"), Status={"State": "Enabled"})
        with ComposedService(declared) as service:
            body = service.body()
            self.assertEqual((body["A"], body["B"], body["Status"]["State"]), ("first", None, "Enabled"))
            self.assertEqual(missing(body["Status"]), [(["#/B"], "ResourceMissingAtURI")])

    def test_all_that_do_not_exist_make_it_absent(self):
        with ComposedService(chassis(B=of(GONE, "A"), Status={"State": "Enabled"})) as service:
            self.assertEqual(service.body()["Status"]["State"], "Absent")

    def test_one_that_is_not_ready_makes_it_unavailable_until_it_is(self):
        with ComposedService(chassis(B=of(NOT_READY, "A"), C=of(f"{BASE}/VexoThing/T.3", "A"))) as service:
            for _ in range(3):
                body = service.body()
                self.assertEqual((body["B"], body["Status"]["State"]), (None, "UnavailableOffline"))
                self.assertEqual(missing(body["Status"]), [(["#/B"], "ServiceTemporarilyUnavailable")])
            line = next(line for line in service.lines() if CHASSIS in line)
            self.assertRegex(line, r"not ready in the data cache.*\(entry VexoLate, class XCIM_Late\)")
            with sqlite3.connect(service.cache_path) as writer:
                writer.execute("insert into Tbl_CMPIReady values ('XCIM_Late')")
            writer.close()
            body = service.body()
            self.assertEqual((body["B"], body.get("Status")), ("late", None))
            self.assertEqual(service.given_again(), 0)

    def test_an_object_manager_that_is_away_costs_only_its_values(self):
        with ComposedService(chassis(A=of(THING, "A"), B=of(LIVE, "A"))) as service:
            answer = service.get(CHASSIS)
            self.assertEqual((answer.status, answer.json()["A"], answer.json()["B"]), (200, "first", None))
            self.assertEqual(answer.json()["Status"]["State"], "UnavailableOffline")
            # One line of the log says which, and why.
            [line] = [line for line in service.lines() if CHASSIS in line]
            self.assertRegex(line, r"object manager.*\(entry VexoLive, class XCIM_Live\)")

    def test_a_cache_that_is_not_there_yet_costs_only_its_values(self):
        with ComposedService(chassis(A=of(THING, "A"))) as service:
            service.cache_path.rename(service.directory / "away")
            service.kill_workers()
            body = service.body()
            self.assertEqual((body["Name"], body["A"], body["Status"]["State"]), ("C", None, "UnavailableOffline"))
            (service.directory / "away").rename(service.cache_path)
            self.assertEqual(wait_until(lambda: service.body()["A"], "the cache"), "first")

    def test_one_that_ends_its_worker_costs_that_request_alone(self):
        declared = chassis(B=of(DEADLY, "A")) | {f"{CHASSIS}2": {**chassis(A=of(THING, "A"))[CHASSIS]}}
        with ComposedService(declared) as service:
            for _ in range(ENDS):
                self.assertEqual(service.get(CHASSIS).status, 500)
                self.assertEqual(service.body(f"{CHASSIS}2")["A"], "first")
            refused = service.get(CHASSIS)
            self.assertEqual((refused.status, refused.get("Retry-After")), (503, "60"))
            self.assertEqual(service.body(f"{CHASSIS}2")["A"], "first")
            wait_until(lambda: service.log().count(f"ended by signal 6 at GET {CHASSIS}") == ENDS, "the workers' end")


class OneState(ServiceTest):
    def test_all_cached_parts_of_an_answer_are_of_one_transaction(self):
        declared = chassis(Left=of(LEFT, "N"), Right=of(RIGHT, "N"), Sum={"sum": [LEFT, f"{BASE}/VexoRightCollection"], "property": "N"})
        with ComposedService(declared, "--kept-answers", "0") as service:
            with sqlite3.connect(service.cache_path) as writer:
                writer.execute("pragma journal_mode = wal")
            writer.close()
            done = threading.Event()

            def write():
                connection = sqlite3.connect(service.cache_path)
                number = 0
                while not done.is_set():
                    number += 1
                    with connection:  # commits
                        connection.execute("update Tbl_XCIM_Left set N = ?", (number,))
                        connection.execute("update Tbl_XCIM_Right set N = ?", (number,))
                connection.close()

            thread = threading.Thread(target=write)
            thread.start()
            try:
                seen = [service.body() for _ in range(READS)]
            finally:
                done.set()
                thread.join()
            self.assertEqual([body for body in seen if body["Left"] != body["Right"] or body["Sum"] != 2 * body["Left"]], [])
            self.assertGreater(len({body["Left"] for body in seen}), STATES)


class Kept(ServiceTest):
    def test_third_request_needs_no_worker_until_the_cache_changes(self):
        with ComposedService(chassis(A=of(THING, "A"), Sum={"sum": THINGS, "property": "N"})) as service:
            first = service.get(CHASSIS)
            for count in (0, 1, 2):
                self.assertEqual(service.get(CHASSIS).body, first.body)
                self.assertEqual(service.given_again(), count)
            for number in range(20):
                with sqlite3.connect(service.cache_path) as writer:
                    writer.execute("update Tbl_XCIM_Thing set N = ? where N is not null", (number,))
                writer.close()
                for _ in range(3):
                    self.assertEqual(service.body()["Sum"], 2 * number)

    def test_a_kept_answer_is_refused_for_the_same_reasons_as_any(self):
        with ComposedService(chassis(A=of(THING, "A"))) as service:
            for _ in range(3):
                self.assertEqual(service.get(CHASSIS).status, 200)
            self.assertEqual(service.get(CHASSIS, "-H", "Accept: text/html").status, 406)
            self.assertEqual(service.get(CHASSIS, "-H", "OData-Version: 3.0").status, 412)
            self.assertEqual(service.get(CHASSIS, "-H", "Host: evil.example").status, 421)
            self.assertEqual(service.given_again(), 1)

    def test_queries_are_kept_apart(self):
        with ComposedService(chassis(A=of(THING, "A"), B=of(THING, "N"))) as service:
            for _ in range(4):
                self.assertEqual(set(service.body(f"{CHASSIS}?$select=A")) - {"@odata.id", "@odata.type", "@odata.context"}, {"A"})
                self.assertEqual(service.body()["B"], 1500)
            self.assertEqual(service.given_again(), 4)

    def test_entity_tag_holds_and_bodies_are_compressed(self):
        with ComposedService(chassis(A=of(THING, "A"), Things={"embed": "ThingOem", "id": "T.1"}, Long="x" * 5000)) as service:
            for _ in range(3):
                plain = service.get(CHASSIS)
                coded = ask(service.base, CHASSIS, headers=["Accept-Encoding: gzip"])
                self.assertEqual(coded.get("Content-Encoding"), "gzip")
                self.assertEqual(gzip.decompress(coded.body), plain.body)
                self.assertNotEqual(coded.get("ETag"), plain.get("ETag"))
                for answer in (plain, coded):
                    coding = ["Accept-Encoding: gzip"] if answer is coded else []
                    again = service.get(CHASSIS, "-H", f"If-None-Match: {answer.get('ETag')}",
                                        *(option for header in coding for option in ("-H", header)))
                    self.assertEqual((again.status, again.body), (304, b""))
            with sqlite3.connect(service.cache_path) as writer:
                writer.execute("update Tbl_XCIM_Thing set A = 'changed'")
            writer.close()
            changed = service.get(CHASSIS, "-H", f"If-None-Match: {plain.get('ETag')}")
            self.assertEqual((changed.status, changed.json()["A"]), (200, "changed"))

    def test_an_answer_with_a_live_part_is_never_kept(self):
        answers = iter(range(100))
        with ScriptedObjectManager(lambda _: found("XCIM_Live", A=f"a{next(answers)}")) as manager:
            declared = chassis(A=of(THING, "A"), B=of(LIVE, "A"))
            declared[f"{ROOT}/Chassis"] = {"@odata.type": "#ChassisCollection.ChassisCollection", "Name": "Chassis"}
            with ComposedService(declared, "--cim", manager.url) as service:
                self.assertEqual([service.body()["B"] for _ in range(5)], [f"a{i}" for i in range(5)])
                self.assertEqual(service.given_again(), 0)
                # Nor one that is made of it by a query of a resource that is constant itself.
                expanded = [service.body(f"{ROOT}/Chassis?$expand=.")["Members"][0]["B"] for _ in range(4)]
                self.assertEqual(expanded, [f"a{i}" for i in range(5, 9)])
                self.assertEqual(service.given_again(), 0)


class Waiting(ServiceTest):
    def test_a_hung_object_manager_does_not_hold_up_what_the_cache_has(self):
        declared = chassis(A=of(THING, "A"), B=of(LIVE, "A")) | {f"{CHASSIS}2": {**chassis(A=of(THING, "A"))[CHASSIS]}}
        with ScriptedObjectManager(None) as manager, ComposedService(declared, *NO_DEADLINE, "--workers", "2", "--cim",
                                                                     manager.url) as service:
            slow = [service.start_get(CHASSIS) for _ in range(3)]
            manager.await_request()
            for number in range(20):
                self.assertEqual(service.body(f"{CHASSIS}2?n={number}")["A"], "first")
            self.assertFalse(any(one.is_done() for one in slow))
            manager.release(found("XCIM_Live", A="a"))
            self.assertEqual([one.answer().json()["B"] for one in slow], ["a", "a", "a"])

    def test_a_writer_does_not_wait_while_a_live_part_is_read(self):
        with ScriptedObjectManager(None) as manager, ComposedService(chassis(A=of(THING, "A"), B=of(LIVE, "A")), *NO_DEADLINE,
                                                                     "--cim", manager.url) as service:
            slow = service.start_get(CHASSIS)
            manager.await_request()
            # In this journal's mode a writer has to wait for every reader.
            with sqlite3.connect(service.cache_path, timeout=0) as writer:
                writer.execute("update Tbl_XCIM_Thing set A = 'changed'")
            writer.close()
            manager.release(found("XCIM_Live", A="a"))
            body = slow.answer().json()
            self.assertEqual((body["A"], body["B"]), ("first", "a"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
