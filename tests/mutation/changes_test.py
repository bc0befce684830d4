#!/usr/bin/env python3
"""Tests of the mutations that ./dev mutate makes."""
import re
import unittest

from changes import changes
from mutate import PROJECT, TESTS, sample, sources, tests_of

SOURCE = r'''
// 1 + 2 is no code, nor is "3 < 4"
#include <array>
#define FIVE 5
/* 6 == 7 */
static_assert(sizeof(int) == 4);
template <unsigned size = 8>
[[gnu::target("9")]] int f(const int* a, std::span<const int> b, bool last) {
    const char* const text = "10 + 11";
    asm volatile("add $12, %0" : "+r"(a));
    if (!last && b.size() < 0x1ff) {
        a[1] ^= g(b) << 2u;
        secret.wipe();
    }
    for (;;) break;
    struct Empty { Empty() = default; };
    return text[0] == '0' ? a[b[3]] - 1 : true;
}
'''

EXPECTED = [
    (11, "condition", "!last && b.size() < 0x1ff -> !(!last && b.size() < 0x1ff)"),
    (11, "condition", "! removed"),
    (11, "operator", "&& -> ||"),
    (11, "comparison", "< -> <="),
    (11, "constant", "0x1ff -> 0x1ef"),
    (12, "statement", "a[1] ^= g(b) << 2u; removed"),
    (12, "constant", "1 -> 2"),
    (12, "constant", "1 -> 0"),
    (12, "operator", "^= -> |="),
    (12, "operator", "<< -> >>"),
    (12, "constant", "2u -> 3u"),
    (12, "constant", "2u -> 1u"),
    (13, "wiping", "secret.wipe(); removed"),
    (15, "statement", "break; removed"),
    (17, "constant", "0 -> 1"),
    (17, "comparison", "== -> !="),
    (17, "constant", "3 -> 4"),
    (17, "constant", "3 -> 2"),
    (17, "operator", "- -> +"),
    (17, "constant", "1 -> 2"),
    (17, "constant", "1 -> 0"),
    (17, "constant", "true -> false"),
]


class Changes(unittest.TestCase):
    def test_exactly_the_executable_code_is_changed(self):
        self.assertEqual([(c.line(SOURCE), c.kind, str(c)) for c in changes(SOURCE)], EXPECTED)

    def test_change_affects_only_its_place(self):
        for change in changes(SOURCE):
            changed = change.applied(SOURCE)
            self.assertNotEqual(changed, SOURCE)
            self.assertEqual(changed[:change.start], SOURCE[:change.start])
            self.assertEqual(changed[change.start:change.start + len(change.new)], change.new)
            self.assertEqual(changed[change.start + len(change.new):], SOURCE[change.end:])


class Sample(unittest.TestCase):
    def test_seed_determines_the_sample(self):
        found = {"a.cpp": changes(SOURCE), "b.cpp": changes(SOURCE)}
        self.assertEqual(sample(found, 10, 1), sample(found, 10, 1))
        self.assertNotEqual(sample(found, 10, 1), sample(found, 10, 2))

    def test_sample_covers_files_and_kinds_in_proportion(self):
        found = {"a.cpp": changes(SOURCE), "b.cpp": changes(SOURCE) * 3}
        chosen = sample(found, 40, 1)
        self.assertEqual((len(chosen["a.cpp"]), len(chosen["b.cpp"])), (10, 30))
        self.assertEqual({c.kind for c in chosen["a.cpp"]}, {kind for _, kind, _ in EXPECTED})


class Project(unittest.TestCase):
    def test_every_source_has_tests_and_every_program_exists(self):
        said = " ".join(f.read_text() for f in (PROJECT / "tests").rglob("CMakeLists.txt"))
        words = set(re.findall(r"\w+", said))
        for file in sources():
            self.assertTrue(tests_of(file), file)
        for run in {run for of_folder in TESTS.values() for run in of_folder}:
            # The name ends with the optimisation level.
            name = run.program.replace("bigdigits_wipe_O2", "bigdigits_wipe_")
            self.assertTrue({name, name + "_test"} & words, name)


if __name__ == "__main__":
    unittest.main()
