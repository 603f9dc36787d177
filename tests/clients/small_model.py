"""A small repository with a superclass, all kinds of values, an association, and methods."""

import json

from cim_object_manager import NAMESPACE, InstancePath, class_element, declaration, instance_element, method_element

METHODS = "".join([
    # Nobody describes what it does.
    method_element("Stop", {"Seconds": "uint16"}),
    method_element("SetSpeed", {"Speed": "uint32", "Zone": "ref:XCIM_Zone", "Active": "boolean", "At": "datetime",
                                "States": "uint16[]", "Names": "string[]", "OldSpeed": "uint32", "Zones": "uint8[]",
                                "Comment": "string", "MessageID": "string"}),
    method_element("Calibrate", {"Job": "ref:XCIM_Job"}),
    method_element("Wait", {"Seconds": "uint16"}),
])

DESCRIPTIONS = {
    "XCIM_Fan.SetSpeed": [
        {"when": [{"input": "Speed", "is": None}], "error": {"code": 4, "description": "how fast?"}},
        {"when": [{"input": "Zone", "exists": False}], "return": 6,
         "outputs": {"MessageID": "SYS419", "Names": [{"input": "Zone", "key": "Tag"}]}},
        {"when": [{"object": "this", "property": "Speed", "is": {"input": "Speed"}}], "return": 5},
        {"return": 0,
         "outputs": {"Zone": {"input": "Zone"}, "Active": {"input": "Active"}, "At": {"input": "At"},
                     "States": {"input": "States"}, "Names": {"input": "Names"}, "OldSpeed": 1000, "Zones": [],
                     "Comment": "a <b> & \"c\""},
         "set": [{"object": "this", "properties": {"Speed": {"input": "Speed"}}}]},
    ],
    "XCIM_Fan.Calibrate": [
        {"return": 4096, "outputs": {"Job": {"job": True}},
         "job": {"class": "XCIM_Job", "seconds": 0, "steps": [{"percent": 100, "properties": {"State": 7}}]}},
    ],
    "XCIM_Fan.Wait": [
        {"when": [{"input": "Seconds", "is": 600}], "delay": 600, "return": 600},
        {"when": [{"input": "Seconds", "is": 1}], "delay": 1, "return": 1},
        {"delay": 1, "error": {"code": 7, "description": "nobody waits so long"}},
    ],
}

CLASSES = declaration([
    class_element("XCIM_Element", {"ElementName": "string"}, qualifiers=["Abstract"]),
    class_element("XCIM_Fan", {"DeviceID": "string", "Slot": "uint16", "Speed": ("uint32", 1000), "Offset": "sint8",
                               "Load": "real32", "Active": "boolean", "Installed": "datetime", "States": "uint16[]",
                               "Names": "string[]"},
                  keys=["DeviceID", "Slot"], superclass="XCIM_Element", methods=METHODS),
    class_element("XCIM_BigFan", {"Blades": "uint8"}, superclass="XCIM_Fan"),
    class_element("XCIM_Job", {"InstanceID": "string", "State": "uint16", "PercentComplete": "uint16"},
                  keys=["InstanceID"]),
    class_element("XCIM_Zone", {"Tag": "string"}, keys=["Tag"], superclass="XCIM_Element"),
    class_element("XCIM_Dependency", {"Antecedent": "ref:XCIM_Element", "Dependent": "ref:XCIM_Element"},
                  keys=["Antecedent", "Dependent"], qualifiers=["Association"]),
    class_element("XCIM_Cools", {"Share": "uint8"}, superclass="XCIM_Dependency"),
])

INSTANCES = declaration([
    instance_element("XCIM_Fan", {"ElementName": ("string", "Fan <1> & \"more\""), "DeviceID": ("string", "F1"),
                                  "Slot": ("uint16", 1), "Offset": ("sint8", -5), "Load": ("real32", 0.5),
                                  "Active": ("boolean", True), "Installed": ("datetime", "20240501102030.000000+120"),
                                  "States": ("uint16[]", [2, 3]), "Names": ("string[]", ["left", "ünder"])}),
    # A value that comes as text takes the declared type.
    instance_element("XCIM_Fan", {"DeviceID": ("string", "F2"), "Slot": ("string", "2"), "Speed": ("string", "2000")}),
    instance_element("XCIM_BigFan", {"DeviceID": ("string", "B1"), "Slot": ("uint16", 3), "Blades": ("uint8", 9)}),
    instance_element("XCIM_Zone", {"Tag": ("string", "front")}),
    instance_element("XCIM_Zone", {"Tag": ("string", "rear")}),
    instance_element("XCIM_Cools", {
        "Antecedent": ("ref:XCIM_Fan", InstancePath("XCIM_Fan", DeviceID="F1", Slot=1)),
        "Dependent": ("ref:XCIM_Zone", InstancePath("XCIM_Zone", Tag="front")), "Share": ("uint8", 60)}),
    instance_element("XCIM_Cools", {
        "Antecedent": ("ref:XCIM_BigFan", InstancePath("XCIM_BigFan", Slot=3, DeviceID="B1")),
        "Dependent": ("ref:XCIM_Zone", InstancePath("XCIM_Zone", Tag="front")), "Share": ("uint8", 40)}),
    instance_element("XCIM_Dependency", {
        "Antecedent": ("ref:XCIM_Fan", InstancePath("XCIM_Fan", DeviceID="F1", Slot=1)),
        "Dependent": ("ref:XCIM_Zone", InstancePath("XCIM_Zone", Tag="rear"))}),
])

FILES = {"10-classes.xml": CLASSES, "20-instances.xml": INSTANCES,
         "10-classes.methods.json": json.dumps({"namespace": NAMESPACE, "methods": DESCRIPTIONS})}
