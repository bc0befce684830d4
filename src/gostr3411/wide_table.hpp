// The built-in tables of the hash, in a form that needs three look-ups in each round instead of four.
#ifndef VRX_GOSTR3411_WIDE_TABLE_HPP
#define VRX_GOSTR3411_WIDE_TABLE_HPP

#include <cstdint>

#include "vrx/tz.h"

namespace vrx::gostr3411 {

/**
 * A table of 33 KiB for three look-ups in each round: by the lower 12 bits of a word, by the 8 bits above them, and by
 * the upper 12 bits.
 */
struct WideTable {
    alignas(64) std::uint32_t low[4096];
    std::uint32_t middle[256];
    std::uint32_t high[4096];
};

/**
 * Returns the wide table that is equivalent to `table`, if `table` has the entries of a built-in table of the hash;
 * otherwise, returns nullptr.
 */
const WideTable* built_in_wide_table(const vrx_tz& table) noexcept;

}  // namespace vrx::gostr3411

#endif
