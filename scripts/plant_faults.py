#!/usr/bin/env python3
"""Plants the faults of tests/faults.toml one at a time in a copy of the tree, and finds the test that catches each.

    scripts/plant_faults.py           all faults
    scripts/plant_faults.py WORD ...  those with one of the words in their text or file name

Writes what it finds into docs/planted_faults.md. Ends with 1 where a fault is not caught. The copy stays in build/faults. Programs that a fault names are tried first, then the
rest of the suite. With ccache, name it in the environment: CMAKE_CXX_COMPILER_LAUNCHER=ccache.
"""

import json
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time
import tomllib

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / "build" / "faults"
TABLE = ROOT / "docs" / "planted_faults.md"
TIME_LIMIT = 300  # seconds a test may take before it counts as one that does not end
# Not about the library's behaviour, or too long for every fault.
SKIPPED = {"package_test"}


def run(*command, **options):
    return subprocess.run(command, cwd=COPY, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)


def checked(*command):
    result = run(*command)
    if result.returncode != 0:
        sys.exit(f"{' '.join(command)} failed:\n{result.stdout[-4000:]}")


def copy_tree():
    """Brings the copy up to date; files that are equal keep their time, so that nothing is built twice."""
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
    for name in filter(None, listed.split("\0")):
        source, target = ROOT / name, COPY / name
        if not source.exists() or (target.exists() and target.read_bytes() == source.read_bytes()):
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(source, target)
        target.touch()


class Suite:
    """The tests of one preset."""

    def __init__(self, preset):
        self.preset = preset
        self.commands = {}
        checked("cmake", "--preset", preset)

    def list_commands(self):
        """The commands of all programs that are built by now."""
        listing = json.loads(run("ctest", "--preset", self.preset, "--show-only=json-v1").stdout)
        for test in listing["tests"]:
            if "command" not in test or test["name"] in SKIPPED:
                continue
            settings = {p["name"]: p["value"] for p in test.get("properties", [])}
            command = [word for word in test["command"] if word != "--gtest_brief=1"]
            self.commands[test["name"]] = (["env", *settings.get("ENVIRONMENT", []), *command],
                                           settings.get("WORKING_DIRECTORY"))

    def build(self, tests=None):
        targets = ["--target", *{test.split(".")[0] for test in tests}] if tests else []
        built = run("cmake", "--build", "--preset", self.preset, *targets)
        self.list_commands()
        return built

    def failure(self, test):
        """What is wrong in a test, or None."""
        command, folder = self.commands[test]
        is_gtest = test.split(".")[0].endswith("_test") and test != "exports_test"
        try:
            result = subprocess.run(command + (["--gtest_fail_fast"] if is_gtest else []), cwd=folder, text=True,
                                    errors="replace", timeout=TIME_LIMIT, capture_output=True)
        except subprocess.TimeoutExpired:
            return f"`{test}` does not end"
        if result.returncode == 0:
            return None
        failed = re.findall(r"^\[  FAILED  \] ([^ ,\n]+)", result.stdout, re.M)
        begun = re.findall(r"^\[ RUN      \] ([^ \n]+)", result.stdout, re.M)
        place = f"`{test}`: `{(failed or begun or ['start'])[-1]}`"
        number = -result.returncode if result.returncode < 0 else result.returncode - 128
        return place if failed or number < 1 else f"{place}, {signal.Signals(number).name}"

    def first_failure(self, tests):
        return next((found for found in map(self.failure, tests) if found), None)


def catch(fault, suite):
    """Plants a fault and says what catches it; None where nothing does."""
    path = COPY / "inference" / fault["file"]
    original = path.read_text()
    if original.count(fault["old"]) != 1:
        sys.exit(f"{fault['file']}: stands {original.count(fault['old'])} times, not once: {fault['old']!r}")
    line = original[:original.index(fault["old"])].count("\n") + 1
    path.write_text(original.replace(fault["old"], fault["new"]))
    try:
        for tests in (fault["tests"], None):
            built = suite.build(tests)
            if built.returncode != 0:
                print(f"does not compile:\n{built.stdout[-2000:]}")
                return line, None
            rest = [test for test in suite.commands if test not in fault["tests"]]
            if found := suite.first_failure(tests or rest):
                return line, found
        return line, None
    finally:
        path.write_text(original)


def row_start(fault):
    place = fault["file"] + (" (AArch64)" if fault.get("preset") == "aarch64" else "")
    return f"| {fault['what']} | {place} | "


def read_table():
    """What catches the faults, by the start of their rows, as far as it was found before."""
    rows = TABLE.read_text().splitlines() if TABLE.exists() else []
    return {start + "| ": found for start, found in (row[:-2].rsplit("| ", 1) for row in rows if row.count(" | ") >= 2)}


def write_table(faults, table):
    known = [fault for fault in faults if row_start(fault) in table]
    caught = sum(table[row_start(fault)] != "**not caught**" for fault in known)
    lines = ["# Planted faults", "",
             "Made by `scripts/plant_faults.py`: each fault of `tests/faults.toml` stands alone in a copy of the tree, and the",
             f"test command's programs run until one fails. {len(known)} faults, {caught} caught.", "",
             "| fault | file below `inference/` | caught by |", "|---|---|---|"]
    TABLE.write_text("\n".join(lines + [f"{row_start(fault)}{table[row_start(fault)]} |" for fault in known]) + "\n")


def main():
    faults = tomllib.loads((ROOT / "tests" / "faults.toml").read_text())["fault"]
    words = sys.argv[1:]
    chosen = [f for f in faults if not words or any(word in f["what"] + f["file"] for word in words)]
    COPY.mkdir(parents=True, exist_ok=True)
    copy_tree()
    suites = {}
    for preset in sorted({fault.get("preset", "host") for fault in chosen}, reverse=True):
        suites[preset] = Suite(preset)
        named = sorted({test for f in chosen if f.get("preset", "host") == preset for test in f["tests"]})
        built = suites[preset].build(named)
        if built.returncode != 0 or (failure := suites[preset].first_failure(named)):
            sys.exit(f"without any fault: {built.stdout[-4000:] if built.returncode else failure}")

    table = read_table()
    missed = 0
    for fault in chosen:
        start = time.monotonic()
        preset = fault.get("preset", "host")
        line, found = catch(fault, suites[preset])
        missed += found is None
        print(f"{'caught' if found else 'NOT CAUGHT'}: {fault['what']} ({fault['file']}:{line}): {found or ''} "
              f"[{time.monotonic() - start:.0f} s]", flush=True)
        table[row_start(fault)] = found or "**not caught**"
    print(f"{len(chosen)} faults, {len(chosen) - missed} caught")
    write_table(faults, table)
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
