#!/usr/bin/env python3
"""Tests the Debian packages: dependencies, contents, installation, use and removal.

The packages are made from the build folder, unless --packages names a folder with packages.
"""

import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from setting import InstallTest, clean_environment, main, setting

PACKAGES = ("libvrx1", "libvrx-dev", "python3-vrx", "vrx")


def as_root():
    """Return the prefix for commands that need root, or None if they cannot be run."""
    if os.geteuid() == 0:
        return []
    prefix = ["unshare", "--user", "--map-root-user"]
    return prefix if subprocess.run([*prefix, "true"], check=False, capture_output=True).returncode == 0 else None


@unittest.skipUnless(shutil.which("dpkg-shlibdeps") and shutil.which("cpack"),
                     "this is not Debian, or dpkg-dev is missing")
class Debian(InstallTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.folder = Path(setting.packages or cls.scratch / "packages").resolve()
        if not setting.packages:
            cls().run_program("cpack", "--config", Path(setting.build) / "CPackConfig.cmake", "-B", cls.folder,
                              cwd=cls.scratch, env=clean_environment())
        cls.paths = {name: next(cls.folder.glob(f"{name}_*.deb")) for name in PACKAGES}

    def field(self, package, name):
        return self.run_program("dpkg-deb", "--field", self.paths[package], name).strip()

    def unpacked(self, package):
        root = self.scratch / f"unpacked-{package}"
        self.run_program("dpkg-deb", "--extract", self.paths[package], root)
        return root, self.files(root)

    def depends(self, package):
        """Return the dependencies of a package, each with its version constraint."""
        found = re.findall(r"([^\s,(]+)(?: \(([^)]*)\))?", self.field(package, "Depends"))
        return dict(found)

    def test_exactly_these_packages_exist(self):
        self.assertEqual(sorted(path.name.split("_")[0] for path in self.folder.glob("*.deb")), sorted(PACKAGES))
        for name in PACKAGES:
            self.assertEqual(self.field(name, "Version"), setting.version)
            self.assertIn("\n", self.field(name, "Description"))

    def test_library_depends_only_on_the_c_library(self):
        self.assertEqual(list(self.depends("libvrx1")), ["libc6"])

    def test_other_packages_depend_on_the_same_version(self):
        self.assertEqual(self.depends("libvrx-dev"), {"libvrx1": f"= {setting.version}", "libc6-dev": ""})
        self.assertEqual(self.depends("python3-vrx"), {"libvrx1": f"= {setting.version}", "python3": ">= 3.9"})
        program = self.depends("vrx")
        self.assertEqual(sorted(program), ["libc6", "libgcc-s1", "libstdc++6", "libtasn1-6", "libvrx1"])
        self.assertEqual(program["libvrx1"], f"= {setting.version}")

    def test_shlibs_file_names_package_and_version(self):
        root = self.scratch / "control"
        self.run_program("dpkg-deb", "--control", self.paths["libvrx1"], root)
        self.assertEqual(sorted((root / "shlibs").read_text().splitlines()),
                         [f"{name} 1 libvrx1 (>= {setting.version})" for name in ("libvrx", "libvrx-keyfile")])

    def test_each_package_has_its_files(self):
        _, library = self.unpacked("libvrx1")
        self.assertEqual([Path(name).name for name in library],
                         ["libvrx-keyfile.so.1", f"libvrx-keyfile.so.{setting.version}", "libvrx.so.1",
                          f"libvrx.so.{setting.version}", "copyright"])
        root, development = self.unpacked("libvrx-dev")
        self.assertTrue({"usr/include/vrx.h", "usr/include/vrx.hpp", "usr/include/vrx/frame.h"} <= set(development))
        self.assertTrue({"libvrx.so", "libvrx.a", "vrx.pc", "vrx-cxx.pc",
                         "vrx-config.cmake"} <= {Path(n).name for n in development})
        documents = {name.removeprefix("usr/share/doc/libvrx-dev/")
                     for name in development if "/doc/libvrx-dev/" in name}
        self.assertTrue({"docs/interop.md", "docs/guides/guides.md", "examples/first.c", "README.md"} <= documents)
        _, program = self.unpacked("vrx")
        self.assertTrue({"vrx.1", "vrx_keys.5", "vrx_formats.5"} <= {Path(n).name for n in program})
        self.assertIn("usr/bin/vrx", program)
        _, module = self.unpacked("python3-vrx")
        sources = sorted(path.name for path in (Path(setting.source) / "python/src/vrx").iterdir() if path.is_file())
        self.assertEqual([Path(name).name for name in module if "/dist-packages/vrx/" in name], sources)
        everything = library + development + program + module
        self.assertEqual(len(everything), len(set(everything)), "two packages hold the same file")
        self.assertEqual([name for name in everything if not name.startswith("usr/")], [])

    @unittest.skipUnless("--packages" in sys.argv, "a build of the tests has paths of its own")
    def test_program_has_no_rpath(self):
        root, _ = self.unpacked("vrx")
        self.assertNotRegex(self.run_program("readelf", "-d", root / "usr/bin/vrx"), r"\((RPATH|RUNPATH)\)")

    def test_packages_install_work_and_are_removed(self):
        before = as_root()
        if before is None:
            self.skipTest("neither root nor user namespaces")
        root = self.scratch / "root"
        admin = root / "var/lib/dpkg"
        for folder in ("info", "updates", "triggers"):
            (admin / folder).mkdir(parents=True)
        # dpkg checks versions of dependencies against a copy of this machine's package list.
        needed = {name for package in PACKAGES for name in self.depends(package)} - set(PACKAGES)
        stanzas = [self.run_program("dpkg-query", "--status", name) for name in sorted(needed)]
        alone = ["\n".join(line for line in stanza.splitlines() if line.split(":")[0] not in ("Depends", "Pre-Depends"))
                 for stanza in stanzas]
        (admin / "status").write_text("\n\n".join(alone) + "\n", encoding="utf-8")
        # A replacement for ldconfig records the calls; the machine's linker cache stays unchanged.
        tools = self.scratch / "tools"
        tools.mkdir()
        (tools / "ldconfig").write_text(f"#!/bin/sh\necho called >> {self.scratch}/ldconfig.log\n", encoding="ascii")
        (tools / "ldconfig").chmod(0o755)
        environment = clean_environment(PATH=f"{tools}:{os.environ['PATH']}", LC_ALL="C.UTF-8")
        dpkg = [*before, "dpkg", f"--root={root}", "--force-script-chrootless", f"--log={self.scratch}/dpkg.log"]

        # dpkg must refuse the program without the library.
        self.run_program(*dpkg, "--install", self.paths["vrx"], ok=False, env=environment)
        self.run_program(*dpkg, "--purge", "vrx", env=environment)
        self.assertEqual(self.files(root / "usr"), [])

        self.run_program(*dpkg, "--install", *self.paths.values(), env=environment)
        self.assertIn("called", (self.scratch / "ldconfig.log").read_text())
        libraries = next(root.glob("usr/**/libvrx.so.1")).parent
        loads = clean_environment(LD_LIBRARY_PATH=str(libraries))
        self.assertIn(f"vrx {setting.version}", self.run_program(root / "usr/bin/vrx", "version", env=loads))
        self.assertIn(f"=> {libraries}/libvrx.so.1",
                      self.run_program(root / "usr/bin/vrx", env=loads | {"LD_TRACE_LOADED_OBJECTS": "1"}))
        module = root / "usr/lib/python3/dist-packages"
        self.assertTrue(list((module / "vrx/__pycache__").iterdir()), "the module is compiled")
        said = self.run_program("/usr/bin/python3", "-c", "import importlib.metadata, vrx; print(vrx.__file__, "
                                "importlib.metadata.version('vrx'), vrx.sha1(b'abc').hexdigest())",
                                env=loads | {"PYTHONPATH": str(module)})
        self.assertEqual(said, f"{module}/vrx/__init__.py {setting.version} a9993e364706816aba3e25717850c26c9cd0d89d\n")
        program = self.scratch / "first"
        self.run_program(setting.cc, "-std=c11", f"-I{root}/usr/include", Path(setting.source) / "examples/first.c",
                         "-o", program, f"-L{libraries}", "-lvrx")
        self.assertEqual(self.run_program(program, env=loads),
                         (Path(setting.source) / "examples/first.expected").read_text(encoding="utf-8"))

        # dpkg must refuse to remove the library while the program is installed.
        self.run_program(*dpkg, "--remove", "libvrx1", ok=False, env=environment)
        self.run_program(*dpkg, "--remove", *PACKAGES, env=environment)
        self.assertEqual([str(path) for path in (root / "usr").rglob("*")], [])
        self.run_program(*dpkg, "--purge", *PACKAGES, env=environment)
        self.assertEqual(list((admin / "info").glob("*vrx*")), [])
        self.assertNotIn("Package: vrx", (admin / "status").read_text(encoding="utf-8"))


if __name__ == "__main__":
    main(packages="")
