#!/usr/bin/python3
"""The sample system's actions: what they change is what the next live read shows, and jobs are where their "Location"
says."""

import json
import os
import unittest
from pathlib import Path

from cim_object_manager import ObjectManager
from cimgate_host import Service, wait_until

SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])
MAPPING_FILE = SOURCE_DIR / "data" / "resourcemapping.json"
REPOSITORY = SOURCE_DIR / "data" / "sample" / "cim"

SYSTEM = "/redfish/v1/Vexo/Systems/System.Embedded.1"
CHASSIS = "/redfish/v1/Vexo/Chassis/System.Embedded.1"
MANAGER = "/redfish/v1/Vexo/Managers/Tavix.Embedded.1"
JOBS = "/redfish/v1/Managers/Tavix.Embedded.1/Jobs"

POWER = f"{SYSTEM}/VexoPowerManagementService/Actions/VexoPowerManagementService.RequestPowerStateChange"
INDICATOR = f"{CHASSIS}/VexoIndicatorService/Actions/VexoIndicatorService.SetIndicator"
DIAGNOSTICS = f"{SYSTEM}/VexoDiagnosticService/Actions/VexoDiagnosticService.RunDiagnostics"
INSTALL = f"{MANAGER}/VexoSoftwareInstallationService/Actions/VexoSoftwareInstallationService.InstallFromURI"
SCHEDULE = f"{MANAGER}/VexoManagementController/Actions/VexoManagementController.ScheduleMaintenance"

ENCLOSURES = f"{CHASSIS}/VexoEnclosureIndicator"
DRIVES = f"{SYSTEM}/VexoDriveIndicator"
POWER_STATE = f"{SYSTEM}/VexoPowerState"
CONTROLLER = f"{MANAGER}/VexoManagementController"

# Jobs and methods of the sample take seconds, so that people can watch them; here they take this part of that.
PACE = 0.25


def hurried(methods):
    """A description of methods whose times are shorter."""
    def shorten(described):
        return {name: PACE * value if name in ("seconds", "delay") else value for name, value in described.items()}

    return json.dumps(json.loads(methods, object_hook=shorten))


def repository():
    texts = {file.name: file.read_text(encoding="utf-8") for file in REPOSITORY.iterdir()}
    return {name: hurried(text) if name.endswith(".methods.json") else text for name, text in texts.items()}


class SampleActions(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        manager = self.enterContext(ObjectManager(repository()))
        text = MAPPING_FILE.read_text(encoding="utf-8")
        self.mapping = json.loads(text)
        # Actions and live reads are all that is asked for: without cached classes the service wants no cache.
        for entry in self.mapping.values():
            for class_map in entry.get("mappings", {}).values():
                class_map["is_cached"] = False
        self.service = self.enterContext(Service(self.mapping, options=("--cim", manager.url)))

    def post(self, action, **parameters):
        return self.service.post(action, json.dumps(parameters).encode("utf-8"))

    def read(self, path):
        answer = self.service.get(path)
        self.assertEqual(answer.status, 200, path)
        return answer.json()

    def check_done(self, answer, **outputs):
        """The action has been carried out and has these outputs."""
        self.assertEqual(answer.status, 200, answer.body)
        body = answer.json()
        [message] = body.pop("@Message.ExtendedInfo")
        self.assertEqual(message["MessageId"], "Vexo.1.0.SYS413")
        self.assertEqual({name: body.get(name) for name in outputs}, outputs)

    def check_refused(self, answer, status, message, *arguments):
        self.assertEqual((answer.status, answer.messages()[0]), (status, (f"Vexo.{message}", list(arguments))))

    def check_started(self, answer):
        """The action goes on as a job; returns its URI."""
        self.assertEqual(answer.status, 202, answer.body)
        location = answer.get("Location")
        self.assertRegex(location, f"^{JOBS}/JID_[0-9]+$")
        self.assertEqual(set(answer.json()), {"@Message.ExtendedInfo"})
        return location

    def await_completion(self, location):
        """Reads the job until it has completed; returns its progress as it was seen."""
        seen = []

        def is_completed():
            job = self.read(location)
            seen.append((job["PercentComplete"], job["Message"]))
            return job["JobState"] == "Completed"

        wait_until(is_completed, "the job's end")
        return seen

    def test_power_that_is_switched_shows_in_the_next_read(self):
        self.assertEqual(self.read(POWER_STATE)["PowerState"], "On")
        self.check_done(self.post(POWER, PowerState="ForceOff"), NewState="Off")
        self.assertEqual(self.read(POWER_STATE)["PowerState"], "Off")
        self.check_refused(self.post(POWER, PowerState="ForceOff"), 400, "SYS426", "ForceOff", "PowerState")
        self.assertEqual(self.read(POWER_STATE)["PowerState"], "Off")
        self.check_done(self.post(POWER, PowerState="On"), NewState="On")
        self.assertEqual(self.read(POWER_STATE)["PowerState"], "On")

    def test_shutdown_is_a_job_after_which_the_system_is_off(self):
        location = self.check_started(self.post(POWER, PowerState="GracefulShutdown"))
        self.await_completion(location)
        self.assertEqual(self.read(POWER_STATE)["PowerState"], "Off")

    def test_power_of_another_state_than_there_is(self):
        self.check_refused(self.post(POWER, PowerState="Sideways"), 400, "SYS426", "Sideways", "PowerState")
        self.check_refused(self.post(POWER, PowerState=2), 400, "SYS425", "2", "PowerState")
        self.check_refused(self.post(POWER), 400, "SYS428", "PowerState")
        self.check_refused(self.post(POWER, PowerState="On", Delay=1), 400, "SYS429", "Delay")
        self.check_refused(self.post(POWER, PowerState="On", System="/redfish/v1/Nope/X"), 400, "SYS426",
                           "/redfish/v1/Nope/X", "System")
        self.assertEqual(self.read(POWER_STATE)["PowerState"], "On")

    def test_indicator_of_the_enclosure(self):
        for state in ("Lit", "Blinking", "Off"):
            self.check_done(self.post(INDICATOR, IndicatorState=state, DurationSeconds=60), ActivationState=state)
            self.assertEqual(self.read(f"{ENCLOSURES}/Enclosure.1")["IndicatorState"], state)

    def test_indicator_of_an_element(self):
        for element, other in ((f"{ENCLOSURES}/Enclosure.2", f"{ENCLOSURES}/Enclosure.1"),
                               (f"{DRIVES}/Disk.Bay.1:Enclosure.1", f"{DRIVES}/Disk.Bay.0:Enclosure.1")):
            before = self.read(other)
            self.check_done(self.post(INDICATOR, IndicatorState="Blinking", Element=element),
                            ActivationState="Blinking")
            self.assertEqual((self.read(element)["IndicatorState"], self.read(other)), ("Blinking", before))

    def test_indicator_of_an_element_that_does_not_exist(self):
        for element, key in ((f"{ENCLOSURES}/Enclosure.9", "Enclosure.9"), (f"{DRIVES}/Disk.9", "Disk.9")):
            self.check_refused(self.post(INDICATOR, IndicatorState="Lit", Element=element), 404, "SYS419", key)

    def test_diagnostics_give_lists(self):
        answer = self.post(DIAGNOSTICS, Tests=["Processor", "Memory"], Drives=["Disk.Bay.0:Enclosure.1"],
                           LoopCounts=[1, 2], ExtendedTest=False, StartTime="2024-05-01T10:20:30+02:00",
                           Comment="Ünï & <co>")
        self.check_done(answer, OverallResult="Passed", Results=["Passed", "Passed", "Passed", "Passed", "Skipped"],
                        Durations=[2, 14, 5, 1, 0], LogCleared=True)
        self.assertRegex(answer.json()["CompletedAt"], "^20[0-9-]{8}T[0-9:]{8}[+]00:00$")

    def test_diagnostics_that_fail_have_a_list_with_a_gap(self):
        self.check_done(self.post(DIAGNOSTICS, Tests=["Fans"], ExtendedTest=True), OverallResult="Failed",
                        Results=["Passed", "Passed", "Failed", "Passed", "Skipped"], Durations=[31, 655, 94, 3, None])

    def test_firmware_update_is_a_job_that_is_read_until_it_completes(self):
        before = self.read(CONTROLLER)
        location = self.check_started(self.post(INSTALL, URI="https://example.net/fw.bin", InstallOptions=["Update"],
                                                ApplyTime="2024-05-01T10:20:30+00:00", Reboot=True))
        job = self.read(location)
        self.assertEqual((job["Id"], job["@odata.id"], job["Name"], job["JobState"]),
                         (location.rpartition("/")[2], location, "Firmware update", "Running"))
        self.assertEqual((job["ScheduledTime"], job["EndTime"]), ("2024-05-01T10:20:30+00:00", None))
        other = self.check_started(self.post(INSTALL, URI="https://example.net/other.bin"))
        self.assertNotEqual(other, location)
        progress = self.await_completion(location)
        self.assertEqual(progress, sorted(progress, key=lambda seen: seen[0]))
        self.assertEqual(progress[-1], (100, "The firmware was updated."))
        after = self.read(CONTROLLER)
        self.assertNotEqual(before["FirmwareVersion"], after["FirmwareVersion"])
        self.assertEqual(after["FirmwareVersion"], "6.11.00.00")

    def test_job_that_there_is_not(self):
        self.check_refused(self.service.get(f"{JOBS}/JID_999999999999"), 404, "SYS419", "JID_999999999999")

    def test_schedule_takes_and_gives_values_of_every_kind(self):
        answer = self.post(SCHEDULE, StartTime="2024-05-01T10:20:30+02:00", Days=["Sunday", "Friday"],
                           Tasks=["SelfTest"], Recipients=["a@example.net", "b@example.net"], RetryMinutes=[5, 10],
                           NotifyUsers=True, Priority=3)
        self.check_done(answer, Days=["Sunday", "Friday"], RetryMinutes=[5, 10], ScheduleNumber=2**64 - 1,
                        NextRun="2024-05-01T10:20:30+00:00", ClockOffset=-1843, Load=0.25, Approved=True,
                        Substitute=None)
        controller = self.read(CONTROLLER)
        self.assertEqual({name: controller[name] for name in controller if name.startswith("Maintenance")
                          and not name.endswith("@odata.count")},
                         {"MaintenanceStart": "2024-05-01T10:20:30+00:00", "MaintenanceDays": ["Sunday", "Friday"],
                          "MaintenanceTasks": ["SelfTest"], "MaintenanceRecipients": ["a@example.net", "b@example.net"],
                          "MaintenanceNotify": True})

    def test_every_action_of_the_mapping_is_a_method_of_the_object_manager(self):
        for entry in self.mapping.values():
            for class_map in entry.get("mappings", {}).values():
                for action in class_map.get("Actions", {}).values():
                    answer = self.post(action["target"])
                    # Each has a parameter that it needs.
                    self.assertEqual((answer.status, answer.messages()[0][0]), (400, "Vexo.SYS428"), action["target"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
