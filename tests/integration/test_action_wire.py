#!/usr/bin/python3
"""What of an action's body arrives at the object manager: arguments by name, order, type and value; the instance."""

import unittest

from action_service import DONE, RUN, SERVICE, ActionService, MethodCall, action_mapping, declared
from cimgate_host import BASE, member_entry
from scripted_object_manager import ScriptedObjectManager

STATES = {"2": "Enabled", "3": "Disabled"}
ARRAY = {"is_arraytype": True}


class Wire(unittest.TestCase):
    maxDiff = None

    def call(self, inputs, body, mapping=None):
        """The call that a body makes of an action with these inputs."""
        with ScriptedObjectManager(DONE) as manager, \
                ActionService(manager.url, (mapping or {}) | action_mapping(inputs)) as service:
            answer = service.run(body)
            self.assertEqual((answer.status, len(manager.requests)), (200, 1), answer.body)
            return MethodCall(manager.requests[0])

    def check_arguments(self, inputs, body, *expected):
        self.assertEqual(self.call(inputs, body).arguments, list(expected))

    def test_method_is_called_on_the_instance_of_the_service(self):
        call = self.call({}, {})
        self.assertEqual((call.method, call.namespace, call.class_name), ("Run", "root/xcim", "XCIM_Service"))
        self.assertEqual(call.keys, {"Name": ("string", "run & go"), "SystemName": ("string", "host 1")})
        self.assertEqual(list(call.keys), ["Name", "SystemName"])
        self.assertEqual(call.arguments, [])
        self.assertIn("\r\nCIMMethod: Run\r\n", call.head)

    def test_service_without_selectors_is_addressed_as_a_class(self):
        mapping = action_mapping()
        mapping["VexoService"]["Selectors"] = ""
        with ScriptedObjectManager(DONE) as manager, ActionService(manager.url, mapping) as service:
            self.assertEqual(service.run().status, 200)
            self.assertIn("<LOCALCLASSPATH>", manager.requests[0])

    def test_arguments_come_in_the_order_of_their_names(self):
        self.check_arguments({name: declared() for name in "aBcZ"}, '{"c": "3", "B": "2", "a": "1", "Z": "4"}',
                             ("B", None, "2"), ("Z", None, "4"), ("a", None, "1"), ("c", None, "3"))

    def test_scalars_go_as_text(self):
        inputs = {"Text": declared(), "Number": declared("Edm.Int64", "uint32"), "Zero": declared("Edm.Int64", "uint8"),
                  "Large": declared("Edm.Int64", "uint64"), "No": declared("Edm.Boolean", "boolean"),
                  "Yes": declared("Edm.Boolean", "boolean")}
        self.check_arguments(inputs,
                             {"Text": "a", "Number": 7, "Zero": 0, "Large": 2**64 - 1, "No": False, "Yes": True},
                             ("Large", None, "18446744073709551615"), ("No", None, "false"),
                             ("Number", None, "7"), ("Text", None, "a"), ("Yes", None, "true"),
                             ("Zero", None, "0"))

    def test_texts_arrive_as_they_were_sent(self):
        for text in ("", " ", "  two  ", "<&>\"'", "]]>", "Ünïcödé 漢字 😀", "a\tb\nc\rd", "x" * 100000):
            with self.subTest(text=text[:10]):
                self.check_arguments({"Text": declared()}, {"Text": text}, ("Text", None, text))

    def test_date_time_is_sent_as_the_providers_know_it(self):
        inputs = {"At": declared("Edm.DateTimeOffset", "datetime")}
        for text in ("2024-05-01T10:20:30+05:30", "2024-05-01T10:20:30.123-01:00", "2024-05-01T10:20:30Z00:00"):
            self.check_arguments(inputs, {"At": text}, ("At", None, "20240501102030.000000:000"))

    def test_value_of_a_list_is_sent_as_its_cim_value(self):
        self.check_arguments({"State": declared(cim_type="uint16", value_mapping=STATES)}, {"State": "Disabled"},
                             ("State", None, "3"))

    def test_alias_is_the_name_that_is_sent(self):
        inputs = {"Plain": declared(alias="X"), "Mapped": declared(cim_type="uint16", value_mapping=STATES, alias="Y"),
                  # Behind an alias a date-time goes as it was written.
                  "Time": declared("Edm.DateTimeOffset", "datetime", alias="Z")}
        self.check_arguments(inputs, {"Plain": "p", "Mapped": "Enabled", "Time": "2024-05-01T10:20:30+02:00"},
                             ("Y", None, "2"), ("X", None, "p"), ("Z", None, "2024-05-01T10:20:30+02:00"))

    def test_array_goes_as_strings_whatever_its_type(self):
        inputs = {"Texts": declared(**ARRAY), "Numbers": declared("Edm.Int64", "uint32", **ARRAY),
                  "Flags": declared("Edm.Boolean", "boolean", **ARRAY)}
        self.check_arguments(inputs, {"Texts": ["a", "b"], "Numbers": [1, 2], "Flags": [True, False]},
                             ("Flags", None, ["true", "false"]), ("Numbers", None, ["1", "2"]),
                             ("Texts", None, ["a", "b"]))

    def test_empty_element_of_an_array_is_null(self):
        self.check_arguments({"Texts": declared(**ARRAY)}, {"Texts": ["", None, {}, [], "end"]},
                             ("Texts", None, [None, None, None, None, "end"]))

    def test_mapped_array_goes_as_numbers_or_texts(self):
        inputs = {"Numbers": declared("Collection(Edm.String)", "uint16", value_mapping=STATES, **ARRAY),
                  "Texts": declared("Collection(Edm.String)", "string", value_mapping=STATES, **ARRAY)}
        self.check_arguments(inputs, {"Numbers": ["Disabled", "Enabled", "Disabled"], "Texts": ["Enabled"]},
                             ("Numbers", "uint16", ["3", "2", "3"]), ("Texts", None, ["2"]))

    def test_reference_names_the_resource_of_a_uri(self):
        job = member_entry("VexoJob", "XCIM_Job", {}, cached=False, Selectors="CreationClassName=XCIM_Job,Name=a b")
        call = self.call({"Job": declared(is_ref_type=True, alias="JobRef")}, {"Job": f"{BASE}/VexoJob/JID_1"}, job)
        keys = {"CreationClassName": ("string", "XCIM_Job"), "Name": ("string", "a b"),
                "InstanceID": ("string", "JID_1")}
        self.assertEqual(call.arguments, [("JobRef", "reference", ("root/xcim", "XCIM_Job", keys))])

    def test_reference_in_an_array_is_a_text(self):
        uri = f"{BASE}/VexoJob/JID_1"
        self.check_arguments({"Jobs": declared(is_ref_type=True, **ARRAY)}, {"Jobs": [uri]}, ("Jobs", None, [uri]))

    def test_action_with_a_blank_in_its_name(self):
        mapping = action_mapping()
        maps = mapping["VexoService"]["mappings"]["XCIM_Service"]
        maps["Actions"] = {"#VexoService.Run It": {"target": f"{SERVICE}/Actions/VexoService.Run%20It"}}
        with ScriptedObjectManager(DONE) as manager, ActionService(manager.url, mapping) as service:
            answer = service.post(f"{SERVICE}/Actions/VexoService.Run%20It")
            self.assertEqual((answer.status, MethodCall(manager.requests[0]).method), (200, "Run It"))

    def test_trailing_slash_and_query_do_not_matter(self):
        with ScriptedObjectManager(DONE) as manager, ActionService(manager.url) as service:
            for uri in (RUN + "/", RUN + "?x=1", RUN + "/?$select=Name"):
                self.assertEqual(service.post(uri).status, 200)
            self.assertEqual(len(manager.requests), 3)


if __name__ == "__main__":
    unittest.main(verbosity=2)
