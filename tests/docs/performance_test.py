#!/usr/bin/env python3
"""Checks that the performance page and the README show the recorded figures. Usage: performance_test.py PROJECT"""
import json
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(sys.argv[1])
DRAWN = ("docs/performance.md", "docs/performance.svg", "README.md")


class Performance(unittest.TestCase):
    def test_page_and_readme_are_up_to_date(self):
        scratch = Path(tempfile.mkdtemp(prefix="vrx-docs-"))
        self.addCleanup(shutil.rmtree, scratch)
        (scratch / "docs").mkdir()
        shutil.copytree(PROJECT / "bench/results", scratch / "bench/results")
        for name in DRAWN:
            shutil.copy(PROJECT / name, scratch / name)
        subprocess.run([sys.executable, "-B", PROJECT / "bench/plot.py", scratch], check=True)
        for name in DRAWN:
            self.assertEqual((scratch / name).read_text(encoding="utf-8"), (PROJECT / name).read_text(encoding="utf-8"),
                             f"{name} is out of date: bench/plot.py . draws it")

    def test_results_cover_two_cpu_families(self):
        vendors = {json.loads(path.read_text(encoding="utf-8"))["machine"]["name"].split()[0]
                   for path in (PROJECT / "bench/results").glob("*.json")}
        self.assertGreaterEqual(vendors, {"AMD", "Intel"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
