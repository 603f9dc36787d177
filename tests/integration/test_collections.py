"""Collections over HTTP: members, counts, pages, $top and $skip."""

import unittest

from cimgate_host import Host, collection, entry, ready

ROOT = "/redfish/v1/Vexo/"
SIZES = [0, 49, 50, 51, 100, 120]


def mapping():
    entries = {}
    for size in SIZES:
        member = f"VexoThing{size}"
        entries[member] = entry(ROOT + member, f"XCIM_T{size}", {"InstanceID": {"cim_type": "string"}})
        entries[f"VexoThings{size}"] = collection(ROOT + f"VexoThings{size}", member)
    entries["VexoPlain"] = collection(ROOT + "VexoPlain", "VexoThing120", supports_nextlink=False,
                                      supports_top_skip=False)
    entries["VexoNoTop"] = collection(ROOT + "VexoNoTop", "VexoThing120", supports_top_skip=False)
    return entries


def fill(connection):
    for size in SIZES:
        connection.execute(f"CREATE TABLE Tbl_XCIM_T{size} (InstanceID TEXT)")
        connection.executemany(f"INSERT INTO Tbl_XCIM_T{size} VALUES (?)",
                               [(f"T.{i}",) for i in range(size)])
    ready(connection, *[f"XCIM_T{size}" for size in SIZES])


class Collections(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Host(mapping(), fill)

    @classmethod
    def tearDownClass(cls):
        assert cls.host.stop() == 0

    def page(self, size, query=""):
        answer = self.host.get(f"{ROOT}VexoThings{size}{query}")
        self.assertEqual(answer.status, 200, answer.body)
        return answer.json

    def check_page(self, size, query, first, count, link):
        page = self.page(size, query)
        self.assertEqual([member["InstanceID"] for member in page["Members"]],
                         [f"T.{i}" for i in range(first, first + count)])
        self.assertEqual(page["Members@odata.count"], size)
        expected = None if link is None else f"{ROOT}VexoThings{size}{link}"
        self.assertEqual(page.get("Members@odata.nextLink"), expected)

    def test_pages_without_options(self):
        for size, count, link in [(0, 0, None), (49, 49, None), (50, 50, "?$skip=50"),
                                  (51, 50, "?$skip=50"), (120, 50, "?$skip=50")]:
            with self.subTest(size=size):
                self.check_page(size, "", 0, count, link)

    def test_pages_with_top_and_skip(self):
        for size, query, first, count, link in [
                (120, "?$skip=50", 50, 50, "?$skip=100"),
                (120, "?$skip=100", 100, 20, None),
                (120, "?$top=70&$skip=10", 10, 50, "?$skip=60&$top=20"),
                (120, "?$skip=60&$top=20", 60, 20, None),
                (120, "?$top=50", 0, 50, "?$skip=50&$top=0"),
                (120, "?$top=49", 0, 49, None),
                (120, "?$top=120", 0, 50, "?$skip=50&$top=70"),
                (120, "?$top=1&$skip=119", 119, 1, None),
                (120, "?$top=100&$skip=60", 60, 50, "?$skip=110&$top=10"),
                (51, "?$skip=1", 1, 50, "?$skip=51"),
                (51, "?$skip=2", 2, 49, None),
                (49, "?$top=49&$skip=48", 48, 1, None)]:
            with self.subTest(size=size, query=query):
                self.check_page(size, query, first, count, link)

    def test_values_out_of_range_are_refused(self):
        for size, query, args in [
                (120, "?$top=0", ["0", "$top", "(1-120)"]),
                (120, "?$top=121", ["121", "$top", "(1-120)"]),
                (120, "?$skip=120", ["120", "$skip", "(0-119)"]),
                (120, "?$top=4294967296", ["4294967295", "$top", "(1-120)"]),
                (120, "?$top=x", ["4294967295", "$top", "(1-120)"]),
                (120, "?$skip=-1", ["4294967295", "$skip", "(0-119)"]),
                (120, "?$skip=", ["4294967295", "$skip", "(0-119)"]),
                (120, "?$skip=500&$top=500", ["500", "$top", "(1-120)"]),
                (0, "?$top=1", ["1", "$top", "(1-0)"]),
                (0, "?$skip=0", ["0", "$skip", "(0-4294967295)"])]:
            with self.subTest(size=size, query=query):
                answer = self.host.get(f"{ROOT}VexoThings{size}{query}")
                self.assertEqual(answer.status, 400)
                self.assertEqual(answer.message_ids,
                                 ["Vexo.1.0.SYS417", "Base.1.18.QueryParameterOutOfRange"])
                self.assertEqual(answer.message_args, [args, args])

    def test_next_links_lead_through_all_members(self):
        for size in (51, 120):
            uri, seen = f"{ROOT}VexoThings{size}", []
            while uri is not None:
                page = self.host.get(uri).json
                self.assertEqual(page["Members@odata.count"], size)
                seen += [member["InstanceID"] for member in page["Members"]]
                uri = page.get("Members@odata.nextLink")
            self.assertEqual(seen, [f"T.{i}" for i in range(size)])

    def test_the_last_next_link_of_full_pages_is_refused(self):
        self.check_page(100, "?$skip=50", 50, 50, "?$skip=100")
        self.assertEqual(self.host.get(f"{ROOT}VexoThings100?$skip=100").status, 400)

    def test_without_support_top_and_skip_are_ignored(self):
        plain = self.host.get(ROOT + "VexoPlain?$top=3&$skip=999").json
        self.assertEqual(len(plain["Members"]), 120)
        self.assertNotIn("Members@odata.nextLink", plain)
        paged = self.host.get(ROOT + "VexoNoTop?$top=3&$skip=999").json
        self.assertEqual([member["Id"] for member in paged["Members"]], [f"T.{i}" for i in range(50)])
        self.assertEqual(paged["Members@odata.nextLink"], ROOT + "VexoNoTop?$skip=50")

    def test_empty_collection(self):
        self.assertEqual(self.page(0)["Members"], [])

    def test_annotations_of_the_collection(self):
        answer = self.host.get(ROOT + "VexoThings49")
        page = answer.json
        self.assertEqual(page["@odata.id"], ROOT + "VexoThings49")
        self.assertEqual(page["@odata.type"], "#TC.TC")
        self.assertEqual(page["@odata.context"], "/redfish/v1/$metadata#TC.TC")
        self.assertEqual((page["Id"], page["Name"], page["Description"]),
                         ("VexoThings49", "Things", "All things."))
        self.assertEqual(answer.headers["allow"], "GET")
        self.assertEqual(answer.headers["link"], "</schemas>; rel=describedby")

    def test_annotations_of_a_member(self):
        member = self.page(49)["Members"][0]
        self.assertEqual(member, {
            "@odata.id": ROOT + "VexoThing49/T.0", "@odata.type": "#T.v1_0_0.T",
            "@odata.context": "/redfish/v1/$metadata#T.T", "Id": "T.0", "Name": "A thing",
            "Description": "Things.", "InstanceID": "T.0"})

    def test_select_narrows_the_collection(self):
        page = self.page(120, "?$select=Members@odata.count&$top=2")
        self.assertEqual(set(page), {"@odata.id", "@odata.type", "@odata.context", "Members@odata.count"})
        page = self.page(120, "?$select=*")
        self.assertEqual(len(page["Members"]), 50)
        self.assertIn("Description", page)

    def test_expand_and_filter_are_not_supported(self):
        for query, argument in [("?$expand=*", "Expand"), ("?$filter=a", "Filter"),
                                ("?$filter=a&$expand=b", "Expand")]:
            answer = self.host.get(ROOT + "VexoThings49" + query)
            self.assertEqual(answer.status, 501)
            self.assertEqual(answer.message_ids, ["Vexo.1.0.SYS451", "Base.1.18.QueryNotSupported"])
            self.assertEqual(answer.message_args[0], [argument])


if __name__ == "__main__":
    unittest.main(verbosity=2)
