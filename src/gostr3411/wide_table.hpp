// The built-in tables of the hash, in a form with three look-ups a round instead of four.
#ifndef VRX_GOSTR3411_WIDE_TABLE_HPP
#define VRX_GOSTR3411_WIDE_TABLE_HPP

#include <cstdint>

#include "vrx/tz.h"

namespace vrx::gostr3411 {

/**
 * A table for three look-ups a round: of the lower 12 bits of a word, of the 8 above them, and of the upper 12. 33 KiB.
 */
struct WideTable {
    alignas(64) std::uint32_t low[4096];
    std::uint32_t middle[256];
    std::uint32_t high[4096];
};

/**
 * The wide table that is equivalent to `table`, if that has the entries of a built-in table of the hash; else nullptr.
 */
const WideTable* built_in_wide_table(const vrx_tz& table) noexcept;

}  // namespace vrx::gostr3411

#endif
