#!/usr/bin/python3
"""Collections of every size around a page, with $top and $skip, and their next links followed to the end."""

import unittest

from cimgate_host import (BASE, OTHER_ARRAY, STRING_ARRAY, VERBATIM, Service, SharedServiceTest, array_cell, collection_entry,
                          member_entry)

PROPERTIES = {"InstanceID": {"cim_type": "string"}, "Number": {"cim_type": "uint32"}}
COLUMNS = ["InstanceID", "Number"]
SIZES = {"Empty": 0, "Some": 49, "Page": 50, "More": 51, "Many": 120}

EMPTY = f"{BASE}/VexoEmptyCollection"
SOME = f"{BASE}/VexoSomeCollection"
PAGE = f"{BASE}/VexoPageCollection"
MORE = f"{BASE}/VexoMoreCollection"
MANY = f"{BASE}/VexoManyCollection"
WHOLE = f"{BASE}/VexoWholeCollection"
FIXED = f"{BASE}/VexoFixedCollection"
SHOWN = f"{BASE}/VexoShownCollection"


def rows(count):
    return [(f"Item.{i}", i) for i in range(count)]


def sample():
    mapping = {}
    classes = {}
    for name, size in SIZES.items():
        mapping |= member_entry(f"Vexo{name}", f"XCIM_{name}", PROPERTIES) | collection_entry(f"Vexo{name}")
        classes[f"XCIM_{name}"] = (COLUMNS, rows(size))
    # All at once, and one that takes no options.
    mapping |= member_entry("VexoWhole", "XCIM_Many", PROPERTIES) | collection_entry("VexoWhole", paging=False)
    mapping |= member_entry("VexoFixed", "XCIM_Many", PROPERTIES) | collection_entry("VexoFixed", top_skip=False)
    mapping |= member_entry("VexoShown", "XCIM_Shown", {
        "Size": {"cim_type": "uint64", "alias": "SizeInBytes"},
        "Health": {"cim_type": "uint16", "value_mapping": {"5": "OK"}},
        "Names": {"cim_type": "string", "is_arraytype": True, "alias": "NamesShown"},
        "Modes": {"cim_type": "uint16", "is_arraytype": True, "value_mapping": {"1": "On", "2": "Off"}}},
        Links={"ComputerSystem": {"@odata.id": "/redfish/v1/Systems/1"}}, actions={"#A.B": {"target": f"{BASE}/x"}})
    mapping |= collection_entry("VexoShown", allowed_operations=["GET", "HEAD"], Link_Header="</a>; rel=describedby")
    # SQLite's numbers are signed: 2^63 is kept as -2^63.
    classes["XCIM_Shown"] = (["InstanceID", "Size", "Health", "Names", "Modes"],
                             [("A#1", -2**63, "5", array_cell(STRING_ARRAY, ["a", "b"]),
                               array_cell(OTHER_ARRAY, [2, 3])),
                              ("A 2", None, "6", None, array_cell(OTHER_ARRAY, [1], count=4))])
    mapping |= member_entry("VexoTableless", "XCIM_Tableless", PROPERTIES) | collection_entry("VexoTableless")
    mapping |= member_entry("VexoLoading", "XCIM_Loading", PROPERTIES) | collection_entry("VexoLoading")
    mapping |= member_entry("VexoLive", "XCIM_Live", PROPERTIES, cached=False) | collection_entry("VexoLive")
    ready = [*classes, "XCIM_Tableless"]
    return mapping, {"classes": classes, "ready": ready}


class Collections(SharedServiceTest):
    @staticmethod
    def make_service():
        return Service(*sample(), options=VERBATIM)

    def check_page(self, uri, count, numbers, link):
        """One page: the number of rows in all, the rows it shows, and the exact next link (None: there is none)."""
        page = self.resource(uri)
        self.assertEqual(page["Members@odata.count"], count, uri)
        self.assertEqual([member["Number"] for member in page["Members"]], list(numbers), uri)
        self.assertEqual(page.get("Members@odata.nextLink"), link, uri)
        self.assertEqual("Members@odata.nextLink" in page, link is not None, uri)

    def check_out_of_range(self, uri, *arguments):
        self.check_error(uri, 400, ("Vexo.SYS417", list(arguments)),
                         ("Base.QueryParameterOutOfRange", list(arguments)))

    # ---- Sizes

    def test_empty_collection(self):
        self.assertEqual(self.resource(EMPTY), {
            "@odata.id": EMPTY, "@odata.type": "#VexoEmptyCollection.VexoEmptyCollection",
            "@odata.context": "/redfish/v1/$metadata#VexoEmptyCollection.VexoEmptyCollection",
            "Id": "VexoEmptyCollection", "Name": "VexoEmptyCollection name",
            "Description": "VexoEmptyCollection description", "Members": [], "Members@odata.count": 0})

    def test_below_a_page_there_is_no_link(self):
        self.check_page(SOME, 49, range(49), None)

    def test_exactly_a_page_has_a_link_to_nothing(self):
        self.check_page(PAGE, 50, range(50), f"{PAGE}?$skip=50")
        self.check_out_of_range(f"{PAGE}?$skip=50", "50", "$skip", "(0-49)")

    def test_one_more_than_a_page(self):
        self.check_page(MORE, 51, range(50), f"{MORE}?$skip=50")
        self.check_page(f"{MORE}?$skip=50", 51, [50], None)

    def test_links_lead_through_all_members(self):
        seen = []
        links = []
        uri = MANY
        while uri:
            links.append(uri)
            page = self.resource(uri)
            self.assertEqual(page["Members@odata.count"], 120)
            seen += [member["Number"] for member in page["Members"]]
            uri = page.get("Members@odata.nextLink")
        self.assertEqual(seen, list(range(120)))
        self.assertEqual(links, [MANY, f"{MANY}?$skip=50", f"{MANY}?$skip=100"])

    # ---- $top and $skip

    def test_top_below_a_page_ends_there(self):
        self.check_page(f"{MANY}?$top=1", 120, [0], None)
        self.check_page(f"{MANY}?$top=49", 120, range(49), None)

    def test_top_of_a_page_has_a_link_for_no_more(self):
        self.check_page(f"{MANY}?$top=50", 120, range(50), f"{MANY}?$skip=50&$top=0")
        self.check_page(f"{PAGE}?$top=50", 50, range(50), f"{PAGE}?$skip=50&$top=0")

    def test_top_above_a_page_goes_on(self):
        self.check_page(f"{MANY}?$top=51", 120, range(50), f"{MANY}?$skip=50&$top=1")
        self.check_page(f"{MANY}?$skip=50&$top=1", 120, [50], None)

    def test_top_of_all(self):
        self.check_page(f"{SOME}?$top=49", 49, range(49), None)
        self.check_page(f"{MANY}?$top=120", 120, range(50), f"{MANY}?$skip=50&$top=70")
        self.check_page(f"{MANY}?$skip=50&$top=70", 120, range(50, 100), f"{MANY}?$skip=100&$top=20")
        self.check_page(f"{MANY}?$skip=100&$top=20", 120, range(100, 120), None)

    def test_skip(self):
        self.check_page(f"{MANY}?$skip=0", 120, range(50), f"{MANY}?$skip=50")
        self.check_page(f"{MANY}?$skip=69", 120, range(69, 119), f"{MANY}?$skip=119")
        self.check_page(f"{MANY}?$skip=70", 120, range(70, 120), f"{MANY}?$skip=120")
        self.check_page(f"{MANY}?$skip=71", 120, range(71, 120), None)
        self.check_page(f"{MANY}?$skip=119", 120, [119], None)

    def test_top_and_skip_together(self):
        self.check_page(f"{MANY}?$top=70&$skip=10", 120, range(10, 60), f"{MANY}?$skip=60&$top=20")
        self.check_page(f"{MANY}?$top=120&$skip=10", 120, range(10, 60), f"{MANY}?$skip=60&$top=60")
        self.check_page(f"{MANY}?$top=50&$skip=70", 120, range(70, 120), f"{MANY}?$skip=120&$top=0")
        self.check_page(f"{MANY}?$top=3&$skip=118", 120, [118, 119], None)

    def test_top_out_of_range(self):
        self.check_out_of_range(f"{MANY}?$top=0", "0", "$top", "(1-120)")
        self.check_out_of_range(f"{MANY}?$top=121", "121", "$top", "(1-120)")
        self.check_out_of_range(f"{EMPTY}?$top=1", "1", "$top", "(1-0)")

    def test_skip_out_of_range(self):
        self.check_out_of_range(f"{MANY}?$skip=120", "120", "$skip", "(0-119)")
        self.check_out_of_range(f"{EMPTY}?$skip=0", "0", "$skip", "(0-4294967295)")

    def test_top_is_checked_first(self):
        self.check_out_of_range(f"{MANY}?$skip=120&$top=0", "0", "$top", "(1-120)")

    def test_what_is_no_number_is_out_of_range(self):
        for text in ("abc", "-1", "1.5", "4294967296", "99999999999999999999", "%31x", ""):
            self.check_out_of_range(f"{MANY}?$top={text}", "4294967295", "$top", "(1-120)")
            self.check_out_of_range(f"{MANY}?$skip={text}", "4294967295", "$skip", "(0-119)")
        self.check_page(f"{MANY}?$top=%31", 120, [0], None)

    def test_collection_without_paging_is_whole(self):
        self.check_page(WHOLE, 120, range(120), None)
        self.check_page(f"{WHOLE}?$top=60&$skip=30", 120, range(30, 90), None)
        self.check_out_of_range(f"{WHOLE}?$top=121", "121", "$top", "(1-120)")

    def test_options_that_the_collection_does_not_take_are_ignored(self):
        for query in ("", "?$top=5", "?$top=0", "?$skip=7", "?$skip=500"):
            self.check_page(FIXED + query, 120, range(50), f"{FIXED}?$skip=50")

    def test_link_keeps_the_path_as_asked_and_drops_other_options(self):
        self.check_page(f"{MANY}/?x=1&$top=60&y", 120, range(50), f"{MANY}/?$skip=50&$top=10")

    # ---- Members

    def test_members_are_shown_as_mapped(self):
        shown = self.resource(SHOWN)
        annotations = {"@odata.type": "#VexoShown.v1_0_0.VexoShown",
                       "@odata.context": "/redfish/v1/$metadata#VexoShown.VexoShown", "Name": "VexoShown name",
                       "Description": "VexoShown description",
                       "Links": {"ComputerSystem": {"@odata.id": "/redfish/v1/Systems/1"}}}
        self.assertEqual(shown["Members"], [
            {**annotations, "@odata.id": f"{BASE}/VexoShown/A%231", "Id": "A#1", "SizeInBytes": 2**63, "Health": "OK",
             "NamesShown": ["a", "b"], "NamesShown@odata.count": 2, "Modes": ["Off", "3"], "Modes@odata.count": 2},
            {**annotations, "@odata.id": f"{BASE}/VexoShown/A 2", "Id": "A 2", "SizeInBytes": None, "Health": "6",
             "NamesShown": None, "Modes": ["On"], "Modes@odata.count": 4}])
        self.assertNotIn("Links", shown)
        self.assertNotIn("Actions", shown)

    def test_headers_are_those_of_the_collection(self):
        answer = self.service.get(SHOWN)
        self.assertEqual(answer.get("Allow"), "GET,HEAD")
        self.assertEqual(answer.get("Link"), "</a>; rel=describedby")

    # ---- Not to be had

    def test_missing_table_is_an_internal_error(self):
        answer = self.service.get(f"{BASE}/VexoTablelessCollection")
        self.assertEqual(answer.status, 500)
        self.assertEqual(answer.messages(), [("Vexo.SYS446", []), ("Base.InternalError", [])])

    def test_class_that_is_still_loading(self):
        answer = self.service.get(f"{BASE}/VexoLoadingCollection")
        self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
        self.assertEqual(answer.messages(), [("Base.ServiceTemporarilyUnavailable", ["5"])])

    def test_class_that_is_not_cached_needs_an_object_manager(self):
        answer = self.service.get(f"{BASE}/VexoLiveCollection")
        self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
        self.assertEqual(answer.messages(), [("Base.ServiceTemporarilyUnavailable", ["5"])])


if __name__ == "__main__":
    unittest.main(verbosity=2)
