// The parts of the step function before and after its four encryptions, for any CPU: key generation and mixing.
#ifndef VRX_GOSTR3411_STEP_PARTS_HPP
#define VRX_GOSTR3411_STEP_PARTS_HPP

#include <emmintrin.h>

#include <cstddef>

#include "gostr3411/uint256.hpp"

namespace vrx::gostr3411 {

// The functions are static, so compilers inline them into the only step function of each source file.

// Key generation (RFC 5831, section 6.1)

/** A(y4 | y3 | y2 | y1) = (y1 ^ y2) | y4 | y3 | y2 */
static constexpr Uint256 transform_a(const Uint256& y) { return {y[1], y[2], y[3], y[0] ^ y[1]}; }

constexpr Uint256 c3 = {0xff00ff00ff00ff00, 0x00ff00ff00ff00ff, 0xff0000ff00ffff00, 0xff00ffff000000ff};

/** The cipher keys K1 to K4, each as eight words. */
using Keys = std::array<std::array<std::uint32_t, 8>, 4>;

/**
 * Computes P(w): octet i + 4k of the key is octet 8i + k of w. Word k of the key therefore consists of octet k of each
 * of the four words.
 */
[[gnu::always_inline]] inline void transform_p(std::array<std::uint32_t, 8>& key, const Uint256& w) {
    const auto word = [&w](std::size_t i) { return _mm_cvtsi64_si128(static_cast<long long>(w[i])); };
    const __m128i low = _mm_unpacklo_epi8(word(0), word(1));
    const __m128i high = _mm_unpacklo_epi8(word(2), word(3));
    const __m128i halves[] = {_mm_unpacklo_epi16(low, high), _mm_unpackhi_epi16(low, high)};
    std::memcpy(&key, halves, sizeof key);
}

[[gnu::always_inline]] inline void generate(Keys& keys, const Uint256& h, const Uint256& m) {
    Uint256 u = h;
    Uint256 v = m;
    transform_p(keys[0], u ^ v);
#pragma GCC unroll 4
    for (std::size_t j = 1; j < keys.size(); ++j) {
        u = transform_a(u);
        if (j == 2) u = u ^ c3;  // the constants of the other keys are zero
        v = transform_a(transform_a(v));
        transform_p(keys[j], u ^ v);
    }
}

// Mixing (section 6.3)
//
// psi shifts a window of sixteen 16-bit words one place along the sequence
//     y(n + 16) = y(n) + y(n + 1) + y(n + 2) + y(n + 3) + y(n + 12) + y(n + 15),
// where + is exclusive-or. With x for one place, psi^n is x^n modulo x^16 + x^15 + x^12 + x^3 + x^2 + x + 1. The
// sequence is kept as 64-bit words of four places, the first one lowest.

/** Returns four places of the two words a and b, beginning with `place`, which is from 1 to 3. */
static constexpr std::uint64_t window(std::uint64_t a, std::uint64_t b, unsigned place) {
    return a >> 16 * place ^ b << (64 - 16 * place);
}

/** Returns the next four places of the sequence after the sixteen places at w. */
static constexpr std::uint64_t next(const std::uint64_t* w) {
    const std::uint64_t pair = w[0] ^ window(w[0], w[1], 1);  // y(n) + y(n + 1)
    const std::uint64_t next_pair = w[1] ^ window(w[1], w[2], 1);
    std::uint64_t sum = pair ^ window(pair, next_pair, 2) ^ w[3];
    // y(n + 15) is the previous place of the result itself. This is a running sum that starts with the last place of w.
    sum ^= w[3] >> 48;
    sum ^= sum << 16;
    return sum ^ sum << 32;
}

/** Returns the sequence that starts with y, continued by `more` words. */
template <std::size_t more>
static constexpr std::array<std::uint64_t, 4 + more> sequence(const Uint256& y) {
    std::array<std::uint64_t, 4 + more> w{y[0], y[1], y[2], y[3]};
#pragma GCC unroll 5
    for (std::size_t i = 0; i < more; ++i) w[4 + i] = next(&w[i]);
    return w;
}

static constexpr Uint256 psi(const Uint256& y) {
    const auto w = sequence<1>(y);
    return {window(w[0], w[1], 1), window(w[1], w[2], 1), window(w[2], w[3], 1), window(w[3], w[4], 1)};
}

static constexpr Uint256 psi_12(const Uint256& y) {
    const auto w = sequence<3>(y);
    return {w[3], w[4], w[5], w[6]};
}

/** Because x^61 = x^5 + x^10 + x^11 + x^20, the sum of four windows replaces 61 shifts. */
static constexpr Uint256 psi_61(const Uint256& y) {
    const auto w = sequence<5>(y);
    Uint256 out{};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] =
            window(w[i + 1], w[i + 2], 1) ^ window(w[i + 2], w[i + 3], 2) ^ window(w[i + 2], w[i + 3], 3) ^ w[i + 5];
    return out;
}

static constexpr Uint256 psi_times(Uint256 y, int times) {
    for (; times != 0; --times) y = psi(y);
    return y;
}

constexpr Uint256 sample = {0x0123456789abcdef, 0x8877665544332211, 0xfedcba9876543210, 0x13579bdf02468ace};
static_assert(psi_12(sample) == psi_times(sample, 12));
static_assert(psi_61(sample) == psi_times(sample, 61));

/** Computes f(h, m). s contains the quarters of h, each encrypted with its key. */
static constexpr Uint256 mix(const Uint256& h, const Uint256& m, const Uint256& s) {
    return psi_61(h ^ psi(m ^ psi_12(s)));
}

}  // namespace vrx::gostr3411

#endif
