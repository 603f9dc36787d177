#!/usr/bin/python3
"""Answers of mapped resources in the shape that Redfish wants, from each source of them, and as the library makes them
with --verbatim.

Environment: as in cimgate_host.py and cim_object_manager.py.
"""

import unittest

from cim_object_manager import Class, object_manager
from cimgate_host import (BASE, OTHER_ARRAY, VERBATIM, Service, ServiceTest, array_cell, collection_entry,
                          member_entry)

PROPERTIES = {"InstanceID": {"cim_type": "string"}, "Built": {"cim_type": "datetime", "alias": "BuiltAt"},
              "Dates": {"cim_type": "datetime", "is_arraytype": True}, "Words": {"cim_type": "string", "is_arraytype": True},
              "Text": {"cim_type": "string"}, "Real": {"cim_type": "real32"}, "Large": {"cim_type": "uint64"}}
TIME = "2024-05-01T10:20:30+0000"
LINKS = {"Links": {"VexoEnclosureEMMCollection": {}}}
# As the library makes them.
FULL = {"BuiltAt": TIME, "Dates": [TIME, "1970-01-01T00:00:00+0000"], "Words": ["a"], "Text": TIME, "Links": None}
EMPTY = {"BuiltAt": None, "Dates": None, "Words": None, "Text": None, "Links": None}


def shaped(shown):
    """What Redfish wants in the place of what the library shows."""
    changed = {"BuiltAt": "2024-05-01T10:20:30+00:00",
               "Dates": ["2024-05-01T10:20:30+00:00", "1970-01-01T00:00:00+00:00"]} if shown["BuiltAt"] else {
                   "Dates": [], "Words": []}
    return {**shown, **changed, "Links": {}}


def mapping():
    both = {}
    for name, cached in (("VexoCached", True), ("VexoLive", False)):
        both |= member_entry(name, "XCIM_" + name, PROPERTIES, cached=cached, **LINKS) | collection_entry(name)
    service = member_entry("VexoService", "XCIM_Service", {}, key="", **LINKS,
                           actions={"#VexoService.Run": {"target": f"{BASE}/VexoService/Actions/VexoService.Run"}})
    own = member_entry("VexoOwn", "XCIM_VexoCached", {"Text": {"cim_type": "string"}}, allowed_operations=["GET", "PATCH"],
                       Link_Header="</own.json>; rel=describedby")
    own["VexoOwn"]["@odata.type"] = "none"
    return both | service | own


def cache():
    us = 1714558830_000000
    rows = [("Empty", *[None] * 6), ("Full", us, array_cell(OTHER_ARRAY, [us, 0]), array_cell(1, ["a"]), TIME, "1.50",
                                     "18446744073709551615")]
    return {"classes": {"XCIM_VexoCached": (list(PROPERTIES), rows)},
            "associations": {"Tbl_XCIM_EnclosureEMMDependency": []}}


def instances():
    return [{"InstanceID": "Empty"},
            {"InstanceID": "Full", "Built": "20240501102030.000000+000", "Words": ["a"], "Text": TIME, "Real": 1.5,
             "Dates": ["20240501102030.000000+000", "19700101000000.000000+000"], "Large": 18446744073709551615}]


class Shapes(ServiceTest):
    @classmethod
    def setUpClass(cls):
        types = {"InstanceID": "string", "Built": "datetime", "Dates": "datetime[]", "Words": "string[]",
                 "Text": "string", "Real": "real32", "Large": "uint64"}
        manager = cls.enterClassContext(object_manager(Class("XCIM_VexoLive", types), instances()))
        cls.shaped = cls.enterClassContext(Service(mapping(), cache(), options=("--cim", manager.url)))
        cls.verbatim = cls.enterClassContext(Service(mapping(), cache(), options=("--cim", manager.url, *VERBATIM)))

    def both(self, uri):
        answers = self.verbatim.get(uri), self.shaped.get(uri)
        self.assertEqual([answer.status for answer in answers], [200, 200], uri)
        return [answer.json() for answer in answers]

    def check(self, shown, expected):
        self.assertEqual({name: value for name, value in shown.items() if name in expected}, expected)

    def test_instances_from_the_data_cache_and_from_cim(self):
        for name in ("VexoCached", "VexoLive"):
            for key, expected in (("Full", FULL), ("Empty", EMPTY)):
                with self.subTest(name=name, key=key):
                    verbatim, shown = self.both(f"{BASE}/{name}/{key}")
                    self.check(verbatim, expected)
                    self.check(shown, shaped(expected))

    def test_members_of_collections(self):
        for name in ("VexoCached", "VexoLive"):
            with self.subTest(name=name):
                verbatim, shown = self.both(f"{BASE}/{name}Collection")
                for member, of_library in zip(shown["Members"], verbatim["Members"]):
                    expected = FULL if member["InstanceID"] == "Full" else EMPTY
                    self.check(of_library, expected)
                    self.check(member, shaped(expected))
                self.assertEqual(len(shown["Members"]), 2)

    def test_resource_of_the_mapping_alone(self):
        verbatim, shown = self.both(f"{BASE}/VexoService")
        self.assertIsNone(verbatim["Links"])
        self.assertEqual(shown, {**verbatim, "Links": {}})

    def test_what_select_leaves(self):
        for select, left in (("Dates,BuiltAt", {"Dates": []}), ("Text", {}), ("Links", {"Links": {}}),
                             ("Links/VexoEnclosureEMMCollection", {"Links": {"VexoEnclosureEMMCollection": []}})):
            verbatim, shown = self.both(f"{BASE}/VexoCached/Empty?$select={select}")
            self.assertEqual(shown, {**verbatim, **left}, select)

    def test_nothing_else_changes(self):
        for name in ("VexoCached", "VexoLive"):
            texts = [service.get(f"{BASE}/{name}/Full").body.decode() for service in (self.verbatim, self.shaped)]
            expected = texts[0].replace('"Links":null', '"Links":{}')
            for member in ('"BuiltAt":"', '"Dates":["'):
                expected = expected.replace(member + TIME, member + TIME[:-2] + ":00")
            expected = expected.replace('"1970-01-01T00:00:00+0000"]', '"1970-01-01T00:00:00+00:00"]')
            self.assertEqual(texts[1], expected)

    def test_entity_tag_is_of_what_is_given(self):
        full = f"{BASE}/VexoCached/Full"
        tags = [service.get(full).get("ETag") for service in (self.verbatim, self.shaped)]
        self.assertNotEqual(*tags)
        for service, own, other in ((self.verbatim, *tags), (self.shaped, *reversed(tags))):
            for tag, status in ((own, 304), (other, 200)):
                self.assertEqual(service.get(full, "-H", f"If-None-Match: {tag}").status, status)

    # ---- Headers

    def check_headers_of(self, service, uri, content_type, allow, link):
        answer = service.get(uri)
        self.assertEqual((answer.get("Content-Type"), answer.get("Allow"), answer.get("Link")), (content_type, allow, link))
        head = service.head(uri)
        self.assertEqual([header for header in head.headers if header[0] != "date"],
                         [header for header in answer.headers if header[0] != "date"])

    def test_headers_say_what_the_library_leaves_out(self):
        json_type = "application/json;charset=utf-8"
        for uri, schema in ((f"{BASE}/VexoCached/Full", "VexoCached.v1_0_0"), (f"{BASE}/VexoLive/Full", "VexoLive.v1_0_0"),
                            (f"{BASE}/VexoCachedCollection", "VexoCachedCollection"),
                            (f"{BASE}/VexoService", "VexoService.v1_0_0")):
            link = f"</redfish/v1/JsonSchemas/{schema}.json>; rel=describedby"
            self.check_headers_of(self.shaped, uri, json_type, "GET, HEAD, OPTIONS", link)
            self.check_headers_of(self.verbatim, uri, "application/json", None, "")
            self.assertEqual(self.shaped.get(link[1:link.index(">")]).status, 200)

    def test_headers_of_the_mapping_stay(self):
        own = ("GET,PATCH", "</own.json>; rel=describedby")
        self.check_headers_of(self.shaped, f"{BASE}/VexoOwn/Full", "application/json;charset=utf-8", *own)
        self.check_headers_of(self.verbatim, f"{BASE}/VexoOwn/Full", "application/json", *own)

    def test_no_schema_without_a_type(self):
        nothing = {"VexoBare": {"@odata.id": f"{BASE}/VexoBare", "mappings": {}}}
        with Service(nothing) as service:
            self.assertIsNone(service.get(f"{BASE}/VexoBare").get("Link"))

    def test_errors_are_as_ever(self):
        for uri in (f"{BASE}/VexoCached/None", f"{BASE}/VexoNone"):
            answers = [service.get(uri) for service in (self.shaped, self.verbatim)]
            self.assertEqual([answer.get("Content-Type") for answer in answers], ["application/json"] * 2)
            self.assertEqual(answers[0].body, answers[1].body)
            self.assertIsNone(answers[0].get("Allow"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
