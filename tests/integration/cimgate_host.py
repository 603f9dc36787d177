"""A running cimgated with a mapping and a cache made for one test, and clients of it: curl where a request has options
or is not waited for, and otherwise a plain one that costs no process.

Environment: CIMGATED, the program; CIMGATE_REGISTRIES, the directory of the message registries.
"""

import contextlib
import json
import os
import re
import select
import selectors
import signal
import socket
import sqlite3
import struct
import subprocess
import time
import unittest
from pathlib import Path

from program import PATIENCE_S, Program, state_of

CIMGATED = os.environ["CIMGATED"]
REGISTRIES = os.environ["CIMGATE_REGISTRIES"]

BASE = "/redfish/v1/Vexo"
# A reserved port, on which nothing listens.
NO_OBJECT_MANAGER = "http://127.0.0.1:1"
# Answers as the library makes them: for tests of these.
VERBATIM = ("--verbatim",)
# Longer than any test runs: what ends a request is then never its deadline.
NO_DEADLINE = ("--request-timeout", "3600")
# Children of the spawner that are no workers. One that was just forked has its name still.
AT_THE_START = ("cimgated-check", "cimgated-schema", "cimgated-spawn")
STRING_ARRAY = 1
OTHER_ARRAY = 2


# ---- The cache

def array_cell(kind, elements, count=None):
    """A blob as the cache's writer makes it: type, number of elements, elements as text."""
    text = "#░#".join(str(element) for element in elements).encode("utf-8")
    return struct.pack("<ii", kind, len(elements) if count is None else count) + text


def write_cache(path, classes, ready=None, associations=None):
    """classes: class -> (columns, rows). ready: the classes that are, or None for all. associations: table -> rows of
    left class, left key, right class, right key."""
    connection = sqlite3.connect(path)
    with connection:
        connection.execute("create table Tbl_CMPIReady (ClassName text)")
        for name, (columns, rows) in classes.items():
            # Columns without a type keep each value as it is given.
            connection.execute(f"create table Tbl_{name} ({', '.join(columns)})")
            marks = ", ".join("?" * len(columns))
            connection.executemany(f"insert into Tbl_{name} values ({marks})", rows)
        connection.executemany("insert into Tbl_CMPIReady values (?)",
                               [(name,) for name in (classes if ready is None else ready)])
        for table, rows in (associations or {}).items():
            connection.execute(f"create table {table} (__LeftClass, __LeftClassKey, __RightClass, __RightClassKey)")
            connection.executemany(f"insert into {table} values (?, ?, ?, ?)", rows)
    connection.close()


# ---- The mapping

def member_entry(name, cim_class, properties, key="InstanceID", cached=True, actions=None, **more):
    """The entry of a resource whose instances are found by their key."""
    class_map = {"properties": properties, "is_cached": cached}
    if actions:
        class_map["Actions"] = actions
    return {name: {"@odata.id": f"{BASE}/{name}", "@odata.type": f"#{name}.v1_0_0.{name}",
                   "@odata.context": f"/redfish/v1/$metadata#{name}.{name}", "Name": f"{name} name",
                   "Description": f"{name} description", "UniqueSelector": key, "mappings": {cim_class: class_map},
                   **more}}


def collection_entry(member, paging=True, top_skip=True, **more):
    """The entry of the collection of a resource."""
    name = member + "Collection"
    return {name: {"@odata.id": f"{BASE}/{name}", "@odata.type": f"#{name}.{name}",
                   "@odata.context": f"/redfish/v1/$metadata#{name}.{name}", "Name": f"{name} name",
                   "Description": f"{name} description", "is_collection": True, "supports_nextlink": paging,
                   "supports_top_skip": top_skip, "mappings": {member: {}}, **more}}


# ---- Answers

class Answer:
    """status, version ("1.1"), headers (lower case names; a list of pairs, and get() for one), body (bytes)."""

    def __init__(self, raw):
        head, _, self.body = raw.partition(b"\r\n\r\n")
        lines = head.decode("ascii").split("\r\n")
        version, status = lines[0].split(" ")[:2]
        self.version = version.removeprefix("HTTP/")
        self.status = int(status)
        self.headers = [(name.lower(), value.strip()) for name, _, value in (line.partition(":") for line in lines[1:])]

    def get(self, name):
        values = [value for key, value in self.headers if key == name.lower()]
        if len(values) > 1:
            raise AssertionError(f"{len(values)} headers {name}")
        return values[0] if values else None

    def json(self):
        return json.loads(self.body)

    def messages(self):
        """The messages of a Redfish error: (id without version, arguments) in their order."""
        found = []
        for message in self.json()["error"]["@Message.ExtendedInfo"]:
            registry, _, _, key = message["MessageId"].split(".")
            found.append((f"{registry}.{key}", message["MessageArgs"]))
        return found


def connect_to(base, timeout=PATIENCE_S, **more):
    """more: of socket.create_connection()."""
    host, _, port = base.removeprefix("http://").rpartition(":")
    return socket.create_connection((host.strip("[]"), int(port)), timeout=timeout, **more)


def ask(base, path, method="GET", headers=(), body=b"", accept="*/*"):
    """The answer to one request on a connection of its own; its length must be what it says, and nothing may follow."""
    names_host = any(header.startswith("Host:") for header in headers)
    host = [] if names_host else [f"Host: {base.removeprefix('http://')}"]
    accepts = [] if accept is None else [f"Accept: {accept}"]
    head = [f"{method} {path} HTTP/1.1", *host, *accepts, *headers]
    if method != "GET":
        head.append(f"Content-Length: {len(body)}")
    with connect_to(base, 2 * PATIENCE_S) as connection, connection.makefile("rb") as stream:
        with contextlib.suppress(BrokenPipeError, ConnectionResetError):  # answered before all of it is read
            connection.sendall("".join(line + "\r\n" for line in head).encode("utf-8") + b"\r\n" + body)
        answer = read_answer(stream)
        # Once the service has closed its end too, none of its descriptors is left that a test might count.
        with contextlib.suppress(OSError):
            connection.shutdown(socket.SHUT_WR)
            if surplus := stream.read():
                raise AssertionError(f"more behind the answer: {surplus[:500]!r}")
        return answer


def read_answer(stream, has_body=True):
    head = b""
    while not head.endswith(b"\r\n\r\n"):
        line = stream.readline()
        if not line:
            raise AssertionError(f"no answer, but {head!r}")
        head += line
    answer = Answer(head)
    if not has_body or answer.status in (204, 304):
        return answer
    length = int(answer.get("Content-Length"))
    answer.body = stream.read(length)
    if len(answer.body) != length:
        raise AssertionError(f"{len(answer.body)} bytes of a body of {length}")
    return answer


class Pending:
    """A request on its way."""

    def __init__(self, arguments):
        # pylint: disable=consider-using-with
        self._process = subprocess.Popen(["curl", "-sS", "-i", "--path-as-is", "-g", "--max-time", str(2 * PATIENCE_S),
                                          *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def is_done(self):
        return self._process.poll() is not None

    def output(self):
        out, errors = self._process.communicate()
        if self._process.returncode != 0:
            raise AssertionError(f"curl ended with {self._process.returncode}: {errors.decode()}")
        return out

    def answer(self):
        return Answer(self.output())


class Wires:
    """Many connections with one request each, sent one after the other; answers are read as they come."""

    def __init__(self, base, count):
        self._sockets = [connect_to(base) for _ in range(count)]
        self._selector = selectors.DefaultSelector()
        self._received = {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._selector.close()
        for one in self._sockets:
            one.close()

    def __len__(self):
        return len(self._sockets)

    def send(self, index, path):
        self._sockets[index].sendall(f"GET {path} HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n".encode("ascii"))
        self._selector.register(self._sockets[index], selectors.EVENT_READ)
        self._received[self._sockets[index]] = b""

    def read_answers(self, count):
        """The next answers to arrive, on whichever connections."""
        answers = []
        end = time.monotonic() + PATIENCE_S
        while len(answers) < count:
            if time.monotonic() > end:
                raise AssertionError(f"{len(answers)} answers instead of {count}")
            for key, _ in self._selector.select(timeout=1):
                data = key.fileobj.recv(65536)
                self._received[key.fileobj] += data
                if not data:
                    self._selector.unregister(key.fileobj)
                    answers.append(Answer(self._received.pop(key.fileobj)))
        return answers


# ---- The log

# Time and process.
STAMP = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \[\d+\] "


def without_stamps(log):
    """The lines of a log; each must have its stamp."""
    lines = log.splitlines()
    if wrong := [line for line in lines if not re.match(STAMP, line)]:
        raise AssertionError(f"lines without a stamp: {wrong[:5]}")
    return [re.sub(STAMP, "", line, count=1) for line in lines]


# ---- Processes

def children_of(pid):
    try:
        return [int(child) for child in Path(f"/proc/{pid}/task/{pid}/children").read_text(encoding="ascii").split()]
    except FileNotFoundError:
        return []


def name_of(pid):
    try:
        return Path(f"/proc/{pid}/comm").read_text(encoding="ascii").strip()
    except (FileNotFoundError, ProcessLookupError):
        return ""


def cpu_ticks(pid):
    """Processor time in clock ticks; 0 for a process that is not there."""
    try:
        fields = Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rpartition(") ")[2].split()
    except (FileNotFoundError, ProcessLookupError):
        return 0
    return int(fields[11]) + int(fields[12])


def wait_until(condition, what):
    """Waits for something that shows only when asked for, as what a log says; returns what condition() gives."""
    end = time.monotonic() + PATIENCE_S
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError("waited in vain: " + what)
        time.sleep(0.01)  # nothing tells of a change


def await_ends(pids):
    """Waits until all these processes have ended, whosever children they are."""
    for pid in pids:
        with contextlib.suppress(ProcessLookupError):
            descriptor = os.pidfd_open(pid)
            ended, _, _ = select.select([descriptor], [], [], PATIENCE_S)
            os.close(descriptor)
            if not ended:
                raise AssertionError(f"process {pid} does not end")


class Service(Program):
    """cimgated on a free port. mapping is what the mapping file holds (JSON, or text as it is); cache is a dictionary
    for write_cache(), or None for no cache file."""

    NAME = "cimgated"

    def __init__(self, mapping, cache=None, options=(), listen="127.0.0.1:0"):
        super().__init__()
        self.mapping_path = self.directory / "mapping.json"
        self.cache_path = self.directory / "cache.db"
        if mapping is not None:
            text = mapping if isinstance(mapping, str) else json.dumps(mapping)
            self.mapping_path.write_text(text, encoding="utf-8")
        if cache is not None:
            write_cache(self.cache_path, **cache)
        self.command = [CIMGATED, "--listen", listen, "--rmf", str(self.mapping_path), "--cache", str(self.cache_path),
                        "--registries", REGISTRIES, "--cim", NO_OBJECT_MANAGER, *options]

    # ---- Asking

    def get(self, path, *options):
        """options: those of curl."""
        return self.start_get(path, *options).answer() if options else ask(self.base, path)

    def post(self, path, body, content_type="application/json"):
        return ask(self.base, path, "POST", [f"Content-Type: {content_type}"], body)

    def head(self, path):
        return self.get(path, "-I")

    def start_get(self, path, *options):
        return Pending([*options, self.base + path])

    # ---- Looking at it

    def lines(self):
        """Its log without the stamp that each line has."""
        return without_stamps(self.log())

    def spawner(self):
        [pid] = children_of(self.process.pid)
        return pid

    def workers(self):
        """Without what is at work for the start, which may go on for a while, or not have begun."""
        return sorted(pid for pid in children_of(self.spawner()) if name_of(pid) not in AT_THE_START)

    def pids(self):
        return [self.process.pid, self.spawner(), *self.workers()]

    def kill_workers(self):
        """Ends all workers from outside; returns when the service has taken note of it."""
        workers = self.workers()
        for pid in workers:
            os.kill(pid, signal.SIGKILL)
        wait_until(lambda: not any(state_of(pid) for pid in workers), "the workers' end")
        return workers

    def await_busy_workers(self, count=1):
        """Waits until so many workers compute for longer than any but an endless request makes them; their pids."""
        before = {pid: cpu_ticks(pid) for pid in self.workers()}

        def busy():
            pids = [pid for pid in self.workers() if cpu_ticks(pid) - before.get(pid, 0) >= 5]
            return pids if len(pids) == count else None

        return wait_until(busy, f"{count} busy workers")


# ---- Tests

class ServiceTest(unittest.TestCase):
    """What tests of a service ask again and again."""

    maxDiff = None

    def check_value(self, service, uri, value="fine", name="A"):
        """The resource is shown, with this value."""
        answer = service.get(uri)
        self.assertEqual((answer.status, answer.json().get(name)), (200, value))

    def check_headers(self, answer):
        """Those of every answer."""
        self.assertEqual(answer.get("OData-Version"), "4.0")
        self.assertEqual(answer.get("Cache-Control"), "no-cache")
        self.assertEqual(answer.get("Content-Type"), "application/json")

    def check_failed(self, answer, status, *messages, uri=None):
        """A Redfish error with these messages, each an id and its arguments."""
        self.assertEqual(answer.status, status, uri)
        self.assertEqual(answer.messages(), list(messages), uri)
        self.check_headers(answer)


class SharedServiceTest(ServiceTest):
    """All tests of a class ask the same service."""

    @staticmethod
    def make_service():
        raise NotImplementedError

    @classmethod
    def setUpClass(cls):
        cls.service = cls.enterClassContext(cls.make_service())

    def resource(self, uri):
        """The body of an answer that must be there."""
        answer = self.service.get(uri)
        self.assertEqual(answer.status, 200, uri)
        return answer.json()

    def check_error(self, uri, status, *messages):
        answer = self.service.get(uri)
        self.check_failed(answer, status, *messages, uri=uri)
        return answer
