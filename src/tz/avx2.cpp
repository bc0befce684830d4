// AVX2 variant of deploy(): the rows of a table in halves of 32 bytes.
#include <immintrin.h>

#include <bit>

#include "tz/deployments.hpp"
#include "tz/sboxes.hpp"

#include "frame/region_avx2.hpp"

namespace vrx::tz {
namespace {

__m256i load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
void store(void* to, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(to), v); }
__m256i repeated(std::uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }

/**
 * The parts of the rows of table m. Rows are processed in two halves. Word i of `num` holds the outputs of all S-boxes
 * for the input i.
 */
struct Parts {
    __m256i even[2];                    // the entries of S-box 2m
    alignas(32) std::uint32_t odd[16];  // the entries of S-box 2m + 1

    Parts(const std::uint8_t* num, unsigned m) {
        for (unsigned half = 0; half < 2; ++half) {
            const __m256i words = load(num + 32 * half);
            even[half] = part(words, 0x0fU << 8 * m);
            store(odd + 8 * half, part(words, 0xf0U << 8 * m));
        }
    }
    [[nodiscard]] __m256i row(unsigned high, unsigned half) const {
        return _mm256_or_si256(even[half], repeated(odd[high]));
    }

private:
    static __m256i part(__m256i words, std::uint32_t mask) {
        const __m256i bits = _mm256_and_si256(words, repeated(mask));
        return _mm256_or_si256(_mm256_slli_epi32(bits, 11), _mm256_srli_epi32(bits, 21));
    }
};

}  // namespace

void deploy_avx2(Numeric num, vrx_tz& out) noexcept {
    out.initialised = 0;
    for (unsigned m = 0; m < 4; ++m) {
        const Parts parts(num.data(), m);
#pragma GCC unroll 16
        for (unsigned high = 0; high < 16; ++high) {
            store(&out.t[m][16 * high], parts.row(high, 0));
            store(&out.t[m][16 * high + 8], parts.row(high, 1));
        }
    }
    out.initialised = 1;
}

bool recover_avx2(const vrx_tz& table, SBoxes& out) noexcept {
    alignas(32) std::uint8_t num[VRX_NUM_TZ_SIZE];
    for (unsigned m = 0; m < 4; ++m)
        for (unsigned i = 0; i < 16; ++i)
            num[4 * i + m] = static_cast<std::uint8_t>(std::rotr(table.t[m][17 * i], 11) >> 8 * m);
    out = sboxes(num);

    __m256i wrong = _mm256_setzero_si256();
    for (unsigned m = 0; m < 4; ++m) {
        const Parts parts(num, m);
#pragma GCC unroll 16
        for (unsigned high = 0; high < 16; ++high)
#pragma GCC unroll 2
            for (unsigned half = 0; half < 2; ++half)
                wrong = _mm256_or_si256(
                    wrong, _mm256_xor_si256(parts.row(high, half), load(&table.t[m][16 * high + 8 * half])));
    }
    return _mm256_testz_si256(wrong, wrong) != 0;
}

}  // namespace vrx::tz

#include "frame/region_end.hpp"
