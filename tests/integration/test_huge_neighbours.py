#!/usr/bin/python3
"""Requests for more than a worker can hold, or than an answer may be, disturb nobody else."""

import unittest

from hostile_neighbours import HUGE, NeighboursTest, uris_of


class HugeNeighbours(NeighboursTest):
    has_huge_values = True

    def test_requests_that_need_more_than_a_worker_has(self):
        self.start_good_clients()
        self.run_hostile_clients(uris_of(HUGE), (500, 504))
        self.finish()


if __name__ == "__main__":
    unittest.main(verbosity=2)
