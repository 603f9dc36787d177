#!/usr/bin/python3
"""Single instances and singletons: their values, annotations and headers."""

import unittest

from cimgate_host import (BASE, OTHER_ARRAY, STRING_ARRAY, VERBATIM, Service, SharedServiceTest, array_cell, collection_entry,
                          member_entry)

ALL = f"{BASE}/VexoAll"
ANNOTATIONS = {"@odata.type": "#VexoAll.v1_0_0.VexoAll", "@odata.context": "/redfish/v1/$metadata#VexoAll.VexoAll",
               "Description": "VexoAll description"}

PROPERTIES = {
    "Text": {"cim_type": "string"},
    "Small": {"cim_type": "uint8"},
    "Signed": {"cim_type": "sint32"},
    "Large": {"cim_type": "uint64"},
    "LargeSigned": {"cim_type": "sint64"},
    "Flag": {"cim_type": "boolean"},
    "Installed": {"cim_type": "datetime"},
    "Health": {"cim_type": "uint16", "value_mapping": {"0": "Unknown", "5": "OK"}},
    "State": {"cim_type": "string", "value_mapping": {"on": "Enabled"}},
    "Rate": {"cim_type": "uint32", "alias": "RateMHz"},
    "Names": {"cim_type": "string", "is_arraytype": True},
    "Speeds": {"cim_type": "uint32", "is_arraytype": True, "alias": "SpeedsShown"},
    "Modes": {"cim_type": "uint16", "is_arraytype": True, "value_mapping": {"1": "On", "2": "Off"}},
    "Flags": {"cim_type": "boolean", "is_arraytype": True},
    "Dates": {"cim_type": "datetime", "is_arraytype": True},
}
COLUMNS = ["InstanceID", *PROPERTIES]

FULL = ("Full.1", "grüß \"dich\"", 255, -7, -1, -2**62, 1, 1714558830_123456, 5, "on", 2400,
        array_cell(STRING_ARRAY, ["x", "y z"]), array_cell(OTHER_ARRAY, [1, 4000000000]),
        array_cell(OTHER_ARRAY, [2, 1, 9]), array_cell(OTHER_ARRAY, [1, 0]), array_cell(OTHER_ARRAY, [0, 1000000]))
FULL_SHOWN = {
    "Text": "grüß \"dich\"", "Small": 255, "Signed": -7, "Large": 2**64 - 1, "LargeSigned": -2**62, "Flag": True,
    "Installed": "2024-05-01T10:20:30+0000", "Health": "OK", "State": "Enabled", "RateMHz": 2400, "Names": ["x", "y z"],
    "SpeedsShown": [1, 4000000000], "Modes": ["Off", "On", "9"], "Flags": [True, False],
    "Dates": ["1970-01-01T00:00:00+0000", "1970-01-01T00:00:01+0000"]}


def row(key, **values):
    """A row of nulls but for these values."""
    return (key, *(values.get(name) for name in PROPERTIES))


def sample():
    actions = {"#VexoAll.Reset": {"target": f"{ALL}/Actions/VexoAll.Reset"}}
    mapping = member_entry("VexoAll", "XCIM_All", PROPERTIES, actions=actions, Link_Header="</s.json>; rel=describedby",
                           allowed_operations=["GET", "HEAD", "POST"])
    mapping |= collection_entry("VexoAll")
    mapping |= member_entry("VexoKeyed", "XCIM_Keyed", {"DeviceID": {"cim_type": "string"},
                                                        "Name": {"cim_type": "string"}}, key="DeviceID")
    mapping |= member_entry("VexoLoading", "XCIM_Loading", {"A": {"cim_type": "string"}})
    mapping |= member_entry("VexoLowerCase", "XCIM_LowerCase", {"A": {"cim_type": "string"}})
    mapping |= member_entry("VexoLive", "XCIM_Live", {"A": {"cim_type": "string"}}, cached=False)
    mapping |= member_entry("VexoBare", "XCIM_Bare", {})
    mapping |= member_entry("VexoEnclosure", "XCIM_Enclosure", {"A": {"cim_type": "string"}}, Links={
        "ComputerSystem": {"@odata.id": "/redfish/v1/Systems/1"}, "VexoEnclosureEMMCollection": {},
        "VexoNobodyKnows": {}})
    mapping |= member_entry("VexoEnclosureEMM", "XCIM_EMM", {"A": {"cim_type": "string"}},
                            Links={"VexoEnclosureCollection": {}})
    mapping |= member_entry("VexoPowerSupply", "XCIM_PowerSupply", {"A": {"cim_type": "string"}},
                            Links={"VexoPSNumericSensorCollection": {}})
    mapping |= member_entry("VexoService", "XCIM_Service", {"A": {"cim_type": "string"}}, key="", cached=False,
                            actions={"#VexoService.Run": {"target": f"{BASE}/VexoService/Actions/VexoService.Run"}})
    mapping |= member_entry("VexoFixed", "XCIM_Fixed", {"A": {"cim_type": "string"}}, key="",
                            Selectors="InstanceID=Sys.1,Name=Foo")
    one = ["InstanceID", "A"]
    classes = {
        "XCIM_All": (COLUMNS, [FULL, row("Null"), row("Empty", Text="", Health="", Small=0, Flag=0),
                               row("Odd", Health=99, State="off", Flag=2,
                                   Names=array_cell(STRING_ARRAY, ["a#b", "c"], count=9),
                                   Speeds=array_cell(OTHER_ARRAY, []),
                                   Modes=array_cell(OTHER_ARRAY, [1, 2, 1], count=2)),
                               row("Disk#1"), row("Two words"), row("plus+one"), row("50%"), row("a/b"), row("ü")]),
        "XCIM_Keyed": (["DeviceID", "Name"], [("Dev.1", "Mapped name"), ("Dev.2", None)]),
        "XCIM_LowerCase": (one, [("X", "y")]),
        "XCIM_Loading": (one, [("X", "y")]),
        "XCIM_Bare": (one, [("X", "y")]),
        "XCIM_Enclosure": (one, [("Enclosure.1", "y"), ("Enclosure.2", "y")]),
        "XCIM_EMM": (one, [("EMM.1", "y"), ("EMM.9", "y")]),
        "XCIM_PowerSupply": (one, [("PSU.Slot.2", "y"), ("PSU.None", "y")]),
    }
    ready = ["XCIM_All", "XCIM_Keyed", "xcim_lowercase", "XCIM_Bare", "XCIM_Enclosure", "XCIM_EMM", "XCIM_PowerSupply"]
    associations = {"Tbl_XCIM_EnclosureEMMDependency": [
        ("XCIM_EMM", "EMM.1", "XCIM_Enclosure", "Enclosure.1"), ("XCIM_EMM", "EMM#2", "XCIM_Enclosure", "Enclosure.1"),
        ("XCIM_EMM", "EMM.3", "XCIM_Enclosure", "Enclosure.2"), ("XCIM_EMM", None, "XCIM_Enclosure", "Enclosure.1"),
        ("XCIM_EMM", "EMM.1", "XCIM_ComputerSystem", "System")]}
    return mapping, {"classes": classes, "ready": ready, "associations": associations}


class Instances(SharedServiceTest):
    @staticmethod
    def make_service():
        return Service(*sample(), options=VERBATIM)

    # ---- Values

    def test_every_kind_of_value(self):
        self.assertEqual(self.resource(f"{ALL}/Full.1"), {
            "@odata.id": f"{ALL}/Full.1", "Id": "Full.1", "Name": "VexoAll name", **ANNOTATIONS, **FULL_SHOWN,
            "Actions": {"#VexoAll.Reset": {"target": f"{ALL}/Actions/VexoAll.Reset"}}})

    def test_null_cells_are_null(self):
        shown = self.resource(f"{ALL}/Null")
        self.assertEqual({name: shown[name] for name in FULL_SHOWN}, dict.fromkeys(FULL_SHOWN))

    def test_empty_text_is_null_and_zero_is_not(self):
        shown = self.resource(f"{ALL}/Empty")
        self.assertEqual((shown["Text"], shown["Health"], shown["Small"], shown["Flag"]), (None, None, 0, False))

    def test_values_that_are_not_as_announced(self):
        shown = self.resource(f"{ALL}/Odd")
        self.assertEqual(shown["Health"], "99")  # not in the value map
        self.assertEqual(shown["State"], "off")
        self.assertIs(shown["Flag"], False)  # only 1 is true
        self.assertEqual(shown["Names"], ["a", "b", "c"])  # the separator's bytes split each on its own
        self.assertEqual(shown["SpeedsShown"], [])
        self.assertEqual(shown["Modes"], ["On", "Off"])

    def test_array_counts_belong_to_collection_members_only(self):
        self.assertNotIn("Names@odata.count", self.resource(f"{ALL}/Full.1"))
        members = {member["Id"]: member for member in self.resource(f"{ALL}Collection")["Members"]}
        self.assertEqual(members["Full.1"]["Names@odata.count"], 2)
        self.assertEqual(members["Odd"]["Names@odata.count"], 9)
        self.assertEqual(members["Full.1"]["SpeedsShown@odata.count"], 2)

    def test_mapped_key_and_name_are_shown(self):
        shown = self.resource(f"{BASE}/VexoKeyed/Dev.1")
        self.assertEqual((shown["DeviceID"], shown["Id"], shown["Name"]), ("Dev.1", "Dev.1", "Mapped name"))
        self.assertIsNone(self.resource(f"{BASE}/VexoKeyed/Dev.2")["Name"])

    def test_key_that_is_not_mapped_is_not_shown(self):
        self.assertNotIn("InstanceID", self.resource(f"{ALL}/Full.1"))

    # ---- Keys in URIs

    def test_keys_with_special_characters(self):
        for encoded, key, shown_id in [("Disk%231", "Disk#1", "Disk%231"), ("Two%20words", "Two words", "Two words"),
                                       ("plus+one", "plus+one", "plus+one"), ("50%25", "50%", "50%"),
                                       ("a%2Fb", "a/b", "a/b"), ("%C3%BC", "ü", "ü"),
                                       ("%46ull%2e1", "Full.1", "Full.1")]:
            shown = self.resource(f"{ALL}/{encoded}")
            self.assertEqual((shown["Id"], shown["@odata.id"]), (key, f"{ALL}/{shown_id}"), encoded)

    def test_missing_instance_is_not_found(self):
        for key in ("Full", "full.1", "Full.1%20", "Disk", "'", "'%20or%20'1'='1", "Full.1'--",
                    "%22;drop%20table%20Tbl_XCIM_All;"):
            self.check_error(f"{ALL}/{key}", 404, ("Vexo.SYS403", ["VexoAll"]),
                             ("Base.ResourceMissingAtURI", ["VexoAll"]))
        self.resource(f"{ALL}/Full.1")

    def test_entry_without_a_key_is_not_found(self):
        for uri in (ALL, f"{ALL}/"):
            self.check_error(uri, 404, ("Vexo.SYS403", [""]), ("Base.ResourceMissingAtURI", [""]))

    def test_class_without_mapped_properties_has_only_its_key(self):
        # Its one column is the key, which is enough for a statement.
        shown = self.resource(f"{BASE}/VexoBare/X")
        self.assertEqual(set(shown), {"@odata.id", "@odata.type", "@odata.context", "Id", "Name", "Description"})

    # ---- Links

    def test_links_come_from_the_association_table(self):
        emm = "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosureEMM"
        self.assertEqual(self.resource(f"{BASE}/VexoEnclosure/Enclosure.1")["Links"], {
            "ComputerSystem": {"@odata.id": "/redfish/v1/Systems/1"},
            "VexoEnclosureEMMCollection": [{"@odata.id": f"{emm}/EMM.1"}, {"@odata.id": f"{emm}/EMM%232"}]})
        self.assertEqual(self.resource(f"{BASE}/VexoEnclosure/Enclosure.2")["Links"]["VexoEnclosureEMMCollection"],
                         [{"@odata.id": f"{emm}/EMM.3"}])

    def test_association_with_the_system_is_no_link(self):
        enclosure = "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosure/Enclosure.1"
        self.assertEqual(self.resource(f"{BASE}/VexoEnclosureEMM/EMM.1")["Links"],
                         {"VexoEnclosureCollection": [{"@odata.id": enclosure}]})
        self.assertFalse(self.resource(f"{BASE}/VexoEnclosureEMM/EMM.9")["Links"])

    def test_power_supply_links_come_from_the_key(self):
        sensor = "/redfish/v1/Vexo/Systems/System.Embedded.1/VexoPSNumericSensor/Tavix.Embedded.1%23PS2Current2"
        self.assertEqual(self.resource(f"{BASE}/VexoPowerSupply/PSU.Slot.2")["Links"],
                         {"VexoPSNumericSensorCollection": [{"@odata.id": sensor}]})
        self.assertFalse(self.resource(f"{BASE}/VexoPowerSupply/PSU.None")["Links"])

    # ---- Headers

    def test_headers_of_every_answer(self):
        for uri, status in [(f"{ALL}/Full.1", 200), (f"{ALL}/none", 404), (f"{BASE}/VexoLive/X", 503), ("/", 404)]:
            answer = self.service.get(uri)
            self.assertEqual(answer.status, status)
            self.check_headers(answer)
            self.assertEqual(answer.get("Content-Length"), str(len(answer.body)))
            self.assertRegex(answer.get("Date"), r"^\w{3}, \d\d \w{3} \d{4} \d\d:\d\d:\d\d GMT$")

    def test_allow_and_link_come_from_the_mapping(self):
        answer = self.service.get(f"{ALL}/Full.1")
        self.assertEqual(answer.get("Allow"), "GET,HEAD,POST")
        self.assertEqual(answer.get("Link"), "</s.json>; rel=describedby")
        without = self.service.get(f"{BASE}/VexoKeyed/Dev.1")
        self.assertIsNone(without.get("Allow"))
        self.assertEqual(without.get("Link"), "")

    def test_head_is_get_without_the_body(self):
        for uri in (f"{ALL}/Full.1", f"{ALL}Collection", f"{ALL}/none", f"{BASE}/VexoLoading/X", "/"):
            get = self.service.get(uri)
            head = self.service.head(uri)
            self.assertEqual(head.body, b"")
            self.assertEqual(head.status, get.status)
            self.assertEqual([header for header in head.headers if header[0] != "date"],
                             [header for header in get.headers if header[0] != "date"], uri)

    # ---- Not to be had

    def test_class_that_is_still_loading(self):
        for uri in (f"{BASE}/VexoLoading/X", f"{BASE}/VexoLoading/none"):
            answer = self.check_error(uri, 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))
            self.assertEqual(answer.get("Retry-After"), "5")

    def test_readiness_ignores_case(self):
        self.assertEqual(self.resource(f"{BASE}/VexoLowerCase/X")["A"], "y")

    def test_live_resources_need_an_object_manager(self):
        for uri in (f"{BASE}/VexoLive/X", f"{BASE}/VexoFixed"):
            answer = self.check_error(uri, 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))
            self.assertEqual(answer.get("Retry-After"), "5")

    # ---- Singletons

    def test_singleton_comes_from_the_mapping_alone(self):
        actions = {"#VexoService.Run": {"target": f"{BASE}/VexoService/Actions/VexoService.Run"}}
        self.assertEqual(self.resource(f"{BASE}/VexoService"), {
            "@odata.id": f"{BASE}/VexoService", "@odata.type": "#VexoService.v1_0_0.VexoService",
            "@odata.context": "/redfish/v1/$metadata#VexoService.VexoService", "Id": "VexoService",
            "Name": "VexoService name", "Description": "VexoService description", "Actions": actions})

    def test_nothing_is_below_a_singleton(self):
        for name in ("VexoService", "VexoFixed"):
            self.check_error(f"{BASE}/{name}/X", 404, ("Vexo.SYS403", [name]), ("Base.ResourceMissingAtURI", [name]))


if __name__ == "__main__":
    unittest.main(verbosity=2)
