#!/usr/bin/python3
"""What the endpoint refuses, with reason, code and message: requests, containers and ids, and what is not cached."""

import json
import unittest

from oem_client import BY_ID, TEXT, OemService, OemTest, container_entry, embedded_data, embedded_entry, request_text

GOOD_ANSWER = {"VexoGood": embedded_data("VexoGood", "G.1", InstanceID="G.1", A="fine")}

LONGEST_ID = 127
LONGEST_REQUEST = 64 * 1024

ALLOWED_IDS = ["G.1", "x", "0", "Disk.Bay.0:Enclosure.2", "Tavix.Embedded.1#PS1Current2", "a-b-c", "-a", "a-", "-", ".",
               "#", ":", "_", "___", "..", "#p1", "#p2", "a#p1b#p2c", "L" * LONGEST_ID]

REFUSED_IDS = [
    "", "--", "a--b", "--a", "a--", "a---b", "-" * LONGEST_ID,
    "'", "''", "a'b", "x' or '1'='1", "x' or 1=1 --", '"', 'a"b', "`a`", "[a]",
    ";", "a;b", "x'; drop table Tbl_XCIM_Good; --", "x';drop/**/table/**/Tbl_XCIM_Good;",
    "/*", "*/", "a/*b*/c", "a/b", "a*b",
    "\0", "G.1\0", "\0G.1", "G.1\0' or 1=1", "a\0b",
    "%", "a%b", "%27", "a%00", "\\", "a\\b", "\\'", "a\\0",
    " ", "G.1 ", " G.1", "a b", "a\tb", "a\nb", "G.1\n", "\r", "a\x0bb", "\x1f", "\x7f",
    "é", "Gé1", "G․1", "ａ", "１", "\u00a0", "\ufeffG.1", "😀", "\u2019",
    "a,b", "a=b", "a+b", "a|b", "a&b", "a(b)", "a{b}", "a<b>", "a$b", "a@b", "a!b", "a?b", "a~b", "a^b",
    "L" * (LONGEST_ID + 1), "L" * (LONGEST_ID + 2), "L" * 255, "L" * 256, "L" * 60_000, "é" * 64]


def sample():
    mapping = embedded_entry("VexoGood", "XCIM_Good", {"InstanceID": TEXT, "A": TEXT})
    mapping |= embedded_entry("VexoLive", "XCIM_Live", {"A": TEXT}, cached=False)
    mapping |= embedded_entry("VexoUnready", "XCIM_Unready", {"A": TEXT})
    mapping |= embedded_entry("VexoXLast", "XCIM_Good", {"A": TEXT})
    mapping |= container_entry("GoodOem", VexoGood=BY_ID)
    mapping |= container_entry("GoodQueryOem", VexoGood=("", "InstanceID = '#p1'"))
    mapping |= container_entry("GoodExpressionOem", VexoGood=("^(.*)$", ""))
    mapping |= container_entry("GoodBothOem", VexoGood=("^(.*)$", "InstanceID = '#p1'"))
    mapping |= container_entry("TwoPartsOem", VexoGood=("^(.*)/?:(.*)$", "InstanceID = '#p1' or A = '#p2'"))
    mapping |= container_entry("LiveOem", VexoGood=BY_ID, VexoLive=BY_ID, VexoXLast=BY_ID)
    mapping |= container_entry("LiveQueryOem", VexoGood=BY_ID, VexoLive=("", "InstanceID = '#p1'"))
    mapping |= container_entry("UnreadyOem", VexoGood=BY_ID, VexoUnready=BY_ID, VexoXLast=BY_ID)
    mapping |= container_entry("UnreadyQueryOem", VexoGood=BY_ID, VexoUnready=("", "InstanceID = '#p1'"))
    columns = ["InstanceID", "A"]
    rows = [("G.1", "fine"), *((allowed, "allowed") for allowed in ALLOWED_IDS[1:])]
    return mapping, {"classes": {"XCIM_Good": (columns, rows), "XCIM_Unready": (columns, [("G.1", "early")])},
                     "ready": ["XCIM_Good"]}


# What is wrong with it, the request, and what its message says.
MALFORMED = [
    ("nothing", b""), ("blanks", b" \n"), ("no JSON", b"nonsense"),
    ("cut off", b'{"container": "GoodOem", "id": "G.1"'),
    ("cut off text", b'{"container": "GoodOem", "id": "G.1'), ("an array", b'["GoodOem", "G.1"]'),
    ("an array of requests", b'[{"container": "GoodOem", "id": "G.1"}]'), ("a text", b'"GoodOem"'),
    ("a number", b"5"), ("null", b"null"), ("no members", b"{}"),
    ("no id", b'{"container": "GoodOem"}'), ("no container", b'{"id": "G.1"}'),
    ("other letter case", b'{"Container": "GoodOem", "ID": "G.1"}'),
    *((f"id is {value}", b'{"container": "GoodOem", "id": %s}' % value.encode())
      for value in ("5", "1.5", "null", "true", '["G.1"]', '{"G": 1}')),
    *((f"container is {value}", b'{"container": %s, "id": "G.1"}' % value.encode())
      for value in ("5", "null", "false", '["GoodOem"]', "{}")),
    ("one member more", b'{"container": "GoodOem", "id": "G.1", "more": 1}'),
    ("one member more, without a name", b'{"container": "GoodOem", "id": "G.1", "": ""}'),
    ("id twice", b'{"container": "GoodOem", "id": "G.1", "id": "G.1"}'),
    ("container twice", b'{"container": "GoodOem", "container": "GoodOem", "id": "G.1"}'),
    ("id twice and no container", b'{"id": "G.1", "id": "G.1"}'),
    ("text behind it", b'{"container": "GoodOem", "id": "G.1"} x'),
    ("a NUL behind it", b'{"container": "GoodOem", "id": "G.1"}\0'),
    ("a second one behind it", b'{"container": "GoodOem", "id": "G.1"}' * 2),
    ("text in front of it", b'x{"container": "GoodOem", "id": "G.1"}'),
    ("a byte order mark", b'\xef\xbb\xbf{"container": "GoodOem", "id": "G.1"}'),
    ("UTF-16", '{"container": "GoodOem", "id": "G.1"}'.encode("utf-16")),
    ("id not UTF-8", b'{"container": "GoodOem", "id": "G.1\xff"}'),
    ("id with an overlong form", b'{"container": "GoodOem", "id": "\xc0\xa7"}'),
    ("id with a surrogate", b'{"container": "GoodOem", "id": "\xed\xa0\x80"}'),
    ("container with a NUL behind it", rb'{"container": "GoodOem\u0000", "id": "G.1"}'),
    ("container with a NUL in it", rb'{"container": "GoodOem\u0000x", "id": "G.1"}'),
    ("container with a line break", rb'{"container": "GoodOem\n", "id": "G.1"}'),
    ("container with a control character", rb'{"container": "Good\u001fOem", "id": "G.1"}'),
    ("container not UTF-8", b'{"container": "GoodOem\xe9", "id": "G.1"}'),
    ("half a surrogate pair", rb'{"container": "GoodOem", "id": "\ud800"}'),
    ("a bare line break", b'{"container": "GoodOem", "id": "G\n1"}'),
    ("a bare NUL", b'{"container": "GoodOem", "id": "G\x001"}'),
    ("a comment", b'{"container": "GoodOem", /* */ "id": "G.1"}'),
    ("a comment behind it", b'{"container": "GoodOem", "id": "G.1"} // end'),
    ("a trailing comma", b'{"container": "GoodOem", "id": "G.1",}'),
    ("single quotes", b"{'container': 'GoodOem', 'id': 'G.1'}"),
    ("names without quotes", b'{container: "GoodOem", id: "G.1"}'),
    ("deep nesting", b"[" * 30_000), ("deep nesting of objects", b'{"id":' * 10_000),
]


class Requests(OemTest):
    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(OemService(*sample()))

    def setUp(self):
        self.client = self.enterContext(self.service.client())

    def check_still_answered(self):
        self.assertEqual(self.client.ask("GoodOem", "G.1"), GOOD_ANSWER)

    def test_malformed_requests(self):
        for what, request in MALFORMED:
            with self.subTest(what=what):
                self.check_error(json.loads(self.client.ask_raw(request)), "MalformedRequest", "JSON object")
        self.check_still_answered()

    def test_messages_of_malformed_requests_name_the_members(self):
        for request in (b"{}", b'{"container": "GoodOem"}', b'{"container": 5, "id": "G.1"}'):
            self.check_error(json.loads(self.client.ask_raw(request)), "MalformedRequest", '"container"', '"id"')

    def test_request_of_several_frames(self):
        good = request_text("GoodOem", "G.1")
        for frames in ([good, good], [good, b""], [b'{"container": "GoodOem",', b'"id": "G.1"}'], [good] * 8):
            with self.subTest(frames=len(frames)):
                self.check_error(json.loads(self.client.ask_raw(*frames)), "MalformedRequest", "frame")
        self.check_still_answered()

    def test_longest_request(self):
        request = request_text("GoodOem", "G.1")
        self.assertEqual(json.loads(self.client.ask_raw(request.ljust(LONGEST_REQUEST))), GOOD_ANSWER)

    def test_unknown_containers(self):
        workers = self.service.workers()
        for container in ("", "NoOem", "goodoem", "GoodOem ", " GoodOem", "'", "GoodOém", "G" * 60_000, "GoodOem/",
                          "/redfish/v1/Vexo/VexoGood", "#p1", "%s%s%n", "{}", "\x7f"):
            with self.subTest(container=container[:20]):
                self.check_error(self.client.ask(container, "G.1"), "UnknownContainer", "mapping file")
        self.check_error(self.client.ask("NoSuchOem", "G.1"), "UnknownContainer", "NoSuchOem")
        self.check_still_answered()
        self.assertEqual(self.service.workers(), workers)
        self.assertNotIn("Assertion", self.service.log())

    def test_what_is_not_cached_is_not_answered_in_part(self):
        for container, resource in (("LiveOem", "VexoLive"), ("LiveQueryOem", "VexoLive"),
                                    ("UnreadyOem", "VexoUnready"), ("UnreadyQueryOem", "VexoUnready")):
            with self.subTest(container=container):
                self.check_error(self.client.ask(container, "G.1"), "NotCached", resource, "5 seconds")
        self.check_still_answered()


class Ids(OemTest):
    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(OemService(*sample(), options=("--log-level", "4")))

    def setUp(self):
        self.client = self.enterContext(self.service.client())

    def statements(self):
        """How many statements the workers have had for their instances and for what is ready."""
        log = self.service.log()
        return log.count("Formed query "), log.count("Execute query "), log.count(" meta table")

    def test_refused_ids_never_reach_sql(self):
        self.client.ask("GoodOem", "G.1")
        self.client.ask("GoodQueryOem", "G.1")
        before = self.statements()
        self.assertGreater(min(before), 0)
        for container in ("GoodOem", "GoodQueryOem", "GoodExpressionOem", "GoodBothOem", "TwoPartsOem"):
            for refused in REFUSED_IDS:
                with self.subTest(container=container, id=refused[:40]):
                    self.check_error(self.client.ask(container, refused), "InvalidId", "127")
        self.assertEqual(self.statements(), before)
        # All that there was is still there.
        for allowed in ALLOWED_IDS[1:]:
            self.assertEqual(self.client.ask("GoodOem", allowed)["VexoGood"]["A"], "allowed")

    def test_allowed_ids_are_found_in_every_way(self):
        for container in ("GoodOem", "GoodQueryOem", "GoodExpressionOem", "GoodBothOem"):
            for allowed in ALLOWED_IDS:
                with self.subTest(container=container, id=allowed[:40]):
                    self.assertEqual(self.client.ask(container, allowed)["VexoGood"]["InstanceID"], allowed)

    def test_placeholder_in_an_id_ends_no_text(self):
        # What stands for the first part has a second placeholder in it, which is filled first.
        before = self.service.log()
        self.assertEqual(self.client.ask("TwoPartsOem", "a#p2b:c"), {})
        added = self.service.log().removeprefix(before)
        self.assertIn("where InstanceID = 'acb' or A = '#p2' COLLATE NOCASE", added)

    def test_id_is_checked_before_the_container_is_looked_up_or_a_worker_asked(self):
        before = self.service.log()
        self.check_error(self.client.ask("GoodOem", "a'b"), "InvalidId")
        self.assertNotIn("Trying to load RMF", self.service.log().removeprefix(before))

    def test_ids_in_escapes_are_those_that_they_stand_for(self):
        ask = self.client.ask_raw
        self.assertEqual(json.loads(ask(rb'{"container": "GoodOem", "id": "\u0047\u002e1"}')), GOOD_ANSWER)
        for escaped in (rb"\u0027", rb"a\u002d\u002db", rb"\u0000", rb"G.1\u0000", rb"\u0020", rb"a\/b", rb"\\",
                        rb"\""):
            with self.subTest(escaped=escaped):
                self.check_error(json.loads(ask(b'{"container": "GoodQueryOem", "id": "%s"}' % escaped)), "InvalidId")


if __name__ == "__main__":
    unittest.main(verbosity=2)
