"""Prints what gcovr counted by folder and compares the uncovered lines with the list of reasons.

Called by scripts/coverage with the folder of lines.json and figures.json. The list names a line by
its text, so that it stays right while lines move; a text that stands more than once in its file is
named with the line before it. Exits with 1 when the two differ or a figure is too low.
"""

import argparse
import collections
import json
import pathlib
import sys

LEAST = {"line": 95.0, "branch": 85.0}
REASONS = pathlib.Path("tests/coverage-reasons.txt")
SOMETIMES = "sometimes "


def uncovered_lines(folder):
    """The uncovered lines, each as the list names it."""
    found = collections.Counter()
    for file in json.loads((folder / "lines.json").read_text())["files"]:
        texts = [text.strip() for text in pathlib.Path(file["file"]).read_text().splitlines()]
        for line in file["lines"]:
            if line["count"] or line["gcovr/noncode"] or line["gcovr/excluded"]:
                continue
            at = line["line_number"] - 1
            text = texts[at]
            if texts.count(text) > 1:
                before = next((each for each in reversed(texts[:at]) if each), "")
                text = f"{before} >> {text}"
            found[f"{file['file']}: {text}"] += 1
    return found


def listed_lines():
    """The lines of the list that never run, and those that a run may or may not reach."""
    never, sometimes = collections.Counter(), set()
    reason = ""
    for number, line in enumerate(REASONS.read_text().splitlines(), 1):
        if not line or line.startswith("#"):
            continue
        if not line.startswith(" "):
            reason = line
        elif not reason:
            sys.exit(f"{REASONS}:{number}: a line without a reason above it")
        elif line.strip().startswith(SOMETIMES):
            sometimes.add(line.strip().removeprefix(SOMETIMES))
        else:
            never[line.strip()] += 1
    return never, sometimes


def percent(covered, total):
    return 100.0 * covered / total if total else 100.0


def print_figures(folder):
    """One row a folder and one of all; whether the sums suffice."""
    sums = collections.defaultdict(collections.Counter)
    for file in json.loads((folder / "figures.json").read_text())["files"]:
        for row in (file["filename"].split("/")[0], "all"):
            for kind in LEAST:
                sums[row][kind] += file[f"{kind}_total"]
                sums[row][kind, "covered"] += file[f"{kind}_covered"]
    for row in sorted(sums, key=lambda name: (name == "all", name)):
        texts = [f"{kind} {sums[row][kind, 'covered']:5} of {sums[row][kind]:5} "
                 f"{percent(sums[row][kind, 'covered'], sums[row][kind]):5.1f} %" for kind in LEAST]
        print(f"{row:14} {'   '.join(texts)}")
    return all(percent(sums[row][kind, "covered"], sums[row][kind]) >= least
               for row in sums for kind, least in LEAST.items())


def main():
    arguments = argparse.ArgumentParser(description=__doc__)
    arguments.add_argument("--missing", action="store_true")
    arguments.add_argument("folder", type=pathlib.Path)
    options = arguments.parse_args()
    uncovered = uncovered_lines(options.folder)
    never, sometimes = listed_lines()
    without_reason = [line for line in (uncovered - never).elements() if line not in sometimes]
    if options.missing:
        print("\n".join(f"    {line}" for line in without_reason))
        return 0
    enough = print_figures(options.folder)
    if not enough:
        print(f"too little: at least {LEAST['line']} % of lines, {LEAST['branch']} % of branches")
    gone = list((never - uncovered).elements())
    for line in without_reason:
        print(f"uncovered, without a reason: {line}")
    for line in gone:
        print(f"{REASONS} has a reason, but it runs or is gone: {line}")
    return 0 if enough and not without_reason and not gone else 1


if __name__ == "__main__":
    sys.exit(main())
