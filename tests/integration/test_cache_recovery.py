#!/usr/bin/python3
"""A data cache that is missing, replaced, or no database for a while: the service answers from it as soon as it can."""

import unittest

from cache_damage import PAGE_BYTES, overwrite
from cimgate_host import BASE, Service, wait_until, write_cache
from footprint import Footprint
from recovery_service import THING, RecoveryTest, classes, sample


def replace_cache(service, value):
    """As a writer does that must not be seen half-way: a new file takes the old one's name."""
    new = service.directory / "new.db"
    write_cache(new, classes(value))
    new.rename(service.cache_path)


class CacheRecovery(RecoveryTest):
    def test_start_without_a_cache_works_as_soon_as_there_is_one(self):
        service = self.service()
        moved = service.directory / "moved"
        service.cache_path.rename(moved)
        with service:
            for _ in range(3):
                self.check_later(service)
            # What needs no cache is answered all the while.
            self.assertEqual(service.get(f"{BASE}/VexoThing/T.1?$unknown=1").status, 501)
            log = service.log()
            self.assertIn(f"cimgated: the data cache {service.cache_path} is not there", log)
            self.assertIn("--cache", log)
            moved.rename(service.cache_path)
            wait_until(lambda: service.get(THING).status == 200, "an answer from the cache")
            wait_until(lambda: len(service.workers()) == 2, "the second worker")
            for _ in range(4):
                self.check_good(service)

    def test_replaced_cache_is_read(self):
        with self.service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            for number in range(3):
                replace_cache(service, f"new {number}")
                for _ in service.workers():
                    self.check_good(service, f"new {number}")
            footprint.check_same_again()

    def test_cache_that_is_no_database_for_a_while(self):
        with self.service() as service:
            self.check_good(service)
            footprint = Footprint(service)
            content = service.cache_path.read_bytes()
            for garbage in (b"garbage" * 10_000, content[:100] + bytes(len(content) - 100), content[:PAGE_BYTES + 7]):
                with self.subTest(garbage=garbage[:20]):
                    overwrite(service.cache_path, garbage)
                    self.check_later(service)
                    overwrite(service.cache_path, content)
                    self.check_good(service)
            footprint.check_same_again()

    def test_cache_that_is_filled_after_the_start(self):
        service = Service(sample()[0], options=("--workers", "2"))
        service.cache_path.touch()
        with service:
            for _ in range(4):
                self.check_later(service)
            write_cache(service.cache_path, classes())
            for _ in range(4):
                self.check_good(service)


if __name__ == "__main__":
    unittest.main(verbosity=2)
