#!/usr/bin/env python3
"""Checks that every listing equals its file in examples/, and runs its build line.

Usage: listings_test.py PROJECT LIBRARY

LIBRARY is the built shared library. The build lines are run with a pkg-config file that points to it.
"""
import concurrent.futures
import doctest
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from pages import PAGES, PROJECT, blocks, name_of, text_of

LIBRARY = Path(sys.argv[2])
EXAMPLES = PROJECT / "examples"


def listings():
    """Yield (page, file name, listing, text after it) for each listing of a program."""
    for page in PAGES:
        for _, listing, before, after in blocks(text_of(page), "c", "cpp"):
            name = re.search(r"`([\w./-]+)`$", before)
            yield page, name and name[1], listing, after


class Listings(unittest.TestCase):
    def test_each_listing_has_a_file_name_and_its_contents(self):
        seen = 0
        for page, name, listing, _ in listings():
            self.assertIsNotNone(name, f"{name_of(page)}: a listing without a file name above it")
            file = next((path for path in EXAMPLES.rglob(name) if path.is_file()), None)
            self.assertIsNotNone(file, f"{name_of(page)}: {name} is not in examples/")
            self.assertEqual(listing, file.read_text(encoding="utf-8"), f"{name_of(page)}: {name}")
            seen += 1
        self.assertGreater(seen, 15)

    def test_quoted_output_equals_the_output_of_the_program(self):
        """Checks that a text block after the build line of a listing is the expected output."""
        expected = {path.read_text(encoding="utf-8") for path in EXAMPLES.rglob("*.expected")}
        for page in PAGES:
            if page.parent.name == "guides" or page.name == "README.md":
                for _, text, before, _ in blocks(text_of(page), "text"):
                    if re.search(r"prints[^\n]*$", before):
                        self.assertIn(text, expected, name_of(page))

    def build_line(self, page, name, after):
        line = re.match(r"[^`\n]*\n*```sh\n((?:\./dev build\n)?)(.*)\n(?:.*\n)*?```", after)
        self.assertIsNotNone(line, f"{name_of(page)}: {name} has no build line")
        self.assertIn(name, line[2], name_of(page))
        return line[2]

    def test_build_lines_work(self):
        """Runs one build line of each form. Lines that differ only in the program's name have the same form."""
        scratch = Path(tempfile.mkdtemp(prefix="vrx-docs-"))
        self.addCleanup(shutil.rmtree, scratch)
        folder = LIBRARY.parent
        (scratch / "vrx.pc").write_text(f"Name: vrx\nDescription: built\nVersion: 1\nCflags: -I{PROJECT}/include\n"
                                        f"Libs: -L{folder} -lvrx -Wl,-rpath,{folder}\n", encoding="utf-8")
        for path in [*EXAMPLES.glob("*.c*"), *EXAMPLES.glob("move/*.c")]:
            shutil.copy(path, scratch)
        (scratch / "include").symlink_to(PROJECT / "include")
        (scratch / "examples").symlink_to(EXAMPLES)
        (scratch / "build/release").mkdir(parents=True)
        (scratch / "build/release/src").symlink_to(folder)
        environment = {**os.environ, "PKG_CONFIG_PATH": f"{scratch}:{os.environ.get('PKG_CONFIG_PATH', '')}"}

        def build(line):
            return line, subprocess.run(["bash", "-c", line], cwd=scratch, env=environment, text=True, check=False,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

        lines = {}
        for page, name, _, after in listings():
            line = self.build_line(page, name, after)
            lines[re.sub(rf"\b{Path(name).stem}\b", "NAME", line)] = line
        lines = {line for line in lines.values()
                 if not re.search(r"--libs (\w+)\)", line) or self.installed(line, environment)}
        self.assertGreater(len(lines), 4)
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for line, done in pool.map(build, sorted(lines)):
                self.assertEqual(done.returncode, 0, f"{line}\n{done.stdout}")

    @staticmethod
    def installed(line, environment):
        modules = re.search(r"--libs ([\w +-]+)\)", line)[1].split()
        return subprocess.run(["pkg-config", "--exists", *modules], env=environment, check=False).returncode == 0

    def test_python_sessions_give_the_shown_results(self):
        os.environ["VRX_LIBRARY"] = str(LIBRARY)
        sys.path.insert(0, str(PROJECT / "python/src"))
        for name, least in (("README.md", 3), ("docs/guides/from-python.md", 30)):
            results = doctest.testfile(str(PROJECT / name), module_relative=False)
            self.assertEqual(results.failed, 0, name)
            self.assertGreaterEqual(results.attempted, least, name)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
