// The deployment rule: from S-boxes to the table that the cipher and the hash read.
#ifndef VRX_TZ_DEPLOY_HPP
#define VRX_TZ_DEPLOY_HPP

#include <bit>
#include <cstdint>
#include <span>

#include "vrx/tz.h"

namespace vrx::tz {

using Numeric = std::span<const std::uint8_t, VRX_NUM_TZ_SIZE>;

/**
 * Returns entry x of table k: the outputs of the S-boxes 2k and 2k + 1 for the byte x, moved to byte k, and then
 * rotated left by 11 bits.
 */
constexpr std::uint32_t entry(Numeric num, unsigned k, unsigned x) {
    const std::uint32_t low = num[4 * (x & 15) + k] & 15U;
    const std::uint32_t high = num[4 * (x >> 4) + k] >> 4;
    return std::rotl((low | high << 4) << (8 * k), 11);
}

/** Fills a table. The flag is 0 until the last entry is written. The bytes after the flag are not changed. */
constexpr void deploy(Numeric num, vrx_tz& out) {
    out.initialised = 0;
    for (unsigned k = 0; k < 4; ++k)
        for (unsigned x = 0; x < 256; ++x) out.t[k][x] = entry(num, k, x);
    out.initialised = 1;
}

}  // namespace vrx::tz

#endif
