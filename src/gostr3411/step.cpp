#include "gostr3411/step.hpp"

#include <cstddef>

#include "gostr3411/step_parts.hpp"

namespace vrx::gostr3411 {
namespace {

// Encryption (section 6.2; GOST 28147-89 in simple substitution, RFC 5830)

/** The four blocks that are encrypted. Their rounds are independent, so interleaving them hides latency. */
struct Blocks {
    std::array<std::uint32_t, 4> n1;
    std::array<std::uint32_t, 4> n2;
};

[[gnu::always_inline]] inline std::uint32_t substitute(const vrx_tz& table, std::uint32_t v) {
    return table.t[0][v & 255] ^ table.t[1][v >> 8 & 255] ^ table.t[2][v >> 16 & 255] ^ table.t[3][v >> 24];
}

/** Performs eight rounds of all four blocks. In round i, each block adds word order[i] of its key. */
template <std::size_t... order>
[[gnu::always_inline]] inline void rounds(Blocks& b, const Keys& keys, const vrx_tz& table) {
    const auto round = [&](std::array<std::uint32_t, 4> & changed, const std::array<std::uint32_t, 4>& by,
                           std::size_t word) __attribute__((always_inline)) {
#pragma GCC unroll 4
        for (std::size_t j = 0; j < keys.size(); ++j) changed[j] ^= substitute(table, by[j] + keys[j][word]);
    };
    std::size_t i = 0;
    ((i++ % 2 == 0 ? round(b.n2, b.n1, order) : round(b.n1, b.n2, order)), ...);
}

/** Encrypts each quarter of h with its key. The last round does not swap the halves, so n1 and n2 are exchanged. */
[[gnu::always_inline]] inline Uint256 encrypt(const Uint256& h, const Keys& keys, const vrx_tz& table) {
    Blocks b;
    for (std::size_t j = 0; j < keys.size(); ++j) {
        b.n1[j] = static_cast<std::uint32_t>(h[j]);
        b.n2[j] = static_cast<std::uint32_t>(h[j] >> 32);
    }
    for (int pass = 0; pass < 3; ++pass) rounds<0, 1, 2, 3, 4, 5, 6, 7>(b, keys, table);
    rounds<7, 6, 5, 4, 3, 2, 1, 0>(b, keys, table);
    Uint256 s;
    for (std::size_t j = 0; j < keys.size(); ++j) s[j] = b.n2[j] | std::uint64_t{b.n1[j]} << 32;
    return s;
}

}  // namespace

Uint256 step(const Uint256& h, const Uint256& m, const vrx_tz& table) {
    Keys keys;
    generate(keys, h, m);
    return mix(h, m, encrypt(h, keys, table));
}

}  // namespace vrx::gostr3411
