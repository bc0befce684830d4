#include <immintrin.h>

#include "sha1/compress.hpp"

#include "frame/region_sha.hpp"

namespace vrx::sha1 {
namespace {

/**
 * Computes twenty groups of four steps. A vector holds A to D, or W(t) to W(t + 3), with the first of them in the
 * highest lane.
 */
struct Working {
    __m128i abcd;
    __m128i before;  // abcd before the last group; its A yields the E of the next group
    __m128i w[4];    // the last four groups of the schedule
};

/** Performs the steps of group g and of all later groups. */
template <int g>
[[gnu::always_inline]] inline void groups(Working& x, __m128i e) {
    __m128i& w = x.w[g % 4];
    if constexpr (g >= 4)
        w = _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(w, x.w[(g + 1) % 4]), x.w[(g + 2) % 4]),
                               x.w[(g + 3) % 4]);
    const __m128i e_plus_w = g == 0 ? _mm_add_epi32(e, w) : _mm_sha1nexte_epu32(x.before, w);
    x.before = x.abcd;
    x.abcd = _mm_sha1rnds4_epu32(x.abcd, e_plus_w, g / 5);
    if constexpr (g < 19) groups<g + 1>(x, e);
}

}  // namespace

void compress_sha_ni(Digest h, const std::uint8_t* data, std::size_t blocks) noexcept {
    const __m128i reversed = _mm_set_epi64x(0x0001020304050607, 0x08090a0b0c0d0e0f);
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(h.data())), 0x1b);
    __m128i e = _mm_set_epi32(static_cast<int>(h[4]), 0, 0, 0);
    for (; blocks != 0; --blocks, data += block_size) {
        Working x;
        x.abcd = abcd;
        x.before = abcd;
        for (int i = 0; i < 4; ++i)
            x.w[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data) + i), reversed);
        groups<0>(x, e);
        e = _mm_sha1nexte_epu32(x.before, e);
        abcd = _mm_add_epi32(x.abcd, abcd);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(h.data()), _mm_shuffle_epi32(abcd, 0x1b));
    h[4] = static_cast<std::uint32_t>(_mm_extract_epi32(e, 3));
}

}  // namespace vrx::sha1

#include "frame/region_end.hpp"
