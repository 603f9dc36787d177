#!/usr/bin/python3 -B
"""Round trips through the message queue for a container of five members, beside five plain reads of cached instances over
one kept-alive connection, by turns:  oem_bench.py BUILD_DIR [SECONDS]
"""

import json
import subprocess
import sys
from pathlib import Path

import measured

CLIENTS = [1, 16]
WORKERS = 2
ROUNDS = 5
MEMBERS = 5
CONTAINER = "DiskOem"


def add_container(directory):
    """Five resources like the one that is read over HTTP, and what embeds them; returns the options of the service."""
    path = Path(directory, "mapping.json")
    mapping = json.loads(path.read_text(encoding="utf-8"))
    members = [f"EmbeddedDisk{i}" for i in range(MEMBERS)]
    mapping |= {name: mapping["VexoDisk0"] for name in members}
    mapping[CONTAINER] = {"instances": {name: {} for name in members}}
    path.write_text(json.dumps(mapping), encoding="utf-8")
    return ["--oem-endpoint", f"ipc://{directory}/oem.sock"]


def measure(build_dir, service, clients, seconds, target):
    """Round trips per second, microseconds of all the service's processes for each, and the bytes of one's answers."""
    before = service.cpu_seconds()
    report = subprocess.run([f"{build_dir}/bench/oem_load", str(clients), str(seconds), *target], check=True,
                            stdout=subprocess.PIPE, text=True).stdout
    count, microseconds, size = (int(field) for field in report.split())
    return count * 1e6 / microseconds, (service.cpu_seconds() - before) * 1e6 / count, size


def compare(build_dir, service, clients, seconds, queue, plain):
    own, reads = [], []
    for _ in range(ROUNDS):  # in turn, so that what else the machine does falls on both
        own.append(measure(build_dir, service, clients, seconds, queue))
        reads.append(measure(build_dir, service, clients, seconds, plain))
    (rate, cpu, size), (plain_rate, plain_cpu, plain_size) = measured.median_of(own), measured.median_of(reads)
    print(f"{clients:7} {size:7.0f} {rate:8.0f} {cpu:8.0f} {plain_size:9.0f} {plain_rate:8.0f} {plain_cpu:8.0f} "
          f"{rate / plain_rate:7.2f} {cpu / plain_cpu:7.2f}", flush=True)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    build_dir = sys.argv[1]
    seconds = int(sys.argv[2]) if len(sys.argv) == 3 else 2
    print(f"{'':7} {'message queue':>25} {'five reads':>27} {'queue / reads':>15}")
    print(f"{'clients':>7} {'bytes':>7} {'trips/s':>8} {'CPU us':>8} {'bytes':>9} {'trips/s':>8} {'CPU us':>8} {'trips':>7} {'CPU':>7}")
    with measured.running_service(build_dir, WORKERS, add_container) as (service, instance, _):
        endpoint = service.process.args[-1]
        key = instance.rpartition("/")[2]
        for clients in CLIENTS:
            compare(build_dir, service, clients, seconds, ["oem", endpoint, CONTAINER, key],
                    ["http", *[service.base + instance] * MEMBERS])


main()
