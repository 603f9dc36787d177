"""A service with a few resources of one class, for what goes on around them: connections, sizes, framing."""

from cimgate_host import BASE, Service, collection_entry, member_entry

A = f"{BASE}/VexoThing/A"
B = f"{BASE}/VexoThing/B"
THINGS = f"{BASE}/VexoThingCollection"


def thing_service(*options):
    mapping = member_entry("VexoThing", "XCIM_Thing", {"Value": {"cim_type": "string"}}) | collection_entry("VexoThing")
    rows = [("A", "first"), ("B", "second"), ("C", "third")]
    return Service(mapping, {"classes": {"XCIM_Thing": (["InstanceID", "Value"], rows)}}, options)


def request(target, *headers, method="GET", body=b""):
    """The bytes of a request; its headers say what a test wants of its body."""
    return "\r\n".join([f"{method} {target} HTTP/1.1", "Host: localhost", *headers, "", ""]).encode() + body
