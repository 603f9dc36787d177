#!/usr/bin/python3
"""An installed tree is complete: another project builds against it, and it exports what it promises.

Environment: CIMGATE_BUILD_DIR, a complete build; CIMGATE_SOURCE_DIR, the checkout.
"""

import json
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

BUILD_DIR = Path(os.environ["CIMGATE_BUILD_DIR"])
SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])
CONSUMER_DIR = SOURCE_DIR / "tests" / "integration" / "consumer"
INSTANCE_URI = ("/redfish/v1/Vexo/Chassis/System.Embedded.1/Power/PowerSupplies/VexoPowerSupply/PSU.Slot.1")

# Operations of these classes, with their vtables and type information, and these free functions.
PUBLIC_SYMBOL = re.compile(
    r"(vtable for |typeinfo for |typeinfo name for )?"
    r"((ResourceMapper|SQLInterface|SfccSession|CmpiJson)(::|@@|$)"
    r"|(LoadDatabase|getResourceOemData|logMessage|AppendExtendedErrorMessages)\()")

# Headers that are not called like their class.
HEADERS = {"SfccSession": "SfccInterface.h", "CmpiJson": "CmpiToJson.h"}


def run(*command, **options):
    """Runs a command; its output is part of the failure where it fails."""
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command[0]} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


def cache_entry(name):
    """A variable of the build's CMake cache."""
    text = (BUILD_DIR / "CMakeCache.txt").read_text(encoding="utf-8")
    found = re.search(rf"^{re.escape(name)}:[A-Z]+=(.*)$", text, re.MULTILINE)
    return found.group(1) if found else ""


def sanitizer_flags():
    """What a program needs that loads libraries built with a sanitizer."""
    flags = cache_entry("CMAKE_CXX_FLAGS_" + cache_entry("CMAKE_BUILD_TYPE").upper())
    return [flag for flag in flags.split() if flag.startswith("-fsanitize=")]


class InstalledTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.TemporaryDirectory(prefix="cimgate-install-")
        cls.addClassCleanup(cls.work.cleanup)
        cls.prefix = Path(cls.work.name) / "installed"
        run("cmake", "--install", BUILD_DIR, "--prefix", cls.prefix)
        cls.lib = cls.prefix / (cache_entry("CMAKE_INSTALL_LIBDIR") or "lib")
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

    def test_pkg_config_reports_the_version(self):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.lib / "pkgconfig"))
        version = run("pkg-config", "--modversion", "cimgate", env=environment).strip()
        self.assertEqual(version, cache_entry("CMAKE_PROJECT_VERSION"))

    def test_soname_carries_the_major_version(self):
        for name in ("cimgate", "odata", "vexodlog", "qerm-utils"):
            library = self.lib / f"lib{name}.so"
            self.assertTrue(library.is_symlink(), library)
            soname = re.search(r"SONAME\s+(\S+)", run("objdump", "-p", library))
            self.assertIsNotNone(soname, name)
            self.assertEqual(soname.group(1), f"lib{name}.so.1")

    def test_library_needs_the_platform_libraries_by_their_names(self):
        needed = re.findall(r"NEEDED\s+(\S+)", run("objdump", "-p", self.lib / "libcimgate.so"))
        for name in ("libodata.so.1", "libvexodlog.so.1", "libqerm-utils.so.1"):
            self.assertIn(name, needed)

    def test_exported_symbols_are_the_public_interface(self):
        lines = run("nm", "-D", "--defined-only", "-C", self.lib / "libcimgate.so").splitlines()
        # "A" is the version node itself.
        names = [name for _, kind, name in (line.split(" ", 2) for line in lines) if kind != "A"]
        # The address sanitizer marks each global variable with a symbol of its own.
        names = [name for name in names if not name.startswith("__odr_asan")]
        for public in ("LoadDatabase(", "getResourceOemData(", "logMessage(", "ResourceMapper::ParseUri(",
                       "SQLInterface::SQLToJson("):
            self.assertTrue(any(name.startswith(public) for name in names), public)
        self.assertEqual([name for name in names if not PUBLIC_SYMBOL.match(name)], [])
        for name in names:
            member = re.match(r"(ResourceMapper|SQLInterface|SfccSession|CmpiJson)::(~?\w+)", name)
            if member:
                self.assertIn(member.group(2), self.public_names(member.group(1)), name)

    def public_names(self, class_name):
        """The words of the public part of a class's header."""
        header = self.prefix / "include" / "cimgate" / HEADERS.get(class_name, f"{class_name}.h")
        public_part = re.split(r"^private:$", header.read_text(encoding="utf-8"), flags=re.MULTILINE)[0]
        return set(re.findall(r"~?\w+", public_part))

    def test_headers_compile_on_their_own(self):
        headers = sorted((self.prefix / "include" / "cimgate").rglob("*.h"))
        self.assertGreaterEqual(len(headers), 9, headers)
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.lib / "pkgconfig"))
        flags = run("pkg-config", "--cflags", "cimgate", env=environment).split()
        for header in headers:
            with self.subTest(header=header.name):
                run("g++", "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", *flags, "-x", "c++",
                    "-include", header, "/dev/null")

    def test_no_path_of_the_builder_is_installed(self):
        texts = [path for path in self.prefix.rglob("*") if path.suffix in (".cmake", ".pc", ".json", ".h")]
        self.assertTrue(texts)
        for path in texts:
            text = path.read_text(encoding="utf-8")
            self.assertNotIn(str(SOURCE_DIR), text, path)
            self.assertNotIn(str(BUILD_DIR), text, path)

    def test_data_is_installed(self):
        share = self.prefix / "share" / "cimgate"
        for name in ("resourcemapping.json", "registries/Base.1.18.json", "registries/Vexo.1.0.json"):
            with (share / name).open(encoding="utf-8") as file:
                self.assertIsInstance(json.load(file), dict, name)

    def test_programs_are_installed_and_find_their_libraries(self):
        environment = {key: value for key, value in os.environ.items() if key != "LD_LIBRARY_PATH"}
        for program, arguments, word in (("cimgated", [], "--oem-endpoint"), ("cimgate", ["oem"], "--endpoint"),
                                         ("cimgate-cimomd", [], "--repository")):
            self.assertIn(word, run(self.prefix / "bin" / program, *arguments, "--help", env=environment))


if __name__ == "__main__":
    unittest.main(verbosity=2)
