#!/usr/bin/python3
"""Debian's wbemcli runs its operations against the object manager.

It prints keys of references, and those of the path that it was given, in quotes when they travel as texts. It does not
read arrays with null elements.
"""

import subprocess
import unittest

from cim_object_manager import NAMESPACE, PATIENCE_S, ObjectManager
from small_model import FILES

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


class Wbemcli(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.manager = ObjectManager(FILES).start()
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

    def test_enumerate_class_names(self):
        self.check(["XCIM_Element", "XCIM_Fan", "XCIM_BigFan", "XCIM_Zone", "XCIM_Dependency", "XCIM_Cools"], "ecn")
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
        self.check_fails(5, "ain -ac XCIM_Nothing", F1)

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


if __name__ == "__main__":
    unittest.main(verbosity=2)
