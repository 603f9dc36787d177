#!/usr/bin/python3
"""Collections straight from CIM: pages of all sizes, $top and $skip, and what their members show."""

import unittest

from cim_object_manager import Class, object_manager
from cimgate_host import BASE, Service, collection_entry, member_entry
from test_live_reads import Reading, mapped


class Pages(Reading):
    def check_walk(self, count):
        """Follows the next links from the first page to the last."""
        cim_class = Class("XCIM_Many", {"InstanceID": "string", "A": "uint32"})
        mapping = (member_entry("VexoMany", "XCIM_Many", {"A": mapped("uint32")}, cached=False)
                   | collection_entry("VexoMany"))
        instances = [{"InstanceID": f"I.{number:04}", "A": number} for number in range(count)]
        with object_manager(cim_class, instances) as manager, \
                Service(mapping, options=("--cim", manager.url)) as service:
            seen, path = [], f"{BASE}/VexoManyCollection"
            while path:
                page = service.get(path).json()
                self.assertEqual(page["Members@odata.count"], count)
                self.assertLessEqual(len(page["Members"]), 50)
                seen += [member["A"] for member in page["Members"]]
                path = page.get("Members@odata.nextLink")
            self.assertEqual(sorted(seen), list(range(count)))
            if count == 5000:
                self.check_options(service)

    def check_options(self, service):
        many = f"{BASE}/VexoManyCollection"
        for query, members, link in (("?$top=7", 7, None), ("?$skip=4990", 10, None), ("?$top=50", 50, None),
                                     ("?$top=70&$skip=10", 50, "?$skip=60&$top=20"), ("?$skip=4950", 50, None),
                                     ("?$skip=4949", 50, "?$skip=4999")):
            page = service.get(many + query).json()
            self.assertEqual((query, len(page["Members"]), page.get("Members@odata.nextLink")),
                             (query, members, link and many + link))
        for query, message in (("?$top=0", ["0", "$top", "(1-5000)"]), ("?$top=5001", ["5001", "$top", "(1-5000)"]),
                               ("?$skip=5000", ["5000", "$skip", "(0-4999)"])):
            answer = service.get(many + query)
            self.assertEqual((answer.status, answer.messages()[0]), (400, ("Vexo.SYS417", message)))

    def test_walks_of_all_sizes_around_a_page(self):
        for count in (0, 49, 50, 51):
            with self.subTest(count=count):
                self.check_walk(count)

    def test_walk_of_five_thousand(self):
        self.check_walk(5000)

    def test_fifty_have_no_next_link_and_fifty_one_have_one(self):
        cim_class = Class("XCIM_Some", {"InstanceID": "string"})
        mapping = (member_entry("VexoSome", "XCIM_Some", {"InstanceID": mapped("string")}, cached=False)
                   | collection_entry("VexoSome"))
        for count, link in ((50, None), (51, f"{BASE}/VexoSomeCollection?$skip=50")):
            page = self.read(cim_class, [{"InstanceID": str(number)} for number in range(count)], mapping,
                             f"{BASE}/VexoSomeCollection")
            self.assertEqual((len(page["Members"]), page.get("Members@odata.nextLink")), (50, link))

    def test_members_carry_their_own_annotations(self):
        cim_class = Class("XCIM_Some", {"InstanceID": "string", "A": "string"})
        mapping = (member_entry("VexoSome", "XCIM_Some", {name: mapped("string") for name in cim_class.properties},
                                cached=False)
                   | collection_entry("VexoSome"))
        page = self.read(cim_class, [{"InstanceID": "Disk#1", "A": "a"}], mapping, f"{BASE}/VexoSomeCollection")
        [member] = page["Members"]
        self.assertEqual(member["@odata.id"], f"{BASE}/VexoSome/Disk%231")
        self.assertEqual((member["A"], member["Id"], member["Description"]), ("a", "Disk#1", "VexoSome description"))
        self.assertNotIn("@odata.context", member)
        self.assertEqual({name: page[name] for name in page if name != "Members"}, {
            "@odata.id": f"{BASE}/VexoSomeCollection", "@odata.type": "#VexoSomeCollection.VexoSomeCollection",
            "@odata.context": "/redfish/v1/$metadata#VexoSomeCollection.VexoSomeCollection",
            "Name": "VexoSomeCollection name", "Description": "VexoSomeCollection description",
            "Members@odata.count": 1})


if __name__ == "__main__":
    unittest.main(verbosity=2)
