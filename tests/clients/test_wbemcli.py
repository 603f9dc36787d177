#!/usr/bin/python3
"""Debian's wbemcli runs its operations against the object manager.

It prints keys of references, and those of the path that it was given, in quotes when they travel as texts. It does not
read arrays with null elements, and crashes on an output that is null.
"""

import os
import subprocess
import unittest
from pathlib import Path

from cim_object_manager import NAMESPACE, ObjectManager
from program import PATIENCE_S
from small_model import FILES

SAMPLE = Path(os.environ["CIMGATE_SOURCE_DIR"], "data", "sample", "cim")

F1 = 'XCIM_Fan.DeviceID="F1",Slot=1'
F3 = 'XCIM_Fan.DeviceID="F3",Slot=7'
FRONT = 'XCIM_Zone.Tag="front"'
COOLS_FRONT = f'XCIM_Cools.Antecedent={F1},Dependent={FRONT}'
# A reference keeps the order that its keys came in.
BIG_COOLS_FRONT = f'XCIM_Cools.Antecedent=XCIM_BigFan.Slot=3,DeviceID="B1",Dependent={FRONT}'
SERVES_REAR = f'XCIM_Dependency.Antecedent={F1},Dependent=XCIM_Zone.Tag="rear"'

F1_PROPERTIES = ['-ElementName="Fan <1> & \\"more\\""', '-DeviceID="F1"', "-Slot=1", "-Speed=1000", "-Offset=-5",
                 "-Load=0.5", "-Active=TRUE", "-Installed=20240501102030.000000+120", "-States=2,3",
                 '-Names="left","ünder"']
FAN_NAMES = ["ElementName", "DeviceID", "Slot", "Speed", "Offset", "Load", "Active", "Installed", "States", "Names"]


def fan_properties(**values):
    """A fan's properties as they are printed; those without a value are null."""
    return [f"-{name}={values.get(name, '')}" for name in FAN_NAMES]


def service(class_name, name):
    return f'{class_name}.CreationClassName="{class_name}",Name="{name}"'


class Wbemcli(unittest.TestCase):
    """wbemcli beside an object manager with FILES."""

    maxDiff = None
    FILES = {}

    def setUp(self):
        self.manager = ObjectManager(self.FILES, strict=False).start()
        self.addCleanup(self.manager.discard)

    def run_tool(self, operation, target, *arguments):
        """Lines of its output, with the object manager's address left out, and its error."""
        name = self.manager.url + "/" + NAMESPACE + (":" + target if target else "")
        done = subprocess.run(["wbemcli", "-nl", *operation.split(), name, *arguments], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False,
                              timeout=PATIENCE_S)
        address = self.manager.url.removeprefix("http://")
        lines = [line.removeprefix(address).removeprefix("127.0.0.1").removeprefix(f"/{NAMESPACE}:")
                 for line in done.stdout.splitlines() if line]
        return lines, done.stderr

    def check(self, expected, operation, target="", *arguments):
        self.assertEqual(self.run_tool(operation, target, *arguments), (expected, ""))

    def check_fails(self, code, operation, target, *arguments):
        lines, error = self.run_tool(operation, target, *arguments)
        self.assertEqual(lines, [])
        self.assertIn(f"Cim: ({code}) ", error)

    def call(self, target, call, *outputs):
        """Calls a method; the first line of the output repeats what was called."""
        self.check([f"{target} {call.partition('.')[0]}: {outputs[0]}", *outputs[1:]], "cm", target, call)


class SmallModel(Wbemcli):
    FILES = FILES

    def test_enumerate_class_names(self):
        self.check(["XCIM_Element", "XCIM_Fan", "XCIM_BigFan", "XCIM_Zone", "XCIM_Job", "XCIM_Dependency",
                    "XCIM_Cools"], "ecn")
        self.check(["XCIM_Fan", "XCIM_BigFan", "XCIM_Zone"], "ecn", "XCIM_Element")
        self.check_fails(5, "ecn", "XCIM_Nothing")

    def test_enumerate_classes(self):
        self.check(["XCIM_Fan : XCIM_Element", *fan_properties(),
                    "XCIM_BigFan : XCIM_Fan", *fan_properties(), "-Blades=",
                    "XCIM_Zone : XCIM_Element", "-ElementName=", "-Tag="], "ec", "XCIM_Element")

    def test_get_class(self):
        marked = [f"-{name}{mark}=" for name, mark in
                  zip(FAN_NAMES, ["", "#", "#", "", "", "", "", "", "[]", "[]"], strict=True)]
        self.check(["XCIM_BigFan", *marked, "-Blades="], "-t gc", "XCIM_BigFan")
        self.check_fails(5, "gc", "XCIM_Nothing")

    def test_enumerate_instance_names(self):
        self.check([F1, 'XCIM_Fan.DeviceID="F2",Slot=2', 'XCIM_BigFan.DeviceID="B1",Slot=3'], "ein", "XCIM_Fan")
        self.check([FRONT, 'XCIM_Zone.Tag="rear"'], "ein", "XCIM_Zone")
        self.check([SERVES_REAR, COOLS_FRONT, BIG_COOLS_FRONT], "ein", "XCIM_Dependency")

    def test_enumerate_instances(self):
        self.check([F1, *F1_PROPERTIES,
                    'XCIM_Fan.DeviceID="F2",Slot=2', *fan_properties(DeviceID='"F2"', Slot=2, Speed=2000),
                    'XCIM_BigFan.DeviceID="B1",Slot=3', *fan_properties(DeviceID='"B1"', Slot=3, Speed=1000),
                    "-Blades=9"], "ei", "XCIM_Fan")

    def test_get_instance(self):
        echoed = 'XCIM_Fan.DeviceID="F1",Slot="1"'
        self.check([echoed, *F1_PROPERTIES], "gi", F1)
        # Keys in any order, of any spelling, and all of them texts.
        self.check(['xcim_fan.slot="0x1",deviceid="F1"', "-Slot=1", "-Speed=1000"], "gi",
                   'xcim_fan.slot="0x1",deviceid="F1"', "speed,Slot")
        self.check_fails(6, "gi", 'XCIM_Fan.DeviceID="f1",Slot=1')
        self.check_fails(4, "gi", 'XCIM_Fan.DeviceID="F1"')
        self.check_fails(4, "gi", 'XCIM_Fan.DeviceID="F1",Slot="one"')
        self.check_fails(5, "gi", 'XCIM_Nothing.Id="1"')

    def test_create_modify_and_delete_instance(self):
        self.check([F3], "ci", F3, 'DeviceID="F3",Slot=7,Speed=5,Active=true,States=1,2,Names="a","b c"')
        self.check_fails(11, "ci", F3, 'DeviceID="F3",Slot=7')
        self.check([], "mi", F3, 'Speed=77,Names="z"')
        self.check(['XCIM_Fan.DeviceID="F3",Slot="7"',
                    *fan_properties(DeviceID='"F3"', Slot=7, Speed=77, Active="TRUE", States="1,2", Names='"z"')],
                   "gi", F3)
        self.check([], "di", F3)
        self.check_fails(6, "di", F3)
        self.check_fails(6, "gi", F3)

    def test_associator_names(self):
        self.check(['XCIM_Zone.Tag="rear"', FRONT], "ain", F1)
        self.check([FRONT], "ain -ac XCIM_Cools", F1)
        self.check([F1, 'XCIM_BigFan.DeviceID="B1",Slot=3'], "ain -arc XCIM_Fan", FRONT)
        self.check(['XCIM_BigFan.DeviceID="B1",Slot=3'], "ain -arc XCIM_BigFan", FRONT)
        self.check([], "ain -arc XCIM_Zone", FRONT)
        self.check([], "ain -ar Dependent", F1)
        self.check(['XCIM_Zone.Tag="rear"', FRONT], "ain -ar Antecedent -arr dependent", F1)
        self.check_fails(6, "ain", F3)
        self.check_fails(4, "ain -ac XCIM_Nothing", F1)

    def test_associators(self):
        self.check(['XCIM_Zone.Tag="rear"', "-ElementName=", '-Tag="rear"', FRONT, "-ElementName=", '-Tag="front"'],
                   "ai", F1)
        self.check([FRONT, '-Tag="front"'], "ai -ac XCIM_Cools", F1, "Tag")

    def test_reference_names(self):
        self.check([SERVES_REAR, COOLS_FRONT], "rin", F1)
        self.check([COOLS_FRONT], "rin -arc XCIM_Cools", F1)
        self.check([COOLS_FRONT, BIG_COOLS_FRONT], "rin -ar Dependent", FRONT)
        self.check([], "rin -ar Antecedent", FRONT)

    def test_references(self):
        self.check([COOLS_FRONT, f"-Antecedent={F1}", f"-Dependent={FRONT}", "-Share=60"], "ri -arc XCIM_Cools", F1)

    def test_associations_of_a_deleted_instance_lead_nowhere(self):
        self.check([], "di", FRONT)
        self.check(['XCIM_Zone.Tag="rear"'], "ain", F1)
        self.check([SERVES_REAR, COOLS_FRONT], "rin", F1)

    def test_get_and_set_property(self):
        self.check(["1000"], "gp", F1, "Speed")
        self.check([], "sp", F1, "Speed=4711")
        self.check(["4711"], "gp", F1, "speed")
        self.check(["2,3"], "gp", F1, "States")
        self.check_fails(12, "gp", F1, "Nothing")
        self.check_fails(13, "sp", F1, "Speed=fast")
        self.check_fails(13, "sp", F1, "Slot=65536")
        self.check_fails(4, "sp", F1, "Slot=2")
        self.check(["4711"], "gp", F1, "Speed")

    def test_methods_without_behaviour(self):
        self.check_fails(16, "cm", F1, "Stop.Seconds=5")
        self.check_fails(17, "cm", F1, "Fly")

    def test_method_takes_inputs_of_many_types_and_returns_them(self):
        self.call(F1, f"SetSpeed.Speed=5,Zone={FRONT},Active=true,At=20240501102030.000000+120,States=1,2,"
                  'Names="a","b c"', "0", f"Zone (reference): {FRONT}", "Active (boolean): TRUE",
                  "At (datetime): 20240501102030.000000+120", "States (uint16): 1,2", "Names (string): a,b c",
                  "OldSpeed (uint32): 1000", "Zones (uint8): ", 'Comment (string): a <b> & \\"c\\"')

    def test_method_changes_what_is_read_next(self):
        self.call(F1, "SetSpeed.Speed=5,States=1,Names=\"n\",Active=false,At=00000000000500.000000:000,"
                  f"Zone={FRONT}", "0", f"Zone (reference): {FRONT}", "Active (boolean): FALSE",
                  "At (datetime): 00000000000500.000000:000", "States (uint16): 1", "Names (string): n",
                  "OldSpeed (uint32): 1000", "Zones (uint8): ", 'Comment (string): a <b> & \\"c\\"')
        self.check(["5"], "gp", F1, "Speed")
        self.check(["2000"], "gp", 'XCIM_Fan.DeviceID="F2",Slot=2', "Speed")
        self.call(F1, "SetSpeed.Speed=5", "5")

    def test_method_fails_as_it_is_described(self):
        self.call(F1, 'SetSpeed.Speed=6,Zone=XCIM_Zone.Tag="none"', "6", "Names (string): none",
                  "MessageID (string): SYS419")
        self.check_fails(4, "cm", F1, "SetSpeed")
        self.check_fails(4, "cm", F1, "SetSpeed.Speed=fast")
        self.check_fails(4, "cm", F1, "SetSpeed.Colour=5")
        self.check_fails(6, "cm", F3, "SetSpeed.Speed=5")
        self.check_fails(7, "cm", F1, "Wait.Seconds=2")

    def test_method_of_a_class_starts_a_job(self):
        self.call("XCIM_Fan", "Calibrate", "4096", 'Job (reference): XCIM_Job.InstanceID="JID_000000000001"')
        self.call("XCIM_BigFan", "Calibrate", "4096", 'Job (reference): XCIM_Job.InstanceID="JID_000000000002"')
        self.check(['XCIM_Job.InstanceID="JID_000000000001"', '-InstanceID="JID_000000000001"', "-State=7",
                    "-PercentComplete=100"], "gi", 'XCIM_Job.InstanceID="JID_000000000001"')


class SampleSystem(Wbemcli):
    FILES = {path.name: path.read_text(encoding="utf-8") for path in SAMPLE.iterdir()}
    SYSTEM = 'XCIM_ComputerSystem.InstanceID="System.Embedded.1"'
    DRIVE = 'XCIM_DiskDrive.DeviceID="Disk.Bay.3:Enclosure.1"'
    POWER = service("XCIM_PowerManagementService", "Power")
    INDICATORS = service("XCIM_IndicatorLEDService", "Indicators")
    DONE = "MessageID (string): SYS413"

    def test_power_control_changes_the_power_state(self):
        self.call(self.POWER, f"RequestPowerStateChange.PowerState=6,ManagedElement={self.SYSTEM}", "0", self.DONE,
                  "NewState (uint16): 6")
        self.check(["6"], "gp", self.SYSTEM, "PowerState")
        self.call(self.POWER, "RequestPowerStateChange.PowerState=2", "0", self.DONE, "NewState (uint16): 2")
        self.check(["2"], "gp", self.SYSTEM, "PowerState")

    def test_power_control_says_what_it_cannot_do(self):
        self.call(self.POWER, "RequestPowerStateChange.PowerState=2", "5", "MessageID (string): SYS426",
                  "MessageArguments (string): On,PowerState")
        self.call(self.POWER, 'RequestPowerStateChange.PowerState=6,ManagedElement=XCIM_ComputerSystem.InstanceID="X"',
                  "6", "MessageID (string): SYS419", "MessageArguments (string): X")
        self.check_fails(4, "cm", self.POWER, "RequestPowerStateChange.PowerState=77")
        self.check([], "sp", self.SYSTEM, "LockdownEnabled=true")
        self.check_fails(2, "cm", self.POWER, "RequestPowerStateChange.PowerState=6")
        self.check(["2"], "gp", self.SYSTEM, "PowerState")

    def test_indicators_are_lit_one_by_one(self):
        self.call(self.INDICATORS, f"SetIndicator.ActivationState=3,Element={self.DRIVE},DurationSeconds=60", "0",
                  "ActivationState (uint16): 3", self.DONE)
        self.check(["3"], "gp", self.DRIVE, "IndicatorState")
        self.check(["4"], "gp", 'XCIM_Enclosure.Tag="Enclosure.1"', "IndicatorState")
        self.call(self.INDICATORS, "SetIndicator.ActivationState=2", "0", "ActivationState (uint16): 2", self.DONE)
        self.check(["2"], "gp", 'XCIM_Enclosure.Tag="Enclosure.1"', "IndicatorState")
        self.call(self.INDICATORS, 'SetIndicator.ActivationState=2,Element=XCIM_DiskDrive.DeviceID="none"', "6",
                  "MessageID (string): SYS419", "MessageArguments (string): none")

    def test_diagnostics_return_arrays(self):
        lines, error = self.run_tool("cm", service("XCIM_DiagnosticService", "Diagnostics"),
                                     'RunDiagnostics.Tests=0,1,LoopCounts=2,3,Drives="a","b",Comment="nightly"')
        self.assertEqual(error, "")
        self.assertEqual(lines[1:5], [self.DONE, "OverallResult (uint16): 0", "Results (uint16): 0,0,0,0,2",
                                      "Durations (uint32): 2,14,5,1,0"])
        self.assertRegex(lines[5], r"^CompletedAt \(datetime\): \d{14}\.\d{6}\+000$")
        self.assertEqual(lines[6:], ["LogCleared (boolean): TRUE"])

    def test_firmware_update_is_a_job(self):
        job = 'XCIM_ConcreteJob.InstanceID="JID_000000000001"'
        self.call(service("XCIM_SoftwareInstallationService", "Installation"),
                  'InstallFromURI.URI="http://127.0.0.1/fw",InstallOptions=5,10,ApplyTime=20240501102030.000000:000',
                  "4096", f"Job (reference): {job}", "MessageID (string): SYS414")
        self.check(["20240501102030.000000+000"], "gp", job, "ScheduledTime")

    def test_maintenance_is_scheduled_with_all_kinds_of_inputs(self):
        controller = service("XCIM_ManagementController", "Tavix.Embedded.1")
        self.call(controller, "ScheduleMaintenance.StartTime=20240501102030.000000:000,Days=1,5,Tasks=\"S\",\"L\","
                  f'Recipients="a","b",RetryMinutes=5,10,NotifyUsers=true,Priority=-3,ManagedElement={self.SYSTEM}',
                  "0", "Days (uint16): 1,5", "RetryMinutes (uint32): 5,10", "Priority (sint16): -3", self.DONE,
                  "ScheduleNumber (uint64): 18446744073709551615", "NextRun (datetime): 20240501102030.000000+000",
                  "ClockOffset (sint64): -1843", "Load (real64): 0.25", "Approved (boolean): TRUE")
        self.check(["20240501102030.000000+000"], "gp", controller, "MaintenanceStart")
        self.check(["S,L"], "gp", controller, "MaintenanceTasks")


if __name__ == "__main__":
    unittest.main(verbosity=2)
