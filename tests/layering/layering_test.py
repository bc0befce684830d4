#!/usr/bin/env python3
"""Checks that #include lines agree with the list in layers.py. Usage: layering_test.py PROJECT"""
import re
import sys
import unittest
from pathlib import Path, PurePosixPath

import picture
from includes import Code, read
from layers import DECLARES, FORWARDS, LAYERS, NO_CODE, ROOTS

# C library headers that public headers may include, and additional ones for those that contain code.
C_STANDARD = {"stddef.h", "stdint.h", "stdio.h"}
EXTRA = {"random": {"errno.h", "sys/random.h", "sys/types.h"}, "hedged": {"string.h"}, "check": set(),
         "keyfile": {"string.h"}, "helpers": {"string.h"}, "stream": {"string.h"}}


def stem(path):
    return PurePosixPath(path).stem


class Project(unittest.TestCase):
    project = Path()

    @classmethod
    def setUpClass(cls):
        cls.texts = read(cls.project, ROOTS)

    def code(self, **changed):
        return Code({**self.texts, **changed}, LAYERS, NO_CODE, DECLARES)


class Layers(Project):
    def test_every_file_is_listed_and_every_listed_file_exists(self):
        self.assertEqual(self.code().unlisted(), [])

    def test_no_file_includes_a_higher_layer(self):
        self.assertEqual(self.code().backward(), [])

    def test_there_are_no_include_cycles(self):
        self.assertEqual(self.code().circles(), [])

    def test_layers_include_only_earlier_ones(self):
        seen = set()
        for layer in LAYERS:
            self.assertLessEqual(set(layer.below), seen, layer.name)
            self.assertNotIn(layer.name, seen)
            self.assertEqual(len(layer.order), len(set(layer.order)), layer.name)
            seen.add(layer.name)

    def test_every_permission_is_used(self):
        self.assertEqual(self.code().unused(), [])

    def test_the_architecture_page_shows_the_layers(self):
        page = (self.project / "docs" / "architecture.md").read_text()
        self.assertEqual(picture.parts(page)[1], picture.picture(),
                         'run "tests/layering/picture.py --write"')


class Faults(Project):
    """Plants faults one at a time and checks that each is found."""

    def includes(self, path, name):
        return self.code(**{path: self.texts[path] + f'\n#include "{name}"\n'})

    def test_unlisted_file_is_found(self):
        for path in ("src/tz/new.cpp", "app/new.hpp", "app/commands/new.cpp", "documents/new.hpp", "include/vrx/new.h",
                     "include/vrx/tz.hpp", "include/vrx/cxx/new.hpp", "tests/support/new.hpp", "src/new/part.cpp",
                     "src/new.cpp", "src/frame/new.S", "app/new.txt"):
            self.assertEqual(self.code(**{path: ""}).unlisted(), [f"{path} is in no layer"])

    def test_missing_file_is_found(self):
        for path in ("src/sha1/hash.cpp", "app/main.cpp", "include/vrx/tables.hpp", "tests/support/hex.hpp"):
            texts = {name: text for name, text in self.texts.items() if name != path}
            self.assertEqual(Code(texts, LAYERS, NO_CODE, DECLARES).unlisted(),
                             [f"{path if 'include' in path else path.rsplit('.')[0]} is listed but missing"])

    def test_include_of_a_higher_layer_is_found(self):
        for path, name in (("src/frame/wipe.hpp", "ecc/field/lanes.hpp"), ("src/tz/deploy.hpp", "gost28147/block.hpp"),
                           ("src/sha1/hash.cpp", "tz/deploy.hpp"), ("src/sha1/hash.cpp", "vrx/tz.h"),
                           ("include/vrx/tz.h", "modes.h"), ("include/vrx/sha1.h", "tz.h"),
                           ("include/vrx/frame.h", "cxx/frame.hpp"), ("app/io/text.hpp", "keys/keys.hpp"),
                           ("app/options.hpp", "commands/commands.hpp"), ("documents/der.cpp", "app/options.hpp"),
                           ("src/frame/bytes.hpp", "app/io/text.hpp"), ("src/frame/bytes.hpp", "support/hex.hpp"),
                           ("app/io/files.cpp", "support/hex.hpp"), ("src/frame/cpu.cpp", "gen/curve_table.hpp")):
            with self.subTest(path, name=name):
                self.assertNotEqual(self.includes(path, name).backward(), [])

    def test_include_of_a_later_file_in_the_layer_is_found(self):
        for path, name in (("src/gost28147/engine/list.hpp", "../bulk.hpp"), ("src/frame/bytes.hpp", "frame/cpu.hpp"),
                           ("app/keys/keys.hpp", "keys/der.hpp"), ("documents/der.hpp", "documents/chain.hpp"),
                           ("include/vrx/cxx/tz.hpp", "sign.hpp"), ("tests/support/hex.hpp", "random.hpp")):
            with self.subTest(path, name=name):
                self.assertIn("which comes later in", "".join(self.includes(path, name).backward()))

    def test_cycle_through_a_source_and_its_header_is_found(self):
        self.assertIn("app/io/failure > app/io/files > app/io/failure",
                      self.includes("app/io/failure.cpp", "io/files.hpp").circles())

    def test_outdated_picture_is_found(self):
        old = picture.picture().replace("sboxes", "boxes")
        self.assertNotEqual(picture.parts(f"Above.\n{old}Below.\n")[1], picture.picture())


class PublicHeaders(Project):
    """Checks of the public headers."""

    def order(self, name):
        return [stem(file) for layer in LAYERS if layer.name == name for file in layer.order]

    def parts(self):
        """Return the C headers that declare a part of the library."""
        return {f"include/vrx/{name}.h" for name in DECLARES}

    def test_all_headers_but_export_and_those_with_code_declare_a_part(self):
        self.assertEqual(set(self.order("include/vrx")) - set(DECLARES), {"export", *EXTRA})

    def test_c_headers_include_only_c_library_and_own_headers(self):
        code = self.code()
        for path in code.files("include/vrx", {".h"}):
            own, foreign = code.includes(path)
            self.assertTrue(all(other.startswith("include/vrx/") and other.endswith(".h") for other in own), path)
            self.assertLessEqual({name for _, name in foreign}, C_STANDARD | EXTRA.get(stem(path), set()), path)

    def test_cxx_headers_include_only_cxx_library_and_own_headers(self):
        code = self.code()
        for path in code.files("include", {".hpp"}):
            own, foreign = code.includes(path)
            self.assertTrue(all(other.startswith("include/") for other in own), path)
            self.assertEqual([name for _, name in foreign if "." in name], [], path)

    def test_cxx_headers_have_the_names_of_c_headers(self):
        self.assertLessEqual(set(self.order("include/vrx/cxx")) - {"types"}, set(DECLARES))

    def test_older_paths_only_forward(self):
        for name, headers in FORWARDS.items():
            path = f"include/vrx/{name}.hpp"
            text = re.sub(r"/\*.*?\*/", "", self.texts[path], flags=re.S)
            self.assertEqual([line for line in text.splitlines() if line and not line.startswith("#")], [], path)
            self.assertEqual({other for other in self.code().includes(path)[0] if "/cxx/" in other},
                             {f"include/vrx/cxx/{header}.hpp" for header in headers})
        self.assertEqual(set(self.order("include/vrx/*.hpp")), set(FORWARDS))

    def test_umbrella_headers_include_all_others(self):
        code = self.code()
        self.assertEqual(code.includes("include/vrx.h")[0], self.parts())
        self.assertEqual(code.includes("include/vrx.hpp")[0],
                         {"include/vrx.h", "include/vrx/random.h"} |
                         {f"include/vrx/cxx/{name}.hpp" for name in self.order("include/vrx/cxx")})


if __name__ == "__main__":
    Project.project = Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
