#!/usr/bin/python3 -B
"""Memory (PSS) of each process of the service, after the whole cache has been read and as many answers are kept as may be,
and after 100,000 requests more:  memory_bench.py BUILD_DIR [REQUESTS]

Fails when a process has grown by more than 1 MiB or was replaced, or all together take more than 28 MiB.
"""

import sys

import measured

WORKERS = 2
CONNECTIONS = 16
MAX_GROWTH_BYTES = 1024 * 1024
MAX_BYTES = 28 * 1024 * 1024
# Pages of 58 KB, of which the front keeps 8 MiB: all but the last ones fit beside the instances, so that others had to go.
PAGES = 150
PAGES_THAT_FIT = 130
ROUND_S = 5


def grow(service, paths, wanted):
    requests = 0
    while requests < wanted:
        requests += measured.load(service.base, paths, CONNECTIONS, ROUND_S)[0]
    return requests


def report(before, after):
    print(f"{'process':24} {'first KiB':>10} {'last KiB':>10} {'growth':>8}")
    for name, size in before.items():
        print(f"{name:24} {size // 1024:10} {after.get(name, 0) // 1024:10} {(after.get(name, 0) - size) // 1024:8}")
    print(f"{'all':24} {sum(before.values()) // 1024:10} {sum(after.values()) // 1024:10}")


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    wanted = int(sys.argv[2]) if len(sys.argv) == 3 else 100_000
    with measured.running_service(sys.argv[1], WORKERS) as (service, _, page):
        paths = measured.all_paths(service.base, page)
        pages = [f"{page}?$skip={first}" for first in range(1, PAGES)]
        # Long enough for each worker to have had each path.
        measured.load(service.base, paths + pages, CONNECTIONS, ROUND_S)
        paths += pages[:PAGES_THAT_FIT]
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
    if sum(after.values()) > MAX_BYTES:
        sys.exit("all processes together take more than 28 MiB")


main()
