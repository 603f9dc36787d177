#!/usr/bin/python3
"""Live requests through the library, beside bare libcurl requests for the same:  live_bench.py BUILD

Reads an instance and calls a method. The object manager holds the rows of the measured cache.
"""

import json
import sqlite3
import subprocess
import sys
import tempfile
from datetime import datetime, timezone
from pathlib import Path
from xml.sax.saxutils import escape

from measured import running

CIM_CLASS = "XCIM_Disk0"
KEY = "InstanceID"
HEADER_BYTES = 8  # of an array's cell: its kind and the number of elements
SEPARATOR = "#░#"

# The service whose action is measured.
SERVICE_CLASS = "XCIM_TaskService"
PARAMETERS = {"Comment": "string", "Level": "uint16", "Modes": "uint16[]", "Names": "string[]", "Owner": "string",
              "Passes": "uint32", "StartTime": "datetime", "Thorough": "boolean", "Title": "string"}
OUTPUTS = {"Result": "uint16", "Messages": "string[]"}
METHODS = {"namespace": "root/xcim",
           "methods": {f"{SERVICE_CLASS}.StartTask": [{"return": 0, "outputs": {"Result": 0, "Messages": ["done"]}}]}}
KEY_QUALIFIER = '<QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>'


def value_xml(cell, cim_type):
    """A cell of the cache as the object manager would have it."""
    if isinstance(cell, bytes):
        elements = cell[HEADER_BYTES:].decode("utf-8").split(SEPARATOR)
        return f'<VALUE.ARRAY>{"".join(value_xml(element, cim_type) for element in elements)}</VALUE.ARRAY>'
    if cim_type == "boolean":
        cell = "TRUE" if cell else "FALSE"
    elif cim_type == "datetime":
        cell = f"{datetime.fromtimestamp(cell / 1e6, timezone.utc):%Y%m%d%H%M%S.%f}+000"
    return f"<VALUE>{escape(str(cell))}</VALUE>"


def property_xml(name, entry, value):
    element = "PROPERTY.ARRAY" if entry.get("is_arraytype") else "PROPERTY"
    return f'<{element} NAME="{name}" TYPE="{entry["cim_type"]}">{value}</{element}>'


def parameter_xml(name, cim_type):
    if cim_type.endswith("[]"):
        return f'<PARAMETER.ARRAY NAME="{name}" TYPE="{cim_type[:-2]}"/>'
    return f'<PARAMETER NAME="{name}" TYPE="{cim_type}"/>'


def service_objects():
    """The task service's class and its one instance."""
    parameters = "".join(parameter_xml(name, cim_type) for name, cim_type in (PARAMETERS | OUTPUTS).items())
    key = f'<PROPERTY NAME="{KEY}" TYPE="string">'
    return [f'<CLASS NAME="{SERVICE_CLASS}">{key}{KEY_QUALIFIER}</PROPERTY>'
            f'<METHOD NAME="StartTask" TYPE="uint32">{parameters}'
            f'<PARAMETER.REFERENCE NAME="Drive" REFERENCECLASS="{CIM_CLASS}"/></METHOD></CLASS>',
            f'<INSTANCE CLASSNAME="{SERVICE_CLASS}">{key}<VALUE>Task.1</VALUE></PROPERTY></INSTANCE>']


def write_repository(system, repository):
    """Declares classes and instances: those of the cache's table, and the service."""
    properties = json.loads((system / "mapping.json").read_text())["VexoDisk0"]["mappings"][CIM_CLASS]["properties"]
    declared = "".join(property_xml(name, entry, KEY_QUALIFIER if name == KEY else "") for name, entry in properties.items())
    objects = [f'<CLASS NAME="{CIM_CLASS}">{declared}</CLASS>', *service_objects()]
    cache = sqlite3.connect(system / "cache.db")
    for row in cache.execute(f"SELECT {', '.join(properties)} FROM Tbl_{CIM_CLASS}"):
        cells = "".join(property_xml(name, properties[name], value_xml(cell, properties[name]["cim_type"]))
                        for name, cell in zip(properties, row))
        objects.append(f'<INSTANCE CLASSNAME="{CIM_CLASS}">{cells}</INSTANCE>')
    cache.close()
    (repository / "service.methods.json").write_text(json.dumps(METHODS))
    (repository / "disks.xml").write_text(
        '<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>'
        '<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>'
        + "".join(f"<VALUE.OBJECT>{one}</VALUE.OBJECT>" for one in objects)
        + "</DECLGROUP></DECLARATION></CIM>", encoding="utf-8")


def main():
    build = Path(sys.argv[1])
    with tempfile.TemporaryDirectory(prefix="cimgate-bench-") as directory:
        system, repository = Path(directory), Path(directory, "repository")
        repository.mkdir()
        subprocess.run([build / "bench/write_bench_system", system], check=True, stdout=subprocess.DEVNULL)
        write_repository(system, repository)
        with running([build / "tools/cimomd/cimgate-cimomd", "--listen", "127.0.0.1:0", "--repository", repository]) as manager:
            for program in ("live_benchmark", "action_benchmark"):
                subprocess.run([build / "bench" / program, manager.base, system], check=True, stderr=subprocess.DEVNULL)


main()
