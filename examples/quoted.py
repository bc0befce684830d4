#!/usr/bin/env python3
"""Checks that a text quotes files whole, each as a block of code. Usage: quoted.py TEXT FILE..."""
import sys
from pathlib import Path

LANGUAGE = {".c": "c", ".cpp": "cpp", ".expected": "text"}

text, *files = sys.argv[1:]
quoted = Path(text).read_text(encoding="utf-8")
for file in map(Path, files):
    if f"```{LANGUAGE[file.suffix]}\n{file.read_text(encoding='utf-8')}```\n" not in quoted:
        sys.exit(f"{text} does not quote {file} as it is")
