"""A service with one cached class, around which things go wrong."""

from cimgate_host import BASE, Service, ServiceTest, collection_entry, member_entry

THING = f"{BASE}/VexoThing/T.1"
THINGS = f"{BASE}/VexoThingCollection"
ROWS = 500


def classes(value="fine"):
    return {"XCIM_Thing": (["InstanceID", "A", "Filler"],
                           [(f"T.{i}", value, "f" * 200) for i in range(ROWS)])}


def sample():
    text = {"cim_type": "string"}
    mapping = member_entry("VexoThing", "XCIM_Thing", {"A": text, "Filler": text}) | collection_entry("VexoThing")
    return mapping, {"classes": classes()}


class RecoveryTest(ServiceTest):
    def service(self, *options):
        service = Service(*sample(), options=("--workers", "2", *options))
        self.addCleanup(service.discard)
        return service

    def check_good(self, service, value="fine"):
        self.check_value(service, THING, value)

    def check_later(self, service):
        answer = service.get(THING)
        self.assertEqual((answer.status, answer.get("Retry-After")), (503, "5"))
