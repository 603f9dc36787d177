"""A running cimgated with a mapping file and a data cache of its own, for tests over HTTP.

Environment: CIMGATED, the program; CIMGATE_REGISTRIES, the message registries.
"""

import itertools
import json
import os
import re
import signal
import sqlite3
import struct
import subprocess
import tempfile
import time
from pathlib import Path

CIMGATED = os.environ["CIMGATED"]
REGISTRIES = os.environ["CIMGATE_REGISTRIES"]
SEPARATOR = "#\u2591#"


def array_cell(elements, kind=1, count=None):
    """An array cell: kind 1 for strings, anything else for numbers."""
    text = SEPARATOR.join(str(element) for element in elements)
    return struct.pack("<ii", kind, len(elements) if count is None else count) + text.encode()


class Answer:
    def __init__(self, head, body):
        lines = head.split("\r\n")
        self.status = int(lines[0].split()[1])
        self.headers = {}
        for line in lines[1:]:
            name, colon, value = line.partition(":")
            if colon:
                self.headers[name.strip().lower()] = value.strip()
        self.body = body

    @property
    def json(self):
        return json.loads(self.body)

    @property
    def message_ids(self):
        return [message["MessageId"] for message in self.json["error"]["@Message.ExtendedInfo"]]

    @property
    def message_args(self):
        return [message["MessageArgs"] for message in self.json["error"]["@Message.ExtendedInfo"]]


class Host:
    """Starts the service on a free port; mapping None leaves the mapping file out, sql None the cache."""

    def __init__(self, mapping, fill=None, options=()):
        self.directory = tempfile.TemporaryDirectory()
        self.path = Path(self.directory.name)
        self.numbers = itertools.count()
        self.mapping_file = self.path / "mapping.json"
        self.cache_file = self.path / "cache.db"
        self.mapping_file.write_text(json.dumps(mapping), encoding="utf-8")
        if fill is not None:
            connection = sqlite3.connect(self.cache_file)
            with connection:
                fill(connection)
            connection.close()
        self.log = open(self.path / "stderr", "w+", encoding="utf-8")
        self.process = subprocess.Popen(
            [CIMGATED, "--listen", "127.0.0.1:0", "--rmf", self.mapping_file, "--cache", self.cache_file,
             "--registries", REGISTRIES, *options],
            stdout=subprocess.PIPE, stderr=self.log, text=True)
        line = self.process.stdout.readline()
        found = re.fullmatch(r"cimgated: listening on (http://127\.0\.0\.1:(\d+))\n", line)
        if found is None:
            self.process.kill()
            self.process.wait()
            raise RuntimeError(f"not started: {line!r} {self.log_text()}")
        self.url, self.port = found[1], int(found[2])

    def log_text(self):
        self.log.seek(0)
        return self.log.read()

    def request(self, target, *arguments):
        # One file a request: tests send several at once.
        head = self.path / f"head{next(self.numbers)}"
        done = subprocess.run(
            ["curl", "-sS", "-g", "--path-as-is", "--noproxy", "*", "--max-time", "60", "-D", head,
             *arguments, self.url + target],
            stdout=subprocess.PIPE, check=True)
        # The last block: "100 Continue" may come before it.
        return Answer(head.read_bytes().decode("latin-1").strip().split("\r\n\r\n")[-1], done.stdout)

    def get(self, target):
        return self.request(target)

    def children(self, pid=None):
        return child_pids(self.process.pid if pid is None else pid)

    def workers(self):
        return [worker for spawner in self.children() for worker in self.children(spawner)]

    def stop(self, signal_number=signal.SIGTERM):
        """Ends the service; returns its exit status."""
        try:
            if self.process.poll() is None:
                self.process.send_signal(signal_number)
            return self.process.wait(30)
        finally:
            if self.process.poll() is None:
                self.process.kill()
                self.process.wait()
            self.process.stdout.close()
            self.log.close()
            self.directory.cleanup()


def child_pids(pid):
    pids = []
    for stat in Path("/proc").glob("[0-9]*/stat"):
        try:
            fields = stat.read_text(encoding="latin-1").rpartition(")")[2].split()
        except OSError:
            continue
        if int(fields[1]) == pid and fields[0] != "Z":
            pids.append(int(stat.parent.name))
    return pids


def wait_until(condition, timeout_s=20):
    """Waits for a condition that another process makes true."""
    end = time.monotonic() + timeout_s
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.02)
    return True


# ---- A mapping to vary

def entry(uri, cim_class, properties, key="InstanceID", **more):
    return {
        "@odata.id": uri, "@odata.type": "#T.v1_0_0.T", "@odata.context": "/redfish/v1/$metadata#T.T",
        "Name": "A thing", "Description": "Things.", "UniqueSelector": key,
        "Link_Header": "</schema>; rel=describedby", "allowed_operations": ["GET", "HEAD"],
        "mappings": {cim_class: {"is_cached": True, "properties": properties,
                                 **more.pop("in_class", {})}}, **more}


def collection(uri, member, **more):
    return {
        "@odata.id": uri, "@odata.type": "#TC.TC", "@odata.context": "/redfish/v1/$metadata#TC.TC",
        "Name": "Things", "Description": "All things.", "is_collection": True,
        "supports_nextlink": True, "supports_top_skip": True, "allowed_operations": ["GET"],
        "Link_Header": "</schemas>; rel=describedby", "mappings": {member: {}}, **more}


def ready(connection, *classes):
    connection.execute("CREATE TABLE IF NOT EXISTS Tbl_CMPIReady (ClassName TEXT)")
    connection.executemany("INSERT INTO Tbl_CMPIReady VALUES (?)", [(name,) for name in classes])
