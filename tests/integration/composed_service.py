"""A service with a service file made for one test, and mapped resources that its resources are made of."""

import json
import os
import re
import signal

from cimgate_host import BASE, Service, array_cell, collection_entry, member_entry, wait_until
from oem_client import BY_ID, container_entry, embedded_entry

TEXT = {"cim_type": "string"}
NUMBER = {"cim_type": "uint32"}
HEALTH = {"cim_type": "uint16", "value_mapping": {"0": "Unknown", "5": "Good", "10": "Poor", "25": "Broken"}}
# What becomes of the mapping's words.
HEALTHS = {"Good": "OK", "Poor": "Warning", "Broken": "Critical"}

THING = f"{BASE}/VexoThing/T.1"
THINGS = f"{BASE}/VexoThingCollection"
LEFT, RIGHT = f"{BASE}/VexoLeft/L", f"{BASE}/VexoRight/R"
NOT_READY = f"{BASE}/VexoLate/L.1"
LIVE = f"{BASE}/VexoLive/L.1"
DEADLY = f"{BASE}/VexoDeadly/D.1"
GONE = f"{BASE}/VexoThing/gone"
ACTION = f"{BASE}/VexoSwitch/Actions/VexoSwitch.Turn"

ROOT = "/redfish/v1"
CHASSIS = f"{ROOT}/Chassis/C"


def mapping():
    made = embedded_entry("VexoThing", "XCIM_Thing", {"A": TEXT, "N": NUMBER, "Health": HEALTH, "IsOn": {"cim_type": "boolean"},
                                                      "Words": {"cim_type": "string", "is_arraytype": True}})
    made |= collection_entry("VexoThing")
    for name in ("Left", "Right"):
        made |= member_entry(f"Vexo{name}", f"XCIM_{name}", {"N": NUMBER}) | collection_entry(f"Vexo{name}")
    for name in ("Few", "Many"):
        made |= member_entry(f"Vexo{name}", f"XCIM_{name}", {"N": NUMBER}) | collection_entry(f"Vexo{name}")
    for name in ("Page", "Stuck"):  # whose next links lead to the first page again
        made |= member_entry(f"Vexo{name}", f"XCIM_{name}", {"N": NUMBER}) | collection_entry(f"Vexo{name}", top_skip=False)
    made |= member_entry("VexoLate", "XCIM_Late", {"A": TEXT}) | collection_entry("VexoLate")
    made |= member_entry("VexoLive", "XCIM_Live", {"A": TEXT}, cached=False)
    made |= member_entry("VexoDeadly", "XCIM_Deadly", {"A": NUMBER})
    made |= container_entry("ThingOem", VexoThing=BY_ID)
    switch = member_entry("VexoSwitch", "XCIM_Switch", {}, key="")
    switch["VexoSwitch"]["mappings"]["XCIM_Switch"] = {
        "Actions": {"#VexoSwitch.Turn": {"target": ACTION}},
        "methods": {"Turn": {"inputs": {"To": {"redfish_type": "Edm.String", "cim_type": "uint16", "isrequired": True,
                                               "value_mapping": {"2": "Up", "3": "Down"}},
                                        "Why": {"redfish_type": "Edm.String", "cim_type": "string"}},
                             "outputs": {}}}}
    return made | switch


def cache():
    """The rows beside which a third class is not ready, and another ends its workers."""
    things = [("T.1", "first", 1500, 5, 1, array_cell(1, ["Good", "Poor", "other"])),
              ("T.2", "second", 500, 10, 0, None), ("T.3", None, None, 0, None, None)]
    key_and_number = ["InstanceID", "N"]
    classes = {"XCIM_Thing": (["InstanceID", "A", "N", "Health", "IsOn", "Words"], things),
               "XCIM_Left": (key_and_number, [("L", 0)]), "XCIM_Right": (key_and_number, [("R", 0)]),
               "XCIM_Few": (key_and_number, [(f"F.{i}", 1) for i in range(1000)]),
               "XCIM_Many": (key_and_number, [(f"M.{i}", 1) for i in range(1001)]),
               "XCIM_Page": (key_and_number, [(f"P.{i}", 1) for i in range(50)]),
               "XCIM_Stuck": (key_and_number, [(f"S.{i}", 1) for i in range(51)]),
               "XCIM_Late": (["InstanceID", "A"], [("L.1", "late")]),
               "XCIM_Deadly": (["InstanceID", "A"], [("D.1", 1.5)])}
    return {"classes": classes, "ready": [name for name in classes if name != "XCIM_Late"]}


def chassis(**properties):
    """The declaration of one chassis with these properties."""
    return {CHASSIS: {"@odata.type": "#Chassis.v1_14_0.Chassis", "Name": "C", **properties}}


def of(uri, name, **more):
    """The source of a property."""
    return {"from": uri, "property": name, **more}


class ComposedService(Service):
    """cimgated with that mapping and cache, and a service file: JSON, or a text as it is."""

    def __init__(self, declared, *options, rmf=None, rows=None):
        super().__init__(rmf or mapping(), rows or cache())
        self.service_path = self.directory / "service.json"
        text = declared if isinstance(declared, str) else json.dumps(declared, indent=1)
        self.service_path.write_text(text, encoding="utf-8")
        self.command += ["--service", str(self.service_path), *options]

    def body(self, uri=CHASSIS):
        answer = self.get(uri)
        if answer.status != 200:
            raise AssertionError(f"{uri} is {answer.status}: {answer.body[:500]!r}")
        return answer.json()

    def given_again(self):
        """How many answers were given without a worker so far."""
        before = self.log().count("counters:")
        os.kill(self.process.pid, signal.SIGUSR1)
        wait_until(lambda: self.log().count("counters:") > before, "the counters")
        return int(re.findall(r"kept answers \d+ of \d+ bytes, given (\d+)", self.log())[-1])


def missing(status):
    """Which values of a resource are not there, by its Status: (pointer, message key)."""
    return [(message["RelatedProperties"], message["MessageId"].rpartition(".")[2]) for message in status["@Message.ExtendedInfo"]]
