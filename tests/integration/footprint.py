"""What a service holds of the machine: descriptors, processes, memory."""

import os
from pathlib import Path

from cimgate_host import wait_until
from program import state_of

# What an allocator keeps of memory that it was given back, and a little more.
GROWTH_KIB = 2048
# An address sanitizer keeps 256 MiB of freed memory from reuse, with what surrounds each piece.
SANITIZER_KIB = 400 * 1024


def resident_kib(pid):
    for line in Path(f"/proc/{pid}/status").read_text(encoding="ascii").splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1])
    raise AssertionError(f"process {pid} has no memory")


def is_sanitized(pid):
    return "asan" in Path(f"/proc/{pid}/maps").read_text(encoding="ascii")


class Footprint:
    """Taken of a running service that has nothing to do; front and spawner are looked at, workers are counted."""

    def __init__(self, service):
        self._service = service
        self._pids = (service.process.pid, service.spawner())
        self._workers = len(service.workers())
        self._growth_kib = SANITIZER_KIB if is_sanitized(service.process.pid) else GROWTH_KIB
        self._descriptors = self._count_descriptors()
        self._memory_kib = [resident_kib(pid) for pid in self._pids]

    def _count_descriptors(self):
        return [len(os.listdir(f"/proc/{pid}/fd")) for pid in self._pids]

    def check_same_again(self):
        """The same front and spawner with no more descriptors, all workers alive and none besides, and no more memory
        than before but for GROWTH_KIB a process."""
        if (self._service.process.pid, self._service.spawner()) != self._pids:
            raise AssertionError("the spawner is another one")
        wait_until(lambda: all(now <= then for now, then in zip(self._count_descriptors(), self._descriptors)),
                   f"descriptors as before, {self._descriptors}")
        wait_until(lambda: [state_of(pid) in ("R", "S") for pid in self._service.workers()] == [True] * self._workers,
                   f"{self._workers} living workers")
        memory_kib = [resident_kib(pid) for pid in self._pids]
        if any(now > then + self._growth_kib for now, then in zip(memory_kib, self._memory_kib)):
            raise AssertionError(f"front and spawner had {self._memory_kib} KiB, and have {memory_kib}")
