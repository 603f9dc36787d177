"""A small repository with a superclass, all kinds of values, and an association."""

from cim_object_manager import InstancePath, class_element, declaration, instance_element

STOP = ('<METHOD NAME="Stop" TYPE="uint32"><PARAMETER NAME="Seconds" TYPE="uint16">'
        '<QUALIFIER NAME="In" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER></PARAMETER></METHOD>')

CLASSES = declaration([
    class_element("XCIM_Element", {"ElementName": "string"}, qualifiers=["Abstract"]),
    class_element("XCIM_Fan", {"DeviceID": "string", "Slot": "uint16", "Speed": ("uint32", 1000), "Offset": "sint8",
                               "Load": "real32", "Active": "boolean", "Installed": "datetime", "States": "uint16[]",
                               "Names": "string[]"},
                  keys=["DeviceID", "Slot"], superclass="XCIM_Element", methods=STOP),
    class_element("XCIM_BigFan", {"Blades": "uint8"}, superclass="XCIM_Fan"),
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

FILES = {"10-classes.xml": CLASSES, "20-instances.xml": INSTANCES}
