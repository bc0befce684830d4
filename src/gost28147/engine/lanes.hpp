// Rounds on four blocks in two registers, for engines without look-ups. The type `Substitution` applies the S-boxes to
// the four words of a register: it is tz::ShuffledSBoxes or tz::ScannedSBoxes.
//
// An engine includes this inside its region, like engine/parallel.hpp: everything is a template over `Substitution`.
#ifndef VRX_GOST28147_ENGINE_LANES_HPP
#define VRX_GOST28147_ENGINE_LANES_HPP

#include "gost28147/engine/parallel.hpp"
#include "gost28147/engine/schedule.hpp"
#include "gost28147/in_order.hpp"

namespace vrx::gost28147 {

/** Four blocks: one register holds their first words, the other their second words. */
template <typename Substitution>
struct LaneVector {
    static constexpr std::size_t blocks = 4;
    static constexpr bool partial = false;
    __m128i n1;
    __m128i n2;

    static LaneVector load(const std::uint8_t* from, std::ptrdiff_t) {
        const auto* const pairs = reinterpret_cast<const __m128i*>(from);
        const __m128i a = _mm_shuffle_epi32(_mm_loadu_si128(pairs), 0xd8);
        const __m128i b = _mm_shuffle_epi32(_mm_loadu_si128(pairs + 1), 0xd8);
        return {_mm_unpacklo_epi64(a, b), _mm_unpackhi_epi64(a, b)};
    }
    static LaneVector load_after(Block first, const std::uint8_t* from, std::ptrdiff_t left) {
        const auto shifted = [](std::uint32_t word, __m128i later) {
            return _mm_or_si128(_mm_slli_si128(later, 4), _mm_cvtsi32_si128(static_cast<int>(word)));
        };
        const LaneVector v = load(from, left);
        return {shifted(first.n1, v.n1), shifted(first.n2, v.n2)};
    }
    void store(std::uint8_t* to, std::ptrdiff_t) const {
        auto* const pairs = reinterpret_cast<__m128i*>(to);
        _mm_storeu_si128(pairs, _mm_unpacklo_epi32(n1, n2));
        _mm_storeu_si128(pairs + 1, _mm_unpackhi_epi32(n1, n2));
    }
    static LaneVector counters(Block reg, std::size_t n) {
        const auto four = [](auto word) { return _mm_setr_epi32(word(1), word(2), word(3), word(4)); };
        return {four([&](std::size_t i) { return static_cast<int>(step_counter(reg, n + i).n1); }),
                four([&](std::size_t i) { return static_cast<int>(step_counter(reg, n + i).n2); })};
    }
    LaneVector& operator^=(const LaneVector& other) {
        n1 = _mm_xor_si128(n1, other.n1);
        n2 = _mm_xor_si128(n2, other.n2);
        return *this;
    }
};

/** Performs the rounds on vectors, and on one block in the lowest words of two registers. */
template <typename Substitution>
struct Lanes {
    using Vector = LaneVector<Substitution>;
    const Substitution& substitution;
    const Schedule& schedule;
    bool decrypting;

    template <std::size_t count>
    [[gnu::always_inline]] void run(Vector (&v)[count]) const {
        passes<4>(v, decrypting);
        // The last round does not swap the halves, so n1 and n2 are exchanged.
#pragma GCC unroll 4
        for (std::size_t i = 0; i < count; ++i) v[i] = {v[i].n2, v[i].n1};
    }

    template <const auto& order>
    [[nodiscard]] Block run(Block b) const {
        Vector v[1] = {{_mm_cvtsi32_si128(static_cast<int>(b.n1)), _mm_cvtsi32_si128(static_cast<int>(b.n2))}};
        passes<order.size() / VRX_KEY_WORDS>(v, backward<order>);
        return {static_cast<std::uint32_t>(_mm_cvtsi128_si32(v[0].n1)),
                static_cast<std::uint32_t>(_mm_cvtsi128_si32(v[0].n2))};
    }

private:
    template <unsigned count_of_passes, std::size_t count>
    [[gnu::always_inline]] void passes(Vector (&v)[count], bool reversed) const {
        const auto round = [&](__m128i & half, __m128i other, std::uint32_t key) __attribute__((always_inline)) {
            half = _mm_xor_si128(half, substitution(_mm_add_epi32(other, _mm_set1_epi32(static_cast<int>(key)))));
        };
        for (unsigned pass = 0; pass < count_of_passes; ++pass) {
            const std::uint32_t* const words = schedule.pass(pass, reversed);
#pragma GCC unroll 1
            for (unsigned k = 0; k < VRX_KEY_WORDS; k += 2) {
#pragma GCC unroll 4
                for (std::size_t i = 0; i < count; ++i) round(v[i].n2, v[i].n1, words[k]);
#pragma GCC unroll 4
                for (std::size_t i = 0; i < count; ++i) round(v[i].n1, v[i].n2, words[k + 1]);
            }
        }
    }
};

/** Runs any mode block by block. */
template <typename Substitution>
[[gnu::noinline]] void lanes_in_order(Mode mode, const Run& run, const Substitution& substitution) {
    const Schedule schedule(run.cipher.key);
    const Lanes<Substitution> lanes{substitution, schedule, false};
    in_order(mode, run, BlockBy<Lanes<Substitution>>{lanes});
}

/** Runs a parallelizable mode in steps of `counts` vectors, and the remaining blocks one by one. */
template <std::size_t... counts, typename Substitution>
[[gnu::noinline]] void lanes_in_steps(Mode mode, const Run& run, const Substitution& substitution) {
    const Schedule schedule(run.cipher.key);
    const Run rest = in_steps<counts...>(Lanes<Substitution>{substitution, schedule, decrypts(mode)}, mode, run);
    if (rest.blocks != 0) lanes_in_order(mode, rest, substitution);
}

}  // namespace vrx::gost28147

#endif
