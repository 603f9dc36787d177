#!/usr/bin/python3
"""CIM-XML over bare HTTP: headers, refusals, large answers, many clients, and what the program says at its start."""

import http.client
import json
import signal
import socket
import tempfile
import threading
import time
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from cim_object_manager import CIMOMD, NAMESPACE, ObjectManager, class_element, declaration, instance_element
from own_address import own_address
from program import PATIENCE_S, run_program
from small_model import FILES

CLASS_NAME = '<IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="{}"/></IPARAMVALUE>'
BIG_INSTANCES = 5000
BIG_PROPERTIES = 25


def message(operation, parameters="", namespace=NAMESPACE):
    names = "".join(f'<NAMESPACE NAME="{name}"/>' for name in namespace.split("/"))
    return ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">'
            f'<MESSAGE ID="42" PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="{operation}">'
            f"<LOCALNAMESPACEPATH>{names}</LOCALNAMESPACEPATH>{parameters}</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>")


def query(text):
    parameters = "".join(f'<IPARAMVALUE NAME="{name}"><VALUE>{value}</VALUE></IPARAMVALUE>'
                         for name, value in (("QueryLanguage", "CQL"), ("Query", text)))
    return message("ExecQuery", parameters)


def wait_call(seconds):
    """A call of the method Wait of a fan's class."""
    names = "".join(f'<NAMESPACE NAME="{name}"/>' for name in NAMESPACE.split("/"))
    return ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">'
            '<MESSAGE ID="42" PROTOCOLVERSION="1.0"><SIMPLEREQ><METHODCALL NAME="Wait"><LOCALCLASSPATH>'
            f'<LOCALNAMESPACEPATH>{names}</LOCALNAMESPACEPATH><CLASSNAME NAME="XCIM_Fan"/></LOCALCLASSPATH>'
            f'<PARAMVALUE NAME="Seconds" PARAMTYPE="string"><VALUE>{seconds}</VALUE></PARAMVALUE>'
            "</METHODCALL></SIMPLEREQ></MESSAGE></CIM>")


def headers_for(operation, **changes):
    """Headers of a request; a change to None leaves a header out."""
    headers = {"Content-Type": 'application/xml; charset="utf-8"', "CIMProtocolVersion": "1.0",
               "CIMOperation": "MethodCall", "CIMMethod": operation, "CIMObject": NAMESPACE.replace("/", "%2F")}
    headers.update({name.replace("_", "-"): value for name, value in changes.items()})
    return {name: value for name, value in headers.items() if value is not None}


class Connection:
    """One kept-alive connection."""

    def __init__(self, manager):
        self._connection = http.client.HTTPConnection(manager.address, manager.port, timeout=PATIENCE_S)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._connection.close()

    def request(self, method, path, body, headers):
        self._connection.request(method, path, body.encode("utf-8"), headers)
        response = self._connection.getresponse()
        return response, response.read()

    def call(self, operation, body=None, **changes):
        body = message(operation, CLASS_NAME.format("XCIM_Fan")) if body is None else body
        return self.request("POST", "/cimom", body, headers_for(operation, **changes))

    def answer(self, operation, body):
        """The parsed answer; its status must be 200."""
        response, text = self.call(operation, body)
        if response.status != 200:
            raise AssertionError(f"{response.status} {text}")
        return ElementTree.fromstring(text)


class Http(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.manager = ObjectManager(FILES, strict=False).start()

    @classmethod
    def tearDownClass(cls):
        try:
            cls.manager.stop()
        finally:
            cls.manager.discard()

    def setUp(self):
        self.connection = Connection(self.manager)
        self.addCleanup(self.connection.__exit__)

    def check_refused(self, answer, status, cim_error):
        response, body = answer
        self.assertEqual((response.status, response.getheader("CIMError")), (status, cim_error), body)
        self.assertTrue(response.getheader("PGErrorDetail"))
        self.assertTrue(body)

    def test_answer_repeats_the_message_id(self):
        response, body = self.connection.call("EnumerateInstanceNames")
        self.assertEqual(response.status, 200)
        self.assertEqual(response.getheader("Content-Type"), 'application/xml; charset="utf-8"')
        self.assertEqual(response.getheader("CIMOperation"), "MethodResponse")
        root = ElementTree.fromstring(body)
        self.assertEqual(root.find("MESSAGE").get("ID"), "42")
        self.assertEqual(root.find(".//IMETHODRESPONSE").get("NAME"), "EnumerateInstanceNames")
        self.assertEqual(len(root.findall(".//INSTANCENAME")), 3)

    def test_other_methods_are_refused(self):
        for method, status in (("GET", 405), ("PUT", 405), ("M-POST", 501)):
            with self.subTest(method=method):
                answer = self.connection.request(method, "/cimom", "", headers_for("GetClass"))
                self.check_refused(answer, status, None)
                self.assertEqual(answer[0].getheader("Allow"), "POST" if status == 405 else None)

    def test_headers_beside_the_rules_are_refused(self):
        for changes, status, cim_error in (
                ({"Content_Type": "application/json"}, 415, None),
                ({"Content_Type": None}, 415, None),
                ({"Accept": "text/html"}, 406, None),
                ({"CIMProtocolVersion": "3.0"}, 501, "unsupported-protocol-version"),
                ({"CIMOperation": None}, 400, "unsupported-operation"),
                ({"CIMOperation": "Else"}, 501, "unsupported-operation"),
                ({"CIMMethod": "GetClass"}, 400, "header-mismatch"),
                ({"CIMMethod": None}, 400, "header-mismatch"),
                ({"CIMObject": "root/other"}, 400, "header-mismatch"),
                ({"CIMObject": None}, 400, "header-mismatch")):
            with self.subTest(changes=changes):
                self.check_refused(self.connection.call("EnumerateInstances", **changes), status, cim_error)
        # The connection is still of use.
        self.assertEqual(self.connection.call("EnumerateInstances")[0].status, 200)

    def test_bodies_that_are_no_request_are_refused(self):
        good = message("GetClass", CLASS_NAME.format("XCIM_Fan"))
        for body, status, cim_error in (
                ("", 400, "request-not-well-formed"),
                ("garbage", 400, "request-not-well-formed"),
                (good[:-6], 400, "request-not-well-formed"),
                ("<HTML/>", 400, "request-not-valid"),
                (good.replace('DTDVERSION="2.0"', 'DTDVERSION="9.0"'), 501, "unsupported-dtd-version"),
                (good.replace('CIMVERSION="2.0"', 'CIMVERSION="9.0"'), 501, "unsupported-cim-version"),
                (good.replace('PROTOCOLVERSION="1.0"', 'PROTOCOLVERSION="9.0"'), 501, "unsupported-protocol-version")):
            with self.subTest(body=body):
                self.check_refused(self.connection.call("GetClass", body), status, cim_error)

    def test_body_that_is_too_long_is_refused_before_it_comes(self):
        head = "".join(f"{name}: {value}\r\n" for name, value in headers_for("GetClass").items())
        with socket.create_connection(("127.0.0.1", self.manager.port), timeout=PATIENCE_S) as client:
            client.sendall(f"POST /cimom HTTP/1.1\r\nHost: test\r\n{head}"
                           f"Content-Length: {16 * 1024 * 1024 + 1}\r\n\r\n".encode("ascii"))
            self.assertEqual(client.makefile("rb").readline(), b"HTTP/1.1 413 Payload Too Large\r\n")

    def test_failed_operations_answer_with_cim_errors(self):
        fan = CLASS_NAME.format("XCIM_Fan")
        for operation, body, code in (
                ("GetClass", message("GetClass", fan, "root/none"), 3),
                ("GetClass", message("GetClass"), 4),
                ("GetClass", message("GetClass", fan + fan), 4),
                ("GetClass", message("GetClass", CLASS_NAME.format("XCIM_Nothing")), 5),
                ("DeleteClass", message("DeleteClass", fan), 7),
                ("ExecQuery", query("SELECT * FROM XCIM_Fan WHERE"), 15)):
            with self.subTest(operation=operation, code=code):
                namespace = "root/none" if code == 3 else NAMESPACE
                response, text = self.connection.call(operation, body, CIMObject=namespace)
                self.assertEqual(response.status, 200)
                error = ElementTree.fromstring(text).find(".//ERROR")
                self.assertEqual(int(error.get("CODE")), code)
                self.assertTrue(error.get("DESCRIPTION"))

    def test_query_selects_instances_and_properties(self):
        root = self.connection.answer("ExecQuery", query(
            "SELECT DeviceID, Speed FROM XCIM_Fan WHERE (Speed &gt; 1000 OR Load &lt; 1) AND Names IS NOT NULL"))
        [instance] = root.findall(".//INSTANCE")
        self.assertEqual([(one.get("NAME"), one.findtext("VALUE")) for one in instance],
                         [("DeviceID", "F1"), ("Speed", "1000")])
        [path] = root.findall(".//VALUE.OBJECTWITHPATH/INSTANCEPATH/INSTANCENAME")
        self.assertEqual([key.findtext("KEYVALUE") for key in path], ["F1", "1"])


class SlowMethods(unittest.TestCase):
    CLASS_PATH = f"{NAMESPACE}:XCIM_Fan"

    def setUp(self):
        self.manager = ObjectManager(FILES, strict=False).start()
        self.addCleanup(self.manager.discard)

    def send(self, seconds):
        """A connection that waits for the answer of the method."""
        connection = http.client.HTTPConnection("127.0.0.1", self.manager.port, timeout=PATIENCE_S)
        self.addCleanup(connection.close)
        connection.request("POST", "/cimom", wait_call(seconds), headers_for("Wait", CIMObject=self.CLASS_PATH))
        return connection

    def test_answers_and_errors_are_held_back(self):
        for seconds, expected in ((1, b"<VALUE>1</VALUE>"), (2, b'<ERROR CODE="7"')):
            start = time.monotonic()
            with Connection(self.manager) as connection:
                response, body = connection.call("Wait", wait_call(seconds), CIMObject=self.CLASS_PATH)
            self.assertEqual(response.status, 200)
            self.assertIn(expected, body)
            self.assertGreaterEqual(time.monotonic() - start, 1)

    def test_others_are_served_meanwhile_and_stopping_does_not_wait(self):
        self.send(600)
        self.send(600).close()
        with Connection(self.manager) as connection:
            self.assertEqual(connection.call("EnumerateInstances")[0].status, 200)
        self.manager.stop()


class Size(unittest.TestCase):
    def test_large_answers_for_many_clients_at_once(self):
        properties = {f"Property{number:02}": "string" for number in range(BIG_PROPERTIES - 1)}
        classes = [class_element("XCIM_Big", {"InstanceID": "string", **properties}, keys=["InstanceID"])]
        instances = (instance_element("XCIM_Big", {
            "InstanceID": ("string", f"Big.{number}"),
            **{name: ("string", f"value {number} of {name}") for name in properties}}) for number in range(BIG_INSTANCES))
        body = message("EnumerateInstances", CLASS_NAME.format("XCIM_Big"))
        answers = []

        def ask():
            with Connection(manager) as connection:
                answers.append(connection.call("EnumerateInstances", body)[1])

        with ObjectManager({"big.xml": declaration([*classes, *instances])}) as manager:
            threads = [threading.Thread(target=ask) for _ in range(4)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
        self.assertEqual(len(answers), 4)
        for answer in answers:
            self.assertEqual(answer.count(b"<VALUE.NAMEDINSTANCE>"), BIG_INSTANCES)
            self.assertEqual(answer.count(b"<PROPERTY "), BIG_INSTANCES * BIG_PROPERTIES)
            self.assertTrue(answer.endswith(b"</CIM>") or answer.endswith(b"</CIM>\n"))
            self.assertIn(b"value 4999 of Property23", answer)


class Start(unittest.TestCase):
    def check_fails(self, manager, hint):
        status, out, log = manager.fail()
        manager.discard()
        self.assertEqual((status, out), (1, ""))
        self.assertIn(hint, log)

    def test_help_and_wrong_options(self):
        done = run_program(CIMOMD, "--help")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertTrue(done.stdout.startswith("usage: cimgate-cimomd "))
        for arguments, hint in (([], "--repository"), (["--nonsense"], "--nonsense"),
                                (["--repository", "x", "--listen", "5988"], "127.0.0.1:5988")):
            done = run_program(CIMOMD, *arguments)
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertIn(hint, done.stderr)

    def test_broken_repositories_are_named(self):
        with tempfile.TemporaryDirectory() as directory:
            done = run_program(CIMOMD, "--repository", str(Path(directory, "nowhere")))
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertIn("nowhere: No such file or directory", done.stderr)
        for text, hint in (("", "broken.xml: "), ("<CIM>", "broken.xml: "),
                           (declaration([class_element("A", {}, superclass="B")]), "broken.xml: class A")):
            self.check_fails(ObjectManager({"broken.xml": text}), hint)

    def test_broken_method_descriptions_are_named(self):
        for text, hint in (("{", "broken.methods.json: it is not JSON"),
                           (json.dumps({"namespace": NAMESPACE, "methods": {"XCIM_Fan.Fly": [{}]}}),
                            "broken.methods.json: XCIM_Fan.Fly: the class declares no such method")):
            self.check_fails(ObjectManager({**FILES, "broken.methods.json": text}), hint)

    def test_port_in_use_is_named(self):
        with ObjectManager(FILES, strict=False) as first:
            self.check_fails(ObjectManager(FILES, first.port), f"cannot listen on {first.url}: ")

    def test_either_signal_ends_it(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            manager = ObjectManager(FILES, strict=False).start()
            try:
                manager.stop(number)
            finally:
                manager.discard()

    def test_changes_are_gone_after_a_restart_on_the_same_port(self):
        delete = ('<IPARAMVALUE NAME="InstanceName"><INSTANCENAME CLASSNAME="XCIM_Zone"><KEYBINDING NAME="Tag">'
                  '<KEYVALUE>rear</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>')
        names = message("EnumerateInstanceNames", CLASS_NAME.format("XCIM_Zone"))
        with ObjectManager(FILES, address=own_address()) as manager:
            with Connection(manager) as connection:
                connection.answer("DeleteInstance", message("DeleteInstance", delete))
                self.assertEqual(len(connection.answer("EnumerateInstanceNames", names).findall(".//INSTANCENAME")), 1)
            url = manager.url
            manager.kill()
            manager.start()
            self.assertEqual(manager.url, url)
            with Connection(manager) as connection:
                self.assertEqual(len(connection.answer("EnumerateInstanceNames", names).findall(".//INSTANCENAME")), 2)


if __name__ == "__main__":
    unittest.main(verbosity=2)
