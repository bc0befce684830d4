// 256-bit numbers, with which the hash computes.
#ifndef VRX_GOSTR3411_UINT256_HPP
#define VRX_GOSTR3411_UINT256_HPP

#include <array>
#include <cstdint>
#include <cstring>

#include "frame/platform.hpp"

namespace vrx::gostr3411 {

/**
 * A 256-bit number, least significant word first. In memory, this is the sequence of its 32 octets, least significant
 * first.
 */
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

}  // namespace vrx::gostr3411

#endif
