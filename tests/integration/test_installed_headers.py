#!/usr/bin/python3
"""Each installed header is complete."""

import os
import unittest
from concurrent.futures import ThreadPoolExecutor

from installed_tree import InstalledTreeTest, run


class InstalledHeaders(InstalledTreeTest):
    def test_headers_compile_on_their_own(self):
        headers = sorted((self.prefix / "include" / "cimgate").rglob("*.h"))
        self.assertGreaterEqual(len(headers), 9, headers)
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.lib / "pkgconfig"))
        flags = run("pkg-config", "--cflags", "cimgate", env=environment).split()

        def compile_alone(header):
            run("g++", "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", *flags, "-x", "c++",
                "-include", header, "/dev/null")

        with ThreadPoolExecutor(os.cpu_count()) as threads:
            for header, done in [(header, threads.submit(compile_alone, header)) for header in headers]:
                with self.subTest(header=header.name):
                    done.result()


if __name__ == "__main__":
    unittest.main(verbosity=2)
