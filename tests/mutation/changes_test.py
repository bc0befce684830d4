#!/usr/bin/env python3
"""The changes that ./dev mutate plants are those that it should."""
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
    def test_all_that_is_code_is_changed_and_nothing_else(self):
        self.assertEqual([(c.line(SOURCE), c.kind, str(c)) for c in changes(SOURCE)], EXPECTED)

    def test_a_change_is_made_at_its_place_alone(self):
        for change in changes(SOURCE):
            changed = change.applied(SOURCE)
            self.assertNotEqual(changed, SOURCE)
            self.assertEqual(changed[:change.start], SOURCE[:change.start])
            self.assertEqual(changed[change.start:change.start + len(change.new)], change.new)
            self.assertEqual(changed[change.start + len(change.new):], SOURCE[change.end:])


class Sample(unittest.TestCase):
    def test_a_seed_draws_the_same_again_and_another_seed_another(self):
        found = {"a.cpp": changes(SOURCE), "b.cpp": changes(SOURCE)}
        self.assertEqual(sample(found, 10, 1), sample(found, 10, 1))
        self.assertNotEqual(sample(found, 10, 1), sample(found, 10, 2))

    def test_each_file_and_each_kind_has_its_share(self):
        found = {"a.cpp": changes(SOURCE), "b.cpp": changes(SOURCE) * 3}
        chosen = sample(found, 40, 1)
        self.assertEqual((len(chosen["a.cpp"]), len(chosen["b.cpp"])), (10, 30))
        self.assertEqual({c.kind for c in chosen["a.cpp"]}, {kind for _, kind, _ in EXPECTED})


class Project(unittest.TestCase):
    def test_every_source_has_tests_and_every_test_program_is_there(self):
        said = " ".join(f.read_text() for f in (PROJECT / "tests").rglob("CMakeLists.txt"))
        words = set(re.findall(r"\w+", said))
        for file in sources():
            self.assertTrue(tests_of(file), file)
        for run in {run for of_folder in TESTS.values() for run in of_folder}:
            # Its name ends with the way to compile it.
            name = run.program.replace("bigdigits_wipe_O2", "bigdigits_wipe_")
            self.assertTrue({name, name + "_test"} & words, name)


if __name__ == "__main__":
    unittest.main()
