#!/usr/bin/env python3
"""What each header for C says at its top, and what is made of it. Usage: headers_test.py PROJECT"""
import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(sys.argv[1])
sys.path.insert(0, str(PROJECT / "docs"))
import common_rules  # noqa: E402

FAMILIES = [path for path in sorted((PROJECT / "include/vrx").glob("*.h")) if path.stem not in ("export", "random")]


def top_of(path):
    """The first comment of a header, with those of the headers whose rules it takes over."""
    top = common_rules.first_comment(path)
    others = re.findall(r"rules of (\w+\.h)", top)
    return top + "".join(top_of(path.parent / other) for other in others)


class Headers(unittest.TestCase):
    def test_each_family_says_what_threads_may_do(self):
        for path in FAMILIES:
            self.assertRegex(top_of(path), r"Threads:|threads may share|number of threads", path.name)

    def test_each_family_says_who_allocates(self):
        for path in FAMILIES:
            self.assertRegex(path.read_text(encoding="utf-8") + top_of(path), r"[Aa]llocate", path.name)

    def test_each_algorithm_has_its_source(self):
        for path in FAMILIES:
            if path.stem != "frame":
                self.assertRegex(path.read_text(encoding="utf-8"), r"RFC \d+|FIPS \d+|Knuth", path.name)

    def test_each_exported_function_has_a_comment(self):
        text = "".join(path.read_text(encoding="utf-8") for path in FAMILIES)
        exports = re.findall(r"^    (\w+);$", (PROJECT / "src/libvrx.map").read_text(encoding="utf-8"), re.M)
        described = {prototype["name"] for comment in common_rules.COMMENT.finditer(text)
                     if (prototype := common_rules.PROTOTYPE.match(text, comment.end()))}
        functions = set(re.findall(r"VRX_API(?!\s+extern)[^;{]*?\b(?!__)(\w+)\(", text))
        self.assertGreater(len(functions), 100)
        self.assertLessEqual(functions, set(exports))
        self.assertEqual(functions - described, set())


class CommonRules(unittest.TestCase):
    def completed(self, prototype, top):
        rules = {}
        path = PROJECT / "include/vrx/kernel.h"
        original = common_rules.first_comment
        common_rules.first_comment = lambda _: top
        try:
            rules = common_rules.common_arguments(path)
        finally:
            common_rules.first_comment = original
        return common_rules.completed("/** Does it. @param b  in: its own */",
                                      common_rules.PROTOTYPE.match(f"\nVRX_API {prototype};"), rules, "x.h")

    def test_arguments_get_their_rules_by_name_and_direction(self):
        top = "/**\n * - a, b  in: common\n *   rule; out: written\n * - n  in: a count\n * - return  0.\n */"
        done = self.completed("int f(const int *a, int *b, unsigned n, int other[2])", top)
        self.assertIn("@param a  in: common rule;", done)
        self.assertIn("@param n  in: a count", done)
        self.assertIn("@return 0.", done)
        self.assertEqual(done.count("@param b"), 1)
        self.assertNotIn("@param other", done)
        self.assertIn("@param a  out: written", self.completed("void f(int a[3])", top))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
