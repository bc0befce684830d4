// Substitutions for any CPU, without addresses that depend on the input: they compare the input with every possible
// value.
#ifndef VRX_TZ_SCAN_HPP
#define VRX_TZ_SCAN_HPP

#include <emmintrin.h>

#include "tz/sboxes.hpp"

namespace vrx::tz {

[[gnu::always_inline]] inline __m128i rotated_left_11(__m128i words) {
    return _mm_or_si128(_mm_slli_epi32(words, 11), _mm_srli_epi32(words, 21));
}

/**
 * Applies eight S-boxes to four words, and rotates the words left by 11 bits. For each i from 0 to 15, selects the
 * outputs for i in all bytes whose nibble is i. Cost: 103 instructions.
 */
class ScannedSBoxes {
public:
    explicit ScannedSBoxes(const SBoxes& s) {
        for (unsigned i = 0; i < 16; ++i) {
            even_[i] = outputs(s.even, i);
            odd_[i] = outputs(s.odd, i);
        }
    }

    [[gnu::always_inline]] __m128i operator()(__m128i words) const {
        const __m128i nibble = _mm_set1_epi8(0x0f);
        const __m128i low = _mm_and_si128(words, nibble);
        const __m128i high = _mm_and_si128(_mm_srli_epi32(words, 4), nibble);
        __m128i sum[2] = {_mm_setzero_si128(), _mm_setzero_si128()};
#pragma GCC unroll 16
        for (unsigned i = 0; i < 16; ++i) {
            const __m128i input = _mm_set1_epi8(static_cast<char>(i));
            sum[0] = _mm_or_si128(sum[0], _mm_and_si128(_mm_cmpeq_epi8(low, input), even_[i]));
            sum[1] = _mm_or_si128(sum[1], _mm_and_si128(_mm_cmpeq_epi8(high, input), odd_[i]));
        }
        return rotated_left_11(_mm_or_si128(sum[0], sum[1]));
    }

private:
    static __m128i outputs(const std::uint8_t (&sboxes)[64], unsigned i) {
        std::uint32_t word = 0;
        for (unsigned m = 0; m < 4; ++m) word |= std::uint32_t{sboxes[16 * m + i]} << 8 * m;
        return _mm_set1_epi32(static_cast<int>(word));
    }

    __m128i even_[16];
    __m128i odd_[16];
};

/**
 * Applies a table of any content to one word. For each byte of the word, reads all 256 entries of the byte's table as
 * 16 rows. The high nibble selects a row, and the low nibble an entry of this row. Cost: 630 instructions.
 */
inline std::uint32_t scanned(const vrx_tz& table, std::uint32_t word) {
    const auto repeated = [](std::uint32_t n) { return _mm_set1_epi32(static_cast<int>(n)); };
    const __m128i one = repeated(1);
    const __m128i four = repeated(4);
    __m128i sum = _mm_setzero_si128();
    for (unsigned k = 0; k < 4; ++k) {
        const __m128i low = repeated(word >> 8 * k & 15);
        const __m128i high = repeated(word >> (8 * k + 4) & 15);
        __m128i row[4] = {};
        __m128i number = _mm_setzero_si128();
        for (unsigned h = 0; h < 16; ++h) {
            const __m128i chosen = _mm_cmpeq_epi32(high, number);
#pragma GCC unroll 4
            for (unsigned i = 0; i < 4; ++i) {
                const auto* const entries = reinterpret_cast<const __m128i*>(&table.t[k][16 * h + 4 * i]);
                row[i] = _mm_or_si128(row[i], _mm_and_si128(_mm_loadu_si128(entries), chosen));
            }
            number = _mm_add_epi32(number, one);
        }
        __m128i places = _mm_setr_epi32(0, 1, 2, 3);
#pragma GCC unroll 4
        for (const __m128i entries : row) {
            sum = _mm_xor_si128(sum, _mm_and_si128(_mm_cmpeq_epi32(low, places), entries));
            places = _mm_add_epi32(places, four);
        }
    }
    // The sum of the four entries is the sum of the four words. Adds up these words.
    sum = _mm_xor_si128(sum, _mm_shuffle_epi32(sum, 0x4e));
    sum = _mm_xor_si128(sum, _mm_shuffle_epi32(sum, 0xb1));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(sum));
}

}  // namespace vrx::tz

#endif
