"""Tests that the ctypes declarations match the C headers, the list of exports and the record layouts."""

import ctypes
import re
from pathlib import Path

import pytest
from vrx import _c

PROJECT = Path(__file__).parents[2]
WORDS = {"int32_t": "int", "uint8_t": "u8", "uint32_t": "u32", "uint64_t": "u64", "RND_FUNC": "random"}


def headers():
    text = "\n".join(path.read_text() for path in sorted((PROJECT / "include" / "vrx").glob("*.h")))
    return re.sub(r"/\*.*?\*/|__attribute__\(\(noreturn\)\)", "", text, flags=re.S)


def word(declared):
    """Return the type name used in the declarations for a C type, with or without a parameter name."""
    declared = re.sub(r"\b(const|struct)\b", "", declared)
    name, depth = re.match(r"\s*(\w+)", declared)[1], len(re.findall(r"\*|\[", declared))
    if depth and name in ("void", "uint8_t", "uint32_t", "FILE"):
        return "memory"
    return "text" if depth and name == "char" else WORDS.get(name, name) + "*" * depth


def declared_functions():
    found = re.findall(r"VRX_API\s+([\w\s*]*?)\s*(\w+)\(([^;]*)\);", headers())
    arguments = {name: [word(a) for a in given.split(",") if a != "void"] for _, name, given in found}
    return {name: (word(result), arguments[name]) for result, name, _ in found}


def exports():
    lines = (PROJECT / "tests" / "abi" / "exports.txt").read_text().splitlines()
    return [line.split() for line in lines if not line.startswith("#")]


def test_functions_match_exports_and_header_types():
    given = {
        name: (result, arguments.split(", ") if arguments else [])
        for result, name, arguments in re.findall(r"(\S+) (\w+)\((.*)\)", _c.FUNCTIONS)
    }
    assert len(given) == _c.FUNCTIONS.count("(")
    assert sorted(given) == sorted(row[1] for row in exports() if row[0] == "F")
    codes = {name for name, (result, _) in given.items() if result == "code"}
    assert {name: ("int" if name in codes else result, a) for name, (result, a) in given.items()} == (
        declared_functions()
    )


def test_functions_documented_with_codes_return_code():
    for path in (PROJECT / "include" / "vrx").glob("*.h"):
        for comment, name in re.findall(r"(/\*\*(?:(?!\*/).)*\*/)\s*VRX_API int (\w+)\(", path.read_text(), re.S):
            if "@return VRX_OK" in comment or "VRX_ERR" in comment:
                assert re.search(rf"^ +code {name}\(", _c.FUNCTIONS, re.M), name


def test_data_matches_exports_types_and_sizes():
    given = re.findall(r"(\S+) (\w+)(?:\[\d+\])?\n", _c.DATA)
    sizes = {row[1]: int(row[2]) for row in exports() if row[0] != "F"}
    assert {name: ctypes.sizeof(getattr(_c.data, name)) for _, name in given} == sizes
    declared = re.findall(r"VRX_API extern ([\w\s*]*?)(\w+)(?:\[\w+\])?;", headers())
    assert {name: word(kind) for kind, name in declared} == {name: kind for kind, name in given}


def test_records_have_the_layout_of_the_library():
    text = (PROJECT / "tests" / "abi" / "layout.c").read_text()
    records = re.findall(r"^RECORD\((\w+), (\d+), (\d+)\)", text, re.M)
    fields = re.findall(r"^FIELD\((\w+), (\w+), (\d+), (\d+)\)", text, re.M)
    assert len(records) == 14
    for name, size, alignment in records:
        record = getattr(_c, name)
        assert (ctypes.sizeof(record), ctypes.alignment(record)) == (int(size), int(alignment))
        placed = [(f, getattr(record, f).offset, getattr(record, f).size) for f, _ in record._fields_]
        assert placed == [(f, int(offset), int(bytes_)) for r, f, offset, bytes_ in fields if r == name]


def test_codes_match_the_header():
    text = (PROJECT / "include" / "vrx" / "frame.h").read_text()
    declared = re.findall(r"#define (VRX_ERR_\w+) \((-\d+)\)\s+/\*\*< (.*?) \*/", text)
    assert _c.CODES == {int(code): (name, meaning) for name, code, meaning in declared}


def test_low_level_functions_work_and_raise():
    a, b, product = (ctypes.c_uint32 * 2)(7, 0), (ctypes.c_uint32 * 2)(0, 6), (ctypes.c_uint32 * 4)()
    assert _c.lib.mpMultiply(product, a, b, 2) == 0
    assert list(product) == [0, 42, 0, 0]
    assert _c.lib.mpCompare(a, b, 2) == -1
    with pytest.raises(_c.Error, match="^GOSTR3411_Update: VRX_ERR_BAD_PARAMS") as raised:
        _c.lib.GOSTR3411_Update(_c.GOSTR3411_CTX(), None, 0)
    assert (raised.value.function, raised.value.code) == ("GOSTR3411_Update", -2)
