#!/usr/bin/env python3
"""Tests cmake --install into a scratch prefix, and builds programs against it."""

import re
import shutil
from pathlib import Path

from setting import InstallTest, clean_environment, main, setting

HERE = Path(__file__).resolve().parent


class Prefix(InstallTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.prefix = cls.scratch / "prefix"
        cls.install(cls(), cls.prefix)
        # Some of the examples, with the arguments of their tests.
        folder = Path(setting.source) / "examples"
        cls.arguments = {"first": [], "mac": ["mac.key", "mac.message"], "first_in_cxx": []}
        cls.examples = [next(path for path in folder.glob(f"{name}.c*")) for name in cls.arguments]
        assert {path.suffix for path in cls.examples} == {".c", ".cpp"}

    def install(self, prefix, *options):
        self.run_program(setting.cmake, "--install", setting.build, "--prefix", prefix, *options,
                         env=clean_environment())

    def libraries(self, prefix):
        return next(Path(prefix).glob("**/libvrx.so.1")).parent

    def says_what_is_expected(self, program, **environment):
        folder = Path(setting.source) / "examples"
        printed = self.run_program(program, *self.arguments[program.name], cwd=folder,
                                   env=clean_environment(**environment))
        self.assertEqual(printed, (folder / f"{program.name}.expected").read_text(encoding="utf-8"), program)

    def build_with_cmake(self, prefix, folder, *options):
        folder = self.scratch / folder
        sources = ";".join(map(str, self.examples))
        self.run_program(setting.cmake, "-S", HERE / "consumer", "-B", folder, "-G", setting.generator,
                         f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_C_COMPILER={setting.cc}",
                         f"-DCMAKE_CXX_COMPILER={setting.cxx}", f"-DSOURCES={sources}", *options,
                         env=clean_environment())
        self.run_program(setting.cmake, "--build", folder, env=clean_environment())
        return [folder / source.stem for source in self.examples]

    def test_all_files_are_installed(self):
        files = self.files(self.prefix)
        headers = sorted(str(path.relative_to(setting.source))
                         for path in (Path(setting.source) / "include").rglob("*.h*"))
        self.assertEqual([name for name in files if name.startswith("include/")], headers)
        libraries = self.libraries(self.prefix).relative_to(self.prefix)
        for name in ("bin/vrx", f"{libraries}/libvrx.a", f"{libraries}/libvrx.so", f"{libraries}/libvrx.so.1",
                     f"{libraries}/libvrx.so.{setting.version}", f"{libraries}/libvrx-keyfile.so.1",
                     f"{libraries}/pkgconfig/vrx.pc",
                     f"{libraries}/pkgconfig/vrx-cxx.pc",
                     f"{libraries}/cmake/vrx/vrx-config.cmake", f"{libraries}/cmake/vrx/vrx-config-version.cmake"):
            self.assertIn(name, files)
        manual = sorted(path.name for path in Path(setting.source).glob("man/*.[135]"))
        self.assertEqual(sorted(Path(name).name for name in files if name.startswith("share/man/")), manual)
        completions = [path for path in Path(setting.source).glob("app/completion/*")
                       if path.name[0] == "_" or path.suffix == ".bash"]
        installed = [name for name in files if "completion" in name or "site-functions" in name]
        self.assertEqual(len(installed), len(completions))

    def test_links_of_installed_documents_lead_to_installed_files(self):
        folder = self.prefix / "share/doc/libvrx-dev"
        seen = 0
        for page in folder.rglob("*.md"):
            text = re.sub(r"```.*?```|`[^`\n]*`", "", page.read_text(encoding="utf-8"), flags=re.S)
            for target in re.findall(r"\]\(([^)#\s]+)", text):
                if not re.match(r"https?:", target):
                    self.assertTrue((page.parent / target).exists(), f"{page.relative_to(folder)}: {target}")
                    seen += 1
        self.assertGreater(seen, 60)

    def test_installed_examples_are_complete(self):
        folder = Path(setting.source) / "examples"
        names = {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}
        names -= {name for name in names if name.endswith(("CMakeLists.txt", ".clang-format", "expect.py", ".pyc"))}
        self.assertEqual(set(self.files(self.prefix / "share/doc/libvrx-dev/examples")), names)
        self.assertIn("first.c", names)

    def test_installed_service_is_built_by_the_lines_of_its_guide(self):
        documents = self.prefix / "share/doc/libvrx-dev"
        folder = self.scratch / "service"
        shutil.copytree(documents / "examples/service", folder)
        guide = (documents / "docs/guides/write-a-service.md").read_text(encoding="utf-8")
        lines = re.search(r"```sh\n(.*?)```", guide, re.S)[1].splitlines()
        libraries = self.libraries(self.prefix)
        environment = clean_environment(PKG_CONFIG_PATH=str(libraries / "pkgconfig"), LD_LIBRARY_PATH=str(libraries))
        for line in lines:
            self.run_program("bash", "-c", line, cwd=folder, env=environment)
        self.assertEqual(len(lines), 2)
        for program in ("service-c", "service-cxx"):
            said = self.run_program(folder / program, cwd=folder, env=environment, input="hash service.c digest\n")
            self.assertEqual(said, "1 success\n")

    def test_paths_in_help_and_manual_pages_exist(self):
        texts = [self.run_program(self.prefix / "bin/vrx", "help", *topic, env=clean_environment())
                 for topic in ([], ["start"], ["byte-orders"])]
        texts += [path.read_text(encoding="utf-8").replace("\\-", "-") for path in Path(setting.source).glob("man/*")]
        paths = {path.rstrip(".") for text in texts for path in re.findall(r"/usr/(share/doc[\w./-]+)", text)}
        self.assertGreaterEqual(len(paths), 4)
        for path in paths:
            self.assertTrue((self.prefix / path).exists(), path)

    def test_no_file_contains_a_build_path(self):
        for name in self.files(self.prefix):
            if name.endswith((".cmake", ".pc", ".h", ".hpp")):
                text = (self.prefix / name).read_text(encoding="utf-8")
                self.assertNotIn(setting.build, text, name)
                self.assertNotIn(str(setting.source), text, name)

    def test_program_finds_its_library(self):
        self.assertIn(f"vrx {setting.version}",
                      self.run_program(self.prefix / "bin/vrx", "version", env=clean_environment()))

    def test_find_package_finds_the_library(self):
        for program in self.build_with_cmake(self.prefix, "shared"):
            self.says_what_is_expected(program)
            self.assertIn("libvrx.so.1", self.run_program("readelf", "-d", program))

    def test_find_package_finds_the_static_library(self):
        for program in self.build_with_cmake(self.prefix, "static", "-DSTATIC=ON"):
            self.says_what_is_expected(program)
            self.assertNotIn("libvrx.so", self.run_program("readelf", "-d", program))

    def test_find_package_refuses_another_major_version(self):
        folder = self.scratch / "version"
        folder.mkdir()
        for version, found in (("1", True), (setting.version, True), ("1.999", False), ("2", False), ("0.9", False)):
            (folder / "CMakeLists.txt").write_text(
                "cmake_minimum_required(VERSION 3.25)\nproject(version LANGUAGES C)\n"
                f"find_package(vrx {version} REQUIRED)\n", encoding="utf-8")
            self.run_program(setting.cmake, "-S", folder, "-B", folder / "build", f"-DCMAKE_PREFIX_PATH={self.prefix}",
                             f"-DCMAKE_C_COMPILER={setting.cc}", ok=found, env=clean_environment())

    def test_pkg_config_finds_the_library(self):
        libraries = self.libraries(self.prefix)
        environment = clean_environment(PKG_CONFIG_PATH=str(libraries / "pkgconfig"))
        self.assertEqual(self.run_program("pkg-config", "--modversion", "vrx", env=environment).strip(),
                         setting.version)
        for source in self.examples:
            program = self.scratch / source.stem
            compiler, module = ([setting.cc, "-std=c11"],
                                "vrx") if source.suffix == ".c" else ([setting.cxx], "vrx-cxx")
            flags = self.run_program("pkg-config", "--cflags", "--libs", module, env=environment).split()
            self.run_program(*compiler, source, "-o", program, *flags, env=clean_environment())
            self.says_what_is_expected(program, LD_LIBRARY_PATH=str(libraries))

    def test_installed_tree_can_be_moved(self):
        here, there = self.scratch / "here", self.scratch / "there"
        self.install(here)
        shutil.move(here, there)
        self.run_program(there / "bin/vrx", "version", env=clean_environment())
        environment = clean_environment(PKG_CONFIG_PATH=str(self.libraries(there) / "pkgconfig"))
        flags = self.run_program("pkg-config", "--cflags", "--libs", "vrx", env=environment).split()
        self.run_program(setting.cc, self.examples[0], "-o", self.scratch / "moved", *flags, env=clean_environment())

    def test_library_component_installs_only_the_library(self):
        alone = self.scratch / "alone"
        self.install(alone, "--component", "library")
        self.assertEqual([Path(name).name for name in self.files(alone)],
                         ["libvrx-keyfile.so.1", f"libvrx-keyfile.so.{setting.version}", "libvrx.so.1",
                          f"libvrx.so.{setting.version}", "copyright"])


if __name__ == "__main__":
    main()
