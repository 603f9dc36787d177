#!/usr/bin/python3
"""Resources straight from CIM: every type, value maps, aliases, keys, $select."""

import unittest

from cim_object_manager import Class, object_manager
from cimgate_host import BASE, OTHER_ARRAY, STRING_ARRAY, VERBATIM, Service, array_cell, member_entry
from own_address import own_address

# One property of each CIM type: the name is that of the type.
SCALARS = {
    "boolean": (True, True), "char16": ("c", None), "string": ("a <b> & \"c\" é", "a <b> & \"c\" é"),
    "uint8": (255, 255), "uint16": (65535, 65535), "uint32": (4294967295, 4294967295),
    "uint64": (18446744073709551615, 18446744073709551615), "sint8": (-128, -128), "sint16": (-32768, -32768),
    "sint32": (-2147483648, -2147483648), "sint64": (-5000000000, -705032704), "real32": (1.5, 1.5),
    "real64": (-0.1, -0.1),
    "datetime": ("20240501102030.123456+120", "2024-05-01T08:20:30+0000"),
}
STATES = {"2": "On", "3": "Off", "-1": "Broken", "s": "Text"}


def mapped(cim_type, **more):
    return {"cim_type": cim_type, **more}


def types_class():
    properties = {"InstanceID": "string", **{f"P_{name}": name for name in SCALARS},
                  **{f"A_{name}": f"{name}[]" for name in SCALARS}}
    return Class("XCIM_Types", properties)


def types_entry(cached=False):
    properties = {"InstanceID": mapped("string"), **{f"P_{name}": mapped(name) for name in SCALARS},
                  **{f"A_{name}": mapped(name, is_arraytype=True) for name in SCALARS}}
    return member_entry("VexoTypes", "XCIM_Types", properties, cached=cached)


def without_annotations(resource):
    return {name: value for name, value in resource.items()
            if not name.startswith("@odata.") and name not in ("Id", "Name", "Description", "InstanceID")}


class Reading(unittest.TestCase):
    maxDiff = None

    def read(self, cim_class, instances, mapping, *paths):
        """The bodies of these paths, each answered with 200."""
        with object_manager(cim_class, instances) as manager, \
                Service(mapping, options=("--cim", manager.url, *VERBATIM)) as service:
            answers = [service.get(path) for path in paths]
            self.assertEqual([(path, answer.status) for path, answer in zip(paths, answers)],
                             [(path, 200) for path in paths])
            bodies = [answer.json() for answer in answers]
            return bodies[0] if len(paths) == 1 else bodies


class Values(Reading):
    def read_types(self, **values):
        return without_annotations(self.read(types_class(), [{"InstanceID": "T", **values}], types_entry(),
                                             f"{BASE}/VexoTypes/T"))

    def test_scalar_of_every_type(self):
        shown = self.read_types(**{f"P_{name}": value for name, (value, _) in SCALARS.items()})
        # There is no JSON for a char16: the library leaves it out.
        expected = {f"P_{name}": value for name, (_, value) in SCALARS.items() if name != "char16"}
        self.assertEqual({name: value for name, value in shown.items() if name.startswith("P_")}, expected)

    def test_null_of_every_type(self):
        shown = self.read_types()
        self.assertEqual(shown, {f"{kind}_{name}": None for name in SCALARS for kind in ("P", "A")})

    def test_array_of_every_type(self):
        shown = self.read_types(**{f"A_{name}": [value, value] for name, (value, _) in SCALARS.items()})
        for name, (_, value) in SCALARS.items():
            expected = 0 if name == "char16" else value
            self.assertEqual((name, shown[f"A_{name}"]), (name, [expected, expected]))
            self.assertEqual(shown[f"A_{name}@odata.count"], 2)

    def test_empty_array_of_every_type_has_only_a_count(self):
        shown = self.read_types(**{f"A_{name}": [] for name in SCALARS})
        for name in SCALARS:
            self.assertEqual((name, shown[f"A_{name}@odata.count"]), (name, 0))
            self.assertNotIn(f"A_{name}", shown)

    def test_null_elements_keep_their_places(self):
        shown = self.read_types(A_uint16=[1, None, 3], A_string=[None, "b"])
        self.assertEqual((shown["A_uint16"], shown["A_uint16@odata.count"]), ([1, None, 3], 3))
        self.assertEqual((shown["A_string"], shown["A_string@odata.count"]), ([None, "b"], 2))

    def test_interval_is_shown_as_a_point_in_time(self):
        shown = self.read_types(P_datetime="00000001010203.000000:000")
        self.assertEqual(shown["P_datetime"], "1970-01-02T01:02:03+0000")


class Mapping(Reading):
    def test_value_maps(self):
        cim_class = Class("XCIM_Mapped", {"InstanceID": "string", "Known": "uint16", "Unknown": "uint16",
                                          "Negative": "sint8", "Text": "string", "Flag": "boolean",
                                          "List": "uint16[]", "Nothing": "uint16[]"})
        entry = member_entry("VexoMapped", "XCIM_Mapped",
                             {name: mapped("uint16", value_mapping=STATES) for name in cim_class.properties
                              if name != "InstanceID"}, cached=False)
        shown = self.read(cim_class, [{"InstanceID": "M", "Known": 2, "Unknown": 9, "Negative": -1, "Text": "s",
                                         "Flag": True, "List": [3, 9, 2]}], entry, f"{BASE}/VexoMapped/M")
        self.assertEqual(without_annotations(shown), {"Known": "On", "Negative": "Broken", "Text": "Text",
                                                      "List": ["Off", None, "On"], "Nothing": []})

    def test_aliases_and_select(self):
        cim_class = Class("XCIM_Named", {"InstanceID": "string", "Label": "string", "Size": "uint32", "Same": "uint8"})
        entry = member_entry("VexoNamed", "XCIM_Named",
                             {"Label": mapped("string"), "Size": mapped("uint32", alias="SizeInBytes"),
                              "Same": mapped("uint8", alias="Same")}, cached=False)
        thing = f"{BASE}/VexoNamed/N.1"
        whole, narrow, everything = self.read(
            cim_class, [{"InstanceID": "N.1", "Label": "l", "Size": 7, "Same": 1}], entry, thing,
            f"{thing}?$select=SizeInBytes,Id", f"{thing}?$select=*")
        self.assertEqual(without_annotations(whole), {"Label": "l", "SizeInBytes": 7, "Same": 1})
        self.assertEqual(everything, whole)
        self.assertEqual((without_annotations(narrow), narrow["@odata.id"]), ({"SizeInBytes": 7}, whole["@odata.id"]))
        self.assertNotIn("Name", narrow)

    def test_keys_are_found_whatever_their_type(self):
        for cim_type, key in (("uint32", "7"), ("boolean", "true"), ("sint8", "-1"), ("string", "a%20b%26%3C")):
            cim_class = Class("XCIM_Keyed", {"Number": cim_type, "A": "string"}, keys=("Number",))
            entry = member_entry("VexoKeyed", "XCIM_Keyed", {"A": mapped("string")}, key="Number", cached=False)
            value = "a b&<" if cim_type == "string" else key
            shown = self.read(cim_class, [{"Number": value, "A": "found"}], entry, f"{BASE}/VexoKeyed/{key}")
            self.assertEqual((cim_type, shown["A"]), (cim_type, "found"))

    def test_singleton_with_fixed_selectors(self):
        cim_class = Class("XCIM_Fixed", {"Name": "string", "Kind": "string", "A": "string"}, keys=("Name", "Kind"))
        entry = member_entry("VexoFixed", "XCIM_Fixed", {"A": mapped("string")}, cached=False,
                             Selectors="Name=n,Kind=k")
        del entry["VexoFixed"]["UniqueSelector"]
        instances = [{"Name": "n", "Kind": "other", "A": "no"}, {"Name": "n", "Kind": "k", "A": "yes"}]
        self.assertEqual(self.read(cim_class, instances, entry, f"{BASE}/VexoFixed")["A"], "yes")

    def test_instance_read_live_is_the_instance_read_from_the_cache(self):
        values = {"Text": "a\nb", "Number": 7, "Flag": False, "Words": ["x", "y"], "Numbers": [1, 2], "State": 2}
        types = {"Text": "string", "Number": "uint32", "Flag": "boolean", "Words": "string[]", "Numbers": "uint16[]",
                 "State": "uint16"}
        properties = {name: mapped(cim_type.removesuffix("[]"), is_arraytype=cim_type.endswith("[]"))
                      for name, cim_type in types.items()}
        properties["InstanceID"] = mapped("string")
        properties["State"]["value_mapping"] = STATES
        properties["Number"]["alias"] = "HowMany"
        more = {"Link_Header": "</s.json>; rel=describedby", "allowed_operations": "GET,HEAD"}
        mapping = (member_entry("VexoHere", "XCIM_Here", properties, **more)
                   | member_entry("VexoThere", "XCIM_There", properties, cached=False, **more))
        row = ["K", *(array_cell(STRING_ARRAY if name == "Words" else OTHER_ARRAY, value) if isinstance(value, list)
                      else int(value) if isinstance(value, bool) else value for name, value in values.items())]
        cache = {"classes": {"XCIM_Here": (["InstanceID", *values], [row])}}
        there = Class("XCIM_There", {"InstanceID": "string", **types})
        with object_manager(there, [{"InstanceID": "K", **values}]) as manager, \
                Service(mapping, cache, options=("--cim", manager.url)) as service:
            cached, live = service.get(f"{BASE}/VexoHere/K"), service.get(f"{BASE}/VexoThere/K")
            self.assertEqual((cached.status, live.status), (200, 200))
            expected = {name: value for name, value in cached.json().items()}
            shown = {name: value for name, value in live.json().items()
                     if name not in ("Words@odata.count", "Numbers@odata.count")}
            for name in ("@odata.id", "@odata.type", "@odata.context", "Name", "Description"):
                expected[name] = expected[name].replace("VexoHere", "VexoThere")
            self.assertEqual(shown, expected)
            for name in ("Allow", "Link"):
                self.assertEqual(live.get(name), cached.get(name))


class Restart(Reading):
    def test_object_manager_that_is_killed_and_started_again_during_500_requests(self):
        cim_class = Class("XCIM_Some", {"InstanceID": "string", "A": "string"})
        mapping = member_entry("VexoSome", "XCIM_Some", {"A": mapped("string")}, cached=False)
        thing = f"{BASE}/VexoSome/S.1"
        with object_manager(cim_class, [{"InstanceID": "S.1", "A": "a"}], address=own_address()) as manager, \
                Service(mapping, options=("--cim", manager.url, "--workers", "2")) as service:
            self.assertEqual(service.get(thing).json()["A"], "a")
            workers = service.workers()
            statuses = []
            for round_number in range(50):
                statuses += [service.get(thing).status for _ in range(10)]
                if round_number == 15:
                    manager.kill()
                elif round_number == 30:
                    manager.start()
            self.assertEqual(statuses[:160] + statuses[310:], [200] * 350)
            self.assertEqual(statuses[160:310], [503] * 150)
            self.assertEqual(service.workers(), workers)


if __name__ == "__main__":
    unittest.main()
