// Proves the loop over division steps, for any state: a step does what its definition says, and the packed rows of the
// matrix are unpacked correctly. inverse_proof.cpp proves what is made of the matrices.
#include <array>
#include <bit>
#include <utility>

#include "prove/circuit_theorem.hpp"

namespace vrx::prove {

/** A signed number of n bits, in two's complement. */
template <unsigned n>
struct Signed {
    U<n> word;

    constexpr Signed() = default;
    template <std::integral N>
    constexpr Signed(N value) : word(value) {}
    /** Drops the bits above. */
    constexpr explicit Signed(const U<64>& low) : word(low) {}
    template <unsigned m>
    requires(m < n) constexpr Signed(const Signed<m>& b) {
        Bits bits = b.word.bits();
        bits.resize(n, bits.back());
        word = U<n>::of(bits);
    }
    constexpr explicit operator U<64>() const { return U<64>(word); }

    /** Drops the bits above. Declared for functions that this file does not use. */
    template <unsigned m>
    requires(m > n) explicit Signed(const Signed<m>& b);

    constexpr Signed operator>>(int by) const {
        if (word.is_constant() && word.constant() >> (n - 1) == 0) return {word >> by, 0};
        Bits bits = word.bits();
        bits.erase(bits.begin(), bits.begin() + by);
        bits.resize(n, bits.back());
        return {U<n>::of(bits), 0};
    }

private:
    constexpr Signed(const U<n>& all, int) : word(all) {}
};

// Declared for functions that this file does not use.
template <unsigned n>
Signed<n> operator+(const Signed<n>&, const Signed<n>&);
template <unsigned n>
Signed<n> operator-(const Signed<n>&, const Signed<n>&);
template <unsigned n, unsigned m>
Signed<std::max(n, m)> operator*(const Signed<n>&, const Signed<m>&);
template <unsigned n>
Signed<n> operator*(int, const Signed<n>&);
template <unsigned n>
Signed<n> operator&(const Signed<n>&, const Signed<n>&);
template <unsigned n>
Signed<n> operator^(const Signed<n>&, const Signed<n>&);
template <unsigned n>
Signed<n>& operator+=(Signed<n>&, const Signed<n>&);
template <unsigned n>
Signed<n>& operator-=(Signed<n>&, const Signed<n>&);
template <unsigned n>
Signed<n>& operator>>=(Signed<n>&, int);

/** The variables of the loop over steps. */
struct Loop {
    Signed<64> zeta;
    U<64> h, g, uv, qr;
};
/** Before and after one step. */
inline Loop before, after;
/** The rows of the matrix at the end, where a proof chooses them. */
inline const std::array<U<64>, 2>* rows_at_end = nullptr;

}  // namespace vrx::prove

using prove_uint8 = vrx::prove::U<8>;
using prove_uint32 = vrx::prove::U<32>;
using prove_uint64 = vrx::prove::U<64>;
using prove_uint128 = vrx::prove::U<128>;
using prove_int8 = std::int8_t;
using prove_int32 = vrx::prove::Signed<32>;
using prove_int64 = vrx::prove::Signed<64>;
using prove_int128 = vrx::prove::Signed<128>;

/** At the beginning of a step: any values. */
inline void prove_step(prove_int64& zeta, prove_uint64& h, prove_uint64& g, prove_uint64& uv, prove_uint64& qr) {
    zeta.word = prove_uint64::unknown();
    for (prove_uint64* w : {&h, &g, &uv, &qr}) *w = prove_uint64::unknown();
    vrx::prove::before = {zeta, h, g, uv, qr};
}
/** After the last step. */
inline void prove_rows(const prove_int64& zeta, const prove_uint64& h, const prove_uint64& g, prove_uint64& uv,
                       prove_uint64& qr) {
    vrx::prove::after = {zeta, h, g, uv, qr};
    if (vrx::prove::rows_at_end == nullptr) return;
    uv = (*vrx::prove::rows_at_end)[0];
    qr = (*vrx::prove::rows_at_end)[1];
}

#include "ecc/uint256/divsteps.hpp"

namespace vrx::prove {
namespace {

using Word = U<64>;

Bit same(const Word& a, const Word& b) { return circuit::equal(a.bits(), b.bits()); }
Bit same(const Signed<64>& a, const Signed<64>& b) { return same(a.word, b.word); }
Word chosen(Bit condition, const Word& a, const Word& b) {
    return Word::of(circuit::choice(condition, a.bits(), b.bits()));
}
Bit all_of(std::initializer_list<Bit> claims) {
    Bit all = one;
    for (const Bit claim : claims) all = conjunction(all, claim);
    return all;
}

/** Runs one step from any state, and the unpacking of the rows. */
uint256::Matrix run_one_step() {
    Word f, g;
    uint256::Matrix t{};
    uint256::some_steps<1>(Signed<64>(0), f, g, t);
    return t;
}

// The words hold the low bits of f and g, so one bit less of g is known after each step. The loop has the same lines
// for every step, so that a proof about one step is one about all.
TEST(division_steps, do_what_their_definition_says) {
    VRX_NEEDS_SOLVER();
    circuit_theorem("a step: (f, g) and delta", 3, [] {
        run_one_step();
        const Word f = before.h << 1 | 1, g = before.g, zeta = before.zeta.word;
        const Bit is_odd = g.bits()[0], is_positive = zeta.bits()[63];  // delta > 0, where zeta = -(delta + 1/2)
        const Bit is_exchange = conjunction(is_odd, is_positive);
        const Word sum = chosen(is_odd, chosen(is_positive, g - f, g + f), g);
        // delta becomes 1 - delta or 1 + delta.
        const Word next_zeta = chosen(is_exchange, Word(0) - zeta - 2, zeta - 1);
        return all_of({same(after.h << 1 | 1, chosen(is_exchange, g, f)), same(after.g << 1, sum >> 1 << 1),
                       same(after.zeta.word, next_zeta)});
    });
    circuit_theorem("a step: the rows of the matrix, times 2", 13, [] {
        run_one_step();
        const Word uv = before.uv, qr = before.qr;
        const Bit is_odd = before.g.bits()[0], is_positive = before.zeta.word.bits()[63];
        const Word sum = chosen(is_odd, chosen(is_positive, qr - uv, qr + uv), qr);
        const Word first = chosen(conjunction(is_odd, is_positive), qr, uv);
        return all_of({same(after.uv, first + first), same(after.qr, sum)});
    });
}

TEST(division_steps, unpack_rows_within_their_range) {
    VRX_NEEDS_SOLVER();
    const auto are_unpacked = [](unsigned shift) {
        std::array<Signed<64>, 4> numbers;
        for (auto& number : numbers) {
            Signed<32> part;
            part.word = U<32>::unknown();
            circuit::assume(circuit::less((part.word + (1U << 30)).bits(), U<32>((1U << 31) + 1).bits()));
            number = part;
        }
        const std::array<Word, 2> rows = {numbers[0].word + (numbers[1].word << shift),
                                          numbers[2].word + (numbers[3].word << shift)};
        rows_at_end = &rows;
        const uint256::Matrix t = run_one_step();
        rows_at_end = nullptr;
        return all_of({same(t.u, numbers[0]), same(t.v, numbers[1]), same(t.q, numbers[2]), same(t.r, numbers[3])});
    };
    circuit_theorem_and_control(
        "rows u + 2^32 v are unpacked, for u and v from -2^30 to 2^30", [&] { return are_unpacked(32); },
        [&] { return are_unpacked(31); });
}

TEST(division_steps, find_out_a_unit) {
    VRX_NEEDS_SOLVER();
    circuit_theorem("is_unit(a) = all ones if the limbs are those of 1 or -1, else 0", 18, [] {
        uint256::Limbs62 a;
        Bit is_one = one, is_minus_one = one;
        for (unsigned i = 0; i < 5; ++i) {
            a[i].word = Word::unknown();
            is_one = conjunction(is_one, same(a[i].word, i == 0 ? 1 : 0));
            is_minus_one =
                conjunction(is_minus_one, same(a[i].word, i < 4 ? (std::uint64_t{1} << 62) - 1 : ~std::uint64_t{0}));
        }
        return same(uint256::is_unit(a), chosen(disjunction(is_one, is_minus_one), ~std::uint64_t{0}, 0));
    });
}

}  // namespace
}  // namespace vrx::prove
