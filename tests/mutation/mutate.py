#!/usr/bin/env python3
"""Mutation tests: changes the library, one place at a time, and checks that a test fails.

Works on copies of the checkout in build/mutation and keeps them, so that the next run compiles little. A change that
does not compile does not count. A change that triples the CPU time, or hangs, counts as caught.
"""
import argparse
import collections
import os
import queue
import random
import re
import resource
import shutil
import subprocess
import sys
import threading
from dataclasses import dataclass
from pathlib import Path

from changes import changes

PROJECT = Path(__file__).resolve().parents[2]
MEMORY_LIMIT = 8 << 30
WALL_LIMIT = 600
SANITIZED = ["-DCMAKE_C_COMPILER=clang", "-DCMAKE_CXX_COMPILER=clang++", "-DVRX_SANITIZE=address,undefined"]
WITHOUT_SANITIZERS = {"bigdigits_wipe_O2", "faults_library"}


@dataclass(frozen=True)
class Run:
    """A run of a test program: with a selected engine, and a filter for its tests."""
    program: str
    engine: str = ""
    filter: str = "*"

    def __str__(self):
        return self.program + (f" on {self.engine}" if self.engine else "") + \
            (f" {self.filter}" if self.filter != "*" else "")


def runs(*programs, engines=("",), filter="*"):
    return [Run(program, engine, filter) for program in programs for engine in engines]


def engines_of(family):
    """Read the names of a family's engines from the library's list."""
    text = (PROJECT / "src/frame/engines.hpp").read_text()
    entries = re.search(rf" {family}_engines\[\] = {{\n(.*?)\n}};", text, re.S)[1]
    return tuple(re.findall(r'^    {"([^"]+)"', entries, re.M))


CIPHER = runs("kernel", "known_answers", "modes", "meshing", "context", engines=engines_of("cipher")) + \
    runs("engine")
HASH = runs("gostr3411", engines=engines_of("hash"), filter="-*2_to_29*") + \
    runs("gostr3411", filter="*2_to_29*") + runs("gostr3411_engine")
SHA1 = runs("sha1", filter="-*2_to_32*") + runs("sha1", filter="*2_to_32*")
NUMBERS = runs("bigdigits_arithmetic", "bigdigits_modular", "bigdigits_prime", "bigdigits_convert", "bigdigits_gmp",
               "bigdigits_wipe_O2") + runs("bigdigits_prime", filter="Seeding.*")
CURVE_ENGINES = runs("ecc_field", "ecc_builtin") + \
    runs("ecc", engines=(*engines_of("curve"), "none", "plain_lanes"), filter="-*wiping*")
CURVES = CURVE_ENGINES + runs("ecc_sign", "ecc_toy") + runs("ecc_model", engines=("", "none"))

# The runs for each folder, fastest first. "engines" tests the features that each engine needs.
TESTS = {
    "src/frame": runs("frame", "log", "engines", "variants", "engine", "sha1", "bigdigits_convert") +
    runs("ecc", filter="-*wiping*"),
    "src/tz": runs("tables", "registry", "variants", "engines", "engine", "gostr3411_engine", "kernel", "log",
                   "faults_library"),
    "src/gost28147": CIPHER + runs("engines", "log", "fences"),
    "src/gostr3411": HASH + runs("engines", "log", "fences"),
    "src/sha1": SHA1 + runs("engines", "log", "fences"),
    "src/ecc": CURVES + runs("log", "fences"),
    "src/ecc/bigdigits": NUMBERS + runs("log", "fences", "faults_library"),
    "src/ecc/uint256": CURVE_ENGINES + runs("bigdigits_modular"),
    "src/ecc/field": CURVE_ENGINES + runs("engines", "ecc_model", "bigdigits_modular"),
}


def tests_of(file, sanitize=False):
    of_folder = TESTS[max((folder for folder in TESTS if file.startswith(folder + "/")), key=len)]
    return [run for run in of_folder if not (sanitize and run.program in WITHOUT_SANITIZERS)]


def sources():
    """Return the source files of the library, relative to the project."""
    return sorted(str(f.relative_to(PROJECT)) for f in (PROJECT / "src").rglob("*.[ch]pp"))


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


class Workshop:
    """A copy of the project, in which changes are made one after the other."""

    def __init__(self, place, sanitize):
        self.tree = place / "tree"
        self.build = place / ("sanitized" if sanitize else "build")
        self.jobs = 2  # parallel compiler jobs
        self.sanitize = sanitize

    def prepare(self, needed):
        """Update the copy and build the test programs."""
        listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=PROJECT,
                                check=True, capture_output=True, text=True).stdout
        for name in filter(None, listed.split("\0")):
            old, new = self.tree / name, PROJECT / name
            if new.is_file() and not (old.is_file() and old.read_bytes() == new.read_bytes()):
                old.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(new, old)
        subprocess.run(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
                        "-DCMAKE_C_FLAGS=-O1 -DNDEBUG", "-DCMAKE_CXX_FLAGS=-O1 -DNDEBUG", "-DVRX_BUILD_APP=ON",
                        "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST", *(SANITIZED if self.sanitize else [])],
                       check=True, stdout=subprocess.DEVNULL)
        programs = sorted({run.program for run in needed})
        if said := self.compile(*(p + "_test" for p in programs)):
            sys.exit(said)

    def measure(self, needed):
        """Return {run: CPU seconds}. Every run must pass without changes."""
        seconds = {}
        for run in needed:
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            if said := self.fails(run, 600):
                sys.exit(f"{run} fails before anything is changed:\n{said}")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            seconds[run] = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        return seconds

    def compile(self, *targets):
        """Return the compiler errors, or an empty text."""
        done = subprocess.run(["ninja", "-C", self.build, f"-j{self.jobs}", *targets], capture_output=True, text=True)
        return done.stdout + done.stderr if done.returncode else ""

    def fails(self, run, seconds):
        """Return the reason why a run fails, or an empty text."""
        def limit():
            resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
            if not self.sanitize:  # sanitizers reserve the whole address space
                resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        program = next((self.build / "tests").rglob(run.program + "_test"))
        environment = dict(os.environ, VRX_TEST_SEED="1")
        if run.engine:
            environment["VRX_TEST_ENGINE"] = run.engine
        fixed = ["setarch", "-R"] if self.sanitize else []
        try:
            done = subprocess.run([*fixed, program, "--gtest_brief=1", "--gtest_fail_fast",
                                   f"--gtest_filter={run.filter}"], env=environment,
                                  preexec_fn=limit, timeout=WALL_LIMIT, stdin=subprocess.DEVNULL, capture_output=True,
                                  text=True, errors="replace", cwd=self.build)
        except subprocess.TimeoutExpired:
            return "hangs"
        return f"{done.stdout}\nexit code {done.returncode}" if done.returncode else ""

    def judge(self, file, change, seconds):
        """Return 'does not compile', 'survived', or the run that caught the change."""
        place = self.tree / file
        source = place.read_text()
        place.write_text(change.applied(source))
        try:
            if self.compile("vrx_testing"):
                return "does not compile"
            for run in sorted(tests_of(file, self.sanitize), key=seconds.get):
                if self.compile(run.program + "_test"):
                    return f"caught by the compiler of {run.program}"
                if self.fails(run, int(3 * seconds[run]) + 2):
                    return f"caught by {run}"
            return "survived"
        finally:
            place.write_text(source)


def chosen_changes(arguments):
    """Return {file: changes} for the requested files, folders or lines, from all changes or a sample."""
    texts = {file: (PROJECT / file).read_text() for file in sources()}
    found = {file: changes(text) for file, text in texts.items()}
    if arguments.sample:
        found = sample(found, arguments.sample, arguments.seed)
    chosen = {}
    for asked in arguments.files or ["src"]:
        name, _, line = asked.partition(":")
        files = [file for file in texts if file == name or file.startswith(name.rstrip("/") + "/")]
        if not files:
            sys.exit(f"mutate: '{name}' is not a source file of the library; an example is src/sha1/hash.cpp")
        for file in files:
            chosen[file] = [c for c in found[file] if not line or c.line(texts[file]) == int(line)]
    return chosen


def main():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.splitlines()[0])
    parser.add_argument("files", nargs="*", metavar="FILE[:LINE]", help="sources or folders (default: src)")
    parser.add_argument("--sample", type=int, metavar="N", help="about N changes of all that the library has")
    parser.add_argument("--seed", default="1", metavar="S", help="draws another sample (default: 1)")
    parser.add_argument("--jobs", type=int, default=2, metavar="J", help="copies side by side (default: 2)")
    parser.add_argument("--sanitize", action="store_true", help="run the tests under the sanitizers")
    parser.add_argument("--list", action="store_true", help="print the changes, plant none")
    arguments = parser.parse_args()

    chosen = chosen_changes(arguments)
    work = queue.Queue()
    for file, of_file in chosen.items():
        source = (PROJECT / file).read_text()
        for change in of_file:
            where = f"{file}:{change.line(source)}"
            if arguments.list:
                print(f"{where}  {change}")
            else:
                work.put((file, change, where))
    if arguments.list:
        return

    needed = list(dict.fromkeys(
        run for file, of_file in chosen.items() if of_file for run in tests_of(file, arguments.sanitize)))
    shops = [Workshop(PROJECT / "build/mutation" / str(i + 1), arguments.sanitize) for i in range(arguments.jobs)]
    shops[0].prepare(needed)
    seconds = shops[0].measure(needed)
    for shop in shops:
        shop.jobs = max(1, 2 // len(shops))
    results = collections.defaultdict(collections.Counter)

    def plant(shop):
        if shop is not shops[0]:
            shop.prepare(needed)
        while True:
            try:
                file, change, where = work.get_nowait()
            except queue.Empty:
                return
            verdict = shop.judge(file, change, seconds)
            print(f"{where}  {change}: {verdict}", flush=True)
            if verdict != "does not compile":
                results[file]["planted"] += 1
                results[file]["caught"] += verdict != "survived"

    workers = [threading.Thread(target=plant, args=[shop]) for shop in shops]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()

    total = sum(results.values(), collections.Counter())
    print("\nplanted  caught")
    for name, count in [*sorted(results.items()), ("all", total)]:
        print(f"{count['planted']:7}  {count['caught']:6}  {name}")


if __name__ == "__main__":
    main()
