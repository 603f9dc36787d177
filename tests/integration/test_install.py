#!/usr/bin/python3
"""An installed tree is complete, and exports what it promises."""

import json
import os
import re
import unittest
from pathlib import Path

from cimgate_host import ask
from installed_tree import BUILD_DIR, SOURCE_DIR, InstalledTreeTest, cache_entry, run
from program import Program
from sample_system import make_sample_cache

# Operations of these classes, with their vtables and type information, these free functions, and the handle of the data cache.
PUBLIC_SYMBOL = re.compile(
    r"(vtable for |typeinfo for |typeinfo name for )?"
    r"((ResourceMapper|SQLInterface|SfccSession|CmpiJson)(::|@@|$)"
    r"|dbhandle@@|(LoadDatabase|getResourceOemData|logMessage|AppendExtendedErrorMessages)\()")

# Headers that are not called like their class.
HEADERS = {"SfccSession": "SfccInterface.h", "CmpiJson": "CmpiToJson.h"}


ENCLOSURE = "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosure/Enclosure.2"


class Installed(Program):
    """The service as README.md starts it."""

    NAME = "cimgated"

    def __init__(self, program, cache, endpoint):
        super().__init__()
        self.command = ["env", "-C", "/", "-u", "LD_LIBRARY_PATH", str(program), "--listen", "127.0.0.1:0", "--cache",
                        str(cache), "--oem-endpoint", endpoint]


class InstalledTree(InstalledTreeTest):
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

    def test_programs_are_position_independent_and_resolve_their_symbols_at_the_start(self):
        programs = list((self.prefix / "bin").iterdir())
        libraries = [path for path in self.lib.glob("lib*.so*") if not path.is_symlink()]
        self.assertTrue(programs and libraries)
        for path in (*programs, *libraries):
            self.assertRegex(run("readelf", "--file-header", path), r"Type: +DYN ", path)
            dynamic = run("readelf", "--dynamic", path)
            self.assertRegex(dynamic, r"\(FLAGS\) +.*BIND_NOW", path)
            self.assertRegex(dynamic, r"\(FLAGS_1\) +Flags: NOW" + (" PIE" if path in programs else ""), path)
            self.assertIn("GNU_RELRO", run("readelf", "--program-headers", path), path)

    def test_service_runs_from_any_folder_and_finds_its_data(self):
        cache = Path(self.work.name) / "cache.db"
        socket = Path(self.work.name) / "oem.sock"
        make_sample_cache(cache)
        moved = Path(self.work.name) / "moved"
        self.prefix.rename(moved)
        self.addCleanup(moved.rename, self.prefix)
        service = Installed(moved / "bin" / "cimgated", cache, f"ipc://{socket}")
        with service:
            answer = ask(service.base, ENCLOSURE)
            self.assertEqual((answer.status, answer.json()["Id"]), (200, "Enclosure.2"))
            self.assertEqual(ask(service.base, "/redfish/v1/nothing").messages()[0][0], "Vexo.SYS403")
            data = json.loads(run(moved / "bin" / "cimgate", "oem", "--endpoint", f"ipc://{socket}", "DriveOem",
                                  "Disk.Bay.0:Enclosure.2", cwd="/"))
            self.assertEqual(data["VexoEnclosure"]["Tag"], "Enclosure.2")

    def test_programs_are_installed_and_find_their_libraries(self):
        environment = {key: value for key, value in os.environ.items() if key != "LD_LIBRARY_PATH"}
        for program, arguments, word in (("cimgated", [], "--oem-endpoint"), ("cimgate", ["oem"], "--endpoint"),
                                         ("cimgate-cimomd", [], "--repository"), ("cimgate-cached", [], "--once")):
            self.assertIn(word, run(self.prefix / "bin" / program, *arguments, "--help", env=environment))


if __name__ == "__main__":
    unittest.main(verbosity=2)
