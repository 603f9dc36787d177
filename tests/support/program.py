"""A program of ours that runs in a directory made for one test: how it starts, what it says, how it ends."""

import os
import signal
import subprocess
import tempfile
from pathlib import Path

# How long anything may take that a test waits for.
PATIENCE_S = 30
# The end of a log says what went wrong; all of it can be thousands of lines.
SHOWN_CHARACTERS = 4000


def run_program(*command):
    """What a shell gets of a program that ends by itself: status, standard output and standard error."""
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          check=False, timeout=PATIENCE_S)


def state_of(pid):
    """"R", "S", "Z" and so on; "" for a process that is not there."""
    try:
        return Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rpartition(") ")[2][0]
    except (FileNotFoundError, ProcessLookupError):
        return ""


class Program:
    """A service that says in one line where it listens, and logs to standard error. A context manager that starts it,
    stops it and checks how it ended; a test that fails inside shows the end of its log."""

    NAME = ""  # as it calls itself

    def __init__(self):
        self._directory = tempfile.TemporaryDirectory(prefix="cimgate-test-")  # pylint: disable=consider-using-with
        self.directory = Path(self._directory.name)
        self._log_path = self.directory / "log"
        self.command = []
        self.process = None
        self.base = None  # "http://127.0.0.1:PORT", once it listens

    def launch(self):
        """Starts it, in a process group of its own."""
        with self._log_path.open("wb") as log:
            # pylint: disable=consider-using-with
            self.process = subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log,
                                            text=True, start_new_session=True, env=dict(os.environ, TZ="UTC"))

    def start(self):
        """Starts it and waits until it listens."""
        self.launch()
        return self.await_listening()

    def await_listening(self):
        line = self.process.stdout.readline()
        start = f"{self.NAME}: listening on "
        if not line.startswith(start + "http://"):
            status = self.process.wait(timeout=PATIENCE_S)
            raise AssertionError(f"it ended with {status} and said: {line}{self.log()}")
        self.base = line.removeprefix(start).rstrip("\n")
        return self

    def fail(self):
        """Starts it and waits for it to give up; returns exit status, standard output and standard error."""
        self.launch()
        out, _ = self.process.communicate(timeout=PATIENCE_S)
        return self.process.returncode, out, self.log()

    def stop(self, signal_number=signal.SIGTERM):
        """Asks it to stop and checks that it does: status 0, no process left, nothing said but the one line."""
        pids = self.pids()
        self.process.send_signal(signal_number)
        self.await_end(pids)

    def await_end(self, pids, status=0):
        rest, _ = self.process.communicate(timeout=PATIENCE_S)
        if self.process.returncode != status or rest or self.problems():
            raise AssertionError(f"it ended with {self.process.returncode}, said {rest!r}, and logged\n{self.log()}")
        left = [pid for pid in pids if state_of(pid)]
        if left:
            raise AssertionError(f"processes left: {left}")

    def kill(self):
        """Ends it as a crash would."""
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()

    def discard(self):
        """Ends what is left of it, however it stands."""
        if self.process is not None:
            if self.process.poll() is None:
                self.process.kill()
                self.process.wait()
            self.process.stdout.close()
        self._directory.cleanup()

    def __enter__(self):
        return self.start()

    def __exit__(self, error_type, error, trace):
        if error is not None:
            error.add_note(f"standard error of {self.NAME}:\n{self.log()[-SHOWN_CHARACTERS:]}")
        try:
            if error_type is None and self.process.poll() is None:
                self.stop()
        finally:
            self.discard()

    # ---- Looking at it

    def log(self):
        return self._log_path.read_text(encoding="utf-8", errors="replace")

    def problems(self):
        """Lines of its log that it must not have."""
        return [line for line in self.log().splitlines() if "Sanitizer" in line or "runtime error" in line]

    def pids(self):
        return [self.process.pid]
