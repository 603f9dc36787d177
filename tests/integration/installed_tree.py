"""A complete build, installed for one test.

Environment: CIMGATE_BUILD_DIR, a complete build; CIMGATE_SOURCE_DIR, the checkout.
"""

import fcntl
import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

BUILD_DIR = Path(os.environ["CIMGATE_BUILD_DIR"])
SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])


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


class InstalledTreeTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.TemporaryDirectory(prefix="cimgate-install-")
        cls.addClassCleanup(cls.work.cleanup)
        cls.prefix = Path(cls.work.name) / "installed"
        with (BUILD_DIR / "CMakeCache.txt").open("rb") as build:
            fcntl.flock(build, fcntl.LOCK_EX)  # an installation leaves its manifest in the build
            run("cmake", "--install", BUILD_DIR, "--prefix", cls.prefix)
        cls.lib = cls.prefix / (cache_entry("CMAKE_INSTALL_LIBDIR") or "lib")
