"""A running cimgated with the sample: mapping, service file, object manager, filled data cache.

Environment: CIMGATED, the program; CIMGATE_REGISTRIES, the directory of the message registries; as in sample_system.py.
"""

import contextlib
import os

from program import Program
from sample_system import MAPPING_FILE, SAMPLE_DIR, fill_cache, sample_object_manager


class SampleService(Program):
    NAME = "cimgated"

    def __init__(self, manager):
        super().__init__()
        cache = self.directory / "cache.db"
        fill_cache(cache, manager)
        self.command = [os.environ["CIMGATED"], "--listen", "127.0.0.1:0", "--rmf", str(MAPPING_FILE), "--service",
                        str(SAMPLE_DIR / "service.json"), "--cache", str(cache), "--cim", manager.url, "--registries",
                        os.environ["CIMGATE_REGISTRIES"]]


@contextlib.contextmanager
def sample_service():
    with sample_object_manager() as manager, SampleService(manager) as service:
        yield service
