#!/usr/bin/python3 -B
"""Throughput of the service and its processor time per request, by turns with its peers: the HTTP server alone with a
constant body of the same size, and nginx with a file of that size:  host_bench.py BUILD_DIR [SECONDS]

Then what keeping answers gives while a writer changes the cache, and what of the service's own resources there is: the root,
and a system that is composed. Says where a goal is missed. Figures are medians, and so are ratios: of those of each turn, since
the machine's speed may change between two turns.
"""

import contextlib
import json
import sqlite3
import statistics
import sys
import threading
from pathlib import Path

import measured

CONNECTIONS = [1, 16, 64]
WORKERS = 2
ROUNDS = 5
# Of a kept answer, beside the constant body's processor time and nginx's requests per second.
MAX_COST = 1.3
MIN_RATE = 0.45
# Commits of the writer, and what keeping gives beside it: times the requests per second of keeping none.
COMMIT_PAUSE_S = 0.1
WRITER_CONNECTIONS = 16
MIN_GAIN = 5
COMMIT = "update Tbl_XCIM_Disk0 set rowid = rowid where rowid = 1"
CACHE = "cache.db"
SYSTEM = "/redfish/v1/Systems/1"


def with_journal(mode, *options):
    """How the cache is written: with a write-ahead log as cimgate-cached does, or with a rollback journal."""
    def prepare(directory):
        with contextlib.closing(sqlite3.connect(Path(directory, CACHE))) as cache:
            cache.execute(f"pragma journal_mode = {mode}")
        return list(options)
    return prepare


def measure(program, paths, connections, seconds, headers=()):
    """Requests per second, and microseconds of all its processes per request."""
    before = program.cpu_seconds()
    requests, elapsed = measured.load(program.base, paths, connections, seconds, headers)
    return requests / elapsed, (program.cpu_seconds() - before) * 1e6 / requests


def missed(condition):
    return "  MISSED" if condition else ""


def compare(build_dir, service, name, path, seconds, headers=(), max_cost=MAX_COST):
    """Service and peers by turns, so that what else the machine does falls on all of them."""
    size = len(measured.answer_to(service.base + path, headers)[2])
    with measured.running([f"{build_dir}/bench/constant_server", str(size)]) as constant, \
            measured.running_nginx(size) as (nginx, file):
        for connections in CONNECTIONS:
            turns = [(measure(service, [path], connections, seconds, headers), measure(constant, ["/"], connections, seconds),
                      measure(nginx, [file], connections, seconds)) for _ in range(ROUNDS)]
            (rate, cpu), (constant_rate, constant_cpu), (nginx_rate, nginx_cpu) = map(measured.median_of, zip(*turns))
            cost = statistics.median(own[1] / floor[1] for own, floor, _ in turns)
            part = statistics.median(own[0] / peer[0] for own, _, peer in turns)
            is_missed = max_cost is not None and (cost > max_cost or part < MIN_RATE)
            print(f"{name:22} {size:6} {connections:5} {rate:8.0f} {cpu:7.1f} {constant_rate:9.0f} {constant_cpu:7.1f} "
                  f"{nginx_rate:8.0f} {nginx_cpu:7.1f} {cost:6.2f} {part:6.2f}{missed(is_missed)}", flush=True)


def compare_unmodified(service, instance, known, seconds):
    """An answer without a body, by turns with the whole one."""
    for connections in CONNECTIONS:
        turns = [(measure(service, [instance], connections, seconds, known), measure(service, [instance], connections, seconds))
                 for _ in range(ROUNDS)]
        (_, cpu), (_, whole_cpu) = map(measured.median_of, zip(*turns))
        cost = statistics.median(short[1] / whole[1] for short, whole in turns)
        print(f"instance, 304, {connections} connections: {cpu:.1f} us, whole {whole_cpu:.1f} us, {cost:.2f} times{missed(cost >= 1)}",
              flush=True)


def compare_kept(build_dir, service, instance, page, seconds):
    compare(build_dir, service, "instance", instance, seconds)
    known = [("If-None-Match", measured.answer_to(service.base + instance)[1]["ETag"])]
    compare(build_dir, service, "with If-None-Match", instance, seconds, known, max_cost=None)
    compare_unmodified(service, instance, known, seconds)
    compare(build_dir, service, "page", page, seconds)
    compare(build_dir, service, "page, gzip", page, seconds, [("Accept-Encoding", "gzip")])


def with_service_file(instance, page):
    """A system of a standard type: properties of an instance, and what a collection of some pages amounts to."""
    names = ("Manufacturer", "Model", "PartNumber", "SerialNumber")
    system = {"@odata.type": "#ComputerSystem.v1_14_0.ComputerSystem", "Name": "System",
              **{name: {"from": instance, "property": name} for name in names},
              "Status": {"State": "Enabled", "HealthRollup": {"worst": page, "property": "HealthState"}},
              "ProcessorSummary": {"Count": {"count": page}}}

    def prepare(directory):
        file = Path(directory, "service.json")
        file.write_text(json.dumps({SYSTEM: system}), encoding="utf-8")
        return [*with_journal("wal")(directory), "--service", str(file)]
    return prepare


@contextlib.contextmanager
def writer(cache):
    """Commits a change again and again."""
    done = threading.Event()

    def write():
        with contextlib.closing(sqlite3.connect(cache, isolation_level=None, timeout=measured.PATIENCE_S)) as connection:
            while not done.wait(COMMIT_PAUSE_S):
                connection.execute(COMMIT)

    thread = threading.Thread(target=write)
    thread.start()
    try:
        yield
    finally:
        done.set()
        thread.join()


def measure_written(service, paths, seconds):
    with writer(Path(service.directory, CACHE)):
        return measure(service, paths, WRITER_CONNECTIONS, seconds)


def compare_written(kept, never, page, seconds):
    paths = [path for path in measured.all_paths(kept.base, page) if "Collection" not in path]
    turns = [(measure_written(kept, paths, seconds), measure_written(never, paths, seconds)) for _ in range(ROUNDS)]
    (rate, cpu), (never_rate, never_cpu) = map(measured.median_of, zip(*turns))
    gain = statistics.median(own[0] / none[0] for own, none in turns)
    print(f"{len(paths)} instances beside a writer, {WRITER_CONNECTIONS} connections: {rate:.0f} req/s, {cpu:.1f} us; "
          f"never kept {never_rate:.0f} req/s, {never_cpu:.1f} us; {gain:.1f} times{missed(gain < MIN_GAIN)}", flush=True)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    build_dir = sys.argv[1]
    seconds = int(sys.argv[2]) if len(sys.argv) == 3 else 3
    print(f"{'':22} {'':6} {'':5} {'service':>16} {'constant body':>17} {'nginx':>16} {'beside':>13}")
    print(f"{'answer':22} {'bytes':>6} {'conn.':>5} {'req/s':>8} {'CPU us':>7} {'req/s':>9} {'CPU us':>7} {'req/s':>8} "
          f"{'CPU us':>7} {'CPU':>6} {'nginx':>6}")
    with measured.running_service(build_dir, WORKERS, with_journal("delete")) as (service, instance, page):
        compare(build_dir, service, "instance, no log", instance, seconds)
    with measured.running_service(build_dir, WORKERS, with_journal("wal")) as (kept, instance, page), \
            measured.running_service(build_dir, WORKERS, with_journal("wal", "--kept-answers", "0")) as (never, _, _):
        compare_kept(build_dir, kept, instance, page, seconds)
        compare(build_dir, never, "never kept: instance", instance, seconds, max_cost=None)
        compare(build_dir, never, "never kept: page", page, seconds, max_cost=None)
        compare_written(kept, never, page, seconds)
    with measured.running_service(build_dir, WORKERS, with_service_file(instance, page)) as (service, _, _):
        compare(build_dir, service, "service root", "/redfish/v1/", seconds)
        compare(build_dir, service, "composed system", SYSTEM, seconds)


main()
