#!/usr/bin/python3
"""The sample's service file as a client sees it: system, chassis and manager, their actions, what queries make of them; and
service files that are faulty.

Environment: as in cimgate_host.py and sample_system.py.
"""

import json
import re
import unittest

import cimgate_host
from composed_service import ACTION, CHASSIS, ROOT, THING, THINGS, ComposedService, chassis, of
from program import run_program
from redfish_crawl import SampleService
from sample_system import SAMPLE_DIR, sample_object_manager
from scripted_object_manager import ScriptedObjectManager, method_result

SERVICE_FILE = SAMPLE_DIR / "service.json"
SYSTEM = f"{ROOT}/Systems/System.Embedded.1"
SAMPLE_CHASSIS = f"{ROOT}/Chassis/System.Embedded.1"
MANAGER = f"{ROOT}/Managers/Tavix.Embedded.1"
RESET = f"{SYSTEM}/Actions/ComputerSystem.Reset"
RESET_TYPES = ["ForceOff", "ForceRestart", "GracefulShutdown", "Nmi", "On", "PowerCycle"]
NAMES = {"@odata.id", "@odata.type", "@odata.context"}


class Sample(cimgate_host.SharedServiceTest):
    @classmethod
    def setUpClass(cls):
        manager = cls.enterClassContext(sample_object_manager())
        cls.service = cls.enterClassContext(SampleService(manager, "--service", str(SERVICE_FILE)))

    def reset(self, body, *headers):
        return cimgate_host.ask(self.service.base, RESET, "POST", ["Content-Type: application/json", *headers],
                                body if isinstance(body, bytes) else json.dumps(body).encode())

    def test_root_leads_to_the_collections(self):
        root = self.resource("/redfish/v1/")
        self.assertEqual((root["Name"], root["Vendor"]), ("Storage server 7", "Vexo"))
        for name, member in (("Systems", SYSTEM), ("Chassis", SAMPLE_CHASSIS), ("Managers", MANAGER)):
            collection = self.resource(root[name]["@odata.id"])
            self.assertEqual((collection["Members"], collection["Members@odata.count"]), ([{"@odata.id": member}], 1))
            self.assertNotIn("Id", collection)
        urls = [value["url"] for value in self.resource(f"{ROOT}/odata")["value"]]
        self.assertLessEqual({f"{ROOT}/Systems", f"{ROOT}/Chassis", f"{ROOT}/Managers"}, set(urls))

    def test_system(self):
        body = self.resource(SYSTEM)
        mapped = self.resource("/redfish/v1/Vexo/Systems/VexoSystem/System.Embedded.1")
        for name in ("HostName", "Manufacturer", "Model", "SerialNumber", "AssetTag", "UUID"):
            self.assertEqual(body[name], mapped[name], name)
        self.assertIsNotNone(body["SerialNumber"])
        memory = self.resource("/redfish/v1/Vexo/Systems/System.Embedded.1/VexoMemoryCollection")["Members"]
        gib = sum(module["CapacityBytes"] for module in memory) / 2**30
        self.assertEqual(body["MemorySummary"], {"TotalSystemMemoryGiB": gib, "Status": {"HealthRollup": "OK"}})
        self.assertEqual(body["ProcessorSummary"], {"Count": mapped["ProcessorCount"], "CoreCount": mapped["CoreCount"]})
        self.assertEqual(body["Oem"]["Vexo"]["DriveCount"], 120)
        self.assertEqual((body["Id"], body["PowerState"], body["Status"]["State"]), ("System.Embedded.1", "On", "Enabled"))
        self.assertIn(body["Status"]["HealthRollup"], ("OK", "Warning", "Critical"))
        self.assertRegex(body["LastResetTime"], r"\d[+-]\d\d:\d\d$")
        self.assertNotIn("@Message.ExtendedInfo", body["Status"])

    def test_chassis_and_manager(self):
        body = self.resource(SAMPLE_CHASSIS)
        self.assertEqual((body["ChassisType"], body["PowerState"]), ("RackMount", "On"))
        supplies = self.resource(body["Oem"]["Vexo"]["PowerSupplies"]["@odata.id"])["Members"]
        self.assertEqual(body["Oem"]["Vexo"]["RatedInputWatts"], sum(supply["RatedInputWattage"] for supply in supplies))
        self.assertEqual(body["Oem"]["Vexo"]["DriveOfBay0"]["VexoDrive"]["SlotNumber"], 0)
        manager = self.resource(MANAGER)
        self.assertEqual((manager["ManagerType"], manager["Status"]), ("BMC", {"State": "Enabled", "Health": "OK"}))
        self.assertIsNotNone(manager["FirmwareVersion"])

    # ---- Actions

    def test_reset_is_shown_with_the_values_of_the_mapping(self):
        self.assertEqual(self.resource(SYSTEM)["Actions"], {"#ComputerSystem.Reset": {
            "target": RESET, "ResetType@Redfish.AllowableValues": RESET_TYPES}})

    def test_reset_switches_the_server(self):
        for reset_type, state in (("ForceOff", "Off"), ("On", "On")):
            answer = self.reset({"ResetType": reset_type})
            self.assertEqual(answer.status, 200, answer.body)
            body = self.resource(SYSTEM)
            self.assertEqual((body["PowerState"], body["Status"]["State"]),
                             (state, {"Off": "StandbyOffline", "On": "Enabled"}[state]))

    def test_reset_refuses_what_the_mapped_action_does_not_take(self):
        self.check_failed(self.reset({"ResetType": "Explode"}), 400, ("Vexo.SYS426", ["Explode", "ResetType"]),
                          ("Base.PropertyValueNotInList", ["Explode", "ResetType"]))
        self.check_failed(self.reset({}), 400, ("Vexo.SYS428", ["ResetType"]), ("Base.PropertyMissing", ["ResetType"]))
        for name in ("PowerState", "System", "resetType"):  # the mapped one's parameters are not this one's
            answer = self.reset({"ResetType": "On", name: "On"})
            self.assertEqual((answer.status, answer.messages()[-1]), (400, ("Base.PropertyUnknown", [name])))
        for value in (5, None, ["On"], {"On": 1}, True):
            self.assertEqual(self.reset({"ResetType": value}).status, 400, value)
        for body in (b"", b"{", b"[]", b"null", b'{"ResetType": "On"} x', b'{"ResetType": "On", "ResetType": "Off"}', b"\xff"):
            answer = self.reset(body)
            self.assertEqual((answer.status, answer.messages()[-1][0]), (400, "Base.MalformedJSON"), body)
        wrong_type = cimgate_host.ask(self.service.base, RESET, "POST", ["Content-Type: text/plain"], b'{"ResetType": "On"}')
        self.assertEqual(wrong_type.status, 415)
        self.assertEqual(self.resource(SYSTEM)["PowerState"], "On")

    def test_target_of_an_action_takes_posts_alone(self):
        for method in ("GET", "HEAD", "PATCH", "PUT", "DELETE"):
            answer = self.service.get(RESET, *(["-I"] if method == "HEAD" else ["-X", method]))
            self.assertEqual((answer.status, answer.get("Allow")), (405, "POST"), method)
        options = self.service.get(RESET, "-X", "OPTIONS")
        self.assertEqual((options.status, options.get("Allow"), options.body), (204, "POST", b""))

    # ---- The protocol

    def test_composed_resources_keep_to_the_protocol(self):
        for uri in (SYSTEM, SAMPLE_CHASSIS, MANAGER, f"{ROOT}/Systems"):
            answer = self.service.get(uri)
            self.assertEqual((answer.get("Allow"), answer.get("OData-Version"), answer.get("Cache-Control"),
                              answer.get("Content-Type")), ("GET, HEAD, OPTIONS", "4.0", "no-cache", "application/json;charset=utf-8"))
            name = answer.json()["@odata.type"][1:].rpartition(".")[0]
            self.assertEqual(answer.get("Link"), f"<http://redfish.dmtf.org/schemas/v1/{name}.json>; rel=describedby")
            self.assertRegex(answer.get("ETag"), '^"[0-9a-f]+"$')
            head = self.service.head(uri)
            self.assertEqual(head.body, b"")
            self.assertEqual([pair for pair in head.headers if pair[0] != "date"],
                             [pair for pair in answer.headers if pair[0] != "date"])
            self.assertEqual(self.service.get(uri + "/").body, answer.body)
            for method in ("POST", "PATCH", "PUT", "DELETE"):
                refused = cimgate_host.ask(self.service.base, uri, method, body=b"no json")
                self.assertEqual((refused.status, refused.get("Allow")), (405, "GET, HEAD, OPTIONS"), (uri, method))
            options = self.service.get(uri, "-X", "OPTIONS")
            self.assertEqual((options.status, options.get("Allow")), (204, "GET, HEAD, OPTIONS"))
            for header, status in (("OData-Version: 4.1", 412), ("Accept: text/html", 406), ("OData-Version: 4.0", 200),
                                   ("Accept: application/*;q=0.5", 200), (f"If-None-Match: {answer.get('ETag')}", 304)):
                self.assertEqual(self.service.get(uri, "-H", header).status, status, (uri, header))

    # ---- Queries

    def selected(self, paths, uri=SYSTEM):
        body = self.resource(f"{uri}?$select={paths}")
        return {name: value for name, value in body.items() if name not in NAMES}

    def test_select(self):
        whole = self.resource(SYSTEM)
        self.assertEqual(self.selected("Id"), {"Id": "System.Embedded.1"})
        self.assertEqual(self.selected("Status/State,PowerState"), {"Status": {"State": "Enabled"}, "PowerState": "On"})
        self.assertEqual(self.selected("Status,Status/State"), {"Status": whole["Status"]})
        self.assertEqual(self.selected("MemorySummary/*"), {"MemorySummary": whole["MemorySummary"]})
        self.assertEqual(self.selected("Links/Chassis"), {"Links": {"Chassis": whole["Links"]["Chassis"]}})
        self.assertEqual(self.selected("*"), {name: value for name, value in whole.items() if name not in NAMES})
        self.assertEqual(self.selected("Members", f"{ROOT}/Systems"), {"Members": [{"@odata.id": SYSTEM}]})
        self.assertEqual(set(self.selected("Name", ROOT)), {"Name"})
        for paths, message in (("None", "None"), ("Id,Status/None", "Status/None"), ("Id/Name", "Id/Name")):
            answer = self.service.get(f"{SYSTEM}?$select={paths}")
            self.assertEqual((answer.status, answer.messages()[-1]), (400, ("Base.PropertyUnknown", [message])), paths)
        for paths in ("", ","):
            self.check_error(f"{SYSTEM}?$select={paths}", 400, ("Base.QueryParameterValueFormatError", [paths, "$select"]))

    def test_only(self):
        self.assertEqual(self.resource(f"{ROOT}/Systems?only"), self.resource(SYSTEM))
        self.assertEqual(set(self.resource(f"{ROOT}/Systems?only&$select=Id")), NAMES | {"Id"})
        several = self.resource(f"{ROOT}/Registries?only")
        self.assertGreater(len(several["Members"]), 1)
        for uri in (SYSTEM, ROOT):
            self.check_error(f"{uri}?only", 400, ("Base.QueryNotSupported", []))

    def test_expand(self):
        system = self.resource(SYSTEM)
        self.assertEqual(self.resource(f"{ROOT}/Systems?$expand=.")["Members"], [system])
        links = self.resource(f"{SYSTEM}?$expand=~")
        self.assertEqual(links["Links"]["Chassis"], [self.resource(SAMPLE_CHASSIS)])
        self.assertEqual(links["Oem"], system["Oem"])
        others = self.resource(f"{SYSTEM}?$expand=.")
        self.assertEqual(others["Links"], system["Links"])
        drives = others["Oem"]["Vexo"]["Drives"]
        self.assertEqual((len(drives["Members"]), drives["Members@odata.count"]), (50, 120))
        both = self.resource(f"{SYSTEM}?$expand=*")
        self.assertEqual((both["Links"], both["Oem"]), (links["Links"], others["Oem"]))

    def test_expand_goes_as_deep_as_it_is_told(self):
        root = f"{ROOT}?$expand=.($levels=%d)"
        one, two = (self.resource(root % levels) for levels in (1, 2))
        self.assertEqual(one["Systems"]["Members"], [{"@odata.id": SYSTEM}])
        self.assertEqual(two["Systems"]["Members"], [self.resource(SYSTEM)])
        self.assertEqual(one, self.resource(f"{ROOT}?$expand=."))
        three = self.resource(f"{ROOT}/Systems?$expand=*($levels=3)&$select=Members")
        [system] = three["Members"]
        [chassis_of_it] = system["Links"]["Chassis"]
        # What leads back to where it stands stays a link.
        self.assertEqual(chassis_of_it["Links"]["ComputerSystems"], [{"@odata.id": SYSTEM}])
        self.assertIn("Members", chassis_of_it["Oem"]["Vexo"]["PowerSupplies"])

    def test_expand_refuses_what_it_does_not_know(self):
        for text in ("", "x", ".x", "..", ".()", ".($levels=)", ".($levels=a)", ".($levels=-1)", ".($levels=1", "$levels=1"):
            answer = self.service.get(f"{SYSTEM}?$expand={text}")
            self.assertEqual((answer.status, answer.messages()[-1]), (400, ("Base.QueryParameterValueFormatError", [text, "$expand"])))
        for levels in ("0", "4", "01", "10", "4294967297"):
            self.check_error(f"{SYSTEM}?$expand=.($levels={levels})", 400, ("Base.QueryParameterOutOfRange", [levels, "$levels", "1-3"]))
        for option in ("$filter=a", "$top=1", "$skip=1", "$count=true"):
            self.assertEqual(self.service.get(f"{SYSTEM}?{option}").status, 501, option)
        self.assertEqual(self.resource(f"{SYSTEM}?other=1"), self.resource(SYSTEM))


class Actions(cimgate_host.ServiceTest):
    """What the object manager is asked for."""

    def declared(self, **action):
        return chassis(A=of(THING, "A"), Actions={"#Chassis.Reset": {"action": ACTION, **action}})

    def posted(self, action, body):
        """The answer, and the method's call as text."""
        with ScriptedObjectManager(method_result("Turn")) as manager, \
                ComposedService(self.declared(**action), "--cim", manager.url) as service:
            answer = service.post(f"{CHASSIS}/Actions/Chassis.Reset", json.dumps(body).encode())
            return answer, "".join(text for text in manager.requests if "METHODCALL NAME=\"Turn\"" in text)

    def test_values_and_names_are_translated(self):
        parameter = {"ResetType": {"as": "To", "values": {"On": "Up", "ForceOff": "Down", "Other": "Sideways"}}}
        answer, call = self.posted({"parameters": parameter, "constants": {"Why": "by order"}}, {"ResetType": "ForceOff"})
        self.assertEqual(answer.status, 200, answer.body)
        self.assertRegex(call, r'(?s)NAME="To".*<VALUE>3</VALUE>')
        self.assertIn("<VALUE>by order</VALUE>", call)
        for value in ("Down", "Other"):
            answer, call = self.posted({"parameters": parameter}, {"ResetType": value})
            self.assertEqual((answer.status, call), (400, ""))

    def test_only_values_that_the_mapping_takes_are_allowed(self):
        parameter = {"ResetType": {"as": "To", "values": {"On": "Up", "Other": "Sideways"}}, "Why": {}}
        with ComposedService(self.declared(parameters=parameter)) as service:
            self.assertEqual(service.body()["Actions"], {"#Chassis.Reset": {
                "target": f"{CHASSIS}/Actions/Chassis.Reset", "ResetType@Redfish.AllowableValues": ["On"]}})

    def test_object_manager_that_is_away_is_503(self):
        with ComposedService(self.declared(parameters={"To": {}})) as service:
            answer = service.post(f"{CHASSIS}/Actions/Chassis.Reset", b'{"To": "Up"}')
            self.check_failed(answer, 503, ("Base.ServiceTemporarilyUnavailable", ["5"]))


class TooMuch(cimgate_host.ServiceTest):
    def test_expansions_end_at_what_an_answer_may_have(self):
        many = {f"{ROOT}/Chassis/{i}": {"@odata.type": "#Chassis.v1_14_0.Chassis", "Name": str(i)} for i in range(257)}
        collection = {f"{ROOT}/Chassis": {"@odata.type": "#ChassisCollection.ChassisCollection", "Name": "Chassis"}}
        with ComposedService(collection | many) as service:
            self.assertEqual(len(service.body(f"{ROOT}/Chassis")["Members"]), 257)
            self.check_failed(service.get(f"{ROOT}/Chassis?$expand=."), 507, ("Base.InsufficientStorage", []))
        many.popitem()
        with ComposedService(collection | many) as service:
            self.assertEqual(len([m for m in service.body(f"{ROOT}/Chassis?$expand=.")["Members"] if "Name" in m]), 256)


class Start(unittest.TestCase):
    def check_fails(self, service, *hints):
        status, out, log = service.fail()
        self.assertEqual((status, out), (1, ""), log)
        [line] = [line for line in cimgate_host.without_stamps(log) if line.startswith("cimgated: ")]
        for hint in (str(service.service_path), "--service", *hints):
            self.assertIn(hint, line)
        service.discard()

    def test_fails_without_a_readable_file(self):
        service = ComposedService({})
        service.service_path.unlink()
        self.check_fails(service, "cannot read the service file", "No such file")
        service = ComposedService({})
        service.service_path.unlink()
        service.service_path.mkdir()
        self.check_fails(service, "cannot read the service file", "directory")

    def test_fails_with_what_is_no_json_object(self):
        for text in ("", "{", "nonsense", "[]", "null", '{"a": }', "[" * 5000):
            with self.subTest(text=text[:10]):
                self.check_fails(ComposedService(text), "is not a JSON object")

    def test_empty_file_is_as_none(self):
        with ComposedService({}) as service:
            self.assertEqual(service.get(f"{ROOT}/Systems").status, 404)
            self.assertEqual(service.get(ROOT).status, 200)


class Faults(cimgate_host.ServiceTest):
    """Told at the start and by --check, and served as far as it goes."""

    FILE = {**chassis(A=of(THING, "A"), B=of(THING, "Wrong"), C=of(f"{ROOT}/Vexo/None", "A"), D={"sum": THINGS}),
            f"{ROOT}/Registries/Own": {"@odata.type": "#A.v1_0_0.A", "Name": "N"},
            THINGS: {"@odata.type": "#A.v1_0_0.A", "Name": "N"}, f"{ROOT}/No type": {"Name": "N"},
            f"{ROOT}/NoType": {"Name": "N"}, f"{ROOT}/Number": 5}
    TOLD = (("B", "have no property \"Wrong\"; the value is null"), ("C", "no mapped resource can be read at"),
            ("D", "does not say enough to make a value; the value is null"))

    def test_are_told_with_line_name_and_effect(self):
        with ComposedService(self.FILE) as service:
            lines = [line for line in service.lines() if "service.json:" in line]
            self.assertEqual(len(lines), 8, lines)
            text = service.service_path.read_text(encoding="utf-8").split("\n")
            for name, words in self.TOLD:
                [line] = [line for line in lines if f"{CHASSIS}, property {name}: " in line]
                number = int(line.split("service.json:")[1].split(":")[0])
                self.assertIn(f'"{name}"', text[number - 1])
                self.assertIn(words, line)
            for name, words in (("Registries/Own", "the resource is not served"), ("NoType", "the resource is not served"),
                                ("No type", "the resource is not served"), ("Number", "the resource is not served")):
                self.assertTrue(any(name in line and words in line for line in lines), name)
            self.assertTrue(any(THINGS in line and "clients get what it says" in line for line in lines))
            body = service.body()
            self.assertEqual((body["A"], body["B"], body["C"], body["D"]), ("first", None, None, None))
            self.assertEqual(service.body(THINGS)["Members@odata.count"], 3)
            self.assertEqual(service.get(f"{ROOT}/NoType").status, 404)

    def check_command(self, service):
        return run_program(*service.command[:1], "--check", "--rmf", str(service.mapping_path), "--cache", str(service.cache_path),
                           "--service", str(service.service_path))

    def test_are_told_by_the_check(self):
        service = ComposedService(self.FILE)
        done = self.check_command(service)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"{service.service_path}: 8 faults\n", done.stdout)
        for name, _ in self.TOLD:
            self.assertRegex(done.stdout, rf"line \d+, {CHASSIS}, property {name}:\n    [A-Z\"]")
        service.service_path.write_text("{", encoding="utf-8")
        done = self.check_command(service)
        self.assertEqual(done.returncode, 1)
        self.assertIn("The service does not start", done.stdout)
        service.discard()

    def test_sample_is_sound(self):
        service = ComposedService(SERVICE_FILE.read_text(encoding="utf-8"))
        done = run_program(*service.command[:1], "--check", "--rmf", str(SAMPLE_DIR / "resourcemapping.json"), "--cache",
                           str(service.directory / "none.db"), "--service", str(service.service_path))
        self.assertIn(f"{service.service_path}: sound\n", done.stdout)
        service.discard()


class Document(unittest.TestCase):
    """docs/service-file.md says what holds."""

    TEXT = (SAMPLE_DIR.parent / "docs" / "service-file.md").read_text(encoding="utf-8")

    def test_its_examples_are_sound(self):
        examples = re.findall(r"^```json\n(.*?)^```$", self.TEXT, re.MULTILINE | re.DOTALL)
        self.assertGreater(len(examples), 4)
        for example in examples:
            service = ComposedService(example)
            done = run_program(*service.command[:1], "--check", "--rmf", str(SAMPLE_DIR / "resourcemapping.json"), "--cache",
                               str(service.directory / "none.db"), "--service", str(service.service_path))
            self.assertIn(f"{service.service_path}: sound\n", done.stdout, example)
            service.discard()

    def test_it_has_every_word(self):
        folder = SAMPLE_DIR.parent / "host" / "service_file"
        declared = "".join((folder / name).read_text(encoding="utf-8") for name in ("source.h", "service_file.h"))
        words = set(re.findall(r'constexpr const char\* k\w+ = "([^"]+)"', declared))
        self.assertGreater(len(words), 12)
        explained = set(re.findall(r'^\| .*?\|', self.TEXT, re.MULTILINE))
        self.assertEqual({word for word in words if not any(f'"{word}"' in cell or f"`{word}`" in cell for cell in explained)}, set())


if __name__ == "__main__":
    unittest.main(verbosity=2)
