#!/usr/bin/env python3
"""Checks the hardening of the library and the program in their ELF files.

Usage: hardening_test.py LIBRARY PROGRAM OBJECT...
  OBJECT...: the object files of both.
"""
import os
import re
import subprocess
import sys
import unittest


def readelf(*arguments):
    return subprocess.run(["readelf", "-W", *arguments], check=True, capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


class Hardening(unittest.TestCase):
    library = program = ""
    objects = []

    def for_both(self, *options):
        for path in (self.library, self.program):
            with self.subTest(path):
                yield readelf(*options, path)

    def test_both_are_position_independent(self):
        for header in self.for_both("-h"):
            self.assertRegex(header, r"Type:\s+DYN")
        self.assertRegex(readelf("-d", self.program), r"\(FLAGS_1\).*\bPIE\b")
        for dynamic in self.for_both("-d"):
            self.assertNotIn("TEXTREL", dynamic)

    def test_full_relro_is_enabled(self):
        for segments in self.for_both("-l"):
            self.assertRegex(segments, r"\bGNU_RELRO\b")
        for dynamic in self.for_both("-d"):
            self.assertRegex(dynamic, r"\(FLAGS\).*\bBIND_NOW\b")
            self.assertRegex(dynamic, r"\(FLAGS_1\).*\bNOW\b")

    def test_no_segment_is_writable_and_executable(self):
        for segments in self.for_both("-l"):
            self.assertEqual(re.findall(r"GNU_STACK .* 0x\S+ 0x\S+ ([RWE ]{3}) ", segments), ["RW "])
            loads = re.findall(r"LOAD .* 0x\S+ 0x\S+ ([RWE ]{3}) ", segments)
            self.assertIn("R E", loads)
            for rights in loads:
                self.assertFalse("W" in rights and "E" in rights, loads)

    def test_no_library_is_loaded_from_the_current_folder(self):
        for dynamic in self.for_both("-d"):
            for paths in re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", dynamic):
                for path in paths.split(":"):
                    self.assertRegex(path, r"\A(/|\$ORIGIN/)", paths)

    def asked_for(self, path):
        """Return the functions that a binary imports."""
        return set(re.findall(r"\bUND ([^\s@]+)", readelf("--dyn-syms", path)))

    def test_stack_protector_is_used(self):
        for path in (self.library, self.program):
            self.assertIn("__stack_chk_fail", self.asked_for(path), path)

    def test_fortified_functions_are_used(self):
        for path in (self.library, self.program):
            checked = {name for name in self.asked_for(path) if name.endswith("_chk")}
            self.assertNotEqual(checked, set(), path)

    def test_every_object_is_marked_for_ibt_and_shadow_stacks(self):
        self.assertGreater(len(self.objects), 20)
        for path in self.objects:
            self.assertRegex(readelf("-n", path), r"x86 feature: IBT, SHSTK", path)
        for notes in self.for_both("-n"):
            self.assertRegex(notes, r"x86 feature: .*SHSTK")

    def test_both_are_marked_for_ibt_if_the_start_files_are(self):
        def marked(path):
            return re.search(r"x86 feature: .*IBT", readelf("-n", path)) is not None

        def start_files(*names):
            return [subprocess.run(["cc", f"-print-file-name={name}"], check=True, capture_output=True,
                                   text=True).stdout.strip() for name in names]

        for path, names in ((self.library, ("crti.o", "crtbeginS.o", "crtendS.o", "crtn.o")),
                            (self.program, ("Scrt1.o", "crti.o", "crtbeginS.o", "crtendS.o", "crtn.o"))):
            if all(map(marked, start_files(*names))):
                self.assertTrue(marked(path), path)

    def test_large_frames_touch_every_page(self):
        with open(self.library, "rb") as file:
            content = file.read()
        by_gcc, by_clang = b"\x48\x83\x0c\x24\x00", b"\x48\xc7\x04\x24\x00\x00\x00\x00"  # or, mov of 0, to (%rsp)
        self.assertTrue(by_gcc in content or by_clang in content)

    def test_the_program_checks_the_standard_library(self):
        self.assertTrue(any("glibcxx_assert" in name for name in self.asked_for(self.program)))

    def test_every_exported_function_begins_with_endbr64(self):
        text = re.search(r"\] \.text\s+PROGBITS\s+(\w+) (\w+) (\w+)", readelf("-S", self.library))
        address, offset, size = (int(field, 16) for field in text.groups())
        with open(self.library, "rb") as file:
            content = file.read()
        functions = re.findall(r"([0-9a-f]+)\s+\d+ FUNC\s+GLOBAL DEFAULT\s+\d+ (\S+)",
                               readelf("--dyn-syms", self.library))
        self.assertGreater(len(functions), 100)
        for value, name in functions:
            place = int(value, 16) - address
            self.assertTrue(0 <= place < size, name)
            self.assertEqual(content[offset + place:offset + place + 4], b"\xf3\x0f\x1e\xfa", name)  # endbr64


if __name__ == "__main__":
    Hardening.library, Hardening.program, *Hardening.objects = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
