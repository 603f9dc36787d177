#!/usr/bin/python3
"""redfishtool (Debian's package) at the service with the sample: from the root to a reset of the server.

Environment: as in sample_service.py.
"""

import json
import unittest
import xml.etree.ElementTree as ElementTree

from program import run_program
from sample_service import sample_service

SYSTEM = "/redfish/v1/Systems/System.Embedded.1"


class Redfishtool(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(sample_service())

    def run_tool(self, *command):
        return run_program("redfishtool", "-r", self.service.base.removeprefix("http://"), "-S", "Never", *command)

    def show(self, *command):
        """What the tool prints for a command that must succeed."""
        done = self.run_tool(*command)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def shown(self, *command):
        return json.loads(self.show(*command))

    def test_versions(self):
        self.assertEqual(self.shown("versions"), {"v1": "/redfish/v1/"})

    def test_root(self):
        root = self.shown("root")
        self.assertEqual((root["@odata.id"], root["@odata.type"]), ("/redfish/v1/", "#ServiceRoot.v1_5_0.ServiceRoot"))

    def test_service_document(self):
        urls = {value["url"] for value in self.shown("odata")["value"]}
        self.assertEqual(urls, {"/redfish/v1/", "/redfish/v1/JsonSchemas", "/redfish/v1/Registries", "/redfish/v1/Systems",
                                "/redfish/v1/Chassis", "/redfish/v1/Managers"})

    def test_metadata(self):
        references = ElementTree.fromstring(self.show("metadata")).iter("{http://docs.oasis-open.org/odata/ns/edmx}Reference")
        self.assertIn("/redfish/v1/Schemas/VexoDrive_v1.xml", [reference.get("Uri") for reference in references])

    def test_lists(self):
        for collection, member in (("Systems", "System.Embedded.1"), ("Chassis", "System.Embedded.1"), ("Managers", "Tavix.Embedded.1")):
            shown = self.shown(collection, "list")
            self.assertEqual([(one["Id"], one["@odata.id"]) for one in shown["Members"]],
                             [(member, f"/redfish/v1/{collection}/{member}")])

    def test_system(self):
        system = self.shown("Systems", "-1", "get")
        self.assertEqual((system["@odata.id"], system["SerialNumber"]), (SYSTEM, "VX7Q2M1"))
        self.assertEqual(self.shown("Systems", "-M", "SerialNumber:VX7Q2M1", "get")["Id"], "System.Embedded.1")

    def test_chassis_and_manager(self):
        self.assertEqual(self.shown("Chassis", "-I", "System.Embedded.1", "get")["ChassisType"], "RackMount")
        self.assertEqual(self.shown("Managers", "-F", "get")["ManagerType"], "BMC")

    def test_reset(self):
        for reset_type, state in (("ForceOff", "Off"), ("On", "On")):
            self.show("Systems", "-I", "System.Embedded.1", "reset", reset_type)
            self.assertEqual(self.shown("raw", "GET", f"{SYSTEM}?$select=PowerState")["PowerState"], state)
        refused = self.run_tool("Systems", "-I", "System.Embedded.1", "reset", "Explode")
        self.assertNotEqual(refused.returncode, 0)

    def test_any_resource(self):
        schema = self.shown("raw", "GET", "/redfish/v1/JsonSchemas/VexoDrive")
        self.assertEqual(schema["Location"][0]["Uri"], "/redfish/v1/JsonSchemas/VexoDrive.json")
        supplies = self.shown("raw", "GET", SYSTEM.replace("Systems", "Chassis"))["Oem"]["Vexo"]["PowerSupplies"]["@odata.id"]
        self.assertGreater(self.shown("raw", "GET", supplies)["Members@odata.count"], 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
