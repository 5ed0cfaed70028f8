#!/usr/bin/env python3
"""Reads the benchmarks' JSON from standard input and prints a Markdown table: microseconds and multiples of the memory limit.

scripts/bench.sh . --benchmark_format=json | scripts/speed_table.py
"""
import json
import sys

SIZES = ("640x480", "1920x1080", "4000x3000")


def main():
    rows = {}
    for run in json.load(sys.stdin)["benchmarks"]:
        if run.get("run_type") == "aggregate" and run.get("aggregate_name") != "median":
            continue
        name, width, height = run["run_name"].split("/")[:3]
        rows.setdefault(name, {})[f"{width}x{height}"] = (run["real_time"], run.get("x_limit"))

    print("| benchmark | " + " | ".join(f"{size} µs | × limit" for size in SIZES) + " |")
    print("|---|" + "---:|" * (2 * len(SIZES)))
    for name, sizes in rows.items():
        cells = []
        for size in SIZES:
            time, limit = sizes.get(size, (None, None))
            cells += ["" if time is None else f"{time:,.0f}", "" if limit is None else f"{limit:.2f}"]
        print(f"| `{name.strip('()')}` | " + " | ".join(cells) + " |")


if __name__ == "__main__":
    main()
