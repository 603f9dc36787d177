#!/usr/bin/python3
"""Entity tags, conditional reads and compressed answers of what the data cache answers, the same whether answers are kept
or not."""

import contextlib
import gzip
import sqlite3
import unittest

from cimgate_host import BASE, Service, collection_entry, connect_to, member_entry, read_answer

MAPPING = {**member_entry("VexoThing", "XCIM_Thing", {"InstanceID": {"cim_type": "string"}, "T": {"cim_type": "string"}}),
           **collection_entry("VexoThing"),
           **member_entry("VexoLive", "XCIM_Live", {"InstanceID": {"cim_type": "string"}}, cached=False)}
SMALL = f"{BASE}/VexoThing/small"
LARGE = f"{BASE}/VexoThing/large"
COLLECTION = f"{BASE}/VexoThingCollection"
TEXT = "a text that comes again and again, " * 100
GZIP = "Accept-Encoding: gzip"
# Answers are kept at their second request and given again from the third on.
TIMES = 4


def cache_of(small):
    return {"classes": {"XCIM_Thing": (["InstanceID", "T"], [("small", small), ("large", TEXT)])}}


class Representations(unittest.TestCase):
    def setUp(self):
        self.services = []
        for options in ((), ("--kept-answers", "0")):
            service = Service(MAPPING, cache_of("x"), options=options)
            self.services.append(self.enterContext(service))

    def write(self, small):
        for service in self.services:
            with contextlib.closing(sqlite3.connect(service.cache_path)) as writer, writer:
                writer.execute("update Tbl_XCIM_Thing set T = ? where InstanceID = 'small'", (small,))

    def each(self, path, *headers, method="GET"):
        """The answer of every service, asked several times; all are the same."""
        answers = [self.ask(service, path, headers, method) for service in self.services for _ in range(TIMES)]
        shown = {(each.status, each.body, *(header for header in each.headers if header[0] != "date"))
                 for each in answers}
        self.assertEqual(len(shown), 1, shown)
        return answers[0]

    @staticmethod
    def ask(service, path, headers, method):
        with connect_to(service.base) as connection, connection.makefile("rb") as stream:
            lines = [f"{method} {path} HTTP/1.1", "Host: localhost", "Connection: close", *headers, "", ""]
            connection.sendall("\r\n".join(lines).encode())
            answer = read_answer(stream, has_body=False)
            answer.body = stream.read()
            return answer

    def test_tag_is_strong_and_of_the_body(self):
        tags = {path: self.each(path).get("ETag") for path in (SMALL, LARGE, COLLECTION, f"{COLLECTION}?$top=1")}
        for tag in tags.values():
            self.assertRegex(tag, '^"[0-9a-f]{32}"$')
        self.assertEqual(len(set(tags.values())), len(tags))

    def test_tag_changes_with_the_answer_and_comes_back_with_it(self):
        before = self.each(SMALL).get("ETag")
        other = self.each(LARGE).get("ETag")
        self.write("y")
        self.assertNotEqual(self.each(SMALL).get("ETag"), before)
        self.assertEqual(self.each(LARGE).get("ETag"), other)
        self.assertEqual(self.each(SMALL, f"If-None-Match: {before}").status, 200)
        self.write("x")
        self.assertEqual(self.each(SMALL, f"If-None-Match: {before}").status, 304)

    def test_what_the_client_has_is_304_without_content(self):
        tag = self.each(SMALL).get("ETag")
        for value in (tag, f"W/{tag}", "*", f'"x", {tag}', f'"x,y" ,W/{tag}'):
            for method in ("GET", "HEAD"):
                answer = self.each(SMALL, f"If-None-Match: {value}", method=method)
                self.assertEqual((answer.status, answer.body), (304, b""), value)
                self.assertEqual([name for name, _ in answer.headers if name not in ("date", "connection")],
                                 ["etag", "vary", "odata-version", "cache-control"])
                self.assertEqual(answer.get("ETag"), tag)
        self.assertEqual(self.each(SMALL, 'If-None-Match: "x"', f"If-None-Match: {tag}").status, 304)

    def test_what_the_client_has_not_is_200(self):
        tag = self.each(SMALL).get("ETag")
        plain = self.each(SMALL)
        for value in ('"x"', tag.strip('"'), "", '"', f"w/{tag}", self.each(LARGE).get("ETag")):
            answer = self.each(SMALL, f"If-None-Match: {value}")
            self.assertEqual((answer.status, answer.body), (200, plain.body), value)

    def test_only_what_is_read_from_the_cache_has_a_tag(self):
        for path in (f"{BASE}/VexoLive/1", f"{BASE}/VexoThing/nobody", f"{BASE}/Nothing"):
            answer = self.each(path, "If-None-Match: *", GZIP)
            self.assertGreaterEqual(answer.status, 400)
            self.assertIsNone(answer.get("ETag"))
            self.assertIsNone(answer.get("Content-Encoding"))

    def test_large_answers_are_compressed_for_who_accepts_that(self):
        plain = self.each(LARGE)
        self.assertIsNone(plain.get("Content-Encoding"))
        for accepted in ("gzip", "deflate, GZIP;q=0.5", "*", "identity;q=0.5, gzip;q=0.5"):
            answer = self.each(LARGE, f"Accept-Encoding: {accepted}")
            self.assertEqual(answer.get("Content-Encoding"), "gzip", accepted)
            self.assertEqual(gzip.decompress(answer.body), plain.body)
            self.assertLess(len(answer.body), len(plain.body) // 3)
            self.assertNotEqual(answer.get("ETag"), plain.get("ETag"))
            self.assertEqual(answer.get("Vary"), "Accept-Encoding")
            for name in ("Content-Type", "OData-Version", "Cache-Control"):
                self.assertEqual(answer.get(name), plain.get(name))
        self.assertEqual(plain.get("Vary"), "Accept-Encoding")

    def test_others_are_plain(self):
        plain = self.each(LARGE)
        for accepted in ("identity", "gzip;q=0", "br", "gzip;q=0.4, identity;q=0.5", "*;q=0", "gzip;q=x", ""):
            answer = self.each(LARGE, f"Accept-Encoding: {accepted}")
            self.assertEqual((answer.body, answer.get("Content-Encoding")), (plain.body, None), accepted)
        small = self.each(SMALL, GZIP)
        self.assertEqual((small.body, small.get("Content-Encoding")), (self.each(SMALL).body, None))

    def test_head_tells_what_a_get_would_bring(self):
        for headers in ((), (GZIP,)):
            brought, told = (self.each(LARGE, *headers, method=method) for method in ("GET", "HEAD"))
            self.assertEqual([each for each in told.headers if each[0] != "date"],
                             [each for each in brought.headers if each[0] != "date"])
            self.assertEqual(told.body, b"")

    def test_tag_is_of_the_coding(self):
        plain, compressed = self.each(LARGE), self.each(LARGE, GZIP)
        self.assertEqual(self.each(LARGE, GZIP, f"If-None-Match: {compressed.get('ETag')}").status, 304)
        self.assertEqual(self.each(LARGE, f"If-None-Match: {plain.get('ETag')}").status, 304)
        self.assertEqual(self.each(LARGE, GZIP, f"If-None-Match: {plain.get('ETag')}").status, 200)
        self.assertEqual(self.each(LARGE, f"If-None-Match: {compressed.get('ETag')}").status, 200)


if __name__ == "__main__":
    unittest.main()
