// S-box substitution with PSHUFB. Include this inside a region that allows SSSE3, after tz/scan.hpp.
#ifndef VRX_TZ_SHUFFLE_HPP
#define VRX_TZ_SHUFFLE_HPP

namespace vrx::tz {

/**
 * Applies eight S-boxes to four words, and rotates the words left by 11 bits. One shuffle looks up all 16 bytes in one
 * S-box. Bytes that belong to other S-boxes get indices with bit 7 set, for which the result is 0. Cost: 29
 * instructions.
 */
class ShuffledSBoxes {
public:
    explicit ShuffledSBoxes(const SBoxes& s) {
        for (unsigned m = 0; m < 4; ++m) {
            even_[m] = _mm_load_si128(reinterpret_cast<const __m128i*>(s.even + 16 * m));
            odd_[m] = _mm_load_si128(reinterpret_cast<const __m128i*>(s.odd + 16 * m));
        }
    }

    [[gnu::always_inline]] __m128i operator()(__m128i words) const {
        const __m128i nibble = _mm_set1_epi8(0x0f);
        const __m128i low = _mm_and_si128(words, nibble);
        const __m128i high = _mm_and_si128(_mm_srli_epi32(words, 4), nibble);
        __m128i part[4];
#pragma GCC unroll 4
        for (unsigned m = 0; m < 4; ++m) {
            const __m128i others = _mm_set1_epi32(static_cast<int>(0x80808080U ^ 0x80U << 8 * m));
            part[m] = _mm_or_si128(_mm_shuffle_epi8(even_[m], _mm_or_si128(low, others)),
                                   _mm_shuffle_epi8(odd_[m], _mm_or_si128(high, others)));
        }
        return rotated_left_11(_mm_or_si128(_mm_or_si128(part[0], part[1]), _mm_or_si128(part[2], part[3])));
    }

private:
    __m128i even_[4];
    __m128i odd_[4];
};

}  // namespace vrx::tz

#endif
