#!/usr/bin/python3
"""What is missing or damaged: what holds all the same, and what is logged. docs/operations.md shows these tests as a
table."""

import os
import re
import unittest
from pathlib import Path

from cimgate_host import Service, ServiceTest

OPERATIONS = Path(os.environ["CIMGATE_SOURCE_DIR"], "docs", "operations.md")


class Start(ServiceTest):
    """What is wrong with mapping and cache when the service starts."""

    def test_mapping_file_that_is_no_json(self):
        service = Service('{\n  "VexoThing": {,}\n}')
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""), log)
        self.assertIn(str(service.mapping_path), log)
        service.discard()


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
