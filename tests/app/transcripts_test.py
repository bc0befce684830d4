"""Runs the commands of every *.transcript file in order, and compares their output with the lines after each command.

A line that begins with '## ' names a test, which runs in a new folder where the file 'key' holds the bytes 0 to 31.
Lines that begin with '# ' are comments. bash runs the command in a line '$ COMMAND'. The lines after it are its
standard output and standard error, interleaved, and '[CODE]' if the exit code is not 0. Blank lines are ignored. With
the argument --update, the script regenerates the files from the actual output; review the diff before you commit it.
"""

import os
import pathlib
import subprocess
import sys
import unittest

from program import PROGRAM, ProgramTest

FOLDER = pathlib.Path(__file__).resolve().parent


def parts(text):
    """Return the tests of a transcript. Each has a title, and commands with their expected output."""
    tests = []
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith("## "):
            tests.append((line[3:], []))
        elif line.startswith("# ") or not line:
            continue
        elif line.startswith("$ "):
            tests[-1][1].append((number, line[2:], []))
        else:
            tests[-1][1][-1][2].append(line)
    return tests


class Transcripts(ProgramTest):
    def output(self, command):
        environment = {**os.environ, "PATH": os.path.dirname(PROGRAM) + ":" + os.environ["PATH"], "LC_ALL": "C.UTF-8"}
        done = subprocess.run(["bash", "-c", "umask 022; " + command], cwd=self.folder, env=environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        lines = done.stdout.decode(errors="backslashreplace").splitlines()
        return lines + ([f"[{done.returncode}]"] if done.returncode else [])

    def test_every_transcript(self):
        files = sorted(FOLDER.rglob("*.transcript"))
        self.assertGreater(len(files), 1)
        for file in files:
            tests = parts(file.read_text(encoding="utf-8"))
            self.assertTrue(tests, file)
            for title, commands in tests:
                self.setUp()
                self.assertTrue(commands, f"{file.name}: {title}")
                for number, command, expected in commands:
                    with self.subTest(f"{file.relative_to(FOLDER)}:{number}: {title}"):
                        self.assertEqual([line for line in self.output(command) if line], expected, command)
                self.doCleanups()


def update():
    test = Transcripts()
    for file in sorted(FOLDER.rglob("*.transcript")):
        result = []
        for line in file.read_text(encoding="utf-8").splitlines():
            if line.startswith("## "):
                test.doCleanups()
                test.setUp()
            if line.startswith("$ "):
                result += [line, *(out for out in test.output(line[2:]) if out)]
            elif not line or line.startswith("#"):
                result.append(line)
        test.doCleanups()
        file.write_text("\n".join(result) + "\n", encoding="utf-8")


if __name__ == "__main__":
    if sys.argv[1:] == ["--update"]:
        update()
    else:
        unittest.main()
