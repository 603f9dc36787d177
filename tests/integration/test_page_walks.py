#!/usr/bin/python3
"""Clients that follow next links, from any first request to where the links end."""

import unittest

from cimgate_host import BASE, Service, collection_entry, member_entry

SIZES = {"Pages": 100, "Rest": 101, "Long": 150}
PAGES = f"{BASE}/VexoPagesCollection"
REST = f"{BASE}/VexoRestCollection"
LONG = f"{BASE}/VexoLongCollection"

# More pages than any collection here has: links that lead in a circle are noticed.
MAX_PAGES = 10


def sample():
    mapping = {}
    classes = {}
    for name, size in SIZES.items():
        mapping |= member_entry(f"Vexo{name}", f"XCIM_{name}", {"Number": {"cim_type": "uint32"}})
        mapping |= collection_entry(f"Vexo{name}")
        classes[f"XCIM_{name}"] = (["InstanceID", "Number"], [(f"Row#{i}", i) for i in range(size)])
    return mapping, {"classes": classes}


class PageWalks(unittest.TestCase):
    maxDiff = None

    def walk(self, service, uri):
        """The numbers of each page, the links between them, and what the last link answers if not a page."""
        size = next(size for name, size in SIZES.items() if name in uri)
        pages = []
        links = []
        while True:
            self.assertLess(len(pages), MAX_PAGES)
            answer = service.get(uri)
            if answer.status != 200:
                return pages, links, answer
            page = answer.json()
            self.assertEqual(page["Members@odata.count"], size, uri)
            pages.append([member["Number"] for member in page["Members"]])
            uri = page.get("Members@odata.nextLink")
            if uri is None:
                return pages, links, None
            links.append(uri)

    def check_walk(self, service, collection, query, spans, queries):
        pages, links, answer = self.walk(service, collection + query)
        self.assertEqual(pages, [list(range(*span)) for span in spans])
        self.assertEqual(links, [collection + text for text in queries])
        self.assertIsNone(answer)

    def check_walk_into_refusal(self, service, collection, query, spans, queries, arguments):
        pages, links, answer = self.walk(service, collection + query)
        self.assertEqual(pages, [list(range(*span)) for span in spans])
        self.assertEqual(links, [collection + text for text in queries])
        self.assertIsNotNone(answer)
        self.assertEqual(answer.status, 400)
        self.assertEqual(answer.messages(), [("Vexo.SYS417", arguments), ("Base.QueryParameterOutOfRange", arguments)])

    def test_last_page_that_is_not_full_ends_the_walk(self):
        with Service(*sample()) as service:
            self.check_walk(service, REST, "", [(0, 50), (50, 100), (100, 101)], ["?$skip=50", "?$skip=100"])

    def test_walk_of_full_pages_ends_at_a_refused_link(self):
        with Service(*sample()) as service:
            self.check_walk_into_refusal(service, PAGES, "", [(0, 50), (50, 100)], ["?$skip=50", "?$skip=100"],
                                         ["100", "$skip", "(0-99)"])
            self.check_walk_into_refusal(service, LONG, "", [(0, 50), (50, 100), (100, 150)],
                                         ["?$skip=50", "?$skip=100", "?$skip=150"], ["150", "$skip", "(0-149)"])

    def test_walk_shows_as_many_as_top_asks_for(self):
        with Service(*sample()) as service:
            for query, spans, queries in [
                    ("?$top=49", [(0, 49)], []),
                    ("?$top=75", [(0, 50), (50, 75)], ["?$skip=50&$top=25"]),
                    ("?$top=99", [(0, 50), (50, 99)], ["?$skip=50&$top=49"]),
                    ("?$top=101", [(0, 50), (50, 100), (100, 101)], ["?$skip=50&$top=51", "?$skip=100&$top=1"])]:
                with self.subTest(query=query):
                    self.check_walk(service, REST, query, spans, queries)

    def test_walk_with_a_top_of_whole_pages_ends_at_a_refused_link(self):
        nothing = ["0", "$top", "(1-101)"]
        with Service(*sample()) as service:
            for query, spans, queries in [
                    ("?$top=50", [(0, 50)], ["?$skip=50&$top=0"]),
                    ("?$top=100", [(0, 50), (50, 100)], ["?$skip=50&$top=50", "?$skip=100&$top=0"])]:
                with self.subTest(query=query):
                    self.check_walk_into_refusal(service, REST, query, spans, queries, nothing)

    def test_walk_that_begins_after_the_first_member(self):
        with Service(*sample()) as service:
            for query, spans, queries in [
                    ("?$skip=1", [(1, 51), (51, 101)], ["?$skip=51", "?$skip=101"]),
                    ("?$skip=51", [(51, 101)], ["?$skip=101"])]:
                with self.subTest(query=query):
                    self.check_walk_into_refusal(service, REST, query, spans, queries, ["101", "$skip", "(0-100)"])
            for query, spans, queries in [
                    ("?$skip=52", [(52, 101)], []),
                    ("?$top=101&$skip=50", [(50, 100), (100, 101)], ["?$skip=100&$top=1"]),
                    ("?$top=101&$skip=60", [(60, 101)], []),
                    ("?$top=60&$skip=20", [(20, 70), (70, 80)], ["?$skip=70&$top=10"])]:
                with self.subTest(query=query):
                    self.check_walk(service, REST, query, spans, queries)

    def test_top_that_reaches_just_behind_the_last_member(self):
        with Service(*sample()) as service:
            self.check_walk_into_refusal(service, REST, "?$top=101&$skip=51", [(51, 101)], ["?$skip=101&$top=0"],
                                         ["0", "$top", "(1-101)"])

    def test_numbers_up_to_32_bits_are_reported_as_they_are(self):
        with Service(*sample()) as service:
            for number in ("2147483647", "2147483648", "4294967294", "4294967295"):
                for option, allowed in (("$top", "(1-101)"), ("$skip", "(0-100)")):
                    with self.subTest(option=option, number=number):
                        answer = service.get(f"{REST}?{option}={number}")
                        arguments = [number, option, allowed]
                        self.assertEqual(answer.status, 400)
                        self.assertEqual(answer.messages(), [("Vexo.SYS417", arguments),
                                                             ("Base.QueryParameterOutOfRange", arguments)])

    def test_members_on_both_sides_of_a_page_lead_to_their_instances(self):
        with Service(*sample()) as service:
            for number in (0, 49, 50, 99, 100):
                [member] = service.get(f"{REST}?$top=1&$skip={number}").json()["Members"]
                self.assertEqual(member["@odata.id"], f"{BASE}/VexoRest/Row%23{number}")
                shown = service.get(member["@odata.id"]).json()
                self.assertEqual((shown["Number"], shown["Id"], shown["@odata.id"]),
                                 (number, f"Row#{number}", member["@odata.id"]))


if __name__ == "__main__":
    unittest.main(verbosity=2)
