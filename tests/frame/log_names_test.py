"""Checks that the library does not compile if the name of a function in a log message is not an identifier."""
import os
import subprocess
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
COMPILER = os.environ.get("VRX_COMPILER", "c++")


def compiles(name):
    source = f'#include "frame/log.hpp"\nint logged() {{ return vrx::log::bad_params("{name}"); }}\n'
    done = subprocess.run([COMPILER, "-std=c++20", "-fsyntax-only", f"-I{PROJECT}/src", f"-I{PROJECT}/include",
                           "-x", "c++", "-"], input=source, text=True, capture_output=True, check=False)
    return done.returncode == 0


class Names(unittest.TestCase):
    def test_identifiers_compile(self):
        self.assertTrue(compiles("_09AZaz"))

    def test_a_character_before_or_after_those_of_identifiers_does_not_compile(self):
        for character in "/:@[`{^ -":
            for name in (character, character + "ab", "a" + character + "b", "ab" + character):
                self.assertFalse(compiles(name), name)


if __name__ == "__main__":
    unittest.main()
