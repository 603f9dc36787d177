#!/usr/bin/python3
"""What the processes of the service may do, and what they are called."""

import os
import pwd
import shutil
import sqlite3
import stat
import unittest
from pathlib import Path

from cimgate_host import BASE, CIMGATED, Service, await_ends, children_of, wait_until
from oem_client import BY_ID, OemService, container_entry, embedded_data, embedded_entry
from program import run_program

GOOD = f"{BASE}/VexoGood/G.1"
IS_ROOT = os.geteuid() == 0
NO_CAPABILITIES = 0
OTHER_USER = "nobody"


def sample():
    mapping = (embedded_entry("VexoGood", "XCIM_Good", {"A": {"cim_type": "string"}})
               | container_entry("GoodOem", VexoGood=BY_ID))
    return mapping, {"classes": {"XCIM_Good": (["InstanceID", "A"], [("G.1", "fine")])}}


def status_of(pid):
    text = Path(f"/proc/{pid}/status").read_text(encoding="ascii")
    return dict(line.split(":\t", 1) for line in text.splitlines() if ":\t" in line)


def oom_score(pid):
    return int(Path(f"/proc/{pid}/oom_score_adj").read_text(encoding="ascii"))


def title(pid):
    try:
        return Path(f"/proc/{pid}/cmdline").read_bytes().rstrip(b"\0").decode()
    except (FileNotFoundError, ProcessLookupError):
        return ""


def grandchildren_of(pid):
    return [grandchild for child in children_of(pid) for grandchild in children_of(child)]


def bounding_set_can_be_emptied():
    return int(status_of(os.getpid())["CapEff"], 16) & (1 << 8) != 0  # CAP_SETPCAP


class RightsTest(unittest.TestCase):
    def all_pids(self, service):
        return [*service.pids(), service.endpoint_process()]

    def check_works(self, service):
        answer = service.get(GOOD)
        self.assertEqual((answer.status, answer.json()["A"]), (200, "fine"))
        self.assertEqual(service.ask("GoodOem", "G.1"), {"VexoGood": embedded_data("VexoGood", "G.1", A="fine")})

    def check_has_none(self, pid):
        status = status_of(pid)
        sets = ["CapInh", "CapPrm", "CapEff", "CapAmb"]
        if bounding_set_can_be_emptied():
            sets.append("CapBnd")
        self.assertEqual({name: int(status[name], 16) for name in sets}, dict.fromkeys(sets, NO_CAPABILITIES))
        self.assertEqual(status["NoNewPrivs"], "1")
        limits = Path(f"/proc/{pid}/limits").read_text(encoding="ascii")
        self.assertRegex(limits, r"Max core file size +0 +0 ")


class Rights(RightsTest):
    def test_no_process_keeps_a_capability_or_can_get_one(self):
        with OemService(*sample()) as service:
            self.check_works(service)
            for pid in self.all_pids(service):
                self.check_has_none(pid)
            service.kill_workers()
            self.check_works(service)
            for pid in service.workers():
                self.check_has_none(pid)

    def test_what_can_be_replaced_goes_first_where_memory_runs_out(self):
        with OemService(*sample()) as service:
            front = oom_score(service.process.pid)
            self.assertEqual(oom_score(service.spawner()), front)
            for pid in (*service.workers(), service.endpoint_process()):
                self.assertEqual(oom_score(pid), min(front + 500, 1000))

    def test_processes_are_told_apart(self):
        with OemService(*sample(), ("--workers", "1")) as service:
            self.assertRegex(title(service.process.pid), r"\Acimgated: front --listen 127\.0\.0\.1:0 ")
            [worker] = service.workers()
            self.assertEqual([title(pid) for pid in (service.spawner(), worker, service.endpoint_process())],
                             ["cimgated: spawner", "cimgated: worker", "cimgated: queue"])


    def test_check_at_the_start_has_its_title(self):
        service = Service(*sample(), ("--workers", "1"))
        self.addCleanup(service.discard)
        with sqlite3.connect(service.cache_path, isolation_level=None) as writer:
            writer.execute("begin exclusive")  # which the check waits for
            service.launch()
            wait_until(lambda: "cimgated: check" in map(title, grandchildren_of(service.process.pid)), "the check")
            writer.execute("commit")
        writer.close()
        self.assertIn("listening", service.process.stdout.readline())
        wait_until(lambda: all(title(pid) == "cimgated: worker" for pid in service.workers()), "its end")
        service.stop()


class OtherUser(RightsTest):
    def service(self, *options):
        """One whose files the other user may read, and in whose directory he may make some."""
        service = OemService(*sample(), ("--user", OTHER_USER, *options))
        shutil.chown(service.directory, OTHER_USER)
        return service

    @unittest.skipUnless(IS_ROOT, "only root can become another user")
    def test_all_processes_are_that_user(self):
        user = pwd.getpwnam(OTHER_USER)
        service = self.service()
        access_log = service.directory / "access"
        service.command += ["--access-log", str(access_log)]
        with service:
            self.check_works(service)
            for pid in self.all_pids(service):
                self.check_has_none(pid)
                status = status_of(pid)
                self.assertEqual(set(status["Uid"].split()), {str(user.pw_uid)})
                self.assertEqual(set(status["Gid"].split()), {str(user.pw_gid)})
                groups = os.getgrouplist(OTHER_USER, user.pw_gid)
                self.assertEqual(sorted(map(int, status["Groups"].split())), sorted(groups))
            service.kill_workers()
            self.check_works(service)
            made = access_log.stat()
            self.assertEqual((made.st_uid, stat.S_IMODE(made.st_mode)), (user.pw_uid, 0o640))

    @unittest.skipUnless(IS_ROOT, "only root can become another user")
    def test_what_that_user_may_not_read_is_said(self):
        service = self.service()
        service.mapping_path.chmod(0o600)
        status, _, log = service.fail()
        self.assertEqual(status, 1)
        self.assertIn("cannot read the mapping file", log)
        service.discard()

    @unittest.skipUnless(IS_ROOT, "only root can become another user")
    def test_cache_that_user_may_not_read_is_said(self):
        service = self.service()
        self.addCleanup(service.discard)
        service.cache_path.chmod(0o600)
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""), log)
        self.assertIn(f"cannot open the data cache {service.cache_path}: Permission denied", log)

    def test_spawner_and_workers_end_with_the_front(self):
        service = self.service() if IS_ROOT else OemService(*sample())
        with service:
            pids = self.all_pids(service)[1:]
            service.kill()
            await_ends(pids)

    @unittest.skipIf(IS_ROOT, "root stays root where root is named, the tests above name another user")
    def test_user_that_starts_it_may_be_named(self):
        with OemService(*sample(), ("--user", pwd.getpwuid(os.geteuid()).pw_name)) as service:
            self.check_works(service)

    @unittest.skipIf(IS_ROOT, "root can become anybody")
    def test_nobody_else_can_become_another_user(self):
        service = Service(*sample(), ("--user", "root"))
        status, _, log = service.fail()
        self.assertEqual(status, 1)
        self.assertIn("cannot become the user root", log)
        service.discard()

    def test_unknown_user_is_a_wrong_option(self):
        done = run_program(CIMGATED, "--user", "nobody-of-this-name")
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("--user", done.stderr)
        self.assertIn("give the name of a user", done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
