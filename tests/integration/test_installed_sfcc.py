#!/usr/bin/python3
"""With SFCC installed the library links that: everything builds against it, and the service runs with it.

Environment: CIMGATE_BUILD_DIR, with the stand-in for SFCC's package; CIMGATE_SOURCE_DIR, the checkout; as in
cimgate_host.py and cim_object_manager.py.
"""

import os
import socket
import tempfile
import unittest
from unittest import mock

from cim_object_manager import Class, object_manager
from cimgate_host import BASE, CIMGATED, Service, ServiceTest, member_entry
from installed_tree import BUILD_DIR, SOURCE_DIR, cache_entry, run
from program import run_program

SFCC = BUILD_DIR / "tests" / "integration" / "sfcc"
ROOT = SFCC / "root"
# Kept, so that it is not built anew where nothing has changed.
TREE = SFCC / "build"

THING = f"{BASE}/VexoThing/T.1"
MAPPING = member_entry("VexoThing", "XCIM_Thing", {"A": {"cim_type": "string"}}, cached=False)
THINGS = Class("XCIM_Thing", {"InstanceID": "string", "A": "string"})


def environment(port, **more):
    """The programs' when SFCC is in its place; the local object manager is at this port."""
    return {"LD_LIBRARY_PATH": str(ROOT / "lib"), "SFCC_STAND_IN_PORT": str(port), **more}


class SfccService(Service):
    """Without --cim."""

    def __init__(self, port, **more):
        super().__init__(MAPPING, options=("--workers", "1"))
        at = self.command.index("--cim")
        del self.command[at:at + 2]
        self._environment = environment(port, **more)

    def launch(self):
        with mock.patch.dict(os.environ, self._environment):
            super().launch()


def nobody_listening():
    """A port that is nobody's while the socket lives."""
    listener = socket.socket()
    listener.bind(("127.0.0.1", 0))
    return listener


class InstalledSfcc(ServiceTest):
    def test_everything_that_sees_its_headers_builds(self):
        """Without a preset, and in the largest groups, which take the least time."""
        launcher = cache_entry("CMAKE_CXX_COMPILER_LAUNCHER")
        run("cmake", "-S", SOURCE_DIR, "-B", TREE, "-G", "Ninja", "-DCIMGATE_SFCC=system", f"-DCMAKE_PREFIX_PATH={ROOT}",
            "-DCIMGATE_BUILD_TESTS=OFF", "-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=20",
            f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}")
        run("cmake", "--build", TREE, "--target", "cimgate", "cimgated_request")
        needed = run("objdump", "-p", TREE / "src" / "libcimgate.so")
        self.assertIn("NEEDED               libcmpisfcc.so.1", needed)
        self.assertFalse((TREE / "platform" / "cmpisfcc" / "libcmpisfcc.so").exists())
        for kind, is_ours_built in (("auto", False), ("bundled", True)):
            run("cmake", f"-DCIMGATE_SFCC={kind}", TREE)
            targets = run("ninja", "-C", TREE, "-t", "targets", "all")
            self.assertEqual((kind, "libcmpisfcc.so:" in targets), (kind, is_ours_built))

    def test_what_is_not_installed_is_said(self):
        with self.assertRaisesRegex(AssertionError, "CIMGATE_SFCC is system, but CimClientLib/cmci.h or libcmpisfcc"):
            tree = self.enterContext(tempfile.TemporaryDirectory())
            run("cmake", "-S", SOURCE_DIR, "-B", tree, "-G", "Ninja", "-DCIMGATE_SFCC=system")

    def test_the_local_object_manager_is_read(self):
        with object_manager(THINGS, [{"InstanceID": "T.1", "A": "fine"}]) as manager, \
                SfccService(manager.port) as service:
            self.check_value(service, THING)

    def test_an_object_manager_that_is_away_is_503(self):
        with nobody_listening() as listener, SfccService(listener.getsockname()[1]) as service:
            answer = service.get(THING)
            self.check_failed(answer, 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))
            self.assertEqual(answer.get("Retry-After"), "5")

    def test_a_back_end_that_the_environment_names_is_left(self):
        with nobody_listening() as listener, SfccService(listener.getsockname()[1], SFCC_CLIENT="XML") as service:
            self.assertEqual(service.get(THING).status, 500)  # over HTTP nobody is missed until there is an operation

    def test_another_object_manager_is_refused(self):
        with mock.patch.dict(os.environ, environment(0)):
            done = run_program(CIMGATED, "--cim", "http://127.0.0.1:1")
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("--cim http://127.0.0.1:1: the CIM client library in use reaches the controller's own object "
                      "manager only; leave the option out", done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
