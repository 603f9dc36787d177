#!/usr/bin/python3 -B
"""Throughput of the service and its processor time per request, beside those of the HTTP server alone with a constant
body of the same size:  host_bench.py BUILD_DIR [SECONDS]
"""

import sys

import measured

CONNECTIONS = [1, 16, 64]
WORKERS = 2
ROUNDS = 3


def measure(program, path, connections, seconds):
    """Requests per second, and microseconds of all its processes per request."""
    before = program.cpu_seconds()
    requests, elapsed = measured.load(program.base, [path], connections, seconds)
    return requests / elapsed, (program.cpu_seconds() - before) * 1e6 / requests


def compare(build_dir, service, name, path, seconds):
    body = measured.body_of(service.base + path)
    with measured.running([f"{build_dir}/bench/constant_server", str(len(body))]) as constant:
        for connections in CONNECTIONS:
            own, floor = [], []
            for _ in range(ROUNDS):  # in turn, so that what else the machine does falls on both
                own.append(measure(service, path, connections, seconds))
                floor.append(measure(constant, path, connections, seconds))
            (rate, cpu), (floor_rate, floor_cpu) = measured.median_of(own), measured.median_of(floor)
            print(f"{name:9} {len(body):6} {connections:5} {rate:9.0f} {cpu:8.0f} {floor_rate:9.0f} {floor_cpu:8.0f}",
                  flush=True)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    build_dir = sys.argv[1]
    seconds = int(sys.argv[2]) if len(sys.argv) == 3 else 3
    print(f"{'':9} {'':6} {'':5} {'service':>18} {'constant body':>18}")
    print(f"{'answer':9} {'bytes':>6} {'conn.':>5} {'req/s':>9} {'CPU us':>8} {'req/s':>9} {'CPU us':>8}")
    with measured.running_service(build_dir, WORKERS) as (service, instance, page):
        compare(build_dir, service, "instance", instance, seconds)
        compare(build_dir, service, "page", page, seconds)


main()
