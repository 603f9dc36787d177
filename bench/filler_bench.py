#!/usr/bin/python3 -B
"""What a client notices of a refresh: the 99th percentile of a GET while a class of 10,000 rows is refreshed without end in
the cache that answers, beside the same load while that goes on in another file; no answer is kept, so that both are read by workers:  filler_bench.py BUILD_DIR [SECONDS]
"""

import contextlib
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.error
from pathlib import Path
from urllib.parse import quote

import measured

ROUNDS = 7
TARGET = 1.2
ROWS = 10000
PATHS = ["/redfish/v1/Vexo/VexoBenchmark/" + quote(f"Text of {row}") for row in range(0, ROWS, 499)]


@contextlib.contextmanager
def refreshing(build_dir, cache):
    with subprocess.Popen([f"{build_dir}/bench/filler_benchmark", "--loop", cache]) as process:
        try:
            yield
        finally:
            process.kill()


def await_rows(base):
    deadline = time.monotonic() + measured.PATIENCE_S
    while True:
        try:
            return measured.body_of(base + PATHS[-1])
        except urllib.error.HTTPError:
            if time.monotonic() > deadline:
                raise
            time.sleep(0.1)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    build_dir = sys.argv[1]
    seconds = int(sys.argv[2]) if len(sys.argv) == 3 else 3
    with tempfile.TemporaryDirectory(prefix="cimgate-bench-") as directory:
        mapping = Path(directory, "mapping.json")
        mapping.write_bytes(subprocess.run([f"{build_dir}/bench/filler_benchmark", "--mapping"], check=True,
                                           stdout=subprocess.PIPE).stdout)
        own, other = f"{directory}/own.db", f"{directory}/other.db"
        command = [f"{build_dir}/host/cimgated", "--listen", "127.0.0.1:0", "--rmf", str(mapping), "--cache", own,
                   "--registries", str(measured.REGISTRIES), "--workers", "2", "--kept-answers", "0"]
        with measured.running(command) as service:
            with refreshing(build_dir, own):
                await_rows(service.base)
            samples = {own: [], other: []}
            for _ in range(ROUNDS):  # in turn, so that what else the machine does falls on both
                for cache, slowest in samples.items():
                    with refreshing(build_dir, cache):
                        slowest.append(measured.timed_load(service.base, PATHS, 1, seconds)[2])
    median = {cache: statistics.median(slowest) for cache, slowest in samples.items()}
    ratio = median[own] / median[other]
    print(f"99th percentile of a GET: {median[own] * 1e3:.2f} ms while its cache is refreshed, {median[other] * 1e3:.2f} ms "
          f"while another is, ratio {ratio:.2f} (at most {TARGET}){'  MISSED' if ratio > TARGET else ''}")
    sys.exit(1 if ratio > TARGET else 0)


main()
