#!/usr/bin/python3
"""The sample system read twice: from the data cache, and live from the object manager that holds the same data.

Environment: CIMGATE_SOURCE_DIR, the checkout; CIMOMD, CIMGATED and CIMGATE_REGISTRIES as in cimgate_host.py and
cim_object_manager.py.
"""

import json
import os
import subprocess
import unittest
from pathlib import Path

from cim_object_manager import ObjectManager
from cimgate_host import Service

SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])
MAPPING = json.loads((SOURCE_DIR / "data/resourcemapping.json").read_text(encoding="utf-8"))
# Only live arrays that a value map does not translate have these.
COUNT = "@odata.count"
# Still being filled in the sample's cache.
NOT_READY = "VexoMemory"


def is_cached(entry):
    return any(mapped.get("is_cached") for mapped in entry["mappings"].values() if isinstance(mapped, dict))


def live_mapping():
    """The sample's mapping with nothing cached but what is not ready: links are read from the cache all the same."""
    mapping = json.loads(json.dumps(MAPPING).replace('"is_cached": true', '"is_cached": false'))
    return mapping | {NOT_READY: MAPPING[NOT_READY]}


def cached_collections():
    """URIs of the collections whose members are in the sample's cache."""
    members = {entry["@odata.id"]: next(iter(entry["mappings"]))
               for entry in MAPPING.values() if entry.get("is_collection")}
    return [uri for uri, member in members.items() if is_cached(MAPPING[member]) and member != NOT_READY]


def low_half(value):
    """The low 32 bits of an integer, with their sign."""
    return (value + 2**31) % 2**32 - 2**31


def as_read_live(cached, entry):
    """What a live read shows of a resource that is read from the cache so."""
    live = dict(cached)
    mapped = next(iter(entry["mappings"].values()))
    for name, declared in mapped["properties"].items():
        name = declared.get("alias") or name
        value, values = live.get(name), declared.get("value_mapping", {}).values()
        if value == [] or values and isinstance(value, str) and value not in values:
            del live[name]  # of an empty array the count remains
        elif value is None and values and declared.get("is_arraytype"):
            live[name] = []
        elif declared["cim_type"] == "sint64" and value is not None:
            live[name] = low_half(value)
    if entry["UniqueSelector"] not in mapped["properties"]:
        # The key that names a live instance is a property of the answer.
        live["Id"] = entry["@odata.id"].rpartition("/")[2]
        live["@odata.id"] = entry["@odata.id"] + "/"
    return live


def without_counts(resource):
    return {name: value for name, value in resource.items() if not name.endswith(COUNT)}


class SameData(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        files = {path.name: path.read_text(encoding="utf-8") for path in (SOURCE_DIR / "data/sample/cim").iterdir()}
        cls.manager = cls.enterClassContext(ObjectManager(files))
        cls.live = cls.start(live_mapping(), "--cim", cls.manager.url)
        cls.cached = cls.start(MAPPING)

    @classmethod
    def start(cls, mapping, *options):
        service = Service(mapping, options=options)
        subprocess.run([SOURCE_DIR / "scripts/make-sample-cache", service.cache_path], check=True)
        return cls.enterClassContext(service)

    def members(self):
        """URI and mapping entry of each member on the collections' first pages."""
        for collection in cached_collections():
            for member in self.cached.get(collection).json()["Members"]:
                uri = member["@odata.id"]
                yield uri, MAPPING[uri.split("/")[-2]]

    def test_every_instance_reads_the_same_but_for_what_live_reads_show_otherwise(self):
        compared = 0
        for uri, entry in self.members():
            with self.subTest(uri=uri):
                cached, live = self.cached.get(uri), self.live.get(uri)
                self.assertEqual((cached.status, live.status), (200, 200))
                self.assertEqual(without_counts(live.json()), as_read_live(cached.json(), entry))
                for name in ("Allow", "Link"):
                    self.assertEqual(live.get(name), cached.get(name))
                compared += 1
        self.assertGreater(compared, 100)


if __name__ == "__main__":
    unittest.main()
