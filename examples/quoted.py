#!/usr/bin/env python3
"""Checks that a text quotes a file whole, as a block of code. Usage: quoted.py TEXT LANGUAGE FILE"""
import sys
from pathlib import Path

text, language, file = sys.argv[1:]
block = f"```{language}\n{Path(file).read_text(encoding='utf-8')}```\n"
if block not in Path(text).read_text(encoding="utf-8"):
    sys.exit(f"{text} does not quote {file} as it is")
