#!/usr/bin/python3
"""$select in all its forms, and the query options that are refused."""

import unittest

from cimgate_host import BASE, Service, SharedServiceTest, collection_entry, member_entry

DRIVE = f"{BASE}/VexoDrive/D.1"
PLAIN = f"{BASE}/VexoPlain/P.1"
DRIVES = f"{BASE}/VexoDriveCollection"
SERVICE = f"{BASE}/VexoService"

ALWAYS = {"@odata.id", "@odata.type", "@odata.context"}
COMMON = {"Id", "Name", "Description"}
LINKS = {"ComputerSystem": {"@odata.id": "/redfish/v1/Systems/1"}, "VexoEnclosureCollection": {"Inner": {}}}
ACTIONS = {"#VexoDrive.Erase": {"target": f"{DRIVE}/Actions/VexoDrive.Erase", "inputs": {"Mode": {"isrequired": True}}},
           "#VexoDrive.Reset": {"target": f"{DRIVE}/Actions/VexoDrive.Reset"}}


def sample():
    text = {"cim_type": "string"}
    mapping = member_entry("VexoDrive", "XCIM_Drive", {
        "DriveID": text, "Name": text, "Model": text, "Total": {**text, "alias": "TotalBytes"},
        "Speed": {**text, "alias": "RateMHz"}}, key="DriveID", Links=LINKS, actions=ACTIONS)
    mapping |= collection_entry("VexoDrive")
    mapping |= member_entry("VexoPlain", "XCIM_Plain", {"Model": text})
    mapping |= member_entry("VexoService", "XCIM_Service", {"Model": text}, key="", actions=ACTIONS)
    return mapping, {"classes": {
        "XCIM_Drive": (["DriveID", "Name", "Model", "Total", "Speed"],
                       [(f"D.{i}", f"Drive {i}", "M", "7", "9") for i in range(1, 61)]),
        "XCIM_Plain": (["InstanceID", "Model"], [("P.1", "M")])},
        "associations": {"Tbl_XCIM_EnclosureEMMDependency": [("XCIM_Drive", "D.1", "XCIM_Enclosure", "E.1")]}}


class Select(SharedServiceTest):
    @staticmethod
    def make_service():
        return Service(*sample())

    def selected(self, uri, items):
        return self.resource(f"{uri}?$select={items}")

    def check_names(self, uri, items, names):
        self.assertEqual(set(self.selected(uri, items)) - ALWAYS, set(names), items)

    def check_unknown(self, uri, items, name):
        self.check_error(f"{uri}?$select={items}", 400, ("Vexo.SYS429", [name]), ("Base.PropertyUnknown", [name]))

    # ---- Properties of an instance. The mapped key and the actions are always shown.

    def test_without_select_everything_is_shown(self):
        everything = self.service.get(DRIVE).json()
        self.assertEqual(set(everything), ALWAYS | COMMON | {"DriveID", "Model", "TotalBytes", "RateMHz", "Links",
                                                             "Actions"})
        for items in ("*", "Model,*", "*,Model", "*,Links/ComputerSystem"):
            self.assertEqual(self.selected(DRIVE, items), everything, items)

    def test_one_property(self):
        self.check_names(DRIVE, "Model", ["Model", "DriveID", "Actions"])
        self.check_names(PLAIN, "Model", ["Model"])

    def test_several_properties(self):
        self.check_names(DRIVE, "Model,Name", ["Model", "Name", "DriveID", "Actions"])
        self.check_names(DRIVE, "Model,Model", ["Model", "DriveID", "Actions"])

    def test_plus_signs_around_an_item_are_dropped(self):
        self.check_names(DRIVE, "+Name+,++Id", ["Name", "Id", "DriveID", "Actions"])
        self.check_names(DRIVE, "%2BModel%2B", ["Model", "DriveID", "Actions"])

    def test_mapped_name_is_the_cells_value(self):
        self.assertEqual(self.selected(DRIVE, "Name")["Name"], "Drive 1")

    def test_common_properties_need_no_mapping(self):
        self.check_names(PLAIN, "Description", ["Description"])
        self.check_names(PLAIN, "Id,Name", ["Id", "Name"])
        self.assertEqual(self.selected(PLAIN, "Name")["Name"], "VexoPlain name")
        for item in ("@odata.id", "@odata.type", "@odata.context"):
            self.check_names(PLAIN, item, [])

    def test_alias_is_selected_by_its_own_name(self):
        self.check_names(DRIVE, "TotalBytes", ["TotalBytes", "DriveID", "Actions"])
        self.check_unknown(DRIVE, "Total", "Total")

    def test_alias_that_does_not_begin_with_the_property_cannot_be_selected(self):
        self.check_unknown(DRIVE, "RateMHz", "RateMHz")
        self.check_unknown(DRIVE, "Speed", "Speed")

    def test_unknown_items(self):
        for items, name in [("Nope", "Nope"), ("Model,Nope", "Nope"), ("model", "model"), ("Model2", "Model2"),
                            ("A,B", "A"), ("Model,,Name", ""), ("Model,", ""), ("++", ""), ("%20Model", " Model"),
                            ("Mod%C3%A9l", "Modél"), ("Id/x", "Id/x")]:
            self.check_unknown(DRIVE, items, name)

    # ---- Links

    def test_links(self):
        # The enclosure's link is looked up by the key.
        enclosure = {"@odata.id": "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosure/E.1"}
        both = {"ComputerSystem": LINKS["ComputerSystem"], "VexoEnclosureCollection": [enclosure]}
        self.check_names(DRIVE, "Links", ["Links", "DriveID", "Actions"])
        self.assertEqual(self.selected(DRIVE, "Links")["Links"], both)
        self.assertEqual(self.selected(DRIVE, "Links/ComputerSystem")["Links"],
                         {"ComputerSystem": LINKS["ComputerSystem"]})
        self.assertEqual(self.selected(DRIVE, "Links/VexoEnclosureCollection/Inner")["Links"],
                         {"VexoEnclosureCollection": [enclosure]})
        self.assertEqual(self.selected(DRIVE, "Links/ComputerSystem,Links/VexoEnclosureCollection")["Links"], both)
        self.check_names(DRIVE, "Model,Links/ComputerSystem", ["Model", "Links", "DriveID", "Actions"])

    def test_unknown_links(self):
        for items, name in [("Links/Nope", "Nope"), ("Links/", ""), ("Links/Nope/x", "Nope/x"),
                            ("Links/ComputerSystem/Nope", "ComputerSystem/Nope")]:
            self.check_unknown(DRIVE, items, name)

    def test_resource_without_links(self):
        self.check_unknown(PLAIN, "Links", "Links")
        self.check_unknown(PLAIN, "Links/ComputerSystem", "Links/ComputerSystem")

    # ---- Actions

    def test_actions(self):
        erase, reset = "%23VexoDrive.Erase", "%23VexoDrive.Reset"
        for items, actions in [
                ("Actions", ACTIONS),
                (f"Actions/{reset}", {"#VexoDrive.Reset": ACTIONS["#VexoDrive.Reset"]}),
                (f"Actions/{erase}/target", {"#VexoDrive.Erase": {"target": ACTIONS["#VexoDrive.Erase"]["target"]}}),
                (f"Actions/{erase}/target,Actions/{erase}/inputs", {"#VexoDrive.Erase": ACTIONS["#VexoDrive.Erase"]}),
                (f"Actions/{erase}/target,Actions/{reset}",
                 {"#VexoDrive.Erase": {"target": ACTIONS["#VexoDrive.Erase"]["target"]},
                  "#VexoDrive.Reset": ACTIONS["#VexoDrive.Reset"]}),
                (f"Actions/{reset},*", ACTIONS)]:
            self.assertEqual(self.selected(DRIVE, items)["Actions"], actions, items)
        self.check_names(DRIVE, "Actions", ["Actions", "DriveID"])

    def test_unknown_actions(self):
        for item in ("Actions/Nope", "Actions/#VexoDrive.Erase/Nope", "Actions//target",
                     "Actions/#VexoDrive.Erase/target/x"):
            self.check_unknown(DRIVE, item.replace("#", "%23"), item)

    def test_singleton(self):
        self.check_names(SERVICE, "Name", ["Name", "Actions"])
        self.assertEqual(self.selected(SERVICE, "Actions/%23VexoDrive.Reset")["Actions"],
                         {"#VexoDrive.Reset": ACTIONS["#VexoDrive.Reset"]})
        self.check_unknown(SERVICE, "Model", "Model")

    # ---- Collections

    def test_collection(self):
        whole = self.service.get(DRIVES).json()
        self.assertEqual(self.selected(DRIVES, "*"), whole)
        for items, names in [("Members", ["Members"]), ("Members@odata.count", ["Members@odata.count"]),
                             ("Members@odata.nextLink", ["Members@odata.nextLink"]), ("Name", ["Name"]),
                             ("Members,Id", ["Members", "Id"])]:
            self.check_names(DRIVES, items, names)
            selected = self.selected(DRIVES, items)
            self.assertEqual(selected, {name: whole[name] for name in selected}, items)

    def test_next_link_of_a_collection_drops_the_select(self):
        name = "Members@odata.nextLink"
        self.assertEqual(self.selected(DRIVES, name)[name], f"{DRIVES}?$skip=50")

    def test_unknown_items_of_a_collection(self):
        for name in ("Model", "Links", "Member"):
            self.check_unknown(DRIVES, name, name)

    # ---- Length

    def test_255_bytes_are_read_and_256_are_not(self):
        longest = ",".join(["Name"] * 51) + "+"
        self.assertEqual(len(longest), 255)
        for uri in (DRIVE, DRIVES, SERVICE):
            self.assertIn("Name", self.selected(uri, longest))
            self.check_error(f"{uri}?$select={longest}+", 500, ("Vexo.SYS446", []), ("Base.InternalError", []))

    def test_length_counts_decoded_bytes(self):
        longest = "%4Eame" + "," + ",".join(["Name"] * 50) + "%2B"
        self.assertIn("Name", self.selected(DRIVE, longest))

    def test_empty_select_is_an_error(self):
        for query in ("$select=", "$select"):
            self.check_error(f"{DRIVE}?{query}", 500, ("Vexo.SYS446", []), ("Base.InternalError", []))

    # ---- Options that are not there

    def test_expand_and_filter_are_not_supported(self):
        for uri in (DRIVE, DRIVES, SERVICE, f"{BASE}/VexoDrive/none"):
            for query, name in [("$expand=*", "Expand"), ("$filter=a", "Filter"), ("$filter=a&$expand=*", "Expand"),
                                ("$expand", "Expand")]:
                self.check_error(f"{uri}?{query}", 501, ("Vexo.SYS451", [name]), ("Base.QueryNotSupported", []))

    def test_expand_and_filter_are_ignored_beside_a_select(self):
        for query in ("$select=Name&$expand=*", "$filter=a&$select=Name", "$expand=.&$filter=a&$select=Name"):
            answer = self.service.get(f"{DRIVE}?{query}")
            self.assertEqual(answer.status, 200, query)
            self.assertEqual(answer.json(), self.selected(DRIVE, "Name"), query)


if __name__ == "__main__":
    unittest.main(verbosity=2)
