"""A running cimgate-cimomd with a repository made for one test.

Environment: CIMOMD, the program.
"""

import os
import urllib.request
from pathlib import Path
from xml.sax.saxutils import quoteattr

from program import PATIENCE_S, Program

CIMOMD = os.environ["CIMOMD"]
NAMESPACE = "root/xcim"


# ---- Declarations

def escaped(text):
    """Text content that survives as it is."""
    return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace("\r", "&#13;")


def value_element(value):
    """A value as VALUE, VALUE.ARRAY or, for a dict of a path, VALUE.REFERENCE; nothing for None."""
    if value is None:
        return ""
    if isinstance(value, list):
        inner = "".join("<VALUE.NULL/>" if one is None else value_element(one) for one in value)
        return f"<VALUE.ARRAY>{inner}</VALUE.ARRAY>"
    if isinstance(value, InstancePath):
        return f"<VALUE.REFERENCE>{value.element()}</VALUE.REFERENCE>"
    if isinstance(value, bool):
        value = "TRUE" if value else "FALSE"
    return f"<VALUE>{escaped(str(value))}</VALUE>"


class InstancePath:
    """An instance's path; its keys are written as texts, as many clients do."""

    def __init__(self, class_name, **keys):
        self.class_name = class_name
        self.keys = keys

    def element(self):
        bindings = []
        for name, value in self.keys.items():
            inner = (f"<VALUE.REFERENCE>{value.element()}</VALUE.REFERENCE>" if isinstance(value, InstancePath)
                     else f'<KEYVALUE VALUETYPE="string">{escaped(str(value))}</KEYVALUE>')
            bindings.append(f"<KEYBINDING NAME={quoteattr(name)}>{inner}</KEYBINDING>")
        return f"<INSTANCENAME CLASSNAME={quoteattr(self.class_name)}>{''.join(bindings)}</INSTANCENAME>"


def property_element(name, kind, value, qualifiers=""):
    """kind: "uint32", "string[]", "ref:XCIM_Fan"."""
    start = f"NAME={quoteattr(name)}"
    if kind.startswith("ref:"):
        target = quoteattr(kind.removeprefix("ref:"))
        return (f"<PROPERTY.REFERENCE {start} REFERENCECLASS={target}>{qualifiers}{value_element(value)}"
                "</PROPERTY.REFERENCE>")
    if kind.endswith("[]"):
        return (f"<PROPERTY.ARRAY {start} TYPE=\"{kind[:-2]}\">{qualifiers}{value_element(value)}"
                "</PROPERTY.ARRAY>")
    return f'<PROPERTY {start} TYPE="{kind}">{qualifiers}{value_element(value)}</PROPERTY>'


def flag(name):
    return f'<QUALIFIER NAME="{name}" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>'


def class_element(name, properties, keys=(), superclass=None, qualifiers=(), methods=""):
    """properties: name -> kind, or (kind, default value)."""
    parent = f" SUPERCLASS={quoteattr(superclass)}" if superclass else ""
    inner = "".join(flag(qualifier) for qualifier in qualifiers)
    for prop, kind in properties.items():
        kind, default = kind if isinstance(kind, tuple) else (kind, None)
        inner += property_element(prop, kind, default, flag("Key") if prop in keys else "")
    return f"<CLASS NAME={quoteattr(name)}{parent}>{inner}{methods}</CLASS>"


def method_element(name, parameters, kind="uint32"):
    """parameters: name -> kind, as for properties."""
    inner = ""
    for parameter, parameter_kind in parameters.items():
        start = f"NAME={quoteattr(parameter)}"
        if parameter_kind.startswith("ref:"):
            inner += f"<PARAMETER.REFERENCE {start} REFERENCECLASS={quoteattr(parameter_kind.removeprefix('ref:'))}/>"
        elif parameter_kind.endswith("[]"):
            inner += f'<PARAMETER.ARRAY {start} TYPE="{parameter_kind[:-2]}"/>'
        else:
            inner += f'<PARAMETER {start} TYPE="{parameter_kind}"/>'
    return f'<METHOD NAME={quoteattr(name)} TYPE="{kind}">{inner}</METHOD>'


def instance_element(class_name, properties):
    """properties: name -> (kind, value)."""
    inner = "".join(property_element(name, kind, value) for name, (kind, value) in properties.items())
    return f"<INSTANCE CLASSNAME={quoteattr(class_name)}>{inner}</INSTANCE>"


def declaration(objects, namespace=NAMESPACE):
    """A declaration file with classes and instances of one namespace."""
    names = "".join(f'<NAMESPACE NAME="{name}"/>' for name in namespace.split("/"))
    inner = "".join(f"<VALUE.OBJECT>{one}</VALUE.OBJECT>\n" for one in objects)
    return ('<?xml version="1.0" encoding="utf-8"?>\n<CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>'
            f"<LOCALNAMESPACEPATH>{names}</LOCALNAMESPACEPATH>\n{inner}</DECLGROUP></DECLARATION></CIM>\n")


class Class:
    """A class and its instances. properties: name -> CIM type, "[]" behind it for an array. keys: the names of key
    properties."""

    def __init__(self, name, properties, keys=("InstanceID",)):
        self.name = name
        self.properties = properties
        self.keys = keys

    def elements(self, instances):
        """The declaration of the class and those of its instances, each a dictionary."""
        return [class_element(self.name, self.properties, self.keys),
                *(instance_element(self.name, {name: (self.properties[name], value) for name, value in values.items()})
                  for values in instances)]


# ---- The program

class ObjectManager(Program):
    """with ObjectManager(files) as manager: asks it at manager.url, "http://127.0.0.1:PORT".

    files: file name -> declaration text. port: 0 for a free one. address: own_address() for one that will be started
    anew on its port, as start() does after kill(). strict: whether it takes what it is sent in the declared types only,
    as other object managers do.
    """

    NAME = "cimgate-cimomd"

    def __init__(self, files, port=0, address="127.0.0.1", strict=True):
        super().__init__()
        self.repository = self.directory / "repository"
        self.repository.mkdir()
        for name, text in files.items():
            Path(self.repository, name).write_text(text, encoding="utf-8")
        self.address = address
        self.port = port
        self.strict = strict

    def launch(self):
        self.command = [CIMOMD, "--listen", f"{self.address}:{self.port}", "--repository", str(self.repository),
                        *(["--strict-types"] if self.strict else [])]
        super().launch()

    def start(self):
        super().start()
        self.port = int(self.base.rpartition(":")[2])
        return self

    def problems(self):
        """It has nothing to say."""
        return self.log().splitlines()

    @property
    def url(self):
        return self.base

    # ---- Changing what it has

    def create(self, class_name, properties):
        """properties: name -> (kind, value), as for instance_element()."""
        self._call("CreateInstance", NewInstance=instance_element(class_name, properties))

    def modify(self, path, properties):
        """Changes these properties of the instance at an InstancePath."""
        changed = instance_element(path.class_name, properties)
        self._call("ModifyInstance",
                   ModifiedInstance=f"<VALUE.NAMEDINSTANCE>{path.element()}{changed}</VALUE.NAMEDINSTANCE>")

    def delete(self, path):
        self._call("DeleteInstance", InstanceName=path.element())

    def _call(self, method, **parameters):
        """An intrinsic operation (DSP0200), each parameter as XML; it must not fail."""
        names = "".join(f'<NAMESPACE NAME="{name}"/>' for name in NAMESPACE.split("/"))
        inner = "".join(f'<IPARAMVALUE NAME="{name}">{xml}</IPARAMVALUE>' for name, xml in parameters.items())
        body = ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">'
                '<MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>'
                f'<IMETHODCALL NAME="{method}"><LOCALNAMESPACEPATH>{names}</LOCALNAMESPACEPATH>{inner}</IMETHODCALL>'
                "</SIMPLEREQ></MESSAGE></CIM>")
        headers = {"Content-Type": 'application/xml; charset="utf-8"', "CIMOperation": "MethodCall", "CIMMethod": method,
                   "CIMObject": NAMESPACE}
        request = urllib.request.Request(f"{self.url}/cimom", body.encode("utf-8"), headers)
        with urllib.request.urlopen(request, timeout=PATIENCE_S) as answer:
            text = answer.read().decode("utf-8")
        if "<ERROR" in text:
            raise AssertionError(f"{method} failed: {text}")


def object_manager(cim_class, instances, **more):
    """An object manager with the instances of one class."""
    return ObjectManager({"repository.xml": declaration(cim_class.elements(instances))}, **more)
