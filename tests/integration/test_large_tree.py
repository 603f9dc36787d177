#!/usr/bin/python3
"""A mapping of 500 generated resources: every link from the root answers, every schema resolves, every answer is as its
schema says, and every entity tag holds, whether answers are kept or not.

Environment: as in cimgate_host.py.
"""

import itertools
import unittest

from cimgate_host import BASE, OTHER_ARRAY, STRING_ARRAY, Service, ServiceTest, array_cell, ask, collection_entry, member_entry
from redfish_crawl import ROOT, SCHEMAS, crawl, deviations_in, types_in

PAIRS = 240  # of a resource and its collection
SERVICES = 20
TIME = 1714558830_000000

# What a property is declared as, and what cells it has in two rows.
KINDS = [
    ({"cim_type": "uint32", "units": "W"}, (7, 0)),
    ({"cim_type": "sint16", "alias": "Shown"}, (-7, None)),
    ({"cim_type": "uint64"}, (2**53, None)),
    ({"cim_type": "boolean"}, (1, 0)),
    ({"cim_type": "string", "description": "Of \"many\" <words>."}, ("a", "")),
    ({"cim_type": "datetime"}, (TIME, None)),
    ({"cim_type": "uint16", "value_mapping": {"2": "On", "3": "Off"}}, (3, None)),
    ({"cim_type": "uint16", "value_mapping": {"2": "1 Gbit/s"}}, (2, None)),
    ({"cim_type": "real32"}, ("1.5", None)),
    ({"cim_type": "string", "is_arraytype": True}, (array_cell(STRING_ARRAY, ["a", "b"]), None)),
    ({"cim_type": "uint32", "is_arraytype": True}, (array_cell(OTHER_ARRAY, [1, 2]), array_cell(OTHER_ARRAY, []))),
    ({"cim_type": "datetime", "is_arraytype": True}, (array_cell(OTHER_ARRAY, [TIME, 0]), None)),
    ({"cim_type": "uint16", "is_arraytype": True, "value_mapping": {"1": "Good", "2": "Bad"}},
     (array_cell(OTHER_ARRAY, [1, 2]), None)),
]


def kinds_of(number):
    """Some of them, others for each number."""
    count = 3 + number % len(KINDS)
    return list(itertools.islice(itertools.cycle(KINDS), number, number + count))


def pair(number):
    """Entries and rows."""
    name = f"VexoThing{number}"
    properties = {"InstanceID": {"cim_type": "string"}}
    cells = [("A",), ("B",)]
    for place, (declared, values) in enumerate(kinds_of(number)):
        properties[f"P{place}"] = declared | ({"alias": f"P{place}Shown"} if "alias" in declared else {})
        cells = [(*row, value) for row, value in zip(cells, values)]
    links = {"Links": {"VexoEnclosureEMMCollection": {}}} if number % 3 == 0 else {}
    entries = (member_entry(name, "XCIM_" + name, properties, **links)
               | collection_entry(name, paging=number % 2 == 0, top_skip=number % 2 == 0))
    return entries, (list(properties), cells)


def service_entry(number):
    name = f"VexoService{number}"
    action = {f"#{name}.Run": {"target": f"{BASE}/{name}/Actions/{name}.Run", "Mode@Redfish.AllowableValues": ["Fast"]}}
    entry = member_entry(name, "XCIM_" + name, {}, key="", actions=action)
    entry[name]["mappings"]["XCIM_" + name]["methods"] = {
        "Run": {"inputs": {"Mode": {"redfish_type": "Edm.String", "value_mapping": {"1": "Fast"}}}}}
    return entry


def system():
    mapping, classes = {}, {}
    for number in range(PAIRS):
        entries, classes[f"XCIM_VexoThing{number}"] = pair(number)
        mapping |= entries
    for number in range(SERVICES):
        mapping |= service_entry(number)
    return mapping, {"classes": classes, "associations": {"Tbl_XCIM_EnclosureEMMDependency": []}}


class LargeTree(ServiceTest):
    @classmethod
    def setUpClass(cls):
        cls.mapping, cls.cache = system()
        cls.begin = [*(f"{BASE}/VexoThing{number}Collection" for number in range(PAIRS)),
                     *(f"{BASE}/VexoService{number}" for number in range(SERVICES))]
        cls.service = cls.enterClassContext(Service(cls.mapping, cls.cache))
        cls.native = crawl(cls.service, ["/redfish", ROOT + "odata"])
        cls.mapped = crawl(cls.service, cls.begin)
        cls.documents = {uri: answer.json() for uri, answer in cls.native.items()
                         if answer.get("Content-Type").startswith("application/json")}
        cls.bodies = {uri: answer.json() for uri, answer in cls.mapped.items() if uri not in cls.native}

    def test_every_link_answers(self):
        answers = {**self.native, **self.mapped}
        self.assertEqual({uri: answer.status for uri, answer in answers.items() if answer.status != 200}, {})
        self.assertEqual(len(self.mapping), 500)
        self.assertEqual(len(self.bodies), PAIRS * 3 + SERVICES)

    def test_every_type_has_schemas_that_are_served(self):
        types = {odata_type for body in self.bodies.values() for odata_type in types_in(body)}
        self.assertEqual(len(types), len(self.mapping))
        for odata_type in types:
            name_space, _, name = odata_type[1:].rpartition(".")
            for uri in (f"{SCHEMAS}{name_space}.json", f"{SCHEMAS}{name}.json", f"{ROOT}Schemas/{name}_v1.xml"):
                self.assertIn(uri, self.native)

    def test_every_answer_is_as_its_schema_says(self):
        self.assertEqual(deviations_in(self, self.documents, self.bodies), (set(), len(self.bodies)))

    def check_known(self, service, answers):
        """Who has an answer is told so."""
        for uri, answer in answers.items():
            known = ask(service.base, uri, headers=[f"If-None-Match: {answer.get('ETag')}"])
            self.assertEqual((known.status, known.body, known.get("ETag")), (304, b"", answer.get("ETag")), uri)

    def check_tags(self, service, answers):
        """The same of what comes from the data cache; read again, it is the same."""
        cached = {uri: answer for uri, answer in answers.items() if "VexoThing" in uri and uri not in self.native}
        self.check_known(service, cached)
        for uri, first in cached.items():
            again = ask(service.base, uri)
            self.assertEqual((again.status, again.body, again.get("ETag")), (200, first.body, first.get("ETag")), uri)
        self.assertEqual(len(cached), 3 * PAIRS)

    def test_every_tag_of_the_service_itself_holds(self):
        self.check_known(self.service, self.native)

    def test_every_tag_holds_with_kept_answers(self):
        self.check_tags(self.service, self.mapped)

    def test_every_tag_holds_without_kept_answers(self):
        with Service(self.mapping, self.cache, options=("--kept-answers", "0")) as service:
            answers = crawl(service, self.begin)
            self.assertEqual({uri: answer.body for uri, answer in answers.items()},
                             {uri: answer.body for uri, answer in self.mapped.items()})
            self.check_tags(service, answers)


if __name__ == "__main__":
    unittest.main(verbosity=2)
