// The step function of GOST R 34.11-94 (RFC 5831, section 6).
#ifndef VRX_GOSTR3411_STEP_HPP
#define VRX_GOSTR3411_STEP_HPP

#include <array>
#include <cstdint>
#include <cstring>

#include "frame/platform.hpp"
#include "vrx/tz.h"

namespace vrx::gostr3411 {

/** A 256-bit number, least significant word first. In memory these are its 32 octets, least significant first. */
using Uint256 = std::array<std::uint64_t, 4>;

/** Loads a number from its octets, at any address. */
inline Uint256 load(const void* octets) {
    Uint256 n;
    std::memcpy(&n, octets, sizeof n);
    return n;
}

inline void store(void* octets, const Uint256& n) { std::memcpy(octets, &n, sizeof n); }

constexpr Uint256 operator^(const Uint256& a, const Uint256& b) {
    return {a[0] ^ b[0], a[1] ^ b[1], a[2] ^ b[2], a[3] ^ b[3]};
}

/**
 * f(h, m), for any CPU. Leaves working values on the stack: to hash secrets, call it inside secret_work().
 *
 * @param table  a table with any content, not only one made from S-boxes. Its flag is ignored.
 */
[[nodiscard]] Uint256 step(const Uint256& h, const Uint256& m, const vrx_tz& table);

}  // namespace vrx::gostr3411

#endif
