#!/usr/bin/python3 -B
"""Memory (PSS) of each process of the service, after the whole cache has been read and after 100,000 requests more:
memory_bench.py BUILD_DIR [REQUESTS]

Fails when a process has grown by more than 1 MiB or was replaced.
"""

import json
import sys

import measured

WORKERS = 2
CONNECTIONS = 16
MAX_GROWTH_BYTES = 1024 * 1024
ROUND_S = 5


def all_paths(base, page):
    """Every page of the collection and every member on it."""
    paths = []
    while page:
        paths.append(page)
        body = json.loads(measured.body_of(base + page))
        paths += [member["@odata.id"] for member in body.get("Members", [])]
        page = body.get("Members@odata.nextLink") if body.get("Members") else None
        if page and int(page.rpartition("=")[2]) >= body["Members@odata.count"]:
            page = None  # a full last page links to one behind the end
    return paths


def grow(service, paths, wanted):
    requests = 0
    while requests < wanted:
        requests += measured.load(service.base, paths, CONNECTIONS, ROUND_S)[0]
    return requests


def report(before, after):
    print(f"{'process':24} {'first KiB':>10} {'last KiB':>10} {'growth':>8}")
    for name, size in before.items():
        print(f"{name:24} {size // 1024:10} {after.get(name, 0) // 1024:10} {(after.get(name, 0) - size) // 1024:8}")


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    wanted = int(sys.argv[2]) if len(sys.argv) == 3 else 100_000
    with measured.running_service(sys.argv[1], WORKERS) as (service, _, page):
        paths = all_paths(service.base, page)
        # Long enough for each worker to have had each path.
        measured.load(service.base, paths, CONNECTIONS, ROUND_S)
        before = service.pss_bytes()
        requests = grow(service, paths, wanted)
        after = service.pss_bytes()
    print(f"{len(paths)} paths, {requests} requests between the two")
    report(before, after)
    if before.keys() != after.keys():
        sys.exit("processes were replaced")
    if any(after[name] - size > MAX_GROWTH_BYTES for name, size in before.items()):
        sys.exit("a process has grown by more than 1 MiB")


main()
