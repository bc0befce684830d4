#!/usr/bin/env python3
"""Copies the library's sources with symbolic integers, for proofs to include in place of src/ and include/.

Usage: translate.py SOURCE OUT

Every std::uint32_t becomes prove_uint32, every unsigned __int128 becomes prove_uint128, and so on. A proof defines
these names, as types that build terms for a solver, before it includes anything from here. The other replacements are
listed below, each with the number of places where it must apply. If the number differs, the source has changed, and the
rule must be adapted.
"""
import pathlib
import re
import sys

# In all files. Empty asm statements only keep compilers from moving code.
GENERAL = [
    (r'\b(?:std::)?(u?int(?:8|16|32|64))_t\b', r'prove_\1'),
    (r'__extension__ using u128 = unsigned __int128;', 'using u128 = prove_uint128;'),
    (r'__extension__ using i128 = __int128;', 'using i128 = prove_int128;'),
    (r'^( *)asm\(""( :[^;]*)?\);[^\n]*$', r'\1;'),
]

# In the folders of engines: values that are copied into registers of symbolic bits.
ENGINES = ('gost28147/', 'gostr3411/', 'tz/')
OF_ENGINES = [
    (r'static_cast<int>\(', 'prove_int('),
    (r'static_cast<char>\(', 'prove_char('),
    (r'static_cast<long long>\(', 'prove_longlong('),
]

# The hash's table for three look-ups, in all files that use it.
WIDE = [(r'std::uint32_t (low|middle|high)\[(\d+)\];', r'prove_array<prove_uint32, \2> \1;', (0, 3))]

# file: (pattern, replacement, places)
SPECIAL = {
    # Removes the assembly carry chains. Tests compare them with the C++ code that remains.
    'ecc/uint256/words.hpp': [
        (r'(inline constexpr bool has_assembly =)[^;]*;', r'\1 false;', 1),
    ],
    # The proofs of division steps replace the variables of the loop, and the rows of the matrix after it. They do not
    # use the functions that are removed here.
    'ecc/uint256/divsteps.hpp': [
        (r'(    for \(int i = 0; i < steps; \+\+i\) \{\n)', r'\1        prove_step(zeta, h, g, uv, qr);\n', 1),
        (r'^(    f = h << 1 \| 1;)', r'    prove_rows(zeta, h, g, uv, qr);\n\1', 1),
        (r'value_barrier\((a >> 63)\)', r'(\1)', 1),
        (r'^constexpr std::int64_t batch_of_steps_vartime\([\s\S]*?\n}\n', '', 1),
        (r'^constexpr Words inverse\([\s\S]*?\n}\n', '', 1),
        (r'^constexpr Words inverse_vartime\([\s\S]*?\n}\n', '', 1),
    ],
    # g++ 12 reports that the lambda changes the modulus, which is a constant.
    'ecc/field/limbs52.hpp': [
        (r'constexpr Words power =', 'const Words power =', 1),
    ],
    'ecc/field/lookup.hpp': [
        (r'using Type \[\[gnu::vector_size\(bytes\)\]\] = std::uint64_t;', 'using Type = prove_vector<bytes>;', 1),
    ],
    # Symbolic indices read these tables.
    'vrx/tz.h': [
        (r'uint32_t t\[4\]\[256\];', 'prove_array<prove_array<prove_uint32, 256>, 4> t;', 1),
    ],
    'gost28147/block.hpp': [
        (r'-> std::size_t \{ return', '-> std::uint64_t { return', 1),
        (r'std::array<std::uint8_t,', 'std::array<unsigned char,', 3),
    ],
    # The number of blocks is a known number.
    'gost28147/mesh.hpp': [
        (r'const std::uint32_t left = VRX_MESHING_SECTION - ctx.mesh_count;',
         'const auto left = static_cast<unsigned>(VRX_MESHING_SECTION - ctx.mesh_count);', 1),
    ],
    # A sum of planes is proved separately. Afterwards, a sum of words replaces it.
    'gost28147/engine/planes.hpp': [
        (r'( *)add\(t, other, (key\.of_round\(number, decrypting\))\);',
         r'\1add(t, other, \2);\n\1prove_sum(t, other, \2);', 1),
    ],
    # A proof can set the table to any content.
    'gost28147/engine/parallel.hpp': [
        (r'inline constexpr CounterSteps counter_steps =', 'inline CounterSteps counter_steps =', 1),
    ],
    'gost28147/engine/chain.hpp': [
        (r'const std::uint32_t\* row = twice_ \+ \(k & 255\);', 'const auto row = twice_.from(k & 255);', 1),
        (r'std::uint32_t twice_\[512\]', 'prove_array<std::uint32_t, 512> twice_', 1),
    ],
    # The same text of assembly runs on unknown bits.
    'gost28147/engine/baseline.cpp': [
        (r'std::uint64_t sum;\n *std::uint64_t a;\n *std::uint64_t b;\n *asm\(((?: *"[^"\n]*"\n)*)'
         r' *: \[half\] "\+r"\(half\), \[sum\] "=&Q"\(sum\), \[a\] "=&R"\(a\), \[b\] "=&R"\(b\)\n'
         r' *: \[x\] "r"\(x\), \[k\] "m"\(k\), \[t\] "r"\(&table\), "m"\(table\)\n *: "cc"\);',
         r'vrx::prove::Assembly<decltype(table.t)> lines;\n'
         r'    lines.in("half", half).clobbered("sum").clobbered("a").clobbered("b");\n'
         r'    half = lines.in("x", x).memory("k", k).address("t", table.t).run(\1).out("half");', 1),
    ],
    'tz/sboxes.hpp': WIDE,
    'gostr3411/wide_table.hpp': WIDE,
    # Maps over octets are constants.
    'gostr3411/linear.hpp': [
        (r'using OctetMap = Octets<std::uint32_t>', 'using OctetMap = Octets<unsigned>', 1),
    ],
    'gostr3411/vbmi.cpp': [
        (r'nth_place\(std::uint32_t set', 'nth_place(unsigned set', 1),
        (r'const std::uint32_t sources', 'const unsigned sources', 1),
    ],
}


def translated(name, text):
    for pattern, replacement, places in SPECIAL.get(name, []):
        text, count = re.subn(pattern, replacement, text, flags=re.M)
        if count not in (places if isinstance(places, tuple) else (places,)):
            sys.exit(f'translate.py: {name}: {pattern!r} applies in {count} places, not {places}')
    general = GENERAL + (OF_ENGINES if name.startswith(ENGINES) else [])
    for pattern, replacement in general:
        text = re.sub(pattern, replacement, text, flags=re.M)
    return text


def main():
    source, out = map(pathlib.Path, sys.argv[1:3])
    for top in ('src', 'include'):
        for path in sorted((source / top).rglob('*')):
            if path.suffix not in ('.hpp', '.h', '.cpp', '.inc'):
                continue
            name = path.relative_to(source / top)
            target = out / name
            target.parent.mkdir(parents=True, exist_ok=True)
            text = translated(str(name), path.read_text())
            # Unchanged files keep their time stamps, so they are not compiled again.
            if not target.exists() or target.read_text() != text:
                target.write_text(text)


if __name__ == '__main__':
    main()
