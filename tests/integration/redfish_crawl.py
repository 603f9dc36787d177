"""What a client sees that follows every link from the root, and how far it is as the schemas say.

Environment: as in cimgate_host.py and sample_system.py.
"""

import re
import xml.etree.ElementTree as ElementTree

import cimgate_host
import jsonschema
from sample_system import MAPPING_FILE, fill_cache

EDMX = "{http://docs.oasis-open.org/odata/ns/edmx}"
ROOT = "/redfish/v1/"
SCHEMAS = ROOT + "JsonSchemas/"
# What leads on: in JSON, and in schemas.
LINKS = ("@odata.id", "Members@odata.nextLink", "v1", "Uri", "url", "$ref", "@odata.context")


class SampleService(cimgate_host.Service):
    """With the sample's object manager, so that all of it answers."""

    def __init__(self, manager, *options):
        super().__init__(MAPPING_FILE.read_text(encoding="utf-8"), options=("--cim", manager.url, *options))
        fill_cache(self.cache_path, manager)


def links_of(value):
    """The paths that a JSON text leads to."""
    if isinstance(value, dict):
        for name, member in value.items():
            if name in LINKS and isinstance(member, str) and member.startswith("/"):
                yield member.split("#")[0]
            else:
                yield from links_of(member)
    elif isinstance(value, list):
        for element in value:
            yield from links_of(element)


def xml_links_of(text):
    for reference in ElementTree.fromstring(text).iter(EDMX + "Reference"):
        if reference.get("Uri").startswith("/"):
            yield reference.get("Uri")


def crawl(service, begin):
    """Every answer that links from there lead to."""
    answers = {}
    waiting = list(begin)
    while waiting:
        uri = waiting.pop()
        if uri not in answers:
            answer = answers[uri] = service.get(uri)
            if answer.status == 200:
                is_xml = answer.get("Content-Type").startswith("application/xml")
                waiting.extend(xml_links_of(answer.body) if is_xml else links_of(answer.json()))
    return answers


def types_in(value):
    """Every "@odata.type" at any depth."""
    if isinstance(value, dict):
        for name, member in value.items():
            if name == "@odata.type" and isinstance(member, str):  # else a schema speaks of it
                yield member
            else:
                yield from types_in(member)
    elif isinstance(value, list):
        for element in value:
            yield from types_in(element)


def deviation(error):
    """The name of what the library is known to give otherwise; a description of anything else."""
    if error.validator == "format" and re.search(r"[+-]\d{4}$", error.instance):
        return "an offset without a colon"
    if error.validator == "type" and error.instance is None and error.validator_value == "array":
        return "null for an array"
    return f"{error.json_path}: {error.message}"


def format_checker():
    checker = jsonschema.FormatChecker(formats=())
    checker.checks("date-time")(lambda text: not isinstance(text, str) or
                                re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d)", text) is not None)
    return checker


def deviations_in(test, native, bodies):
    """What in these bodies is otherwise than the schemas of the vendor's types say, which are among native, and how many
    bodies have such a type."""
    documents = {uri: body for uri, body in native.items() if "$schema" in body}
    # The standard's types are not in the service.
    store = {**documents, "http://redfish.dmtf.org/schemas/v1/Job.v1_0_0.json": {"definitions": {"Job": {}}}}
    resolver = jsonschema.RefResolver("", {}, store=store)
    found = set()
    checked = 0
    for uri, body in bodies.items():
        test.assertNotIn("error", body, uri)
        name_space = body["@odata.type"][1:].rpartition(".")[0]
        if not name_space.startswith("Vexo"):
            continue
        validator = jsonschema.Draft7Validator({"$ref": f"{SCHEMAS}{name_space}.json"}, resolver=resolver,
                                               format_checker=format_checker())
        found |= {deviation(error) for error in validator.iter_errors(body)}
        checked += 1
    return found, checked
