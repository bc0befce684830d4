#!/usr/bin/env python3
"""Checks that the comments of the C headers are complete, and how the site shows them.

Usage: headers_test.py PROJECT
"""
import re
import sys
import unittest
from pathlib import Path

PROJECT = Path(sys.argv[1])
sys.path.insert(0, str(PROJECT / "docs"))
import common_rules  # noqa: E402

FAMILIES = [path for path in sorted((PROJECT / "include/vrx").glob("*.h")) if path.stem not in ("export", "random")]


def functions_of(path):
    """Yield position, comment and prototype of each exported function of a header."""
    text = path.read_text(encoding="utf-8")
    for comment in common_rules.COMMENT.finditer(text):
        prototype = common_rules.PROTOTYPE.match(text, comment.end())
        if prototype:
            yield comment.start(), comment[0], prototype


class Headers(unittest.TestCase):
    def test_each_family_has_a_rule_for_threads(self):
        for path in FAMILIES:
            self.assertRegex(common_rules.first_comment(path), r"Threads:|threads may share|number of\s[ *]*threads",
                             path.name)

    def test_each_family_has_a_rule_for_memory(self):
        for path in FAMILIES:
            self.assertRegex(path.read_text(encoding="utf-8"), r"[Aa]llocate", path.name)

    def test_each_algorithm_has_its_source(self):
        for path in FAMILIES:
            if path.stem not in ("frame", "helpers"):
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


    def test_each_comment_describes_every_parameter_and_the_result_itself(self):
        for path in FAMILIES:
            for _, comment, prototype in functions_of(path):
                with self.subTest(prototype["name"]):
                    described = re.findall(r"@param (\w+)  +(?:in|out|in-out): \S", comment)
                    self.assertEqual(described, list(common_rules.arguments_of(prototype)))
                    returns = not re.match(r"\s*VRX_API\s+(__attribute__\S+\s+)?void\s+\w+\(", prototype[0])
                    self.assertEqual("@return " in comment, returns)

    def test_each_function_is_in_a_tier(self):
        for path in FAMILIES:
            text = path.read_text(encoding="utf-8")
            self.assertEqual(len(common_rules.SECTION.findall(text)), text.count("/* ----"), path.name)
            for position, _, prototype in functions_of(path):
                self.assertIsNotNone(common_rules.tier_at(text, position), prototype["name"])

    def test_hexadecimal_codes_of_the_log_are_those_of_the_constants(self):
        header = (PROJECT / "include/vrx/frame.h").read_text(encoding="utf-8")
        codes = {name: int(code) for name, code in re.findall(r"#define (VRX_ERR_\w+) \((-\d+)\)", header)}
        helpers = (PROJECT / "include/vrx/helpers.h").read_text(encoding="utf-8")
        rows = re.findall(r"^ \* \| (0x\w+) \| (-\d+) +\| (\w+) +\|$", helpers, re.M)
        self.assertEqual({name: (int(code), int(number, 16) - (1 << 32)) for number, code, name in rows},
                         {name: (code, code) for name, code in codes.items()})
        page = (PROJECT / "docs/troubleshooting.md").read_text(encoding="utf-8")
        rows = re.findall(r"^\| (-\d+) `(\w+)` \| `rc = (0x\w+)` \|", page, re.M)
        self.assertEqual({name: (int(code), int(number, 16) - (1 << 32)) for code, name, number in rows},
                         {name: (code, code) for name, code in codes.items()})

    def test_each_hazard_has_a_warning(self):
        common = ["never use an IV twice with the same key", "not detect changed data or a wrong key", "32 GiB",
                  "decrypt in place"]
        hazards = {"modes": common, "context": common,
                   "sign": ["more than one signature for the same digest: s is used modulo q",
                            "0 < r < q and 0 < s < q"]}
        for family, sentences in hazards.items():
            text = (PROJECT / f"include/vrx/{family}.h").read_text(encoding="utf-8")
            warnings = re.findall(r"\*\*Warning:\*\*(.*?)\n \*(?:\n|/)", text, re.S)
            warnings = [re.sub(r"[\s*]+", " ", part).strip() for part in warnings]
            for sentence in sentences:
                self.assertTrue(any(sentence in warning for warning in warnings), f"{family}.h warns of: {sentence}")

    def test_there_are_no_lists_of_common_arguments(self):
        for path in FAMILIES:
            self.assertNotIn("Common arguments", path.read_text(encoding="utf-8"), path.name)


class Filter(unittest.TestCase):
    def test_function_gets_its_group_and_a_link_to_common_rules(self):
        text = "/* ---- Use these ---- */\n\n/* ---- Building blocks: bits ---- */\n\nint f(void);\n"
        self.assertEqual(common_rules.tier_at(text, len(text)), "vrx_blocks")
        self.assertEqual(common_rules.tier_at(text, 27), "vrx_use")
        done = common_rules.completed("/** Does it. */", "vrx_use", "x.h")
        self.assertIn("@ingroup vrx_use", done)
        self.assertIn("top of that file", done)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
