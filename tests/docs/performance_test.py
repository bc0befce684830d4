#!/usr/bin/env python3
"""The performance page and the summary in the README show the recorded figures. Usage: performance_test.py PROJECT"""
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
    def test_the_page_is_drawn_from_the_results(self):
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

    def test_more_than_one_family_is_there(self):
        vendors = {json.loads(path.read_text(encoding="utf-8"))["machine"]["name"].split()[0]
                   for path in (PROJECT / "bench/results").glob("*.json")}
        self.assertGreaterEqual(vendors, {"AMD", "Intel"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
