#!/usr/bin/python3
"""Error responses to the last member: message ids with their registry's version, texts with the arguments filled in."""

import json
import unittest
from pathlib import Path

from cimgate_host import BASE, REGISTRIES, Service, collection_entry, member_entry

THING = f"{BASE}/VexoThing/T.1"
THINGS = f"{BASE}/VexoThingCollection"
SERVICE = f"{BASE}/VexoService"
ACTION = f"{SERVICE}/Actions/VexoService.Run"

GENERAL = "Base.1.18.GeneralError"

# Request, status, and the messages in their order: id and arguments.
CASES = [
    ("/", 404, [("Vexo.1.0.SYS403", ["/"]), ("Base.1.18.ResourceMissingAtURI", ["/"])]),
    (f"{BASE}/Nope", 404, [("Vexo.1.0.SYS403", [""]), ("Base.1.18.ResourceMissingAtURI", [""])]),
    (f"{BASE}/VexoThing/T.9", 404,
     [("Vexo.1.0.SYS403", ["VexoThing"]), ("Base.1.18.ResourceMissingAtURI", ["VexoThing"])]),
    (f"{THINGS}?$top=4", 400,
     [("Vexo.1.0.SYS417", ["4", "$top", "(1-3)"]), ("Base.1.18.QueryParameterOutOfRange", ["4", "$top", "(1-3)"])]),
    (f"{THINGS}?$skip=3", 400,
     [("Vexo.1.0.SYS417", ["3", "$skip", "(0-2)"]), ("Base.1.18.QueryParameterOutOfRange", ["3", "$skip", "(0-2)"])]),
    (f"{THING}?$select=Nope", 400, [("Vexo.1.0.SYS429", ["Nope"]), ("Base.1.18.PropertyUnknown", ["Nope"])]),
    # An argument that looks like the mark of another one stays what it is.
    (f"{THING}?$select=%252%251", 400, [("Vexo.1.0.SYS429", ["%2%1"]), ("Base.1.18.PropertyUnknown", ["%2%1"])]),
    (f"{THING}?$select=", 500, [("Vexo.1.0.SYS446", []), ("Base.1.18.InternalError", [])]),
    (f"{THING}?$expand=*", 501, [("Vexo.1.0.SYS451", ["Expand"]), ("Base.1.18.QueryNotSupported", [])]),
    (f"{THING}?$filter=A", 501, [("Vexo.1.0.SYS451", ["Filter"]), ("Base.1.18.QueryNotSupported", [])]),
    (f"{THING}?$count=true", 501, [("Vexo.1.0.SYS451", ["$count"]), ("Base.1.18.QueryNotSupported", [])]),
    (f"{THINGS}?$top=1&$top=1", 400, [("Base.1.18.QueryCombinationInvalid", [])]),
    (f"{THING}%zz", 400, [("Base.1.18.InvalidURI", [f"{THING}%zz"])]),
    (ACTION, 405, [("Vexo.1.0.SYS402", [])]),
    (f"{BASE}/VexoTablelessCollection", 500, [("Vexo.1.0.SYS446", []), ("Base.1.18.InternalError", [])]),
    (f"{BASE}/VexoTableless/X", 500, [("Vexo.1.0.SYS446", []), ("Base.1.18.InternalError", [])]),
    (f"{BASE}/VexoLoading/X", 503, [("Base.1.18.ServiceTemporarilyUnavailable", ["5"])]),
    (f"{BASE}/VexoLive/X", 503, [("Base.1.18.ServiceTemporarilyUnavailable", ["5"])]),
    (f"{BASE}/VexoReal/X", 500, [("Base.1.18.InternalError", [])]),
]

# The same for actions, with body and content type.
JSON = "application/json"
ACTION_CASES = [
    (ACTION, "{}", "text/plain", 415, [("Base.1.18.UnsupportedMediaType", [])]),
    (ACTION, "{", JSON, 400, [("Vexo.1.0.SYS405", []), ("Base.1.18.MalformedJSON", [])]),
    (ACTION, "{}", JSON, 503, [("Base.1.18.ServiceTemporarilyUnavailable", ["5"])]),
    (SERVICE, "{}", JSON, 405, [("Vexo.1.0.SYS402", [])]),
    (f"{BASE}/Nope", "{}", JSON, 404, [("Vexo.1.0.SYS403", [""]), ("Base.1.18.ResourceMissingAtURI", [""])]),
]


def sample():
    text = {"cim_type": "string"}
    mapping = member_entry("VexoThing", "XCIM_Thing", {"A": text}) | collection_entry("VexoThing")
    mapping |= member_entry("VexoService", "XCIM_Service", {"A": text}, key="",
                            actions={"#VexoService.Run": {"target": ACTION}})
    mapping |= member_entry("VexoTableless", "XCIM_Tableless", {"A": text}) | collection_entry("VexoTableless")
    mapping |= member_entry("VexoLoading", "XCIM_Loading", {"A": text})
    mapping |= member_entry("VexoLive", "XCIM_Live", {"A": text}, cached=False)
    mapping |= member_entry("VexoReal", "XCIM_Real", {"A": text})
    columns = ["InstanceID", "A"]
    classes = {"XCIM_Thing": (columns, [("T.1", "a"), ("T.2", "b"), ("T.3", "c")]),
               "XCIM_Real": (columns, [("X", 1.5)])}
    return mapping, {"classes": classes, "ready": [*classes, "XCIM_Tableless"]}


def read_registry(name):
    registry = json.loads(Path(REGISTRIES, f"{name}.json").read_text(encoding="utf-8"))
    return {f"{name}.{key}": message for key, message in registry["Messages"].items()}


class ErrorBodies(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.registered = read_registry("Base.1.18") | read_registry("Vexo.1.0")

    def text_of(self, message_id, arguments):
        pieces = self.registered[message_id]["Message"].split("%")
        # "%1" becomes the first argument, and what an argument holds is not looked at again.
        return pieces[0] + "".join(arguments[int(piece[0]) - 1] + piece[1:] for piece in pieces[1:])

    def message(self, message_id, arguments):
        registered = self.registered[message_id]
        self.assertEqual(registered["NumberOfArgs"], len(arguments), message_id)
        return {"@odata.type": "#Message.v1_1_1.Message", "MessageId": message_id,
                "Message": self.text_of(message_id, arguments), "MessageArgs": arguments,
                "Severity": registered["MessageSeverity"], "MessageSeverity": registered["MessageSeverity"],
                "Resolution": registered["Resolution"]}

    def body(self, messages):
        # DSP0266, "Error responses": with several messages the code is the general one.
        code, arguments = messages[0] if len(messages) == 1 else (GENERAL, [])
        return {"error": {"code": code, "message": self.text_of(code, arguments),
                          "@Message.ExtendedInfo": [self.message(*message) for message in messages]}}

    def check(self, answer, status, messages):
        self.assertEqual(answer.status, status)
        self.assertEqual(answer.json(), self.body(messages))
        self.assertEqual(answer.get("Content-Type"), "application/json")
        self.assertEqual(answer.get("Content-Length"), str(len(answer.body)))

    def test_body_of_every_error_of_a_read(self):
        with Service(*sample()) as service:
            for uri, status, messages in CASES:
                with self.subTest(uri=uri):
                    self.check(service.get(uri), status, messages)

    def test_body_of_a_refused_method(self):
        messages = [("Vexo.1.0.SYS402", []), ("Base.1.18.OperationNotAllowed", [])]
        with Service(*sample()) as service:
            for method in ("PUT", "PATCH", "DELETE", "TRACE"):
                with self.subTest(method=method):
                    self.check(service.get(THING, "-X", method), 405, messages)

    def test_body_of_every_error_of_an_action(self):
        with Service(*sample()) as service:
            for uri, body, content_type, status, messages in ACTION_CASES:
                with self.subTest(uri=uri, body=body):
                    answer = service.get(uri, "-X", "POST", "-d", body, "-H", f"Content-Type: {content_type}")
                    self.check(answer, status, messages)

    def test_errors_take_one_line(self):
        with Service(*sample()) as service:
            for uri, _, _ in CASES:
                with self.subTest(uri=uri):
                    body = service.get(uri).body
                    self.assertTrue(body.endswith(b"}\n"))
                    self.assertEqual(body.count(b"\n"), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
