#!/usr/bin/python3
"""cimgate cache: what cimgate-cached has told, from the shell."""

import contextlib
import datetime
import fcntl
import json
import os
import tempfile
import unittest
from pathlib import Path

from filler import UP_TO_DATE, Filler
from program import run_program
from sample_system import MAPPING_FILE, sample_object_manager

CIMGATE = os.environ["CIMGATE"]
CIMGATED = os.environ["CIMGATED"]


def stamp(age_s):
    """As the status file has times."""
    time = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(seconds=age_s)
    return time.strftime("%Y-%m-%dT%H:%M:%S.000Z")


def cim_class(name="XCIM_Fan", age_s=620, **more):
    refreshed = None if age_s is None else stamp(age_s)
    return {"name": name, "rows": 6, "ready": True, "interval_s": 60, "refreshed": refreshed, "duration_ms": 40,
            "changed": 1, "failures": 0, "error": "", "losses": []} | more


def status(*classes, **more):
    return {"pid": 411, "started": stamp(7200), "written": stamp(0), "mapping": "/map.json", "cache": "/cache.db",
            "object_manager": "http://127.0.0.1:5988", "state": "waiting", "classes": list(classes)} | more


class CacheCommand(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="cimgate-test-")  # pylint: disable=consider-using-with
        self.addCleanup(directory.cleanup)
        self.cache = Path(directory.name) / "cache.db"
        self.status_path = Path(f"{self.cache}.status")
        self.lock_path = Path(f"{self.cache}.lock")

    def run_command(self, told, *options):
        self.status_path.write_text(told if isinstance(told, str) else json.dumps(told), encoding="utf-8")
        done = run_program(CIMGATE, "cache", "--cache", self.cache, *options)
        self.assertEqual(done.stderr, "")
        return done

    @contextlib.contextmanager
    def filler(self):
        with self.lock_path.open("w") as lock:
            fcntl.lockf(lock, fcntl.LOCK_EX)
            yield

    def rows(self, told):
        """The table: the words of each line behind the headings."""
        table = self.run_command(told).stdout.split("\n\n")[1].splitlines()
        self.assertEqual(table[0].split(), ["CLASS", "ROWS", "READY", "AGE", "EVERY", "ERROR"])
        return table[1:]

    def test_table_has_a_line_for_each_class(self):
        lines = self.rows(status(cim_class(), cim_class("XCIM_ComputerSystem", 150, rows=12345),
                                 cim_class("XCIM_New", None, rows=0, ready=False, interval_s=600)))
        self.assertEqual([line.split() for line in lines],
                         [["XCIM_Fan", "6", "yes", "10", "min", "60", "s"],
                          ["XCIM_ComputerSystem", "12345", "yes", "2", "min", "60", "s"],
                          ["XCIM_New", "0", "no", "-", "10", "min"]])
        self.assertEqual({line.index(word) + len(word) for line, word in zip(lines, [" 6 ", "12345 ", " 0 "])},
                         {lines[1].index("12345") + 6}, "numbers stand below each other")

    def test_what_failed_last_stands_behind_the_class(self):
        self.assertRegex(self.rows(status(cim_class(failures=1, error="the object manager is away")))[0],
                         r"60 s  the object manager is away\Z")
        self.assertRegex(self.rows(status(cim_class(failures=3, error="away")))[0], r"away \(3 times\)\Z")

    def test_ages(self):
        for age_s, text in ((0, "[0-9] s"), (90, "9[0-9] s"), (125, "2 min"), (7100, "118 min"), (7300, "2 h"),
                            (172000, "47 h"), (173000, "2 d"), (-100, "0 s")):
            with self.subTest(age_s=age_s):
                self.assertRegex(self.rows(status(cim_class(age_s=age_s)))[0], f"yes +{text} +60 s")

    def test_what_is_not_stored_as_it_is_stands_below(self):
        done = self.run_command(status(cim_class(losses=["Speed: a real", "Mark: char16"]), cim_class("XCIM_Good")))
        self.assertTrue(done.stdout.endswith("\n\nNot stored as it is:\n  XCIM_Fan: Speed: a real\n"
                                             "  XCIM_Fan: Mark: char16\n"), done.stdout)
        self.assertNotIn("Not stored", self.run_command(status(cim_class())).stdout)

    def test_control_characters_do_not_reach_the_terminal(self):
        done = self.run_command(status(cim_class(failures=1, error="a\x1b[2Jb\nc", losses=["d\x07\te"])))
        self.assertIn("a [2Jb c", done.stdout)
        self.assertIn("d  e", done.stdout)

    def test_status_is_0_only_where_all_classes_are_ready_and_none_fails(self):
        for told, expected in ((status(cim_class(), cim_class()), 0), (status(), 0),
                               (status(cim_class(), cim_class(ready=False)), 1),
                               (status(cim_class(failures=1, error="away")), 1)):
            for options in ([], ["--json"]):
                self.assertEqual(self.run_command(told, *options).returncode, expected, told)

    def test_says_whether_the_filler_runs(self):
        told = status(cim_class(), written=stamp(600))
        resting = "cimgate-cached  does not run, and has told this 10 min ago\n"
        self.assertIn(resting, self.run_command(told).stdout)
        with self.filler():
            self.assertIn("cimgate-cached  runs, process 411, waiting\n", self.run_command(told).stdout)
            self.assertIs(json.loads(self.run_command(told, "--json").stdout)["running"], True)
        self.assertIn(resting, self.run_command(told).stdout, "a lock file without a lock")
        self.assertIs(json.loads(self.run_command(told, "--json").stdout)["running"], False)

    def test_says_what_the_cache_is_filled_from(self):
        self.assertIn("object manager  http://127.0.0.1:5988\n", self.run_command(status()).stdout)
        self.assertIn("object manager  the local one\n", self.run_command(status(object_manager="")).stdout)

    def test_json_is_the_status_with_ages(self):
        told = status(cim_class(losses=["Speed: a real"]), cim_class("XCIM_New", None))
        done = self.run_command(told, "--json")
        answer = json.loads(done.stdout)
        ages = [one.pop("age_s") for one in answer["classes"]]
        self.assertIn(ages[0], range(620, 680))
        self.assertIsNone(ages[1])
        self.assertIs(answer.pop("running"), False)
        self.assertEqual(answer, told)

    def test_what_later_versions_tell_is_passed_over(self):
        told = status(cim_class(pages=[1]), more={})
        self.assertEqual(self.run_command(told).returncode, 0)

    def test_without_a_status_it_says_what_to_do(self):
        def check(*hints):
            done = run_program(CIMGATE, "cache", "--cache", self.cache)
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertRegex(done.stderr, r"\Acimgate cache: [^\n]+\n\Z")
            for hint in (str(self.status_path), "cimgate-cached", *hints):
                self.assertIn(hint, done.stderr)

        check("No such file")
        for text in ("", "[]", '{"pid": 1', "{} {}"):
            self.status_path.write_text(text, encoding="utf-8")
            check("no status")

    def test_of_a_status_that_may_not_be_read_it_says_who_may(self):
        self.status_path.write_text(json.dumps(status(cim_class())), encoding="utf-8")
        self.status_path.chmod(0)
        # An administrator may read any file, unless he gives that right up.
        in_front = ["setpriv", "--bounding-set=-all"] if os.geteuid() == 0 else []
        done = run_program(*in_front, CIMGATE, "cache", "--cache", self.cache)
        self.assertEqual((done.returncode, done.stdout, done.stderr),
                         (1, "", f"cimgate cache: {self.status_path}: Permission denied; ask as a user who may read this file and "
                                 "search its directory\n"))

    def test_the_data_cache_is_that_of_the_service_unless_it_is_named(self):
        default = "/var/run/cmpidatacache/CMPI_DataCache.db"
        for command in ((CIMGATED,), (CIMGATE, "cache")):
            self.assertIn(f"(default {default})", run_program(*command, "--help").stdout)

    def test_wrong_usage(self):
        for arguments in (["file"], ["--cache"], ["--jsn"]):
            done = run_program(CIMGATE, "cache", *arguments)
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertRegex(done.stderr, r"\Acimgate cache: [^\n]+\n\Z")

    def test_a_full_standard_output_is_a_failure(self):
        self.status_path.write_text(json.dumps(status(cim_class())), encoding="utf-8")
        done = run_program("sh", "-c", 'exec "$0" "$@" >/dev/full', CIMGATE, "cache", "--cache", self.cache)
        self.assertEqual((done.returncode, done.stderr), (1, "cimgate cache: cannot write to standard output\n"))


class OfTheSample(unittest.TestCase):
    def test_it_tells_what_a_filler_has_done(self):
        mapping = MAPPING_FILE.read_text(encoding="utf-8")
        with sample_object_manager() as manager, Filler(mapping, manager.url) as filler:
            filler.await_state(UP_TO_DATE)
            done = run_program(CIMGATE, "cache", "--cache", filler.cache_path, "--json")
            told = json.loads(done.stdout)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertEqual((told["running"], told["pid"], told["object_manager"]),
                             (True, filler.process.pid, manager.url))
            rows = {one["name"]: one["rows"] for one in told["classes"]}
            self.assertEqual((len(rows), rows["XCIM_DiskDrive"], rows["XCIM_StorageVolume"]), (10, 120, 0))
            self.assertTrue(all(one["ready"] and one["age_s"] < 60 for one in told["classes"]), told)
            self.assertEqual(run_program(CIMGATE, "cache", "--cache", filler.cache_path).returncode, 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
