"""Common parts of the installation tests: command line arguments and a scratch folder."""

import argparse
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

setting = argparse.Namespace()


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = Path(tempfile.mkdtemp(prefix="vrx-install-"))
        cls.addClassCleanup(shutil.rmtree, cls.scratch)

    def run_program(self, *command, ok=True, **options):
        """Run a program and return its output. Checks that it succeeds, or fails if `ok` is false."""
        run = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                             encoding="utf-8", check=False, **options)
        self.assertEqual(run.returncode == 0, ok, f"{command}\n{run.stdout}")
        return run.stdout

    def files(self, root):
        """Return the sorted relative names of all files below a folder."""
        return sorted(str(path.relative_to(root)) for path in Path(root).rglob("*")
                      if path.is_symlink() or not path.is_dir())


def clean_environment(**more):
    """Return the environment without search paths for compilers, linkers and CMake."""
    misleading = ("CPATH", "LIBRARY_PATH", "LD_LIBRARY_PATH", "PKG_CONFIG_PATH", "CMAKE_PREFIX_PATH", "DESTDIR",
                  "CMAKE_C_COMPILER_LAUNCHER", "CMAKE_CXX_COMPILER_LAUNCHER")
    return {name: value for name, value in os.environ.items() if name not in misleading} | more


def main(**more):
    """Run the tests of a file. `more` adds arguments with defaults."""
    parser = argparse.ArgumentParser()
    for name in ("source", "build", "cmake", "generator", "cc", "cxx", "version"):
        parser.add_argument(f"--{name}")
    for name, default in more.items():
        parser.add_argument(f"--{name}", default=default)
    parser.parse_args(namespace=setting)
    unittest.main(module="__main__", argv=[__file__], verbosity=2)
