#!/usr/bin/env python3
"""Checks that the page on side channels lists every exported function. Usage: side_channels_test.py PROJECT"""
import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(sys.argv[1])


class SideChannels(unittest.TestCase):
    def test_every_exported_function_is_named(self):
        exported = set(re.findall(r"^F (\w+)$", (PROJECT / "tests/abi/exports.txt").read_text(encoding="utf-8"), re.M))
        named = set(re.findall(r"`(\w+)`", (PROJECT / "docs/side_channels.md").read_text(encoding="utf-8")))
        self.assertGreater(len(exported), 100)
        self.assertEqual(sorted(exported - named), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
