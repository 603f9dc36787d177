#!/usr/bin/python3
"""Who asks the CIM object manager, and what becomes of requests when it lets nobody in."""

import base64
import tempfile
import unittest
from pathlib import Path

from cimgate_host import BASE, CIMGATED, Service, ServiceTest, member_entry
from program import run_program
from own_address import own_address
from scripted_object_manager import ScriptedObjectManager, cim_error, found, http, method_result
from tls_front import make_certificate

LIVE = f"{BASE}/VexoLive/L.1"
RUN = f"{BASE}/VexoLive/Actions/VexoLive.Run"
MESSAGE = "refuses whoever asks (HTTP status 401)"
DENIED = [("Vexo.KTX0506", []), ("Base.InsufficientPrivilege", [])]


def answer(request):
    if "CIMMethod: Run" in request:
        return method_result("Run")
    return found("XCIM_Live", InstanceID="L.1", A="fine")


class Guarded:
    """An object manager's answer that lets one user in (RFC 7617)."""

    def __init__(self, user, password):
        self.expected = "Authorization: Basic " + base64.b64encode(f"{user}:{password}".encode()).decode()

    def __call__(self, request):
        return answer(request) if self.expected in request.split("\r\n") else http("", status="401 Unauthorized")


def live_service(url, *options):
    mapping = member_entry("VexoLive", "XCIM_Live", {"A": {"cim_type": "string"}}, cached=False,
                           actions={"#VexoLive.Run": {"target": RUN}})
    mapping["VexoLive"]["mappings"]["XCIM_Live"]["methods"] = {"Run": {"inputs": {}, "outputs": {}}}
    return Service(mapping, options=("--cim", url, "--workers", "1", *options))


class CimAccess(ServiceTest):
    def setUp(self):
        self.directory = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.password = self.directory / "password"

    def write_password(self, text, mode=0o600):
        self.password.write_text(text, encoding="utf-8")
        self.password.chmod(mode)

    def service_as(self, manager, user, password):
        self.write_password(password)
        return self.enterContext(live_service(manager.url, "--cim-user", user, "--cim-password-file", str(self.password)))

    def test_nothing_is_said_of_who_asks_unless_it_is_given(self):
        with ScriptedObjectManager(answer) as manager, live_service(manager.url) as service:
            self.check_value(service, LIVE)
            self.assertEqual(service.post(RUN, b"{}").status, 200)
            self.assertGreater(len(manager.requests), 1)
            for request in manager.requests:
                self.assertNotIn("authorization", request.lower())

    def test_user_and_password_are_sent_and_never_shown(self):
        with ScriptedObjectManager(Guarded("reader", "se:cret word")) as manager:
            service = self.service_as(manager, "reader", "se:cret word\n")
            self.check_value(service, LIVE)
            self.assertEqual(service.post(RUN, b"{}").status, 200)
            self.assertNotIn("cret", service.log())
            for pid in service.pids():
                with open(f"/proc/{pid}/cmdline", encoding="utf-8") as arguments:
                    self.assertNotIn("cret", arguments.read())

    def test_an_object_manager_that_lets_nobody_in_is_the_services_fault(self):
        with ScriptedObjectManager(Guarded("reader", "right")) as manager:
            service = self.service_as(manager, "reader", "wrong")
            for asked in (service.get(LIVE), service.post(RUN, b"{}")):
                self.check_failed(asked, 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))
                self.assertEqual(asked.get("Retry-After"), "5")
            self.assertEqual(service.log().count(MESSAGE), 2)
            self.assertNotIn("wrong", service.log())
            manager.answer = answer
            self.check_value(service, LIVE)

    def test_what_it_denies_by_a_cim_status_is_denied_to_the_client(self):
        with ScriptedObjectManager(cim_error(2, "not for you")) as manager, live_service(manager.url) as service:
            self.check_failed(service.get(LIVE), 403, *DENIED)
            self.assertNotIn(MESSAGE, service.log())

    def check_refused(self, options, cause):
        done = run_program(CIMGATED, "--listen", "127.0.0.1:0", *options)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn(cause + "\n", done.stderr)

    def check_password_refused(self, path, cause):
        self.check_refused(["--cim-user", "reader", "--cim-password-file", path], f"--cim-password-file {path} {cause}")

    def test_a_password_that_others_may_read_is_refused(self):
        for mode in (0o640, 0o604, 0o620):
            self.write_password("secret", mode)
            self.check_password_refused(self.password, "may be used by others than its owner; chmod 600 it")

    def test_a_password_that_is_none_is_refused(self):
        self.check_password_refused(self.password, "cannot be read: No such file or directory")
        self.check_password_refused(self.directory, "is no file")
        for text in ("", "\nsecret", "x" * 1025, "sec\0ret"):
            self.write_password(text)
            self.check_password_refused(self.password, "does not begin with a line of 1 to 1024 bytes, the password")

    def test_options_that_do_not_fit_are_refused(self):
        self.write_password("secret")
        together = "--cim-user and --cim-password-file belong together; give both or none"
        self.check_refused(["--cim-user", "reader"], together)
        self.check_refused(["--cim-password-file", self.password], together)
        self.check_refused(["--cim-user", "re:ader", "--cim-password-file", self.password],
                           "--cim-user re:ader: give a name without a colon")
        self.check_refused(["--cim-ca", "/none.pem"], "--cim-ca /none.pem cannot be read")

    def test_an_https_object_manager_is_checked_against_the_authorities_that_are_named(self):
        make_certificate(self.directory, "manager", own_address())
        certificate = self.directory / "manager"
        with ScriptedObjectManager(answer, certificate=certificate) as manager:
            with live_service(manager.url, "--cim-ca", f"{certificate}.pem") as service:
                self.check_value(service, LIVE)
                self.assertEqual(service.post(RUN, b"{}").status, 200)
            asked = len(manager.requests)
            with live_service(manager.url) as service:
                self.check_failed(service.get(LIVE), 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))
                self.assertIn("SSL peer certificate", service.log())
            self.assertEqual(len(manager.requests), asked)

    def test_an_object_manager_behind_a_socket_is_named_by_it(self):
        with live_service("/run/no/such/socket") as service:
            self.assertEqual(service.get(LIVE).status, 503)
            self.assertIn("msg(Couldn't connect to server: /run/no/such/socket: No such file or directory)", service.log())


if __name__ == "__main__":
    unittest.main(verbosity=2)
