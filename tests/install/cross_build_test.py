#!/usr/bin/env python3
"""Checks that a cross-build runs only compilers and linker tools: no program that it built, and no network access."""

import re

from setting import InstallTest, clean_environment, main, setting


class CrossBuild(InstallTest):
    def commands(self, *options):
        """Return the commands of a complete build with Ninja."""
        folder = self.scratch / "build"
        self.run_program(setting.cmake, "-S", setting.source, "-B", folder, "-G", "Ninja", "-DVRX_STATIC=ON",
                         f"-DCMAKE_C_COMPILER={setting.cc}", f"-DCMAKE_CXX_COMPILER={setting.cxx}",
                         "-DCMAKE_SYSTEM_NAME=Linux", "-DCMAKE_SYSTEM_PROCESSOR=x86_64", *options,
                         env=clean_environment())
        return [re.sub(r"^: && | && :$", "", line) for line in
                self.run_program("ninja", "-C", folder, "-t", "commands", "all").splitlines()
                if " " in line and not line.startswith("ninja: ")]

    def test_only_compilers_and_linker_tools_run(self):
        commands = self.commands("-DVRX_BUILD_TESTS=OFF", "-DVRX_BUILD_APP=ON")
        self.assertGreater(len(commands), 30)
        for command in commands:
            for part in command.split(" && "):
                self.assertRegex(part, rf"^({re.escape(setting.cc)}|{re.escape(setting.cxx)}"
                                 r"|\S*/(gcc-|llvm-)?(ar|ranlib)(-\d+)?"
                                 rf"|{re.escape(setting.cmake)} -E (rm|cmake_symlink_library)) ")


if __name__ == "__main__":
    main()
