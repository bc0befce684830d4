// Exhaustive tests of the field arithmetic over words of a few bits.
#include "ecc/field/small_words.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>

#include "ecc/field/modulus.hpp"
#include "ecc/uint256/divsteps.hpp"

using namespace vrx::test;
using namespace vrx::field;

namespace {

template <int bits, std::size_t count>
using Small = PlainWordsOf<SmallWord<bits>, count>;

template <typename Words>
constexpr int bits_of = static_cast<int>(std::tuple_size_v<Words>) * word_bits<typename Words::value_type>;

/** Conversion between integers and words. */
template <typename Words>
constexpr Words words(std::uint64_t n) {
    Words r{};
    for (auto& word : r) {
        word = typename Words::value_type(n);
        n >>= word_bits<typename Words::value_type>;
    }
    return r;
}
template <typename Words>
constexpr std::uint64_t number(const Words& w) {
    std::uint64_t n = 0;
    for (std::size_t i = w.size(); i-- != 0;)
        n = n << word_bits<typename Words::value_type> | static_cast<std::uint64_t>(w[i]);
    return n;
}

/** Calls check(a, b) for all pairs of numbers, until one fails. */
template <typename Words, typename Check>
void for_all_pairs(const Check& check) {
    constexpr std::uint64_t end = std::uint64_t{1} << bits_of<Words>;
    for (std::uint64_t a = 0; a < end; ++a)
        for (std::uint64_t b = 0; b < end; ++b)
            if (!check(a, b)) {
                ADD_FAILURE() << a << " and " << b;
                return;
            }
}

template <typename P>
void check_long_numbers() {
    using Words = typename P::Words;
    using Word = typename P::Word;
    constexpr int bits = bits_of<Words>;
    constexpr std::uint64_t end = std::uint64_t{1} << bits;
    for_all_pairs<Words>([](std::uint64_t a, std::uint64_t b) {
        const Words u = words<Words>(a);
        const Words v = words<Words>(b);
        Words r{};
        const auto is = [&](std::uint64_t result, Word out, bool expected_out) {
            return number(r) == result % end && static_cast<std::uint64_t>(out) == (expected_out ? 1U : 0U);
        };
        bool good = is(a + b, add(r, u, v), a + b >= end);
        good &= is(a - b, sub(r, u, v), a < b);
        r = u;
        const auto word = static_cast<std::uint64_t>(v[0]);
        good &= is(a + word, add_word(r, v[0]), a + word >= end);
        r = u;
        good &= is(a - word, sub_word(r, v[0]), a < word);
        good &= number(multiply(u, v)) == a * b && static_cast<std::uint64_t>(is_zero(u)) == (a == 0 ? 1U : 0U);
        good &= number(reduce_once(u, v)) == (a < b ? a : a - b);
        good &=
            number(conditional_move(mask(Word{1}), u, v)) == a && number(conditional_move(mask(Word{0}), u, v)) == b;
        return good;
    });
}

TEST(small_words, make_correct_long_numbers) {
    check_long_numbers<Small<5, 2>>();
    check_long_numbers<Small<3, 3>>();
    check_long_numbers<Small<2, 4>>();
}

/** Checks fields whose elements need not be reduced. */
template <typename S>
void check_loose() {
    using Words = typename S::Words;
    constexpr std::uint64_t p = number(S::modulus);
    for_all_pairs<Words>([](std::uint64_t a, std::uint64_t b) {
        const Words u = words<Words>(a);
        const Words v = words<Words>(b);
        return number(S::mul(u, v)) % p == a * b % p && number(S::add(u, v)) % p == (a + b) % p &&
               number(S::sub(u, v)) % p == (a + 2 * p - b) % p && number(S::from_montgomery(u)) == a % p &&
               (a != b || number(S::sqr(u)) % p == a * a % p);
    });
}

// The largest c that the word size allows, and smaller ones.
TEST(small_words, make_correct_fields_below_a_power_of_two) {
    check_loose<PseudoMersenneMinus<5, Small<5, 2>>>();
    check_loose<PseudoMersenneMinus<4, Small<5, 2>>>();
    check_loose<PseudoMersenneMinus<1, Small<5, 2>>>();
    check_loose<PseudoMersenneMinus<2, Small<3, 3>>>();
    check_loose<PseudoMersenneMinus<1, Small<2, 4>>>();
}

TEST(small_words, make_correct_fields_above_a_power_of_two) {
    check_loose<PseudoMersennePlus<2, Small<5, 2>>>();
    check_loose<PseudoMersennePlus<1, Small<5, 2>>>();
    check_loose<PseudoMersennePlus<1, Small<3, 3>>>();
}

template <std::uint64_t modulus, typename P>
void check_montgomery() {
    using Words = typename P::Words;
    using S = Montgomery<words<Words>(modulus), P>;
    constexpr std::uint64_t end = std::uint64_t{1} << bits_of<Words>;
    for_all_pairs<Words>([](std::uint64_t a, std::uint64_t b) {
        const Words u = words<Words>(a);
        const Words v = words<Words>(b);
        // One factor may be any number. The other operands and the result are reduced.
        const auto times_power = [](const Words& w) { return number(w) * end % modulus; };
        if (number(S::from_montgomery(u)) * end % modulus != a % modulus ||
            number(S::to_montgomery(u)) != a * end % modulus)
            return false;
        if (b >= modulus) return true;
        const Words product = S::mul(u, v);
        if (number(product) >= modulus || times_power(product) != a * b % modulus) return false;
        return a >= modulus ||
               (number(S::add(u, v)) == (a + b) % modulus && number(S::sub(u, v)) == (a + modulus - b) % modulus &&
                (a != b || times_power(S::sqr(u)) == a * a % modulus));
    });
}

TEST(small_words, make_correct_fields_in_montgomery_form) {
    check_montgomery<513, Small<5, 2>>();
    check_montgomery<797, Small<5, 2>>();
    check_montgomery<1023, Small<5, 2>>();
    check_montgomery<257, Small<3, 3>>();
    check_montgomery<511, Small<3, 3>>();
    check_montgomery<129, Small<2, 4>>();
    check_montgomery<191, Small<2, 4>>();
    check_montgomery<255, Small<2, 4>>();
}

template <int bits>
Limbs62 limbs(std::int64_t n) {
    Limbs62 r{};
    for (std::size_t i = 0; i < 4; ++i, n >>= bits) r[i] = n & static_cast<std::int64_t>(limb_mask<bits>);
    r[4] = n;
    return r;
}
template <int bits>
std::int64_t number(const Limbs62& a) {
    std::int64_t n = a[4];
    for (std::size_t i = 4; i-- != 0;) n = n * (1 << bits) + a[i];
    return n;
}
template <int bits>
bool is_carried(const Limbs62& a) {
    return std::all_of(a.begin(), a.end() - 1, [](std::int64_t limb) { return 0 <= limb && limb < 1 << bits; });
}

/** Runs batches of division steps on limbs of `bits`, and checks the invariants between them. */
template <int bits, int first_half, int second_half>
bool finds_inverse(std::int64_t m, std::int64_t x, int batches) {
    static_assert(first_half + second_half + 3 == bits);
    const OddModulus modulus(limbs<bits>(m), static_cast<std::uint64_t>(m));
    Limbs62 f = limbs<bits>(m), g = limbs<bits>(x), d{}, e{1};
    std::int64_t zeta = -1;
    for (int i = 0; i < batches; ++i) {
        Matrix t{};
        zeta = batch_of_steps<first_half, second_half>(zeta, low_word<bits>(f), low_word<bits>(g), t);
        if (std::abs(t.u) + std::abs(t.v) > 1 << bits || std::abs(t.q) + std::abs(t.r) > 1 << bits) return false;
        apply_modulo<bits>(d, e, t, modulus);
        apply<bits>(f, g, t);
        for (const Limbs62* n : {&f, &g})
            if (!is_carried<bits>(*n) || std::abs(number<bits>(*n)) > m) return false;
        for (const Limbs62* n : {&d, &e})
            if (!is_carried<bits>(*n) || number<bits>(*n) <= -2 * m || number<bits>(*n) >= m) return false;
        if ((number<bits>(d) * x - number<bits>(f)) % m != 0 || (number<bits>(e) * x - number<bits>(g)) % m != 0)
            return false;
    }
    if (number<bits>(g) != 0 || std::abs(number<bits>(f)) != std::gcd(m, x)) return false;
    const bool exists = is_unit<bits>(f) != 0;
    const std::int64_t inverse = number<bits>(normalised<bits>(d, f[4] >> 63, modulus));
    return exists == (std::gcd(m, x) == 1) && 0 <= inverse && inverse < m && (!exists || inverse * x % m == 1);
}

/** Tries all odd moduli of up to this number of bits, and all numbers below them. */
template <int bits, int first_half, int second_half>
void check_inverses(int modulus_bits, int batches) {
    for (std::int64_t m = 3; m < 1 << modulus_bits; m += 2)
        for (std::int64_t x = 0; x < m; ++x)
            ASSERT_TRUE((finds_inverse<bits, first_half, second_half>(m, x, batches))) << x << " modulo " << m;
}

// 25 steps suffice for numbers of 10 bits, and 20 steps for 8 bits, just as 590 steps suffice for 256 bits.
TEST(small_words, find_inverses_by_division_steps) {
    check_inverses<9, 3, 3>(10, 5);
    check_inverses<8, 3, 2>(10, 5);
    check_inverses<5, 1, 1>(8, 10);
}

}  // namespace
