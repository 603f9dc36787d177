#!/usr/bin/python3
"""cimgate-cached --once: what stands in the data cache afterwards, what is shown of it, and what could not be stored."""

import contextlib
import os
import sqlite3
import unittest
from xml.sax.saxutils import escape

from cim_object_manager import Class, InstancePath, ObjectManager, class_element, declaration, instance_element
from cimgate_host import BASE, NO_OBJECT_MANAGER, collection_entry, member_entry
from filler import CIMGATE_CACHED, Filler, reading_service
from program import run_program
from scripted_object_manager import ScriptedObjectManager, cim_error, http, response

TEXT = {"cim_type": "string"}
ASSOCIATION = "xcim_enclosureemmdependency"
# A value of each CIM type; the name of a property is that of its type.
SCALARS = {"boolean": True, "char16": "c", "string": "a <b> & \"c\" é", "uint8": 255, "uint16": 65535, "uint32": 4294967295,
           "uint64": 9223372036854775807, "sint8": -128, "sint16": -32768, "sint32": -2147483648,
           "sint64": -2147483648, "real32": 1.5, "real64": -0.1, "datetime": "20240501102030.123456+120"}
KEPT = [name for name in SCALARS if name not in ("char16", "real32", "real64")]


def without_annotations(resource):
    return {name: value for name, value in resource.items()
            if not name.startswith("@odata.") and name not in ("Id", "Name", "Description")}


def repository(*elements):
    return {"repository.xml": declaration(elements)}


def thing_class(**properties):
    return Class("XCIM_Thing", {"InstanceID": "string", **properties})


def thing_entry(properties, **more):
    return member_entry("VexoThing", "XCIM_Thing", properties, **more)


class FillerTest(unittest.TestCase):
    maxDiff = None

    def manager(self, *elements, **more):
        return self.enterContext(ObjectManager(repository(*elements), **more))

    def filler(self, mapping, url, *options, **more):
        filler = Filler(mapping, url, options, **more)
        self.addCleanup(filler.discard)
        return filler

    def service(self, filler, url=NO_OBJECT_MANAGER):
        """One that reads what a filler has filled."""
        return self.enterContext(reading_service(filler, "--cim", url))

    def shown(self, service, uri):
        answer = service.get(uri)
        self.assertEqual((answer.status, uri), (200, uri), service.log())
        return without_annotations(answer.json())

    def filled(self, cim_class, instances, entry):
        """A filler that has filled with the instances of one class, and the lines of its log."""
        manager = self.manager(*cim_class.elements(instances))
        filler = self.filler(entry, manager.url)
        return filler, filler.fill()


class Once(FillerTest):
    def test_rows_readiness_and_a_summary(self):
        things = thing_class(A="string", Number="uint32")
        manager = self.manager(*things.elements([{"InstanceID": f"T.{i}", "A": f"a{i}", "Number": i} for i in range(3)]))
        filler = self.filler(thing_entry({"A": TEXT, "Number": {"cim_type": "uint32"}}), manager.url)
        status, out, lines = filler.once()
        self.assertEqual((status, lines), (0, []))
        self.assertRegex(out, r"\AXCIM_Thing: 3 rows, 3 written, in \d+ ms\n\Z")
        self.assertEqual(filler.table("XCIM_Thing", "InstanceID", "A", "Number"),
                         [("T.0", "a0", 0), ("T.1", "a1", 1), ("T.2", "a2", 2)])
        self.assertEqual(filler.ready(), ["XCIM_Thing"])
        told = filler.status()
        self.assertEqual((told["state"], told["object_manager"], told["mapping"], told["cache"]),
                         ("stopped", manager.url, str(filler.mapping_path), str(filler.cache_path)))
        one = filler.class_status("XCIM_Thing")
        self.assertEqual((one["rows"], one["ready"], one["changed"], one["failures"], one["error"], one["losses"]),
                         (3, True, 3, 0, "", []))
        self.assertRegex(filler.once()[1], r"\AXCIM_Thing: 3 rows, 0 written, in \d+ ms\n\Z")

    def test_rows_that_stay_keep_their_number_while_others_come_change_and_go(self):
        things = thing_class(A="string")
        manager = self.manager(*things.elements([{"InstanceID": f"T.{i}", "A": "old"} for i in range(5)]))
        filler = self.filler(thing_entry({"A": TEXT}), manager.url)
        filler.fill()
        before = dict(filler.table("XCIM_Thing", "InstanceID", "rowid"))
        manager.delete(InstancePath("XCIM_Thing", InstanceID="T.1"))
        manager.modify(InstancePath("XCIM_Thing", InstanceID="T.3"), {"A": ("string", "new")})
        manager.create("XCIM_Thing", {"InstanceID": ("string", "T.9"), "A": ("string", "come")})
        _, out, _ = filler.once()
        self.assertRegex(out, r"\AXCIM_Thing: 5 rows, 3 written, in ")
        rows = filler.table("XCIM_Thing", "InstanceID", "A", "rowid")
        self.assertEqual([row[:2] for row in rows],
                         [("T.0", "old"), ("T.2", "old"), ("T.3", "new"), ("T.4", "old"), ("T.9", "come")])
        self.assertEqual({key: number for key, _, number in rows if key != "T.9"},
                         {key: number for key, number in before.items() if key != "T.1"})

    def test_mapping_that_caches_nothing_makes_a_file_all_the_same(self):
        filler = self.filler({}, NO_OBJECT_MANAGER)
        self.assertEqual(filler.once(), (0, "there is nothing to fill: no entry of the mapping file is cached\n", []))
        self.assertEqual(filler.ready(), [])

    def test_a_class_that_is_empty_is_ready(self):
        filler, _ = self.filled(thing_class(), [], thing_entry({}) | collection_entry("VexoThing"))
        self.assertEqual((filler.ready(), filler.table("XCIM_Thing", "InstanceID")), (["XCIM_Thing"], []))
        answer = self.service(filler).get(f"{BASE}/VexoThingCollection")
        self.assertEqual((answer.status, answer.json()["Members"]), (200, []))

    def test_instances_of_subclasses_are_there_with_what_these_add(self):
        manager = self.manager(class_element("XCIM_Thing", {"InstanceID": "string"}, ("InstanceID",)),
                               class_element("XCIM_BigThing", {"A": "string"}, superclass="XCIM_Thing"),
                               instance_element("XCIM_BigThing", {"InstanceID": ("string", "T"), "A": ("string", "a")}))
        filler = self.filler(thing_entry({"A": TEXT}), manager.url)
        self.assertEqual(filler.fill(), [])
        self.assertEqual(filler.table("XCIM_Thing", "InstanceID", "A"), [("T", "a")])

    def test_columns_of_a_class_are_those_of_all_its_entries(self):
        things = thing_class(A="string", B="uint32", Other="string", Fixed="string")
        mapping = (thing_entry({"A": TEXT})
                   | member_entry("VexoOther", "XCIM_Thing", {"B": {"cim_type": "uint32"}}, key="Other"))
        mapping["VexoOther"]["mappings"]["XCIM_Thing"]["key_properties"] = ["Fixed"]
        values = {"InstanceID": "T", "A": "a", "B": 7, "Other": "o", "Fixed": "f"}
        filler, lines = self.filled(things, [values], mapping)
        self.assertEqual(lines, [])
        self.assertEqual(filler.table("XCIM_Thing", *values), [tuple(values.values())])
        service = self.service(filler)
        self.assertEqual(self.shown(service, f"{BASE}/VexoThing/T"), {"A": "a"})
        self.assertEqual(self.shown(service, f"{BASE}/VexoOther/o"), {"B": 7})

    def test_interval_of_the_mapping_holds(self):
        things = thing_class()
        mapping = thing_entry({}) | member_entry("VexoOther", "XCIM_Other", {})
        mapping["VexoThing"]["mappings"]["XCIM_Thing"]["refresh_interval"] = 600
        manager = self.manager(*things.elements([]), class_element("XCIM_Other", {"InstanceID": "string"}, ("InstanceID",)))
        filler = self.filler(mapping, manager.url, "--interval", "30")
        filler.fill()
        self.assertEqual({one["name"]: one["interval_s"] for one in filler.status()["classes"]},
                         {"XCIM_Thing": 600, "XCIM_Other": 30})


class Keys(FillerTest):
    def test_integer_key_is_found_by_the_text_of_a_request(self):
        numbered = Class("XCIM_Thing", {"Number": "uint32", "A": "string"}, keys=("Number",))
        entry = thing_entry({"Number": {"cim_type": "uint32"}, "A": TEXT}, key="Number")
        filler, lines = self.filled(numbered, [{"Number": 4294967295, "A": "found"}], entry)
        self.assertEqual(lines, [])
        self.assertEqual(filler.rows("select typeof(Number), Number from Tbl_XCIM_Thing"), [("integer", 4294967295)])
        self.assertEqual(filler.rows("select type from pragma_table_info('Tbl_XCIM_Thing') where name = 'Number'"),
                         [("INTEGER",)])
        self.assertEqual(self.shown(self.service(filler), f"{BASE}/VexoThing/4294967295"),
                         {"Number": 4294967295, "A": "found"})

    def test_integer_key_that_is_not_mapped_is_a_text(self):
        numbered = Class("XCIM_Thing", {"Number": "uint32", "A": "string"}, keys=("Number",))
        entry = thing_entry({"A": TEXT}, key="Number") | collection_entry("VexoThing")
        filler, lines = self.filled(numbered, [{"Number": 7, "A": "found"}], entry)
        self.assertEqual(lines, [])
        self.assertEqual(filler.rows("select typeof(Number), Number from Tbl_XCIM_Thing"), [("text", "7")])
        service = self.service(filler)
        self.assertEqual(self.shown(service, f"{BASE}/VexoThing/7"), {"A": "found"})
        [member] = service.get(f"{BASE}/VexoThingCollection").json()["Members"]
        self.assertEqual(member["@odata.id"], f"{BASE}/VexoThing/7")

    def test_integer_key_of_the_mapping_that_is_a_text_of_the_class(self):
        filler, _ = self.filled(thing_class(), [{"InstanceID": "007"}], thing_entry({"InstanceID": {"cim_type": "uint32"}}))
        self.assertEqual(filler.rows("select typeof(InstanceID), InstanceID from Tbl_XCIM_Thing"), [("text", "007")])
        self.assertEqual(self.shown(self.service(filler), f"{BASE}/VexoThing/007"), {"InstanceID": "007"})

    def test_instances_without_a_key_and_of_a_key_that_was_there_are_left_out_and_told_once(self):
        # The key of the resources is none of the class's keys.
        things = Class("XCIM_Thing", {"Path": "string", "InstanceID": "string", "A": "string"}, keys=("Path",))
        values = [("1", "T", "first"), ("2", "T", "second"), ("3", "", "empty"), ("4", None, "null"), ("5", "U", "other")]
        instances = [{"Path": path, "A": a} | ({} if key is None else {"InstanceID": key}) for path, key, a in values]
        filler, lines = self.filled(things, instances, thing_entry({"A": TEXT}))
        self.assertEqual(filler.table("XCIM_Thing", "InstanceID", "A"), [("T", "first"), ("U", "other")])
        losses = ["an instance is left out: another one has the same key (T)",
                  "an instance is left out, its key InstanceID: without a value for its key"]
        self.assertEqual(lines, [f"cimgate-cached: XCIM_Thing (entry VexoThing): {loss}" for loss in losses])
        self.assertEqual(filler.class_status("XCIM_Thing")["losses"], losses)
        self.assertEqual(filler.class_status("XCIM_Thing")["rows"], 2)

    def test_collection_without_a_key_has_all_its_members(self):
        things = Class("XCIM_Thing", {"A": "string", "B": "string"}, keys=("A", "B"))
        mapping = thing_entry({"A": TEXT, "B": TEXT}) | collection_entry("VexoThing")
        del mapping["VexoThing"]["UniqueSelector"]
        filler, lines = self.filled(things, [{"A": "1", "B": b} for b in "xy"], mapping)
        self.assertEqual(lines, [])
        self.assertEqual(filler.table("XCIM_Thing", "A", "B"), [("1", "x"), ("1", "y")])
        filler.fill()
        self.assertEqual(filler.class_status("XCIM_Thing")["changed"], 0)
        members = self.service(filler).get(f"{BASE}/VexoThingCollection").json()["Members"]
        self.assertEqual([(one["A"], one["B"]) for one in members], [("1", "x"), ("1", "y")])


class Missing(FillerTest):
    def test_property_that_the_class_lacks_is_null_and_told_with_its_entry(self):
        filler, lines = self.filled(thing_class(A="string"), [{"InstanceID": "T", "A": "a"}],
                                    thing_entry({"A": TEXT, "Wrong": TEXT}))
        loss = "property Wrong: the object manager's class has no such property; the entry VexoThing shows null"
        self.assertEqual(lines, [f"cimgate-cached: XCIM_Thing (entry VexoThing): {loss}"])
        self.assertEqual(filler.class_status("XCIM_Thing")["losses"], [loss])
        self.assertEqual(self.shown(self.service(filler), f"{BASE}/VexoThing/T"), {"A": "a", "Wrong": None})

    def test_class_that_is_missing_is_named_and_all_others_are_filled(self):
        mapping = thing_entry({}) | member_entry("VexoWrong", "XCIM_Wrong", {"A": TEXT})
        manager = self.manager(*thing_class().elements([{"InstanceID": "T"}]))
        filler = self.filler(mapping, manager.url)
        status, out, lines = filler.once()
        self.assertEqual(status, 1)
        self.assertRegex(out, r"\AXCIM_Thing: 1 row, 1 written, in \d+ ms\nXCIM_Wrong: failed: CIM status 5: .*\n\Z")
        [line] = lines
        self.assertRegex(line, r"\Acimgate-cached: XCIM_Wrong \(entry VexoWrong\): CIM status 5: .*; it is not ready\Z")
        self.assertEqual(filler.ready(), ["XCIM_Thing"])
        told = filler.class_status("XCIM_Wrong")
        self.assertEqual((told["ready"], told["failures"], told["refreshed"]), (False, 1, None))
        self.assertRegex(told["error"], r"\ACIM status 5: ")
        service = self.service(filler)
        self.assertEqual(self.shown(service, f"{BASE}/VexoThing/T"), {})
        answer = service.get(f"{BASE}/VexoWrong/T")
        self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))


class Values(FillerTest):
    """One instance of every type, read from the cache and live."""

    def both(self, properties, values, more=None):
        """What is shown of an instance read from the cache and live; also the losses. properties: name -> kind of CIM;
        more: what the mapping says of a property besides its type."""
        mapped = {name: {"cim_type": kind.removesuffix("[]"), **({"is_arraytype": True} if kind.endswith("[]") else {}),
                         **(more or {}).get(name, {})} for name, kind in properties.items()}
        mapping = (member_entry("VexoThing", "XCIM_Thing", {"InstanceID": TEXT, **mapped})
                   | member_entry("VexoLive", "XCIM_Thing", {"InstanceID": TEXT, **mapped}, cached=False))
        manager = self.manager(*thing_class(**properties).elements([{"InstanceID": "T", **values}]))
        filler = self.filler(mapping, manager.url)
        filler.fill()
        service = self.service(filler, manager.url)
        cached, live = (self.shown(service, f"{BASE}/{name}/T") for name in ("VexoThing", "VexoLive"))
        # A whole resource has these of live arrays only.
        live = {name: value for name, value in live.items() if not name.endswith("@odata.count")}
        # The cells are such that a service need not be asked twice.
        self.assertEqual(service.problems(), [])
        return cached, live, filler.class_status("XCIM_Thing")["losses"]

    def test_scalar_of_every_type(self):
        cached, live, losses = self.both({f"P_{name}": name for name in SCALARS},
                                         {f"P_{name}": value for name, value in SCALARS.items()})
        self.assertEqual(cached, live | {"P_char16": None, "P_real32": "1.5", "P_real64": "-0.1"})
        self.assertEqual(live["P_uint64"], 9223372036854775807)
        self.assertEqual(live["P_datetime"], "2024-05-01T08:20:30+0000")
        self.assertEqual(losses,
                         ["property P_char16: char16, references and embedded objects are not stored: shown as null (T)",
                          "property P_real32: a real is shown as a text (T)",
                          "property P_real64: a real is shown as a text (T)"])

    def test_array_of_every_type(self):
        cached, live, losses = self.both({f"A_{name}": f"{name}[]" for name in SCALARS},
                                         {f"A_{name}": [value, value] for name, value in SCALARS.items()})
        self.assertEqual(cached, live | {"A_char16": None, "A_real32": None, "A_real64": None})
        self.assertEqual({name: len(live[f"A_{name}"]) for name in KEPT}, dict.fromkeys(KEPT, 2))
        self.assertEqual(losses,
                         ["property A_char16: char16, references and embedded objects are not stored: shown as null (T)",
                          "property A_real32: an array of reals is not stored: shown as null (T)",
                          "property A_real64: an array of reals is not stored: shown as null (T)"])

    def test_null_of_every_type(self):
        kinds = {f"P_{name}": name for name in SCALARS} | {f"A_{name}": f"{name}[]" for name in SCALARS}
        cached, live, losses = self.both(kinds, {})
        self.assertEqual(cached, live)
        self.assertEqual({name: value for name, value in live.items() if name != "InstanceID"}, dict.fromkeys(kinds))
        self.assertEqual(losses, [])

    def test_empty_array_of_every_type_is_shown_as_one_which_a_live_read_leaves_out(self):
        cached, live, losses = self.both({f"A_{name}": f"{name}[]" for name in SCALARS}, {f"A_{name}": [] for name in SCALARS})
        self.assertEqual((cached, live, losses),
                         ({"InstanceID": "T"} | {f"A_{name}": [] for name in SCALARS}, {"InstanceID": "T"}, []))

    def test_value_maps(self):
        states = {"value_mapping": {"2": "On", "3": "Off", "-1": "Broken", "s": "Text"}}
        kinds = {"Known": "uint16", "Negative": "sint8", "Text": "string", "List": "uint16[]", "Texts": "string[]",
                 "Never": "uint16[]"}
        values = {"Known": 2, "Negative": -1, "Text": "s", "List": [3, 2], "Texts": ["s", "3"]}
        cached, live, losses = self.both(kinds, values, dict.fromkeys(kinds, states))
        self.assertEqual(cached, live)
        self.assertEqual(live, {"InstanceID": "T", "Known": "On", "Negative": "Broken", "Text": "Text", "List": ["Off", "On"],
                                "Texts": ["Text", "Off"], "Never": []})
        self.assertEqual(losses, [])

    def test_value_without_a_word_is_shown_as_it_is(self):
        states = {"value_mapping": {"2": "On"}}
        cached, live, losses = self.both({"P": "uint16", "A": "uint16[]"}, {"P": 9, "A": [2, 9]}, {"P": states, "A": states})
        self.assertEqual((cached["P"], cached["A"], losses), ("9", ["On", "9"], []))
        self.assertEqual((live.get("P"), live["A"]), (None, ["On", None]))

    def test_integers_of_64_bits(self):
        cached, live, losses = self.both({"Large": "uint64", "Many": "uint64[]", "Signed": "sint64"},
                                         {"Large": 2**63, "Many": [2**63, 2**64 - 1], "Signed": -5000000000})
        self.assertEqual(cached, {"InstanceID": "T", "Large": "9223372036854775808", "Many": [2**63, 2**64 - 1],
                                  "Signed": -5000000000})
        self.assertEqual(live, {"InstanceID": "T", "Large": 2**63, "Many": [2**63, 2**64 - 1], "Signed": -705032704})
        self.assertEqual(losses, ["property Large: 2^63 and more is shown as a text (T)"])

    def test_date_times(self):
        values = {"Past": "19591231235959.000000+000", "Interval": "00000001010203.000000:000",
                  "Late": "99991231235959.999999+000"}
        cached, live, losses = self.both(dict.fromkeys(values, "datetime"), values)
        # A live read takes the microseconds for a number without a sign.
        self.assertEqual((cached, losses), (live | {"Past": "1959-12-31T23:59:59+0000"}, []))
        self.assertEqual((live["Interval"], live["Late"]), ("1970-01-02T01:02:03+0000", "9999-12-31T23:59:59+0000"))

    def test_texts(self):
        values = {"Empty": "", "Blanks": " \t\n", "Signs": "#░#\u2028\U0001F600", "Number": "1.5"}
        cached, live, losses = self.both(dict.fromkeys(values, "string"), values)
        self.assertEqual((cached, losses), (live | {"Empty": None}, []))

    def test_arrays_that_the_cache_has_no_layout_for_are_null_and_told(self):
        values = {"Inside": ["a#b", "c"], "Bytes": ["\u2028"], "Holes": ["a", None], "Empty": ["a", ""]}
        properties = dict.fromkeys(values, "string[]") | {"Many": "uint16[]"}
        cached, _, losses = self.both(properties, values | {"Many": list(range(1024))})
        self.assertEqual(cached, {"InstanceID": "T"} | dict.fromkeys(properties))
        inside = 'an array with "#", or another byte that separates elements, is not stored: shown as null (T)'
        hole = "an array with an element that is empty or null is not stored: shown as null (T)"
        self.assertEqual(losses, [f"property Bytes: {inside}", f"property Empty: {hole}", f"property Holes: {hole}",
                                  f"property Inside: {inside}",
                                  "property Many: more than 1023 numbers are not stored: shown as null (T)"])

    def test_most_numbers_of_an_array(self):
        cached, live, losses = self.both({"Many": "uint16[]"}, {"Many": list(range(1023))})
        self.assertEqual((cached, losses), (live, []))

    def test_types_that_the_mapping_has_wrong_end_no_reader(self):
        kinds = {"Word": "string", "Number": "uint32", "Wide": "uint64", "Flag": "boolean", "Time": "datetime",
                 "Numbers": "uint32[]", "Untyped": "uint32"}
        values = {"Word": "w", "Number": 7, "Wide": 2**40, "Flag": True, "Time": "20240501102030.000000+000",
                  "Numbers": [1, 2], "Untyped": 8}
        said = {"Word": "uint32", "Number": "string", "Wide": "uint32", "Flag": "sint8", "Time": "string",
                "Numbers": "string", "Untyped": ""}
        cached, _, losses = self.both(kinds, values, {name: {"cim_type": kind} for name, kind in said.items()})
        self.assertEqual(cached, {"InstanceID": "T", "Word": "w", "Number": "7", "Wide": str(2**40), "Flag": "true",
                                  "Time": "2024-05-01T10:20:30+0000", "Numbers": ["1", "2"], "Untyped": "8"})
        why = "the mapping's \"cim_type\" does not fit: shown as a text (T)"
        self.assertEqual(losses, [f"property {name}: {why}" for name in sorted(set(said) - {"Word"})])

    def test_references_are_not_stored(self):
        things = class_element("XCIM_Thing", {"InstanceID": "string", "Ref": "ref:XCIM_Thing"}, ("InstanceID",))
        other = InstancePath("XCIM_Thing", InstanceID="T")
        manager = self.manager(things, instance_element("XCIM_Thing", {"InstanceID": ("string", "T"),
                                                                       "Ref": ("ref:XCIM_Thing", other)}))
        filler = self.filler(thing_entry({"Ref": {"cim_type": "reference"}}), manager.url)
        loss = "property Ref: char16, references and embedded objects are not stored: shown as null (T)"
        self.assertEqual(filler.fill(), [f"cimgate-cached: XCIM_Thing (entry VexoThing): {loss}"])
        self.assertEqual(self.shown(self.service(filler), f"{BASE}/VexoThing/T"), {"Ref": None})

    def test_embedded_objects_are_not_stored(self):
        embedded = '<INSTANCE CLASSNAME="XCIM_Inner"/>'

        def answer(request):
            if "CIMMethod: EnumerateInstances\r\n" not in request:
                return cim_error(7, "not supported", "GetClass")
            inner = ('<PROPERTY NAME="InstanceID" TYPE="string"><VALUE>T</VALUE></PROPERTY>'
                     f'<PROPERTY NAME="One" TYPE="string" EmbeddedObject="instance"><VALUE>{escape(embedded)}</VALUE></PROPERTY>'
                     '<PROPERTY.ARRAY NAME="Many" TYPE="string" EmbeddedObject="instance"><VALUE.ARRAY>'
                     f'<VALUE>{escape(embedded)}</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>')
            path = '<INSTANCENAME CLASSNAME="XCIM_Thing"><KEYBINDING NAME="InstanceID"><KEYVALUE>T</KEYVALUE></KEYBINDING>'
            return http(response("EnumerateInstances", f"<IRETURNVALUE><VALUE.NAMEDINSTANCE>{path}</INSTANCENAME>"
                                 f'<INSTANCE CLASSNAME="XCIM_Thing">{inner}</INSTANCE></VALUE.NAMEDINSTANCE></IRETURNVALUE>'))

        with ScriptedObjectManager(answer) as manager:
            filler = self.filler(thing_entry({"One": TEXT, "Many": TEXT}), manager.url)
            lost = "char16, references and embedded objects are not stored: shown as null (T)"
            self.assertEqual(filler.fill(), [f"cimgate-cached: XCIM_Thing (entry VexoThing): property {name}: {lost}"
                                             for name in ("Many", "One")])
            self.assertEqual(self.shown(self.service(filler), f"{BASE}/VexoThing/T"), {"One": None, "Many": None})

    def test_a_loss_of_many_instances_is_one_line_that_names_the_first(self):
        filler, lines = self.filled(thing_class(Real="real64"),
                                    [{"InstanceID": f"T.{i}", "Real": 1.5} for i in range(30)],
                                    thing_entry({"Real": {"cim_type": "real64"}}))
        loss = "property Real: a real is shown as a text (T.0 and 29 more)"
        self.assertEqual(lines, [f"cimgate-cached: XCIM_Thing (entry VexoThing): {loss}"])
        self.assertEqual(filler.class_status("XCIM_Thing")["losses"], [loss])


class Links(FillerTest):
    # Three keys each: that of the resources is neither the first nor the last in the order of names.
    MODULES = Class("XCIM_EnclosureEMM", {"CreationClassName": "string", "DeviceID": "string", "SystemName": "string"},
                    keys=("CreationClassName", "DeviceID", "SystemName"))
    ENCLOSURES = Class("XCIM_Enclosure", {"CreationClassName": "string", "Tag": "string", "Zone": "string"},
                       keys=("CreationClassName", "Tag", "Zone"))

    def elements(self, modules, enclosures, links):
        elements = [*self.MODULES.elements([self.module(key) for key in modules]),
                    *self.ENCLOSURES.elements([self.enclosure(key) for key in enclosures]), self.association()]
        return [*elements, *(self.link(*link) for link in links)]

    @staticmethod
    def module(key):
        return {"CreationClassName": "XCIM_EnclosureEMM", "DeviceID": key, "SystemName": "s"}

    @staticmethod
    def enclosure(key):
        return {"CreationClassName": "XCIM_Enclosure", "Tag": key, "Zone": "z"}

    @staticmethod
    def association():
        # In the order of the class, not of the names, which is the other one.
        return class_element("XCIM_EnclosureEMMDependency",
                             {"Dependent": "ref:XCIM_EnclosureEMM", "Antecedent": "ref:XCIM_Enclosure"},
                             ("Dependent", "Antecedent"), qualifiers=("Association",))

    @classmethod
    def link(cls, module, enclosure):
        return instance_element("XCIM_EnclosureEMMDependency", {
            "Antecedent": ("ref:XCIM_Enclosure", InstancePath("XCIM_Enclosure", **cls.enclosure(enclosure))),
            "Dependent": ("ref:XCIM_EnclosureEMM", InstancePath("XCIM_EnclosureEMM", **cls.module(module)))})

    @staticmethod
    def mapping(modules_cached=True, enclosures_cached=True):
        return (member_entry("VexoEnclosureEMM", "XCIM_EnclosureEMM", {"DeviceID": TEXT}, key="DeviceID",
                             cached=modules_cached, Links={"VexoEnclosureCollection": {}})
                | member_entry("VexoEnclosure", "XCIM_Enclosure", {"Tag": TEXT}, key="Tag", cached=enclosures_cached,
                               Links={"VexoEnclosureEMMCollection": {}}))

    def linked(self, service, uri):
        links = self.shown(service, f"{BASE}/{uri}")["Links"]
        return {name: [one["@odata.id"] for one in list_] for name, list_ in (links or {}).items()}

    def test_first_reference_is_left_and_second_right(self):
        manager = self.manager(*self.elements(["M#1", "M#2"], ["E.1", "E.2"], [("M#1", "E.1"), ("M#2", "E.1")]))
        filler = self.filler(self.mapping(), manager.url)
        self.assertEqual(filler.fill(), [])
        self.assertEqual(filler.table(ASSOCIATION, "__LeftClass", "__LeftClassKey", "__RightClass", "__RightClassKey"),
                         [("XCIM_EnclosureEMM", "M#1", "XCIM_Enclosure", "E.1"),
                          ("XCIM_EnclosureEMM", "M#2", "XCIM_Enclosure", "E.1")])
        service = self.service(filler)
        chassis = f"{BASE}/Chassis/System.Embedded.1"
        self.assertEqual(self.linked(service, "VexoEnclosure/E.1"),
                         {"VexoEnclosureEMMCollection": [f"{chassis}/VexoEnclosureEMM/M%231",
                                                         f"{chassis}/VexoEnclosureEMM/M%232"]})
        self.assertEqual(self.linked(service, "VexoEnclosureEMM/M%231"),
                         {"VexoEnclosureCollection": [f"{chassis}/VexoEnclosure/E.1"]})
        self.assertEqual(self.linked(service, "VexoEnclosure/E.2"), {})

    def test_links_come_and_go_with_refreshes(self):
        manager = self.manager(*self.elements(["M.1", "M.2"], ["E.1"], [("M.1", "E.1"), ("M.2", "E.1")]))
        filler = self.filler(self.mapping(), manager.url)
        filler.fill()
        manager.delete(InstancePath("XCIM_EnclosureEMMDependency",
                                    Dependent=InstancePath("XCIM_EnclosureEMM", **self.module("M.1")),
                                    Antecedent=InstancePath("XCIM_Enclosure", **self.enclosure("E.1"))))
        filler.fill()
        self.assertEqual(filler.table(ASSOCIATION, "__LeftClassKey", "__RightClassKey"), [("M.2", "E.1")])

    def test_links_of_resources_that_are_read_live_are_filled_too(self):
        module = InstancePath("XCIM_EnclosureEMM", DeviceID="M.1")
        enclosure = InstancePath("XCIM_Enclosure", Tag="E.1")
        link = {"Dependent": ("ref:XCIM_EnclosureEMM", module), "Antecedent": ("ref:XCIM_Enclosure", enclosure)}
        manager = self.manager(
            *Class("XCIM_EnclosureEMM", {"DeviceID": "string"}, ("DeviceID",)).elements([{"DeviceID": "M.1"}]),
            *Class("XCIM_Enclosure", {"Tag": "string"}, ("Tag",)).elements([{"Tag": "E.1"}]),
            self.association(), instance_element("XCIM_EnclosureEMMDependency", link))
        filler = self.filler(self.mapping(modules_cached=False, enclosures_cached=False), manager.url)
        status, out, lines = filler.once()
        self.assertEqual((status, lines), (0, []))
        self.assertRegex(out, rf"\A{ASSOCIATION}: .*, 1 written, in ")
        service = self.service(filler, manager.url)
        self.assertEqual(list(self.linked(service, "VexoEnclosure/E.1")), ["VexoEnclosureEMMCollection"])

    def test_end_of_a_subclass_has_the_key_that_resources_go_by(self):
        big = class_element("XCIM_BigModule", {}, superclass="XCIM_EnclosureEMM")
        module = self.module("M.1")
        link = {"Dependent": ("ref:XCIM_EnclosureEMM", InstancePath("XCIM_BigModule", **module)),
                "Antecedent": ("ref:XCIM_Enclosure", InstancePath("XCIM_Enclosure", **self.enclosure("E.1")))}
        manager = self.manager(*self.elements([], ["E.1"], []), big,
                               instance_element("XCIM_BigModule", {name: ("string", text) for name, text in module.items()}),
                               instance_element("XCIM_EnclosureEMMDependency", link))
        filler = self.filler(self.mapping(), manager.url)
        self.assertEqual(filler.fill(), [])
        self.assertEqual(filler.table(ASSOCIATION, "__LeftClass", "__LeftClassKey", "__RightClassKey"),
                         [("XCIM_BigModule", "M.1", "E.1")])
        self.assertEqual(list(self.linked(self.service(filler), "VexoEnclosureEMM/M.1")), ["VexoEnclosureCollection"])

    def test_link_without_a_key_is_left_out_and_told(self):
        keyless = InstancePath("XCIM_Enclosure", Other="E.1")
        link = {"Dependent": ("ref:XCIM_EnclosureEMM", InstancePath("XCIM_EnclosureEMM", **self.module("M.1"))),
                "Antecedent": ("ref:XCIM_Enclosure", keyless)}
        manager = self.manager(*self.elements(["M.1", "M.2"], ["E.1"], [("M.2", "E.1")]),
                               instance_element("XCIM_EnclosureEMMDependency", link))
        filler = self.filler(self.mapping(), manager.url)
        lines = filler.fill()
        self.assertEqual(filler.table(ASSOCIATION, "__LeftClassKey", "__RightClassKey"), [("M.2", "E.1")])
        loss = f"a link of {ASSOCIATION} is left out: its Antecedent has no key by which resources go"
        self.assertEqual(sorted(lines), [f"cimgate-cached: XCIM_Enclosure (entry VexoEnclosure): {loss}",
                                         f"cimgate-cached: XCIM_EnclosureEMM (entry VexoEnclosureEMM): {loss}"])

    def test_association_that_the_object_manager_lacks_has_an_empty_table(self):
        manager = self.manager(*self.MODULES.elements([self.module("M.1")]), *self.ENCLOSURES.elements([]))
        filler = self.filler(self.mapping(), manager.url)
        status, out, lines = filler.once()
        self.assertEqual(status, 1)
        self.assertIn("XCIM_EnclosureEMM: failed: CIM status 5: ", out)
        self.assertEqual(filler.table(ASSOCIATION, "__LeftClass"), [])
        self.assertTrue(all(ASSOCIATION in line for line in lines), lines)


class Refusals(FillerTest):
    def check_fails(self, filler, status, *hints, options=("--once",)):
        got, out, lines = filler.once(*options)
        self.assertEqual((got, out, len(lines)), (status, "", 1), lines)
        for hint in hints:
            self.assertIn(hint, lines[0])

    def test_wrong_options(self):
        wrong = [["--interval", "0"], ["--interval", "x"], ["--refresh-timeout", "0"], ["--cim", "ftp://a"], ["--log-level", "5"],
                 ["--unknown"], ["file"]]
        for options, hint in [*((one, one[0]) for one in wrong), (["--compact"], "--once")]:
            with self.subTest(options=options):
                done = run_program(CIMGATE_CACHED, "--cache", "/nowhere/cache.db", *options)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertRegex(done.stderr, r"cimgate-cached: [^\n]+\n\Z")
                self.assertIn(hint, done.stderr)

    def test_mapping_that_cannot_be_used(self):
        for text in ("", "[]", '{"VexoThing": '):
            with self.subTest(text=text):
                filler = self.filler(text, NO_OBJECT_MANAGER)
                self.check_fails(filler, 1, str(filler.mapping_path), "is not a JSON object", "--rmf")
        filler = self.filler("{}", NO_OBJECT_MANAGER)
        filler.mapping_path.unlink()
        self.check_fails(filler, 1, str(filler.mapping_path), "No such file", "--rmf")
        filler.mapping_path.mkdir()
        self.check_fails(filler, 1, f"cannot read the mapping file {filler.mapping_path}: Is a directory; ", "--rmf")

    def test_directory_that_is_not_there(self):
        filler = self.filler(thing_entry({}), NO_OBJECT_MANAGER, cache="/nowhere/cache.db")
        self.check_fails(filler, 1, "/nowhere/cache.db", "No such file", "make its directory", "--cache")

    def test_files_are_for_all_to_read_whatever_the_umask_says(self):
        manager = self.manager(*thing_class().elements([{"InstanceID": "T"}]))
        filler = self.filler(thing_entry({}), manager.url)
        filler.command = ["sh", "-c", 'umask 077; exec "$0" "$@"', *filler.command]
        filler.fill()
        modes = {path.name: oct(path.stat().st_mode & 0o777) for path in filler.directory.glob("cache.db*")}
        self.assertEqual(modes, {f"cache.db{end}": "0o644" for end in ("", "-wal", "-shm", ".lock", ".status")})

    def test_directory_that_cannot_be_written(self):
        filler = self.filler(thing_entry({}), NO_OBJECT_MANAGER, cache="/proc/cache.db")
        self.check_fails(filler, 1, "/proc/cache.db", "--cache")
        filler = self.filler(thing_entry({}), NO_OBJECT_MANAGER, cache="/sys/cache.db")
        self.check_fails(filler, 1, "/sys/cache.db", "; let this user write there, or name another file with --cache")

    def test_directory_in_place_of_the_file(self):
        filler = self.filler(thing_entry({}), NO_OBJECT_MANAGER)
        filler.cache_path.mkdir()
        self.check_fails(filler, 1, str(filler.cache_path), "unable to open database file", "; mend that or name another file with --cache")

    def check_refused_unchanged(self, filler, *hints):
        before = filler.cache_path.read_bytes()
        names = set(os.listdir(filler.directory))
        self.check_fails(filler, 1, str(filler.cache_path), *hints)
        self.assertEqual(filler.cache_path.read_bytes(), before)
        self.assertEqual({name for name in os.listdir(filler.directory) if not name.endswith((".lock", "log"))},
                         {name for name in names if not name.endswith((".lock", "log"))})

    def test_file_of_another_program_is_left_as_it_is(self):
        filler = self.filler(thing_entry({}), NO_OBJECT_MANAGER)
        with contextlib.closing(sqlite3.connect(filler.cache_path)) as connection, connection:
            connection.execute("create table Tbl_XCIM_Thing (InstanceID text)")
            connection.execute("insert into Tbl_XCIM_Thing values ('theirs')")
        self.check_refused_unchanged(filler, "another program has made it", "--cache")
        filler.cache_path.write_bytes(b"no database" * 1000)
        self.check_refused_unchanged(filler, "file is not a database; mend that or name another file with --cache")

    def test_empty_file_is_taken(self):
        manager = self.manager(*thing_class().elements([{"InstanceID": "T"}]))
        filler = self.filler(thing_entry({}), manager.url)
        filler.cache_path.touch()
        filler.fill()
        self.assertEqual(filler.table("XCIM_Thing", "InstanceID"), [("T",)])

    def test_log_of_a_file_that_was_removed_is_not_taken_for_that_of_the_new_one(self):
        manager = self.manager(*thing_class(A="string").elements([{"InstanceID": f"T.{i}"} for i in range(9)]))
        filler = self.filler(thing_entry({}), manager.url)
        filler.fill()
        self.assertGreater(os.path.getsize(f"{filler.cache_path}-wal"), 0)
        filler.cache_path.unlink()
        filler.write_mapping(thing_entry({"A": TEXT}))
        filler.fill()
        self.assertEqual(filler.rows("pragma integrity_check"), [("ok",)])
        self.assertEqual(filler.class_status("XCIM_Thing")["changed"], 9)
        self.assertEqual(filler.table("XCIM_Thing", "InstanceID", "A"), [(f"T.{i}", None) for i in range(9)])

    def test_once_without_an_object_manager(self):
        filler = self.filler(thing_entry({}), NO_OBJECT_MANAGER)
        self.check_fails(filler, 1, "the CIM object manager cannot be reached")
        self.assertEqual(filler.ready(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
