#!/usr/bin/env python3
"""Runs the tests, stage by stage, and sums up what they found. Usage: ./dev test [--full]

A stage builds some targets and runs some tests. All stages run, whatever the ones before found. The last line is
"N passed, N failed, N skipped"; the exit code is 1 if anything failed. A build that fails counts as one failure.
"""
import argparse
import dataclasses
import os
import re
import shutil
import subprocess
import sys
import time
import xml.etree.ElementTree as ElementTree
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]
JOBS = (os.cpu_count() or 1) + 1
# Labels of tests that only a full run includes. Tests without these labels are the quick ones.
SLOW_LABELS = ["long", "memcheck", "constant_time", "residue", "prove"]
SANITIZERS = {"UBSAN_OPTIONS": "print_stacktrace=1", "ASAN_OPTIONS": "detect_stack_use_after_return=1"}


@dataclasses.dataclass
class Stage:
    name: str
    preset: str
    targets: list = dataclasses.field(default_factory=lambda: ["all"])
    tests: list = dataclasses.field(default_factory=list)  # options of ctest that choose them
    environment: dict = dataclasses.field(default_factory=dict)
    optional: bool = False  # without tests it is left out, rather than failed


@dataclasses.dataclass
class Outcome:
    passed: int = 0
    failed: int = 0
    skipped: int = 0
    seconds: float = 0
    failures: list = dataclasses.field(default_factory=list)
    reasons: list = dataclasses.field(default_factory=list)


QUICK = [Stage("g++", "dev", tests=["-LE", "|".join(SLOW_LABELS)])]
FULL = QUICK + [
    Stage("g++, every engine", "dev", ["all", "slow_tests"], ["-L", "long"]),
    Stage("AddressSanitizer, UBSan", "asan", environment=SANITIZERS),
    Stage("ThreadSanitizer", "tsan", ["threads_test"], ["-L", "threads"]),
    Stage("valgrind", "dev", ["slow_tests"], ["-L", "memcheck"]),
    # Tests the code as it is installed, because with other flags, compilers may undo constant-time code and store
    # secrets in other places.
    Stage("secrets, g++ release", "release-gcc", ["constant_time_tests", "residue"], ["-L", "constant_time|residue"]),
    Stage("secrets, clang++ release", "release-clang", ["constant_time_tests", "residue"],
          ["-L", "constant_time|residue"]),
    Stage("proofs", "dev", ["prove"], ["-L", "prove"], optional=True),
    Stage("VRX_CONSTANT_TIME", "constant-time", ["cipher_and_hash_tests"],
          ["-R", r"^(kernel|modes|meshing|context|known_answers|engine|engines|wipe|gostr3411|gostr3411_engine|"
                 r"constant_time|residue)\."]),
    Stage("VRX_CONSTANT_TIME, clang++", "constant-time-clang", ["constant_time_tests", "residue"],
          ["-L", "constant_time|residue"]),
]


def fixed_addresses():
    """The sanitizers' shadow memory does not tolerate much address space randomisation."""
    works = shutil.which("setarch") and subprocess.run(["setarch", "-R", "true"], capture_output=True, check=False)
    return ["setarch", "-R"] if works and works.returncode == 0 else []


def run(stage, *command):
    prefix = [] if stage.preset == "dev" else fixed_addresses()
    return subprocess.run([*prefix, *command], cwd=PROJECT, env={**os.environ, **stage.environment}, check=False)


def read_results(path, outcome):
    """The counts of a JUnit file; a test that leaves out a part of itself says so in a line "skipped: REASON"."""
    for case in ElementTree.parse(path).getroot().iter("testcase"):
        name, status, output = case.get("name"), case.get("status"), case.findtext("system-out") or ""
        # The formats of this project's own tests and of GoogleTest, which prints the reason on a separate line.
        reasons = re.findall(r"^.*\bskipped: (.*)$|: Skipped\n(.*)$", output, re.MULTILINE)
        reasons = [own or others for own, others in reasons]
        if status == "run":
            outcome.passed += 1
            outcome.skipped += len(reasons)
        elif status == "fail":
            outcome.failed += 1
            outcome.failures.append(name)
        else:
            outcome.skipped += 1
            reasons = reasons[:1] or [output.strip().splitlines()[-1] if output.strip() else "no reason given"]
        if status != "fail":
            outcome.reasons += [f"{name}: {reason}" for reason in reasons]


def run_stage(stage):
    print(f"\n== {stage.name}", flush=True)
    outcome, begin = Outcome(), time.monotonic()
    results = PROJECT / "build" / stage.preset / "results.xml"
    results.unlink(missing_ok=True)
    if run(stage, "cmake", "--preset", stage.preset).returncode != 0 or \
            run(stage, "cmake", "--build", f"build/{stage.preset}", "--target", *stage.targets).returncode != 0:
        outcome.failed += 1
        outcome.failures.append(f"the build of {stage.preset}")
    else:
        code = run(stage, "ctest", "--test-dir", f"build/{stage.preset}", "--output-on-failure", "-j", str(JOBS),
                   f"--no-tests={'ignore' if stage.optional else 'error'}", "--output-junit", results,
                   *stage.tests).returncode
        if results.exists():
            read_results(results, outcome)
        if code != 0 and outcome.failed == 0:
            outcome.failed += 1
            outcome.failures.append(f"ctest, exit code {code}")
    outcome.seconds = time.monotonic() - begin
    return outcome


def main():
    parser = argparse.ArgumentParser(prog="./dev test", description=__doc__.splitlines()[0])
    parser.add_argument("--full", action="store_true",
                        help="also sanitizers, threads, valgrind, constant time, and what else takes longer")
    stages = FULL if parser.parse_args().full else QUICK
    outcomes = {stage.name: run_stage(stage) for stage in stages}

    print(f"\n{'stage':<32}{'passed':>8}{'failed':>8}{'skipped':>8}{'seconds':>9}")
    for name, o in outcomes.items():
        print(f"{name:<32}{o.passed:>8}{o.failed:>8}{o.skipped:>8}{o.seconds:>9.0f}")
    reasons = [f"{name}: {reason}" for name, o in outcomes.items() for reason in o.reasons]
    if reasons:
        print("\nskipped:", *reasons, sep="\n  ")
    failures = [f"{name}: {failure}" for name, o in outcomes.items() for failure in o.failures]
    if failures:
        print("\nfailed:", *failures, sep="\n  ")
    totals = [sum(getattr(o, field) for o in outcomes.values()) for field in ("passed", "failed", "skipped")]
    print("\n{} passed, {} failed, {} skipped".format(*totals), flush=True)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
