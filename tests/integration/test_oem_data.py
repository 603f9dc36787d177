#!/usr/bin/python3
"""What containers embed, end to end: how the id finds each instance, and what an answer shows of it."""

import json
import unittest

from cimgate_host import BASE, array_cell, wait_until, write_cache
from oem_client import BY_ID, TEXT, OemService, OemTest, container_entry, embedded_data, embedded_entry, request_text

DRIVE_ID = "Disk.Bay.0:Enclosure.2"

FIVE = {"VexoDrive": BY_ID,
        "VexoEnclosure": (r":(Enclosure\.[0-9]+)$", ""),
        "VexoFan": ("", "DriveID = '#p1'"),
        "VexoSlot": (r"^Disk\.Bay\.([0-9]+):Enclosure\.([0-9]+)$", "Bay = '#p1' and Box = '#p2'"),
        "VexoWarranty": BY_ID}

# All of them say the same of a drive.
COPIES = ("VexoA", "VexoB", "VexoC", "VexoD", "VexoE", "VexoF", "VexoG", "VexoZ")


def resources():
    number = {"cim_type": "uint64"}
    media = {"cim_type": "uint16", "alias": "MediaType", "value_mapping": {"1": "HDD", "2": "SSD"}}
    mapping = embedded_entry("VexoDrive", "XCIM_Drive", {"DeviceID": TEXT, "Size": number, "Media": media,
                                                         "Tags": TEXT}, "DeviceID")
    mapping |= embedded_entry("VexoEnclosure", "XCIM_Enclosure", {"Tag": TEXT, "Label": TEXT}, "Tag")
    mapping |= embedded_entry("VexoFan", "XCIM_Fan", {"FanID": TEXT}, "FanID")
    mapping |= embedded_entry("VexoSlot", "XCIM_Slot", {"SlotID": TEXT, "Bay": TEXT}, "SlotID")
    mapping |= embedded_entry("VexoWarranty", "XCIM_Warranty", {"Years": {"cim_type": "uint8"}}, "DriveID")
    mapping |= embedded_entry("VexoPSU", "XCIM_PSU", {"Number": TEXT, "Watts": {"cim_type": "uint32"}}, "Number")
    for name in COPIES:
        mapping |= embedded_entry(name, "XCIM_Enclosure", {"Tag": TEXT}, "Tag")
    return mapping


def containers():
    mapping = container_entry("DriveOem", **FIVE)
    mapping |= container_entry("ById", VexoDrive=BY_ID)
    mapping |= container_entry("ByExpression", VexoEnclosure=FIVE["VexoEnclosure"])
    mapping |= container_entry("ByQuery", VexoFan=FIVE["VexoFan"])
    mapping |= container_entry("ByExpressionAndQuery", VexoPSU=(r"^PSU\.Slot\.([0-9]+)$", "Number = '#p1'"))
    mapping |= container_entry("ByPlaceholderGivenTwice", VexoFan=("", "FanID = '#p1' or DriveID = '#p1'"))
    mapping |= container_entry("Backwards", **{name: BY_ID for name in reversed(COPIES)})
    mapping |= container_entry("Nothing")
    mapping |= {"NoInstances": {}, "OddInstances": {"instances": 5}, "Odd": 5, "OddList": []}
    mapping |= {"Plain": {"instances": {"VexoDrive": {}}}}
    mapping |= container_entry(
        "Partly", VexoA=BY_ID, VexoB=("(", ""), VexoC=("^Disk", "Tag = '#p1'"), VexoD=("", "NoColumn = '#p1'"),
        VexoE=("", "Tag = '#p1"), VexoF=("^Enc", ""), VexoG=("", "Tag = '#p1' and Tag = 'other'"),
        VexoNowhere=BY_ID, VexoZ=BY_ID)
    return mapping


def classes(label="left"):
    return {"XCIM_Drive": (["DeviceID", "Size", "Media", "Tags"],
                           [(DRIVE_ID, 4_000_000_000_000, 2, array_cell(1, ["hot", "new"])),
                            ("Disk.Bay.1:Enclosure.2", 1, 1, None), ("Lonely", 7, 1, None),
                            ("Latin", 3, 1, array_cell(1, ["x"]).replace(b"x", b"caf\xe9"))]),
            "XCIM_Enclosure": (["Tag", "Label"], [("Enclosure.1", "right"), ("Enclosure.2", label)]),
            "XCIM_Fan": (["FanID", "DriveID"], [("Fan.1", "other"), ("Fan.2", DRIVE_ID)]),
            "XCIM_Slot": (["SlotID", "Bay", "Box"], [("S.1", "0", "1"), ("S.2", "0", "2"), ("S.3", "2", "0")]),
            "XCIM_Warranty": (["DriveID", "Years"], [(DRIVE_ID, 5)]),
            "XCIM_PSU": (["Number", "Watts"], [("1", 800), ("2", 1400)])}


def sample():
    return resources() | containers(), {"classes": classes()}


DRIVE = embedded_data("VexoDrive", DRIVE_ID, DeviceID=DRIVE_ID, Size=4_000_000_000_000, MediaType="SSD",
                      Tags=["hot", "new"])
ENCLOSURE = embedded_data("VexoEnclosure", "Enclosure.2", Tag="Enclosure.2", Label="left")
FAN = embedded_data("VexoFan", "Fan.2", FanID="Fan.2")
SLOT = embedded_data("VexoSlot", "S.2", SlotID="S.2", Bay="0")
WARRANTY = embedded_data("VexoWarranty", DRIVE_ID, Years=5)


class Modes(OemTest):
    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(OemService(*sample()))

    def check(self, container, instance_id, expected):
        self.assertEqual(self.service.ask(container, instance_id), expected)

    def test_id_is_the_key(self):
        self.check("ById", DRIVE_ID, {"VexoDrive": DRIVE})

    def test_expression_makes_the_key_of_the_id(self):
        self.check("ByExpression", DRIVE_ID, {"VexoEnclosure": ENCLOSURE})

    def test_query_has_the_id_in_it(self):
        self.check("ByQuery", DRIVE_ID, {"VexoFan": FAN})

    def test_query_has_parts_of_the_id_in_it(self):
        expected = {"VexoPSU": embedded_data("VexoPSU", "2", Number="2", Watts=1400)}
        self.check("ByExpressionAndQuery", "PSU.Slot.2", expected)

    def test_expression_and_query_do_without_letter_case(self):
        self.check("ByExpressionAndQuery", "psu.slot.2",
                   {"VexoPSU": embedded_data("VexoPSU", "2", Number="2", Watts=1400)})
        self.check("ByQuery", DRIVE_ID.lower(), {"VexoFan": FAN})

    def test_key_does_not_do_without_letter_case(self):
        self.check("ById", DRIVE_ID.lower(), {})

    def test_only_the_first_of_a_placeholder_is_filled(self):
        self.check("ByPlaceholderGivenTwice", "Fan.1", {"VexoFan": embedded_data("VexoFan", "Fan.1", FanID="Fan.1")})
        self.check("ByPlaceholderGivenTwice", DRIVE_ID, {})

    def test_five_resources_in_one_answer(self):
        self.check("DriveOem", DRIVE_ID, {"VexoDrive": DRIVE, "VexoEnclosure": ENCLOSURE, "VexoFan": FAN,
                                          "VexoSlot": SLOT, "VexoWarranty": WARRANTY})

    def test_embedded_data_is_what_a_read_over_http_shows_without_what_describes_the_resource(self):
        over_http = self.service.get(f"{BASE}/VexoDrive/{DRIVE_ID}").json()
        for name in ("Id", "Name", "Description"):
            del over_http[name]
        self.check("ById", DRIVE_ID, {"VexoDrive": over_http})

    def test_members_are_in_the_order_of_their_names(self):
        self.assertEqual(list(self.service.ask("Backwards", "Enclosure.1")), sorted(COPIES))

    def test_answer_is_one_line_of_json(self):
        answer = self.service.ask_raw(request_text("DriveOem", DRIVE_ID))
        self.assertEqual(len(json.loads(answer)), 5)
        self.assertNotRegex(answer, rb"[\r\n\0]")

    def test_id_without_data_is_an_empty_object(self):
        self.check("DriveOem", "Nothing.0", {})
        self.assertEqual(self.service.ask_raw(request_text("ById", "Nothing.0")), b"{}")

    def test_container_without_resources_is_an_empty_object(self):
        for container in ("Nothing", "NoInstances", "OddInstances", "Odd", "OddList"):
            with self.subTest(container=container):
                self.assertEqual(self.service.ask_raw(request_text(container, DRIVE_ID)), b"{}")

    def test_resource_without_expression_and_query_in_the_mapping_is_found_by_the_id(self):
        self.check("Plain", DRIVE_ID, {"VexoDrive": DRIVE})

    def test_any_entry_may_be_asked_for(self):
        self.check("VexoDrive", DRIVE_ID, {})

    def test_resources_that_have_no_data_for_the_id_are_left_out(self):
        self.check("DriveOem", "Lonely", {"VexoDrive": embedded_data("VexoDrive", "Lonely", DeviceID="Lonely", Size=7,
                                                                     MediaType="HDD", Tags=None)})

    def test_resources_that_cannot_be_read_are_left_out_and_logged(self):
        tag = "Enclosure.2"
        self.check("Partly", tag, {name: embedded_data(name, tag, Tag=tag) for name in ("VexoA", "VexoZ")})
        log = self.service.log()
        for line in ("CheckResource Failed for VexoNowhere. Ignored!", "REGEX Compilation failed for '('",
                     "REGEX Failed! Ignore and continue!", "Failed to match regex",
                     "SQL Prepare statement failed for select Tag,Tag from Tbl_XCIM_Enclosure where NoColumn = "
                     f"'{tag}' COLLATE NOCASE",
                     "SQL Prepare statement failed for select Tag,Tag from Tbl_XCIM_Enclosure where Tag = "
                     f"'{tag} COLLATE NOCASE"):
            self.assertIn(line, log)

    def test_text_that_is_not_utf_8_in_the_cache(self):
        answer = self.service.ask_raw(request_text("ById", "Latin"))
        self.assertEqual(json.loads(answer.decode("utf-8"))["VexoDrive"]["Size"], 3)

    def test_names_may_be_written_with_escapes(self):
        request = rb'{"\u0063ontainer" : "\u0042yId",' + b"\r\n\t" + rb'"id":"Lonely"}'
        self.assertEqual(list(json.loads(self.service.ask_raw(request))), ["VexoDrive"])
        self.assertEqual(list(json.loads(self.service.ask_raw(b'{"id":"Lonely","container":"ById"}'))), ["VexoDrive"])


class CacheFile(OemTest):
    def test_replaced_cache_is_read(self):
        with OemService(*sample(), options=("--workers", "2")) as service, service.client() as client:
            self.assertEqual(client.ask("ByExpression", DRIVE_ID), {"VexoEnclosure": ENCLOSURE})
            for number in range(3):
                new = service.directory / "new.db"
                write_cache(new, classes(f"new {number}"))
                new.rename(service.cache_path)
                for _ in range(4):
                    self.assertEqual(client.ask("ByExpression", DRIVE_ID),
                                     {"VexoEnclosure": ENCLOSURE | {"Label": f"new {number}"}})

    def test_class_that_gets_ready_is_read(self):
        mapping, cache = sample()
        with OemService(mapping, cache | {"ready": ["XCIM_Drive"]}) as service:
            self.check_error(service.ask("ByExpression", DRIVE_ID), "NotCached")
            self.assertEqual(service.ask("ById", DRIVE_ID), {"VexoDrive": DRIVE})
            new = service.directory / "new.db"
            write_cache(new, **cache)
            new.rename(service.cache_path)
            self.assertEqual(service.ask("ByExpression", DRIVE_ID), {"VexoEnclosure": ENCLOSURE})

    def test_start_without_a_cache_works_as_soon_as_there_is_one(self):
        mapping, cache = sample()
        with OemService(mapping) as service:
            self.check_error(service.ask("ById", DRIVE_ID), "Busy")
            write_cache(service.directory / "new.db", **cache)
            (service.directory / "new.db").rename(service.cache_path)
            answer = wait_until(lambda: (answer := service.ask("ById", DRIVE_ID)).keys() != {"error"} and answer,
                                "an answer from the cache")
            self.assertEqual(answer, {"VexoDrive": DRIVE})

    def test_cache_that_is_empty_is_not_ready(self):
        service = OemService(sample()[0])
        service.cache_path.touch()
        with service:
            self.check_error(service.ask("ById", DRIVE_ID), "NotCached")


if __name__ == "__main__":
    unittest.main(verbosity=2)
