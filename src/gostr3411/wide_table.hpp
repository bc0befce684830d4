// The built-in tables of the hash for three look-ups a round instead of four.
#ifndef VRX_GOSTR3411_WIDE_TABLE_HPP
#define VRX_GOSTR3411_WIDE_TABLE_HPP

#include <cstdint>

#include "vrx/tz.h"

namespace vrx::gostr3411 {

/**
 * A table as three look-ups instead of four: of the lower 12 bits of a word, of the 8 above them, and of the upper 12.
 * 33 KiB.
 */
struct WideTable {
    alignas(64) std::uint32_t low[4096];
    std::uint32_t middle[256];
    std::uint32_t high[4096];
};

/** Of a table that has the entries of one of the hash's built-in tables; nullptr for any other table. */
const WideTable* built_in_wide_table(const vrx_tz& table) noexcept;

}  // namespace vrx::gostr3411

#endif
