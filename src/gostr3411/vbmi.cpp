// AVX-512 VBMI engine of the hash step. One register holds the four blocks, two registers hold the S-boxes, and linear
// maps are computed with permutes.
#include <immintrin.h>

#include "gostr3411/engine.hpp"
#include "gostr3411/linear.hpp"

#include "frame/region_avx512.hpp"

#include "tz/recover_avx512.hpp"

namespace vrx::gostr3411 {
namespace {

using tz::Tables;

// A linear map is computed by permutes. The argument, or a part of it, is at the start of a register whose last byte is
// 0. A permute moves two terms for each octet of the result: one to the lower half of a register, and one to its upper
// half. After all permutes are added up, the two halves are added.

constexpr std::uint8_t zero = 63;

template <std::size_t count>
struct Permutes {
    alignas(64) std::uint8_t index[count][64];
};

/** Returns the permutes for the terms whose places are nth(out, term). */
template <std::size_t terms, typename Nth>
constexpr auto permutes_in_halves(Nth nth) {
    Permutes<(terms + 1) / 2> p{};
    for (std::size_t i = 0; i < 2 * std::size(p.index); ++i)
        for (std::size_t out = 0; out < 32; ++out) p.index[i / 2][i % 2 * 32 + out] = nth(out, i);
    return p;
}

/** Returns element n of a set of places. */
constexpr std::uint8_t nth_place(std::uint32_t set, std::size_t n) {
    for (; n != 0; --n) set &= set - 1;
    return set == 0 ? zero : static_cast<std::uint8_t>(std::countr_zero(set));
}

constexpr std::size_t most_terms(const OctetMap& map) {
    int most = 0;
    for (const std::uint32_t sources : map)
        if (const int n = std::popcount(sources); n > most) most = n;
    return static_cast<std::size_t>(most);
}

template <const OctetMap& map>
inline constexpr auto of_number = permutes_in_halves<most_terms(map)>([](std::size_t out, std::size_t i) {
    return nth_place(map[out], i);
});

template <const OctetMap& map, Part part>
inline constexpr auto of_part = permutes_in_halves<gostr3411::most_terms(map, part)>([](std::size_t out,
                                                                                        std::size_t i) {
    return nth_place(places(map, part, out), i);
});

constexpr int exclusive_or = 0x96;  // for the ternary-logic instruction: a ^ b ^ c

/** Adds the results of the permutes to `sum`. */
template <std::size_t count>
[[gnu::always_inline]] inline __m512i permuted(__m512i argument, const Permutes<count>& p, __m512i sum) {
    const auto term = [&](std::size_t i) __attribute__((always_inline)) {
        return _mm512_permutexvar_epi8(_mm512_load_si512(p.index[i]), argument);
    };
    if constexpr (count % 2 != 0) sum = _mm512_xor_si512(sum, term(count - 1));
#pragma GCC unroll 4
    for (std::size_t i = 0; i + 1 < count; i += 2)
        sum = _mm512_ternarylogic_epi32(sum, term(i), term(i + 1), exclusive_or);
    return sum;
}

/**
 * The index vectors of the permutes that compute the four keys. The results of `half[h]` are words 4h to 4h + 3 of all
 * four keys.
 */
template <std::size_t terms>
struct KeyPermutes {
    Permutes<terms> half[2];
};

template <std::size_t terms>
constexpr KeyPermutes<terms> key_permutes(const std::array<OctetMap, 4>& maps) {
    KeyPermutes<terms> k{};
    for (std::size_t word = 0; word < 8; ++word)
        for (std::size_t j = 0; j < 4; ++j)
            for (std::size_t octet = 0; octet < 4; ++octet)
                for (std::size_t i = 0; i < terms; ++i)
                    k.half[word / 4].index[i][word % 4 * 16 + 4 * j + octet] = nth_place(maps[j][4 * word + octet], i);
    return k;
}

constexpr std::array<OctetMap, 4> keys_of_h = {key_of_h<0>, key_of_h<1>, key_of_h<2>, key_of_h<3>};
constexpr std::array<OctetMap, 4> keys_of_m = {key_of_m<0>, key_of_m<1>, key_of_m<2>, key_of_m<3>};

constexpr std::size_t most_terms(const std::array<OctetMap, 4>& maps) {
    std::size_t most = 0;
    for (const OctetMap& map : maps) most = std::max(most, most_terms(map));
    return most;
}

constexpr auto of_h = key_permutes<most_terms(keys_of_h)>(keys_of_h);
constexpr auto of_m = key_permutes<most_terms(keys_of_m)>(keys_of_m);

struct Constants {
    alignas(64) std::uint8_t octet[8][16];
};
constexpr Constants constants = [] {
    const Octets<std::uint8_t> key2 = key_constant(2);
    const Octets<std::uint8_t> key3 = key_constant(3);
    Constants c{};
    for (std::size_t word = 0; word < 8; ++word)
        for (std::size_t i = 0; i < 4; ++i) {
            c.octet[word][8 + i] = key2[4 * word + i];
            c.octet[word][12 + i] = key3[4 * word + i];
        }
    return c;
}();

/** The eight words of each of the four keys, interleaved. */
struct Keys {
    alignas(64) std::uint32_t word[8][4];

    [[gnu::always_inline]] Keys(__m512i h, __m512i m) {
#pragma GCC unroll 2
        for (unsigned half = 0; half < 2; ++half) {
            const __m512i of_message = permuted(m, of_m.half[half], _mm512_load_si512(constants.octet[4 * half]));
            _mm512_store_si512(word[4 * half], permuted(h, of_h.half[half], of_message));
        }
    }
    [[nodiscard]] __m128i operator[](unsigned k) const {
        return _mm_load_si128(reinterpret_cast<const __m128i*>(word[k]));
    }
};

__m512i load_number(const void* from) {
    return _mm512_zextsi256_si512(_mm256_loadu_si256(static_cast<const __m256i*>(from)));
}

/**
 * Performs a round of four blocks. Each word of a register holds one block, and the halves are stored rotated right by
 * 11 bits. gost28147/engine/vbmi.cpp explains this round, which is a dependency chain of eight instructions. No other
 * blocks are interleaved, so the latency of the chain determines the speed: 8 cycles if a permute takes three cycles
 * and every other instruction takes one.
 */
[[gnu::always_inline]] inline __m128i round(const Tables& tables, __m128i half, __m128i other, __m128i key) {
    const __m128i nibbles = _mm_set1_epi32(0x0f0f0f0f);
    const __m128i places = _mm_set1_epi32(0x30201000);
    constexpr int and_or = 0xea;  // a & b | c
    const auto looked_up = [](__m512i table, __m128i index) __attribute__((always_inline)) {
        return _mm512_castsi512_si128(_mm512_permutexvar_epi8(_mm512_castsi128_si512(index), table));
    };
    const __m128i t = _mm_add_epi32(_mm_rol_epi32(other, 11), key);
    const __m128i even = _mm_ternarylogic_epi32(t, nibbles, places, and_or);
    const __m128i odd = _mm_ternarylogic_epi32(_mm_srli_epi32(t, 4), nibbles, places, and_or);
    return _mm_ternarylogic_epi32(half, looked_up(tables.even, even), looked_up(tables.odd, odd), exclusive_or);
}

}  // namespace

/**
 * Each step is one chain of 32 rounds. The critical path between the rounds of two steps contains 4 permutes that
 * compute the keys from H, and 4 permutes that compute psi^74 of those halves of S that are ready last. The other
 * permutes run in parallel with the rounds: 6 for the keys from the next M, 14 for psi^61(H) + psi^62(M), and those for
 * the other halves of S. No address depends on the hashed data.
 */
void steps_vbmi(Uint256& hash, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    const Tables tables(*s.sboxes);
    __m512i h = load_number(hash.data());
    for (; count != 0; --count, blocks += sizeof hash) {
        const __m512i m = load_number(blocks);
        const Keys keys(h, m);
        const __m256i quarters = _mm512_castsi512_si256(h);
        __m128i n1 = _mm_ror_epi32(_mm256_cvtepi64_epi32(quarters), 11);
        __m128i n2 = _mm_ror_epi32(_mm256_cvtepi64_epi32(_mm256_srli_epi64(quarters, 32)), 11);
        __m512i sum = permuted(m, of_number<psi_62>, _mm512_setzero_si512());
        sum = permuted(h, of_number<psi_61>, sum);
        for (unsigned pass = 0; pass < 3; ++pass) {
#pragma GCC unroll 4
            for (unsigned k = 0; k < 8; k += 2) {
                n2 = round(tables, n2, n1, keys[k]);
                n1 = round(tables, n1, n2, keys[k + 1]);
            }
        }
#pragma GCC unroll 4
        for (unsigned k = 8; k != 0; k -= 2) {
            n2 = round(tables, n2, n1, keys[k - 1]);
            n1 = round(tables, n1, n2, keys[k - 2]);
        }
        // The last round does not swap the halves, so n2 holds the first halves. n2 is ready one round before n1.
        sum = permuted(_mm512_zextsi128_si512(_mm_rol_epi32(n2, 11)), of_part<psi_74, Part::halves1>, sum);
        sum = permuted(_mm512_zextsi128_si512(_mm_rol_epi32(n1, 11)), of_part<psi_74, Part::halves2>, sum);
        h = _mm512_zextsi256_si512(_mm256_xor_si256(_mm512_castsi512_si256(sum), _mm512_extracti64x4_epi64(sum, 1)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(hash.data()), _mm512_castsi512_si256(h));
}

#ifndef VRX_CONSTANT_TIME
constexpr Steps steps_of_other_tables = steps_avx2;
#else
constexpr Steps steps_of_other_tables = steps_scan_table;
#endif

Steps prepare_vbmi(Substitution& s) noexcept {
    s.sboxes = tz::built_in_sboxes(s.table);
    if (s.sboxes == nullptr) {
        tz::Claim claim(s.table);
        for (unsigned m = 0; m < 4; ++m) claim.check(m);
        if (!claim.holds()) return steps_of_other_tables;
        const Tables tables = claim.tables();
        _mm512_store_si512(s.found.even, tables.even);
        _mm512_store_si512(s.found.odd, tables.odd);
        s.sboxes = &s.found;
    }
    return steps_vbmi;
}

}  // namespace vrx::gostr3411

#include "frame/region_end.hpp"
