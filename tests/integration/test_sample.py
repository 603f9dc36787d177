#!/usr/bin/python3
"""The sample system, read by a client that follows every link.

Starts the service with the mapping of data/ and a cache that was filled from the sample's object manager, begins at the
collections and services, follows every "@odata.id" and next link, and compares what it has seen with the rows of the
cache.

Environment: as in cimgate_host.py and sample_system.py.
"""

import contextlib
import json
import os
import re
import signal
import sqlite3
import struct
import tempfile
import time
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import cimgate_host
from sample_system import MAPPING_FILE, fill_cache, make_sample_cache, sample_object_manager

SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])

CHASSIS = "/redfish/v1/Vexo/Chassis/System.Embedded.1"
SYSTEM = "/redfish/v1/Vexo/Systems/System.Embedded.1"
MANAGER = "/redfish/v1/Vexo/Managers/Tavix.Embedded.1"

# Jobs are where every "Location" says, and not below the vendor's own URIs.
JOBS = "/redfish/v1/Managers/Tavix.Embedded.1/Jobs"
JOBS_ENTRIES = ("Jobs", "VexoJobs")

# Where a crawl begins: nothing links to these.
ENTRY_URIS = [
    "/redfish/v1/Vexo/Systems/VexoSystemCollection",
    CHASSIS + "/VexoEnclosureCollection",
    CHASSIS + "/VexoEnclosureEMMCollection",
    CHASSIS + "/Power/PowerSupplies/VexoPowerSupplyCollection",
    SYSTEM + "/VexoPSNumericSensorCollection",
    SYSTEM + "/VexoNumericSensorCollection",
    SYSTEM + "/VexoDriveCollection",
    SYSTEM + "/VexoVolumeCollection",
    SYSTEM + "/VexoMemoryCollection",
    MANAGER + "/VexoSoftwareIdentityCollection",
    SYSTEM + "/VexoPowerManagementService",
    CHASSIS + "/VexoIndicatorService",
    SYSTEM + "/VexoDiagnosticService",
    MANAGER + "/VexoSoftwareInstallationService",
]

# Links that lead back, by link name, and the link name on the other side.
TWO_WAY_LINKS = {
    "VexoEnclosureEMMCollection": "VexoEnclosureCollection",
    "VexoEnclosureCollection": "VexoEnclosureEMMCollection",
    "VexoPSNumericSensorCollection": "VexoPowerSupplyCollection",
    "VexoPowerSupplyCollection": "VexoPSNumericSensorCollection",
}


def without_containers(mapping):
    """The entries of resources; containers only embed those, for the message queue."""
    return {name: entry for name, entry in mapping.items() if "instances" not in entry}


def without_live_resources(mapping):
    """The entries that are answered without an object manager: cached ones, and services without instances."""
    def is_live(entry):
        [(name, class_map)] = entry["mappings"].items()
        if entry.get("is_collection"):
            return is_live(mapping[name])
        return bool(entry.get("UniqueSelector") or entry.get("Selectors")) and not class_map.get("is_cached")
    return {name: entry for name, entry in mapping.items() if not is_live(entry)}


class Sample(cimgate_host.Service):
    """The running service and the cache behind it."""

    def __init__(self, options=cimgate_host.VERBATIM):
        text = MAPPING_FILE.read_text(encoding="utf-8")
        super().__init__(text, options=options)
        self.mapping = without_live_resources(without_containers(json.loads(text)))
        make_sample_cache(self.cache_path)

    def stop(self, signal_number=signal.SIGTERM):
        """Ends the service, which must not have lost a worker before."""
        if "cimgated: worker" in self.log():
            raise AssertionError(self.log())
        super().stop(signal_number)

    def rows(self, query):
        connection = sqlite3.connect(f"file:{self.cache_path}?mode=ro", uri=True)
        connection.row_factory = sqlite3.Row
        try:
            return connection.execute(query).fetchall()
        finally:
            connection.close()

    def member_entries(self):
        """The entries of collection members: name, entry, class name, class map."""
        for name, entry in self.mapping.items():
            if entry.get("UniqueSelector"):
                [(class_name, class_map)] = entry["mappings"].items()
                yield name, entry, class_name, class_map


def referenced_uris(value):
    """Every "@odata.id" and next link in an answer, at any depth."""
    if isinstance(value, dict):
        for name, member in value.items():
            if name in ("@odata.id", "Members@odata.nextLink"):
                yield member
            else:
                yield from referenced_uris(member)
    elif isinstance(value, list):
        for element in value:
            yield from referenced_uris(element)


def crawl(sample):
    answers = {}
    waiting = list(ENTRY_URIS)
    while waiting:
        uri = waiting.pop()
        if uri not in answers:
            answers[uri] = sample.get(uri)
            waiting.extend(referenced_uris(answers[uri].json()))
    return answers


def shown_number(number, cim_type):
    if cim_type == "boolean":
        return number == 1
    if cim_type == "datetime":
        return time.strftime("%Y-%m-%dT%H:%M:%S+0000", time.gmtime(number // 1000000))
    return number


def shown_array(blob, mapping):
    kind, count = struct.unpack_from("<ii", blob)
    elements = blob[8:].decode().split("#\u2591#") if count > 0 else []
    assert len(elements) == count, (elements, count)
    words = mapping.get("value_mapping")
    if words:
        return [words.get(element, element) for element in elements]
    if kind == 1:
        return elements
    return [shown_number(int(element), mapping["cim_type"]) for element in elements]


def shown(cell, mapping):
    """What an answer shows for a cell of the cache."""
    if cell is None or cell == "":
        return None
    if isinstance(cell, bytes):
        return shown_array(cell, mapping)
    words = mapping.get("value_mapping")
    if words:
        return words.get(str(cell), str(cell))
    return shown_number(cell, mapping["cim_type"]) if isinstance(cell, int) else cell


def shown_name(prop, mapping):
    return mapping.get("alias") or prop


def instance_uri(entry, key):
    return entry["@odata.id"] + "/" + key.replace("#", "%23")


def declared_methods():
    """The methods of the CIM classes: (class, method) -> parameter -> (CIM type, whether it is an array)."""
    methods = {}
    for path in (SOURCE_DIR / "data" / "sample" / "cim").glob("*.xml"):
        for cim_class in ElementTree.parse(path).iter("CLASS"):
            for method in cim_class.iter("METHOD"):
                methods[cim_class.get("NAME"), method.get("NAME")] = {
                    parameter.get("NAME"): (parameter.get("TYPE", "reference"), parameter.tag == "PARAMETER.ARRAY")
                    for parameter in method if parameter.tag.startswith("PARAMETER")}
    return methods


class SampleData(unittest.TestCase):
    """What the sample promises to contain."""

    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory(prefix="cimgate-sample-")
        cls.addClassCleanup(directory.cleanup)
        cls.cache = Path(directory.name) / "cache.db"
        make_sample_cache(cls.cache)
        cls.database = sqlite3.connect(cls.cache)
        cls.addClassCleanup(cls.database.close)
        entries = json.loads(MAPPING_FILE.read_text(encoding="utf-8"))
        cls.mapping = without_containers(entries)
        cls.containers = {name: entry for name, entry in entries.items() if name not in cls.mapping}

    def tables(self):
        return [name for name, in self.database.execute("select name from sqlite_master where type = 'table'")]

    def test_every_cell_type_but_real_is_used(self):
        types = set()
        for table in self.tables():
            for _, column, *_ in self.database.execute(f"pragma table_info({table})").fetchall():
                types |= {kind for kind, in self.database.execute(f"select distinct typeof({column}) from {table}")}
        self.assertEqual(types, {"integer", "text", "blob", "null"})

    def test_every_family_of_cim_types_is_used(self):
        used = {(mapping["cim_type"], mapping.get("is_arraytype", False))
                for entry in self.mapping.values() for class_map in entry["mappings"].values()
                for mapping in class_map.get("properties", {}).values()}
        for cim_type in ("string", "boolean", "datetime", "uint8", "uint16", "uint32", "uint64",
                         "sint8", "sint16", "sint32", "sint64"):
            self.assertIn((cim_type, False), used)
        for cim_type in ("string", "boolean", "datetime", "uint8", "uint16", "uint32", "sint8"):
            self.assertIn((cim_type, True), used)

    def test_every_mapped_property_has_a_column(self):
        for name, entry in self.mapping.items():
            for class_name, class_map in entry["mappings"].items():
                if class_map.get("is_cached"):
                    columns = {row[1] for row in self.database.execute(f"pragma table_info(Tbl_{class_name})")}
                    self.assertLessEqual(set(class_map["properties"]), columns, name)

    def test_no_collection_ends_with_a_page(self):
        for class_name in {name for entry in self.mapping.values() for name, class_map in entry["mappings"].items()
                           if class_map.get("is_cached")}:
            (count,), = self.database.execute(f"select count(*) from Tbl_{class_name}")
            self.assertTrue(count == 0 or count % 50 != 0, class_name)

    def test_keys_are_text_and_have_no_alias(self):
        cached = without_live_resources(self.mapping)
        for name, entry in self.mapping.items():
            key = entry.get("UniqueSelector")
            if key:
                [(class_name, class_map)] = entry["mappings"].items()
                self.assertNotIn("alias", class_map["properties"].get(key, {}), name)
            if key and name in cached:
                types = {kind for kind, in self.database.execute(f"select typeof({key}) from Tbl_{class_name}")}
                self.assertLessEqual(types, {"text"}, name)

    def test_every_entry_is_named_like_the_last_segment_of_its_uri(self):
        for name, entry in self.mapping.items():
            if name not in JOBS_ENTRIES:
                self.assertEqual(entry["@odata.id"].rsplit("/", 1)[1], name)
                self.assertIn("Vexo", name)

    def test_jobs_have_their_uri_from_one_entry_and_their_properties_from_another(self):
        resource, registering = (self.mapping[name] for name in JOBS_ENTRIES)
        self.assertEqual(resource["@odata.id"], JOBS)
        self.assertEqual(registering["@odata.id"], JOBS)
        self.assertTrue(resource["UniqueSelector"])

    def test_containers_have_no_uri_and_embed_cached_instances_that_have_one_key(self):
        self.assertEqual(sorted(self.containers), ["DriveOem", "MemoryOem"])
        for name, container in self.containers.items():
            self.assertNotIn("Vexo", name)
            for embedded in container["instances"]:
                entry = self.mapping[embedded]
                [class_map] = entry["mappings"].values()
                self.assertTrue(class_map["is_cached"], embedded)
                self.assertEqual(class_map["key_properties"], [entry["UniqueSelector"]], embedded)

    def test_every_action_has_a_method(self):
        methods = 0
        for name, entry in self.mapping.items():
            for class_map in entry["mappings"].values():
                for action, description in class_map.get("Actions", {}).items():
                    target = description["target"]
                    self.assertEqual(target, f"{entry['@odata.id']}/Actions/{action[1:]}", name)
                    method = class_map["methods"][action.split(".", 1)[1]]
                    self.assertTrue(all("redfish_type" in value for value in method["inputs"].values()), action)
                    self.assertIn("outputs", method, action)
                    methods += 1
        self.assertGreaterEqual(methods, 4)

    def test_every_method_is_declared_as_it_is_mapped(self):
        declared = declared_methods()
        for name, entry in self.mapping.items():
            for class_name, class_map in entry["mappings"].items():
                for method, description in class_map.get("methods", {}).items():
                    parameters = {values.get("alias") or parameter:
                                  (values["cim_type"], values.get("is_arraytype", False))
                                  for group in ("inputs", "outputs")
                                  for parameter, values in description[group].items()}
                    self.assertEqual(declared[class_name, method], parameters, name)


class Crawl(unittest.TestCase):
    """What a client sees that begins at the documented URIs and follows every link."""

    @classmethod
    def setUpClass(cls):
        cls.sample = cls.enterClassContext(Sample())
        cls.answers = crawl(cls.sample)
        cls.bodies = {uri: answer.json() for uri, answer in cls.answers.items() if answer.status == 200}

    def members_of(self, uri):
        """The members of a collection, over all of its pages, and the sizes of these."""
        members, sizes = [], []
        while uri:
            body = self.bodies[uri]
            members += body["Members"]
            sizes.append(len(body["Members"]))
            uri = body.get("Members@odata.nextLink")
        return members, sizes

    def test_every_uri_answers(self):
        statuses = {uri: answer.status for uri, answer in self.answers.items()}
        self.assertEqual({uri: status for uri, status in statuses.items() if status != 200}, {})

    def test_every_answer_is_json_and_names_itself(self):
        for uri, answer in self.answers.items():
            self.assertEqual(answer.get("Content-Type").split(";")[0], "application/json", uri)
        for uri, body in self.bodies.items():
            self.assertEqual(body["@odata.id"], uri.split("?")[0])
            self.assertEqual(body["Id"], uri.split("?")[0].rsplit("/", 1)[1].replace("%23", "#"))

    def test_every_entry_is_reached(self):
        reached = {body["@odata.type"] for body in self.bodies.values()}
        expected = {entry["@odata.type"] for name, entry in self.sample.mapping.items()
                    if name != "VexoVolume"}  # which has no rows
        self.assertEqual(reached, expected)

    def test_instances_are_the_rows_of_the_cache(self):
        seen = 0
        for name, entry, class_name, _ in self.sample.member_entries():
            crawled = {uri for uri, body in self.bodies.items() if body["@odata.type"] == entry["@odata.type"]}
            rows = self.sample.rows(f"select {entry['UniqueSelector']} from Tbl_{class_name}")
            self.assertEqual(crawled, {instance_uri(entry, row[0]) for row in rows}, name)
            seen += len(crawled)
        self.assertEqual(seen, 214)

    def test_collections_list_the_rows_in_order(self):
        for name, entry, class_name, _ in self.sample.member_entries():
            uri = entry["@odata.id"] + "Collection"
            with self.subTest(collection=name):
                rows = self.sample.rows(f"select {entry['UniqueSelector']} from Tbl_{class_name} order by rowid")
                members, _ = self.members_of(uri)
                self.assertEqual([member["@odata.id"] for member in members],
                                 [instance_uri(entry, row[0]) for row in rows])
                self.assertEqual(self.bodies[uri]["Members@odata.count"], len(rows))

    def test_pages_hold_50_members(self):
        self.assertEqual(self.members_of(SYSTEM + "/VexoDriveCollection")[1], [50, 50, 20])
        self.assertEqual(self.members_of(SYSTEM + "/VexoNumericSensorCollection")[1], [63])
        self.assertEqual(self.members_of(SYSTEM + "/VexoVolumeCollection")[1], [0])

    def test_values_are_those_of_the_cells(self):
        """Each property of each instance and member, converted here a second time."""
        compared = 0
        for _, entry, class_name, class_map in self.sample.member_entries():
            uri = entry["@odata.id"] + "Collection"
            members = {m["@odata.id"]: m for m in self.members_of(uri)[0]}
            for row in self.sample.rows(f"select * from Tbl_{class_name}"):
                own_uri = instance_uri(entry, row[entry["UniqueSelector"]])
                for prop, mapping in class_map["properties"].items():
                    name, value = shown_name(prop, mapping), shown(row[prop], mapping)
                    with self.subTest(uri=own_uri, property=name):
                        self.assertEqual(self.bodies[own_uri][name], value)
                        self.assertEqual(members[own_uri][name], value)
                        if isinstance(value, list):
                            self.assertEqual(members[own_uri][name + "@odata.count"], len(value))
                    compared += 1
        self.assertGreater(compared, 4000)

    def test_answers_show_nothing_that_is_not_mapped(self):
        common = {"@odata.id", "@odata.type", "@odata.context", "Id", "Name", "Description"}
        for _, entry, _, class_map in self.sample.member_entries():
            mapped = {shown_name(prop, mapping) for prop, mapping in class_map["properties"].items()}
            extra = {"Links"} if "Links" in entry else set()
            for uri, body in self.bodies.items():
                if body["@odata.type"] == entry["@odata.type"]:
                    self.assertEqual(set(body), common | mapped | extra, uri)

    def test_links_lead_back(self):
        followed = {name: 0 for name in TWO_WAY_LINKS}
        for uri, body in self.bodies.items():
            for name, back in TWO_WAY_LINKS.items():
                for link in body.get("Links", {}).get(name, []):
                    there = self.bodies[link["@odata.id"]]["Links"][back]
                    self.assertIn({"@odata.id": uri}, there, link)
                    followed[name] += 1
        self.assertEqual(followed, {"VexoEnclosureEMMCollection": 4, "VexoEnclosureCollection": 4,
                                    "VexoPSNumericSensorCollection": 2, "VexoPowerSupplyCollection": 2})

    def test_headers_come_from_the_mapping(self):
        for uri in (SYSTEM + "/VexoDriveCollection", SYSTEM + "/VexoDrive/Disk.Bay.0:Enclosure.1",
                    CHASSIS + "/VexoIndicatorService"):
            entry = self.sample.mapping[self.bodies[uri]["@odata.type"][1:].split(".")[0]]
            self.assertEqual(self.answers[uri].get("Link"), entry["Link_Header"])
            self.assertEqual(self.answers[uri].get("Allow"), ",".join(entry["allowed_operations"]))

    def test_services_show_their_actions(self):
        for name, entry in self.sample.mapping.items():
            [class_map] = entry["mappings"].values()
            if "Actions" in class_map:
                self.assertEqual(self.bodies[entry["@odata.id"]]["Actions"], class_map["Actions"], name)

    def test_member_entry_without_a_key_is_not_found(self):
        for name, entry, *_ in self.sample.member_entries():
            self.assertEqual(self.sample.get(entry["@odata.id"]).status, 404, name)

    def test_missing_instance_is_not_found(self):
        for _, entry, *_ in self.sample.member_entries():
            self.assertEqual(self.sample.get(entry["@odata.id"] + "/No.Such.1").status, 404)

    def test_select_takes_an_alias_that_begins_with_the_property(self):
        answer = self.sample.get(SYSTEM + "/VexoDrive/Disk.Bay.0:Enclosure.1?$select=SizeInBytes")
        self.assertEqual(answer.status, 200)
        self.assertEqual(answer.json()["SizeInBytes"], 1920383410176)
        self.assertNotIn("Model", answer.json())
        for refused in ("Size", "MediaType", "MediaKind"):
            answer = self.sample.get(SYSTEM + f"/VexoDrive/Disk.Bay.0:Enclosure.1?$select={refused}")
            self.assertEqual(answer.status, 400, refused)


class Readme(unittest.TestCase):
    """What README.md shows."""

    def test_example_of_the_readme_is_what_the_service_answers(self):
        text = (SOURCE_DIR / "README.md").read_text(encoding="utf-8")
        [(uri, shown_answer)] = re.findall(
            r"curl -s 'http://127\.0\.0\.1:8000(\S+PSU\S+)' \| jq \.\n(\{.*?^\})", text, re.DOTALL | re.MULTILINE)
        with Sample(options=()) as sample:
            self.assertEqual(sample.get(uri).json(), json.loads(shown_answer))


class Loading(unittest.TestCase):
    """A class of which the filler has not got all rows yet."""

    URIS = (SYSTEM + "/VexoMemoryCollection", SYSTEM + "/VexoMemory/DIMM.Socket.A1")

    def test_it_asks_to_come_back_until_it_is_ready(self):
        with Sample() as sample, sample_object_manager() as manager:
            with contextlib.closing(sqlite3.connect(sample.cache_path)) as cache, cache:
                cache.execute("delete from Tbl_CMPIReady where ClassName = 'XCIM_PhysicalMemory'")
            for uri in self.URIS:
                answer = sample.get(uri)
                self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"), uri)
                self.assertIn("error", answer.json())
            fill_cache(sample.cache_path, manager)
            for uri in self.URIS:
                self.assertEqual(sample.get(uri).status, 200, uri)


if __name__ == "__main__":
    unittest.main(verbosity=2)
