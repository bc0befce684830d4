"""Runs every example in docs/vrx.md in order, and compares its output with the manual."""

import os
import re
import subprocess

from program import PROGRAM, ProgramTest, main

MANUAL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "docs", "vrx.md")


class Manual(ProgramTest):
    def test_examples(self):
        os.remove(self.path("key"))
        with open(MANUAL, encoding="utf-8") as file:
            blocks = re.findall(r"^```console\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)
        self.assertGreater(len(blocks), 5)
        environment = {**os.environ, "PATH": os.path.dirname(PROGRAM) + ":" + os.environ["PATH"]}
        for command, expected in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", "".join(blocks), re.MULTILINE):
            done = subprocess.run(["bash", "-c", "umask 022; " + command], cwd=self.folder, env=environment, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            self.assertEqual(done.stdout, expected, command)


if __name__ == "__main__":
    main()
