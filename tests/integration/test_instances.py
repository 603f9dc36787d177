"""Single instances and singletons over HTTP: values, annotations, links, $select."""

import unittest

from cimgate_host import Host, array_cell, collection, entry, ready

ROOT = "/redfish/v1/Vexo/"
CHASSIS = ROOT + "Chassis/System.Embedded.1/"
ACTIONS = {"#VexoService.Run": {"target": ROOT + "VexoService/Actions/VexoService.Run", "Title": "Run"},
           "#VexoService.Stop": {"target": ROOT + "VexoService/Actions/VexoService.Stop"}}

DISK_PROPERTIES = {
    "InstanceID": {"cim_type": "string"},
    "State": {"cim_type": "uint16", "value_mapping": {"2": "Enabled", "3": "Disabled"}},
    "Size": {"cim_type": "uint64", "alias": "SizeInBytes"},
    "Shift": {"cim_type": "sint64"},
    "Margin": {"cim_type": "sint8"},
    "Hot": {"cim_type": "boolean"},
    "Installed": {"cim_type": "datetime"},
    "Words": {"cim_type": "string"},
    "Speeds": {"cim_type": "uint32"},
    "States": {"cim_type": "uint16", "value_mapping": {"1": "One", "2": "Two"}},
    "NoValue": {"cim_type": "string"},
    "Blank": {"cim_type": "string"},
}
DISK_ROW = ("Disk#1", 2, 18446744073709551, -9007199254740993, -5, 1, 1714559430123456,
            array_cell(["a", "b"], count=3), array_cell([6000, 12000], kind=2),
            array_cell([1, 2, 9], kind=2), None, "")


def mapping():
    enclosure_links = {"ComputerSystem": {"@odata.id": ROOT + "System"}, "VexoEnclosureEMMCollection": {},
                       "VexoEnclosureCollection": {}}
    return {
        "VexoDisk": entry(ROOT + "VexoDisk", "XCIM_Disk", DISK_PROPERTIES,
                          in_class={"Actions": {"#VexoDisk.Erase": {"target": "/x/Actions/VexoDisk.Erase"}}}),
        "VexoDisks": collection(ROOT + "VexoDisks", "VexoDisk"),
        "VexoNamed": entry(ROOT + "VexoNamed", "XCIM_Named", {"Name": {"cim_type": "string"}}, key="Tag"),
        "VexoLoading": entry(ROOT + "VexoLoading", "XCIM_Loading", {"InstanceID": {"cim_type": "string"}}),
        "VexoLive": entry(ROOT + "VexoLive", "XCIM_Live", {"InstanceID": {"cim_type": "string"}},
                          in_class={"is_cached": False}),
        "VexoFixed": entry(ROOT + "VexoFixed", "XCIM_Disk", DISK_PROPERTIES, key="", Selectors="A=1,B=2"),
        "VexoService": entry(ROOT + "VexoService", "XCIM_Service", {}, key="", in_class={"Actions": ACTIONS}),
        "VexoEnclosureEMM": entry(CHASSIS + "VexoEnclosureEMM", "XCIM_EMM", {"DeviceID": {"cim_type": "string"}},
                                  key="DeviceID", Links=enclosure_links),
        "VexoPowerSupply": entry(ROOT + "VexoPowerSupply", "XCIM_PSU", {"DeviceID": {"cim_type": "string"}},
                                 key="DeviceID",
                                 Links={"VexoPSNumericSensorCollection": {}, "Other": {}}),
    }


def fill(connection):
    columns = ",".join(DISK_PROPERTIES)
    connection.execute(f"CREATE TABLE Tbl_XCIM_Disk ({columns})")
    connection.execute(f"INSERT INTO Tbl_XCIM_Disk VALUES ({','.join('?' * len(DISK_ROW))})", DISK_ROW)
    connection.execute("CREATE TABLE Tbl_XCIM_Named (Tag TEXT, Name TEXT)")
    connection.execute("INSERT INTO Tbl_XCIM_Named VALUES ('N.1', 'Mapped')")
    connection.execute("CREATE TABLE Tbl_XCIM_Loading (InstanceID TEXT)")
    connection.execute("CREATE TABLE Tbl_XCIM_EMM (DeviceID TEXT)")
    connection.executemany("INSERT INTO Tbl_XCIM_EMM VALUES (?)", [("E#1",), ("E.2",)])
    connection.execute("CREATE TABLE Tbl_XCIM_PSU (DeviceID TEXT)")
    connection.executemany("INSERT INTO Tbl_XCIM_PSU VALUES (?)", [("PSU.Slot.2",), ("Battery",)])
    connection.execute("CREATE TABLE Tbl_XCIM_EnclosureEMMDependency "
                       "(__LeftClass, __LeftClassKey, __RightClass, __RightClassKey)")
    connection.executemany("INSERT INTO Tbl_XCIM_EnclosureEMMDependency VALUES (?,?,?,?)", [
        ("XCIM_EMM", "E#1", "XCIM_EMM", "E#1"),
        ("XCIM_EMM", "E#1", "XCIM_ComputerSystem", "System"),
        ("XCIM_EMM", "E#1", "XCIM_Other", None)])
    # Letter case does not matter there.
    ready(connection, "xcim_disk", "XCIM_Named", "XCIM_Service", "XCIM_EMM", "XCIM_PSU")


class WithHost(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.host = Host(mapping(), fill)

    @classmethod
    def tearDownClass(cls):
        assert cls.host.stop() == 0

    def get(self, target):
        answer = self.host.get(target)
        self.assertEqual(answer.status, 200, answer.body)
        return answer.json

    def check_error(self, target, status, ids, args=None):
        answer = self.host.get(target)
        self.assertEqual(answer.status, status, answer.body)
        self.assertEqual(answer.message_ids, ids)
        if args is not None:
            self.assertEqual(answer.message_args[0], args)
        return answer


class Instances(WithHost):
    def test_every_kind_of_cell(self):
        self.assertEqual(self.get(ROOT + "VexoDisk/Disk%231"), {
            "@odata.id": ROOT + "VexoDisk/Disk%231", "@odata.type": "#T.v1_0_0.T",
            "@odata.context": "/redfish/v1/$metadata#T.T", "Id": "Disk#1", "Name": "A thing",
            "Description": "Things.", "InstanceID": "Disk#1", "State": "Enabled",
            "SizeInBytes": 18446744073709551, "Shift": -9007199254740993, "Margin": -5, "Hot": True,
            "Installed": "2024-05-01T10:30:30+0000", "Words": ["a", "b"], "Speeds": [6000, 12000],
            "States": ["One", "Two", "9"], "NoValue": None, "Blank": None,
            "Actions": {"#VexoDisk.Erase": {"target": "/x/Actions/VexoDisk.Erase"}}})

    def test_a_member_has_element_counts_and_no_actions(self):
        member, = self.get(ROOT + "VexoDisks")["Members"]
        self.assertEqual(member["Words@odata.count"], 3)
        self.assertEqual(member["Speeds@odata.count"], 2)
        self.assertEqual(member["SizeInBytes"], 18446744073709551)
        self.assertNotIn("Actions", member)

    def test_headers(self):
        answer = self.host.get(ROOT + "VexoDisk/Disk%231")
        for name, value in {"allow": "GET,HEAD", "link": "</schema>; rel=describedby",
                            "content-type": "application/json", "odata-version": "4.0",
                            "cache-control": "no-cache"}.items():
            self.assertEqual(answer.headers.get(name), value)

    def test_head_has_the_headers_of_get_and_no_body(self):
        get = self.host.get(ROOT + "VexoDisk/Disk%231")
        head = self.host.request(ROOT + "VexoDisk/Disk%231", "--head")
        self.assertEqual(head.status, 200)
        drop = {"date"}
        self.assertEqual({name: value for name, value in head.headers.items() if name not in drop},
                         {name: value for name, value in get.headers.items() if name not in drop})
        self.assertEqual(int(head.headers["content-length"]), len(get.body))

    def test_a_mapped_name_wins_and_an_unmapped_key_is_not_shown(self):
        named = self.get(ROOT + "VexoNamed/N.1")
        self.assertEqual((named["Name"], named["Id"]), ("Mapped", "N.1"))
        self.assertNotIn("Tag", named)

    def test_missing_instances(self):
        missing = ["Vexo.1.0.SYS403", "Base.1.18.ResourceMissingAtURI"]
        self.check_error(ROOT + "VexoDisk/Nope", 404, missing, ["VexoDisk"])
        self.check_error(ROOT + "VexoDisk", 404, missing, [""])
        self.check_error(ROOT + "VexoDisk/Disk%231/More", 404, missing)
        self.check_error(ROOT + "VexoDisks/Disk%231", 404, missing)

    def test_a_class_that_is_not_ready(self):
        answer = self.check_error(ROOT + "VexoLoading/1", 503, ["Base.1.18.ServiceTemporarilyUnavailable"],
                                  ["5"])
        self.assertEqual(answer.headers["retry-after"], "5")

    def test_what_needs_live_reads_says_so(self):
        self.assertEqual(self.host.get(ROOT + "VexoLive/1").status, 501)
        self.assertEqual(self.host.get(ROOT + "VexoFixed").status, 501)

    def test_singleton(self):
        self.assertEqual(self.get(ROOT + "VexoService"), {
            "@odata.id": ROOT + "VexoService", "@odata.type": "#T.v1_0_0.T",
            "@odata.context": "/redfish/v1/$metadata#T.T", "Id": "VexoService", "Name": "A thing",
            "Description": "Things.", "Actions": ACTIONS})


class Links(WithHost):
    def test_association_links_skip_the_system_and_rows_that_are_no_text(self):
        links = self.get(CHASSIS + "VexoEnclosureEMM/E%231")["Links"]
        self.assertEqual(links, {
            "ComputerSystem": {"@odata.id": ROOT + "System"},
            "VexoEnclosureEMMCollection": [{"@odata.id": CHASSIS + "VexoEnclosureEMM/E%231"}],
            "VexoEnclosureCollection": [{"@odata.id": CHASSIS + "VexoEnclosure/E%231"}]})

    def test_links_without_rows_are_left_out(self):
        self.assertEqual(self.get(CHASSIS + "VexoEnclosureEMM/E.2")["Links"],
                         {"ComputerSystem": {"@odata.id": ROOT + "System"}})

    def test_links_by_the_number_of_a_power_supply(self):
        self.assertEqual(self.get(ROOT + "VexoPowerSupply/PSU.Slot.2")["Links"], {
            "VexoPSNumericSensorCollection": [{"@odata.id":
                ROOT + "Systems/System.Embedded.1/VexoPSNumericSensor/Tavix.Embedded.1%23PS2Current2"}]})
        self.assertIsNone(self.get(ROOT + "VexoPowerSupply/Battery")["Links"])

    def test_selected_links(self):
        uri = CHASSIS + "VexoEnclosureEMM/E%231?$select="
        self.assertEqual(set(self.get(uri + "Links")["Links"]),
                         {"ComputerSystem", "VexoEnclosureEMMCollection", "VexoEnclosureCollection"})
        self.assertEqual(self.get(uri + "Links/ComputerSystem")["Links"],
                         {"ComputerSystem": {"@odata.id": ROOT + "System"}})
        self.assertEqual(set(self.get(uri + "Links/ComputerSystem/@odata.id")["Links"]), {"ComputerSystem"})
        self.assertNotIn("Links", self.get(uri + "DeviceID"))
        self.check_error(uri + "Links/Nope", 400, ["Vexo.1.0.SYS429", "Base.1.18.PropertyUnknown"], ["Nope"])


class Select(WithHost):
    DISK = ROOT + "VexoDisk/Disk%231"
    ALWAYS = {"@odata.id", "@odata.type", "@odata.context", "InstanceID", "Actions"}

    def members(self, select):
        return set(self.get(f"{self.DISK}?$select={select}"))

    def test_forms(self):
        for select, shown in [
                ("State", {"State"}), ("State,Hot", {"State", "Hot"}), ("+State,++Hot+", {"State", "Hot"}),
                ("Id", {"Id"}), ("Name", {"Name"}), ("Description", {"Description"}),
                ("@odata.id", set()), ("SizeInBytes", {"SizeInBytes"}), ("%53tate", {"State"})]:
            with self.subTest(select=select):
                self.assertEqual(self.members(select), self.ALWAYS | shown)

    def test_everything(self):
        whole = set(self.get(self.DISK))
        for select in ("*", "State,*", "*,State"):
            self.assertEqual(self.members(select), whole)

    def test_an_alias_must_begin_with_the_property_and_replaces_it(self):
        self.check_error(self.DISK + "?$select=Size", 400, ["Vexo.1.0.SYS429", "Base.1.18.PropertyUnknown"],
                         ["Size"])

    def test_unknown_items_are_refused(self):
        for item in ("Nope", "state", "Stat", "State ", "Words@odata.count", ""):
            with self.subTest(item=item):
                self.check_error(self.DISK + "?$select=Hot," + item.replace(" ", "%20"), 400,
                                 ["Vexo.1.0.SYS429", "Base.1.18.PropertyUnknown"], [item])

    def test_length(self):
        name = "State"
        longest = name + "," * 0 + "+" * (255 - len(name))
        self.assertEqual(self.members(longest), self.ALWAYS | {"State"})
        for value in (longest + "+", ""):
            self.check_error(f"{self.DISK}?$select={value}", 500, ["Vexo.1.0.SYS446", "Base.1.18.InternalError"])

    def test_expand_and_filter(self):
        ids = ["Vexo.1.0.SYS451", "Base.1.18.QueryNotSupported"]
        self.check_error(self.DISK + "?$expand=*", 501, ids, ["Expand"])
        self.check_error(self.DISK + "?$filter=x&$expand=y", 501, ids, ["Expand"])
        self.check_error(self.DISK + "?$filter=x", 501, ids, ["Filter"])
        self.check_error(ROOT + "VexoService?$filter=x", 501, ids, ["Filter"])
        self.assertEqual(self.members("State&$expand=*&$filter=x"), self.ALWAYS | {"State"})

    def test_actions(self):
        uri = ROOT + "VexoService?$select="
        self.assertEqual(self.get(uri + "Actions")["Actions"], ACTIONS)
        self.assertEqual(self.get(uri + "Actions/%23VexoService.Stop")["Actions"],
                         {"#VexoService.Stop": ACTIONS["#VexoService.Stop"]})
        self.assertEqual(self.get(uri + "Actions/%23VexoService.Run/target")["Actions"],
                         {"#VexoService.Run": {"target": ACTIONS["#VexoService.Run"]["target"]}})
        self.assertEqual(self.get(uri + "Name")["Actions"], ACTIONS)
        self.check_error(uri + "Actions/Unknown", 400, ["Vexo.1.0.SYS429", "Base.1.18.PropertyUnknown"],
                         ["Actions/Unknown"])


del WithHost

if __name__ == "__main__":
    unittest.main(verbosity=2)
