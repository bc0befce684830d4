#!/usr/bin/env python3
"""Checks that every test in the checkout is compiled or run. Usage: completeness_test.py SOURCE BUILD [NOT_COMPILED...]

NOT_COMPILED lists the C++ tests that this configuration does not compile. Each of them is reported as a skipped test.
"""
import json
import re
import sys
import unittest
from pathlib import Path

SOURCE, BUILD = map(Path, sys.argv[1:3])
NOT_COMPILED = set(sys.argv[3:])


def tests(pattern):
    return {str(f.relative_to(SOURCE)) for folder in ("tests", "python", "fuzz")
            for f in (SOURCE / folder).rglob(pattern)
            if "build" not in f.relative_to(SOURCE).parts}


class Completeness(unittest.TestCase):
    def test_every_cpp_test_and_fuzz_target_is_compiled(self):
        commands = json.loads((BUILD / "compile_commands.json").read_text())
        compiled = {str(Path(entry["file"]).relative_to(SOURCE)) for entry in commands
                    if Path(entry["file"]).is_relative_to(SOURCE)}
        self.assertEqual(tests("*_test.cpp") - compiled - NOT_COMPILED, set())
        self.assertEqual(NOT_COMPILED - tests("*_test.cpp"), set(), "there is no such test")

    def test_every_python_test_is_registered(self):
        said = {f.parent: f.read_text() for f in SOURCE.glob("**/CMakeLists.txt")}
        for name in tests("*_test.py"):
            path, stem = SOURCE / name, Path(name).stem.removesuffix("_test")
            near = "\n".join(text for folder, text in said.items() if path.is_relative_to(folder))
            # A test is registered by its full name, or in a list by its name without the suffix.
            self.assertRegex(near, rf"\b{re.escape(Path(name).name)}|[ (]{re.escape(stem)}[ )\n]", name)

    def test_every_fuzz_target_has_a_corpus(self):
        targets = {Path(name).stem.removesuffix("_fuzz") for name in tests("*_fuzz.cpp")}
        self.assertEqual({f.stem for f in (SOURCE / "fuzz" / "corpus").glob("*.hex")}, targets)
        cmake = (SOURCE / "fuzz" / "CMakeLists.txt").read_text()
        for target in targets:
            self.assertRegex(cmake, rf"\b{target}\b")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
