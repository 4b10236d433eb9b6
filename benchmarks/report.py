#!/usr/bin/env python3
"""Writes the page of measured figures, docs/performance.md, from what the benchmarks printed.

usage: report.py GOALS RESULTS >docs/performance.md

GOALS is benchmarks/goals.json: a row for each figure, where it is found, and its limit.
RESULTS is a folder with a file PROGRAM.RUN.json for each run of each program, as
"--benchmark_out_format=json" writes it, and instructions.json: counts by callback.
Exit code 3 when a figure misses its limit or was not measured.
"""

import json
import pathlib
import platform
import re
import statistics
import sys

# Two measurements of the same base, within one process, may differ by this much; a run in which
# they differ by more says nothing.
NOISE_LIMIT = 0.05


def entries_of(results, row):
    """The row's benchmark in every run of its program."""
    for path in sorted(results.glob(row["program"] + ".*.json")):
        for entry in json.loads(path.read_text())["benchmarks"]:
            # "Batch/64/iterations:1/manual_time" is the benchmark Batch/64.
            name = re.sub(r"/(iterations:\d+|manual_time)", "", entry["name"])
            if name == row["benchmark"] and "error_occurred" not in entry:
                yield entry


def measure(results, row):
    """The row's figures, one a run, and what the bases of the runs differed by."""
    if "instructions" in row:
        counted = json.loads((results / "instructions.json").read_text())
        return [counted[row["instructions"]["callback"]]], []
    entries = list(entries_of(results, row))
    noise = [abs(entry["control"] - 1) for entry in entries if "control" in entry]
    return [entry[row["counter"]] for entry in entries], noise


def shown(value, unit, fraction=2):
    digits = 0 if value == int(value) else fraction if abs(value) < 100 else 0
    return f"{value:,.{digits}f}{' ' + unit if unit else ''}"


def goal_of(row):
    for key, words in (("limit", "at most"), ("least", "at least")):
        if key in row:
            return f"{words} {shown(row[key], row['unit'])}"
    return "none"


def verdict(row, middle):
    if "limit" in row:
        return middle <= row["limit"]
    return "least" not in row or middle >= row["least"]


def range_of(values, unit):
    low, high = min(values), max(values)
    return shown(low, unit) if low == high else f"{shown(low, '')} to {shown(high, unit)}"


def machine():
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return (
        f"{model.group(1) if model else platform.processor()}, "
        f"kernel {platform.release()}, {platform.machine()}"
    )


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__.strip())
    goals = json.loads(pathlib.Path(sys.argv[1]).read_text())
    results = pathlib.Path(sys.argv[2])
    runs = 1 + max(int(path.suffixes[-2][1:]) for path in results.glob("bench_*.*.json"))

    rows, missed, noises = [], [], []
    for row in goals:
        values, noise = measure(results, row)
        if not values:
            missed.append(f"{row['title']}: not measured")
            continue
        middle = statistics.median(values)
        noises += noise
        median = shown(middle, row["unit"])
        if not verdict(row, middle):
            median = shown(middle, row["unit"], 3)  # two digits may hide by how little
            missed.append(f"{row['title']}: {median}, {goal_of(row)}")
            median += " **missed**"
        rows.append(
            f"| {row['title']} | {median} "
            f"| {range_of(values, row['unit'])} | {goal_of(row)} | {row['bound']} |"
        )

    loud = sum(1 for noise in noises if noise > NOISE_LIMIT)
    print(
        f"""# Performance

Made by `scripts/bench --report`, which measures every figure of this page in one go: {runs} runs
of each benchmark in the release build, each run a process of its own. The figure is the median of
the runs; lowest and highest stand beside it, because a program's layout in memory, which changes
with each run, moves a ratio by some percent. Numbers of instructions and allocations repeat
exactly.

A ratio compares two pieces of work in one process that take turns on one CPU; the fastest turn of
each counts. The base is measured twice in each run. **Noise of this machine during these runs**:
the two measurements of a base differed by {100 * statistics.median(noises):.1f} % in the median
and by {100 * max(noises):.1f} % at most; {loud} of {len(noises)} differed by more than
{100 * NOISE_LIMIT:.0f} %, which is where a run says little.

Machine: {machine()}.

| What | Median | Lowest to highest | Goal | What the rest is |
|---|---|---|---|---|"""
    )
    print("\n".join(rows))
    for line in missed:
        print(f"bench: {line}", file=sys.stderr)
    return 3 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
