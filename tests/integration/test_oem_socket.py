#!/usr/bin/python3
"""Where the endpoint's socket may be, what it takes the place of, and who may use it."""

import os
import signal
import socket
import stat
import unittest

from cimgate_host import CIMGATED, await_ends, without_stamps
from oem_client import BY_ID, TEXT, OemService, OemTest, container_entry, embedded_data, embedded_entry
from program import run_program

GOOD_ANSWER = {"VexoGood": embedded_data("VexoGood", "G.1", A="fine")}

# What sockaddr_un has room for, with the NUL behind it.
LONGEST_PATH = 107

OPTION = "--oem-endpoint"


def sample():
    mapping = embedded_entry("VexoGood", "XCIM_Good", {"A": TEXT}) | container_entry("GoodOem", VexoGood=BY_ID)
    return mapping, {"classes": {"XCIM_Good": (["InstanceID", "A"], [("G.1", "fine")])}}


def run(*options):
    return run_program(CIMGATED, *options)


def leave_socket(path):
    """A socket on which nobody listens any more."""
    with socket.socket(socket.AF_UNIX) as former:
        former.bind(str(path))
        former.listen()


class Option(OemTest):
    def test_help_names_it(self):
        self.assertIn(OPTION, run("--help").stdout)

    def test_what_is_no_path_of_a_socket_is_refused(self):
        for endpoint in ("tcp://127.0.0.1:5555", "tcp://*:5555", "inproc://oem", "ipc://@oem", "ipc://oem.sock",
                         "ipc://./oem.sock", "ipc://", "ipc://*", "/run/oem.sock", "oem.sock", "ipc:/run/oem.sock",
                         "IPC:///run/oem.sock", "vmci://*:1", "pgm://127.0.0.1;224.0.0.1:5555", "udp://127.0.0.1:5555",
                         " ipc:///run/oem.sock", f"ipc:///{'p' * LONGEST_PATH}", f"ipc:///{'p' * 5000}"):
            for arguments in ([OPTION, endpoint], [f"{OPTION}={endpoint}"]):
                with self.subTest(arguments=arguments):
                    done = run(*arguments)
                    self.assertEqual((done.returncode, done.stdout), (2, ""))
                    self.assertRegex(done.stderr, rf"\Acimgated: {OPTION} .*\n\Z")
                    self.assertIn("ipc:///", done.stderr)
                    self.assertIn("absolute path", done.stderr)

    def test_it_needs_a_value(self):
        for arguments in ([OPTION], [OPTION, ""], [OPTION + "="]):
            with self.subTest(arguments=arguments):
                done = run(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertRegex(done.stderr, rf"\Acimgated: {OPTION} needs a value.*\n\Z")

    def test_service_without_it_has_no_endpoint(self):
        service = OemService(*sample())
        del service.command[service.command.index(OPTION):]
        with service:
            self.assertEqual(service.endpoint_processes(), [])
            self.assertFalse(service.socket_path.exists())


class Socket(OemTest):
    def service(self, **more):
        service = OemService(*sample(), **more)
        self.addCleanup(service.discard)
        return service

    def at(self, path, **more):
        """A service whose endpoint is at another path."""
        service = self.service(**more)
        service.command[service.command.index(service.endpoint)] = f"ipc://{path}"
        service.socket_path, service.endpoint = path, f"ipc://{path}"
        return service

    def check_good(self, service):
        self.assertEqual(service.ask("GoodOem", "G.1"), GOOD_ANSWER)

    def check_refused(self, service, *hints):
        """It gives up with status 1, and says why and how to go on."""
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""), log)
        said = "\n".join(line for line in without_stamps(log) if line.startswith("cimgated: "))
        for hint in (service.endpoint, *hints, OPTION):
            self.assertIn(hint, said)

    def test_owner_and_group_may_use_it_whatever_the_umask_is(self):
        for mask in ("0", "022", "077", "0777"):
            with self.subTest(umask=mask), self.service(limits=f"umask {mask}") as service:
                found = service.socket_path.stat()
                self.assertTrue(stat.S_ISSOCK(found.st_mode))
                self.assertEqual(oct(stat.S_IMODE(found.st_mode)), oct(0o660))
                self.check_good(service)

    def test_socket_is_there_when_the_service_says_that_it_listens(self):
        for _ in range(5):
            with self.service() as service, socket.socket(socket.AF_UNIX) as connection:
                connection.connect(str(service.socket_path))

    def test_socket_that_a_former_process_has_left_is_replaced(self):
        service = self.service()
        leave_socket(service.socket_path)
        with service:
            self.check_good(service)

    def test_service_that_was_killed_can_be_started_again(self):
        former = self.service().start()
        pids = former.pids()
        former.kill()
        await_ends(pids)
        with self.at(former.socket_path) as service:
            self.check_good(service)

    def test_socket_of_another_service_is_left_to_it(self):
        with self.service() as other, other.dealer() as dealer:
            self.check_refused(self.at(other.socket_path), "another process")
            self.assertEqual(dealer.ask("GoodOem", "G.1"), GOOD_ANSWER)
            self.check_good(other)

    def test_socket_on_which_a_process_listens_without_answering_is_left_to_it(self):
        service = self.service()
        with socket.socket(socket.AF_UNIX) as other:
            other.bind(str(service.socket_path))
            other.listen(0)
            with socket.socket(socket.AF_UNIX) as waiting:
                waiting.connect(str(service.socket_path))  # there is no room for another one
                self.check_refused(service, "another process")
        self.assertTrue(stat.S_ISSOCK(service.socket_path.stat().st_mode))

    def test_what_is_no_socket_is_left_as_it_is(self):
        for make in (lambda path: path.write_bytes(b"precious"), os.mkdir, os.mkfifo,
                     lambda path: path.symlink_to(path.parent / "mapping.json"),
                     lambda path: path.symlink_to("nowhere")):
            service = self.service()
            make(service.socket_path)
            before = service.socket_path.lstat()
            self.check_refused(service, "no socket")
            self.assertEqual(service.socket_path.lstat(), before)

    def test_content_of_a_file_is_left_as_it_is(self):
        service = self.service()
        service.socket_path.write_bytes(b"precious")
        self.check_refused(service, "no socket")
        self.assertEqual(service.socket_path.read_bytes(), b"precious")
        service.discard()

    def test_directory_that_is_missing_is_said(self):
        service = self.service()
        self.check_refused(self.at(service.directory / "nowhere" / "oem.sock"), "No such file or directory")

    def test_directory_that_is_a_file_is_said(self):
        service = self.service()
        self.check_refused(self.at(service.mapping_path / "oem.sock"), "Not a directory")

    def test_longest_path(self):
        service = self.service()
        path = service.directory / ("p" * (LONGEST_PATH - len(str(service.directory)) - 1))
        self.assertEqual(len(os.fsencode(path)), LONGEST_PATH)
        with self.at(path) as longest:
            self.check_good(longest)
        self.assertFalse(path.exists())

    def test_path_with_blanks_and_other_characters(self):
        with self.at(self.service().directory / "oem sock;'%20é") as service:
            self.check_good(service)

    def test_nothing_is_left_where_http_cannot_be_had(self):
        with self.service() as other:
            service = self.service()
            service.command[service.command.index("127.0.0.1:0")] = other.base.removeprefix("http://")
            status, out, log = service.fail()
            self.assertEqual((status, out), (1, ""))
            self.assertIn("in use", log)
            self.assertFalse(service.socket_path.exists())

    def test_socket_that_is_gone_when_its_service_stops(self):
        with self.service() as service:
            self.check_good(service)
            service.socket_path.unlink()
            service.stop(signal.SIGTERM)


if __name__ == "__main__":
    unittest.main(verbosity=2)
