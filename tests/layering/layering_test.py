#!/usr/bin/env python3
"""Which file may include which. Usage: layering_test.py PROJECT

     ecc ----> bigdigits, field ----> uint256
    /   \\
   v     v
gostr3411  gost28147    sha1
    \\      /             |
     v    v              |
       tz ----> frame <--'
"""
import re
import sys
import unittest
from pathlib import Path

# A folder of src/, and the folders that it may include, itself aside.
BELOW = {
    "frame": set(),
    "tz": {"frame"},
    "gost28147": {"tz", "frame"},
    "gostr3411": {"tz", "frame"},
    "sha1": {"frame"},
    "ecc/uint256": set(),
    "ecc/tables": set(),
    "ecc/field/tables": set(),
    "ecc/bigdigits": {"ecc/uint256", "frame"},
    "ecc/field": {"ecc/field/tables", "ecc/uint256", "frame"},
    "ecc": {"ecc/tables", "ecc/bigdigits", "ecc/field", "gostr3411", "gost28147", "tz", "frame"},
}

# A folder that is a room of another one.
INSIDE = {"gost28147/engine": "gost28147"}

# Within a folder: a file includes those that stand before it, never those behind.
ORDER = {
    "tz": [
        "deploy", "published", "sboxes", "deployments", "recover_avx512", "avx2", "avx512", "tables", "registry", "api",
    ],
    "gost28147": [
        "block", "mode", "plain", "mesh", "engine/list", "engine/schedule", "engine/parallel", "engine/planes",
        "engine/chain", "engine/vbmi_vector", "engine/baseline", "engine/avx2", "engine/vbmi_any", "engine/vbmi",
        "bulk", "stream", "api_block", "api_modes", "api_meshing", "api_context",
    ],
    "gostr3411": [
        "step", "wide_table", "engine", "linear", "avx2", "vbmi", "hash", "checks", "api", "hmac", "hmac_api", "kdf",
    ],
    "sha1": ["compress", "compress_portable", "compress_sha_ni", "hash"],
    "ecc/bigdigits": [
        "words", "multiply", "columns", "division", "lehmer", "arithmetic", "modular", "prime", "convert",
    ],
    "ecc/uint256": ["words", "divsteps"],
    "ecc/field": [
        "words", "lookup", "modulus", "adx_words", "curves", "points", "order", "limbs52", "recode",
        "comb_tables", "word_multiply", "lanes", "lane_points", "comb", "ladder", "lane_methods", "engine", "engine_of",
    ],
    "ecc": ["residue", "params", "point", "multiples", "domain", "multiply", "generate", "sign", "agree", "octets"],
}

# The folders of which ORDER lists every file.
COMPLETE = {"tz", "gost28147", "gostr3411", "sha1"}

# The folder that a public header for C belongs to; export.h and vrx.h are nobody's, nor are random.h and hedged.h, which
# no other header includes.
OWNER = {
    "frame": "frame",
    "tz": "tz",
    "params": "tz",
    "kernel": "gost28147",
    "modes": "gost28147",
    "context": "gost28147",
    "gostr3411": "gostr3411",
    "hmac": "gostr3411",
    "kdf": "gostr3411",
    "sha1": "sha1",
    "bigdigits": "ecc/bigdigits",
    "curve": "ecc",
    "point": "ecc",
    "multiply": "ecc",
    "sign": "ecc",
    "agree": "ecc",
    "octets": "ecc",
}

# The one call that goes up: the library's notice asks the arithmetic for its own.
UPWARD = ("src/frame/api.cpp", {"src/ecc/bigdigits/notice.hpp", "include/vrx/bigdigits.h"})

# The headers for C++ in include/vrx/cxx, above those for C: each includes those before it, never those after.
FACE = [
    "frame", "types", "tz", "params", "bigdigits", "kernel", "modes", "context", "gostr3411", "hmac", "kdf", "sha1",
    "curve", "point", "multiply", "sign", "agree",
]

# Older paths in include/vrx, and the headers for C++ that each forwards to.
OLD_PATHS = {
    "result": ["frame"],
    "types": ["types"],
    "tables": ["frame", "tz", "params"],
    "numbers": ["bigdigits"],
    "cipher": ["kernel", "modes", "context"],
    "hash": ["gostr3411", "hmac", "kdf", "sha1"],
    "curves": ["curve", "point", "multiply", "sign", "agree"],
}

# What a public header may take from the C library; and what those that are nobody's take besides.
C_STANDARD = {"stddef.h", "stdint.h", "stdio.h"}
EXTRA = {"random": {"errno.h", "sys/random.h", "sys/types.h"}, "hedged": {"string.h"}}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.M)


class Layering(unittest.TestCase):
    project = Path()

    def sources(self, folder):
        suffixes = (".c", ".cpp", ".h", ".hpp", ".inc")
        files = [p for p in sorted((self.project / folder).rglob("*")) if p.suffix in suffixes]
        self.assertTrue(files, folder)
        return files

    def headers(self, suffix=".h"):
        return [p for p in self.sources("include/vrx") if p.suffix == suffix]

    def included(self, file):
        """The project's files that a file includes, as paths from its root; and the names of all others."""
        own, foreign = set(), set()
        for _, name in INCLUDE.findall(file.read_text()):
            for base in (file.parent, self.project / "src", self.project / "include"):
                if (base / name).is_file():
                    own.add((base / name).resolve().relative_to(self.project.resolve()))
                    break
            else:
                foreign.add(name)
        return own, foreign

    def folder_of(self, path):
        """The folder of src/ that a file belongs to, or None where it is nobody's."""
        if path.parts[0] == "src":
            folder = path.parent.relative_to("src").as_posix()
            folder = INSIDE.get(folder, folder)
            self.assertIn(folder, BELOW, f"{path}: a folder without a place in the picture")
            return folder
        if path.stem in ("export", "random", "hedged", "vrx"):
            return None
        self.assertIn(path.stem, OWNER, f"{path}: a header without an owner")
        return OWNER[path.stem]

    def check(self, file):
        path = file.relative_to(self.project)
        folder = self.folder_of(path)
        for other in self.included(file)[0]:
            below = self.folder_of(other)
            if folder is None or below in (None, folder) or str(path) == UPWARD[0] and str(other) in UPWARD[1]:
                continue
            self.assertIn(below, BELOW[folder], f"{path} includes {other}")

    def test_no_file_includes_what_stands_above_it(self):
        for file in self.sources("src"):
            with self.subTest(file.name):
                self.check(file)

    def test_public_headers_follow_the_same_order(self):
        for file in self.headers():
            with self.subTest(file.name):
                self.check(file)

    def test_headers_for_cxx_include_those_before_them(self):
        files = self.sources("include/vrx/cxx")
        self.assertEqual({file.name for file in files}, {f"{name}.hpp" for name in FACE})
        for file in files:
            own, foreign = self.included(file)
            with self.subTest(file.name):
                others = [path for path in own if path.suffix == ".hpp"]
                self.assertTrue(all(path.parent.name == "cxx" for path in others), others)
                self.assertLessEqual({path.stem for path in others}, set(FACE[:FACE.index(file.stem)]))
                self.assertEqual([name for name in foreign if "." in name], [], "more than the C++ library")

    def test_headers_for_cxx_have_the_names_of_those_for_c(self):
        self.assertLessEqual(set(FACE) - {"types"}, {path.stem for path in self.headers()})

    def test_older_paths_only_forward(self):
        files = [path for path in self.sources("include/vrx") if path.suffix == ".hpp" and path.parent.name == "vrx"]
        self.assertEqual({path.stem for path in files}, set(OLD_PATHS))
        for file in files:
            text = re.sub(r"/\*.*?\*/", "", file.read_text(), flags=re.S)
            self.assertEqual([line for line in text.splitlines() if line and not line.startswith("#")], [], file.name)
            own = {path for path in self.included(file)[0] if path.parent.name == "cxx"}
            self.assertEqual({path.stem for path in own}, set(OLD_PATHS[file.stem]))

    def test_public_headers_include_each_other_and_the_c_library_only(self):
        for file in self.sources("include"):
            own, foreign = self.included(file)
            self.assertTrue(all(path.parts[0] == "include" for path in own), file)
            if file.suffix == ".h":
                self.assertTrue(all(path.suffix == ".h" for path in own), file)
                self.assertLessEqual(foreign, C_STANDARD | EXTRA.get(file.stem, set()), file)

    def test_umbrella_headers_include_every_other(self):
        own, _ = self.included(self.project / "include/vrx.h")
        headers = {p.relative_to(self.project) for p in self.headers() if p.stem not in ("export", "random", "hedged")}
        self.assertEqual(own, headers)
        own, _ = self.included(self.project / "include/vrx.hpp")
        self.assertEqual({p.as_posix() for p in own if p.suffix == ".hpp"}, {f"include/vrx/cxx/{n}.hpp" for n in FACE})
        self.assertEqual({str(p) for p in own if p.suffix == ".h"}, {"include/vrx.h", "include/vrx/random.h"})

    def test_order_within_a_folder_is_kept(self):
        for folder, order in ORDER.items():
            base = Path("src") / folder
            rooms = [base] + [Path("src") / inner for inner, outer in INSIDE.items() if outer == folder]
            files = [file for room in rooms for file in (self.project / room).glob("*.[ch]pp")]

            def place(path):
                return path.relative_to(base).with_suffix("").as_posix()

            if folder in COMPLETE:
                self.assertEqual({place(file.relative_to(self.project)) for file in files}, set(order), folder)
            for file in files:
                stem = place(file.relative_to(self.project))
                for other in self.included(file)[0]:
                    if other.parent in rooms and stem in order and place(other) in order:
                        self.assertLessEqual(order.index(place(other)), order.index(stem), f"{file.name}: {other}")

    def test_no_file_includes_itself_by_a_detour(self):
        graph = {file.relative_to(self.project): self.included(file)[0]
                 for file in self.sources("src") + self.sources("include")}
        done, path = set(), []

        def visit(file):
            self.assertNotIn(file, path, "a circle")
            if file in done:
                return
            path.append(file)
            for other in graph[file]:
                visit(other)
            done.add(path.pop())

        for file in graph:
            visit(file)


if __name__ == "__main__":
    Layering.project = Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
