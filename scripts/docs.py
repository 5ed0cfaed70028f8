#!/usr/bin/env python3
"""Keeps docs/ in step with the library.

docs.py check PROBE...    compares docs/capabilities.md and the tables in docs/operators/ with what the program PROBE finds
docs.py update PROBE...   writes them
docs.py snippets OUT.c    makes one program of the C snippets in docs/operators/
"""
import difflib
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGES = ROOT / "docs" / "operators"
BEGIN, END = "<!-- probed -->\n", "<!-- end -->\n"
SECTIONS = ["Computes", "Serves", "Reads", "Statuses", "Example"]


def operators():
    """The operator constants of the public header."""
    return re.findall(r"^\s*(TAMIX_OP_\w+) = \d+", (ROOT / "include/tamix/tamix.h").read_text(), re.M)


def probed(probe):
    """Contents of every generated or partly generated file, as they should be."""
    def run(*args):
        return subprocess.run([*probe, *args], check=True, capture_output=True, text=True).stdout

    files = {ROOT / "docs" / "capabilities.md": run()}
    for part in run("--pages").split("@ ")[1:]:
        name, table = part.split("\n", 1)
        path = PAGES / f"{name}.md"
        before, rest = path.read_text().split(BEGIN)
        files[path] = before + BEGIN + "\n" + table.strip() + "\n\n" + END + rest.split(END)[1]
    return files


def problems(files):
    """What is wrong with the pages besides their tables."""
    for path, text in files.items():
        if path.parent == PAGES and re.findall(r"^## (.*)", text, re.M) != SECTIONS:
            yield f"{path}: the sections are not {', '.join(SECTIONS)}"
    text = "".join(files.values())
    for name in operators():
        if f"`{name}`" not in text:
            yield f"no page names {name}"
    for path in sorted(ROOT.glob("docs/**/*.md")) + sorted(ROOT.glob("*.md")):
        for link in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", path.read_text()):
            if not (path.parent / link).exists():
                yield f"{path}: link to {link}, which does not exist"
    if (ROOT / "examples/resize.c").read_text() not in (ROOT / "README.md").read_text():
        yield "README.md does not show examples/resize.c as it is"


def check(probe):
    files = probed(probe)
    wrong = list(problems(files))
    for path, text in files.items():
        old = path.read_text().splitlines(keepends=True) if path.exists() else []
        wrong += difflib.unified_diff(old, text.splitlines(keepends=True), str(path), "what the library does")
    sys.stdout.writelines(line if line.endswith("\n") else line + "\n" for line in wrong)
    print(f"{len(files)} files compared" + (f"; to write them: scripts/docs.py update {' '.join(probe)}" if wrong else ""))
    return 1 if wrong else 0


def update(probe):
    for path, text in probed(probe).items():
        path.write_text(text)
    return 0


def fences(path):
    """(line number, text) of a page's C snippets."""
    text = path.read_text()
    for match in re.finditer(r"^```c\n(.*?)^```", text, re.M | re.S):
        yield text[:match.start(1)].count("\n") + 1, match.group(1)


def snippets(out):
    index = PAGES / "README.md"
    parts, calls = [], []
    for line, text in fences(index):
        parts.append(f'#line {line} "{index}"\n{text}')
    for path in sorted(PAGES.glob("*-*.md")) + [p for p in sorted(PAGES.glob("*.md")) if "-" not in p.stem and p != index]:
        name = path.stem.replace("-", "_") + "_page"
        found = list(fences(path))
        if not found:
            sys.exit(f"{path} has no snippet")
        for k, (line, text) in enumerate(found):
            parts.append(f'static void {name}_{k}(void) {{\n#line {line} "{path}"\n{text}}}\n')
            calls.append(f"  {name}_{k}();\n")
    parts.append("int main(void) {\n" + "".join(calls) + f"  return 0; /* {len(calls)} snippets */\n}}\n")
    pathlib.Path(out).write_text("\n".join(parts))
    return 0


if __name__ == "__main__":
    commands = {"check": check, "update": update, "snippets": lambda args: snippets(args[0])}
    if len(sys.argv) < 3 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    sys.exit(commands[sys.argv[1]](sys.argv[2:]))
