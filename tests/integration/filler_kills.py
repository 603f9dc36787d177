#!/usr/bin/python3
"""cimgate-cached killed again and again, at moments that nobody chose, while readers look whether what they see is whole.

Run by itself it does so as often as its argument says and prints figures (scripts/filler-kills).
"""

import contextlib
import json
import os
import random
import re
import signal
import sys
import threading
import time

from cache_reader import USER, CacheReader
from cimgate_host import BASE, collection_entry, member_entry
from filler import Filler, reading_service
from scripted_object_manager import ScriptedObjectManager, cim_error, http, response

ASSOCIATION = "xcim_enclosureemmdependency"
KEYS = "XCIM_Key"  # what the links of a generation lead to
# A class, its rows, its links, and the bytes that make its rows fill pages of the log.
CLASSES = [("XCIM_EnclosureEMM", 30, 10, 10), ("XCIM_Large", 300, 0, 1500), ("XCIM_Small", 5, 0, 10)]
READ_CLASSES = [(name, rows, links) for name, rows, links, _ in CLASSES]


def mapping():
    number = {"cim_type": "uint32"}
    entries = {}
    for name, _, links, _ in CLASSES:
        resource = name.replace("XCIM_", "Vexo")
        entries |= member_entry(resource, name, {"Generation": number, "Again": number, "Padding": {"cim_type": "string"}},
                                **({"Links": {"VexoEnclosureCollection": {}}} if links else {}))
        entries |= collection_entry(resource, paging=False)
    return entries


# ---- The object manager

def reference(name, cim_class, key):
    return (f'<PROPERTY.REFERENCE NAME="{name}" REFERENCECLASS="{cim_class}"><VALUE.REFERENCE>'
            f'<INSTANCENAME CLASSNAME="{cim_class}"><KEYBINDING NAME="InstanceID"><KEYVALUE VALUETYPE="string">{key}</KEYVALUE>'
            "</KEYBINDING></INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE>")


def named_instance(cim_class, number, content):
    return (f'<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME="{cim_class}"><KEYBINDING NAME="InstanceID">'
            f'<KEYVALUE VALUETYPE="string">{cim_class}.{number}</KEYVALUE></KEYBINDING></INSTANCENAME>'
            f'<INSTANCE CLASSNAME="{cim_class}">{content}</INSTANCE></VALUE.NAMEDINSTANCE>')


def value(name, kind, text):
    return f'<PROPERTY NAME="{name}" TYPE="{kind}"><VALUE>{text}</VALUE></PROPERTY>'


class Generations:
    """Answers each enumeration of a class with a generation that no one has been given before; its links, which are asked
    for after it, have the same."""

    def __init__(self):
        self._given = 0
        self._lock = threading.Lock()

    def __call__(self, request):
        method, cim_class = re.search(r'IMETHODCALL NAME="(\w+)".*?CLASSNAME NAME="(\w+)"', request, re.DOTALL).groups()
        with self._lock:
            if cim_class.lower() == ASSOCIATION:
                return self._answer(method, self._links)
            for name, rows, _, padding in CLASSES:
                if name == cim_class:
                    self._given += method == "EnumerateInstances"
                    return self._answer(method, lambda: self._instances(name, rows, padding))
        return cim_error(5, "no such class", method)

    @staticmethod
    def _answer(method, content):
        if method != "EnumerateInstances":
            return cim_error(7, "not supported", method)
        return http(response(method, f"<IRETURNVALUE>{content()}</IRETURNVALUE>"))

    def _instances(self, name, rows, padding):
        changing = value("Generation", "uint32", self._given) + value("Again", "uint32", self._given)
        return "".join(named_instance(name, number, value("InstanceID", "string", f"{name}.{number}") + changing
                                      + value("Padding", "string", "p" * padding)) for number in range(rows))

    def _links(self):
        name, _, links, _ = CLASSES[0]
        return "".join(named_instance(ASSOCIATION, number,
                                      reference("Dependent", name, f"{name}.{number}")
                                      + reference("Antecedent", KEYS, f"{number}#{self._given}"))
                       for number in range(links))


# ---- A client of the service

class Client:
    """Asks a service for a collection again and again; every answer must be whole once there was one."""

    def __init__(self, service):
        self._service = service
        self._is_stopped = threading.Event()
        self._last = 0
        self.answers = 0
        self.slowest_s = 0.0
        self.fault = None
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def stop(self):
        self._is_stopped.set()
        self._thread.join()

    def _run(self):
        try:
            while not self._is_stopped.is_set():
                self._ask()
        except Exception as error:  # pylint: disable=broad-except
            self.fault = repr(error)

    def _ask(self):
        begin = time.monotonic()
        answer = self._service.get(f"{BASE}/VexoEnclosureEMMCollection")
        if answer.status == 503 and self.answers == 0:
            return
        members = answer.json().get("Members", [])
        generations = {member["Generation"] for member in members}
        if (answer.status, len(members), len(generations)) != (200, CLASSES[0][1], 1) or min(generations) < self._last:
            raise AssertionError(f"{answer.status}, {len(members)} members of generations {generations} after {self._last}")
        self._last = generations.pop()
        self.answers += 1
        self.slowest_s = max(self.slowest_s, time.monotonic() - begin)


# ---- The run

class Kills:
    """with Kills(seed) as kills: kills.run(50); kills.figures() tells what was seen, "faults" first."""

    def __init__(self, seed):
        self._random = random.Random(seed)
        self._stack = contextlib.ExitStack()
        self._kinds = {"all": 0, "supervisor": 0, "refresher": 0}
        self._begin = time.monotonic()

    def __enter__(self):
        with self._stack:
            manager = self._stack.enter_context(ScriptedObjectManager(Generations()))
            self._filler = Filler(mapping(), manager.url, ["--interval", "1"])
            self._stack.callback(self._filler.discard)
            self._readers = [self._stack.enter_context(CacheReader(self._filler.cache_path, READ_CLASSES, is_lasting, pause))
                             for is_lasting, pause in ((True, 0.002), (False, 0.002), (True, 0.05))]
            service = reading_service(self._filler, "--user", USER, "--workers", "1")
            service.directory.chmod(0o755)
            self._client = Client(self._stack.enter_context(service))
            self._stack.callback(self._client.stop)
            self._stack = self._stack.pop_all()
        return self

    def __exit__(self, *details):
        return self._stack.__exit__(*details)

    def run(self, count):
        begin = time.monotonic()
        self._filler.start_filled()
        # From before it opens the file until it has nothing to do.
        filled_s = time.monotonic() - begin
        self._kill()
        for _ in range(count - 1):
            self._filler.launch()
            time.sleep(self._random.uniform(0, 1.2 * filled_s))
            self._kill()
        # It is whole for the next one too.
        self._filler.start_filled()
        self._filler.stop()

    def _kill(self):
        """At times the process that refreshes goes first, or alone until its successor has been at work."""
        process = self._filler.process
        kind = self._random.choice(["all", "all", "supervisor", "refresher"])
        self._kinds[kind] += 1
        if kind == "refresher":
            for pid in self._filler.pids()[1:]:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, signal.SIGKILL)
            time.sleep(self._random.uniform(0, 0.05))
        if kind == "all":
            os.killpg(process.pid, signal.SIGKILL)
        self._filler.kill()

    def figures(self):
        self._client.stop()
        readers = [reader.stop() for reader in self._readers]
        seen = [*(reader["fault"] for reader in readers), self._client.fault]
        integrity = self._filler.rows("pragma integrity_check")
        return {"faults": [fault for fault in seen if fault] + ([] if integrity == [("ok",)] else [integrity]),
                "kills": self._kinds, "seconds": round(time.monotonic() - self._begin, 1),
                **{name: [reader[name] for reader in readers] for name in ("reads", "changes", "retries")},
                "slowest_read_ms": [round(1000 * reader["slowest_s"]) for reader in readers],
                "answers": self._client.answers, "slowest_answer_ms": round(1000 * self._client.slowest_s)}


def main(count):
    seed = random.SystemRandom().randrange(2**32)
    print(f"seed {seed}")
    with Kills(seed) as kills:
        kills.run(count)
        figures = kills.figures()
    print(json.dumps(figures, indent=1))
    return 1 if figures["faults"] else 0


if __name__ == "__main__":
    sys.exit(main(int(sys.argv[1])))
