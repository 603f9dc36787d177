"""The service on the measured system, its processes, and the load that is put on it."""

import contextlib
import json
import os
import re
import socket
import statistics
import subprocess
import tempfile
import time
import urllib.error
import urllib.request
from pathlib import Path

BENCH_DIR = Path(__file__).resolve().parent
REGISTRIES = BENCH_DIR.parent / "data" / "registries"
UNIT = BENCH_DIR.parent / "data" / "systemd" / "cimgated.service.in"
CLOCK_TICKS = os.sysconf("SC_CLK_TCK")
# How long a program may take to start or to stop.
PATIENCE_S = 30


class Program:
    """A running program that has said where it listens, and the processes below it."""

    def __init__(self, process, base):
        self.process = process
        self.base = base

    def processes(self):
        """Name -> process id. The service is a front, its child the spawner, and below that the workers and what holds
        the message queue."""
        found = {"front": self.process.pid}
        for spawner in children_of(self.process.pid):
            found["spawner"] = spawner
            found |= {f"{name_of(pid)} {i}": pid for i, pid in enumerate(children_of(spawner), 1)}
        return found

    def cpu_seconds(self):
        """Processor time of all its processes since they started."""
        return sum(cpu_seconds(pid) for pid in self.processes().values())

    def pss_bytes(self):
        """Name -> memory, pages that processes share divided among them."""
        return {f"{name} ({pid})": pss_bytes(pid) for name, pid in self.processes().items()}


def children_of(pid):
    return sorted(int(child) for child in Path(f"/proc/{pid}/task/{pid}/children").read_text(encoding="ascii").split())


def name_of(pid):
    return Path(f"/proc/{pid}/comm").read_text(encoding="ascii").strip().removeprefix("cimgated-")


def cpu_seconds(pid):
    fields = Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rpartition(") ")[2].split()
    return (int(fields[11]) + int(fields[12])) / CLOCK_TICKS


def pss_bytes(pid):
    rollup = Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    return int(re.search(r"^Pss: +(\d+) kB$", rollup, re.MULTILINE).group(1)) * 1024


def environment_of(unit):
    """What a systemd unit sets."""
    lines = [line for line in unit.read_text(encoding="utf-8").splitlines() if line.startswith("Environment=")]
    return dict(line.removeprefix("Environment=").split("=", 1) for line in lines)


@contextlib.contextmanager
def running(command, environment=()):
    """Starts a program and waits until it listens; log lines, one for each request, go nowhere."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          env=os.environ | dict(environment)) as process:
        try:
            line = process.stdout.readline()
            if "listening on " not in line:
                raise SystemExit(f"{command[0]} did not start")
            yield Program(process, line.rpartition("listening on ")[2].strip())
        finally:
            process.terminate()
            process.wait(timeout=PATIENCE_S)


@contextlib.contextmanager
def running_service(build_dir, workers, prepare=lambda directory: []):
    """The service, as its unit starts it; yields it with the paths of the instance and the page. prepare(directory) may
    change the mapping and the cache that lie there, and returns more options."""
    with tempfile.TemporaryDirectory(prefix="cimgate-bench-") as directory:
        written = subprocess.run([f"{build_dir}/bench/write_bench_system", directory], check=True,
                                 stdout=subprocess.PIPE, text=True)
        instance, page = written.stdout.split()
        command = [f"{build_dir}/host/cimgated", "--listen", "127.0.0.1:0", "--rmf", f"{directory}/mapping.json",
                   "--cache", f"{directory}/cache.db", "--registries", str(REGISTRIES), "--workers", str(workers), *prepare(directory)]
        with running(command, environment_of(UNIT)) as service:
            service.directory = directory
            yield service, instance, page


NGINX_CONFIGURATION = """
daemon off;
user root;  # who the folder belongs to; without rights of root this line is nothing
worker_processes 1;
pid {directory}/pid;
error_log stderr crit;
events {{}}
http {{
    access_log off;
    default_type application/json;
    sendfile on;
    keepalive_timeout 1h;
    keepalive_requests 1000000000;
    client_body_temp_path {directory}/tmp;
    proxy_temp_path {directory}/tmp;
    fastcgi_temp_path {directory}/tmp;
    uwsgi_temp_path {directory}/tmp;
    scgi_temp_path {directory}/tmp;
    server {{ listen {address}; root {directory}; }}
}}
"""


@contextlib.contextmanager
def running_nginx(body_bytes):
    """nginx with a file of that size; yields it with the path of the file."""
    with tempfile.TemporaryDirectory(prefix="cimgate-bench-") as directory:
        Path(directory, "body").write_bytes(b"x" * body_bytes)
        with socket.create_server(("127.0.0.1", 0)) as unused:
            address = f"127.0.0.1:{unused.getsockname()[1]}"
        configuration = Path(directory, "nginx.conf")
        configuration.write_text(NGINX_CONFIGURATION.format(directory=directory, address=address), encoding="utf-8")
        with subprocess.Popen(["/usr/sbin/nginx", "-p", directory, "-c", str(configuration)]) as process:
            try:
                await_listener(address)
                yield Program(process, f"http://{address}"), "/body"
            finally:
                process.terminate()
                process.wait(timeout=PATIENCE_S)


def await_listener(address):
    deadline = time.monotonic() + PATIENCE_S
    host, _, port = address.rpartition(":")
    while True:
        try:
            socket.create_connection((host, int(port))).close()
            return
        except ConnectionRefusedError:
            if time.monotonic() > deadline:
                raise
            time.sleep(0.01)


def answer_to(url, headers=()):
    """Status, headers and body, the last as it was sent."""
    request = urllib.request.Request(url, headers=dict(headers))
    try:
        with urllib.request.urlopen(request, timeout=PATIENCE_S) as answer:
            return answer.status, answer.headers, answer.read()
    except urllib.error.HTTPError as answer:
        with answer:
            return answer.code, answer.headers, answer.read()


def body_of(url):
    with urllib.request.urlopen(url, timeout=PATIENCE_S) as answer:
        return answer.read()


def all_paths(base, page):
    """Every page of the collection and every member on it."""
    paths = []
    while page:
        paths.append(page)
        body = json.loads(body_of(base + page))
        paths += [member["@odata.id"] for member in body.get("Members", [])]
        page = body.get("Members@odata.nextLink") if body.get("Members") else None
        if page and int(page.rpartition("=")[2]) >= body["Members@odata.count"]:
            page = None  # a full last page links to one behind the end
    return paths


def load(base, paths, connections, seconds, headers=()):
    """Asks for the paths in turn; returns how many requests were answered in how many seconds."""
    requests, elapsed, _ = timed_load(base, paths, connections, seconds, headers)
    return requests, elapsed


def timed_load(base, paths, connections, seconds, headers=()):
    """The same, and the 99th percentile of what a request took, in seconds."""
    command = ["wrk", "-t", "1", "-c", str(connections), "-d", f"{seconds}s", "-s", str(BENCH_DIR / "paths.lua"),
               *(f"-H{name}: {value}" for name, value in headers), base, "--", *paths]
    report = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    result = re.search(r"^RESULT (\d+) (\d+) (\d+) (\d+)$", report, re.MULTILINE)
    requests, microseconds, failed, slowest = (int(field) for field in result.groups())
    if failed:
        raise SystemExit(f"{failed} of {requests} requests failed:\n{report}")
    return requests, microseconds / 1e6, slowest / 1e6


def median_of(samples):
    """The median of each column of a list of tuples."""
    return tuple(statistics.median(column) for column in zip(*samples))
