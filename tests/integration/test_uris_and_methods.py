"""What the service refuses, and how: URIs, methods, options, sizes."""

import unittest

from cimgate_host import Host, collection, entry, ready

ROOT = "/redfish/v1/Vexo/"
THING = ROOT + "VexoThing/T.1"
MISSING = ["Vexo.1.0.SYS403", "Base.1.18.ResourceMissingAtURI"]


def mapping():
    thing = {"InstanceID": {"cim_type": "string"}}
    return {
        "VexoThing": entry(ROOT + "VexoThing", "XCIM_T", thing, in_class={"Actions": {
            "#VexoThing.Run": {"target": ROOT + "VexoThing/Actions/VexoThing.Run"}}}),
        "VexoThings": collection(ROOT + "VexoThings", "VexoThing"),
        "Hidden": entry("/redfish/v1/Hidden", "XCIM_T", thing),
    }


def fill(connection):
    connection.execute("CREATE TABLE Tbl_XCIM_T (InstanceID TEXT)")
    connection.execute("INSERT INTO Tbl_XCIM_T VALUES ('T.1')")
    ready(connection, "XCIM_T")


class UrisAndMethods(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Host(mapping(), fill)

    @classmethod
    def tearDownClass(cls):
        assert cls.host.stop() == 0

    def check_error(self, answer, status, ids=None):
        self.assertEqual(answer.status, status, answer.body)
        self.assertEqual(answer.headers["content-type"], "application/json")
        self.assertEqual(answer.headers["odata-version"], "4.0")
        self.assertIn("cache-control", answer.headers)
        error = answer.json["error"]
        self.assertEqual(set(error), {"code", "message", "@Message.ExtendedInfo"})
        for message in error["@Message.ExtendedInfo"]:
            for member in ("@odata.type", "MessageId", "Message", "MessageArgs", "Severity",
                           "MessageSeverity", "Resolution"):
                self.assertIn(member, message)
        if ids is not None:
            self.assertEqual(answer.message_ids, ids)

    def test_unknown_uris(self):
        for uri in ("/nothing", "/redfish/v1/Vexo/Nope", ROOT + "VexoNope/T.1", THING + "/x",
                    "/redfish/v1/Hidden", "/redfish/v1/Hidden/T.1", "/redfish/v1/Vexo//VexoThings",
                    ROOT + "VexoThings/T.1", "/redfish/v1/Vexo/VexoThings//", ROOT + "vexothings"):
            with self.subTest(uri=uri):
                self.check_error(self.host.get(uri), 404, MISSING)

    def test_the_root_has_no_resource(self):
        for uri in ("/", "//", "/?a=b"):
            self.check_error(self.host.get(uri), 404, MISSING)

    def test_a_trailing_slash_and_a_query_do_not_matter(self):
        plain = self.host.get(ROOT + "VexoThings").json
        for suffix in ("/", "?", "?a=b", "/?a=b&c"):
            answer = self.host.get(ROOT + "VexoThings" + suffix)
            self.assertEqual((answer.status, answer.json), (200, plain))

    def test_other_methods_are_refused(self):
        for method in ("POST", "PUT", "PATCH", "DELETE", "OPTIONS", "TRACE", "MADEUP"):
            for uri in (THING, ROOT + "VexoThing/Actions/VexoThing.Run", "/nothing"):
                with self.subTest(method=method, uri=uri):
                    answer = self.host.request(uri, "-X", method, "-d", "{}")
                    self.check_error(answer, 405)
                    self.assertEqual(answer.headers["allow"], "GET, HEAD")
                    self.assertIn("Base.1.18.OperationNotAllowed", answer.message_ids)

    def test_a_target_cannot_be_read(self):
        self.check_error(self.host.get(ROOT + "VexoThing/Actions/VexoThing.Run"), 405, ["Vexo.1.0.SYS402"])

    def test_bad_encoding(self):
        for uri in (THING + "%", THING + "%4", THING + "%zz", THING + "%00", THING + "?$select=%"):
            with self.subTest(uri=uri):
                self.check_error(self.host.get(uri), 400)

    def test_every_encoded_byte_is_answered(self):
        for byte in range(1, 256):
            answer = self.host.get(f"{ROOT}VexoThing/x%{byte:02X}y")
            self.check_error(answer, 404, MISSING)

    def test_encoded_letters_name_the_same_instance(self):
        self.assertEqual(self.host.get(ROOT + "VexoThing/%54%2E1").status, 200)

    def test_sql_in_a_key_is_only_a_key(self):
        for key in ("'%20or%20'1'='1", "T.1'--", "%22;drop%20table%20Tbl_XCIM_T;"):
            self.check_error(self.host.get(ROOT + "VexoThing/" + key), 404)
        self.assertEqual(self.host.get(THING).status, 200)

    def test_options(self):
        self.check_error(self.host.get(THING + "?$top=1&$top=1"), 400)
        answer = self.host.get(THING + "?$search=x")
        self.check_error(answer, 501, ["Vexo.1.0.SYS451", "Base.1.18.QueryNotSupported"])
        self.assertEqual(answer.message_args[0], ["$search"])
        self.check_error(self.host.get(THING + "?%24search"), 501)
        self.assertEqual(self.host.get(THING + "?search=x&only&=&&").status, 200)

    def test_long_uris(self):
        room = 8190 - len(THING + "?a=")
        self.assertEqual(self.host.get(THING + "?a=" + "x" * room).status, 200)
        self.check_error(self.host.get(THING + "?a=" + "x" * (room + 1)), 414)

    def test_large_headers_and_bodies(self):
        self.check_error(self.host.request(THING, "-H", "X-Long: " + "x" * 17000), 431)
        body = self.host.path / "body"
        body.write_bytes(b"x" * (1024 * 1024 + 1))
        self.check_error(self.host.request(THING, "-X", "GET", "--data-binary", f"@{body}", "-H", "Expect:"),
                         413)
        self.assertEqual(self.host.request(THING, "-X", "GET", "-d", "ignored").status, 200)


if __name__ == "__main__":
    unittest.main(verbosity=2)
