// The step function with the four blocks of a step in two registers, for engines without look-ups. The type
// `Substitution` applies the S-boxes to the four words of a register: it is tz::ShuffledSBoxes, tz::ScannedSBoxes or
// the ScannedTable of scan.cpp.
//
// An engine includes this inside its region: everything is a template over `Substitution`.
#ifndef VRX_GOSTR3411_LANES_HPP
#define VRX_GOSTR3411_LANES_HPP

#include "gostr3411/step_parts.hpp"

namespace vrx::gostr3411 {

/** Returns a register with the low 32 bits of word(0) to word(3). */
template <typename Substitution, typename Word>
[[gnu::always_inline]] inline __m128i gathered(Word word) {
    return _mm_setr_epi32(static_cast<int>(word(0)), static_cast<int>(word(1)), static_cast<int>(word(2)),
                          static_cast<int>(word(3)));
}

/** Encrypts each quarter of h with its key. */
template <typename Substitution>
[[gnu::always_inline]] inline Uint256 encrypt_in_lanes(const Uint256& h, const Keys& keys,
                                                       const Substitution& substitution) {
    __m128i key[8];
    for (std::size_t k = 0; k < 8; ++k) key[k] = gathered<Substitution>([&](std::size_t j) { return keys[j][k]; });
    __m128i n1 = gathered<Substitution>([&](std::size_t j) { return h[j]; });
    __m128i n2 = gathered<Substitution>([&](std::size_t j) { return h[j] >> 32; });
    for (unsigned pass = 0; pass < 4; ++pass)
#pragma GCC unroll 1
        for (unsigned k = 0; k < 8; k += 2) {
            const auto at = [pass](unsigned i) { return pass < 3 ? i : 7 - i; };
            n2 = _mm_xor_si128(n2, substitution(_mm_add_epi32(n1, key[at(k)])));
            n1 = _mm_xor_si128(n1, substitution(_mm_add_epi32(n2, key[at(k + 1)])));
        }
    // The last round does not swap the halves, so n1 and n2 are exchanged.
    Uint256 s;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&s[0]), _mm_unpacklo_epi32(n2, n1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&s[2]), _mm_unpackhi_epi32(n2, n1));
    return s;
}

template <typename Substitution>
void steps_in_lanes(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& substitution) {
    for (; count != 0; --count, blocks += sizeof h) {
        const Uint256 m = load(blocks);
        Keys keys;
        generate(keys, h, m);
        h = mix(h, m, encrypt_in_lanes(h, keys, substitution));
    }
}

}  // namespace vrx::gostr3411

#endif
