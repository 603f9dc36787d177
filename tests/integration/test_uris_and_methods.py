#!/usr/bin/python3
"""URIs that lead nowhere or are none, and methods other than reading."""

import json
import re
import unittest

from cimgate_host import BASE, Pending, Service, SharedServiceTest, ask, collection_entry, member_entry

THING = f"{BASE}/VexoThing/T.1"
THINGS = f"{BASE}/VexoThingCollection"
SERVICE = f"{BASE}/VexoService"
ACTION = f"{SERVICE}/Actions/VexoService.Run"
ACTION_WITH_BLANK = f"{SERVICE}/Actions/VexoService.Run It"

MAX_URI_BYTES = 8190
MAX_SEGMENTS = 64


def sample():
    text = {"cim_type": "string"}
    mapping = member_entry("VexoThing", "XCIM_Thing", {"A": text}) | collection_entry("VexoThing")
    mapping |= member_entry("VexoService", "XCIM_Service", {"A": text}, key="",
                            actions={"#VexoService.Run": {"target": ACTION},
                                     "#VexoService.Other": {"target": ACTION_WITH_BLANK}})
    # Without the vendor's word in its name an entry has no URI.
    mapping |= member_entry("Hidden", "XCIM_Thing", {"A": text})
    # An entry under a URI that does not end in its name.
    mapping |= {"VexoNamed": {**mapping["VexoThing"], "@odata.id": f"{BASE}/VexoAlias"}}
    return mapping, {"classes": {"XCIM_Thing": (["InstanceID", "A"], [("T.1", "a")])}}


class UrisAndMethods(SharedServiceTest):
    @staticmethod
    def make_service():
        return Service(*sample())

    def check_missing(self, uri, argument):
        self.check_error(uri, 404, ("Vexo.SYS403", [argument]), ("Base.ResourceMissingAtURI", [argument]))

    # ---- URIs that lead nowhere

    def test_unknown_uris_are_not_found(self):
        for uri in ("/x", "/redfish/v2", "/redfish/v1/Nope", f"{BASE}/Nope", f"{BASE}/Nope/x", THING + "/x", f"{BASE}/Hidden",
                    f"{BASE}/Hidden/T.1", THINGS.lower(), THING.replace("/Vexo/", "//Vexo/"), THING + "//", "//",
                    f"{BASE}/VexoThing%2FT.1", "/%ff"):
            if uri == "//":
                self.check_missing(uri, "//")
            else:
                self.check_missing(uri, "")

    def test_root_is_not_found(self):
        for uri in ("/", "/?$top=1", "/?x"):
            self.check_missing(uri, uri)
        self.assertEqual(self.service.get(THING).status, 200)

    def test_nothing_is_below_a_collection_or_an_action(self):
        self.check_missing(f"{THINGS}/T.1", "VexoThingCollection")
        self.check_missing(f"{ACTION}/x", "")

    def test_entry_is_found_by_the_name_in_the_uri(self):
        self.check_missing(f"{BASE}/VexoAlias/T.1", "")

    def test_trailing_slash_does_not_matter(self):
        for uri in (THING, THINGS, SERVICE):
            plain = self.service.get(uri).json()
            self.assertEqual(self.service.get(uri + "/").json(), plain)
            self.assertEqual(self.service.get(uri + "/?$select=*").json(), plain)

    # ---- Query options

    def test_options_without_a_dollar_are_ignored(self):
        plain = self.service.get(THING).json()
        for query in ("?", "?x", "?x=1&y=2&x=3", "?select=A", "?=&&", "?top=0", "?a?b"):
            self.assertEqual(self.service.get(THING + query).json(), plain, query)

    def test_unknown_dollar_options_are_not_implemented(self):
        for query, name in [("$count=true", "$count"), ("$orderby=A", "$orderby"), ("$Select=A", "$Select"),
                            ("$select=A&$apply=x", "$apply"), ("%24count", "$count"), ("$", "$"), ("$a%20b", "$a b")]:
            self.check_error(f"{THING}?{query}", 501, ("Vexo.SYS451", [name]), ("Base.QueryNotSupported", []))
            self.check_error(f"{BASE}/Nope?{query}", 501, ("Vexo.SYS451", [name]), ("Base.QueryNotSupported", []))

    def test_repeated_options_are_refused(self):
        for query in ("$select=A&$select=A", "$top=1&$skip=2&$top=3", "$skip=1&%24skip=1"):
            self.check_error(f"{THINGS}?{query}", 400, ("Base.QueryCombinationInvalid", []))

    # ---- URIs that are none

    def test_bad_encoding_is_refused(self):
        for end in ("%", "%4", "%zz", "%00", "?$select=%", "?$select=%0", "?%g0=1"):
            uri = THING + end
            self.check_error(uri, 400, ("Base.InvalidURI", [uri]))

    def test_too_long_uri_is_refused(self):
        longest = "/" + "x" * (MAX_URI_BYTES - 1)
        self.check_missing(longest, "")
        self.check_error(longest + "x", 414, ("Base.InvalidURI", ["the request URI"]))
        query = THING + "?" + "x" * (MAX_URI_BYTES - len(THING))
        self.assertEqual(len(query), MAX_URI_BYTES + 1)
        self.check_error(query, 414, ("Base.InvalidURI", ["the request URI"]))

    def test_far_too_long_uri_is_refused(self):
        self.check_error("/" + "x" * 60000, 414, ("Base.InvalidURI", ["the request URI"]))

    def test_too_many_segments_are_refused(self):
        self.check_missing("/x" * MAX_SEGMENTS, "")
        self.check_error("/x" * (MAX_SEGMENTS + 1), 414, ("Base.InvalidURI", ["the request URI"]))

    def test_every_byte_in_a_uri_is_answered(self):
        # As a key, even an encoded "/" belongs to its segment.
        uris = [f"{self.service.base}{BASE}/VexoThing/%{byte:02x}" for byte in range(1, 256)]
        statuses = Pending(["-w", "\n=%{http_code}\n", *uris]).output().decode()
        self.assertEqual(re.findall(r"^=(\d+)$", statuses, re.MULTILINE), ["404"] * 255)
        for key in ("%01", "%2f", "%3f", "%ff"):
            self.check_missing(f"{BASE}/VexoThing/{key}", "VexoThing")

    def test_error_texts_of_odd_bytes_are_json(self):
        answer = self.service.get(f"{THING}?$%ff%22%5c%0a=1")
        self.assertEqual(answer.status, 501)
        self.assertEqual(json.loads(answer.body.decode("utf-8", errors="strict")), answer.json())
        self.assertEqual(answer.messages()[0], ("Vexo.SYS451", ["$�\"\\\n"]))

    # ---- Methods

    def check_not_allowed(self, answer, allowed, *messages):
        self.assertEqual((answer.status, answer.get("Allow"), answer.messages()), (405, allowed, list(messages)))
        self.check_headers(answer)

    def test_other_methods_are_not_allowed(self):
        for method in ("PUT", "PATCH", "DELETE", "TRACE", "BREW", "post"):
            for uri in (THING, THINGS, ACTION, f"{BASE}/Nope", "/", "/%zz"):
                with self.subTest(method=method, uri=uri):
                    self.check_not_allowed(self.service.get(uri, "-X", method),
                                           "POST" if uri == ACTION else "GET, HEAD, OPTIONS",
                                           ("Vexo.SYS402", []), ("Base.OperationNotAllowed", []))

    def test_options_tell_the_methods(self):
        for uri, methods in ((THING, "GET, HEAD, OPTIONS"), (THINGS + "/", "GET, HEAD, OPTIONS"), (ACTION, "POST"),
                             (f"{SERVICE}?$nonsense=1", "GET, HEAD, OPTIONS")):
            answer = ask(self.service.base, uri, "OPTIONS", body=b"{")
            self.assertEqual((answer.status, answer.get("Allow"), answer.body), (204, methods, b""), uri)
            self.assertEqual((answer.get("OData-Version"), answer.get("Cache-Control")), ("4.0", "no-cache"), uri)
        for uri in (f"{BASE}/Nope", f"{ACTION}/x", "/%zz"):
            answer = ask(self.service.base, uri, "OPTIONS")
            self.check_failed(answer, 404, ("Vexo.SYS403", [""]), ("Base.ResourceMissingAtURI", [""]))

    # ---- Headers

    def test_another_odata_version_is_refused(self):
        for method, uri in (("GET", THING), ("HEAD", THINGS), ("POST", ACTION), ("GET", f"{BASE}/Nope")):
            answer = self.service.get(uri, *(["-I"] if method == "HEAD" else ["-X", method]), "-H", "OData-Version: 4.1")
            self.assertEqual(answer.status, 412, uri)
            if method != "HEAD":
                self.check_failed(answer, 412, ("Base.HeaderInvalid", ["OData-Version"]))
        self.assertEqual(self.service.get(THING, "-H", "OData-Version: 4.0").status, 200)

    def test_types_that_are_not_accepted_are_refused(self):
        for accept, status in (("text/html", 406), ("application/xml, text/*", 406), ("application/json;q=0", 406),
                               ("application/json", 200), ("application/*;q=0.1, text/html", 200), ("", 200),
                               ("application/json;charset=utf-8", 200)):
            for uri in (THING, THINGS, SERVICE):
                for _ in range(3):  # the last one is an answer that was kept
                    answer = ask(self.service.base, uri, headers=[f"Accept: {accept}"], accept=None)
                    self.assertEqual(answer.status, status, accept)
                    if status == 406:
                        self.check_failed(answer, 406, ("Base.NotAcceptable", []))

    def test_a_wrong_method_is_told_before_wrong_headers_and_these_before_the_body(self):
        wrong = ["OData-Version: 5", "Accept: text/html"]
        self.assertEqual(ask(self.service.base, THING, "PATCH", wrong, b"{").status, 405)
        self.assertEqual(ask(self.service.base, ACTION, "POST", wrong, b"{").status, 412)
        self.assertEqual(ask(self.service.base, ACTION, "POST", wrong[1:], b"{", accept=None).status, 406)
        self.assertEqual(ask(self.service.base, ACTION, "POST", [], b"{").status, 415)

    def test_headers_are_told_of_before_the_body_is_there(self):
        answer = self.service.get(ACTION, "-X", "POST", "-H", "Content-Length: 1000000", "-H", "Expect: 100-continue",
                                  "-H", "Accept: text/html", "-H", "Content-Type: application/json")
        self.assertEqual(answer.status, 406)

    def test_body_of_a_refused_method_does_not_matter(self):
        for body in ("{}", "{", "x" * 100000):
            answer = self.service.get(ACTION, "-X", "PATCH", "-d", body, "-H", "Content-Type: application/json")
            self.assertEqual(answer.status, 405)

    def post(self, uri):
        return self.service.get(uri, "-X", "POST", "-d", "{", "-H", "Content-Type: application/json")

    def test_posting_to_what_is_read_is_not_allowed(self):
        for uri in (THINGS, SERVICE, THINGS + "/", f"{SERVICE}?$select=A"):
            self.check_not_allowed(self.post(uri), "GET, HEAD, OPTIONS", ("Vexo.SYS402", []))

    def test_posting_to_nothing_is_not_found(self):
        for uri, argument in (("/", "/"), (f"{BASE}/Nope", ""), (f"{THINGS}/T.1", "VexoThingCollection"),
                              (f"{ACTION}/x", "")):
            answer = self.post(uri)
            self.assertEqual((answer.status, answer.messages()), (
                404, [("Vexo.SYS403", [argument]), ("Base.ResourceMissingAtURI", [argument])]), uri)

    def test_without_an_object_manager_nobody_knows_of_an_instance_to_post_to(self):
        for key in ("T.1", "T.9"):
            answer = self.post(f"{BASE}/VexoThing/{key}")
            self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))

    def test_reading_an_action_is_not_allowed(self):
        for uri in (ACTION, ACTION + "/"):
            answer = self.check_error(uri, 405, ("Vexo.SYS402", []))
            self.assertEqual(answer.get("Allow"), "POST")
        self.assertEqual(self.service.head(ACTION).status, 405)

    def test_body_of_a_read_is_ignored(self):
        answer = self.service.get(THING, "-X", "GET", "-d", "{not json")
        self.assertEqual(answer.json(), self.service.get(THING).json())

    def test_absolute_target_is_understood(self):
        answer = self.service.get(THING, "--request-target", f"http://elsewhere{THING}?$select=A")
        self.assertEqual(answer.status, 200)
        self.assertEqual(answer.json()["A"], "a")


if __name__ == "__main__":
    unittest.main(verbosity=2)
