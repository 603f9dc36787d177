"""A service with requests that end or occupy their workers, and the others that go on."""

from cimgate_host import BASE, Service, ServiceTest, collection_entry, member_entry, wait_until

GOOD = f"{BASE}/VexoGood/G.1"
GOODS = f"{BASE}/VexoGoodCollection"
STUCK = f"{BASE}/VexoStuck/S.1"
HUGE = f"{BASE}/VexoHuge/H.1"

# What ends a worker, cells and types that the cache and the mapping never have when they are right, and why.
DEADLY = {f"{BASE}/VexoReal/X": "Assertion 'status == SQLITE_OK' failed",
          f"{BASE}/VexoRealCollection": "Assertion 'status == SQLITE_OK' failed",
          f"{BASE}/VexoTyped/X": "Assertion 'ret == true' failed",
          f"{BASE}/VexoUntyped/X": "Empty type is found in RMF",
          f"{BASE}/VexoWord/X": "Did not match data type string"}
REAL = f"{BASE}/VexoReal/X"


def sample(huge_bytes=0):
    text = {"cim_type": "string"}
    mapping = member_entry("VexoGood", "XCIM_Good", {"A": text}) | collection_entry("VexoGood")
    mapping |= member_entry("VexoReal", "XCIM_Real", {"A": {"cim_type": "uint32"}}) | collection_entry("VexoReal")
    mapping |= member_entry("VexoTyped", "XCIM_Number", {"A": {"cim_type": "real64"}})
    mapping |= member_entry("VexoUntyped", "XCIM_Number", {"A": {}})
    mapping |= member_entry("VexoWord", "XCIM_Number", {"A": text})
    mapping |= member_entry("VexoHuge", "XCIM_Huge", {"A": text})
    # A link whose association table is missing: reading its rows never ends.
    mapping |= member_entry("VexoStuck", "XCIM_Good", {"A": text}, Links={"VexoEnclosureCollection": {}})
    columns = ["InstanceID", "A"]
    classes = {"XCIM_Good": (columns, [("G.1", "fine"), ("S.1", "fine")]), "XCIM_Real": (columns, [("X", 1.5)]),
               "XCIM_Number": (columns, [("X", 5)]), "XCIM_Huge": (columns, [("H.1", "h" * huge_bytes)])}
    return mapping, {"classes": classes}


class ContainmentTest(ServiceTest):
    """Each test with a service of its own: what one does to its workers is not the next one's concern."""

    def service(self, *options, huge_bytes=0):
        return self.enterContext(Service(*sample(huge_bytes), options))

    def check_good(self, service):
        self.check_value(service, GOOD)

    def check_one_replaced(self, service, before):
        def replaced():
            now = service.workers()
            return len(now) == len(before) and set(now) - set(before)

        # The one that ends may be seen for a while after its request's answer.
        self.assertEqual(len(wait_until(replaced, "the new worker")), 1)
