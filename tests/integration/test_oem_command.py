#!/usr/bin/python3
"""cimgate oem: the endpoint from the shell."""

import contextlib
import json
import os
import socket
import subprocess
import tempfile
import unittest
from pathlib import Path

import zmq

from oem_client import BY_ID, TEXT, OemService, OemTest, container_entry, embedded_entry, request_text
from program import PATIENCE_S, run_program

CIMGATE = os.environ["CIMGATE"]
DEFAULT_ENDPOINT = "ipc:///run/cimgate/oem.sock"
ADMINISTRATOR = 0


def sample():
    mapping = embedded_entry("VexoGood", "XCIM_Good", {"A": TEXT})
    mapping |= embedded_entry("VexoOther", "XCIM_Good", {})
    mapping |= container_entry("GoodOem", VexoGood=BY_ID, VexoOther=BY_ID)
    mapping |= embedded_entry("VexoUnready", "XCIM_Unready", {"A": TEXT})
    mapping |= container_entry("UnreadyOem", VexoUnready=BY_ID)
    rows = [("G.1", 'quoted "text"\nwith lines, é and ░')]
    return mapping, {"classes": {"XCIM_Good": (["InstanceID", "A"], rows)}}


def run(*arguments, in_front=()):
    """What a shell gets of it; less than its own time-out is enough for all that is asked here."""
    return run_program(*in_front, CIMGATE, *arguments)


class CommandTest(OemTest):
    def check_fails(self, done, status, *hints):
        self.assertEqual((done.returncode, done.stdout), (status, ""), done.stderr)
        self.assertRegex(done.stderr, r"\Acimgate oem: [^\n]+\n\Z")
        for hint in hints:
            self.assertIn(hint, done.stderr)


class Asking(CommandTest):
    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(OemService(*sample()))

    def oem(self, *arguments):
        return run("oem", "--endpoint", self.service.endpoint, *arguments)

    def test_answer_is_printed(self):
        done = self.oem("GoodOem", "G.1")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        answer = json.loads(self.service.ask_raw(request_text("GoodOem", "G.1")))
        self.assertEqual(list(answer), ["VexoGood", "VexoOther"])
        self.assertEqual(json.loads(done.stdout), answer)
        self.assertTrue(done.stdout.endswith("}\n"))

    def test_no_data_is_an_empty_object(self):
        done = self.oem("GoodOem", "G.2")
        self.assertEqual((done.returncode, json.loads(done.stdout), done.stderr), (0, {}, ""))

    def test_options_with_an_equals_sign_and_in_any_order(self):
        endpoint = self.service.endpoint
        for arguments in ([f"--endpoint={endpoint}", "GoodOem", "G.1"],
                          ["--timeout", "5", "--endpoint", endpoint, "GoodOem", "G.1"],
                          ["--timeout=5", f"--endpoint={endpoint}", "GoodOem", "G.1"]):
            with self.subTest(arguments=arguments):
                done = run("oem", *arguments)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertEqual(json.loads(done.stdout)["VexoGood"]["@odata.type"], "#VexoGood.v1_0_0.VexoGood")

    def test_errors_of_the_endpoint_are_one_line_with_reason_code_and_message(self):
        for container, instance_id, reason, code, hint in (
                ("NoOem", "G.1", "UnknownContainer", 5, "NoOem"), ("GoodOem", "a'b", "InvalidId", 7, "127"),
                ("GoodOem", "", "InvalidId", 7, "127"), ("GoodOem", "x" * 128, "InvalidId", 7, "127"),
                ("", "G.1", "UnknownContainer", 5, "mapping file"),
                ("UnreadyOem", "G.1", "NotCached", 18, "VexoUnready")):
            with self.subTest(container=container, id=instance_id[:10]):
                done = self.oem(container, instance_id)
                self.check_fails(done, 1, reason, str(code), hint)
                # As the endpoint itself says it.
                self.assertIn(self.service.ask(container, instance_id)["error"]["message"], done.stderr)

    def test_texts_that_json_must_escape(self):
        for container in ('"', "\\", '{"id": "x"}', "é"):
            with self.subTest(container=container):
                self.check_fails(self.oem(container, "G.1"), 1, "UnknownContainer", container)
        for container in ("a\nb", "\x01"):
            with self.subTest(container=container):
                self.check_fails(self.oem(container, "G.1"), 1, "MalformedRequest")

    def test_text_that_is_not_utf_8(self):
        done = subprocess.run([CIMGATE, "oem", "--endpoint", self.service.endpoint, b"\xff\xfe", "G.1"],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False, timeout=PATIENCE_S)
        self.assertEqual((done.returncode, done.stdout), (1, b""))
        self.assertRegex(done.stderr, rb"\Acimgate oem: [^\n]+\n\Z")

    def test_id_that_begins_with_a_hyphen(self):
        done = self.oem("GoodOem", "-a")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "{}\n", ""))

    def test_no_permission(self):
        # An administrator may use any socket, unless he gives that right up.
        in_front = ["setpriv", "--bounding-set=-all"] if os.geteuid() == ADMINISTRATOR else []
        with OemService(*sample()) as service:
            service.socket_path.chmod(0)
            done = run("oem", "--endpoint", service.endpoint, "GoodOem", "G.1", in_front=in_front)
            self.check_fails(done, 1, service.endpoint, "Permission denied")

    def test_output_that_cannot_be_written(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            done = subprocess.run([CIMGATE, "oem", "--endpoint", self.service.endpoint, "GoodOem", "G.1"], stdout=full,
                                  stderr=subprocess.PIPE, text=True, check=False, timeout=PATIENCE_S)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\Acimgate oem: [^\n]+\n\Z")


class Nobody(CommandTest):
    """Without a service."""

    def setUp(self):
        self.path = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="cimgate-test-")), "oem.sock")
        self.endpoint = f"ipc://{self.path}"

    def oem(self, *options):
        return run("oem", "--endpoint", self.endpoint, *options, "GoodOem", "G.1")

    def test_no_socket(self):
        # Long before the time that an answer may take.
        self.check_fails(self.oem("--timeout", "3000"), 1, self.endpoint, "No such file or directory")

    def test_socket_that_a_former_process_has_left(self):
        with socket.socket(socket.AF_UNIX) as former:
            former.bind(str(self.path))
            former.listen()
        self.check_fails(self.oem("--timeout", "3000"), 1, self.endpoint, "nobody answers")

    def test_no_socket_but_a_file(self):
        self.path.touch()
        self.check_fails(self.oem("--timeout", "3000"), 1, self.endpoint)

    def test_process_that_accepts_and_says_nothing(self):
        with socket.socket(socket.AF_UNIX) as silent:
            silent.bind(str(self.path))
            silent.listen()
            self.check_fails(self.oem("--timeout", "1"), 1, self.endpoint, "nobody answers")

    def test_service_that_does_not_answer(self):
        with zmq.Context.instance().socket(zmq.ROUTER) as silent:
            silent.bind(self.endpoint)
            self.check_fails(self.oem("--timeout=1"), 1, "no answer within 1 s")

    def answer_with(self, frame):
        """What it says of such an answer."""
        with contextlib.closing(zmq.Context.instance().socket(zmq.REP)) as strange:
            strange.setsockopt(zmq.RCVTIMEO, 1000 * PATIENCE_S)
            strange.setsockopt(zmq.LINGER, 1000 * PATIENCE_S)
            strange.bind(self.endpoint)
            with subprocess.Popen([CIMGATE, "oem", "--endpoint", self.endpoint, "GoodOem", "G.1"], text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE) as asking:
                self.assertEqual(json.loads(strange.recv()), {"container": "GoodOem", "id": "G.1"})
                strange.send(frame)
                out, errors = asking.communicate(timeout=PATIENCE_S)
        return subprocess.CompletedProcess((), asking.returncode, out, errors)

    def test_answers_that_are_none(self):
        for frame in (b"", b"nonsense", b"[]", b"5", b"{", b"\xff"):
            with self.subTest(frame=frame):
                self.check_fails(self.answer_with(frame), 1, "no JSON object")


class Usage(CommandTest):
    def test_wrong_usage(self):
        good = ["GoodOem", "G.1"]
        for arguments, hint in (
                ([], "a container and an id"), (["GoodOem"], "a container and an id"),
                ([*good, "more"], "a container and an id"), (["--nonsense", *good], "--nonsense"),
                (["--endpoint"], "--endpoint"), (["--endpoint=", *good], "--endpoint"),
                (["--endpoint", "", *good], "--endpoint"), (["--timeout"], "--timeout"),
                (["--timeout=", *good], "--timeout")):
            with self.subTest(arguments=arguments):
                self.check_fails(run("oem", *arguments), 2, hint)

    def test_without_a_command_that_it_knows(self):
        for arguments in ([], ["nonsense"], ["--nonsense"], [""]):
            with self.subTest(arguments=arguments):
                done = run(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertRegex(done.stderr, r"\Acimgate: [^\n]+\nusage: cimgate ")
                self.assertIn(" oem ", done.stderr)

    def test_time_outs_that_are_none(self):
        for text in ("0", "-1", "x", "1x", " 1", "1.5", "4294967297", "99999999999999999999"):
            with self.subTest(text=text):
                self.check_fails(run("oem", f"--timeout={text}", "GoodOem", "G.1"), 2, "--timeout")

    def test_endpoints_that_are_none(self):
        for endpoint in ("tcp://127.0.0.1:5555", "inproc://oem", "ipc://@oem", "ipc://oem.sock", "ipc://",
                         "/run/oem.sock", "nonsense"):
            with self.subTest(endpoint=endpoint):
                self.check_fails(run("oem", "--endpoint", endpoint, "GoodOem", "G.1"), 2, f"--endpoint {endpoint}",
                                 "ipc:// and an absolute path")

    def test_the_last_of_several_counts(self):
        self.check_fails(run("oem", "--endpoint", "ipc:///first", "--endpoint=ipc:///last", "GoodOem", "G.1"), 1,
                         "ipc:///last")

    def test_path_that_is_too_long_for_a_socket(self):
        self.check_fails(run("oem", "--endpoint", f"ipc:///{'p' * 107}", "GoodOem", "G.1"), 1)

    def test_help(self):
        for arguments in (["--help"], ["-h"], ["oem", "--help"], ["oem", "-h"], ["oem", "--help", "--nonsense"],
                          ["oem", "GoodOem", "--help"]):
            with self.subTest(arguments=arguments):
                done = run(*arguments)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertTrue(done.stdout.startswith("usage: cimgate "), done.stdout)
        for text in ("--endpoint", "--timeout", "CONTAINER", "ID", DEFAULT_ENDPOINT, "35"):
            self.assertIn(text, run("oem", "--help").stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
