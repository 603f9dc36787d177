"""The sample system: an object manager that has it, and the data cache that cimgate-cached fills from one.

Environment: CIMGATE_SOURCE_DIR, the checkout; CIMGATE_CACHED, the program; CIMOMD as in cim_object_manager.py.
"""

import os
from pathlib import Path

from cim_object_manager import ObjectManager
from program import run_program

SAMPLE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"]) / "data"
MAPPING_FILE = SAMPLE_DIR / "resourcemapping.json"


def sample_object_manager():
    """Declarations and all, to be entered."""
    return ObjectManager({path.name: path.read_text(encoding="utf-8") for path in (SAMPLE_DIR / "sample/cim").iterdir()})


def fill_cache(cache, manager, mapping=MAPPING_FILE):
    """Fills a data cache once; all classes of the mapping must come."""
    done = run_program(os.environ["CIMGATE_CACHED"], "--once", "--rmf", mapping, "--cache", cache, "--cim", manager.url)
    if done.returncode != 0:
        raise AssertionError(f"cimgate-cached ended with {done.returncode}: {done.stdout}{done.stderr}")


def make_sample_cache(cache):
    with sample_object_manager() as manager:
        fill_cache(cache, manager)
