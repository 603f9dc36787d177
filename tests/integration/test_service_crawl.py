#!/usr/bin/python3
"""From the root, by links alone, to every resource of mapping and service file: over the sample, and over 500 generated
resources; kept answers on and off.

Environment: as in cimgate_host.py and sample_system.py.
"""

import http.client
import json
import re
import sqlite3
import unittest

import cimgate_host
from composed_service import HEALTH, HEALTHS, NUMBER, TEXT, ComposedService, of
from redfish_crawl import ROOT, SCHEMAS, SampleService, crawl, deviations_in, types_in
from sample_system import MAPPING_FILE, SAMPLE_DIR, sample_object_manager

SERVICE_FILE = SAMPLE_DIR / "service.json"
PAIRS = 250  # of a generated resource and its collection
PER_CHASSIS = 10
NOTHING_KEPT = ("--kept-answers", "0")


def targets_in(value):
    """Every target of an action that a body shows."""
    if isinstance(value, dict):
        for name, member in value.items():
            if name == "Actions" and isinstance(member, dict):
                yield from (action["target"] for action in member.values() if isinstance(action, dict) and "target" in action)
            else:
                yield from targets_in(member)
    elif isinstance(value, list):
        for element in value:
            yield from targets_in(element)


class Crawl(cimgate_host.ServiceTest):
    """What holds of every service, once it has been walked through."""

    def walk(self, service):
        """All answers, and the bodies of those in JSON; none of them failed."""
        answers = crawl(service, ["/redfish"])
        self.assertEqual({uri: answer.status for uri, answer in answers.items() if answer.status != 200}, {})
        bodies = {uri: answer.json() for uri, answer in answers.items() if answer.get("Content-Type").startswith("application/json")}
        return answers, bodies

    def check_reached(self, bodies, mapping, declared):
        """Every registered URI that can be read without a key, and every resource of the service file. Returns the URIs of which
        no instance was reached."""
        with_instances = {entry["@odata.id"] for entry in mapping.values() if entry.get("UniqueSelector")}
        registered = {entry["@odata.id"] for entry in mapping.values() if "@odata.id" in entry}
        self.assertEqual(registered - with_instances - set(bodies), set())
        served = {uri.rstrip("/") for uri in bodies}
        self.assertEqual({uri for uri in declared if uri not in served}, set())
        return {uri for uri in with_instances if not any(reached.rpartition("/")[0] == uri for reached in bodies)}

    def check_types(self, bodies):
        """Each is one of the service, or one that the standard publishes."""
        for odata_type in {odata_type for body in bodies.values() for odata_type in types_in(body)}:
            name_space = odata_type[1:].split(".")[0]
            described = bodies[SCHEMAS + name_space]["Location"][0]
            if name_space.startswith("Vexo"):
                self.assertIn(described["Uri"], bodies)
                self.assertIn(f"{SCHEMAS}{odata_type[1:].rpartition('.')[0]}.json", bodies)
            else:
                self.assertEqual(described["PublicationUri"], f"http://redfish.dmtf.org/schemas/v1/{name_space}.json")

    def check_validity(self, bodies, at_least):
        resources = {uri: body for uri, body in bodies.items() if "@odata.type" in body and "$schema" not in body}
        found, checked = deviations_in(self, bodies, resources)
        self.assertEqual(found, set())
        self.assertGreaterEqual(checked, at_least)

    def check_entity_tags(self, service, answers):
        """Asked again by its tag, a resource is unchanged."""
        connection = http.client.HTTPConnection(service.base.removeprefix("http://"))
        tagged = 0
        for uri, answer in answers.items():
            tag = answer.get("ETag")
            if tag:
                tagged += 1
                connection.request("GET", uri, headers={"If-None-Match": tag})
                again = connection.getresponse()
                self.assertEqual((again.status, again.getheader("ETag"), again.read()), (304, tag, b""), uri)
        connection.close()
        return tagged

    def check_same(self, service, answers):
        """Another service answers the same, where workers do."""
        of_workers = {uri: answer for uri, answer in answers.items() if not re.match(f"{ROOT}(Registries|(Json)?Schemas)", uri)}
        for uri, answer in of_workers.items():
            again = service.get(uri)
            self.assertEqual((again.status, again.get("ETag"), again.body), (200, answer.get("ETag"), answer.body), uri)
        self.check_entity_tags(service, of_workers)

    def check_targets(self, service, bodies, declared_actions):
        """Each is that of an action."""
        targets = {target for body in bodies.values() for target in targets_in(body)}
        self.assertGreaterEqual(len(targets), declared_actions)
        for target in targets:
            answer = service.get(target)
            self.assertEqual((answer.status, answer.get("Allow")), (405, "POST"), target)


class Sample(Crawl):
    def test_everything_is_reached_and_as_it_says(self):
        mapping = json.loads(MAPPING_FILE.read_text(encoding="utf-8"))
        declared = json.loads(SERVICE_FILE.read_text(encoding="utf-8"))
        with sample_object_manager() as manager:
            with SampleService(manager, "--service", str(SERVICE_FILE)) as service:
                answers, bodies = self.walk(service)
                # There is no volume, and a job only while an action goes on.
                self.assertEqual({uri.rpartition("/")[2] for uri in self.check_reached(bodies, mapping, declared)}, {"VexoVolume", "Jobs"})
                self.assertGreater(self.check_entity_tags(service, answers), 300)
                self.check_targets(service, bodies, declared_actions=6)
            self.check_types(bodies)
            self.check_validity(bodies, at_least=300)
            embedded = bodies[f"{ROOT}Chassis/System.Embedded.1"]["Oem"]["Vexo"]["DriveOfBay0"]
            self.assertEqual(embedded["@odata.type"], "#VexoDriveOem.v1_0_0.VexoDriveOem")
            self.assertEqual(len(embedded), 6)
            self.check_validity({**bodies, "DriveOfBay0": embedded}, at_least=301)
            with SampleService(manager, "--service", str(SERVICE_FILE), *NOTHING_KEPT) as service:
                self.check_same(service, answers)

    def test_mapped_answers_are_those_without_a_service_file(self):
        with sample_object_manager() as manager, SampleService(manager) as plain:
            with_file = cimgate_host.Service(MAPPING_FILE.read_text(encoding="utf-8"),
                                             options=("--cim", manager.url, "--service", str(SERVICE_FILE)))
            with sqlite3.connect(plain.cache_path) as source, sqlite3.connect(with_file.cache_path) as copy:
                source.backup(copy)
            source.close()
            copy.close()
            with with_file:
                answers = crawl(with_file, ["/redfish"])
                mapped = [uri for uri in answers if uri.startswith("/redfish/v1/Vexo/")]
                self.assertGreater(len(mapped), 300)
                for uri in mapped:
                    alone = plain.get(uri)
                    self.assertEqual((alone.status, alone.body), (answers[uri].status, answers[uri].body), uri)
                    self.assertEqual([pair for pair in alone.headers if pair[0] != "date"],
                                     [pair for pair in answers[uri].headers if pair[0] != "date"], uri)


def generated():
    """A mapping of PAIRS resources with their collections, the cache's classes, and a service file that links all."""
    mapping, classes, declared = {}, {}, {f"{ROOT}Chassis": {"@odata.type": "#ChassisCollection.ChassisCollection", "Name": "Chassis"}}
    for i in range(PAIRS):
        name = f"VexoMade{i}"
        mapping |= cimgate_host.member_entry(name, f"XCIM_Made{i}", {"A": TEXT, f"N{i}": NUMBER, "Health": HEALTH})
        mapping |= cimgate_host.collection_entry(name)
        classes[f"XCIM_Made{i}"] = (["InstanceID", "A", f"N{i}", "Health"], [(f"M.{k}", f"a{k}", k, 5) for k in (1, 2)])
        uri = f"{ROOT}Chassis/C{i // PER_CHASSIS}"
        chassis = declared.setdefault(uri, {"@odata.type": "#Chassis.v1_14_0.Chassis", "Name": uri[-3:], "Oem": {"Vexo": {}}})
        collection = f"{cimgate_host.BASE}/{name}Collection"
        chassis["Oem"]["Vexo"] |= {name: {"@odata.id": collection}, f"A{i}": of(f"{cimgate_host.BASE}/{name}/M.1", "A"),
                                   f"Sum{i}": {"sum": collection, "property": f"N{i}"},
                                   f"Worst{i}": {"worst": collection, "property": "Health", "values": HEALTHS}}
    return mapping, {"classes": classes}, declared


class Generated(Crawl):
    def test_everything_is_reached_and_as_it_says(self):
        mapping, rows, declared = generated()
        with ComposedService(declared, rmf=mapping, rows=rows) as service:
            answers, bodies = self.walk(service)
            self.assertEqual(self.check_reached(bodies, mapping, declared), set())
            self.assertEqual(self.check_entity_tags(service, answers), len(answers))
        for i in range(PAIRS):
            made = bodies[f"{ROOT}Chassis/C{i // PER_CHASSIS}"]["Oem"]["Vexo"]
            self.assertEqual((made[f"A{i}"], made[f"Sum{i}"], made[f"Worst{i}"]), ("a1", 3, "OK"))
        self.check_types(bodies)
        self.check_validity(bodies, at_least=3 * PAIRS)
        with ComposedService(declared, *NOTHING_KEPT, rmf=mapping, rows=rows) as service:
            self.check_same(service, answers)


if __name__ == "__main__":
    unittest.main(verbosity=2)
