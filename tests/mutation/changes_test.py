#!/usr/bin/env python3
"""Tests of the mutations that ./dev mutate makes."""
import os
import re
import resource
import subprocess
import tempfile
import unittest
from pathlib import Path

from changes import changes
from mutate import entry_of, explained, sample
from switches import HEADER, lines_of, switched
from tests_of import PROJECT, SCOPES, TESTS, runs, sources, tests_of
from workshop import MARK_COUNT, SAME_CODE, Program, Workshop

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
    for (int i = 2; i-- != 0b101;) f();
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
    (16, "constant", "2 -> 3"),
    (16, "constant", "2 -> 1"),
    (16, "statement", "i-- != 0b101; removed"),
    (16, "comparison", "!= -> =="),
    (16, "constant", "0b101 -> 0x7"),
    (16, "statement", "f(); removed"),
    (18, "constant", "0 -> 1"),
    (18, "comparison", "== -> !="),
    (18, "constant", "3 -> 4"),
    (18, "constant", "3 -> 2"),
    (18, "operator", "- -> +"),
    (18, "constant", "1 -> 2"),
    (18, "constant", "1 -> 0"),
    (18, "constant", "true -> false"),
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


class Switches(unittest.TestCase):
    SOURCE = """#include <cstdio>
        #include <cstdlib>
        int twice(int x) { return 2 * x; }
        int main() {
            int sum = 1;
            for (int i = 3; i-- != 0;) {
                if (!(sum > 60) && i < 4) sum += twice(i);
                sum = sum << 2u;
            }
            std::printf("%d", sum);
        }
        """

    def outputs(self, folder, source, numbers):
        place = Path(folder, "a.cpp")
        place.write_text(source)
        subprocess.run([os.environ.get("VRX_COMPILER", "c++"), "-std=c++20", place, "-o", place.with_suffix("")],
                       check=True)
        results = []
        for number in numbers:
            try:
                done = subprocess.run([place.with_suffix("")], capture_output=True, text=True, check=True, timeout=5,
                                      preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CPU, (1, 1)),
                                      env={**os.environ, "VRX_MUTANT": str(number)})
                results.append(done.stdout)
            except subprocess.CalledProcessError:
                results.append("does not end")
        return results

    def test_a_switched_change_has_the_effect_of_the_change(self):
        numbered = dict(enumerate(changes(self.SOURCE), 1))
        text, done = switched(self.SOURCE, numbered, HEADER)
        # Changes of the order of evaluation, and changes between the parentheses of a loop, are tested one by one.
        self.assertEqual({str(numbered[number]) for number in numbered.keys() - done},
                         {"&& -> ||", "i-- != 0; removed"})
        with tempfile.TemporaryDirectory() as folder:
            together = dict(zip([0, *done], self.outputs(folder, text, [0, *done])))
            self.assertEqual(self.outputs(folder, self.SOURCE, [0]), [together[0]])
            for number in done:
                alone = self.outputs(folder, numbered[number].applied(self.SOURCE), [0])
                self.assertEqual(alone, [together[number]], numbered[number])
        self.assertGreater(len(set(together.values())), 12)

    def test_a_run_marks_the_changes_whose_code_it_reaches(self):
        source = self.SOURCE.replace("int twice(", "int never(int x) { return x + 1; }\n        int twice(")
        numbered = dict(enumerate(changes(source), 1))
        text, done = switched(source, numbered, HEADER)
        never = {number for number in done if numbered[number].line(source) == 3}
        self.assertEqual(len(never), 3)
        with tempfile.TemporaryDirectory() as folder:
            marks = Path(folder, "reached")
            marks.write_bytes(bytes(MARK_COUNT))
            self.outputs(folder, text, [])
            subprocess.run([Path(folder, "a")], check=True, stdout=subprocess.DEVNULL,
                           env={**os.environ, "VRX_REACHED": str(marks)})
            self.assertEqual({number for number, mark in enumerate(marks.read_bytes()) if mark}, done - never)

    def test_places_of_errors_are_those_of_syntax_errors_first(self):
        messages = ("In file included from t.cpp:1:\n/x/a.hpp:3:4: error: expected ';'\n/x/a.hpp:9:1: error: no 'f'\n"
                    "/x/b.hpp:7:1: error: no 'g'\n")
        self.assertEqual(lines_of(messages, ["a.hpp", "b.hpp"]), {("a.hpp", 3)})
        self.assertEqual(lines_of(messages, ["b.hpp"]), {("b.hpp", 7)})


class FakeWorkshop(Workshop):
    """Compiles nothing: "line 3" is an error while it is rewritten, and a run fails for some changes."""

    def __init__(self, place, detected, unreached=(), same=()):
        super().__init__(Path(place), False)
        self.tree, self.detected, self.unreached, self.same = Path(place), detected, unreached, same
        self.compiled = 0

    def in_order(self, file):
        return runs("first", "second")

    def measure(self, run, changed=False):
        self.reached[run] = set(range(100)) - set(self.unreached)
        return 0.1, 0.1

    def compile_changed(self, run):
        self.compiled += 1
        bad = "vrx_mutant" in (self.tree / "a.cpp").read_text().splitlines()[2 + 2]  # after two added lines
        return f"{self.tree}/a.cpp:3:5: error: expected a change" if bad else ""

    def digest(self, run):
        return run.program if run.program in self.same else (self.tree / "a.cpp").read_text()

    def fails(self, run, changed, cpu_seconds, seconds, number=0):
        return "exit code 1" if self.detected.get(number) == run.program else ""


class Together(unittest.TestCase):
    SOURCE = "int f(int a) {\n    if (a < 1) return 1;\n    a += 2;\n    return a && a != 3;\n}\n"

    def test_caught_changes_are_reported_and_the_source_is_restored(self):
        found = changes(self.SOURCE)
        number_of = {(change.line(self.SOURCE), str(change)): number for number, change in enumerate(found, 1)}
        detected = {number_of[2, "< -> <="]: "second", number_of[4, "!= -> =="]: "first",
                    number_of[3, "2 -> 3"]: "first", number_of[4, "&& -> ||"]: "first"}
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "a.cpp").write_text(self.SOURCE)
            shop = FakeWorkshop(folder, detected)
            caught = [(change.line(self.SOURCE), str(change), str(run))
                      for _, change, run in shop.judge_together([("a.cpp", change) for change in found]) if run]
            self.assertEqual(Path(folder, "a.cpp").read_text(), self.SOURCE)
        # Not the changes on line 3, which did not compile, nor the change that cannot be switched.
        self.assertEqual(caught, [(2, "< -> <=", "second"), (4, "!= -> ==", "first")])
        self.assertEqual(shop.compiled, 3)  # the first program twice

    def test_a_change_is_not_switched_on_in_a_run_that_does_not_reach_it(self):
        found = changes(self.SOURCE)
        number = [str(change) for change in found].index("< -> <=") + 1
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "a.cpp").write_text(self.SOURCE)
            for unreached, caught in ((), [number]), ([number], []):
                shop = FakeWorkshop(folder, {number: "first"}, unreached)
                judged = {found.index(change) + 1: run
                          for _, change, run in shop.judge_together([("a.cpp", change) for change in found])}
                self.assertEqual([number for number, run in judged.items() if run], caught)
                self.assertEqual(number in judged, not unreached)
                self.assertIn(None, judged.values())

    def test_a_change_that_leaves_every_program_the_same_is_no_survivor(self):
        change = changes(self.SOURCE)[-1]
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "a.cpp").write_text(self.SOURCE)
            for same, verdict in ([], "survived"), (["first"], "survived"), (["first", "second"], SAME_CODE):
                self.assertEqual(FakeWorkshop(folder, {}, same=same).judge("a.cpp", change), verdict)


class Objects(unittest.TestCase):
    def test_of_an_archive_a_program_has_what_its_symbols_need(self):
        symbols = {"test.o": (["main"], ["f"]), "f.o": (["f"], ["g", "memset"]), "g.o": (["g"], []),
                   "other.o": (["h"], ["g"]), "second.o": (["g"], [])}
        program = Program(["c++", "-O1", "test.o", "-o", "the_test", "a.a", "b.a", "/lib/gtest.a"],
                          {"a.a": ["f.o", "other.o"], "b.a": ["g.o", "second.o"]}.get, symbols.get)
        self.assertEqual(program.objects, ["test.o", "f.o", "g.o"])
        self.assertEqual(program.command, ["c++", "-O1", "test.o", "f.o", "g.o", "-o", "the_test.changed",
                                           "/lib/gtest.a"])


class Project(unittest.TestCase):
    def test_every_source_has_tests_and_every_program_exists(self):
        said = " ".join(f.read_text() for f in (PROJECT / "tests").rglob("CMakeLists.txt"))
        words = set(re.findall(r"\w+", said.replace("cxx_${name}", "cxx_answers cxx_objects cxx_wrappers")))
        for scope in SCOPES:
            self.assertTrue(any(file.startswith(scope + "/") for file in sources()), scope)
        for file in sources():
            self.assertTrue(tests_of(file), file)
        for run in {run for of_folder in TESTS.values() for run in of_folder}:
            if run.is_script:
                self.assertTrue((PROJECT / run.program).is_file(), run)
                continue
            # The name ends with the optimisation level.
            name = run.program.replace("bigdigits_wipe_O2", "bigdigits_wipe_")
            self.assertTrue({name, name + "_test"} & words, name)

    def test_every_row_of_the_table_is_a_folder_or_begins_the_name_of_a_file(self):
        files = sources()
        for row in TESTS:
            self.assertTrue(any(file.startswith(row) for file in files), row)

    def test_every_explained_change_is_one_that_can_be_made(self):
        entries = explained()
        for file in {file for file, _, _ in entries}:
            source = (PROJECT / file).read_text()
            possible = {entry_of(file, source, change) for change in changes(source)}
            self.assertEqual({entry for entry in entries if entry[0] == file} - possible, set())


if __name__ == "__main__":
    unittest.main()
