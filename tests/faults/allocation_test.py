#!/usr/bin/env python3
"""Checks that only the documented functions of the library allocate memory.

Usage: allocation_test.py OBJECT...
"""
import os
import re
import subprocess
import sys
import unittest

ALLOCATING = {
    "registry.cpp.o": {"malloc"},          # oidCopyGOST28147Par(), which the caller frees
    "kdf.cpp.o": {"malloc", "free"},       # GOSTR3411_PBA_Derive()
    "convert.cpp.o": {"malloc", "free"},   # mpConvToDecimal() of very long numbers
}
ASKING = re.compile(r"(malloc|calloc|realloc|free|memalign|aligned_alloc|posix_memalign|strdup|asprintf|mmap|"
                    r"_Znwm|_Znam|_ZdlPv\w*|_ZdaPv\w*)")


class Allocation(unittest.TestCase):
    objects = []

    def test_only_documented_functions_allocate(self):
        found = {}
        for path in self.objects:
            symbols = subprocess.run(["readelf", "-Ws", path], check=True, capture_output=True, text=True,
                                     env={**os.environ, "LC_ALL": "C"}).stdout
            names = {n for n in re.findall(r"\bUND (\S+)", symbols) if ASKING.fullmatch(n)}
            if names:
                found[os.path.basename(path)] = names
        self.assertEqual(found, ALLOCATING)


if __name__ == "__main__":
    Allocation.objects = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
