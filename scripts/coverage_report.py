#!/usr/bin/env python3
"""Merges the coverage of several builds and writes docs/coverage.md: coverage_report.py FOLDER...

A line or branch counts as reached when any build reaches it, in any instantiation of a template. Branches count once for every
place in the source, within a macro once for every use; the log level's check counts once in all.
"""

import collections
import functools
import itertools
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCES = ROOT / "inference"
REPORT = ROOT / "docs" / "coverage.md"
LOG = "utils/tamix_log.h"

COMPILE_TIME = "Evaluated by the compiler"
OTHER_TARGETS = "Forms for other vector widths or processors than those of the builds"
# The first pattern that a line contains gives the reason why it, or one side of it, is not reached.
REASONS = [
    (r"bad_alloc|allocat|NO_MEMORY|TAMIX_TRY|posix_memalign|handle != nullptr|made != nullptr|intermediate_buffer_ != nullptr"
     r"|if \(!?\w+( \|\| !\w+)*\) return false|!first.allocate|catch \(|\belement\b.*elementExtremum|stable_src",
     "An allocation would have to fail at this place, or a caller to see the status of one that failed"),
    (r"(height|width|count|rows|columns|channels?)_?\)? (< 1|== 0|>= 1)|\bn == 0|row == 0|[eE]mpty\(|(height|width|stride) >=",
     "Images and windows without pixels, of which most are refused before"),
    (r"numeric_limits|kAbsurd|kExact|kMostElements|INT32_MAX|>= most|near\b", "Sizes that no memory holds"),
]
UNEXPLAINED = "Not reached by a test so far"


@functools.cache
def source(name):
    return (SOURCES / name).read_text().splitlines()


def below_sources(path):
    """The path below inference/, or None."""
    return path.split("/inference/", 1)[1] if "/inference/" in path else None


class Coverage:
    def __init__(self):
        self.lines = collections.defaultdict(collections.Counter)  # file -> line -> count
        self.branches = collections.defaultdict(lambda: collections.defaultdict(lambda: [0, 0]))  # file -> place -> both sides
        self.compile_time = set()  # lines of functions that only the compiler runs
        self.log_checks = {(LOG, i) for i, text in enumerate(source(LOG), 1) if "logsBelow(" in text}

    def read(self, folder):
        name = None
        for record in (folder / "coverage.lcov").read_text().splitlines():
            if record.startswith("SF:"):
                name = below_sources(record[3:])
            elif record.startswith("DA:") and name:
                line, count = record[3:].split(",")[:2]
                self.lines[name][int(line)] += int(count)
        for function in json.loads((folder / "coverage.text").read_text())["data"][0]["functions"]:
            self.read_function(function, [below_sources(path) for path in function["filenames"]])

    def read_function(self, function, names):
        first, _, last, _, _, file, *_ = function["regions"][0]
        if function["count"] == 0 and names[file] and re.search("constexpr|consteval", source(names[file])[first - 1]):
            self.compile_time |= {(names[file], line) for line in range(first, last + 1)}
        # Where a macro is used, by the number of its expansion.
        uses = {region[6]: (region[5], region[0], region[1]) for region in function["regions"] if region[7] == 1}
        for line, column, _, _, taken, passed, file, *_ in function["branches"]:
            use = (file, line, column)
            while use[0] in uses and (names[file], line) not in self.log_checks:
                use = uses[use[0]]
            if names[use[0]]:
                counts = self.branches[names[use[0]]][use[1:], names[file], line, column]
                counts[0] += taken
                counts[1] += passed

    def missed(self):
        """(file, line, what) of lines and, on lines that are reached, sides of branches."""
        for name, lines in self.lines.items():
            yield from ((name, line, "line") for line, count in lines.items() if count == 0)
            for ((line, _), *_), counts in self.branches[name].items():
                if lines.get(line, 1) > 0:
                    yield from ((name, line, side) for side, count in zip(("true", "false"), counts) if count == 0)

    def reason(self, name, line):
        while source(name)[line - 1].strip() == "}":  # ends what is not reached
            line -= 1
        if (name, line) in self.compile_time:
            return COMPILE_TIME
        text = source(name)[line - 1]
        around = "\n".join(source(name)[max(line - 25, 0):line])
        if "arm/" in name and re.search(r"HWY_TARGET|TAMIX_BYTE_PERMUTATIONS|constexpr \(|HWY_ARCH", around):
            return OTHER_TARGETS
        if "constexpr" in text:
            return COMPILE_TIME
        return next((reason for pattern, reason in REASONS if re.search(pattern, text)), UNEXPLAINED)


def spans(numbers):
    """1, 2, 3, 7 as "1-3, 7"."""
    result = []
    for _, group in itertools.groupby(enumerate(sorted(numbers)), lambda pair: pair[1] - pair[0]):
        run = [number for _, number in group]
        result.append(f"{run[0]}-{run[-1]}" if len(run) > 1 else str(run[0]))
    return ", ".join(result)


def percent(part, whole):
    return f"{100 * part / whole:.1f}" if whole else "-"


def main():
    folders = list(map(pathlib.Path, sys.argv[1:]))
    coverage = Coverage()
    for folder in folders:
        coverage.read(folder)

    totals = collections.defaultdict(collections.Counter)
    for name, lines in coverage.lines.items():
        sides = [count for counts in coverage.branches[name].values() for count in counts]
        numbers = {"lines": len(lines), "lines reached": sum(count > 0 for count in lines.values()),
                   "branches": len(sides), "branches reached": sum(count > 0 for count in sides)}
        totals[str(pathlib.Path(name).parent)].update(numbers)
        totals["all of `inference/`"].update(numbers)
    reasons = collections.defaultdict(lambda: collections.defaultdict(set))
    for name, line, _ in coverage.missed():
        reasons[coverage.reason(name, line)][name].add(line)

    out = ["# Coverage", "",
           f"Made by `scripts/coverage.sh` from {' and '.join(folder.name for folder in folders)}: what of `inference/` the tests "
           "reach. A branch is one side of",
           "one condition in the source, whatever templates and macros make of it.", "",
           "| folder | lines | reached | % | branches | reached | % |", "|---|---|---|---|---|---|---|"]
    for folder in sorted(totals):
        t = totals[folder]
        out.append(f"| {folder} | {t['lines']} | {t['lines reached']} | {percent(t['lines reached'], t['lines'])} | "
                   f"{t['branches']} | {t['branches reached']} | {percent(t['branches reached'], t['branches'])} |")
    out += ["", "## What is not reached, in whole or on one side", ""]
    for reason, files in sorted(reasons.items(), key=lambda item: item[0] == UNEXPLAINED):
        out += [f"**{reason}**", ""] + [f"- `{name}`: {spans(files[name])}" for name in sorted(files)] + [""]
    REPORT.write_text("\n".join(out))
    print("\n".join(out[5:out.index("## What is not reached, in whole or on one side")]))


if __name__ == "__main__":
    main()
