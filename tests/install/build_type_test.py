#!/usr/bin/env python3
"""Checks that a build without a build type is optimised, and that other architectures are refused."""

import re

from setting import InstallTest, clean_environment, main, setting


class BuildType(InstallTest):
    def configure(self, source, name, *options, ok=True):
        return self.run_program(setting.cmake, "-S", source, "-B", self.scratch / name, "-G", "Ninja",
                                f"-DCMAKE_C_COMPILER={setting.cc}", f"-DCMAKE_CXX_COMPILER={setting.cxx}",
                                "-DVRX_BUILD_TESTS=OFF", "-DVRX_BUILD_APP=OFF", *options, ok=ok,
                                env=clean_environment(CFLAGS="", CXXFLAGS=""))

    def levels(self, name, target="all"):
        """Map each source, by the last two parts of its path, to the last option -O of its command, or to nothing."""
        commands = self.run_program("ninja", "-C", self.scratch / name, "-t", "commands", target).splitlines()
        found = {}
        for command in commands:
            if source := re.search(r" -c \S*?([^/ ]+/[^/ ]+)$", command):
                found[source[1]] = (re.findall(r" (-O\S*)", command) or [""])[-1]
        return found

    def test_none_given_is_release(self):
        self.configure(setting.source, "none")
        levels = self.levels("none")
        self.assertEqual(levels["ecc/sign.cpp"], "-O3")
        self.assertEqual(set(levels.values()), {"-O3"})
        self.assertIn("CMAKE_BUILD_TYPE:STRING=Release", (self.scratch / "none" / "CMakeCache.txt").read_text())

    def test_the_one_given_is_kept(self):
        self.configure(setting.source, "given", "-DCMAKE_BUILD_TYPE=MinSizeRel")
        self.assertEqual(self.levels("given")["ecc/sign.cpp"], "-Os")

    def test_a_subproject_is_optimised_and_leaves_its_parent_alone(self):
        parent = self.scratch / "parent"
        parent.mkdir()
        (parent / "main.c").write_text("int main(void) { return 0; }\n")
        (parent / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(parent LANGUAGES C CXX)\n"
            f'add_subdirectory("{setting.source}" vrx)\nadd_executable(main main.c)\n'
            "target_link_libraries(main PRIVATE vrx::vrx)\n")
        self.configure(parent, "sub")
        levels = self.levels("sub")
        self.assertEqual(levels["ecc/sign.cpp"], "-O3")
        self.assertEqual(levels["parent/main.c"], "")

    def test_another_architecture_is_refused(self):
        said = self.configure(setting.source, "other", "-DCMAKE_SYSTEM_NAME=Linux", "-DCMAKE_SYSTEM_PROCESSOR=aarch64",
                              ok=False)
        self.assertIn("libvrx needs an x86-64 CPU", said)


if __name__ == "__main__":
    main()
