// Compares scalar field arithmetic with integer arithmetic, and tests inverses by division steps.
#include "ecc/field/adx_words.hpp"
#include "ecc/field/engine.hpp"
#include "ecc/field/order.hpp"
#include "ecc/field/word_multiply.hpp"
#include "ecc/field/words_support.hpp"
#include "ecc/uint256/divsteps.hpp"

using namespace vrx::test;
using namespace vrx::field;

namespace {

/** Checks arithmetic modulo pseudo-Mersenne numbers, whose elements need not be reduced. */
template <typename S>
void check_plain(const Words& a, const Words& b) {
    const Digits m = digits_of(S::modulus);
    const Digits x = digits_of(a);
    const Digits y = digits_of(b);
    const auto same = [&m](const Words& r, const Digits& expected) {
        return reduced(digits_of(r), m) == expected && digits_of(S::from_montgomery(r)) == expected;
    };
    ASSERT_TRUE(same(S::mul(a, b), ::product(x, y, m))) << x << " * " << y;
    ASSERT_TRUE(same(S::sqr(a), ::product(x, x, m))) << x;
    ASSERT_TRUE(same(S::add(a, b), ::sum(x, y, m))) << x << " + " << y;
    ASSERT_TRUE(same(S::sub(a, b), ::difference(x, y, m))) << x << " - " << y;
    ASSERT_TRUE(same(a, reduced(x, m))) << x;
}

/** Checks arithmetic in Montgomery form, whose elements are reduced. */
template <typename S>
void check_montgomery(const Words& a, const Words& b) {
    const Digits m = digits_of(S::modulus);
    const Digits x = digits_of(a);
    const Digits y = digits_of(b);
    const Words u = S::to_montgomery(a);
    const Words v = S::to_montgomery(b);
    const auto same = [&m](const Words& r, const Digits& expected) {
        return reduced(digits_of(r), m) == digits_of(r) && digits_of(S::from_montgomery(r)) == expected;
    };
    ASSERT_TRUE(same(u, reduced(x, m))) << x;
    ASSERT_TRUE(same(S::mul(u, v), ::product(x, y, m))) << x << " * " << y;
    ASSERT_TRUE(same(S::sqr(u), ::product(x, x, m))) << x;
    ASSERT_TRUE(same(S::add(u, v), ::sum(x, y, m))) << x << " + " << y;
    ASSERT_TRUE(same(S::sub(u, v), ::difference(x, y, m))) << x << " - " << y;
    // A product is also correct for factors that are not reduced.
    ASSERT_EQ(digits_of(S::from_montgomery(S::mul(u, b))),
              digits_of(S::from_montgomery(S::mul(u, S::mul(v, {1, 0, 0, 0})))));
}

template <typename S, typename Check>
void check_pairs(const Check& check) {
    Random random;
    std::vector<Words> numbers = edges(S::modulus);
    for (int i = 0; i < 40; ++i) numbers.push_back(random_words(random));
    for (const Words& a : numbers)
        for (const Words& b : numbers) {
            check(a, b);
            if (testing::Test::HasFatalFailure()) return;
        }
}

TEST(scalar_fields, agree_with_integers_for_all_pairs_of_edge_cases) {
    check_pairs<CurveA::Field>(check_plain<CurveA::Field>);
    check_pairs<CurveB::Field>(check_plain<CurveB::Field>);
    check_pairs<CurveTest::Field>(check_plain<CurveTest::Field>);
    check_pairs<CurveC::Field>(check_montgomery<CurveC::Field>);
}

TEST(scalar_fields, agree_with_the_adx_engine) {
    if (!vrx::cpu::offers(engine_adx.needs)) GTEST_SKIP() << "this CPU does not support BMI2 and ADX";
    using A = CurveA::Field::With<AdxWords>;
    using B = CurveB::Field::With<AdxWords>;
    using C = CurveC::Field::With<AdxWords>;
    using T = CurveTest::Field::With<AdxWords>;
    check_pairs<A>(check_plain<A>);
    check_pairs<B>(check_plain<B>);
    check_pairs<T>(check_plain<T>);
    check_pairs<C>(check_montgomery<C>);
    check_pairs<Montgomery<CurveA::q, AdxWords>>(check_montgomery<Montgomery<CurveA::q, AdxWords>>);
    // If all bits of the modulus are ones, the top word of a sum receives a carry.
    using Least = Montgomery<Words{1, 0, 0, 1ull << 63}, AdxWords>;
    using Most = Montgomery<Words{~0ull, ~0ull, ~0ull, ~0ull}, AdxWords>;
    check_pairs<Least>(check_montgomery<Least>);
    check_pairs<Most>(check_montgomery<Most>);
}

// The extreme moduli of each shape, beyond those of the curves.
TEST(scalar_fields, work_for_the_extreme_moduli_of_each_shape) {
    check_pairs<PseudoMersenneMinus<1>>(check_plain<PseudoMersenneMinus<1>>);
    check_pairs<PseudoMersenneMinus<0xFFFF>>(check_plain<PseudoMersenneMinus<0xFFFF>>);
    check_pairs<PseudoMersennePlus<1>>(check_plain<PseudoMersennePlus<1>>);
    check_pairs<PseudoMersennePlus<0xFFFF>>(check_plain<PseudoMersennePlus<0xFFFF>>);
    using Least = Montgomery<Words{1, 0, 0, 1ull << 63}>;
    using Most = Montgomery<Words{~0ull, ~0ull, ~0ull, ~0ull}>;
    check_pairs<Least>(check_montgomery<Least>);
    check_pairs<Most>(check_montgomery<Most>);
}

// Numbers at all small distances from 0, p and 2^256.
TEST(scalar_fields, work_for_all_pairs_of_small_offsets) {
    for_each_curve([]<typename Curve>(Curve) {
        using S = typename Curve::Field;
        std::vector<Words> numbers;
        for (std::int64_t n = -20; n < 20; ++n)
            for (const Words& middle : {Words{}, S::modulus}) numbers.push_back(plus(middle, n));
        for (const Words& a : numbers)
            for (const Words& b : numbers) {
                if constexpr (S::one == Words{1, 0, 0, 0})
                    check_plain<S>(a, b);
                else
                    check_montgomery<S>(a, b);
                if (testing::Test::HasFatalFailure()) return;
            }
    });
}

TEST(scalar_fields, halve_and_double_elements) {
    Random random;
    for_each_curve([&]<typename Curve>(Curve) {
        using S = typename Curve::Field;
        std::vector<Words> numbers = edges(S::modulus);
        for (int i = 0; i < 200; ++i) numbers.push_back(random_words(random));
        for (const Words& n : numbers) {
            const Words a = S::one == Words{1, 0, 0, 0} ? n : S::to_montgomery(n);
            const Words h = half<S>(a);
            ASSERT_EQ(S::from_montgomery(S::add(h, h)), S::from_montgomery(a)) << digits_of(n);
        }
    });
}

TEST(scalar_fields, of_the_orders_agree_with_integers_for_edge_cases) {
    for_each_curve([]<typename Curve>(Curve) {
        using S = Montgomery<Curve::q>;
        check_pairs<S>(check_montgomery<S>);
    });
}

// For x below p, x mod q = r means that x is r or r + q. r + q may exceed 256 bits.
TEST(remainders, are_recognised_by_their_definition) {
    Random random;
    for_each_curve([&]<typename Curve>(Curve) {
        using S = typename Curve::Field;
        const Digits q = digits_of(Curve::q);
        std::vector<Words> numbers = edges(Curve::q);
        for (int i = 0; i < 40; ++i) numbers.push_back(random_words(random));
        // For x below 2q - 2^256, the number r = x + 2^256 - q is below q, and r + q equals x modulo 2^256. Such an r
        // must not be accepted.
        for (const std::uint64_t n : {0u, 1u, 2u, 1000u}) numbers.push_back({n, 0, 0, 0});
        for (const Words& n : numbers) {
            if (!is_below(n, S::modulus)) continue;
            const Words zz = S::to_montgomery({5, 0, 0, 0});
            const Words x = S::mul(S::to_montgomery(n), zz);
            Words less{};
            Words more{};
            vrx::field::sub(less, n, Curve::q);
            vrx::field::add(more, n, Curve::q);
            for (const Words& r : {n, less, more, plus(n, 1), plus(less, -1), words_of(reduced(digits_of(n), q))}) {
                if (!is_below(r, Curve::q) || is_zero(r) != 0) continue;
                const Answer expected = reduced(digits_of(n), q) == digits_of(r) ? Answer::yes : Answer::no;
                ASSERT_EQ(has_remainder<Curve>(x, zz, r), expected) << digits_of(n) << " mod q, " << digits_of(r);
            }
        }
    });
}

TEST(orders, arithmetic_agrees_with_digits) {
    Random random;
    for_each_curve([&]<typename Curve>(Curve) {
        using Q = Order<Curve>;
        const Digits q = digits_of(Curve::q);
        std::vector<Words> numbers = edges(Curve::q);
        for (int i = 0; i < 100; ++i) numbers.push_back(random_words(random));
        Words before = {5, 0, 0, 0};
        for (const Words& n : numbers)
            for (const std::uint64_t high : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu, random.word()}) {
                Digits nine = digits_of(n);
                nine.d[VRX_ECC_DIGITS - 1] = static_cast<std::uint32_t>(high);
                const Words r = Q::reduced(Nine{n, high});
                ASSERT_EQ(digits_of(r), reduced(nine, q)) << nine;
                ASSERT_EQ(digits_of(Q::product(r, before)), ::product(digits_of(r), digits_of(before), q));
                ASSERT_EQ(digits_of(Q::negative(r)), difference(Digits(), digits_of(r), q));
                ASSERT_EQ(digits_of(Q::sum_of_products(r, before, before, before)),
                          ::product(digits_of(before), ::sum(digits_of(r), digits_of(before), q), q));
                before = r;
            }
    });
}

// Every index into tables, for every vector size.
TEST(selection, returns_the_entry_of_its_index) {
    struct Entry {
        Words x, y;
    };
    Entry table[32];
    Random random;
    for (Entry& e : table) e = random.value<Entry>();
    for (std::uint64_t i = 0; i < 32; ++i) {
        const auto plain = PlainWords::lookup<Entry, 32>(table, i);
        EXPECT_EQ(plain.x, table[i].x);
        EXPECT_EQ(plain.y, table[i].y);
        if (!vrx::cpu::offers(engine_adx.needs)) continue;
        const auto wide = AdxWords::lookup<Entry, 32>(table, i);
        EXPECT_EQ(wide.x, table[i].x);
        EXPECT_EQ(wide.y, table[i].y);
    }
}

/** Checks that x u = 1 modulo m, or u = 0 if x and m have a common factor. */
void check_inverse(const Words& x, const Words& m) {
    const Digits u = digits_of(inverse(x, OddModulus(m)));
    ASSERT_EQ(digits_of(inverse_vartime(x, OddModulus(m))), u) << digits_of(x) << " modulo " << digits_of(m);
    Digits gcd;
    mpGcd(gcd.data(), digits_of(x).data(), digits_of(m).data(), VRX_ECC_DIGITS);
    ASSERT_EQ(reduced(u, digits_of(m)), u) << digits_of(x) << " modulo " << digits_of(m);
    ASSERT_EQ(::product(u, digits_of(x), digits_of(m)), gcd == Digits(1) ? Digits(1) : Digits())
        << digits_of(x) << " modulo " << digits_of(m);
    if (gcd != Digits(1)) {
        ASSERT_EQ(u, Digits());
    }
}

TEST(division_steps, find_inverses_modulo_the_primes_and_orders) {
    Random random;
    for_each_curve([&]<typename Curve>(Curve) {
        for (const Words& m : {Curve::Field::modulus, Curve::q}) {
            std::vector<Words> numbers = edges(m);
            for (int i = 0; i < 500; ++i) numbers.push_back(random_words(random));
            for (const Words& x : numbers) {
                check_inverse(words_of(reduced(digits_of(x), digits_of(m))), m);
                if (testing::Test::HasFatalFailure()) return;
            }
        }
    });
}

TEST(division_steps, find_inverses_modulo_odd_numbers_of_every_length) {
    Random random;
    for (unsigned bits = 2; bits <= 256; ++bits)
        for (int i = 0; i < 20; ++i) {
            Digits m = digits_of(random_words(random));
            mpModPowerOf2(m.data(), VRX_ECC_DIGITS, bits);
            m.d[(bits - 1) / 32] |= 1u << (bits - 1) % 32;
            m.d[0] |= 1;
            for (const Digits& x : {digits_of(random_words(random)), difference(Digits(), Digits(1), m), Digits(15)}) {
                check_inverse(words_of(reduced(x, m)), words_of(m));
                if (testing::Test::HasFatalFailure()) return;
            }
        }
}

TEST(division_steps, find_all_inverses_modulo_small_odd_numbers) {
    for (std::uint64_t m = 3; m < 130; m += 2)
        for (std::uint64_t x = 0; x < m; ++x) check_inverse({x, 0, 0, 0}, {m, 0, 0, 0});
}

TEST(division_steps, return_0_if_there_is_no_inverse) {
    // 2^256 - 1 = 3 5 17 257 641 65537 ...
    const Words m = {~0ull, ~0ull, ~0ull, ~0ull};
    for (const std::uint64_t factor : {3ull, 5ull, 17ull, 257ull, 641ull, 65537ull, 6700417ull, 4294967297ull}) {
        check_inverse({factor, 0, 0, 0}, m);
        check_inverse({0, factor, 0, factor}, m);
        check_inverse({factor, factor, factor, factor - 1}, m);
    }
}

// The determinant of the matrix of a batch is a power of two, up to its sign.
TEST(division_steps, take_59_steps_a_batch) {
    Random random;
    for (int i = 0; i < 1000; ++i) {
        const std::uint64_t f = random.value<std::uint64_t>() | 1;
        const std::uint64_t g = random.value<std::uint64_t>();
        Matrix t{};
        const std::int64_t zeta = batch_of_steps(-1 - static_cast<std::int64_t>(random.below(20)), f, g, t);
        const i128 determinant = i128{t.u} * t.r - i128{t.v} * t.q;
        const i128 power = i128{1} << (59 + 6);
        ASSERT_TRUE(determinant == power || determinant == -power);
        ASSERT_LT(zeta, 70);
        // Multiplying both rows by (f, g) gives numbers whose low 62 bits are 0.
        const auto u = [](std::int64_t n) { return static_cast<std::uint64_t>(n); };
        ASSERT_EQ((u(t.u) * f + u(t.v) * g) & mask62, 0u);
        ASSERT_EQ((u(t.q) * f + u(t.r) * g) & mask62, 0u);
    }
}

}  // namespace
