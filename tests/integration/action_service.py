"""A service with an action, and what of its calls arrives at a scripted object manager."""

import itertools
import json
import xml.etree.ElementTree as ElementTree

from cimgate_host import BASE, Service
from scripted_object_manager import method_result

SERVICE = f"{BASE}/VexoService"
RUN = f"{SERVICE}/Actions/VexoService.Run"
JSON = "application/json"

DONE = method_result("Run")


def action_mapping(inputs=None, outputs=None):
    """A service whose action Run is a method of the same name; its instance has two fixed keys."""
    method = {"inputs": inputs or {}, "outputs": outputs or {}}
    return {"VexoService": {
        "@odata.id": SERVICE, "@odata.type": "#VexoService.v1_0_0.VexoService", "Name": "Service",
        "@odata.context": "/redfish/v1/$metadata#VexoService.VexoService", "Description": "Acts",
        "Selectors": "SystemName=host 1,Name=run & go",
        "mappings": {"XCIM_Service": {"properties": {"Name": {"cim_type": "string"}},
                                      "Actions": {"#VexoService.Run": {"target": RUN}}, "methods": {"Run": method}}}}}


def declared(redfish_type="Edm.String", cim_type="string", **more):
    """The declaration of an input."""
    return {"redfish_type": redfish_type, "cim_type": cim_type, **more}


def bytes_of(body):
    if not isinstance(body, (str, bytes)):
        body = json.dumps(body)
    return body if isinstance(body, bytes) else body.encode("utf-8")


class ActionService(Service):
    """Has the action of action_mapping() at the object manager at url."""

    def __init__(self, url, mapping=None, *options, cache=None):
        super().__init__(mapping or action_mapping(), cache, options=("--cim", url, *options))
        self._bodies = itertools.count()

    def run(self, body="{}"):
        """Posts body, a text or what is to be written as JSON, and returns the answer."""
        return self.post(RUN, body)

    def post(self, path, body="{}", content_type=JSON):
        return super().post(path, bytes_of(body), content_type)

    def start_post(self, path, body="{}", content_type=JSON):
        data = self.directory / f"body{next(self._bodies)}"
        data.write_bytes(bytes_of(body))
        return self.start_get(path, "-X", "POST", "-H", f"Content-Type: {content_type}", "--data-binary", f"@{data}")


class MethodCall:
    """An extrinsic call as it was sent: method, namespace, class_name, keys (name -> (VALUETYPE, text)), arguments
    (a list of name, PARAMTYPE, value; see value_of())."""

    def __init__(self, request):
        self.head, _, body = request.partition("\r\n\r\n")
        call = ElementTree.fromstring(body.encode("utf-8")).find("MESSAGE/SIMPLEREQ/METHODCALL")
        self.method = call.get("NAME")
        path = call[0]
        self.namespace = "/".join(name.get("NAME") for name in path.iter("NAMESPACE"))
        self.class_name, self.keys = instance_name(path[1])
        self.arguments = [(one.get("NAME"), one.get("PARAMTYPE"), value_of(one)) for one in call.findall("PARAMVALUE")]


def instance_name(element):
    keys = {binding.get("NAME"): (binding[0].get("VALUETYPE"), binding[0].text or "")
            for binding in element.findall("KEYBINDING")}
    return element.get("CLASSNAME"), keys


def value_of(parameter):
    """A text, a list of texts and None, or (namespace, class, keys) of a reference."""
    [value] = parameter
    if value.tag == "VALUE":
        return value.text or ""
    if value.tag == "VALUE.ARRAY":
        return [None if one.tag == "VALUE.NULL" else one.text or "" for one in value]
    if value.tag != "VALUE.REFERENCE":
        raise AssertionError(value.tag)
    namespace = "/".join(name.get("NAME") for name in value.iter("NAMESPACE"))
    return (namespace, *instance_name(next(value.iter("INSTANCENAME"))))
