"""A running cimgate-cached with a mapping made for one test, and what it says of itself.

Environment: CIMGATE_CACHED, the program.
"""

import contextlib
import json
import os
import signal
import sqlite3
from pathlib import Path

from cimgate_host import VERBATIM, Service, children_of, wait_until, without_stamps
from program import PATIENCE_S, Program, state_of

CIMGATE_CACHED = os.environ["CIMGATE_CACHED"]
UP_TO_DATE = "up to date"


class Filler(Program):
    """cimgate-cached. mapping is what the mapping file holds (JSON, or text as it is); url is that of the object manager;
    cache is the path of the file that it keeps, without one a file in its own directory, which others may read."""

    NAME = "cimgate-cached"

    def __init__(self, mapping, url, options=(), cache=None):
        super().__init__()
        self.directory.chmod(0o755)
        self.mapping_path = self.directory / "mapping.json"
        self.write_mapping(mapping)
        self.cache_path = self.directory / "cache.db" if cache is None else Path(cache)
        self.status_path = Path(f"{self.cache_path}.status")
        self.command = [CIMGATE_CACHED, "--rmf", str(self.mapping_path), "--cache", str(self.cache_path), "--cim", url,
                        *options]

    def write_mapping(self, mapping):
        self.mapping_path.write_text(mapping if isinstance(mapping, str) else json.dumps(mapping), encoding="utf-8")

    # ---- Running it

    def start(self):
        """Starts it and waits until it keeps its file, which may be before a class is there."""
        self.launch()
        line = self.process.stdout.readline()
        if line != f"{self.NAME}: keeps {self.cache_path}\n":
            status = self.process.wait(timeout=PATIENCE_S)
            raise AssertionError(f"it ended with {status} and said: {line}{self.log()}")
        return self

    def start_filled(self):
        """Starts it and waits until all classes are there."""
        self.start()
        self.await_state(UP_TO_DATE)
        return self

    def once(self, *options):
        """Has it fill and end; returns exit status, standard output and the lines of its log."""
        former = self.command
        self.command = [*former, "--once", *options]
        try:
            status, out, _ = self.fail()
        finally:
            self.command = former
            self.process.stdout.close()
        return status, out, self.lines()

    def fill(self, *options):
        """Has it fill without a fault; returns the lines of its log."""
        status, out, lines = self.once(*options)
        if status != 0:
            raise AssertionError(f"it ended with {status}, said {out!r}, and logged {lines}")
        return lines

    def refresh(self, mapping=None):
        """Has it read the mapping and refresh all classes; waits until that is done."""
        if mapping is not None:
            self.write_mapping(mapping)
        before = {one["name"]: one["refreshed"] for one in self.status()["classes"]}
        self.process.send_signal(signal.SIGHUP)

        def is_done():
            status = self.status()
            return status["state"] == UP_TO_DATE and all(
                one["refreshed"] is not None and one["refreshed"] != before.get(one["name"]) for one in status["classes"])

        wait_until(is_done, "a refresh of all classes")

    # ---- Looking at it

    def lines(self):
        """Its log without the stamp that each line has."""
        return without_stamps(self.log())

    def status(self):
        """What it has told last; nothing where it has told nothing yet."""
        try:
            return json.loads(self.status_path.read_text(encoding="utf-8"))
        except FileNotFoundError:
            return {"state": "", "classes": []}

    def class_status(self, name):
        [found] = [one for one in self.status()["classes"] if one["name"] == name]
        return found

    def await_state(self, state):
        """Waits until this process has told so: one before it may have left the same."""
        def is_told():
            status = self.status()
            return status["state"] == state and status["pid"] == self.process.pid

        wait_until(is_told, f"the state {state!r}")

    def await_line(self, part, count=1):
        """Waits until its log has so many lines with this part; returns them."""
        def found():
            lines = [line for line in self.lines() if part in line]
            return lines if len(lines) >= count else None

        return wait_until(found, f"{count} lines with {part!r}")

    def pids(self):
        return [self.process.pid, *children_of(self.process.pid)]

    def refresher(self):
        """The process that asks the object manager and writes."""
        return wait_until(lambda: children_of(self.process.pid), "the process that refreshes")[0]

    def await_other_refresher(self, former):
        """Waits until the former one has been replaced; returns the new one."""
        wait_until(lambda: not state_of(former) and children_of(self.process.pid), "another process that refreshes")
        return self.refresher()

    @contextlib.contextmanager
    def connection(self):
        """A connection of another program."""
        connection = sqlite3.connect(f"file:{self.cache_path}?mode=ro", uri=True, timeout=PATIENCE_S, isolation_level=None)
        try:
            yield connection
        finally:
            connection.close()

    def rows(self, query, *parameters):
        with self.connection() as connection:
            return connection.execute(query, parameters).fetchall()

    def table(self, cim_class, *columns):
        """The columns of all rows of a class, in the order in which readers page."""
        return self.rows(f"select {', '.join(columns)} from Tbl_{cim_class} order by rowid")

    def ready(self):
        """The classes that are, by name."""
        return [name for name, in self.rows("select ClassName from Tbl_CMPIReady order by ClassName")]


def reading_service(filler, *options, kind=Service):
    """A service that has a filler's mapping and reads its file. What it shows is what the library makes of the cells."""
    service = kind(None, options=(*VERBATIM, *options))
    for option, path in (("--rmf", filler.mapping_path), ("--cache", filler.cache_path)):
        service.command[service.command.index(option) + 1] = str(path)
    return service
