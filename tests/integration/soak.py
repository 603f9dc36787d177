#!/usr/bin/python3
"""Hostile clients of every kind beside good ones, for some time:  soak.py SECONDS [--paced] [--kind NAME]...

Not one good request may fail. The service's log goes into a pipe that nobody reads. Hostile clients come from addresses
of their own. --paced  they are held to one core, and the good clients' median may be at most SLOWDOWN times what it is
without them; for a machine that does nothing else meanwhile. --kind  only this kind of hostile client"""

import argparse
import contextlib
import json
import multiprocessing
import os
import random
import socket
import statistics
import subprocess
import sys
import time

from cimgate_host import BASE, Service, ask, connect_to, member_entry
from containment_service import DEADLY, GOOD, GOODS, sample
from scripted_object_manager import ScriptedObjectManager

SLOWDOWN = 5
ALONE_S = 3
GOOD_CLIENTS = 4

LIVE = f"{BASE}/VexoLive/L.1"
ACTION = f"{BASE}/VexoLive/Actions/VexoLive.Run"
LARGEST_BODY = 1024 * 1024
JSON = "Content-Type: application/json"


def mapping_and_cache():
    mapping, cache = sample()
    inputs = {"Text": {"redfish_type": "Edm.String", "cim_type": "string"}}
    mapping |= member_entry("VexoLive", "XCIM_Live", {"A": {"cim_type": "string"}}, cached=False,
                            actions={"#VexoLive.Run": {"target": ACTION}})
    mapping["VexoLive"]["mappings"]["XCIM_Live"]["methods"] = {"Run": {"inputs": inputs, "outputs": {}}}
    return mapping, cache


class ServiceWithStalledLog(Service):
    """Its standard error is a pipe that is full and that nobody reads."""

    def launch(self):
        self._unread, log = os.pipe()
        os.set_blocking(log, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(log, b"x" * 4096)
        os.set_blocking(log, True)
        # pylint: disable=consider-using-with
        self.process = subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log,
                                        text=True, start_new_session=True)
        os.close(log)

    def log(self):
        return ""


# ---- Hostile clients: each takes the service's base URL and an address of its own, and does one thing once

def connected(base, address):
    return connect_to(base, timeout=5, source_address=(address, 0))


def head(method, path, *headers):
    return "".join(f"{line}\r\n" for line in (f"{method} {path} HTTP/1.1", "Host: localhost", *headers, "")).encode()


def send_from(base, address, data, wait_s=0.0, answers=True):
    """Sends, reads what is to be had, and leaves after a while."""
    with contextlib.suppress(OSError), connected(base, address) as connection:
        connection.sendall(data)
        time.sleep(wait_s)
        if answers:
            connection.recv(65536)


def half_heads(base, address):
    with contextlib.ExitStack() as stack, contextlib.suppress(OSError):
        for _ in range(200):
            connection = stack.enter_context(connected(base, address))
            connection.sendall(b"GET /x HTTP/1.1\r\nHost: local")
        time.sleep(1)


def idle_connections(base, address):
    with contextlib.ExitStack() as stack, contextlib.suppress(OSError):
        for _ in range(200):
            connection = stack.enter_context(connected(base, address))
            connection.sendall(head("GET", GOOD))
        time.sleep(1)


def held_bodies(base, address):
    with contextlib.ExitStack() as stack, contextlib.suppress(OSError):
        for _ in range(40):
            connection = stack.enter_context(connected(base, address))
            connection.sendall(head("POST", ACTION, JSON, f"Content-Length: {LARGEST_BODY}") + b"x" * (LARGEST_BODY - 1))
        time.sleep(0.5)


def unread_errors(base, address):
    """Each a parameter that the error repeats."""
    body = json.dumps({"T" * 500_000: "\u0001" * 50_000}).encode()
    request = head("POST", ACTION, JSON, f"Content-Length: {len(body)}") + body
    send_from(base, address, request * 3, wait_s=0.5, answers=False)


def live_reads(base, address):
    """The object manager does not answer."""
    with contextlib.ExitStack() as stack, contextlib.suppress(OSError):
        for number in range(150):
            connection = stack.enter_context(connected(base, address))
            connection.sendall(head("GET", f"{LIVE}?n={number}"))
        time.sleep(1)


def slow_actions(base, address):
    body = b'{"Text": "x"}'
    send_from(base, address, head("POST", ACTION, JSON, f"Content-Length: {len(body)}") + body, wait_s=1)


def deadly_reads(base, address):
    for path in DEADLY:
        send_from(base, address, head("GET", path))


def abandoned(base, address):
    for _ in range(20):
        send_from(base, address, head("GET", random.choice((LIVE, GOODS, GOOD))), answers=False)


def pages(base, address):
    send_from(base, address, head("GET", GOOD).replace(b"localhost", b"evil.example"))
    send_from(base, address, head("POST", ACTION, JSON, "Origin: http://evil.example", "Content-Length: 2") + b"{}")


def nonsense(base, address):
    send_from(base, address, random.randbytes(random.randrange(1, 5000)))
    send_from(base, address, head("GET", GOOD, *(f"H{n}: {'x' * 100}" for n in range(200))))
    send_from(base, address, b"\r\n" * 1000 + head("GET", "/" + "a/" * 4000))


HOSTILE = (half_heads, idle_connections, held_bodies, unread_errors, live_reads, slow_actions, deadly_reads, abandoned,
           pages, nonsense)


def attack(kind, base, address, core):
    if core is not None:
        os.sched_setaffinity(0, {core})
    while True:
        kind(base, address)


# ---- Good clients

def good_client(base, seconds, results):
    """Reads and checks; tells how long each request took, and what was wrong with the first that failed."""
    times, failure = [], None
    until = time.monotonic() + seconds
    while time.monotonic() < until and failure is None:
        begin = time.monotonic()
        try:
            answer = ask(base, GOOD)
            if (answer.status, answer.json().get("A")) != (200, "fine"):
                failure = f"{answer.status}: {answer.body[:200]!r}"
        except (OSError, AssertionError, ValueError) as error:
            failure = repr(error)
        times.append(time.monotonic() - begin)
    results.put((times, failure))


def run_good_clients(base, seconds):
    """The time of each request; ends the program where one failed."""
    results = multiprocessing.Queue()
    clients = [multiprocessing.Process(target=good_client, args=(base, seconds, results)) for _ in range(GOOD_CLIENTS)]
    for client in clients:
        client.start()
    got = [results.get() for _ in clients]
    for client in clients:
        client.join()
    failures = [failure for _, failure in got if failure]
    if failures:
        sys.exit("A good request failed:\n" + "\n".join(failures))
    return [each for times, _ in got for each in times]


@contextlib.contextmanager
def hostile_clients(kinds, base, core):
    processes = [multiprocessing.Process(target=attack, args=(kind, base, f"127.9.0.{number + 1}", core), daemon=True)
                 for number, kind in enumerate([*kinds, *kinds])]
    for process in processes:
        process.start()
    try:
        yield
    finally:
        for process in processes:
            process.terminate()
            process.join()


def memory_kib(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("seconds", type=int)
    parser.add_argument("--paced", action="store_true")
    parser.add_argument("--kind", choices=[kind.__name__ for kind in HOSTILE], action="append")
    options = parser.parse_args()
    core = min(os.sched_getaffinity(0)) if options.paced else None
    with ScriptedObjectManager(None) as manager, ServiceWithStalledLog(
            *mapping_and_cache(), options=("--cim", manager.url, "--request-timeout", "10")) as service:
        alone = statistics.median(run_good_clients(service.base, ALONE_S))
        kinds = [kind for kind in HOSTILE if not options.kind or kind.__name__ in options.kind]
        with hostile_clients(kinds, service.base, core):
            times = run_good_clients(service.base, options.seconds)
            held = memory_kib(service.process.pid)
    beside = statistics.median(times)
    print(f"{len(times)} good requests, none failed; median {alone * 1000:.1f} ms alone, {beside * 1000:.1f} ms beside "
          f"{len(kinds)} kinds of hostile clients ({beside / alone:.1f} times); the longest {max(times) * 1000:.0f} ms; "
          f"the front holds {held // 1024} MiB")
    return 1 if options.paced and beside > SLOWDOWN * alone else 0


if __name__ == "__main__":
    sys.exit(main())
