#!/usr/bin/python3
"""The units for systemd, as they are installed: systemd finds nothing wrong with them, and they leave a service little."""

import re
import unittest

from installed_tree import InstalledTreeTest, run

# What systemd-analyze calls "OK" ends at 49 of 100; what is left open are sockets and files to read.
MOST_EXPOSURE = 25


class SystemdUnits(InstalledTreeTest):
    def units(self):
        units = sorted((self.prefix / "lib" / "systemd" / "system").iterdir())
        self.assertEqual([unit.name for unit in units], ["cimgate-cached.service", "cimgated.service"])
        return units

    def test_systemd_finds_nothing_wrong_with_them(self):
        self.assertEqual(run("systemd-analyze", "verify", "--man=no", *self.units()), "")

    def test_they_start_the_programs_that_were_installed_with_them(self):
        for unit in self.units():
            program = re.search(r"^ExecStart=(\S+) ", unit.read_text(encoding="utf-8"), re.MULTILINE).group(1)
            self.assertEqual(program, str(self.prefix / "bin" / unit.stem))

    def test_they_leave_a_service_little(self):
        for unit in self.units():
            run("systemd-analyze", "security", "--offline=true", f"--threshold={MOST_EXPOSURE}", unit)

    def test_the_filler_comes_first(self):
        text = (self.prefix / "lib" / "systemd" / "system" / "cimgate-cached.service").read_text(encoding="utf-8")
        self.assertIn("\nBefore=cimgated.service\n", text)
        self.assertIn("\nType=notify\n", text)

    def test_their_users_are_made(self):
        users = (self.prefix / "lib" / "sysusers.d" / "cimgate.conf").read_text(encoding="utf-8")
        for unit in self.units():
            user = re.search(r"^User=(\S+)$", unit.read_text(encoding="utf-8"), re.MULTILINE).group(1)
            self.assertRegex(users, rf"(?m)^u {re.escape(user)} ")


if __name__ == "__main__":
    unittest.main(verbosity=2)
