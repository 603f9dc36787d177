#!/usr/bin/python3
"""Another project builds against an installed tree."""

import contextlib
import json
import os
import sqlite3
import subprocess
import tempfile
import unittest
from pathlib import Path

from cimgate_host import BASE, NO_OBJECT_MANAGER
from installed_tree import SOURCE_DIR, InstalledTreeTest, cache_entry, run
from sample_system import make_sample_cache, sample_object_manager

CONSUMER_DIR = SOURCE_DIR / "tests" / "integration" / "consumer"
EXAMPLE_DIR = SOURCE_DIR / "docs" / "examples" / "service"

INSTANCE_URI = f"{BASE}/Chassis/System.Embedded.1/Power/PowerSupplies/VexoPowerSupply/PSU.Slot.1"
MEMORY_URI = f"{BASE}/Systems/System.Embedded.1/VexoMemoryCollection"
PROBE_URI = f"{BASE}/Systems/System.Embedded.1/VexoTemperatureProbe/Tavix.Embedded.1%23CPU1Temp"
PROBES_URI = f"{BASE}/Systems/System.Embedded.1/VexoTemperatureProbeCollection"
SERVICE_URI = f"{BASE}/Systems/System.Embedded.1/VexoPowerManagementService"
POWER_URI = f"{SERVICE_URI}/Actions/VexoPowerManagementService.RequestPowerStateChange"
INSTALL_URI = (f"{BASE}/Managers/Tavix.Embedded.1/VexoSoftwareInstallationService/Actions"
               "/VexoSoftwareInstallationService.InstallFromURI")
INSTALL_BODY = '{"URI": "http://192.0.2.1/firmware.bin", "InstallOptions": ["Install"]}'


def sanitizer_flags():
    """What a program needs that loads libraries built with a sanitizer."""
    flags = cache_entry("CMAKE_CXX_FLAGS_" + cache_entry("CMAKE_BUILD_TYPE").upper())
    return [flag for flag in flags.split() if flag.startswith("-fsanitize=")]


def build_by_cmake(source, build, prefix):
    run("cmake", "-S", source, "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}",
        "-DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF", "-DCMAKE_CXX_FLAGS=" + " ".join(sanitizer_flags()))
    run("cmake", "--build", build)


class ExampleAnswer:
    """status, headers (names as they are), body (text)."""

    def __init__(self, lines):
        self.status = int(lines.readline())
        self.headers = dict(line.rstrip("\n").split(": ", 1) for line in iter(lines.readline, "\n"))
        self.body = ""

    def json(self):
        return json.loads(self.body)


class Example:
    """The service of the documentation, a request after the other. It has to end well."""

    def __init__(self, program, *arguments):
        self.log = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen([str(word) for word in (program, *arguments)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=self.log, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.process.stdin.close()
        self.process.stdout.close()
        status = self.process.wait()
        with self.log:
            self.log.seek(0)
            if status != 0:
                raise AssertionError(f"the service ended with {status}:\n{self.log.read()}")

    def ask(self, request):
        self.process.stdin.write(request + "\n")
        self.process.stdin.flush()
        answer = ExampleAnswer(self.process.stdout)
        if not request.startswith("HEAD "):
            answer.body = self.process.stdout.read(int(answer.headers["Content-Length"]))
        return answer


class Consumers(InstalledTreeTest):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.cache = Path(cls.work.name) / "cache.db"
        make_sample_cache(cls.cache)
        with contextlib.closing(sqlite3.connect(cls.cache)) as cache, cache:  # one class is being loaded
            cache.execute("delete from Tbl_CMPIReady where ClassName = 'XCIM_PhysicalMemory'")

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
        build_by_cmake(CONSUMER_DIR, build, self.prefix)
        self.check_consumer(build / "consumer", dict(os.environ))

    def test_pkg_config_builds_a_consumer(self):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.lib / "pkgconfig"))
        flags = run("pkg-config", "--cflags", "--libs", "cimgate", env=environment).split()
        self.assertNotIn(str(SOURCE_DIR), " ".join(flags))
        program = Path(self.work.name) / "by-pkg-config"
        run("g++", "-std=c++20", *sanitizer_flags(), CONSUMER_DIR / "main.cpp", "-o", program, *flags)
        self.check_consumer(program, dict(os.environ, LD_LIBRARY_PATH=str(self.lib)))

    def check_reads(self, example):
        read = example.ask(f"GET {INSTANCE_URI}?$select=HealthState")
        self.assertEqual((read.status, read.json()["HealthState"]), (200, "OK"))
        self.assertIn("Link", read.headers)
        whole = example.ask(f"GET {INSTANCE_URI}")
        head = example.ask(f"HEAD {INSTANCE_URI}")
        self.assertEqual((head.status, head.headers), (200, whole.headers))
        loading = example.ask(f"GET {MEMORY_URI}")
        self.assertEqual((loading.status, loading.headers["Retry-After"]), (503, "5"))
        self.assertIn("error", loading.json())
        live = example.ask(f"GET {PROBE_URI}")
        self.assertEqual((live.status, live.json()["DeviceID"]), (200, "Tavix.Embedded.1#CPU1Temp"))
        self.assertEqual(example.ask(f"GET {PROBES_URI}").status, 200)
        service = example.ask(f"GET {SERVICE_URI}")
        self.assertEqual((service.status, list(service.json()["Actions"])),
                         (200, ["#VexoPowerManagementService.RequestPowerStateChange"]))

    def check_refusals(self, example):
        for request, status in ((f"GET {BASE}/NoSuchResource", 404), (f"GET {INSTANCE_URI}x", 404),
                                (f"GET {INSTANCE_URI}?$nonsense=1", 501), (f"GET {INSTANCE_URI}?$select=Nonsense", 400),
                                (f"GET {BASE}/%zz", 400), ("GET /", 404), (f"GET {BASE}/{'x' * 9000}", 414),
                                (f"POST {POWER_URI} {{", 400), (f"POST {POWER_URI} {'[' * 2000}", 400),
                                (f"POST {POWER_URI} {{}} {{}}", 400), (f"POST {POWER_URI} {{}}", 400),
                                (f'POST {POWER_URI} {{"PowerState": "Sideways"}}', 400), ("EMBED Nonsense 1", 404),
                                ("EMBED DriveOem 1'2", 400)):
            answer = example.ask(request)
            self.assertEqual(answer.status, status, request[:200])
            self.assertIn("error", answer.json(), request[:200])
        for request, allowed in ((f"GET {POWER_URI}", "POST"), (f"POST {SERVICE_URI} {{}}", "GET, HEAD"),
                                 (f"PATCH {SERVICE_URI} {{}}", "GET, HEAD, POST")):
            answer = example.ask(request)
            self.assertEqual((answer.status, answer.headers["Allow"]), (405, allowed), request)

    def check_actions(self, example):
        done = example.ask(f'POST {POWER_URI} {{"PowerState": "ForceOff"}}')
        self.assertEqual(done.status, 200, done.body)
        refused = example.ask(f'POST {POWER_URI} {{"PowerState": "ForceOff"}}')
        self.assertEqual(refused.status, 400, refused.body)
        started = example.ask(f"POST {INSTALL_URI} {INSTALL_BODY}")
        self.assertEqual(started.status, 202, started.body)
        self.assertIn("/Jobs/JID_", started.headers["Location"])

    def check_embedded_data(self, example):
        data = example.ask("EMBED DriveOem Disk.Bay.0:Enclosure.2")
        self.assertEqual(data.status, 200)
        self.assertEqual(data.json()["VexoDrive"]["DeviceID"], "Disk.Bay.0:Enclosure.2")
        self.assertEqual(data.json()["VexoEnclosure"]["Tag"], "Enclosure.2")

    def test_the_documented_service_answers_requests_of_each_kind(self):
        build = Path(self.work.name) / "example"
        build_by_cmake(EXAMPLE_DIR, build, self.prefix)
        share = self.prefix / "share" / "cimgate"
        files = (share / "resourcemapping.json", self.cache, share / "registries")
        with sample_object_manager() as manager, Example(build / "service", *files, manager.url) as example:
            self.check_reads(example)
            self.check_refusals(example)
            self.check_actions(example)
            self.check_embedded_data(example)
        with Example(build / "service", *files, NO_OBJECT_MANAGER) as example:
            self.assertEqual(example.ask(f"GET {INSTANCE_URI}").status, 200)
            for request in (f"GET {PROBE_URI}", f'POST {POWER_URI} {{"PowerState": "ForceOff"}}'):
                away = example.ask(request)
                self.assertEqual((away.status, away.headers["Retry-After"]), (503, "5"), request)


if __name__ == "__main__":
    unittest.main(verbosity=2)
