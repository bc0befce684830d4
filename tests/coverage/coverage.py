#!/usr/bin/env python3
"""Reports which lines and branches of src/ the tests ran. Usage: coverage.py PROJECT BUILD

Fails if a line or branch was not run and is not listed in unreachable.txt, or if it was run but is listed there.
"""
import json
import subprocess
import sys
from collections import Counter, defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

PROJECT = Path(sys.argv[1]).resolve()
OBJECTS = Path(sys.argv[2]).resolve() / "src/CMakeFiles/vrx_objects.dir"
LIST = PROJECT / "tests/coverage/unreachable.txt"


def counted_by(notes):
    """Yield the lines of one object as gcov counts them: (file, line as a dictionary)."""
    answer = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities", notes],
                            capture_output=True, check=True, text=True).stdout
    for report in map(json.loads, answer.splitlines()):
        for file in report["files"]:
            path = Path(report["current_working_directory"], file["file"]).resolve()
            if path.is_relative_to(PROJECT / "src"):
                for line in file["lines"]:
                    yield str(path.relative_to(PROJECT)), line


class Line:
    """The counts of a line and its branches, summed over all objects and template instances."""

    def __init__(self):
        self.count = 0
        self.shapes = {}  # maps a number of branches, in which instances can differ, to the count of each branch

    def add(self, line):
        self.count += line["count"]
        taken = [branch["count"] for branch in line["branches"] if not branch["throw"]]
        if taken:
            before = self.shapes.get(len(taken), [0] * len(taken))
            self.shapes[len(taken)] = [a + b for a, b in zip(before, taken)]

    def branches(self):
        return [count for shape in self.shapes.values() for count in shape]


def measured():
    """Map each file to its lines by number."""
    files = defaultdict(lambda: defaultdict(Line))
    notes = sorted(OBJECTS.rglob("*.gcno"))
    if not any(OBJECTS.rglob("*.gcda")):
        sys.exit(f"coverage: nothing was run in {OBJECTS}")
    with ThreadPoolExecutor() as pool:
        for lines in pool.map(lambda path: list(counted_by(path)), notes):
            for name, line in lines:
                files[name][line["line_number"]].add(line)
    return files


def not_run(files):
    """Map (file, "line" or a number of branches, text of the line) to line numbers, for everything not run."""
    gaps = defaultdict(list)
    for name, lines in files.items():
        text = (PROJECT / name).read_text(encoding="utf-8").splitlines()
        for number, line in sorted(lines.items()):
            missed = line.branches().count(0)
            if line.count == 0:
                gaps[name, "line", text[number - 1].strip()].append(number)
            elif missed:
                gaps[name, f"{missed} of {len(line.branches())} branches", text[number - 1].strip()].append(number)
    return {(name, what if len(numbers) == 1 else f"{what}, {len(numbers)} times", text): numbers
            for (name, what, text), numbers in gaps.items()}


def named():
    """Read unreachable.txt: (file, "line" or a number of branches, text of the line)."""
    entries = set()
    file = None
    for line in LIST.read_text(encoding="utf-8").splitlines():
        if line.startswith("src/"):
            file = line.split(":")[0]
        elif line.startswith("    "):
            what, _, text = line.strip().partition(" | ")
            entries.add((file, what, text))
    return entries


def print_figures(files):
    figures = defaultdict(Counter)
    for name, lines in files.items():
        for folder in (str(Path(name).parent), "all"):
            for line in lines.values():
                branches = line.branches()
                figures[folder] += Counter(lines=1, run=line.count != 0, branches=len(branches),
                                           taken=len(branches) - branches.count(0))
    print(f"{'folder':<20} {'lines':>12} {'branches':>12}")
    for folder in sorted(figures, key=lambda f: (f == "all", f)):
        f = figures[folder]
        print(f"{folder:<20} {f['run']:>5} / {f['lines']:>4} {f['taken']:>5} / {f['branches']:>4}")


def main():
    files = measured()
    print_figures(files)
    gaps = not_run(files)
    entries = named()
    for name, what, text in sorted(gaps.keys() - entries):
        numbers = ", ".join(map(str, gaps[name, what, text]))
        print(f"{name}:{numbers}: not run\n    {what} | {text}")
    for name, what, text in sorted(entries - gaps.keys()):
        print(f"{LIST.relative_to(PROJECT)}: {name}: was run, or does not exist\n    {what} | {text}")
    if gaps.keys() != entries:
        sys.exit(1)
    print(f"{LIST.relative_to(PROJECT)} lists everything else.")


if __name__ == "__main__":
    main()
