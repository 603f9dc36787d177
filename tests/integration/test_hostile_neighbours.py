#!/usr/bin/python3
"""Requests that end their workers, or occupy them for ever, disturb nobody else."""

import random
import signal
import unittest

from cimgate_host import BASE
from hostile_neighbours import ABORTING, STUCK, NeighboursTest, uris_of

SEED = 1


def hostile_uris():
    # A single instance of which SQLite reports an error is answered, without its values.
    return [*uris_of(ABORTING), f"{BASE}/VexoEndless/X", f"{BASE}/VexoEndlessCollection",
            f"{BASE}/VexoFailingCollection", f"{BASE}/VexoSelected/X", STUCK]


class HostileNeighbours(NeighboursTest):
    def test_requests_that_end_or_occupy_their_workers(self):
        self.start_good_clients()
        # Each is another target: one that keeps ending workers would not be let through to them any more.
        targets = [f"{uri}?n={number}" for number, uri in enumerate(hostile_uris())]
        targets += [f"{BASE}/Vexo{name}/X?again={number}" for number in range(5) for name in ABORTING]
        random.Random(SEED).shuffle(targets)
        self.run_hostile_clients(targets, (500, 504))
        self.finish()
        self.assertIn("passed the deadline of its request", self.service.log())
        self.assertIn(f"ended by signal {int(signal.SIGABRT)}", self.service.log())


if __name__ == "__main__":
    unittest.main(verbosity=2)
