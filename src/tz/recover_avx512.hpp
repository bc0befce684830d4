// Recovers the S-boxes of a deployed table in AVX-512 registers. Include this inside a region of
// frame/region_avx512.hpp.
#ifndef VRX_TZ_RECOVER_AVX512_HPP
#define VRX_TZ_RECOVER_AVX512_HPP

namespace vrx::tz {

inline __m512i repeated(std::uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }

/**
 * The entries of one S-box in table m. Row h of the table is (all entries of the even S-box) | (entry h of the odd
 * S-box).
 */
inline __m512i even_entries(__m512i num, unsigned m) {
    return _mm512_rol_epi32(_mm512_and_si512(num, repeated(0x0fU << 8 * m)), 11);
}
inline __m512i odd_entries(__m512i num, unsigned m) {
    return _mm512_rol_epi32(_mm512_and_si512(num, repeated(0xf0U << 8 * m)), 11);
}

/** Calls use(h, row h of table m) for the 16 rows of table m. `num` is a numeric TZ. Cost: an OR for each row. */
template <typename Use>
[[gnu::always_inline]] inline void for_each_row(__m512i num, unsigned m, Use use) {
    const __m512i even = even_entries(num, m);
    alignas(64) std::uint32_t odd[16];
    _mm512_store_si512(odd, odd_entries(num, m));
    asm(""
        : "+m"(odd));  // to repeat a word, one load from memory is enough, but from a register two shuffles are needed
#pragma GCC unroll 16
    for (unsigned h = 0; h < 16; ++h) use(h, _mm512_or_si512(even, repeated(odd[h])));
}

struct Transposition {
    alignas(64) std::uint8_t
        index[64];  // entry 16m + i: the index in a numeric TZ of the byte at even[16m + i] and odd[16m + i]
};
inline constexpr Transposition transposition = [] {
    Transposition t{};
    for (unsigned m = 0; m < 4; ++m)
        for (unsigned i = 0; i < 16; ++i) t.index[16 * m + i] = static_cast<std::uint8_t>(4 * i + m);
    return t;
}();

/** Eight S-boxes in two registers, in the layout of the type SBoxes. */
struct Tables {
    __m512i even;
    __m512i odd;

    Tables() = default;
    explicit Tables(const SBoxes& s) : even(_mm512_load_si512(s.even)), odd(_mm512_load_si512(s.odd)) {}
    explicit Tables(__m512i num) {
        const __m512i bytes = _mm512_permutexvar_epi8(_mm512_load_si512(transposition.index), num);
        even = _mm512_and_si512(bytes, _mm512_set1_epi8(0x0f));
        odd = _mm512_andnot_si512(_mm512_set1_epi8(0x0f), bytes);
    }
};

/**
 * The candidate S-boxes of a table, and the check that they expand to exactly its entries. check(m) examines one of the
 * four tables. The entries t[17i] on the diagonal of table m hold the outputs of both S-boxes for the input i. Cost: 64
 * loads for the diagonal, and an OR and a ternary-logic instruction with a load for each of 64 rows. The check must
 * finish before the first result is written, so for short runs it is interleaved with the rounds.
 */
class Claim {
public:
    [[gnu::always_inline]] explicit Claim(const vrx_tz& table) : table_(table) {
        // The entries are merged in two halves, so that the dependency chain is short.
        __m512i diagonal[4][2] = {};
#pragma GCC unroll 8
        for (unsigned i = 0; i < 8; ++i)
#pragma GCC unroll 2
            for (unsigned half = 0; half < 2; ++half)
#pragma GCC unroll 4
                for (unsigned m = 0; m < 4; ++m) {
                    const unsigned h = 8 * half + i;
                    diagonal[m][half] = _mm512_mask_loadu_epi32(diagonal[m][half], static_cast<__mmask16>(1U << h),
                                                                &table.t[m][16 * h]);
                }
        constexpr int any = 0xfe;  // a | b | c
        const __m512i low = _mm512_ternarylogic_epi32(diagonal[0][0], diagonal[0][1], diagonal[1][0], any);
        const __m512i high = _mm512_ternarylogic_epi32(diagonal[2][0], diagonal[2][1], diagonal[3][0], any);
        const __m512i rest = _mm512_or_si512(diagonal[1][1], diagonal[3][1]);
        num_ = _mm512_ror_epi32(_mm512_ternarylogic_epi32(low, high, rest, any), 11);
    }

    [[nodiscard]] Tables tables() const { return Tables(num_); }

    /** Compares table m. */
    [[gnu::always_inline]] void check(unsigned m) {
        constexpr int or_of_difference = 0xf6;  // a | (b ^ c)
        const std::uint32_t* const t = table_.t[m];
        __m512i wrong[2] = {};
        for_each_row(
            num_, m, [&](unsigned h, __m512i row) __attribute__((always_inline)) {
                wrong[h % 2] =
                    _mm512_ternarylogic_epi32(wrong[h % 2], row, _mm512_loadu_si512(t + 16 * h), or_of_difference);
            });
        constexpr int any = 0xfe;
        wrong_ = _mm512_ternarylogic_epi32(wrong_, wrong[0], wrong[1], any);
    }
    /** True if all entries compared so far are equal. */
    [[nodiscard]] bool holds() const { return _mm512_test_epi32_mask(wrong_, wrong_) == 0; }

private:
    const vrx_tz& table_;
    __m512i num_;
    __m512i wrong_ = _mm512_setzero_si512();
};

}  // namespace vrx::tz

#endif
