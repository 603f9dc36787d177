#!/usr/bin/python3
"""Another project builds against an installed tree."""

import json
import os
import subprocess
import unittest
from pathlib import Path

from installed_tree import SOURCE_DIR, InstalledTreeTest, cache_entry, run

CONSUMER_DIR = SOURCE_DIR / "tests" / "integration" / "consumer"
INSTANCE_URI = ("/redfish/v1/Vexo/Chassis/System.Embedded.1/Power/PowerSupplies/VexoPowerSupply/PSU.Slot.1")


def sanitizer_flags():
    """What a program needs that loads libraries built with a sanitizer."""
    flags = cache_entry("CMAKE_CXX_FLAGS_" + cache_entry("CMAKE_BUILD_TYPE").upper())
    return [flag for flag in flags.split() if flag.startswith("-fsanitize=")]


class Consumers(InstalledTreeTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.cache = Path(cls.work.name) / "cache.db"
        run(SOURCE_DIR / "scripts" / "make-sample-cache", cls.cache)

    def check_consumer(self, program, environment):
        """The program reads a power supply of the sample system."""
        mapping = self.prefix / "share" / "cimgate" / "resourcemapping.json"
        done = subprocess.run([str(program), str(mapping), str(self.cache), INSTANCE_URI], check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=environment)
        self.assertEqual(done.returncode, 0, done.stderr)
        status, resource, body = done.stdout.split(" ", 2)
        self.assertEqual((status, resource), ("200", "VexoPowerSupply"))
        instance = json.loads(body)
        self.assertEqual(instance["@odata.id"], INSTANCE_URI)
        self.assertEqual(instance["Id"], "PSU.Slot.1")
        self.assertEqual(instance["TotalOutputPowerMilliwatts"], 1400000)
        self.assertEqual(instance["HealthState"], "OK")

    def test_find_package_builds_a_consumer(self):
        build = Path(self.work.name) / "by-cmake"
        run("cmake", "-S", CONSUMER_DIR, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            "-DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF", "-DCMAKE_CXX_FLAGS=" + " ".join(sanitizer_flags()))
        run("cmake", "--build", build)
        self.check_consumer(build / "consumer", dict(os.environ))

    def test_pkg_config_builds_a_consumer(self):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.lib / "pkgconfig"))
        flags = run("pkg-config", "--cflags", "--libs", "cimgate", env=environment).split()
        self.assertNotIn(str(SOURCE_DIR), " ".join(flags))
        program = Path(self.work.name) / "by-pkg-config"
        run("g++", "-std=c++20", *sanitizer_flags(), CONSUMER_DIR / "main.cpp", "-o", program, *flags)
        self.check_consumer(program, dict(os.environ, LD_LIBRARY_PATH=str(self.lib)))


if __name__ == "__main__":
    unittest.main(verbosity=2)
