// AVX-512 VBMI engine for tables of any content: look-ups with VPERMI2B on planes of bytes.
#include <immintrin.h>

#include <algorithm>

#include "frame/secret_work.hpp"
#include "gost28147/engine/list.hpp"

#include "frame/region_avx512.hpp"

#include "gost28147/engine/parallel.hpp"
#include "gost28147/engine/planes.hpp"
#include "gost28147/engine/vbmi_vector.hpp"

namespace vrx::gost28147 {
namespace {

using vbmi::Vector;

/** A register of 64 bytes. */
struct Plane {
    __m512i v;

    static Plane repeated(std::uint8_t byte) { return {_mm512_set1_epi8(static_cast<char>(byte))}; }
    /** Interleaves the bytes of the two blocks in each lane: 0 8 1 9 ... */
    [[nodiscard]] Plane pairs() const {
        const __m128i order = _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
        return {_mm512_shuffle_epi8(v, _mm512_broadcast_i32x4(order))};
    }
    template <unsigned bits>
    static void unpack(Plane a, Plane b, Plane& low, Plane& high) {
        if constexpr (bits == 8) {
            low.v = _mm512_unpacklo_epi8(a.v, b.v);
            high.v = _mm512_unpackhi_epi8(a.v, b.v);
        } else if constexpr (bits == 16) {
            low.v = _mm512_unpacklo_epi16(a.v, b.v);
            high.v = _mm512_unpackhi_epi16(a.v, b.v);
        } else if constexpr (bits == 32) {
            low.v = _mm512_unpacklo_epi32(a.v, b.v);
            high.v = _mm512_unpackhi_epi32(a.v, b.v);
        } else {
            low.v = _mm512_unpacklo_epi64(a.v, b.v);
            high.v = _mm512_unpackhi_epi64(a.v, b.v);
        }
    }
    [[nodiscard]] Plane not_less(Plane b) const { return {_mm512_movm_epi8(_mm512_cmpge_epu8_mask(v, b.v))}; }
};

Plane operator+(Plane a, Plane b) { return {_mm512_add_epi8(a.v, b.v)}; }
Plane operator-(Plane a, Plane b) { return {_mm512_sub_epi8(a.v, b.v)}; }
Plane operator&(Plane a, Plane b) { return {_mm512_and_si512(a.v, b.v)}; }
Plane operator|(Plane a, Plane b) { return {_mm512_or_si512(a.v, b.v)}; }

/** The look-up tables split into bytes: bytes[k][m] holds byte m of the 256 words of table k. */
struct TableBytes {
    alignas(64) std::uint8_t bytes[4][4][256];

    explicit TableBytes(const vrx_tz& table) {
        for (unsigned k = 0; k < 4; ++k)
            for (unsigned x = 0; x < 256; x += 16) {
                const __m512i words = _mm512_loadu_si512(&table.t[k][x]);
                for (unsigned m = 0; m < 4; ++m) {
                    const __m128i byte_m = _mm512_cvtepi32_epi8(_mm512_srli_epi32(words, 8 * m));
                    _mm_store_si128(reinterpret_cast<__m128i*>(&bytes[k][m][x]), byte_m);
                }
            }
    }
};

/**
 * Performs the rounds on planes of bytes with a table of any content. Two permutes look up 64 bytes in a table of 256
 * bytes: one permute in its lower half, and one in its upper half. The highest bit of the index selects the result.
 * There are sixteen such tables, one for each byte of the sum and each byte of the result. A round of 64 blocks
 * therefore costs 32 permutes, 16 ternary-logic instructions and 20 for the addition. No address depends on the data.
 */
struct Permuted {
    using Vector = vbmi::Vector;
    const TableBytes& tables;
    const KeyPlanes<Plane>& key;
    bool decrypting;

    template <std::size_t count>
    [[gnu::always_inline]] void run(Vector (&v)[count]) const {
        rounds_on_planes<Plane>(
            v, key, decrypting, [&](Plane * half, const Plane(&t)[4]) __attribute__((always_inline)) {
#pragma GCC unroll 4
                for (unsigned k = 0; k < 4; ++k) {
                    const __mmask64 upper = _mm512_movepi8_mask(t[k].v);
#pragma GCC unroll 4
                    for (unsigned m = 0; m < 4; ++m) {
                        const std::uint8_t* const bytes = tables.bytes[k][m];
                        const __m512i a = looked_up(~upper, t[k], bytes);
                        const __m512i b = looked_up(upper, t[k], bytes + 128);
                        half[m].v = _mm512_ternarylogic_epi32(half[m].v, a, b, 0x96);  // a ^ b ^ c
                    }
                }
            });
    }

private:
    static __m512i looked_up(__mmask64 kept, Plane index, const std::uint8_t* bytes) {
        return _mm512_maskz_permutex2var_epi8(kept, _mm512_load_si512(bytes), index.v, _mm512_load_si512(bytes + 64));
    }
};

}  // namespace

bool permute_planes(Mode mode, const Run& run) noexcept {
    secret_work<depth::permuted_planes>([&] {
        const TableBytes tables(run.cipher.table);
        const KeyPlanes<Plane> key(run.cipher.key);
        in_steps<16, 8>(Permuted{tables, key, decrypts(mode)}, mode, run);
    });
    return true;
}

}  // namespace vrx::gost28147

#include "frame/region_end.hpp"
