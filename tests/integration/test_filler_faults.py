#!/usr/bin/python3
"""What cimgate-cached does when something fails around it: object manager, disk, its own processes, mapping, who starts it."""

import contextlib
import os
import signal
import socket
import sqlite3
import subprocess
import time
import unittest
from pathlib import Path
from unittest import mock

from cache_reader import USER, CacheReader
from cim_object_manager import Class, InstancePath, ObjectManager, class_element, declaration
from cimgate_host import BASE, NO_OBJECT_MANAGER, member_entry, wait_until
from filler import UP_TO_DATE, Filler, reading_service
from filler_kills import READ_CLASSES, Generations, mapping
from footprint import is_sanitized
from own_address import own_address
from program import PATIENCE_S, run_program, state_of
from scripted_object_manager import ScriptedObjectManager, cim_error, http, response

TEXT = {"cim_type": "string"}
THING = InstancePath("XCIM_Thing", InstanceID="T.0")
# No refresh comes by itself while a test looks.
SELDOM = ("--interval", "3600")
STOPPED_S = 2.0  # a second, and what a machine with other work adds


def thing_entry(name="XCIM_Thing", **more):
    properties = {"A": TEXT} | more
    return member_entry(name.replace("XCIM_", "Vexo"), name, properties)


def instances(*names):
    """The answer to the enumeration of a class of things."""
    inner = "".join('<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME="XCIM_Thing"><KEYBINDING NAME="InstanceID">'
                    f'<KEYVALUE>{name}</KEYVALUE></KEYBINDING></INSTANCENAME><INSTANCE CLASSNAME="XCIM_Thing">'
                    f'<PROPERTY NAME="InstanceID" TYPE="string"><VALUE>{name}</VALUE></PROPERTY></INSTANCE>'
                    '</VALUE.NAMEDINSTANCE>' for name in names)
    return http(response("EnumerateInstances", f"<IRETURNVALUE>{inner}</IRETURNVALUE>"))


def answering(answer):
    """Bytes, or a function, that answer enumerations of instances; classes and names are not told."""
    def answer_to(request):
        if "CIMMethod: EnumerateInstances\r\n" not in request:
            return cim_error(7, "not supported", request.partition("CIMMethod: ")[2].partition("\r\n")[0])
        return answer(request) if callable(answer) else answer

    return answer_to


class FaultsTest(unittest.TestCase):
    maxDiff = None

    def filler(self, wanted, url, *options, **more):
        filler = Filler(wanted, url, options, **more)
        self.addCleanup(filler.discard)
        return filler

    def things(self, *options, count=3):
        """An object manager with things, which may go and come again, and a filler of them."""
        elements = Class("XCIM_Thing", {"InstanceID": "string", "A": "string"}).elements(
            [{"InstanceID": f"T.{i}", "A": "a"} for i in range(count)])
        manager = self.enterContext(ObjectManager({"repository.xml": declaration(elements)}, address=own_address()))
        return manager, self.filler(thing_entry(), manager.url, *(options or SELDOM))

    def scripted(self, answer, *options, wanted=None):
        manager = self.enterContext(ScriptedObjectManager(answer))
        return manager, self.filler(wanted or thing_entry(), manager.url, *(options or SELDOM))

    def check_stops_at_once(self, filler):
        begin = time.monotonic()
        filler.stop()
        self.assertLess(time.monotonic() - begin, STOPPED_S)
        self.assertEqual(filler.status()["state"], "stopped")

    def await_failure(self, filler, name="XCIM_Thing"):
        """Has it refresh, which must fail; returns what it says of the class."""
        before = filler.class_status(name)["failures"]
        filler.process.send_signal(signal.SIGHUP)
        return wait_until(lambda: (now := filler.class_status(name))["failures"] > before and now, "a failure")["error"]

    def keys(self, filler, name="XCIM_Thing"):
        return [key for key, in filler.table(name, "InstanceID")]


class Owner(FaultsTest):
    def test_second_filler_of_a_file_names_the_first_one(self):
        _, first = self.things()
        first.start_filled()
        second = self.filler(thing_entry(), NO_OBJECT_MANAGER, cache=first.cache_path)
        status, out, _ = second.fail()
        self.assertEqual((status, out, second.lines()),
                         (1, "", [f"cimgate-cached: process {first.process.pid} fills {first.cache_path} already: stop it first, "
                                  "or name another file with --cache"]))
        self.assertEqual((first.status()["pid"], first.status()["state"]), (first.process.pid, UP_TO_DATE))
        first.kill()
        second.process.stdout.close()
        second.start()
        second.await_line("cannot be reached")
        self.assertEqual(self.keys(second), ["T.0", "T.1", "T.2"])


class Stopping(FaultsTest):
    def test_stops_within_a_second_while_it_waits(self):
        _, filler = self.things()
        filler.start_filled()
        self.check_stops_at_once(filler)

    def test_stops_within_a_second_while_the_object_manager_stalls(self):
        manager, filler = self.scripted(None)
        filler.start()
        manager.await_request()
        self.check_stops_at_once(filler)

    def test_stops_within_a_second_while_its_own_process_is_stopped(self):
        _, filler = self.things()
        filler.start_filled()
        os.kill(filler.refresher(), signal.SIGSTOP)
        self.check_stops_at_once(filler)

    def test_other_signals_end_nothing(self):
        _, filler = self.things()
        filler.start_filled()
        for number in (signal.SIGUSR1, signal.SIGUSR2, signal.SIGQUIT, signal.SIGALRM, signal.SIGPIPE):
            filler.process.send_signal(number)
        filler.refresh()
        self.check_stops_at_once(filler)


class ObjectManagerFaults(FaultsTest):
    def test_object_manager_that_is_away_comes_goes_and_comes(self):
        manager, filler = self.things("--interval", "1")
        manager.kill()
        filler.start()
        away = "the CIM object manager cannot be reached: "
        back = "cimgate-cached: the CIM object manager can be reached again"
        filler.await_line(away)
        wait_until(lambda: filler.status()["state"].startswith(away), "the state")
        self.assertEqual((filler.ready(), filler.class_status("XCIM_Thing")["refreshed"]), ([], None))
        manager.start()
        filler.await_state(UP_TO_DATE)
        self.assertEqual(self.keys(filler), ["T.0", "T.1", "T.2"])
        manager.kill()
        filler.await_line(away, 2)
        wait_until(lambda: filler.status()["state"].startswith(away), "the state")
        told = filler.class_status("XCIM_Thing")
        self.assertEqual((told["rows"], told["ready"], self.keys(filler)), (3, True, ["T.0", "T.1", "T.2"]))
        self.assertIsNotNone(told["refreshed"])
        manager.start()
        filler.await_state(UP_TO_DATE)
        self.assertEqual([line.partition(away)[1] or line for line in filler.lines() if "rows in" not in line],
                         [away, back, away, back])

    def test_class_that_fails_is_tried_again_soon_and_told_once(self):
        manager, filler = self.scripted(answering(cim_error(1, "the provider fails", "EnumerateInstances")))
        filler.start()
        wait_until(lambda: filler.class_status("XCIM_Thing")["failures"] == 2 if filler.status()["classes"] else False,
                   "a second failure")
        manager.answer = answering(instances("T"))
        filler.await_state(UP_TO_DATE)
        self.assertEqual([line for line in filler.lines() if "row in" not in line],
                         ["cimgate-cached: XCIM_Thing (entry VexoThing): CIM status 1: the provider fails; it is not ready",
                          "cimgate-cached: XCIM_Thing: refreshed again after 2 failures"])

    def test_object_manager_that_fails_on_a_list_of_properties_is_asked_without_one(self):
        def answer(request):
            return cim_error(1, "no lists", "EnumerateInstances") if "PropertyList" in request else instances("T")

        manager, filler = self.scripted(answering(answer), "--interval", "1")
        filler.start_filled()
        asked = len(manager.requests)
        manager.await_request(asked + 1)
        self.assertEqual(self.keys(filler), ["T"])
        self.assertEqual(sum("PropertyList" in request for request in manager.requests), 1)
        self.assertEqual([line for line in filler.lines() if "row in" not in line], [])

    def test_answers_of_every_wrong_kind_leave_the_rows(self):
        good = instances("T.0", "T.1")
        manager, filler = self.scripted(answering(good))
        filler.start_filled()
        before = filler.class_status("XCIM_Thing")["refreshed"]
        whole = good.partition(b"\r\n\r\n")[2].decode()
        wrong = {"garbage": b"\x00\xff\x00 garbage\r\n\r\n", "no XML": http("garbage"), "nothing": http(""),
                 "half of it": http(whole[:len(whole) // 2]),
                 "HTML": http("<html></html>", content_type="text/html"), "an HTTP error": http("", status="500 Internal"),
                 "nobody let in": http("", status="401 Unauthorized"),
                 "a CIM error": cim_error(2, "denied", "EnumerateInstances"),
                 "no instances": http(response("EnumerateInstances", "<IRETURNVALUE><VALUE>7</VALUE></IRETURNVALUE>")),
                 "a wrong number": http(whole.replace('TYPE="string"', 'TYPE="uint8"')),
                 "bytes that are no UTF-8": http("").replace(b"Length: 0", b"Length: 4") + b"\xff<a>"}
        errors = set()
        for what, answer in wrong.items():
            with self.subTest(what=what):
                manager.answer = answering(answer)
                errors.add(self.await_failure(filler))
                self.assertEqual((self.keys(filler), filler.ready()), (["T.0", "T.1"], ["XCIM_Thing"]))
                told = filler.class_status("XCIM_Thing")
                self.assertEqual((told["rows"], told["ready"], told["refreshed"]), (2, True, before))
        manager.answer = answering(good)
        filler.refresh()
        lines = [line for line in filler.lines() if "rows in" not in line]
        for line in lines[:-1]:
            self.assertRegex(line, r"\Acimgate-cached: XCIM_Thing \(entry VexoThing\): .*; its 2 rows of \d+ s ago stay\Z")
        self.assertEqual(lines[-1], f"cimgate-cached: XCIM_Thing: refreshed again after {len(wrong)} failures")
        self.assertGreater(len(errors), 4)

    def test_answer_that_breaks_off_leaves_the_rows(self):
        good = instances("T.0", "T.1")
        manager = self.enterContext(ScriptedObjectManager(answering(good), close=True))
        filler = self.filler(thing_entry(), manager.url, *SELDOM)
        filler.start_filled()
        manager.answer = answering(good[:-100])
        self.await_failure(filler)
        self.assertEqual(self.keys(filler), ["T.0", "T.1"])

    def test_error_with_very_much_to_say_is_cut(self):
        manager, filler = self.scripted(answering(instances("T")))
        filler.start_filled()
        manager.answer = answering(cim_error(1, "é" * 500000, "EnumerateInstances"))
        error = self.await_failure(filler)
        self.assertTrue(error.startswith("CIM status 1: éé") and error.endswith("é..."), error)
        [line] = [line for line in filler.lines() if "CIM status 1" in line]
        self.assertLess(len(line), 1000)
        self.assertTrue(line.endswith("its 1 row of 0 s ago stay"), line[-100:])

    def test_stalling_object_manager_is_given_up_after_a_while(self):
        manager, filler = self.scripted(answering(instances("T")), "--refresh-timeout", "1", *SELDOM)
        filler.start_filled()
        former = filler.refresher()
        with manager.stalled():
            self.assertEqual(self.await_failure(filler), "a refresh took longer than 1 s")
        filler.await_other_refresher(former)
        filler.refresh()
        self.assertEqual(self.keys(filler), ["T"])

    def test_what_is_lost_is_told_once_however_many_instances_come(self):
        things = Class("XCIM_Thing", {"InstanceID": "string", "A": "real64"})
        manager = self.enterContext(ObjectManager({"repository.xml": declaration(things.elements(
            [{"InstanceID": "T.1", "A": 1.5}]))}))
        filler = self.filler(thing_entry(), manager.url, *SELDOM)
        filler.start_filled()
        manager.create("XCIM_Thing", {"InstanceID": ("string", "T.0"), "A": ("real64", 1.5)})
        filler.refresh()
        self.assertEqual(filler.class_status("XCIM_Thing")["losses"],
                         ["property A: a real is shown as a text (T.1 and 1 more)"])
        self.assertEqual([line for line in filler.lines() if "a real" in line],
                         ["cimgate-cached: XCIM_Thing (entry VexoThing): property A: a real is shown as a text (T.1)"])

    def test_class_that_changes_at_the_object_manager_is_seen_as_it_is_now(self):
        manager, filler = self.things()
        filler.write_mapping(thing_entry(B=TEXT))
        filler.start_filled()
        filler.await_line("property B: the object manager's class has no such property")
        manager.kill()
        things = Class("XCIM_Thing", {"InstanceID": "string", "A": "string", "B": "string"})
        (manager.repository / "repository.xml").write_text(declaration(things.elements([])), encoding="utf-8")
        filler.process.send_signal(signal.SIGHUP)
        filler.await_line("cannot be reached")
        manager.start()
        filler.await_state(UP_TO_DATE)
        self.assertEqual((filler.class_status("XCIM_Thing")["losses"], self.keys(filler)), ([], []))

    def test_class_that_fails_holds_up_no_other(self):
        def answer(request):
            if '"XCIM_Bad"' in request:
                return cim_error(1, "the provider fails", "EnumerateInstances")
            return instances("T")

        _, filler = self.scripted(answering(answer), wanted=thing_entry("XCIM_Bad") | thing_entry())
        filler.start()
        filler.await_state("1 class cannot be refreshed")
        self.assertEqual((filler.ready(), self.keys(filler)), (["XCIM_Thing"], ["T"]))
        self.assertEqual(filler.class_status("XCIM_Thing")["error"], "")

    def test_class_that_the_object_manager_forgets_keeps_its_rows(self):
        manager, filler = self.things()
        filler.start_filled()
        manager.kill()
        (manager.repository / "repository.xml").write_text(
            declaration([class_element("XCIM_Other", {"InstanceID": "string"}, ("InstanceID",))]), encoding="utf-8")
        manager.start()
        self.assertRegex(self.await_failure(filler), r"\ACIM status 5: ")
        self.assertEqual((self.keys(filler), filler.ready()), (["T.0", "T.1", "T.2"], ["XCIM_Thing"]))


class Processes(FaultsTest):
    def test_process_that_refreshes_is_replaced_when_it_ends(self):
        manager, filler = self.things()
        filler.start_filled()
        # With a sanitizer a process has its own way to end by a segmentation fault.
        crash = signal.SIGABRT if is_sanitized(filler.refresher()) else signal.SIGSEGV
        for number in (signal.SIGKILL, crash):
            former, text = filler.refresher(), f"signal {int(number)} ({signal.strsignal(number)})"
            os.kill(former, number)
            filler.await_line(f"the process that refreshes ended with {text}; it is tried again and again")
            filler.await_other_refresher(former)
            manager.modify(THING, {"A": ("string", text)})
            filler.refresh()
            self.assertEqual(filler.table("XCIM_Thing", "A")[0], (text,))

    def test_class_is_tried_again_whose_refresh_was_killed(self):
        manager, filler = self.scripted(answering(instances("T")))
        filler.start_filled()
        with manager.stalled():
            count = len(manager.requests)
            filler.process.send_signal(signal.SIGHUP)
            manager.await_request(count + 1)
            os.kill(filler.refresher(), signal.SIGKILL)
            filler.await_line("ended with signal 9 (Killed); its 1 row of ")
        filler.await_state(UP_TO_DATE)
        self.assertEqual(filler.class_status("XCIM_Thing")["failures"], 0)

    def test_process_that_hangs_is_replaced(self):
        _, filler = self.things("--refresh-timeout", "1", "--interval", "1")
        filler.start_filled()
        former = filler.refresher()
        os.kill(former, signal.SIGSTOP)
        filler.await_line("a refresh took longer than 1 s; its 3 rows of ")
        filler.await_other_refresher(former)
        filler.await_state(UP_TO_DATE)

    def test_process_that_refreshes_goes_with_the_other_one(self):
        _, filler = self.things()
        filler.start_filled()
        refresher = filler.refresher()
        filler.kill()
        wait_until(lambda: not state_of(refresher), "its end")


class Disk(FaultsTest):
    @contextlib.contextmanager
    def small_disk(self, size):
        directory = self.filler(thing_entry(), NO_OBJECT_MANAGER).directory / "disk"
        directory.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size},mode=755", "tmpfs", str(directory)], check=True)
        try:
            yield directory
        finally:
            subprocess.run(["umount", "--lazy", str(directory)], check=True)

    def test_full_disk_leaves_the_file_as_it_is_and_what_is_missing_comes_when_there_is_room(self):
        manager = self.enterContext(ScriptedObjectManager(Generations()))
        with self.small_disk("4m") as directory:
            filler = self.filler(mapping(), manager.url, *SELDOM, cache=directory / "cache.db")
            filler.start_filled()
            ballast = directory / "ballast"
            with CacheReader(filler.cache_path, READ_CLASSES, is_lasting=True, pause_s=0.01) as reader:
                before = reader.read()
                with ballast.open("wb", buffering=0) as file, contextlib.suppress(OSError):
                    while file.write(b"x" * 4096) == 4096:
                        pass
                filler.process.send_signal(signal.SIGHUP)
                filler.await_line("the data cache cannot be written: database or disk is full; its 300 rows of ")
                self.assertEqual(reader.read()["XCIM_Large"], before["XCIM_Large"])
                ballast.unlink()
                filler.refresh()
                self.assertGreater(reader.read()["XCIM_Large"], before["XCIM_Large"])
                self.assertIsNone(reader.stop()["fault"])
            self.assertEqual(filler.rows("pragma integrity_check"), [("ok",)])
            filler.stop()

    def test_file_that_is_removed_is_made_anew(self):
        _, filler = self.things("--interval", "1")
        filler.start_filled()
        with reading_service(filler) as service:
            uri = f"{BASE}/VexoThing/T.0"
            self.assertEqual(service.get(uri).status, 200)
            former = filler.cache_path.stat().st_ino
            filler.cache_path.unlink()
            wait_until(lambda: filler.cache_path.exists() and filler.ready() == ["XCIM_Thing"], "the file")
            self.assertNotEqual(filler.cache_path.stat().st_ino, former)
            self.assertEqual(self.keys(filler), ["T.0", "T.1", "T.2"])
            self.assertEqual([line for line in filler.lines() if "rows in" not in line],
                             [f"cimgate-cached: {filler.cache_path} has been removed or replaced: it is made and filled anew"])
            self.assertEqual(service.get(uri).status, 200)

    def test_file_of_another_program_in_its_place_is_left_alone_and_told(self):
        _, filler = self.things("--interval", "1")
        filler.start_filled()
        with contextlib.closing(sqlite3.connect(filler.directory / "theirs")) as connection:
            connection.execute("create table theirs (a)")
        theirs = (filler.directory / "theirs").read_bytes()
        (filler.directory / "theirs").rename(filler.cache_path)
        for suffix in ("-wal", "-shm"):
            Path(f"{filler.cache_path}{suffix}").unlink()
        filler.await_line("another program has made it")
        wait_until(lambda: "another program has made it" in filler.status()["state"], "the state")
        self.assertEqual(filler.cache_path.read_bytes(), theirs)
        filler.cache_path.unlink()
        filler.await_state(UP_TO_DATE)
        self.assertEqual(self.keys(filler), ["T.0", "T.1", "T.2"])

    def test_status_that_cannot_be_written_is_told_once_and_ends_nothing(self):
        manager, filler = self.things()
        filler.start_filled()
        filler.status_path.unlink()
        filler.status_path.mkdir()
        manager.modify(THING, {"A": ("string", "b")})
        filler.process.send_signal(signal.SIGHUP)
        wait_until(lambda: filler.table("XCIM_Thing", "A")[0] == ("b",), "the change")
        [line] = filler.await_line("cannot write ")
        self.assertIn(str(filler.status_path), line)
        manager.modify(THING, {"A": ("string", "c")})
        filler.process.send_signal(signal.SIGHUP)
        wait_until(lambda: filler.table("XCIM_Thing", "A")[0] == ("c",), "the change")
        filler.status_path.rmdir()
        filler.process.send_signal(signal.SIGHUP)
        filler.await_state(UP_TO_DATE)
        self.assertEqual(len(filler.await_line("cannot write ")), 1)


class Mapping(FaultsTest):
    def test_new_column_makes_a_class_wait_until_it_is_filled(self):
        manager, filler = self.scripted(answering(instances("T")))
        filler.start_filled()
        with reading_service(filler) as service:
            self.assertEqual(service.get(f"{BASE}/VexoThing/T").status, 200)
            with manager.stalled():
                filler.write_mapping(thing_entry(B=TEXT))
                filler.process.send_signal(signal.SIGHUP)
                wait_until(lambda: filler.ready() == [], "the class to be not ready")
                self.assertEqual(self.keys(filler), ["T"])
                self.assertEqual(service.get(f"{BASE}/VexoThing/T").status, 503)
                wait_until(lambda: filler.class_status("XCIM_Thing")["ready"] is False, "the status")
            wait_until(lambda: filler.ready() == ["XCIM_Thing"], "the class to be ready")
            self.assertEqual(filler.table("XCIM_Thing", "InstanceID", "A", "B"), [("T", None, None)])
            self.assertEqual(service.get(f"{BASE}/VexoThing/T").status, 200)

    def test_new_column_is_filled(self):
        things = Class("XCIM_Thing", {"InstanceID": "string", "A": "string", "B": "uint32"})
        elements = things.elements([{"InstanceID": f"T.{i}", "A": "a", "B": i} for i in range(3)])
        manager = self.enterContext(ObjectManager({"repository.xml": declaration(elements)}))
        filler = self.filler(thing_entry(), manager.url, *SELDOM)
        filler.start_filled()
        numbers = filler.table("XCIM_Thing", "rowid")
        filler.refresh(thing_entry(B={"cim_type": "uint32"}))
        self.assertEqual(filler.table("XCIM_Thing", "A", "B"), [("a", 0), ("a", 1), ("a", 2)])
        self.assertEqual(filler.table("XCIM_Thing", "rowid"), numbers)
        self.assertEqual(filler.ready(), ["XCIM_Thing"])

    def check_never_ends_a_reader(self, before, after, uri, expected):
        """A mapping that reads the cells that are there otherwise, while the object manager is away, and when it is back."""
        things = Class("XCIM_Thing", {"InstanceID": "string", "Number": "uint32", "List": "uint32[]"})
        elements = things.elements([{"InstanceID": f"T.{i}", "Number": i, "List": [i, i]} for i in range(3)])
        manager = self.enterContext(ObjectManager({"repository.xml": declaration(elements)}, address=own_address()))
        filler = self.filler(before, manager.url, *SELDOM)
        filler.fill()
        manager.kill()
        filler.write_mapping(after)
        filler.start()
        filler.await_line("cannot be reached")
        with reading_service(filler) as service:
            self.assertEqual(service.get(uri).status, 503)
            manager.start()
            filler.refresh()
            answer = service.get(uri)
            self.assertEqual((answer.status, {name: answer.json().get(name) for name in expected}), (200, expected))
            self.assertNotIn("ended by signal", service.log())

    def test_types_that_change_end_no_reader(self):
        def entry(kind):
            return member_entry("VexoThing", "XCIM_Thing", {"Number": {"cim_type": kind}, "List": {"cim_type": kind}})

        expected = {"Number": "1", "List": ["1", "1"]}
        self.check_never_ends_a_reader(entry("uint32"), entry("string"), f"{BASE}/VexoThing/T.1", expected)

    def test_integer_key_that_is_not_mapped_any_more_ends_no_reader(self):
        number = {"cim_type": "uint32"}
        before = member_entry("VexoThing", "XCIM_Thing", {"Number": number}, key="Number")
        after = member_entry("VexoThing", "XCIM_Thing", {"InstanceID": TEXT}, key="Number")
        self.check_never_ends_a_reader(before, after, f"{BASE}/VexoThing/1", {"InstanceID": "T.1"})

    def test_former_integer_key_that_is_shown_as_a_text_ends_no_reader(self):
        before = member_entry("VexoThing", "XCIM_Thing", {"Number": {"cim_type": "uint32"}}, key="Number")
        after = member_entry("VexoThing", "XCIM_Thing", {"Number": TEXT})
        self.check_never_ends_a_reader(before, after, f"{BASE}/VexoThing/T.1", {"Number": "1"})

    def test_key_becomes_a_property_that_many_have_alike(self):
        manager, filler = self.things()
        filler.start_filled()
        entry = member_entry("VexoThing", "XCIM_Thing", {"InstanceID": TEXT}, key="A")
        filler.refresh(entry)
        self.assertEqual(filler.table("XCIM_Thing", "A"), [("a",)])
        filler.await_line("another one has the same key (a and 1 more)")
        filler.refresh(thing_entry())
        self.assertEqual(self.keys(filler), ["T.0", "T.1", "T.2"])
        manager.stop()

    def test_broken_mapping_changes_nothing(self):
        manager, filler = self.things()
        filler.start_filled()
        refresher = filler.refresher()
        filler.write_mapping("{")
        filler.process.send_signal(signal.SIGHUP)
        [line] = filler.await_line("is not a JSON object")
        self.assertRegex(line, r"\Acimgate-cached: the mapping file .*; the former mapping holds\Z")
        self.assertEqual(filler.refresher(), refresher)
        manager.modify(THING, {"A": ("string", "b")})
        filler.refresh(thing_entry())
        self.assertEqual(filler.table("XCIM_Thing", "A")[0], ("b",))

    def test_class_that_is_not_wanted_any_more_stays_and_is_not_told_of(self):
        _, filler = self.things()
        filler.start_filled()
        filler.write_mapping({})
        filler.process.send_signal(signal.SIGHUP)
        wait_until(lambda: filler.status()["classes"] == [], "the mapping")
        self.assertEqual((self.keys(filler), filler.ready()), (["T.0", "T.1", "T.2"], ["XCIM_Thing"]))


class Compact(FaultsTest):
    def filled_with_more(self):
        """A filler whose file has a table, a column and links that its mapping does not want any more."""
        elements = [*Class("XCIM_Thing", {"InstanceID": "string", "A": "string", "B": "string"}).elements(
                        [{"InstanceID": "T", "A": "a", "B": "b"}]),
                    *Class("XCIM_Other", {"InstanceID": "string", "A": "string"}).elements([{"InstanceID": "O", "A": "a"}])]
        manager = self.enterContext(ObjectManager({"repository.xml": declaration(elements)}))
        filler = self.filler(thing_entry(B=TEXT) | thing_entry("XCIM_Other"), manager.url)
        filler.fill()
        filler.write_mapping(thing_entry())
        return filler

    def columns(self, filler, name):
        return sorted(column for column, in filler.rows("select name from pragma_table_info(?)", f"Tbl_{name}"))

    def test_what_is_not_wanted_any_more_is_removed(self):
        filler = self.filled_with_more()
        filler.fill()
        self.assertEqual(self.columns(filler, "XCIM_Thing"), ["A", "B", "InstanceID"])
        status, out, lines = filler.once("--compact")
        self.assertEqual((status, lines), (0, []))
        self.assertRegex(out, r"\Aremoved Tbl_XCIM_Other\nremoved Tbl_XCIM_Thing.B\n"
                              r"XCIM_Thing: 1 row, 0 written, in \d+ ms\n\Z")
        self.assertEqual((self.columns(filler, "XCIM_Thing"), self.columns(filler, "XCIM_Other")), (["A", "InstanceID"], []))
        self.assertEqual(filler.ready(), ["XCIM_Thing"])
        indexes = filler.rows("select name from sqlite_master where type = 'index' and tbl_name = 'Tbl_XCIM_Thing'")
        self.assertEqual(indexes, [("Idx_Tbl_XCIM_Thing__key",)])
        self.check_read_by_another_user(filler)

    def check_read_by_another_user(self, filler):
        filler.directory.chmod(0o755)
        source = ("import sqlite3, sys; print(*sqlite3.connect(f'file:{sys.argv[1]}?mode=ro', uri=True)"
                  ".execute('select InstanceID, A from Tbl_XCIM_Thing').fetchall())")
        done = run_program("setpriv", f"--reuid={USER}", "--clear-groups", "/usr/bin/python3", "-c", source, filler.cache_path)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "('T', 'a')\n", ""))

    def test_refuses_while_a_service_has_the_file_open(self):
        filler = self.filled_with_more()
        with reading_service(filler) as service:
            self.assertEqual(service.get(f"{BASE}/VexoThing/T").status, 200)
            status, out, [line] = filler.once("--compact")
            self.assertEqual((status, out), (1, ""))
            self.assertIn("a service has it open: stop it first", line)
            self.assertEqual(self.columns(filler, "XCIM_Other"), ["A", "InstanceID"])
            self.assertEqual(service.get(f"{BASE}/VexoThing/T").status, 200)
        self.check_read_by_another_user(filler)
        self.assertEqual(filler.once("--compact")[0], 0)


class Surroundings(FaultsTest):
    def test_progress_on_a_terminal(self):
        _, filler = self.things()
        controller, terminal = os.openpty()
        filler.command = ["sh", "-c", f'exec "$0" "$@" 2>{os.ttyname(terminal)}', *filler.command]
        filler.start_filled()
        filler.stop()
        os.close(terminal)
        self.assertRegex(os.read(controller, 4096).decode(),
                         r"\A(\r0 of 1 classes, 0 rows, \d\.\d s)+\r1 of 1 classes, 3 rows, \d\.\d s\r\n\Z")
        os.close(controller)

    def test_service_manager_is_told(self):
        manager, filler = self.things()
        address = str(filler.directory / "notify")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as told:
            told.bind(address)
            told.settimeout(PATIENCE_S)
            with mock.patch.dict(os.environ, NOTIFY_SOCKET=address):
                filler.start_filled()
            filler.stop()
            told.setblocking(False)
            messages = []
            with contextlib.suppress(BlockingIOError):
                while True:
                    messages.append(told.recv(4096).decode())
        self.assertEqual(messages.count("READY=1"), 1)
        statuses = [message for message in messages if message.startswith("STATUS=")]
        self.assertEqual((statuses[0], statuses[-1]), ("STATUS=loading, 0 of 1 classes done", f"STATUS={UP_TO_DATE}"))
        self.assertEqual(messages[-1], "STOPPING=1")
        self.assertIsNone(manager.process.poll())

    def test_standard_error_that_nobody_reads_stops_nothing(self):
        manager, filler = self.things("--log-level", "4", *SELDOM)
        unread, log = os.pipe()
        os.set_blocking(log, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(log, b"x" * 4096)
        os.set_blocking(log, True)
        filler.command = ["sh", "-c", f'exec "$0" "$@" 2>/proc/{os.getpid()}/fd/{log}', *filler.command]
        filler.start_filled()
        manager.modify(THING, {"A": ("string", "b")})
        filler.refresh()
        self.assertEqual(filler.table("XCIM_Thing", "A")[0], ("b",))
        filler.write_mapping("{")
        filler.process.send_signal(signal.SIGHUP)
        filler.refresh(thing_entry())
        self.check_stops_at_once(filler)
        os.close(log)
        os.close(unread)

    def test_closed_standard_error_stops_nothing(self):
        manager, filler = self.things("--log-level", "4", *SELDOM)
        filler.command = ["sh", "-c", 'exec "$0" "$@" 2>&-', *filler.command]
        filler.start_filled()
        manager.modify(THING, {"A": ("string", "b")})
        filler.refresh()
        self.assertEqual(filler.table("XCIM_Thing", "A")[0], ("b",))
        self.assertEqual(filler.rows("pragma integrity_check"), [("ok",)])
        self.check_stops_at_once(filler)


if __name__ == "__main__":
    unittest.main(verbosity=2)
