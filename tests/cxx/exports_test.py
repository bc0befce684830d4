#!/usr/bin/env python3
"""Checks that the C++ headers give access to every export of the library. Usage: exports_test.py PROJECT"""
import re
import sys
from pathlib import Path

project = Path(sys.argv[1])
code = "".join(path.read_text(encoding="utf-8") for path in (project / "include").rglob("*.hpp"))
code = re.sub(r"/\*.*?\*/|//[^\n]*", "", code, flags=re.S)
words = set(re.findall(r"\w+", code))

exports = re.sub(r"/\*.*?\*/", "", (project / "src/libvrx.map").read_text(encoding="utf-8"), flags=re.S)
exports = re.search(r"global:(.*?)local:", exports, re.S).group(1)
names = [name.strip() for name in exports.split(";") if name.strip()]
missing = [name for name in names if name not in words]
if len(names) < 100 or missing:
    sys.exit(f"vrx.hpp lacks these of {len(names)} exports: {' '.join(missing)}")
