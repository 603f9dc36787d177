#!/usr/bin/python3
"""Prints the library's figures beside their floors:  compare.py RESULT.json...

The files are Google Benchmark's JSON output, with repetitions; a figure is the median of its repetitions.
"""

import json
import statistics
import sys

# Figure, floor, the ratio that it should stay below.
COMPARED = [
    ("instance", "instance_floor", 1.5),
    ("request", "instance_floor", 2.2),
    ("page", "page_floor", 1.5),
    ("first_request", "first_request_floor", 1.5),
]
MICROSECONDS = {"ns": 1e-3, "us": 1, "ms": 1e3}


def read_times(paths):
    """Figure -> its times in microseconds, one for each repetition."""
    times = {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        for run in runs:
            if run.get("error_occurred"):
                sys.exit(f"{path}: {run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                name = run["run_name"].split("/")[0]
                times.setdefault(name, []).append(run["real_time"] * MICROSECONDS[run["time_unit"]])
    return times


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    median = {name: statistics.median(values) for name, values in read_times(sys.argv[1:]).items()}
    print(f"{'figure':14} {'CPU us':>10} {'floor us':>10} {'ratio':>7} {'target':>7}")
    for name, floor, target in COMPARED:
        if name in median and floor in median:
            print(f"{name:14} {median[name]:10.1f} {median[floor]:10.1f} {median[name] / median[floor]:7.2f} "
                  f"{target:7.1f}")


main()
