#!/usr/bin/env python3
"""Runs log_service, and checks what it sends to standard error and to syslog.

Usage: log_service_test.py PROGRAM OBSERVER

OBSERVER is a shared object with a syslog() that appends to the file that LOG_SERVICE_SYSLOG names.
"""
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

program, observer = sys.argv[1:]
with tempfile.TemporaryDirectory(prefix="vrx-log-") as folder:
    sent = Path(folder, "syslog")
    run = subprocess.run([program], env={**os.environ, "LD_PRELOAD": observer, "LOG_SERVICE_SYSLOG": str(sent)},
                         capture_output=True, text=True, check=True)
    if run.stdout or not re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ TZ_by_name: unsupported name tz_z\n",
                                      run.stderr):
        sys.exit(f"standard output and error:\n{run.stdout}{run.stderr}")
    if sent.read_text(encoding="utf-8") != "4 TZ_by_name: unsupported name tz_z\n":
        sys.exit(f"syslog:\n{sent.read_text(encoding='utf-8')}")
