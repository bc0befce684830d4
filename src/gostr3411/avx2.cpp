// AVX2 engine of the hash step: look-ups through general registers, for any table, and linear maps with shuffles.
#include <immintrin.h>

#include "gostr3411/engine.hpp"
#include "gostr3411/linear.hpp"

#include "frame/region_avx2.hpp"

namespace vrx::gostr3411 {
namespace {

// A linear map is computed by shuffles. A register holds one part of the argument in both lanes, so that a shuffle can
// move one term, or 0, to each octet of the result. The result is the sum of several shuffles of each part.

template <std::size_t count>
struct Shuffles {
    alignas(32) std::uint8_t index[count][32];
};

template <const OctetMap& map, Part part>
inline constexpr auto shuffles = [] {
    Shuffles<most_terms(map, part)> s{};
    for (std::size_t out = 0; out < 32; ++out) {
        unsigned left = places(map, part, out);
        for (auto& index : s.index) {
            index[out] = static_cast<std::uint8_t>(left == 0 ? 0x80 : std::countr_zero(left));
            left &= left - 1;
        }
    }
    return s;
}();

/** Returns the sum of the shuffles from `first` to `last` - 1, as a tree with the fewest levels. */
template <std::size_t first, std::size_t last, std::size_t count>
[[gnu::always_inline]] inline __m256i shuffled(__m256i twice, const Shuffles<count>& s) {
    if constexpr (last - first == 1) {
        return _mm256_shuffle_epi8(twice, _mm256_load_si256(reinterpret_cast<const __m256i*>(s.index[first])));
    } else {
        constexpr std::size_t middle = (first + last) / 2;
        return _mm256_xor_si256(shuffled<first, middle>(twice, s), shuffled<middle, last>(twice, s));
    }
}

/** Returns the terms of map(argument) that come from one part of the argument. */
template <const OctetMap& map, Part part>
[[gnu::always_inline]] inline __m256i share(__m256i twice) {
    return shuffled<0, most_terms(map, part)>(twice, shuffles<map, part>);
}

/** A 256-bit number in the form that the maps require: each half of the number is in both lanes of a register. */
struct Twice {
    __m256i low;
    __m256i high;

    explicit Twice(__m256i n) : low(_mm256_permute4x64_epi64(n, 0x44)), high(_mm256_permute4x64_epi64(n, 0xee)) {}
    explicit Twice(const std::uint8_t* octets) : low(in_both_lanes(octets)), high(in_both_lanes(octets + 16)) {}

    template <const OctetMap& map>
    [[nodiscard]] __m256i mapped() const {
        return _mm256_xor_si256(share<map, Part::low>(low), share<map, Part::high>(high));
    }

private:
    static __m256i in_both_lanes(const std::uint8_t* octets) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(octets)));
    }
};

struct Keys {
    alignas(32) std::uint32_t word[4][8];

    [[gnu::always_inline]] Keys(const Twice& h, const Twice& m) {
        set<0>(h, m);
        set<1>(h, m);
        set<2>(h, m);
        set<3>(h, m);
    }

private:
    template <unsigned j>
    [[gnu::always_inline]] void set(const Twice& h, const Twice& m) {
        __m256i of_m = m.mapped<key_of_m<j>>();
        static constexpr Octets<std::uint8_t> constant = key_constant(j);
        if constexpr (j >= 2)
            of_m = _mm256_xor_si256(of_m, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(constant.data())));
        _mm256_store_si256(reinterpret_cast<__m256i*>(word[j]), _mm256_xor_si256(h.mapped<key_of_h<j>>(), of_m));
    }
};

struct Blocks {
    std::uint32_t n1[4];
    std::uint32_t n2[4];
};

// Substitutions compute the XOR of `half` and the table entries for t, as two sums that finish at the same time. The
// empty asm statements keep compilers from combining the two sums into one chain. Indices are 64 bits wide, like
// addresses.

/** Four look-ups in any table. */
struct Four {
    const vrx_tz& table;

    explicit Four(const Substitution& s) : table(s.table) {}
    [[gnu::always_inline]] std::uint32_t mixed(std::uint32_t half, std::uint64_t t) const {
        std::uint32_t sum = half ^ table.t[0][t & 255];
        asm("" : "+r"(sum));
        sum ^= table.t[1][t >> 8 & 255];
        std::uint32_t other = table.t[2][_bextr_u64(t, 16, 8)] ^ table.t[3][t >> 24];
        asm("" : "+r"(sum), "+r"(other));
        return sum ^ other;
    }
};

/** Three look-ups in a built-in table of 33 KiB. The dependency chain is one XOR shorter than with four look-ups. */
struct Three {
    const WideTable& table;

    explicit Three(const Substitution& s) : table(*s.wide) {}
    [[gnu::always_inline]] std::uint32_t mixed(std::uint32_t half, std::uint64_t t) const {
        std::uint32_t sum = half ^ table.low[t & 4095];
        asm("" : "+r"(sum));
        std::uint32_t other = table.middle[_bextr_u64(t, 12, 8)] ^ table.high[t >> 20];
        asm("" : "+r"(other));
        return sum ^ other;
    }
};

/** Performs eight rounds of all four blocks. In round i, each block adds word order[i] of its key. */
template <std::size_t... order, typename LookUps>
[[gnu::always_inline]] inline void rounds(Blocks& b, const Keys& keys, const LookUps& look_ups) {
    const auto round = [&](std::uint32_t(&changed)[4], const std::uint32_t(&by)[4], std::size_t word)
        __attribute__((always_inline)) {
#pragma GCC unroll 4
        for (std::size_t j = 0; j < 4; ++j) changed[j] = look_ups.mixed(changed[j], by[j] + keys.word[j][word]);
    };
    std::size_t i = 0;
    ((i++ % 2 == 0 ? round(b.n2, b.n1, order) : round(b.n1, b.n2, order)), ...);
}

/** Returns the halves of all four blocks, in both lanes of a register. */
[[gnu::always_inline]] inline __m256i gathered(const std::uint32_t (&half)[4]) {
    const auto pair = [](std::uint32_t low, std::uint32_t high) {
        return static_cast<long long>(std::uint64_t{high} << 32 | low);
    };
    return _mm256_broadcastsi128_si256(_mm_set_epi64x(pair(half[2], half[3]), pair(half[0], half[1])));
}

/**
 * Runs four interleaved chains of look-ups in the general registers. A round depends on the look-ups of the previous
 * round by an addition, an index, a load and three XORs. The latency is 10 cycles with four look-ups, and 9 cycles with
 * three. A round of the four blocks takes 20 loads and 32 other instructions with four look-ups, and 16 loads and 24
 * other instructions with three. The rest of a step is linear:
 *
 *     keys    P(A^j(H)) + P(A^2j(M)) + constant    12 shuffles that take H, 13 that take M
 *     result  psi^61(H) + psi^62(M)                28 shuffles
 *             + psi^74(S)                          13 shuffles
 *
 * Only the keys of H and psi^74(S) are on the critical path between the rounds of two steps. The other maps do not
 * depend on the rounds, so they run in parallel with them.
 */
template <typename LookUps>
void steps(Uint256& hash, const std::uint8_t* blocks, std::size_t count, const Substitution& s) {
    const LookUps look_ups(s);
    __m256i number = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(hash.data()));
    for (; count != 0; --count, blocks += sizeof hash) {
        const Twice m(blocks);
        const Twice h(number);
        const Keys keys(h, m);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(hash.data()), number);
        Blocks b;
        for (std::size_t j = 0; j < 4; ++j) {
            b.n1[j] = static_cast<std::uint32_t>(hash[j]);
            b.n2[j] = static_cast<std::uint32_t>(hash[j] >> 32);
        }
        const __m256i known = _mm256_xor_si256(h.mapped<psi_61>(), m.mapped<psi_62>());
        for (int pass = 0; pass < 3; ++pass) rounds<0, 1, 2, 3, 4, 5, 6, 7>(b, keys, look_ups);
        rounds<7, 6, 5, 4, 3, 2, 1, 0>(b, keys, look_ups);
        // The last round does not swap the halves, so n2 holds the first halves. n2 is ready one round before n1.
        const __m256i first = _mm256_xor_si256(known, share<psi_74, Part::halves1>(gathered(b.n2)));
        number = _mm256_xor_si256(first, share<psi_74, Part::halves2>(gathered(b.n1)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(hash.data()), number);
}

}  // namespace

void steps_avx2(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    steps<Four>(h, blocks, count, s);
}

void steps_avx2_wide(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    steps<Three>(h, blocks, count, s);
}

Steps prepare_avx2(Substitution&) noexcept { return steps_avx2; }

Steps prepare_avx2_wide(Substitution& s) noexcept {
    s.wide = built_in_wide_table(s.table);
    return s.wide != nullptr ? steps_avx2_wide : steps_avx2;
}

}  // namespace vrx::gostr3411

#include "frame/region_end.hpp"
