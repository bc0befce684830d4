#!/usr/bin/env python3
"""Checks the dynamic section of the shared object: symbols, soname, dependencies and protection.

Usage: shared_object_test.py LIBRARY EXPORTS MAP CALLER
  EXPORTS lists the symbols, MAP is the version script, CALLER a program that uses every symbol.
"""
import os
import re
import subprocess
import sys
import unittest
from typing import NamedTuple


class Symbol(NamedTuple):
    name: str
    version: str
    kind: str
    size: int
    section: str


def readelf(*arguments):
    return subprocess.run(["readelf", "-W", *arguments], check=True, capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


def dynamic_symbols(path):
    """Parse a symbol: number, value, size, type, bind, visibility, section, name[@version]."""
    pattern = re.compile(r"^\s*\d+: [0-9a-f]+\s+(\w+)\s+(\w+)\s+(\w+)\s+\w+\s+(\w+)(?: ([^\s@]+)(?:@+(\S+))?)?", re.M)
    return [Symbol(name, version or "", kind, int(size, 0), section)
            for size, kind, bind, section, name, version in pattern.findall(readelf("--dyn-syms", path))
            if name and bind != "LOCAL"]


def section_flags(path):
    """Map section numbers to flags, such as WA, and names."""
    pattern = re.compile(r"^\s*\[\s*(\d+)\] (\S+)\s+\S+\s+[0-9a-f]+ [0-9a-f]+ [0-9a-f]+ [0-9a-f]+\s+([A-Z]*)\s", re.M)
    return {number: (name, flags) for number, name, flags in pattern.findall(readelf("-S", path))}


class SharedObject(unittest.TestCase):
    library = exports = version_script = caller = ""

    @classmethod
    def setUpClass(cls):
        cls.symbols = dynamic_symbols(cls.library)
        cls.defined = {s.name: s for s in cls.symbols if s.section not in ("UND", "ABS")}
        cls.undefined = {s.name: s for s in cls.symbols if s.section == "UND"}
        cls.dynamic = readelf("-d", cls.library)
        cls.segments = readelf("-l", cls.library)
        with open(cls.exports, encoding="ascii") as lines:
            rows = [line.split() for line in lines if not line.startswith("#")]
        cls.listed = {row[1]: (row[0], int(row[2]) if row[0] != "F" else None) for row in rows}
        assert len(cls.listed) == len(rows) > 0, "a symbol is listed twice, or none is"

    def test_exports_are_exactly_the_listed_symbols(self):
        self.assertEqual(sorted(self.defined), sorted(self.listed))

    def test_version_script_equals_the_list(self):
        with open(self.version_script, encoding="ascii") as file:
            text = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.S)
        named = re.search(r"global:(.*?)local:\s*\*;", text, re.S).group(1)
        self.assertEqual(sorted(name.strip() for name in named.split(";") if name.strip()), sorted(self.listed))

    def test_types_and_sizes_are_as_listed(self):
        for name, (kind, size) in self.listed.items():
            with self.subTest(name):
                symbol = self.defined[name]
                self.assertEqual(symbol.kind, "FUNC" if kind == "F" else "OBJECT")
                if size is not None:
                    self.assertEqual(symbol.size, size)

    def test_read_only_data_is_in_read_only_sections(self):
        sections = section_flags(self.library)
        for name, (kind, _) in self.listed.items():
            if kind == "F":
                continue
            with self.subTest(name):
                section, flags = sections[self.defined[name].section]
                self.assertEqual("W" not in flags or section.startswith(".data.rel.ro"), kind == "R", section)

    def test_symbols_have_no_versions(self):
        self.assertEqual({s.version for s in self.defined.values()}, {""})

    def test_soname_is_libvrx_so_1(self):
        self.assertEqual(re.findall(r"\(SONAME\)\s+Library soname: \[(.*)\]", self.dynamic), ["libvrx.so.1"])

    def test_only_the_c_library_is_needed(self):
        self.assertEqual(re.findall(r"\(NEEDED\)\s+Shared library: \[(.*)\]", self.dynamic), ["libc.so.6"])

    def test_no_symbol_of_the_cxx_runtime_is_imported(self):
        # __cxa_finalize belongs to the C library.
        asked = [n for n in self.undefined if re.match(r"_Z|__cxa_|__gxx_|_Unwind_", n) and n != "__cxa_finalize"]
        self.assertEqual(asked, [])

    def test_there_are_no_static_constructors(self):
        # Each start file of the compiler contributes one entry.
        for array in ("INIT", "FINI"):
            sizes = re.findall(rf"\({array}_ARRAYSZ\)\s+(\d+) \(bytes\)", self.dynamic)
            self.assertLessEqual(sum(map(int, sizes)), 8)

    def test_full_relro_is_enabled(self):
        self.assertRegex(self.segments, r"\bGNU_RELRO\b")
        self.assertRegex(self.dynamic, r"\(FLAGS(_1)?\).*\b(BIND_NOW|NOW)\b")
        self.assertNotRegex(self.dynamic, r"TEXTREL")

    def test_no_segment_is_writable_and_executable(self):
        stack = re.findall(r"GNU_STACK .* 0x\S+ 0x\S+ ([RWE ]{3}) ", self.segments)
        self.assertEqual(stack, ["RW "])
        loads = re.findall(r"LOAD .* 0x\S+ 0x\S+ ([RWE ]{3}) ", self.segments)
        self.assertGreaterEqual(len(loads), 2)
        for rights in loads:
            self.assertFalse("W" in rights and "E" in rights)

    def test_there_is_no_rpath(self):
        self.assertNotRegex(self.dynamic, r"\((RPATH|RUNPATH)\)")

    def test_caller_uses_every_symbol(self):
        # A copy relocation defines library data in the program.
        named = {s.name for s in dynamic_symbols(self.caller)}
        self.assertEqual(sorted(set(self.listed) - named), [])


if __name__ == "__main__":
    SharedObject.library, SharedObject.exports, SharedObject.version_script, SharedObject.caller = sys.argv[1:5]
    unittest.main(argv=sys.argv[:1])
