#!/usr/bin/env python3
"""Runs the commands of all console blocks and compares their output with the page.

Usage: commands_test.py PROJECT PROGRAM

A test in tests/app covers the manual, docs/vrx.md. Pages that use OpenSSL's GOST engine are skipped if it is not
installed.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from pages import PAGES, PROJECT, blocks, commands, name_of, text_of

PROGRAM = Path(sys.argv[2])


def has_engine():
    if not shutil.which("openssl"):
        return False
    return subprocess.run(["openssl", "engine", "gost"], capture_output=True, check=False).returncode == 0


class Commands(unittest.TestCase):
    def test_console_blocks_print_what_the_page_shows(self):
        pages = [page for page in PAGES if page.name != "vrx.md" and commands(text_of(page))]
        self.assertGreater(len(pages), 1)
        environment = {**os.environ, "PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"}
        for page in pages:
            with self.subTest(name_of(page)):
                if any("-engine gost" in command for command, _ in commands(text_of(page))) and not has_engine():
                    self.skipTest("OpenSSL's GOST engine is not installed")
                folder = Path(tempfile.mkdtemp(prefix="vrx-docs-"))
                self.addCleanup(shutil.rmtree, folder)
                for command, expected in commands(text_of(page)):
                    done = subprocess.run(["bash", "-c", "set -o pipefail; umask 022; " + command], cwd=folder,
                                          env=environment, text=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                          stderr=subprocess.STDOUT, check=False)
                    said = re.sub(r'^Engine "gost" set\.\n', "", done.stdout, flags=re.M)
                    self.assertEqual(said, expected, f"{name_of(page)}: {command}")

    def test_dev_commands_in_the_text_exist(self):
        done = subprocess.run([PROJECT / "dev", "help"], capture_output=True, text=True, check=True)
        known = set(re.findall(r"^  (\w[\w-]*)", done.stdout, re.M))
        self.assertIn("build", known)
        for page in PAGES:
            for used in re.findall(r"\./dev ([a-z][\w-]*)", text_of(page)):
                self.assertIn(used, known, name_of(page))

    def test_commands_and_options_in_the_text_exist(self):
        """Checks every `vrx COMMAND --option` in the text."""
        helps = {}
        for page in PAGES:
            for command, rest in re.findall(r"`vrx ((?:cms )?[a-z]\w*)\b([^`]*)`", text_of(page)):
                if command not in helps:
                    done = subprocess.run([PROGRAM, "help", *command.split()], capture_output=True, text=True,
                                          check=False)
                    self.assertEqual(done.returncode, 0, f"{name_of(page)}: vrx {command}")
                    helps[command] = done.stdout
                for option in re.findall(r"(?<!\S)--[a-z][\w-]*", rest):
                    self.assertIn(option, helps[command], f"{name_of(page)}: vrx {command}{rest}")

    def test_readme_table_equals_help_start(self):
        table = re.search(r"<!-- start -->\n.*?\n.*?\n(.*?)<!-- end -->", text_of(PROJECT / "README.md"), re.S)[1]
        rows = re.findall(r"^\| (.*?) \| (.*) \|$", table, re.M)
        self.assertGreater(len(rows), 15)
        told = subprocess.run([PROGRAM, "help", "start"], capture_output=True, text=True, check=True).stdout
        entries = dict(re.findall(r"^(\S.*)\n((?: {4}.*\n)+)", told, re.M))
        self.assertEqual(list(entries), [have.replace("`", "") for have, _ in rows])
        for have, answer in rows:
            entry = entries[have.replace("`", "")]
            for command in re.findall(r"`((?:vrx|openssl) [^`]*)`", answer):
                self.assertIn(command, entry)
            self.assertEqual("not supported" in answer, "not supported" in entry, have)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
