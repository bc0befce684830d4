// Tests of modular arithmetic, inverses, greatest common divisors, square roots, Jacobi symbols and powers.
#include <gtest/gtest.h>

#include <functional>

#include "digits.hpp"
#include "vrx/bigdigits.h"

namespace vrx::test {
namespace {

/** An operation on up to three operands of n digits. The result may overlap any of them. */
struct Call {
    std::function<int(Digit* w, const Digit* a, const Digit* b, const Digit* c)> run;
    DigitVector a, b, c;
};

void expect_wherever_the_result_stands(const Call& call, const DigitVector& result, int value) {
    const std::string trace =
        show(call.a) + ", " + show(call.b) + ", " + show(call.c) + " of " + std::to_string(result.size()) + " digits";
    for (int place = 0; place < 4; ++place) {
        Guarded w(result.size()), a(call.a), b(call.b), c(call.c);
        Guarded* all[] = {&w, &a, &b, &c};
        EXPECT_EQ(call.run(*all[place], a, b, c), value) << trace << ", place " << place;
        EXPECT_EQ(all[place]->value(), result) << trace << ", place " << place;
        if (place != 1) {
            EXPECT_EQ(a.value(), call.a) << trace;
        }
        if (place != 2) {
            EXPECT_EQ(b.value(), call.b) << trace;
        }
        if (place != 3) {
            EXPECT_EQ(c.value(), call.c) << trace;
        }
    }
}

Slow remainder(const Slow& u, const Slow& m) { return m.is_zero() ? Slow() : u % m; }

/** Moduli: zero, one, edge cases and random numbers. */
template <typename Check>
void for_moduli(std::size_t greatest_count, Check check) {
    Numbers numbers;
    for (const std::size_t n : counts) {
        if (n > greatest_count) break;
        for (int i = 0; i < (draws(n) + 1) / 2; ++i) {
            const DigitVector m = i == 0 ? DigitVector(n) : i == 1 ? Slow(1).digits(n) : numbers(n);
            check(n, numbers(n), numbers(n), m);
        }
    }
}

TEST(Modular, remainder_of_numbers_of_all_counts) {
    Numbers numbers;
    for (const std::size_t m : counts)
        for (const std::size_t n : counts) {
            const DigitVector u = numbers(m), v = numbers(n);
            Guarded r(n), x(u), y(v);
            EXPECT_EQ(mpModulo(r, x, m, y, n), 0);
            EXPECT_EQ(r.value(), remainder(Slow(u), Slow(v)).digits(n)) << show(u) << " mod " << show(v);
            Guarded in_v(v);
            mpModulo(in_v, x, m, in_v, n);
            EXPECT_EQ(in_v.value(), r.value());
            if (m >= n) {
                Guarded in_u(u);
                mpModulo(in_u, in_u, m, y, n);
                const DigitVector whole = in_u.value();
                EXPECT_EQ(DigitVector(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)), r.value());
                EXPECT_TRUE(std::equal(whole.begin() + static_cast<std::ptrdiff_t>(n), whole.end(),
                                       u.begin() + static_cast<std::ptrdiff_t>(n)));
            }
        }
}

TEST(Modular, remainder_of_no_digits_is_0) {
    Guarded r(3), v(DigitVector{5, 6, 7});
    EXPECT_EQ(mpModulo(r, v, 0, v, 3), 0);
    EXPECT_EQ(r.value(), DigitVector(3));
}

TEST(Modular, nothing_is_written_for_no_digits) {
    Guarded w(1), x(DigitVector{7});
    EXPECT_EQ(mpModAdd(w, x, x, x, 0), 0);
    EXPECT_EQ(mpModSub(w, x, x, x, 0), 0);
    EXPECT_EQ(mpModMult(w, x, x, x, 0), 0);
    EXPECT_EQ(mpModExp(w, x, x, x, 0), 0);
    EXPECT_EQ(mpModInv(w, x, x, 0), 1);
    EXPECT_EQ(mpGcd(w, x, x, 0), 0);
    EXPECT_EQ(mpSqrt(w, x, 0), 0);
    EXPECT_EQ(mpJacobi(x, x, 0), 0);
    EXPECT_EQ(w.value(), DigitVector{0x55aa55aa});
}

TEST(Modular, sum_drops_its_carry) {
    for_moduli(256, [](std::size_t n, const DigitVector& u, const DigitVector& v, const DigitVector& m) {
        const Slow mod(m);
        const Slow t = (remainder(Slow(u), mod) + remainder(Slow(v), mod)) % Slow::power_of_2(32 * n);
        const Slow w = t >= mod ? t - mod : t;
        expect_wherever_the_result_stands(
            {[n](Digit* r, const Digit* a, const Digit* b, const Digit* c) { return mpModAdd(r, a, b, c, n); }, u, v,
             m},
            w.digits(n), 0);
    });
}

TEST(Modular, sum_with_a_dropped_carry_is_not_corrected) {
    // For m = 2^32 - 1, the sum of two residues may not fit 32 bits. (m - 1) + (m - 1) = 2^33 - 4. Modulo 2^32, this is
    // 2^32 - 4, which is below m, so m is not subtracted.
    const Digit m = 0xffffffff, u = 0xfffffffe;
    Digit w = 0;
    EXPECT_EQ(mpModAdd(&w, &u, &u, &m, 1), 0);
    EXPECT_EQ(w, 0xfffffffcU);
}

TEST(Modular, difference_adds_m_if_its_top_bit_is_set) {
    for_moduli(256, [](std::size_t n, const DigitVector& u, const DigitVector& v, const DigitVector& m) {
        const Slow mod(m), all = Slow::power_of_2(32 * n);
        const Slow t = (remainder(Slow(u), mod) + all - remainder(Slow(v), mod)) % all;
        const Slow w = t.bit(32 * n - 1) ? t + mod : t;
        expect_wherever_the_result_stands(
            {[n](Digit* r, const Digit* a, const Digit* b, const Digit* c) { return mpModSub(r, a, b, c, n); }, u, v,
             m},
            w.digits(n), 0);
    });
}

TEST(Modular, difference_tests_the_top_bit_not_the_sign) {
    // Let m = 2^32 - 1. The difference 2^31 - 0 has its top bit set, so m is added. The difference 0 - (2^31 + 1)
    // modulo 2^32 has its top bit clear, so m is not added.
    const Digit m = 0xffffffff, zero = 0, u = 0x80000000, v = 0x80000001;
    Digit w = 0;
    mpModSub(&w, &u, &zero, &m, 1);
    EXPECT_EQ(w, 0x7fffffffU);
    mpModSub(&w, &zero, &v, &m, 1);
    EXPECT_EQ(w, 0x7fffffffU);
}

TEST(Modular, product) {
    for_moduli(128, [](std::size_t n, const DigitVector& u, const DigitVector& v, const DigitVector& m) {
        expect_wherever_the_result_stands(
            {[n](Digit* r, const Digit* a, const Digit* b, const Digit* c) { return mpModMult(r, a, b, c, n); }, u, v,
             m},
            remainder(Slow(u) * Slow(v), Slow(m)).digits(n), 0);
    });
}

// ---- inverse

TEST(Inverse, exists_exactly_for_coprime_numbers) {
    for_moduli(33, [](std::size_t n, const DigitVector& u, const DigitVector&, const DigitVector& m) {
        if (Slow(m) < Slow(2)) return;
        const bool exists = Slow::gcd(Slow(u), Slow(m)) == Slow(1);
        Guarded inv(n), x(u), y(m);
        EXPECT_EQ(mpModInv(inv, x, y, n), exists ? 0 : 1) << show(u) << " mod " << show(m);
        const Slow got(inv.value());
        EXPECT_TRUE(got < Slow(m));
        EXPECT_EQ(Slow(u) * got % Slow(m), exists ? Slow(1) : Slow()) << show(u) << " mod " << show(m);
        if (!exists) {
            EXPECT_TRUE(got.is_zero());
        }
        expect_wherever_the_result_stands(
            {[n](Digit* r, const Digit* a, const Digit*, const Digit* c) { return mpModInv(r, a, c, n); }, u, u, m},
            inv.value(), exists ? 0 : 1);
    });
}

TEST(Inverse, of_all_small_numbers) {
    for (Digit m = 2; m < 200; ++m)
        for (Digit u = 0; u < 2 * m + 2; ++u) {
            Digit expected = 0;
            for (Digit x = 1; x < m; ++x)
                if (u * x % m == 1) expected = x;
            Digit inv = 77;
            EXPECT_EQ(mpModInv(&inv, &u, &m, 1), expected == 0 ? 1 : 0) << u << " mod " << m;
            EXPECT_EQ(inv, expected) << u << " mod " << m;
        }
}

TEST(Inverse, that_does_not_exist_returns_1_and_clears_the_result) {
    const Digit u[3] = {6, 0, 0}, m[3] = {9, 0, 0}, zero[3] = {0, 0, 0};
    Digit inv[3] = {1, 2, 3};
    EXPECT_EQ(mpModInv(inv, u, m, 3), 1);
    EXPECT_EQ(mpIsZero(inv, 3), 1);
    EXPECT_EQ(mpModInv(inv, zero, m, 3), 1);
    EXPECT_EQ(mpIsZero(inv, 3), 1);
}

// The greatest common divisor is 2^bit + 1, for every bit.
TEST(Inverse, is_missing_for_a_common_factor_of_two_distant_bits) {
    for (unsigned bit = 1; bit < 254; ++bit) {
        Digit factor[9] = {1}, m[9], u[9], inv[9] = {1, 2, 3};
        factor[bit / 32] |= Digit{1} << bit % 32;
        ASSERT_EQ(mpShortMult(m, factor, 3, 9), 0u);
        for (const Digit multiple : {1u, 2u}) {
            ASSERT_EQ(mpShortMult(u, factor, multiple, 9), 0u);
            EXPECT_EQ(mpModInv(inv, u, m, 9), 1) << "bit " << bit;
            EXPECT_EQ(mpIsZero(inv, 9), 1) << "bit " << bit;
        }
    }
}

TEST(Inverse, modulo_1_is_1_for_every_number) {
    for (const std::size_t n : Counts{1, 2, 9})
        for (const Slow& u : {Slow(), Slow(1), Slow(2), Slow(12345)}) {
            Guarded inv(n), x(u.digits(n)), one(Slow(1).digits(n));
            EXPECT_EQ(mpModInv(inv, x, one, n), 0);
            EXPECT_EQ(inv.value(), Slow(1).digits(n));
        }
}

TEST(Inverse, modulo_0_exists_for_1_alone) {
    for (const std::size_t n : Counts{1, 2, 9}) {
        Guarded inv(n), zero(DigitVector(n, 0)), one(Slow(1).digits(n)), two(Slow(2).digits(n));
        EXPECT_EQ(mpModInv(inv, one, zero, n), 0);
        EXPECT_EQ(inv.value(), Slow(1).digits(n));
        EXPECT_EQ(mpModInv(inv, two, zero, n), 1);
        EXPECT_EQ(inv.value(), DigitVector(n));
        EXPECT_EQ(mpModInv(inv, zero, zero, n), 1);
        EXPECT_EQ(inv.value(), DigitVector(n));
    }
}

TEST(Inverse, of_256_digits) {
    DigitVector m(256, 0);
    m.back() = 0x80000000;
    const DigitVector u(256, 0x12345679);  // odd, so it has an inverse
    Guarded inv(256), x(u), modulus(m), one(256);
    EXPECT_EQ(mpModInv(inv, x, modulus, 256), 0);
    EXPECT_EQ(mpModMult(one, x, inv, modulus, 256), 0);
    EXPECT_EQ(one.value(), Slow(1).digits(256));
}

TEST(Inverse, of_3_modulo_7_is_5) {
    const Digit u = 3, m = 7;
    Digit inv = 0;
    EXPECT_EQ(mpModInv(&inv, &u, &m, 1), 0);
    EXPECT_EQ(inv, 5U);
}

// ---- greatest common divisor, square root, Jacobi symbol

TEST(Gcd, of_numbers_with_a_known_factor) {
    Numbers numbers;
    for (const std::size_t n : counts) {
        if (n > 64) break;
        for (int i = 0; i < (draws(n) + 3) / 4; ++i) {
            const Slow factor(numbers((n + 1) / 2));
            const DigitVector x = (factor * Slow(numbers(n / 2))).digits(n),
                              y = (factor * Slow(numbers(n / 2))).digits(n);
            expect_wherever_the_result_stands(
                {[n](Digit* r, const Digit* a, const Digit*, const Digit* c) { return mpGcd(r, a, c, n); }, x, x, y},
                Slow::gcd(Slow(x), Slow(y)).digits(n), 0);
        }
    }
}

TEST(Gcd, with_zero_is_the_other_number) {
    for (const std::size_t n : counts) {
        Numbers numbers;
        const DigitVector y = numbers(n);
        Guarded g(n), zero(DigitVector(n, 0)), x(y);
        EXPECT_EQ(mpGcd(g, zero, x, n), 0);
        EXPECT_EQ(g.value(), y);
        EXPECT_EQ(mpGcd(g, x, zero, n), 0);
        EXPECT_EQ(g.value(), y);
    }
}

TEST(SquareRoot, is_the_largest_number_whose_square_fits) {
    Numbers numbers;
    for (const std::size_t n : counts)
        for (int i = 0; i < draws(n); ++i) {
            Slow x(numbers(n));
            if (i % 4 == 1) {  // around a square
                const Slow root(numbers(n / 2));
                x = root * root;
            }
            if (i % 4 == 2 && !x.is_zero()) x = x - Slow(1);
            Guarded s(n), source(x.digits(n));
            EXPECT_EQ(mpSqrt(s, source, n), 0);
            const Slow root(s.value());
            EXPECT_TRUE(x >= root * root && x < (root + Slow(1)) * (root + Slow(1)))
                << x.text(16) << ": " << root.text(16);
            EXPECT_EQ(mpSqrt(source, source, n), 0);
            EXPECT_EQ(source.value(), s.value());
        }
}

TEST(SquareRoot, of_all_small_numbers) {
    Digit expected = 0;
    for (Digit x = 0; x < 70000; ++x) {
        if ((expected + 1) * (expected + 1) <= x) ++expected;
        Digit s = 9;
        EXPECT_EQ(mpSqrt(&s, &x, 1), 0);
        ASSERT_EQ(s, expected) << x;
    }
}

/** The product of the Legendre symbols over the prime factors of n. */
int jacobi_plainly(Digit a, Digit n) {
    int symbol = 1;
    for (Digit p = 2; n > 1; ++p)
        for (; n % p == 0; n /= p) {
            if (a % p == 0) return 0;
            bool is_square = false;
            for (Digit x = 1; x < p; ++x) is_square |= x * x % p == a % p;
            symbol = is_square ? symbol : -symbol;
        }
    return symbol;
}

TEST(Jacobi, agrees_with_the_definition_for_all_small_arguments) {
    for (Digit n = 1; n < 260; n += 2)
        for (Digit a = 1; a < 2 * n + 20; ++a) ASSERT_EQ(mpJacobi(&a, &n, 1), jacobi_plainly(a, n)) << a << ", " << n;
}

TEST(Jacobi, of_0_is_0_even_below_1) {
    const Digit zero = 0;
    for (Digit n = 1; n < 100; n += 2) EXPECT_EQ(mpJacobi(&zero, &n, 1), 0);
}

TEST(Jacobi, of_2_and_3_modulo_7) {
    const Digit two = 2, three = 3, zero = 0, seven = 7;
    EXPECT_EQ(mpJacobi(&two, &seven, 1), 1);
    EXPECT_EQ(mpJacobi(&three, &seven, 1), -1);
    EXPECT_EQ(mpJacobi(&zero, &seven, 1), 0);
}

TEST(Jacobi, modulo_a_large_prime_is_eulers_criterion) {
    const Slow p = Slow::power_of_2(255) - Slow(19);
    Numbers numbers;
    for (int i = 0; i < 6; ++i) {
        const Slow a(numbers(i % 2 == 0 ? 8 : 9));
        const Slow power = Slow::power(a % p, (p - Slow(1)) / Slow(2), p);
        const int expected = power.is_zero() ? 0 : power == Slow(1) ? 1 : -1;
        EXPECT_EQ(mpJacobi(a.digits(9).data(), p.digits(9).data(), 9), expected) << a.text(16);
    }
}

TEST(Jacobi, is_multiplicative) {
    Numbers numbers;
    for (const std::size_t n : Counts{2, 5, 9, 17})
        for (int i = 0; i < 20; ++i) {
            DigitVector m = numbers(2 * n);
            m[0] |= 1;
            const Slow a(numbers(n)), b(numbers(n));
            const auto symbol = [&](const Slow& x) { return mpJacobi(x.digits(2 * n).data(), m.data(), 2 * n); };
            EXPECT_EQ(symbol(a * b), symbol(a) * symbol(b)) << a.text(16) << " " << b.text(16) << " " << show(m);
        }
}

// ---- powers

TEST(Power, of_small_counts) {
    for_moduli(5, [](std::size_t n, const DigitVector& x, const DigitVector& e, const DigitVector& m) {
        const Slow exponent(e), mod(m);
        const Slow y = exponent.is_zero()    ? Slow(1)
                       : exponent == Slow(1) ? Slow(x)
                       : mod.is_zero()       ? Slow()
                                             : Slow::power(Slow(x), exponent, mod);
        expect_wherever_the_result_stands(
            {[n](Digit* r, const Digit* a, const Digit* b, const Digit* c) { return mpModExp(r, a, b, c, n); }, x, e,
             m},
            y.digits(n), 0);
    });
}

TEST(Power, with_small_exponents_of_large_counts) {
    Numbers numbers;
    for (const std::size_t n : Counts{8, 9, 16, 33, 64})
        for (const std::uint64_t e : {2U, 3U, 5U, 255U, 256U}) {
            const DigitVector x = numbers(n), m = numbers.not_zero(n);
            Guarded y(n), base(x), exponent(Slow(e).digits(n)), modulus(m);
            EXPECT_EQ(mpModExp(y, base, exponent, modulus, n), 0);
            EXPECT_EQ(y.value(), Slow::power(Slow(x), Slow(e), Slow(m)).digits(n)) << e;
        }
}

TEST(Power, of_256_digits) {
    const DigitVector x(256, 0xfffffffe), m(256, 0xffffffff);
    Guarded y(256), base(x), exponent(Slow(3).digits(256)), modulus(m);
    EXPECT_EQ(mpModExp(y, base, exponent, modulus, 256), 0);
    EXPECT_EQ(y.value(), Slow::power(Slow(x), Slow(3), Slow(m)).digits(256));
}

TEST(Power, with_exponent_0_is_1_whatever_the_modulus) {
    for (const std::size_t n : Counts{1, 2, 9})
        for (const std::uint64_t m : {0U, 1U, 7U}) {
            Guarded y(n), x(DigitVector(n, 5)), e(DigitVector(n, 0)), modulus(Slow(m).digits(n));
            EXPECT_EQ(mpModExp(y, x, e, modulus, n), 0);
            EXPECT_EQ(y.value(), Slow(1).digits(n));
        }
}

TEST(Power, with_exponent_1_is_the_base_unreduced) {
    for (const std::size_t n : Counts{1, 2, 9})
        for (const std::uint64_t m : {0U, 1U, 7U}) {
            const DigitVector base(n, 0xfffffff0);
            Guarded y(n), x(base), e(Slow(1).digits(n)), modulus(Slow(m).digits(n));
            EXPECT_EQ(mpModExp(y, x, e, modulus, n), 0);
            EXPECT_EQ(y.value(), base);
        }
}

TEST(Power, of_a_large_prime_field_obeys_fermat) {
    const Slow p = Slow::power_of_2(521) - Slow(1);
    Numbers numbers;
    const DigitVector x = numbers.not_zero(16);
    Guarded y(17), base(Slow(x).digits(17)), e((p - Slow(1)).digits(17)), modulus(p.digits(17));
    EXPECT_EQ(mpModExp(y, base, e, modulus, 17), 0);
    EXPECT_EQ(y.value(), Slow(1).digits(17));
}

}  // namespace
}  // namespace vrx::test
