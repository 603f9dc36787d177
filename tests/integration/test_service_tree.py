#!/usr/bin/python3
"""The service's own resources: from the root to the registries and schemas, and what these say of the sample's answers.

Environment: as in cimgate_host.py and sample_system.py.
"""

import gzip
import http.client
import json
import os
import re
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import cimgate_host
import jsonschema
from redfish_crawl import EDMX, ROOT, SCHEMAS, SampleService, crawl, deviations_in, types_in
from sample_system import MAPPING_FILE, sample_object_manager

REGISTRIES = Path(os.environ["CIMGATE_REGISTRIES"])
CHASSIS = "/redfish/v1/Vexo/Chassis/System.Embedded.1"
SYSTEM = "/redfish/v1/Vexo/Systems/System.Embedded.1"
MANAGER = "/redfish/v1/Vexo/Managers/Tavix.Embedded.1"
MAPPED_URIS = [entry["@odata.id"] for entry in json.loads(MAPPING_FILE.read_text(encoding="utf-8")).values()
               if "@odata.id" in entry and not entry.get("UniqueSelector") and entry["@odata.type"] != "#VexoJobs.VexoJobs"]
INSTANCES_WITHOUT_A_LINK = [SYSTEM + "/VexoDriveIndicator/Disk.Bay.0:Enclosure.2", CHASSIS + "/VexoEnclosureIndicator/Enclosure.2"]

# What the library's answers have otherwise than their schemas, which say what DSP0266 wants.
DEVIATIONS = {"an offset without a colon", "null for an array"}


class Tree(cimgate_host.ServiceTest):
    """What a client sees that begins at the root, and what it learns there of the mapped resources."""

    @classmethod
    def setUpClass(cls):
        manager = cls.enterClassContext(sample_object_manager())
        cls.service = cls.enterClassContext(SampleService(manager))
        cls.verbatim = cls.enterClassContext(SampleService(manager, *cimgate_host.VERBATIM))
        cls.native = crawl(cls.service, ["/redfish", ROOT + "odata"])
        cls.bodies = {uri: answer.json() for uri, answer in cls.native.items()
                      if answer.get("Content-Type").startswith("application/json")}
        cls.mapped = cls.mapped_of(cls.service)
        cls.mapping = json.loads(MAPPING_FILE.read_text(encoding="utf-8"))
        cls.vendors = {entry["@odata.type"] for entry in cls.mapping.values()
                       if entry.get("@odata.type", "").startswith("#Vexo")}

    @classmethod
    def mapped_of(cls, service):
        """The bodies of all mapped resources."""
        return {uri: answer.json() for uri, answer in crawl(service, [*MAPPED_URIS, *INSTANCES_WITHOUT_A_LINK]).items()
                if uri not in cls.native}

    def test_every_link_leads_to_an_answer(self):
        self.assertEqual({uri: answer.status for uri, answer in self.native.items() if answer.status != 200}, {})

    def test_schemas_of_all_vendor_types_are_reached(self):
        for odata_type in self.vendors:
            name_space, _, name = odata_type[1:].rpartition(".")
            for uri in (SCHEMAS + name, SCHEMAS + name + ".json", SCHEMAS + name_space + ".json",
                        f"{ROOT}Schemas/{name}_v1.xml"):
                self.assertIn(uri, self.native)
        self.assertGreater(len(self.vendors), 20)

    def test_registries_are_the_installed_files(self):
        for path in REGISTRIES.glob("*.json"):
            answer = self.native[f"{ROOT}Registries/{path.name}"]
            self.assertEqual(answer.body, path.read_bytes())
            described = self.bodies[f"{ROOT}Registries/{path.stem}"]
            self.assertEqual(described["Id"], path.stem)
            self.assertEqual(described["Registry"], ".".join(path.stem.split(".")[:3]))

    def test_resources_name_themselves(self):
        named = {uri: body for uri, body in self.bodies.items() if "@odata.id" in body}
        for uri, body in named.items():
            self.assertEqual(body["@odata.id"].rstrip("/"), uri.rstrip("/"))
            if "Id" in body and uri != ROOT:
                self.assertEqual(body["Id"], uri.rpartition("/")[2])
            if "Members" in body:
                self.assertEqual(body["Members@odata.count"], len(body["Members"]))
        self.assertGreater(len(named), 30)

    def test_root_is_the_same_with_and_without_a_slash(self):
        self.assertEqual(self.service.get("/redfish/v1").body, self.native[ROOT].body)
        self.assertEqual(self.bodies[ROOT]["@odata.id"], ROOT)

    def test_root_keeps_its_uuid_over_a_restart(self):
        before = self.bodies[ROOT].get("UUID")
        with cimgate_host.Service({}) as again:
            self.assertEqual(again.get(ROOT).json().get("UUID"), before)
        if Path("/etc/machine-id").exists():
            self.assertRegex(before, r"^[0-9a-f-]{36}$")

    def test_every_answer_has_the_headers_of_the_protocol(self):
        for uri, answer in self.native.items():
            self.assertEqual(answer.get("OData-Version"), "4.0", uri)
            self.assertEqual(answer.get("Cache-Control"), "no-cache", uri)
            self.assertEqual(answer.get("Allow"), "GET, HEAD, OPTIONS", uri)
            self.assertRegex(answer.get("Content-Type"), "^application/(json|xml);charset=utf-8$", uri)
            if "@odata.type" in self.bodies.get(uri, {}):
                self.assertRegex(answer.get("Link"), r"^<[^>]+\.json>; rel=describedby$", uri)

    def test_every_entity_tag_holds(self):
        for uri, answer in self.native.items():
            connection = http.client.HTTPConnection(self.service.base.removeprefix("http://"))
            connection.request("GET", uri, headers={"If-None-Match": answer.get("ETag")})
            known = connection.getresponse()
            self.assertEqual((known.status, known.read(), known.getheader("ETag")), (304, b"", answer.get("ETag")), uri)
            connection.close()

    def test_compressed_answers_are_the_plain_ones(self):
        last = max(uri for uri, answer in self.native.items() if answer.get("Vary"))  # compressed one after the other
        cimgate_host.wait_until(lambda: cimgate_host.ask(self.service.base, last, headers=["Accept-Encoding: gzip"])
                                .get("Content-Encoding"), "the last document to be compressed")
        compressed = 0
        for uri, answer in self.native.items():
            coded = cimgate_host.ask(self.service.base, uri, headers=["Accept-Encoding: gzip"])
            if coded.get("Content-Encoding") == "gzip":
                compressed += 1
                self.assertEqual(gzip.decompress(coded.body), answer.body, uri)
                self.assertNotEqual(coded.get("ETag"), answer.get("ETag"), uri)
            else:
                self.assertEqual(coded.body, answer.body, uri)
        self.assertGreater(compressed, 30)

    def test_head_has_the_headers_of_get(self):
        for uri in (ROOT, ROOT + "$metadata"):
            head = self.service.head(uri)
            self.assertEqual(head.body, b"")
            get = self.native[uri]
            self.assertEqual([header for header in head.headers if header[0] != "date"],
                             [header for header in get.headers if header[0] != "date"])

    def test_metadata_refers_to_every_type(self):
        document = ElementTree.fromstring(self.native[ROOT + "$metadata"].body)
        included = {include.get("Namespace") for include in document.iter(EDMX + "Include")}
        for body in [*self.bodies.values(), *self.mapped.values()]:
            for odata_type in types_in(body):
                self.assertIn(odata_type[1:].rpartition(".")[0], included)

    def test_csdl_files_have_the_name_spaces_that_metadata_includes(self):
        document = ElementTree.fromstring(self.native[ROOT + "$metadata"].body)
        for reference in document.iter(EDMX + "Reference"):
            if reference.get("Uri").startswith("/"):
                csdl = ElementTree.fromstring(self.native[reference.get("Uri")].body)
                schemas = {schema.get("Namespace")
                           for schema in csdl.iter("{http://docs.oasis-open.org/odata/ns/edm}Schema")}
                self.assertEqual(schemas, {include.get("Namespace") for include in reference})

    def test_every_json_schema_is_one(self):
        for body in self.bodies.values():
            if "$schema" in body:
                jsonschema.Draft7Validator.check_schema(body)

    def test_every_mapped_answer_is_as_its_schema_says(self):
        found, checked = deviations_in(self, self.bodies, self.mapped)
        self.assertEqual(found, set())
        self.assertGreater(checked, 200)
        self.assertEqual(deviations_in(self, self.bodies, self.mapped_of(self.verbatim)), (DEVIATIONS, checked))

    def test_every_vendor_type_is_reached(self):
        reached = {body["@odata.type"] for body in self.mapped.values()}
        self.assertEqual(self.vendors - reached, {"#VexoVolume.v1_0_0.VexoVolume", "#VexoJobs.VexoJobs"})

    def test_schemas_that_mapped_resources_link_to_answer(self):
        linked = {entry["Link_Header"] for entry in self.mapping.values() if "Vexo" in entry.get("Link_Header", "")}
        for link in linked:
            self.assertIn(re.match("<([^>]+)>", link)[1], self.native)
        self.assertGreater(len(linked), 20)


class Protocol(cimgate_host.SharedServiceTest):
    """What a client may ask of the service's own resources."""

    @staticmethod
    def make_service():
        return cimgate_host.Service({})

    def test_other_methods_are_405_with_what_there_is(self):
        for method in ("POST", "PATCH", "PUT", "DELETE"):
            answer = cimgate_host.ask(self.service.base, ROOT, method, body=b"no json")
            self.check_failed(answer, 405, ("Vexo.SYS402", []), ("Base.OperationNotAllowed", []))
            self.assertEqual(answer.get("Allow"), "GET, HEAD, OPTIONS")
        options = self.service.get(ROOT, "-X", "OPTIONS")
        self.assertEqual((options.status, options.get("Allow"), options.body), (204, "GET, HEAD, OPTIONS", b""))

    def test_another_odata_version_is_412(self):
        answer = cimgate_host.ask(self.service.base, ROOT, headers=["OData-Version: 4.1"])
        self.check_failed(answer, 412, ("Base.HeaderInvalid", ["OData-Version"]))

    def test_query_options_that_mean_nothing_are_501(self):
        for option in ("$filter", "$top", "$skip", "$unknown"):
            answer = self.service.get(f"{ROOT}?{option}=1")
            self.assertEqual(answer.status, 501, option)
        for option in ("$select", "$expand"):  # of what is no resource
            answer = self.service.get(f"{ROOT}Registries/Base.1.18.json?{option}=1")
            self.assertEqual(answer.status, 501, option)
        self.assertEqual(self.service.get(ROOT + "?other").status, 200)

    def test_types_that_are_not_accepted_are_406(self):
        answer = self.service.get(ROOT, "-H", "Accept: text/html")
        self.check_failed(answer, 406, ("Base.NotAcceptable", []))

    def test_what_is_neither_native_nor_mapped_is_404_as_ever(self):
        for uri in ("/", "/redfish/v2", ROOT + "Systems", ROOT + "JsonSchemas/None.json", "/redfish/v1x"):
            self.assertEqual(self.service.get(uri).status, 404, uri)

    def test_native_answers_need_no_worker(self):
        self.service.kill_workers()
        self.assertEqual(self.service.get(ROOT).status, 200)


class MappingWins(cimgate_host.ServiceTest):
    def test_where_it_maps_one_of_these_uris(self):
        entry = {"VexoRegistries": {"@odata.id": "/redfish/v1/Registries"},
                 "Registries": {"@odata.id": "/redfish/v1/Registries", "@odata.type": "#VexoR.VexoR", "Name": "Mapped"}}
        with cimgate_host.Service(entry) as service:
            self.assertEqual(service.get("/redfish/v1/Registries").json()["Name"], "Mapped")
            self.assertEqual(service.get(ROOT).status, 200)


if __name__ == "__main__":
    unittest.main(verbosity=2)
