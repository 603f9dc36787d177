#!/usr/bin/python3
"""redfishtool (Debian's package) at the service: what it shows of the service's own resources.

Environment: CIMGATED, the program; CIMGATE_REGISTRIES, the directory of the message registries; CIMGATE_SOURCE_DIR.
"""

import json
import os
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from program import Program, run_program

MAPPING_FILE = Path(os.environ["CIMGATE_SOURCE_DIR"]) / "data" / "resourcemapping.json"


class Service(Program):
    """cimgated with the sample's mapping, without a data cache: its own resources need none."""

    NAME = "cimgated"

    def __init__(self):
        super().__init__()
        self.command = [os.environ["CIMGATED"], "--listen", "127.0.0.1:0", "--rmf", str(MAPPING_FILE),
                        "--cache", str(self.directory / "cache.db"), "--registries", os.environ["CIMGATE_REGISTRIES"]]


class Redfishtool(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(Service())

    def show(self, *command):
        """What the tool prints for a command that must succeed."""
        host = self.service.base.removeprefix("http://")
        done = run_program("redfishtool", "-r", host, "-S", "Never", *command)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def test_versions(self):
        self.assertEqual(json.loads(self.show("versions")), {"v1": "/redfish/v1/"})

    def test_root(self):
        root = json.loads(self.show("root"))
        self.assertEqual((root["@odata.id"], root["@odata.type"]), ("/redfish/v1/", "#ServiceRoot.v1_5_0.ServiceRoot"))

    def test_service_document(self):
        urls = [value["url"] for value in json.loads(self.show("odata"))["value"]]
        self.assertEqual(urls, ["/redfish/v1/", "/redfish/v1/JsonSchemas", "/redfish/v1/Registries"])

    def test_metadata(self):
        references = ElementTree.fromstring(self.show("metadata")).iter("{http://docs.oasis-open.org/odata/ns/edmx}Reference")
        self.assertIn("/redfish/v1/Schemas/VexoDrive_v1.xml", [reference.get("Uri") for reference in references])

    def test_any_resource(self):
        schema = json.loads(self.show("raw", "GET", "/redfish/v1/JsonSchemas/VexoDrive"))
        self.assertEqual(schema["Location"][0]["Uri"], "/redfish/v1/JsonSchemas/VexoDrive.json")


if __name__ == "__main__":
    unittest.main(verbosity=2)
