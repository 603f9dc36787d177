"""A service with much that ends or occupies workers, clients that ask for it, and beside them clients that behave: each
of these gets the answer that it would have got alone."""

import http.client
import itertools
import queue
import sqlite3
import threading
import unittest

from cimgate_host import BASE, Service, array_cell, collection_entry, member_entry
from footprint import Footprint
from program import PATIENCE_S

WORKERS = 4
REQUEST_TIMEOUT_S = 2
GOOD_REQUESTS = 1000
GOOD_CLIENTS = 4
# One worker is then always left to the others, or on its way.
HOSTILE_CLIENTS = WORKERS - 1

MEMBERS = 120
GOODS = f"{BASE}/VexoGoodCollection"
GOOD = [GOODS, f"{GOODS}?$skip=50", f"{GOODS}?$skip=100", f"{GOODS}?$top=7&$skip=90", f"{BASE}/VexoGood/G.0",
        f"{BASE}/VexoGood/G.7", f"{BASE}/VexoGood/G.119?$select=Size,Tags", f"{BASE}/VexoGood/none", f"{BASE}/VexoNone"]

# Instances and collections alike: cells and types that the cache and the mapping never have when they are right.
ABORTING = ("Real", "Typed", "Untyped", "Prefixed", "Array")
# Queries that SQLite never gets done with, and rows of which it reports an error as often as it is asked.
ENDLESS = ("Endless", "Failing")
# More than a worker can hold, or than an answer may be: long texts, escaped to six times their length, many elements.
HUGE = ("Huge", "Escaped", "Elements")
HUGE_BYTES = 64 * 1024 * 1024
ESCAPED_BYTES = 7 * 1024 * 1024
ELEMENTS = 4_000_000

STUCK = f"{BASE}/VexoStuck/G.1"


def sample(with_huge_values):
    text, number = {"cim_type": "string"}, {"cim_type": "uint32"}
    types = {"Real": number, "Typed": {"cim_type": "real64"}, "Untyped": {}, "Prefixed": {"cim_type": "UINT32"},
             "Array": text, **dict.fromkeys(ENDLESS, number), **dict.fromkeys(HUGE, text)}
    mapping = member_entry("VexoGood", "XCIM_Good", {"Size": number, "Tags": text}) | collection_entry("VexoGood")
    for name, cim_type in types.items():
        mapping |= member_entry("Vexo" + name, "XCIM_" + name, {"A": cim_type}) | collection_entry("Vexo" + name)
    # Selectors are pairs of a name and a value.
    mapping |= member_entry("VexoSelected", "XCIM_Real", {"A": text}, Selectors="InstanceID")
    # A link whose association table is missing: reading its rows never ends.
    mapping |= member_entry("VexoStuck", "XCIM_Good", {"Size": number}, Links={"VexoEnclosureCollection": {}})
    cells = {"Real": 1.5, "Typed": 5, "Untyped": 5, "Prefixed": 5, "Array": array_cell(2, [1, 2])}
    if with_huge_values:
        cells |= {"Huge": "h" * HUGE_BYTES, "Escaped": "\x01" * ESCAPED_BYTES,
                  "Elements": array_cell(1, ["e"] * ELEMENTS)}
    classes = {"XCIM_" + name: (["InstanceID", "A"], [("X", cell)]) for name, cell in cells.items()}
    classes["XCIM_Good"] = (["InstanceID", "Size", "Tags"],
                            [(f"G.{i}", i, array_cell(1, [f"t{i}", "tag"])) for i in range(MEMBERS)])
    return mapping, {"classes": classes, "ready": [*classes, *("XCIM_" + name for name in ENDLESS)]}


def add_endless_rows(cache_path):
    """Views, for what no file that SQLite has written holds."""
    connection = sqlite3.connect(cache_path)
    connection.executescript("""
        create view Tbl_XCIM_Endless as with recursive numbers(i) as (select 1 union all select i + 1 from numbers)
            select 'E' || i as InstanceID, i as A from numbers;
        create table Smallest (i integer);
        insert into Smallest values (-9223372036854775807 - 1);
        create view Tbl_XCIM_Failing as select 'X' as InstanceID, abs(i) as A from Smallest;
        """)
    connection.close()


def uris_of(names):
    """An instance and a collection of each."""
    return [f"{BASE}/Vexo{name}{end}" for name in names for end in ("/X", "Collection")]


class Client:
    """One kept connection. Answers are (status, body)."""

    def __init__(self, service):
        address = service.base.removeprefix("http://")
        self._connection = http.client.HTTPConnection(address, timeout=PATIENCE_S)

    def get(self, path):
        self._connection.request("GET", path)
        answer = self._connection.getresponse()
        return answer.status, answer.read()

    def ask(self, path):
        self._connection.request("GET", path)

    def close(self):
        self._connection.close()


class NeighboursTest(unittest.TestCase):
    maxDiff = None
    has_huge_values = False

    def setUp(self):
        options = ("--workers", str(WORKERS), "--request-timeout", str(REQUEST_TIMEOUT_S))
        service = Service(*sample(self.has_huge_values), options)
        add_endless_rows(service.cache_path)
        self.service = self.enterContext(service)
        self.footprint = Footprint(self.service)
        self.uris = itertools.cycle(GOOD)
        self.questions = queue.SimpleQueue()  # for the good clients: URIs, and None at the end
        self.faults = []

    def run_clients(self, work, count):
        """Runs work(client) in so many threads, which end with it."""
        def run():
            client = Client(self.service)
            try:
                work(client)
            except Exception as error:  # pylint: disable=broad-except
                self.faults.append(f"{work.__name__}: {error!r}")
            finally:
                client.close()

        threads = [threading.Thread(target=run) for _ in range(count)]
        for thread in threads:
            thread.start()
        return threads

    def start_good_clients(self):
        """They ask what they are given, and compare every answer."""
        client = Client(self.service)
        self.expected = {uri: client.get(uri) for uri in GOOD}
        client.close()
        self.assertEqual([self.expected[uri][0] for uri in GOOD], [200] * 7 + [404] * 2)
        self.answered = []

        def good(client):
            for uri in iter(self.questions.get, None):
                answer = client.get(uri)
                if answer != self.expected[uri]:
                    self.faults.append(f"{uri}: {answer[0]} {answer[1][:300]}")
                self.answered.append(uri)

        self.good_threads = self.run_clients(good, GOOD_CLIENTS)

    def give_questions(self, parts):
        """One of so many parts of what the good clients ask: they do so beside every hostile request."""
        for _ in range(-(-GOOD_REQUESTS // parts)):
            self.questions.put(next(self.uris))

    def finish(self):
        for _ in self.good_threads:
            self.questions.put(None)
        for thread in self.good_threads:
            thread.join()
        self.assertEqual(self.faults, [])
        self.assertGreaterEqual(len(self.answered), GOOD_REQUESTS)
        self.footprint.check_same_again()

    def run_hostile_clients(self, targets, expected):
        """Asks for each of the targets once, one client after another taking the next."""
        left, lock = iter(targets), threading.Lock()

        def hostile(client):
            while True:
                with lock:
                    target = next(left, None)
                if target is None:
                    return
                self.give_questions(len(targets))
                status, body = client.get(target)
                if status not in expected:
                    self.faults.append(f"{target}: {status} {body[:300]}")

        for thread in self.run_clients(hostile, HOSTILE_CLIENTS):
            thread.join()
