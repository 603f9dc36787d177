"""A reader of the data cache in a process of its own, of a user who may write neither the file nor its directory: it reads
as a worker of the service does, and looks whether what it sees is whole.

Whole is a class all of whose rows have one generation, which its links have too, as many of each as there are to be.
"""

import json
import pwd
import select
import sqlite3
import subprocess
import sys
import time
from pathlib import Path

USER = "nobody"
LIBRARY_PATIENCE_S = 10
INDEX_PATIENCE_S = 2


class Spoiled(Exception):
    """What was read is not whole."""


def read_class(connection, name, rows, links):
    """The generation of a class in the state that is read; None where it is not ready."""
    ready, = connection.execute(f'select count(*) from Tbl_CMPIReady where ClassName = "{name}" collate nocase').fetchone()
    if ready == 0:
        return None
    found = connection.execute(f"select InstanceID, Generation, Again, typeof(Padding) from Tbl_{name}").fetchall()
    count, = connection.execute(f"select count(*) from Tbl_{name}").fetchone()
    linked = [key for number in range(links) for key, in connection.execute(
        "select __RightClassKey from Tbl_xcim_enclosureemmdependency where __LeftClassKey = ?", [f"{name}.{number}"])]
    generations = {one for _, *both, _ in found for one in both} | {int(key.partition("#")[2]) for key in linked}
    keys = {key for key, *_ in found}
    if (count, len(found), len(keys), len(linked), len(generations)) != (rows, rows, rows, links, 1):
        raise Spoiled(f"{name}: {count} rows, {len(keys)} keys, {len(linked)} links, generations {generations}")
    return generations.pop()


class Reading:
    """What a reader has seen so far."""

    def __init__(self, path, classes, is_lasting):
        self._path = path
        self._classes = classes
        self._is_lasting = is_lasting
        self._connection = None
        self.last = {}
        self.reads = 0
        self.changes = 0
        self.retries = 0
        self.slowest_s = 0.0

    def read(self):
        """Reads all classes in one state."""
        begin = time.monotonic()
        if self._connection is None:
            self._connection = sqlite3.connect(f"file:{self._path}?mode=ro", uri=True, timeout=LIBRARY_PATIENCE_S,
                                               isolation_level=None)
        self._connection.execute("begin")
        self._take_state()
        try:
            for name, rows, links in self._classes:
                self._note(name, read_class(self._connection, name, rows, links))
        finally:
            self._connection.execute("commit")
            if not self._is_lasting:
                self._connection.close()
                self._connection = None
        self.reads += 1
        self.slowest_s = max(self.slowest_s, time.monotonic() - begin)

    def _take_state(self):
        """As workers do: who may not write waits while the index of the log is half written."""
        end = time.monotonic() + INDEX_PATIENCE_S
        while True:
            try:
                self._connection.execute("pragma schema_version").fetchone()
                return
            except sqlite3.OperationalError as error:
                if error.sqlite_errorname != "SQLITE_READONLY_RECOVERY" or time.monotonic() > end:
                    raise
            self.retries += 1
            time.sleep(0.001)

    def _note(self, name, generation):
        before = self.last.get(name)
        if before is not None and (generation is None or generation < before):
            raise Spoiled(f"{name}: generation {generation} after {before}")
        self.changes += generation != before
        self.last[name] = generation


def run(path, classes, is_lasting, pause_s):
    """Reads until standard input ends, then prints what was seen; each line of input is answered by a read's result."""
    reading = Reading(path, classes, is_lasting)
    fault = None
    while fault is None:
        wanted, _, _ = select.select([sys.stdin], [], [], pause_s)
        if wanted and not sys.stdin.readline():
            break
        try:
            if reading.reads > 0 or Path(path).exists():
                reading.read()
        except Exception as error:  # pylint: disable=broad-except
            fault = repr(error)
        if wanted or fault:
            print(json.dumps({"last": reading.last, "fault": fault}), flush=True)
    print(json.dumps({"reads": reading.reads, "changes": reading.changes, "retries": reading.retries,
                      "slowest_s": reading.slowest_s, "fault": fault}), flush=True)


class CacheReader:
    """classes: name, number of rows, number of links for each. is_lasting: whether it keeps its connection from one read
    to the next. pause_s: between two reads."""

    def __init__(self, path, classes, is_lasting, pause_s=0.0):
        source = Path(__file__).read_text(encoding="utf-8")
        arguments = [str(path), json.dumps(classes), json.dumps(is_lasting), json.dumps(pause_s)]
        user = pwd.getpwnam(USER)
        # The text of this file, not its name: the checkout need not be the other user's to read.
        # pylint: disable=consider-using-with
        self._process = subprocess.Popen(["/usr/bin/python3", "-c", source, *arguments], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True, cwd="/", user=user.pw_uid, group=user.pw_gid,
                                         extra_groups=[])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.communicate()

    def read(self):
        """Has it read now: class -> generation."""
        self._process.stdin.write("\n")
        self._process.stdin.flush()
        told = json.loads(self._process.stdout.readline())
        if told["fault"]:
            raise AssertionError(told["fault"])
        return told["last"]

    def stop(self):
        """What it has seen: {"reads", "changes", "retries", "slowest_s", "fault"}."""
        out, _ = self._process.communicate()
        return json.loads(out.splitlines()[-1])


if __name__ == "__main__":
    run(sys.argv[1], json.loads(sys.argv[2]), json.loads(sys.argv[3]), json.loads(sys.argv[4]))
