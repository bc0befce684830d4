#!/usr/bin/env python3
"""Checks that vrx.hpp in C++17 mode gives one error, which names the option for C++20.

Usage: older_standard_test.py COMPILER INCLUDE
"""
import re
import subprocess
import sys

compiler, include = sys.argv[1:]
run = subprocess.run([compiler, "-std=c++17", "-fsyntax-only", f"-I{include}", "-x", "c++", "-"],
                     input="#include <vrx.hpp>\n", stderr=subprocess.PIPE, encoding="utf-8", check=False)
errors = re.findall(r"error:.*", run.stderr)
if run.returncode == 0 or len(errors) != 1 or "-std=c++20" not in errors[0]:
    sys.exit(f"exit code {run.returncode}, errors: {errors}")
