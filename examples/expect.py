#!/usr/bin/env python3
"""Runs a program and compares what it prints with a file. Usage: expect.py FILE PROGRAM [ARGUMENT...]"""
import difflib
import subprocess
import sys
from pathlib import Path

expected = Path(sys.argv[1]).read_text(encoding="utf-8")
run = subprocess.run(sys.argv[2:], stdout=subprocess.PIPE, encoding="utf-8", check=False)
if run.returncode == 77:
    sys.exit(77)  # skipped, because the program needs a library that is not installed
sys.stdout.writelines(difflib.unified_diff(
    expected.splitlines(keepends=True), run.stdout.splitlines(keepends=True), "expected", "printed"))
if run.returncode != 0:
    sys.exit(f"{sys.argv[2]} ended with {run.returncode}")
sys.exit(run.stdout != expected)
