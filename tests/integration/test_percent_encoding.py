#!/usr/bin/python3
"""Every byte, percent-encoded in every place of a URI."""

import http.client
import json
import sqlite3
import unittest

from cimgate_host import BASE, Service, collection_entry, member_entry
from program import PATIENCE_S

BYTES = range(1, 256)
BYTE = f"{BASE}/VexoByte"
COLLECTION = f"{BASE}/VexoByteCollection"
# Both cases of the digits (RFC 3986, section 2.1).
FORMS = ("%{:02x}", "%{:02X}")


def sample():
    properties = {"InstanceID": {"cim_type": "string"}, "Number": {"cim_type": "uint32"}}
    mapping = member_entry("VexoByte", "XCIM_Byte", properties) | collection_entry("VexoByte")
    return mapping, {"classes": {"XCIM_Byte": (["InstanceID", "Number"], [])}}


def add_rows(cache_path):
    """A row for each byte, with the byte in its key: UTF-8 or not, it is a client's to ask for."""
    with sqlite3.connect(cache_path) as connection:
        connection.executemany("insert into Tbl_XCIM_Byte values (cast(? as text), ?)",
                               [(b"K" + bytes([byte]) + b"L", byte) for byte in BYTES])
    connection.close()


class PercentEncoding(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        service = Service(*sample())
        add_rows(service.cache_path)
        cls.service = cls.enterClassContext(service)
        cls.pids = service.pids()
        cls.connection = http.client.HTTPConnection(service.base.removeprefix("http://"), timeout=PATIENCE_S)
        cls.addClassCleanup(cls.connection.close)

    def get(self, target):
        """Status and body, which is JSON whatever was asked for."""
        self.connection.request("GET", target)
        answer = self.connection.getresponse()
        return answer.status, json.loads(answer.read().decode("utf-8"))

    def check_refused(self, target, status, message, argument):
        found, body = self.get(target)
        self.assertEqual(found, status, target)
        arguments = {info["MessageId"].split(".")[-1]: info["MessageArgs"][0]
                     for info in body["error"]["@Message.ExtendedInfo"]}
        self.assertEqual(arguments.get(message), argument, target)

    def tearDown(self):
        self.assertEqual(self.service.pids(), self.pids)

    def test_every_byte_of_a_key(self):
        for byte in BYTES:
            for form in FORMS:
                status, body = self.get(f"{BYTE}/K{form.format(byte)}L")
                self.assertEqual((status, body.get("Number")), (200, byte))

    def test_every_byte_of_the_name_of_a_resource(self):
        for byte in BYTES:
            for form in FORMS:
                target = f"{BASE}/VexoByt{form.format(byte)}/KAL"
                self.assertEqual((target, self.get(target)[0]), (target, 404))

    def test_every_byte_of_a_number(self):
        for byte in BYTES:
            for form in FORMS:
                digit, escaped = chr(byte), form.format(byte)
                if digit not in "0123456789":
                    self.check_refused(f"{COLLECTION}?$top=1{escaped}", 400, "SYS417", "4294967295")
                    self.check_refused(f"{COLLECTION}?$skip={escaped}1", 400, "SYS417", "4294967295")
                else:
                    self.assertEqual(len(self.get(f"{COLLECTION}?$top=1{escaped}")[1]["Members"]), 10 + int(digit))
                    first = self.get(f"{COLLECTION}?$skip={escaped}1")[1]["Members"][0]
                    self.assertEqual(first["Number"], 10 * int(digit) + 2)

    def test_every_byte_of_a_selected_name(self):
        for byte in BYTES:
            for form in FORMS:
                target = f"{BYTE}/KAL?$select={form.format(byte)}umber"
                if chr(byte) == "N":
                    self.assertEqual(self.get(target)[1]["Number"], ord("A"))
                    continue
                # Names are separated by commas, and have a "+" for a blank around them.
                name = {",": "", "+": "umber"}.get(chr(byte), chr(byte) + "umber")
                # A byte that is no UTF-8 by itself has no place in the message.
                self.check_refused(target, 400, "SYS429", name if byte < 0x80 else "\ufffdumber")

    def test_every_byte_of_an_option_that_is_of_no_concern(self):
        for byte in BYTES:
            for form in FORMS:
                for option in ("{}", "x{}=1", "x={}", "={}", "x={}&y"):
                    target = f"{BYTE}/KAL?{option.format(form.format(byte))}"
                    self.assertEqual((target, self.get(target)[0]), (target, 501 if target.endswith("?%24") else 200))

    def test_every_byte_of_a_system_option(self):
        for byte in BYTES:
            for form in FORMS:
                target = f"{COLLECTION}?${form.format(byte)}op=1"
                if chr(byte) == "t":
                    self.assertEqual(len(self.get(target)[1]["Members"]), 1)
                else:
                    self.assertEqual((target, self.get(target)[0]), (target, 501))

    def test_what_encodes_no_byte_is_refused_everywhere(self):
        for escaped in ("%00", "%", "%4", "%%", "%g0", "%0g", "%-1", "%+1", "%u0041"):
            for target in (f"{BYTE}/K{escaped}", f"{BASE}/{escaped}/KAL", f"{COLLECTION}?$top={escaped}",
                           f"{BYTE}/KAL?$select={escaped}", f"{BYTE}/KAL?{escaped}", f"{BYTE}/KAL?x={escaped}"):
                self.check_refused(target, 400, "InvalidURI", target)


if __name__ == "__main__":
    unittest.main(verbosity=2)
