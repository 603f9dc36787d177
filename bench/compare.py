#!/usr/bin/python3
"""Prints the library's figures beside their floors:  compare.py RESULT.json...

The files are Google Benchmark's JSON output, with repetitions; each has measured figure and floor in turns. What is
printed are medians of the repetitions, the ratio being the median of their ratios.
"""

import json
import statistics
import sys

# Figure -> the ratio to its floor that it should stay below.
TARGETS = {"instance": 1.5, "request": 2.2, "page": 1.5, "first_request": 1.5}
MICROSECONDS = {"ns": 1e-3, "us": 1, "ms": 1e3, "s": 1e6}


def read_runs(paths):
    """Figure -> [(its microseconds, those of its floor)], one pair for each repetition."""
    runs = {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            benchmarks = json.load(file)["benchmarks"]
        for run in benchmarks:
            if run.get("error_occurred"):
                sys.exit(f"{path}: {run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                own = run["real_time"] * MICROSECONDS[run["time_unit"]]
                floor = run["floor_seconds"] * MICROSECONDS["s"]
                runs.setdefault(run["run_name"].split("/")[0], []).append((own, floor))
    return runs


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    print(f"{'figure':14} {'CPU us':>10} {'floor us':>10} {'ratio':>7} {'target':>7}")
    measured = read_runs(sys.argv[1:])
    for name in filter(measured.get, TARGETS):
        runs = measured[name]
        own = statistics.median(own for own, _ in runs)
        floor = statistics.median(floor for _, floor in runs)
        ratio = statistics.median(own / floor for own, floor in runs)
        print(f"{name:14} {own:10.1f} {floor:10.1f} {ratio:7.2f} {TARGETS[name]:7.1f}")


main()
