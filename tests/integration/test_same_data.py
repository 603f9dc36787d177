#!/usr/bin/python3
"""The sample system read twice: from the data cache that was filled from its object manager, and live from that.

Environment: as in cimgate_host.py and sample_system.py.
"""

import json
import unittest

from cimgate_host import Service
from sample_system import MAPPING_FILE, fill_cache, sample_object_manager

MAPPING = json.loads(MAPPING_FILE.read_text(encoding="utf-8"))
# Only live arrays that a value map does not translate have these.
COUNT = "@odata.count"


def is_cached(entry):
    return any(mapped.get("is_cached") for mapped in entry["mappings"].values() if isinstance(mapped, dict))


def live_mapping():
    """The sample's mapping with nothing cached: links are read from the cache all the same."""
    return json.loads(json.dumps(MAPPING).replace('"is_cached": true', '"is_cached": false'))


def cached_collections():
    """URIs of the collections whose members are in the cache."""
    members = {entry["@odata.id"]: next(iter(entry["mappings"]))
               for entry in MAPPING.values() if entry.get("is_collection")}
    return [uri for uri, member in members.items() if is_cached(MAPPING[member])]


def low_half(value):
    """The low 32 bits of an integer, with their sign."""
    return (value + 2**31) % 2**32 - 2**31


def as_read_live(cached, entry, null_arrays):
    """What a live read shows of a resource that is read from the cache so. null_arrays: the arrays with a value map that
    are null: live reads show them as [], and leave out those without elements; in the cache both are []."""
    live = dict(cached)
    mapped = next(iter(entry["mappings"].values()))
    for name, declared in mapped["properties"].items():
        name = declared.get("alias") or name
        value, values = live.get(name), declared.get("value_mapping", {}).values()
        if value == [] and name not in null_arrays or values and isinstance(value, str) and value not in values:
            del live[name]  # of an empty array the count remains
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
        cls.manager = cls.enterClassContext(sample_object_manager())
        cls.live = cls.start(live_mapping(), "--cim", cls.manager.url)
        cls.cached = cls.start(MAPPING)

    @classmethod
    def start(cls, mapping, *options):
        service = Service(mapping, options=options)
        fill_cache(service.cache_path, cls.manager)
        return cls.enterClassContext(service)

    def members(self):
        """URI and mapping entry of each member of the collections."""
        for page in cached_collections():
            while page:
                collection = self.cached.get(page).json()
                for member in collection["Members"]:
                    uri = member["@odata.id"]
                    yield uri, MAPPING[uri.split("/")[-2]]
                page = collection.get("Members@odata.nextLink")

    def test_every_instance_reads_the_same_but_for_what_live_reads_show_otherwise(self):
        compared = 0
        for uri, entry in self.members():
            with self.subTest(uri=uri):
                cached, live = self.cached.get(uri), self.live.get(uri)
                self.assertEqual((cached.status, live.status), (200, 200))
                null_arrays = [name for name, value in live.json().items() if value == []]
                self.assertEqual(without_counts(live.json()), as_read_live(cached.json(), entry, null_arrays))
                for name in ("Allow", "Link"):
                    self.assertEqual(live.get(name), cached.get(name))
                compared += 1
        self.assertEqual(compared, 214)


if __name__ == "__main__":
    unittest.main()
