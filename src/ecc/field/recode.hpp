// Recoding of scalars for combs and windows, constant-time.
#ifndef VRX_ECC_FIELD_RECODE_HPP
#define VRX_ECC_FIELD_RECODE_HPP

#include "ecc/field/words.hpp"

namespace vrx::field {

/**
 * Returns whichever of k and q - k is odd, for an odd q and 1 <= k < q. Sets `even` to all ones if k is even, else to
 * zero.
 */
constexpr Words odd_one(const Words& k, const Words& q, std::uint64_t& even) {
    even = mask(1 ^ (k[0] & 1));
    Words other{};
    sub(other, q, k);
    return conditional_move(even, other, k);
}

/** floor(k / 2) + high 2^255, for any k and high 0 or 1. */
constexpr Words halved(const Words& k, std::uint64_t high) {
    return {k[0] >> 1 | k[1] << 63, k[1] >> 1 | k[2] << 63, k[2] >> 1 | k[3] << 63, k[3] >> 1 | high << 63};
}

}  // namespace vrx::field

#endif
