#!/usr/bin/env python3
"""Mutation tests: changes the project, one place at a time, and checks that a test fails.

Works on copies of the checkout in build/mutation and keeps them, so that the next run compiles little. A change that
does not compile, or compiles to the same code, does not count. A change that triples the CPU time, or hangs, counts as
caught. The changes in explained.txt cannot be caught. Exit code 1 if another change survives.
"""
import argparse
import collections
import contextlib
import queue
import random
import re
import sys
import threading
from pathlib import Path

from changes import changes
from tests_of import PROJECT, SCOPES, sources, tests_of
from workshop import SAME_CODE, Workshop

LEFT_OUT = "left out"
EXPLAINED = Path(__file__).with_name("explained.txt")


def explained():
    """Read explained.txt: the set of (file, source line, change)."""
    entries, file = set(), None
    for line in EXPLAINED.read_text().splitlines():
        if line.startswith("    "):
            text, _, change = line.strip().rpartition(" | ")
            entries.add((file, text, change))
        elif line and line[0] != "#":
            file = line.partition(":")[0]
    return entries


def entry_of(file, source, change):
    """What explained.txt says of a change. The old text is known from the line, unless it goes on."""
    return file, source.splitlines()[change.line(source) - 1].strip(), str(change)


def sample(found, size, seed):
    """Sample changes from each file in proportion to its number of changes, and from each kind in turn."""
    total = sum(map(len, found.values()))
    chosen = {}
    for file, of_file in found.items():
        by_kind = collections.defaultdict(list)
        for change in of_file:
            by_kind[change.kind].append(change)
        draw = random.Random(f"{seed} {file}")
        turns = []
        for kind in sorted(by_kind):
            draw.shuffle(by_kind[kind])
            turns += [(turn, draw.random(), change) for turn, change in enumerate(by_kind[kind])]
        turns.sort(key=lambda item: item[:2])
        count = max(min(2, len(of_file)), round(size * len(of_file) / total))
        chosen[file] = sorted((change for _, _, change in turns[:count]), key=lambda change: change.start)
    return chosen


def chosen_changes(arguments):
    """Return {file: changes} for the requested files, folders or lines, from all changes or a sample."""
    texts = {file: (PROJECT / file).read_text() for file in sources()}
    found = {file: changes(text) for file, text in texts.items()}
    if arguments.sample:
        found = {file: chosen for scope in SCOPES for file, chosen in sample(
            {f: c for f, c in found.items() if f.startswith(scope + "/")}, arguments.sample, arguments.seed).items()}
    chosen = {}
    for asked in arguments.files or SCOPES:
        name, _, line = asked.partition(":")
        files = [file for file in texts if file == name or file.startswith(name.rstrip("/") + "/")]
        if not files:
            sys.exit(f"mutate: '{name}' is not a source file that is changed; examples are src/sha1/hash.cpp and app")
        for file in files:
            chosen.setdefault(file, set()).update(
                c for c in found[file] if not line or c.line(texts[file]) == int(line))
    return {file: sorted(of_file, key=lambda c: (c.start, c.end, c.new)) for file, of_file in chosen.items()}


def main():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.splitlines()[0])
    parser.add_argument("files", nargs="*", metavar="FILE[:LINE]",
                        help=f"sources or folders (default: {', '.join(SCOPES)})")
    parser.add_argument("--sample", type=int, metavar="N", help="about N changes of all in each of these four folders")
    parser.add_argument("--seed", default="1", metavar="S", help="draws another sample (default: 1)")
    parser.add_argument("--jobs", type=int, default=2, metavar="J", help="copies side by side (default: 2)")
    parser.add_argument("--sanitize", action="store_true", help="run the tests under the sanitizers")
    parser.add_argument("--one-by-one", action="store_true", help="compile each change by itself")
    parser.add_argument("--together", action="store_true", help="leave out changes that must be compiled one by one")
    parser.add_argument("--list", action="store_true", help="print the changes, plant none")
    arguments = parser.parse_args()

    chosen = chosen_changes(arguments)
    known = explained()
    work = {}
    for file, of_file in chosen.items():
        source = (PROJECT / file).read_text()
        for change in of_file:
            work[file, change] = f"{file}:{change.line(source)}  {change}", entry_of(file, source, change) in known
    if arguments.list:
        print("".join(f"{text}\n" for text, _ in work.values()), end="")
        return

    needed = list(dict.fromkeys(
        run for file, of_file in chosen.items() if of_file for run in tests_of(file, arguments.sanitize)))
    shops = [Workshop(PROJECT / "build/mutation" / str(i + 1), arguments.sanitize) for i in range(arguments.jobs)]
    results = collections.defaultdict(collections.Counter)
    failures = []

    def report(file, change, verdict):
        text, is_explained = work.pop((file, change))
        if verdict == "survived" and is_explained:
            verdict = "explained"
        print(f"{text}: {verdict}", flush=True)
        if verdict not in ("does not compile", SAME_CODE, LEFT_OUT):
            results[file]["planted"] += 1
            results[file][verdict.split()[0]] += 1

    shops[0].prepare(needed)
    if not arguments.one_by_one:
        try:
            for file, change, run in shops[0].judge_together(list(work)):
                if run or arguments.together:
                    report(file, change, f"caught by {run}" if run else "survived")
        finally:
            shops[0].stop()

    if arguments.together:
        for file, change in list(work):
            report(file, change, LEFT_OUT)

    # The changes that were not caught in this way are tested one by one.
    rest = queue.Queue()
    for item in work:
        rest.put(item)
    for shop in shops:
        shop.jobs = max(1, 2 // len(shops))

    def plant(shop):
        if shop is not shops[0]:
            shop.prepare(needed)
        with contextlib.suppress(queue.Empty):
            while True:
                file, change = rest.get_nowait()
                report(file, change, shop.judge(file, change))

    def work_in(shop):
        try:
            plant(shop)
        except BaseException as failure:
            failures.append(failure)
            raise

    workers = [threading.Thread(target=work_in, args=[shop], daemon=True) for shop in shops]
    try:
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
    finally:
        for shop in shops:
            shop.stop()

    total = sum(results.values(), collections.Counter())
    print("\nplanted  caught  explained  survived")
    for name, count in [*sorted(results.items()), ("all", total)]:
        print(f"{count['planted']:7}  {count['caught']:6}  {count['explained']:9}  {count['survived']:8}  {name}")
    sys.exit(1 if failures or total["survived"] else 0)


if __name__ == "__main__":
    main()
