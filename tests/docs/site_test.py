#!/usr/bin/env python3
"""Builds the documentation site without warnings, and checks that a gap in a comment causes one.

Usage: site_test.py PROJECT DOXYGEN
"""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT, DOXYGEN = Path(sys.argv[1]), sys.argv[2]


class Site(unittest.TestCase):
    def setUp(self):
        self.scratch = Path(tempfile.mkdtemp(prefix="vrx-docs-"))
        self.addCleanup(shutil.rmtree, self.scratch)

    def doxygen(self, configuration, folder, *more):
        lines = [f"@INCLUDE = {configuration}", f"OUTPUT_DIRECTORY = {self.scratch}/out", "HTML_EXTRA_STYLESHEET =",
                 "SEARCHENGINE = NO", "HTML_DYNAMIC_SECTIONS = NO", *more]
        run = subprocess.run([DOXYGEN, "-"], input="\n".join(lines), cwd=folder, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, encoding="utf-8", check=False)
        return run.returncode, run.stdout

    def test_build_gives_no_warning(self):
        code, said = self.doxygen("docs/Doxyfile", PROJECT)
        self.assertEqual((code, said), (0, ""))

    def test_every_parameter_and_result_of_c_is_documented(self):
        code, said = self.doxygen("docs/Doxyfile.strict", PROJECT)
        self.assertEqual((code, said), (0, ""))

    def test_missing_parameter_causes_a_warning(self):
        shutil.copytree(PROJECT / "docs", self.scratch / "docs")
        for lost, gap in ((" * @param shift  ", "parameter 'shift'"), (" * @return bit 32 ", "return type")):
            (self.scratch / "include/vrx").mkdir(parents=True, exist_ok=True)
            text = (PROJECT / "include/vrx/bigdigits.h").read_text(encoding="utf-8")
            self.assertIn(lost, text)
            changed = text.replace(lost, " * ", 1)
            (self.scratch / "include/vrx/bigdigits.h").write_text(changed, encoding="utf-8")
            code, said = self.doxygen("docs/Doxyfile.strict", self.scratch)
            self.assertNotEqual(code, 0)
            self.assertIn(gap, said)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
