#!/usr/bin/python3
"""sushy (Debian's python3-sushy) at the service with the sample: what a provisioner does with a server.

Environment: as in sample_service.py.
"""

import os
import unittest

import sushy
from sample_service import sample_service
from sushy.resources.registry.message_registry_file import MessageRegistryFileCollection


class Sushy(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        service = cls.enterClassContext(sample_service())
        for name in ("REQUESTS_CA_BUNDLE", "CURL_CA_BUNDLE"):
            os.environ.pop(name, None)
        # There are no users yet: whoever asks is let in.
        cls.root = sushy.Sushy(service.base + "/redfish/v1", auth=sushy.auth.BasicAuth("anyone", "anything"))

    def system(self):
        [identity] = self.root.get_system_collection().members_identities
        return self.root.get_system(identity)

    def test_root(self):
        self.assertEqual((self.root.identity, self.root.redfish_version), ("RootService", "1.6.0"))

    def test_system(self):
        system = self.system()
        self.assertEqual((system.identity, system.serial_number, system.power_state),
                         ("System.Embedded.1", "VX7Q2M1", sushy.PowerState.ON))
        self.assertEqual((system.status.state, system.memory_summary.health), (sushy.State.ENABLED, "OK"))
        self.assertGreater(system.memory_summary.size_gib, 0)

    def test_reset_and_the_state_after_it(self):
        system = self.system()
        self.assertLessEqual({sushy.ResetType.ON, sushy.ResetType.FORCE_OFF}, system.get_allowed_reset_system_values())
        for reset_type, state in ((sushy.ResetType.FORCE_OFF, sushy.PowerState.OFF), (sushy.ResetType.ON, sushy.PowerState.ON)):
            system.reset_system(reset_type)
            system.refresh()
            self.assertEqual(system.power_state, state)
        # What the server does not take now is refused with a message that sushy understands.
        with self.assertRaises(sushy.exceptions.BadRequestError):
            system.reset_system(sushy.ResetType.ON)

    def test_chassis_and_manager(self):
        system = self.system()
        [chassis], [manager] = system.chassis, system.managers
        self.assertEqual((chassis.identity, chassis.chassis_type, chassis.power_state),
                         ("System.Embedded.1", sushy.ChassisType.RACK_MOUNT, sushy.PowerState.ON))
        self.assertEqual((manager.identity, manager.manager_type), ("Tavix.Embedded.1", sushy.ManagerType.BMC))
        self.assertEqual([one.identity for one in manager.systems], ["System.Embedded.1"])

    def test_registries(self):
        # Sushy.registries wants files that Debian's package leaves out.
        files = MessageRegistryFileCollection(self.root._conn, "/redfish/v1/Registries").get_members()  # pylint: disable=protected-access
        registries = {file.registry: file.get_message_registry("en", None) for file in files}
        self.assertIn("Base.1.18", registries)
        self.assertIn("ResourceMissingAtURI", registries["Base.1.18"].messages)

    def test_what_is_not_there_is_not_found(self):
        with self.assertRaises(sushy.exceptions.ResourceNotFoundError):
            self.root.get_system("/redfish/v1/Systems/none")


if __name__ == "__main__":
    unittest.main(verbosity=2)
