"""HTTP/1.1 connections: kept alive, closed, pipelined, broken."""

import http.client
import json
import socket
import unittest

from cimgate_host import Host

URI = "/redfish/v1/Vexo/VexoService"
SERVICE = {"VexoService": {"@odata.id": URI, "mappings": {"XCIM_Service": {}}}}


class Connections(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Host(SERVICE)

    @classmethod
    def tearDownClass(cls):
        assert cls.host.stop() == 0

    def connect(self):
        connection = socket.create_connection(("127.0.0.1", self.host.port), timeout=20)
        self.addCleanup(connection.close)
        return connection

    def exchange(self, text):
        """Sends text and reads until the service closes the connection."""
        connection = self.connect()
        connection.sendall(text.encode("latin-1"))
        received = b""
        while chunk := connection.recv(65536):
            received += chunk
        return received.decode("latin-1")

    @staticmethod
    def request(method="GET", uri=URI, version="1.1", *headers):
        return "\r\n".join([f"{method} {uri} HTTP/{version}", "Host: h", *headers, "", ""])

    def test_one_connection_serves_many_requests(self):
        client = http.client.HTTPConnection("127.0.0.1", self.host.port, timeout=20)
        client.connect()
        local_port = client.sock.getsockname()[1]
        for i in range(20):
            client.request("HEAD" if i % 3 == 0 else "GET", URI if i % 2 else "/nope")
            answer = client.getresponse()
            body = answer.read()
            self.assertEqual(answer.status, 200 if i % 2 else 404)
            self.assertEqual(body == b"", i % 3 == 0)
            self.assertNotEqual(answer.headers.get("Connection", "").lower(), "close")
            self.assertEqual(client.sock.getsockname()[1], local_port)
        client.close()

    def test_connection_close_is_answered_and_done(self):
        answer = self.exchange(self.request("GET", URI, "1.1", "Connection: close"))
        self.assertTrue(answer.startswith("HTTP/1.1 200 OK\r\n"), answer)
        self.assertIn("\r\nConnection: close\r\n", answer)

    def test_http_1_0_is_closed_unless_kept_alive(self):
        answer = self.exchange(self.request("GET", URI, "1.0"))
        self.assertIn(" 200 OK\r\n", answer)
        connection = self.connect()
        for _ in range(2):
            connection.sendall(self.request("GET", URI, "1.0", "Connection: keep-alive").encode())
            response = http.client.HTTPResponse(connection)
            response.begin()
            self.assertEqual(response.status, 200)
            self.assertEqual(response.headers["Connection"].lower(), "keep-alive")
            response.read()

    def test_pipelined_requests_are_answered_in_order(self):
        uris = [URI, "/first", "/", URI + "?$select=Nope", URI]
        last = len(uris) - 1
        text = "".join(self.request("GET", uri, "1.1", *(["Connection: close"] if i == last else []))
                       for i, uri in enumerate(uris))
        answer = self.exchange(text)
        statuses = [int(part[:3]) for part in answer.split("HTTP/1.1 ")[1:]]
        self.assertEqual(statuses, [200, 404, 404, 400, 200])

    def test_what_is_no_http_gets_400_and_is_closed(self):
        for text in ("nonsense\r\n\r\n", "GET / HTTP/9.9\r\n\r\n", "GET /\x01 HTTP/1.1\r\n\r\n",
                     "GET / HTTP/1.1\r\nno colon\r\n\r\n",
                     "GET / HTTP/1.1\r\nContent-Length: x\r\n\r\n"):
            with self.subTest(text=text):
                head, _, body = self.exchange(text).partition("\r\n\r\n")
                self.assertTrue(head.startswith("HTTP/1.1 400 "), head)
                self.assertIn("\r\nConnection: close", head)
                self.assertIn("@Message.ExtendedInfo", json.loads(body)["error"])

    def test_a_client_that_leaves_harms_nobody(self):
        for text in ("GET ", self.request()[:-2], self.request(),
                     "GET / HTTP/1.1\r\nContent-Length: 100\r\n\r\nhalf"):
            connection = socket.create_connection(("127.0.0.1", self.host.port), timeout=20)
            connection.sendall(text.encode())
            connection.close()
        self.assertEqual(self.host.get(URI).status, 200)

    def test_expect_continue(self):
        connection = self.connect()
        connection.sendall(self.request("GET", URI, "1.1", "Content-Length: 2", "Expect: 100-continue",
                                        "Connection: close").encode())
        self.assertEqual(connection.recv(100), b"HTTP/1.1 100 Continue\r\n\r\n")
        connection.sendall(b"{}")
        response = http.client.HTTPResponse(connection)
        response.begin()
        self.assertEqual(response.status, 200)

    def test_a_body_of_a_read_is_ignored(self):
        answer = self.exchange(self.request("GET", URI, "1.1", "Content-Length: 2", "Connection: close") + "{}")
        self.assertTrue(answer.startswith("HTTP/1.1 200 "), answer)


if __name__ == "__main__":
    unittest.main(verbosity=2)
