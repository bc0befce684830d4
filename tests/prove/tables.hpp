// Common parts of the recovery proofs: a table is accepted if and only if it is the expansion of the recovered S-boxes.
#ifndef VRX_TESTS_PROVE_TABLES_HPP
#define VRX_TESTS_PROVE_TABLES_HPP

#include "prove/blocks.hpp"

#include "tz/sboxes.hpp"

namespace vrx::prove {

/**
 * Returns true if every entry follows from the S-boxes by the deployment rule, which is the substitution and rotation
 * of RFC 5830.
 */
inline Bit is_expansion(const vrx_tz& table, const tz::SBoxes& boxes) {
    Bit all = one;
    for (unsigned m = 0; m < 4; ++m)
        for (unsigned x = 0; x < 256; ++x) {
            const Word32 outputs = Word32(boxes.even[16 * m + x % 16]) | Word32(boxes.odd[16 * m + x / 16]);
            all = conjunction(all, same(table.t[m][x], std::rotl(outputs << 8 * m, 11)));
        }
    return all;
}

/** Proves both directions of this theorem for recover(table, accepted), which returns S-boxes and sets `accepted`. */
template <typename Recover>
void prove_recovery(const std::string& engine, const Recover& recover) {
    circuit_theorem(engine + ": a table is accepted exactly if it is the expansion of the S-boxes found", 700, [&] {
        const UnknownTable<vrx_tz> unknown;
        bool accepted = false;
        const tz::SBoxes found = recover(unknown.table, accepted);
        const Bit is = is_expansion(unknown.table, found);
        return accepted ? is : is ^ 1;
    });
    circuit_theorem(engine + ": the S-boxes of an expansion are found", 3, [&] {
        const UnknownBoxes boxes;
        vrx_tz table{};
        tz::deploy(tz::Numeric(boxes.num), table);
        bool accepted = false;
        const tz::SBoxes found = recover(table, accepted);
        const tz::SBoxes expected = tz::sboxes(tz::Numeric(boxes.num));
        Bit all = accepted ? one : zero;
        for (unsigned i = 0; i < 64; ++i) {
            all = conjunction(all, same(found.even[i], expected.even[i]));
            all = conjunction(all, same(found.odd[i], expected.odd[i]));
        }
        return all;
    });
}

}  // namespace vrx::prove

#endif
