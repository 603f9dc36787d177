#!/usr/bin/python3
"""Clients that ask again and again for what occupies its workers, or leave while it does, disturb nobody else."""

import unittest

from cimgate_host import BASE, wait_until
from hostile_neighbours import HOSTILE_CLIENTS, STUCK, Client, NeighboursTest


class StuckNeighbours(NeighboursTest):
    def test_requests_that_end_or_occupy_their_workers_again_and_again(self):
        self.start_good_clients()
        # Sooner or later they are refused without a worker.
        self.run_hostile_clients([f"{BASE}/VexoReal/X", f"{BASE}/VexoRealCollection", STUCK] * 5, (500, 503, 504))
        self.finish()

    def test_clients_that_leave_while_their_workers_are_occupied(self):
        self.start_good_clients()
        leaving = [Client(self.service) for _ in range(HOSTILE_CLIENTS)]
        for number, client in enumerate(leaving):
            client.ask(f"{STUCK}?n={number}")
        # What is not begun before its client leaves is not begun at all.
        self.service.await_busy_workers(HOSTILE_CLIENTS)
        for client in leaving:
            client.close()
            self.give_questions(HOSTILE_CLIENTS)
        wait_until(lambda: self.service.log().count("passed the deadline of its request") == HOSTILE_CLIENTS,
                   "the end of what nobody waits for")
        self.finish()


if __name__ == "__main__":
    unittest.main(verbosity=2)
