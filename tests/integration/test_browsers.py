#!/usr/bin/python3
"""Pages of somebody else that a browser on this machine shows: they must not read or act here."""

import unittest

from cimgate_host import BASE, Service, SharedServiceTest, ask, member_entry

THING = f"{BASE}/VexoThing/T.1"
ACTION = f"{BASE}/VexoThing/Actions/VexoThing.Run"
JSON = "Content-Type: application/json"


class Browsers(SharedServiceTest):
    @staticmethod
    def make_service():
        mapping = member_entry("VexoThing", "XCIM_Thing", {"A": {"cim_type": "string"}},
                               actions={"#VexoThing.Run": {"target": ACTION}})
        return Service(mapping, {"classes": {"XCIM_Thing": (["InstanceID", "A"], [("T.1", "a")])}},
                       options=("--host", "bmc.example.net", "--host=bmc"))

    def get(self, host):
        return ask(self.service.base, THING, headers=(f"Host: {host}",))

    def post(self, *headers):
        return ask(self.service.base, ACTION, "POST", (JSON, *headers), b"{}")

    def test_service_answers_to_its_addresses_and_names(self):
        for host in ("127.0.0.1", "[::1]:80", "localhost:8000", "BMC.example.net", "bmc:443"):
            self.assertEqual(self.get(host).status, 200, host)

    def test_name_that_somebody_has_directed_here_is_misdirected(self):
        for host in ("evil.example", "localhost.evil.example:8000", "xbmc"):
            answer = self.get(host)
            self.assertEqual((answer.status, answer.messages()), (421, [("Base.HeaderInvalid", ["Host"])]), host)
            self.check_headers(answer)

    def test_answer_that_is_kept_is_for_the_service_s_names_only(self):
        for host in ("localhost",) * 3 + ("evil.example", "localhost"):
            self.assertEqual(self.get(host).status, 421 if host == "evil.example" else 200, host)

    def test_action_for_a_page_of_another_host_is_forbidden(self):
        for header in ("Origin: http://evil.example", "Origin: null", "Sec-Fetch-Site: cross-site"):
            answer = self.post("Host: localhost", header)
            self.assertEqual((answer.status, answer.messages()), (403, [("Base.AccessDenied", [ACTION])]), header)
            self.check_headers(answer)

    def test_action_for_a_page_of_the_same_host_goes_on(self):
        # To the object manager, of which there is none here.
        for headers in ((), ("Origin: http://localhost:3000", "Sec-Fetch-Site: same-origin")):
            self.assertEqual(self.post("Host: localhost", *headers).status, 503, headers)


if __name__ == "__main__":
    unittest.main()
