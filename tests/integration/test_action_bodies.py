#!/usr/bin/python3
"""Bodies that are no JSON object, of other types or hostile: each gets the error that fits, and nothing of
them reaches the object manager."""

import contextlib
import http.client
import json
import random
import sys
import unittest

from action_service import DONE, JSON, RUN, ActionService, action_mapping, declared
from cimgate_host import Pending
from program import PATIENCE_S
from scripted_object_manager import ScriptedObjectManager

MALFORMED = (400, [("Vexo.SYS405", []), ("Base.MalformedJSON", [])])
UNSUPPORTED = (415, [("Base.UnsupportedMediaType", [])])
# Arrays and objects within each other, the body included.
MAX_DEPTH = 32

DAMAGED_BODIES = 3000
SEED = 20240501

INPUTS = {"Text": declared(), "Number": declared("Edm.Int64", "uint32"), "Flag": declared("Edm.Boolean", "boolean"),
          "At": declared("Edm.DateTimeOffset", "datetime"),
          "List": declared("Collection(Edm.String)", is_arraytype=True),
          "Level": declared(cim_type="uint16", value_mapping={"2": "High", "3": "Low"}),
          "Levels": declared("Collection(Edm.String)", "uint16", is_arraytype=True, value_mapping={"2": "High"}),
          "Job": declared(is_ref_type=True), "Untyped": {"cim_type": "string"}}


def error(key, *arguments):
    """400 with the message of both registries."""
    names = {"SYS425": "PropertyValueTypeError", "SYS426": "PropertyValueNotInList", "SYS428": "PropertyMissing",
             "SYS429": "PropertyUnknown"}
    return 400, [(f"Vexo.{key}", list(arguments)), (f"Base.{names[key]}", list(arguments))]


class Bodies(unittest.TestCase):
    """One service; whatever a test sends, its worker stays and the next call is carried out."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.manager = cls.enterClassContext(ScriptedObjectManager(DONE))
        cls.service = cls.enterClassContext(ActionService(cls.manager.url, action_mapping(INPUTS)))

    def setUp(self):
        self.workers = self.service.workers()
        self.calls = len(self.manager.requests)

    def tearDown(self):
        self.assertEqual(len(self.manager.requests), self.calls)
        self.assertEqual(self.service.run({"Text": "still there"}).status, 200)
        self.assertEqual(self.service.workers(), self.workers)

    def check(self, expected, answer):
        self.assertEqual((answer.status, answer.messages()), expected)
        self.assertEqual(answer.get("Content-Type"), JSON)

    def check_body(self, expected, body):
        with self.subTest(body=body[:60]):
            self.check(expected, self.service.run(body))


class Malformed(Bodies):
    def test_no_json(self):
        for body in ("", " ", "{", "}", "{}}", "{]", "nonsense", "{'Text': 'a'}", "{Text: 1}", '{"Text"}', '{"Text":}',
                     '{"Text": "a",}', '{,}', '{"Text": "a" "Number": 1}', '{"Text": "a', "<xml/>", "Text=a"):
            self.check_body(MALFORMED, body)

    def test_other_values_than_objects(self):
        for body in ("null", "true", "1", '"text"', "[]", '[{"Text": "a"}]'):
            self.check_body(MALFORMED, body)

    def test_comments(self):
        for body in ('{} // done', '/* first */ {}', '{"Text": /* what */ "a"}', '{"Text": "a" // what\n}', "# a\n{}"):
            self.check_body(MALFORMED, body)

    def test_text_behind_the_object(self):
        for body in ("{} x", "{}{}", "{} {}", "{},", "{}\0", '{"Text": "a"}\0{"Text": "b"}', "{}\x0c"):
            self.check_body(MALFORMED, body)

    def test_names_given_twice(self):
        for body in ('{"Text": "a", "Text": "b"}', '{"Text": "a", "\\u0054ext": "a"}', '{"Nope": 1, "Nope": 1}',
                     '{"Text": {"a": 1, "a": 2}}', '{"": 1, "": 2}'):
            self.check_body(MALFORMED, body)

    def test_numbers_that_are_none(self):
        for number in ("01", "-", "+1", "1.", ".5", "1e", "0x10", "1_000", "NaN", "Infinity", "--1", "1-2"):
            self.check_body(MALFORMED, f'{{"Number": {number}}}')

    def test_texts_that_are_none(self):
        for text in ("\n", "\t", "\0", "\x1f", "\\x", "\\u12", "\\", "\\ud800", "\\udc00", "\\ud800\\u0041"):
            self.check_body(MALFORMED, f'{{"Text": "{text}"}}')

    def test_bytes_that_are_not_utf_8(self):
        for data in (b"\xff", b"\xc3", b"\xc0\x80", b"\xed\xa0\x80", b"\xf5\x80\x80\x80", b"\xe4"):
            self.check_body(MALFORMED, b'{"Text": "' + data + b'"}')
            self.check_body(MALFORMED, b'{"' + data + b'": "a"}')
        self.check_body(MALFORMED, '{"Text": "a"}'.encode("utf-16"))
        self.check_body(MALFORMED, b"\xef\xbb\xbf{}")

    def test_nul_bytes(self):
        for body in ("\0", "\0{}", '{\0"Text": "a"}', '{"Te\0xt": "a"}', '{"Text": "a\0b"}'):
            self.check_body(MALFORMED, body)

    def test_deep_nesting(self):
        for opening, closing in (("[", "]"), ('{"a":', "}")):
            for depth in (MAX_DEPTH, 100, 100000):
                inner = opening * depth + "1" + closing * depth
                self.check_body(MALFORMED, f'{{"List": {inner}}}')
                self.check_body(MALFORMED, f'{{"List": {opening * depth}')
        self.check_body(error("SYS425", "1", "List"), f'{{"List": {"[" * (MAX_DEPTH - 1)}1{"]" * (MAX_DEPTH - 1)}}}')


class Damaged(Bodies):
    """Bodies made from a valid one by changes of bytes: each is answered, and no worker is lost."""

    VALID = json.dumps({"Text": "Ünï\n\0", "Number": 7, "Flag": True, "At": "2024-05-01T10:20:30+02:00",
                        "List": ["a", ""], "Level": "High", "Levels": ["High"]}, ensure_ascii=False).encode("utf-8")
    PIECES = [b"", b"{", b"}", b"[", b"]", b'"', b",", b":", b"\\", b"\\u0000", b"\\ud800", b"\0", b"\xff", b"-",
              b"1e999", b"//", b"null", b'"Text":', b'"":', b"[" * 40, b"9" * 400, b"\xc3\xa4", b"0.1"]

    def damaged(self, generator):
        body = self.VALID
        for _ in range(generator.randrange(1, 4)):
            begin = generator.randrange(len(body) + 1)
            end = min(len(body), begin + generator.choice((0, 1, 2, 10)))
            body = body[:begin] + generator.choice(self.PIECES) + body[end:]
        return body

    def tearDown(self):
        self.calls = len(self.manager.requests)  # some are still good
        super().tearDown()

    def test_damaged_bodies(self):
        print(f"seed {SEED}", file=sys.stderr)
        generator = random.Random(SEED)
        seen = set()
        address = self.service.base.removeprefix("http://")
        with contextlib.closing(http.client.HTTPConnection(address, timeout=PATIENCE_S)) as client:
            for _ in range(DAMAGED_BODIES):
                body = self.damaged(generator)
                client.request("POST", RUN, body, {"Content-Type": JSON})
                answer = client.getresponse()
                seen.add(answer.status)
                json.loads(answer.read().decode("utf-8", errors="strict"))
        self.assertEqual(seen, {200, 400})


class Invalid(Bodies):
    def test_unknown_parameter(self):
        for name in ("Nope", "text", "Text ", "TextX", "", "a" * 256, "Ünï", "\u0001", "@odata.id"):
            self.check(error("SYS429", name), self.service.run({name: "a"}))
        self.check(error("SYS429", "a" * 253 + "..."), self.service.run({"a" * 10000: "a"}))

    def test_values_of_another_type(self):
        for name, value, shown in (
                ("Text", 1, "1"), ("Text", True, "true"), ("Text", None, ""), ("Text", {"a": 1}, ""),
                ("Text", ["a"], "a"),
                ("Number", "1", "1"), ("Number", -5, "-5"), ("Number", 2.5, "2.5"), ("Number", True, "true"),
                ("Number", 2**64, "1.84467e+19"), ("Number", -2**63, "-9223372036854775808"), ("Number", [], ""),
                ("Flag", 1, "1"), ("Flag", "true", "true"), ("At", "today", "today"), ("At", 5, "5"),
                ("At", "2024-05-01T10:20:30Z", "2024-05-01T10:20:30Z"), ("List", "a", "a"), ("List", [], ""),
                ("List", [1, True], "1,true"), ("Untyped", "a", "a"), ("Level", 2, "2"),
                ("Levels", ["High", 2], "High,2")):
            with self.subTest(name=name, value=value):
                self.check(error("SYS425", shown, name), self.service.run({name: value}))

    def test_number_with_a_fraction_is_none_even_if_it_is_nought(self):
        for text, shown in (("3.0", "3"), ("1e2", "100"), ("-0.0", "-0"), ("1e300", "1e+300")):
            self.check_body(error("SYS425", shown, "Number"), f'{{"Number": {text}}}')

    def test_values_that_are_not_in_the_list(self):
        for name, value, shown in (("Level", "Highest", "Highest"), ("Level", "2", "2"), ("Level", "high", "high"),
                                   ("Level", "", ""), ("Levels", ["High", "Low", "x"], "Low")):
            with self.subTest(name=name, value=value):
                self.check(error("SYS426", shown, name), self.service.run({name: value}))

    def test_references_that_lead_nowhere(self):
        for uri in ("", "JID_1", "/", "/x", "//x", "/redfish/v1/Nope/JID_1"):
            self.check(error("SYS426", uri, "Job"), self.service.run({"Job": uri}))

    def test_nul_in_a_name_or_a_text(self):
        # Messages show what is before it.
        self.check(error("SYS429", "Text"), self.service.run({"Text\0": "a"}))
        self.check(error("SYS425", "a", "Text"), self.service.run({"Text": "a\0b"}))

    def test_first_failure_is_told(self):
        for body, expected in (({"Text": 1, "Nope": 1, "Level": "x"}, error("SYS429", "Nope")),
                               ({"Text": 1, "Level": "x"}, error("SYS425", "1", "Text")),
                               ({"Text": 1, "At": 2}, error("SYS425", "2", "At"))):
            self.check(expected, self.service.run(body))


class Required(unittest.TestCase):
    def test_required_parameter_that_is_missing(self):
        inputs = {"B": declared(isrequired=True), "A": declared(isrequired=True), "C": declared()}
        with ScriptedObjectManager(DONE) as manager, ActionService(manager.url, action_mapping(inputs)) as service:
            for body, missing in (({}, "A"), ({"C": "c"}, "A"), ({"A": "a"}, "B")):
                answer = service.run(body)
                self.assertEqual((answer.status, answer.messages()), error("SYS428", missing))
            self.assertEqual(manager.requests, [])
            self.assertEqual(service.run({"A": "a", "B": ""}).status, 200)


class ContentTypes(Bodies):
    def test_json_of_any_spelling_is_taken(self):
        with ScriptedObjectManager(DONE) as manager, ActionService(manager.url) as service:
            for content_type in (JSON, "Application/JSON", f"{JSON}; charset=utf-8", f"{JSON};charset=UTF-8",
                                 f"{JSON} ; a=b", f"  {JSON}  "):
                self.assertEqual(service.post(RUN, content_type=content_type).status, 200, content_type)

    def test_other_types_are_refused(self):
        for content_type in ("text/plain", "application/x-www-form-urlencoded", "application/jsonp", "json",
                             "text/json", "application/merge-patch+json", "multipart/form-data; boundary=x", "*/*",
                             "application/ json", "text/plain, application/json", ";"):
            with self.subTest(content_type=content_type):
                self.check(UNSUPPORTED, self.service.post(RUN, content_type=content_type))

    def test_missing_type_is_refused(self):
        for options in (("-d", "{}", "-H", "Content-Type:"), (), ("-H", "Content-Length: 0")):
            self.check(UNSUPPORTED, Pending(["-X", "POST", *options, self.service.base + RUN]).answer())

    def test_type_is_looked_at_before_uri_and_body(self):
        for path in ("/redfish/v1/Nope", RUN + "%zz", RUN + "?$count"):
            self.check(UNSUPPORTED, self.service.post(path, "{", "text/plain"))

    def test_empty_body_is_no_json(self):
        self.check(MALFORMED, Pending(["-X", "POST", "-H", f"Content-Type: {JSON}", self.service.base + RUN]).answer())

    def test_body_in_chunks(self):
        answer = self.service.get(RUN, "-X", "POST", "-H", f"Content-Type: {JSON}", "-H", "Transfer-Encoding: chunked",
                                  "-d", '{"Nope": 1}')
        self.check(error("SYS429", "Nope"), answer)


class Uris(Bodies):
    def test_uri_is_looked_at_before_the_body(self):
        missing = [("Vexo.SYS403", [""]), ("Base.ResourceMissingAtURI", [""])]
        for path in ("/redfish/v1/Nope", RUN + "X", RUN + "/x", RUN.replace("Actions", "actions")):
            self.check((404, missing), self.service.post(path, "{"))

    def test_uri_that_is_none(self):
        self.check((400, [("Base.InvalidURI", [RUN + "%zz"])]), self.service.post(RUN + "%zz"))
        self.check((400, [("Base.QueryCombinationInvalid", [])]), self.service.post(RUN + "?$top=1&$top=2"))
        self.check((501, [("Vexo.SYS451", ["$count"]), ("Base.QueryNotSupported", [])]),
                   self.service.post(RUN + "?$count"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
