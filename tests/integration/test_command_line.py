#!/usr/bin/python3
"""Options as the command line gives them, and files they name that cannot be used."""

import os
import tempfile
import unittest
from pathlib import Path

from cimgate_host import BASE, CIMGATED, REGISTRIES, Service, collection_entry, member_entry
from program import run_program

THING = f"{BASE}/VexoThing/T.1"
CIMOMD = os.environ["CIMOMD"]
CIMGATE = os.environ["CIMGATE"]
OPTIONS = ("--listen", "--rmf", "--cache", "--cim", "--registries", "--oem-endpoint", "--auth", "--workers",
           "--log-level", "--request-timeout")
REGISTRY_FILES = ("Base.1.18.json", "Vexo.1.0.json")


def sample():
    mapping = member_entry("VexoThing", "XCIM_Thing", {"A": {"cim_type": "string"}}) | collection_entry("VexoThing")
    return mapping, {"classes": {"XCIM_Thing": (["InstanceID", "A"], [("T.1", "a")])}}


def run(*options):
    return run_program(CIMGATED, *options)


class CommandLine(unittest.TestCase):
    def test_every_option_needs_a_value(self):
        for option in OPTIONS:
            for arguments in ([option], [option + "="], [option, ""]):
                with self.subTest(arguments=arguments):
                    done = run(*arguments)
                    self.assertEqual((done.returncode, done.stdout), (2, ""))
                    self.assertRegex(done.stderr, rf"\Acimgated: {option} .*\n\Z")

    def test_numbers_beside_their_range_are_refused(self):
        for option, low, high in (("--workers", 1, 64), ("--log-level", 0, 4), ("--request-timeout", 1, 3600)):
            for text in (str(low - 1), str(high + 1), f"{low}x", f" {high}", "", "4294967297", "0x1", "1.0"):
                with self.subTest(option=option, text=text):
                    done = run(f"{option}={text}")
                    self.assertEqual((done.returncode, done.stdout), (2, ""))
                    self.assertIn(option, done.stderr)

    def test_help_beside_options_that_could_not_be_used(self):
        for arguments in (["--help"], ["-h"], ["--rmf", "/nowhere", "--help"], ["--help", "--nonsense"],
                          ["-h", "--workers=0"]):
            done = run(*arguments)
            self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
            self.assertTrue(done.stdout.startswith("usage: cimgated "), arguments)

    def test_help_names_options_and_defaults(self):
        done = run("--help")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for option in ("--listen", "--rmf", "--cache", "--registries", "--auth none", "--workers", "--log-level",
                       "--request-timeout"):
            self.assertIn(option, done.stdout)
        for default in ("127.0.0.1:8000", "/usr/share/cimgate/resourcemapping.json",
                        "/var/run/cmpidatacache/CMPI_DataCache.db"):
            self.assertIn(default, done.stdout)

    def test_wrong_options(self):
        for options, hint in [(["--nonsense"], "--help"), (["file"], "--help"), (["--workers", "0"], "from 1 to 64"),
                              (["--workers"], "needs a value"), (["--log-level", "5"], "from 0 to 4"),
                              (["--request-timeout", "x"], "from 1 to 3600"), (["--auth", "users"], "none"),
                              (["--listen", "8000"], "127.0.0.1:8000"), (["--cim", "x"], "give http://HOST:PORT"),
                              (["--listen", "localhost:8000"], "numeric")]:
            done = run(*options)
            self.assertEqual((done.returncode, done.stdout), (2, ""), options)
            self.assertRegex(done.stderr, r"\Acimgated: .*\n\Z", options)
            self.assertIn(hint, done.stderr)

    def test_only_loopback_without_authentication(self):
        for address in ("0.0.0.0:0", "[::]:0", "10.1.2.3:8000"):
            for auth in ([], ["--auth", "none"]):
                done = run("--listen", address, *auth)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn("loopback", done.stderr)

    def test_help_names_every_option(self):
        text = run("--help").stdout
        for option in (*OPTIONS, "-h, --help", "--version"):
            self.assertRegex(text, rf"\n  {option}( |\n)")

    def test_version_is_that_of_all_programs(self):
        versions = set()
        for program, name in ((CIMGATED, "cimgated"), (CIMOMD, "cimgate-cimomd"), (CIMGATE, "cimgate")):
            done = run_program(program, "--version")
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertRegex(done.stdout, rf"\A{name} [0-9]+\.[0-9]+\.[0-9]+\n\Z")
            versions.add(done.stdout.split()[1])
        self.assertEqual(len(versions), 1)

    def test_unknown_options_are_named(self):
        for arguments, name in ((["--nonsense"], "--nonsense"), (["--nonsense=1"], "--nonsense"), (["-x"], "-x"),
                                (["file"], "file"), (["--workers", "1", "--Workers", "2"], "--Workers")):
            done = run(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertEqual(done.stderr, f"cimgated: unknown option {name}; cimgated --help lists them\n")

    def test_values_after_an_equals_sign(self):
        service = Service(*sample())
        service.command = [CIMGATED, "--listen=127.0.0.1:0", f"--rmf={service.mapping_path}",
                           f"--cache={service.cache_path}", f"--registries={REGISTRIES}", "--workers=1", "--auth=none",
                           "--log-level=0", "--request-timeout=3600"]
        with service:
            self.assertEqual(service.get(THING).json()["A"], "a")
            self.assertEqual(len(service.workers()), 1)

    def check_fails(self, service, *hints):
        status, out, log = service.fail()
        service.discard()
        self.assertIn(status, (1, 2), log)
        self.assertEqual(out, "", log)
        for hint in hints:
            self.assertIn(hint, log)

    def test_registry_that_is_missing_or_unreadable_is_named(self):
        for broken in REGISTRY_FILES:
            for text in (None, "", "{", "[]", '{"Messages": 5}'):
                with self.subTest(file=broken, text=text), tempfile.TemporaryDirectory() as directory:
                    for name in REGISTRY_FILES:
                        Path(directory, name).write_bytes(Path(REGISTRIES, name).read_bytes())
                    if text is None:
                        Path(directory, broken).unlink()
                    else:
                        Path(directory, broken).write_text(text, encoding="utf-8")
                    self.check_fails(Service(*sample(), ["--registries", directory]), str(Path(directory, broken)),
                                     "--registries")

    def test_registry_directory_that_is_missing_is_named(self):
        with tempfile.TemporaryDirectory() as directory:
            nowhere = str(Path(directory, "nowhere"))
            self.check_fails(Service(*sample(), ["--registries", nowhere]), nowhere, "--registries")

    def test_mapping_file_that_is_a_directory_is_named(self):
        service = Service(None, sample()[1])
        service.mapping_path.mkdir()
        self.check_fails(service, str(service.mapping_path), "--rmf")


if __name__ == "__main__":
    unittest.main(verbosity=2)
