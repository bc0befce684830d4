// Tests of sums, products, quotients, comparison, bits and signs of numbers.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <functional>

#include "digits.hpp"
#include "vrx/bigdigits.h"

namespace vrx::test {
namespace {

/** Checks w = f(u, v) and its return value for every permitted overlap of w, u and v. */
using Binary = std::function<std::int64_t(Digit* w, const Digit* u, const Digit* v)>;

void expect_in_place_too(const Binary& f, const DigitVector& u, const DigitVector& v, const DigitVector& result,
                         std::int64_t value) {
    const std::string trace = "u = " + show(u) + ", v = " + show(v) + ", digits: " + std::to_string(u.size());
    {
        Guarded w(result.size()), x(u), y(v);
        EXPECT_EQ(f(w, x, y), value) << trace;
        EXPECT_EQ(w.value(), result) << trace;
        EXPECT_EQ(x.value(), u) << trace;
        EXPECT_EQ(y.value(), v) << trace;
    }
    if (result.size() == u.size()) {
        Guarded x(u), y(v);
        EXPECT_EQ(f(x, x, y), value) << trace << ", result in u";
        EXPECT_EQ(x.value(), result) << trace << ", result in u";
    }
    if (result.size() == v.size()) {
        Guarded x(u), y(v);
        EXPECT_EQ(f(y, x, y), value) << trace << ", result in v";
        EXPECT_EQ(y.value(), result) << trace << ", result in v";
    }
    if (u == v) {
        Guarded x(u);
        EXPECT_EQ(f(x, x, x), value) << trace << ", one array";
        EXPECT_EQ(x.value(), result) << trace << ", one array";
    }
}

/** Runs a check on many pairs of numbers of every digit count, including equal ones. */
template <typename Check>
void for_pairs(Check check) {
    Numbers numbers;
    for (const std::size_t n : counts)
        for (int i = 0; i < draws(n); ++i) {
            const DigitVector u = numbers(n);
            check(n, u, i % 8 == 0 ? u : numbers(n));
        }
}

Slow two_to(std::size_t digits) { return Slow::power_of_2(32 * digits); }

TEST(Arithmetic, sum_and_carry) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector& v) {
        const Slow sum = Slow(u) + Slow(v);
        expect_in_place_too([n](Digit* w, const Digit* x, const Digit* y) { return mpAdd(w, x, y, n); }, u, v,
                            sum.digits(n), sum >= two_to(n));
    });
}

TEST(Arithmetic, difference_and_borrow) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector& v) {
        const bool borrow = Slow(u) < Slow(v);
        const Slow difference = Slow(u) + (borrow ? two_to(n) : Slow()) - Slow(v);
        expect_in_place_too([n](Digit* w, const Digit* x, const Digit* y) { return mpSubtract(w, x, y, n); }, u, v,
                            difference.digits(n), borrow);
    });
}

TEST(Arithmetic, all_ones_plus_one_carries_and_zero_minus_one_borrows) {
    for (const std::size_t n : counts) {
        DigitVector one(n);
        one[0] = 1;
        Guarded w(n), x(DigitVector(n, 0xffffffff)), y(one), z(DigitVector(n, 0));
        EXPECT_EQ(mpAdd(w, x, y, n), 1U);
        EXPECT_EQ(w.value(), DigitVector(n));
        EXPECT_EQ(mpSubtract(w, z, y, n), 1U);
        EXPECT_EQ(w.value(), DigitVector(n, 0xffffffff));
    }
}

TEST(Arithmetic, product_has_twice_the_digits) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector& v) {
        Guarded w(2 * n), x(u), y(v);
        EXPECT_EQ(mpMultiply(w, x, y, n), 0);
        EXPECT_EQ(w.value(), (Slow(u) * Slow(v)).digits(2 * n)) << show(u) << " * " << show(v);
        EXPECT_EQ(x.value(), u);
        EXPECT_EQ(y.value(), v);
    });
}

TEST(Arithmetic, square_is_the_product_with_itself) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector&) {
        Guarded w(2 * n), p(2 * n), x(u);
        EXPECT_EQ(mpSquare(w, x, n), 0);
        EXPECT_EQ(mpMultiply(p, x, x, n), 0);
        EXPECT_EQ(w.value(), (Slow(u) * Slow(u)).digits(2 * n)) << show(u);
        EXPECT_EQ(p.value(), w.value()) << show(u);
    });
}

TEST(Arithmetic, products_of_all_counts_up_to_70) {
    Numbers numbers;
    for (std::size_t n = 1; n <= 70; ++n)
        for (const DigitVector& u : {DigitVector(n, 0xffffffff), numbers(n), numbers(n)}) {
            const DigitVector v = numbers(n);
            Guarded w(2 * n), x(u), y(v), s(2 * n);
            mpMultiply(w, x, y, n);
            mpSquare(s, x, n);
            EXPECT_EQ(w.value(), (Slow(u) * Slow(v)).digits(2 * n)) << n;
            EXPECT_EQ(s.value(), (Slow(u) * Slow(u)).digits(2 * n)) << n;
        }
}

TEST(Arithmetic, nothing_is_written_for_no_digits) {
    Guarded w(1), q(1), x(DigitVector{7});
    EXPECT_EQ(mpAdd(w, x, x, 0), 0U);
    EXPECT_EQ(mpSubtract(w, x, x, 0), 0U);
    EXPECT_EQ(mpMultiply(w, x, x, 0), 0);
    EXPECT_EQ(mpSquare(w, x, 0), 0);
    EXPECT_EQ(mpShortMult(w, x, 9, 0), 0U);
    EXPECT_EQ(mpShortDiv(w, x, 9, 0), 0U);
    EXPECT_EQ(mpShortMod(x, 9, 0), 0U);
    EXPECT_EQ(mpDivide(w, q, x, 0, x, 1), 0);
    EXPECT_EQ(mpDivide(w, q, x, 0, x, 0), -1);
    EXPECT_EQ(mpShiftLeft(w, x, 5, 0), 0U);
    EXPECT_EQ(mpShiftRight(w, x, 5, 0), 0U);
    EXPECT_EQ(mpSetBit(w, 0, 0, 1), -1);
    EXPECT_EQ(mpGetBit(w, 0, 0), -1);
    mpSetEqual(w, x, 0);
    mpSetZero(w, 0);
    mpModPowerOf2(w, 0, 0);
    mpXorBits(w, x, x, 0);
    mpOrBits(w, x, x, 0);
    mpAndBits(w, x, x, 0);
    mpNotBits(w, x, 0);
    EXPECT_EQ(mpIsNegative(x, 0), 0);
    EXPECT_EQ(mpChs(w, x, 0), 0);
    EXPECT_EQ(mpAbs(w, x, 0), 0);
    EXPECT_EQ(w.value(), DigitVector{0x55aa55aa});
    EXPECT_EQ(q.value(), DigitVector{0x55aa55aa});
}

// ---- comparison and size

TEST(Comparison, of_empty_numbers_returns_minus_one_or_0) {
    const Digit a[1] = {1};
    EXPECT_EQ(mpEqual(a, a, 0), -1);
    EXPECT_EQ(mpIsZero(a, 0), -1);
    EXPECT_EQ(mpCompare(a, a, 0), 0);
    EXPECT_EQ(mpShortCmp(a, 1, 0), -1);
    EXPECT_EQ(mpShortCmp(a, 0, 0), 0);
    EXPECT_EQ(mpSizeof(a, 0), 0U);
    EXPECT_EQ(mpBitLength(a, 0), 0U);
}

TEST(Comparison, agrees_with_the_values) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector& v) {
        const Slow x(u), y(v);
        EXPECT_EQ(mpEqual(u.data(), v.data(), n), x == y);
        EXPECT_EQ(mpCompare(u.data(), v.data(), n), x < y ? -1 : x == y ? 0 : 1);
        EXPECT_EQ(mpIsZero(u.data(), n), x.is_zero());
        EXPECT_EQ(mpBitLength(u.data(), n), x.bits());
        EXPECT_EQ(mpSizeof(u.data(), n), (x.bits() + 31) / 32);
        EXPECT_EQ(mpIsNegative(u.data(), n), u.back() >> 31);
        EXPECT_EQ(mpShortCmp(u.data(), v[0], n), x < Slow(v[0]) ? -1 : x == Slow(v[0]) ? 0 : 1);
    });
}

TEST(Comparison, sees_a_difference_in_any_digit) {
    for (const std::size_t n : counts)
        for (std::size_t i = 0; i < n; ++i) {
            const DigitVector zero(n);
            DigitVector one_bit(n);
            one_bit[i] = 0x80000000U >> i % 32;
            EXPECT_EQ(mpEqual(zero.data(), one_bit.data(), n), 0);
            EXPECT_EQ(mpIsZero(one_bit.data(), n), 0);
            EXPECT_EQ(mpCompare(zero.data(), one_bit.data(), n), -1);
            EXPECT_EQ(mpCompare(one_bit.data(), zero.data(), n), 1);
            EXPECT_EQ(mpSizeof(one_bit.data(), n), i + 1);
            EXPECT_EQ(mpBitLength(one_bit.data(), n), 32 * i + 32 - i % 32);
            EXPECT_EQ(mpShortCmp(one_bit.data(), 0xffffffff, n), i == 0 ? -1 : 1);
        }
}

TEST(Comparison, bit_length_of_no_array_is_0) { EXPECT_EQ(mpBitLength(nullptr, 9), 0U); }

// ---- copy and clear

TEST(Copy, set_functions_write_exactly_their_digits) {
    for (const std::size_t n : counts) {
        Numbers numbers;
        const DigitVector b = numbers(n);
        Guarded a(n), x(b);
        mpSetEqual(a, x, n);
        EXPECT_EQ(a.value(), b);
        mpSetEqual(a, a, n);
        EXPECT_EQ(a.value(), b);
        mpSetZero(a, n);
        EXPECT_EQ(a.value(), DigitVector(n));
        Guarded d(n);
        mpSetDigit(d, 0xcafe, n);
        EXPECT_EQ(d.value(), Slow(0xcafe).digits(n));
    }
}

TEST(Copy, set_digit_writes_the_lowest_digit_even_for_length_0) {
    Digit a[2] = {1, 2};
    mpSetDigit(a, 7, 0);
    EXPECT_EQ(a[0], 7U);
    EXPECT_EQ(a[1], 2U);
}

// ---- bits

TEST(Bits, shifts_by_every_count_in_and_out_of_place) {
    Numbers numbers;
    for (const std::size_t n : Counts{1, 2, 3, 8, 9, 33}) {
        const DigitVector b = numbers(n);
        const Slow x(b);
        std::vector<std::uint64_t> shifts;
        for (std::uint64_t s = 0; s <= 32 * n + 70; ++s) shifts.push_back(s);
        for (const std::uint64_t s : {std::uint64_t{1} << 32, (std::uint64_t{1} << 32) + 5, ~std::uint64_t{0}})
            shifts.push_back(s);
        for (const std::uint64_t s : shifts) {
            const bool far = s > 64 * (n + 2);
            // A left shift returns digit n of the full result. A right shift returns the digit that is shifted out
            // below digit 0.
            const Slow left = far ? Slow() : x * Slow::power_of_2(s);
            const Slow right = far ? Slow() : x * two_to(1) / Slow::power_of_2(s);
            const Digit left_out = (left / two_to(n)).digits(1)[0];
            const Digit right_out = right.digits(1)[0];
            const DigitVector moved_right = (right / two_to(1)).digits(n);
            Guarded a(n), c(b), d(b), e(n), source(b);
            EXPECT_EQ(mpShiftLeft(a, source, s, n), left_out) << show(b) << " << " << s;
            EXPECT_EQ(a.value(), left.digits(n)) << show(b) << " << " << s;
            EXPECT_EQ(mpShiftLeft(c, c, s, n), left_out) << "in place";
            EXPECT_EQ(c.value(), left.digits(n)) << "in place";
            EXPECT_EQ(mpShiftRight(e, source, s, n), right_out) << show(b) << " >> " << s;
            EXPECT_EQ(e.value(), moved_right) << show(b) << " >> " << s;
            EXPECT_EQ(mpShiftRight(d, d, s, n), right_out) << "in place";
            EXPECT_EQ(d.value(), moved_right) << "in place";
            EXPECT_EQ(source.value(), b);
        }
    }
}

TEST(Bits, shifts_by_fewer_than_32_may_move_a_number_over_itself) {
    Numbers numbers;
    for (const std::size_t n : Counts{1, 2, 3, 8, 9, 33}) {
        const DigitVector b = numbers(n);
        for (std::uint64_t s = 0; s < 32; ++s) {
            DigitVector left(n);
            DigitVector right(n);
            const Digit left_out = mpShiftLeft(left.data(), b.data(), s, n);
            const Digit right_out = mpShiftRight(right.data(), b.data(), s, n);
            for (std::size_t distance = 1; distance <= 3; ++distance) {
                DigitVector x(n + distance);
                Digit* low = x.data();
                Digit* high = x.data() + distance;
                std::copy(b.begin(), b.end(), high);
                EXPECT_EQ(mpShiftLeft(low, high, s, n), left_out) << show(b) << " << " << s;
                EXPECT_EQ(DigitVector(low, low + n), left) << show(b) << " << " << s << ", " << distance << " below";
                std::copy(b.begin(), b.end(), low);
                EXPECT_EQ(mpShiftRight(high, low, s, n), right_out) << show(b) << " >> " << s;
                EXPECT_EQ(DigitVector(high, high + n), right) << show(b) << " >> " << s << ", " << distance << " above";
            }
        }
    }
}

TEST(Bits, right_shift_returns_its_bits_left_aligned) {
    const Digit b[2] = {0x00000003, 1};
    Digit a[2];
    EXPECT_EQ(mpShiftRight(a, b, 1, 2), 0x80000000U);
    EXPECT_EQ(mpShiftRight(a, b, 2, 2), 0xc0000000U);
    EXPECT_EQ(mpShiftRight(a, b, 0, 2), 0U);
    EXPECT_EQ(mpShiftRight(a, b, 33, 2), 0x80000001U);
    EXPECT_EQ(mpShiftRight(a, b, 32, 2), 3U);
}

TEST(Bits, single_bits_are_set_cleared_and_read) {
    Numbers numbers;
    for (const std::size_t n : Counts{1, 2, 9, 33})
        for (std::uint64_t i = 0; i < 32 * n; ++i) {
            const DigitVector b = numbers(n);
            Guarded a(b);
            EXPECT_EQ(mpGetBit(a, n, i), Slow(b).bit(i));
            EXPECT_EQ(mpSetBit(a, n, i, i % 2 != 0 ? 1 : -256), 0);
            DigitVector expected = b;
            expected[i / 32] |= Digit{1} << i % 32;
            EXPECT_EQ(a.value(), expected);
            EXPECT_EQ(mpSetBit(a, n, i, 0), 0);
            expected[i / 32] &= ~(Digit{1} << i % 32);
            EXPECT_EQ(a.value(), expected);
        }
}

TEST(Bits, a_bit_out_of_range_is_rejected) {
    for (const std::uint64_t n : {1U, 2U, 9U})
        for (const std::uint64_t i : {32 * n, 32 * n + 1, std::uint64_t{1} << 32, ~std::uint64_t{0}}) {
            Guarded a(DigitVector(n, 5));
            EXPECT_EQ(mpSetBit(a, n, i, 1), -1);
            EXPECT_EQ(mpGetBit(a, n, i), -1);
            EXPECT_EQ(a.value(), DigitVector(n, 5));
        }
}

TEST(Bits, mod_power_of_2_keeps_the_low_bits) {
    Numbers numbers;
    for (const std::size_t n : Counts{1, 2, 3, 9, 33})
        for (std::uint64_t L = 0; L <= 32 * n + 65; ++L) {
            const DigitVector b = numbers(n);
            Guarded a(b);
            mpModPowerOf2(a, n, L);
            EXPECT_EQ(a.value(), (Slow(b) % Slow::power_of_2(L)).digits(n)) << L;
        }
}

TEST(Bits, logic_works_digit_by_digit) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector& v) {
        DigitVector x(n), o(n), a(n), c(n);
        for (std::size_t i = 0; i < n; ++i) {
            x[i] = u[i] ^ v[i];
            o[i] = u[i] | v[i];
            a[i] = u[i] & v[i];
            c[i] = ~u[i];
        }
        using F = void (*)(Digit*, const Digit*, const Digit*, std::uint64_t);
        const auto run = [n](F f) {
            return [f, n](Digit* w, const Digit* p, const Digit* q) { return f(w, p, q, n), 0; };
        };
        expect_in_place_too(run(mpXorBits), u, v, x, 0);
        expect_in_place_too(run(mpOrBits), u, v, o, 0);
        expect_in_place_too(run(mpAndBits), u, v, a, 0);
        expect_in_place_too([n](Digit* w, const Digit* p, const Digit*) { return mpNotBits(w, p, n), 0; }, u, u, c, 0);
    });
}

// ---- signed view

TEST(Signed, negation_and_absolute_value) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector&) {
        const int negative = static_cast<int>(u.back() >> 31);
        const DigitVector negated = (two_to(n) - Slow(u)).digits(n);
        expect_in_place_too([n](Digit* w, const Digit* p, const Digit*) { return mpChs(w, p, n); }, u, u, negated,
                            negative);
        expect_in_place_too([n](Digit* w, const Digit* p, const Digit*) { return mpAbs(w, p, n); }, u, u,
                            negative != 0 ? negated : u, negative);
    });
}

TEST(Signed, zero_and_the_most_negative_number_stay_as_they_are) {
    for (const std::size_t n : counts) {
        DigitVector least(n);
        least.back() = 0x80000000;
        Guarded a(n), zero(DigitVector(n, 0)), x(least);
        EXPECT_EQ(mpChs(a, zero, n), 0);
        EXPECT_EQ(a.value(), DigitVector(n));
        EXPECT_EQ(mpChs(a, x, n), 1);
        EXPECT_EQ(a.value(), least);
        EXPECT_EQ(mpAbs(a, x, n), 1);
        EXPECT_EQ(a.value(), least);
    }
}

// ---- a number and a digit

TEST(ShortOperand, sum_difference_and_product) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector& v) {
        const Digit d = v[0];
        const Slow x(u), sum = x + Slow(d), product = x * Slow(d);
        const bool borrow = x < Slow(d);
        expect_in_place_too([=](Digit* w, const Digit* p, const Digit*) { return mpShortAdd(w, p, d, n); }, u, u,
                            sum.digits(n), sum >= two_to(n));
        expect_in_place_too([=](Digit* w, const Digit* p, const Digit*) { return mpShortSub(w, p, d, n); }, u, u,
                            (x + two_to(n) - Slow(d)).digits(n), borrow);
        expect_in_place_too([=](Digit* w, const Digit* p, const Digit*) { return mpShortMult(w, p, d, n); }, u, u,
                            product.digits(n), (product / two_to(n)).digits(1)[0]);
    });
}

TEST(ShortOperand, product_with_0_clears) {
    Guarded w(9), u(DigitVector(9, 0xffffffff));
    EXPECT_EQ(mpShortMult(w, u, 0, 9), 0U);
    EXPECT_EQ(w.value(), DigitVector(9));
}

TEST(ShortOperand, modular_product_is_the_plain_one_and_never_reads_its_modulus) {
    Numbers numbers;
    for (const std::size_t n : counts) {
        const DigitVector u = numbers(n);
        const Digit d = numbers.edge();
        Guarded w(n), x(u), plain(n);
        const Digit out = mpShortMult(plain, x, d, n);
        const DigitVector m(n, 3);
        EXPECT_EQ(mpShortModMult(w, x, d, m.data(), n), out);
        EXPECT_EQ(w.value(), plain.value());
        EXPECT_EQ(mpShortModMult(x, x, d, nullptr, n), out);
        EXPECT_EQ(x.value(), plain.value());
    }
}

TEST(ShortOperand, quotient_and_remainder) {
    for_pairs([](std::size_t n, const DigitVector& u, const DigitVector& v) {
        const Digit d = v[0];
        if (d == 0) return;
        const auto [q, r] = Slow::divide(Slow(u), Slow(d));
        const Digit rest = r.digits(1)[0];
        expect_in_place_too([=](Digit* w, const Digit* p, const Digit*) { return mpShortDiv(w, p, d, n); }, u, u,
                            q.digits(n), rest);
        EXPECT_EQ(mpShortMod(u.data(), d, n), rest);
    });
}

TEST(ShortOperand, division_by_0_returns_0_and_leaves_the_quotient) {
    Guarded q(3), u(DigitVector{1, 2, 3});
    EXPECT_EQ(mpShortDiv(q, u, 0, 3), 0U);
    EXPECT_EQ(q.value(), DigitVector(3, 0x55aa55aa));
    EXPECT_EQ(mpShortMod(u, 0, 3), 0U);
}

// ---- single digits

TEST(SingleDigit, product_of_every_pair_of_edge_halves) {
    constexpr Digit halves[] = {0, 1, 2, 3, 0x7f, 0x80, 0xff, 0x100, 0x7fff, 0x8000, 0x8001, 0xfffe, 0xffff};
    for (const Digit a : halves)
        for (const Digit b : halves)
            for (const Digit c : halves)
                for (const Digit d : halves) {
                    const Digit x = a << 16 | b, y = c << 16 | d;
                    Digit p[4] = {1, 1, 1, 1};
                    EXPECT_EQ(spMultiply(p + 1, x, y), 0);
                    EXPECT_EQ(std::uint64_t{p[2]} << 32 | p[1], std::uint64_t{x} * y);
                    EXPECT_EQ(p[0] + p[3], 2U);
                }
}

TEST(SingleDigit, product_of_all_16_bit_halves_at_both_ends) {
    for (Digit x = 0; x <= 0xffff; ++x)
        for (const Digit y : {x << 16 | (x ^ 0xffff), 0xffff0000U | x, x}) {
            Digit p[2];
            spMultiply(p, x << 16 | 0xffff, y);
            ASSERT_EQ(std::uint64_t{p[1]} << 32 | p[0], std::uint64_t{x << 16 | 0xffff} * y);
        }
}

void expect_quotient(std::uint64_t dividend, Digit d) {
    const Digit u[2] = {static_cast<Digit>(dividend), static_cast<Digit>(dividend >> 32)};
    Digit q = 5, r = 5;
    const int overflow = spDivide(&q, &r, u, d);
    ASSERT_EQ(overflow, static_cast<int>(dividend / d >> 32)) << dividend << " / " << d;
    ASSERT_EQ(q, static_cast<Digit>(dividend / d)) << dividend << " / " << d;
    ASSERT_EQ(r, static_cast<Digit>(dividend % d)) << dividend << " / " << d;
}

TEST(SingleDigit, quotient_for_every_high_half_of_the_divisor) {
    for (Digit high = 0x8000; high <= 0xffff; ++high)
        for (const Digit low : {0x0U, 0x1U, 0x7fffU, 0x8000U, 0xffffU}) {
            const Digit d = high << 16 | low;
            for (const Digit top : {0U, 1U, d - 1, d, d + 1, 0x7fffffffU, 0xffffffffU})
                for (const Digit bottom : {0U, d - 1, 0xffffffffU})
                    expect_quotient(std::uint64_t{top} << 32 | bottom, d);
        }
}

TEST(SingleDigit, quotient_of_random_dividends) {
    Numbers numbers;
    for (int i = 0; i < 200000; ++i)
        expect_quotient(std::uint64_t{numbers.edge()} << 32 | numbers.edge(), numbers.edge() | 0x80000000);
}

TEST(SingleDigit, division_overwrites_its_dividend) {
    Digit u[2] = {0x12345678, 0x87654321};
    const std::uint64_t dividend = std::uint64_t{u[1]} << 32 | u[0];
    EXPECT_EQ(spDivide(&u[0], &u[1], u, 0x80000001), 1);
    EXPECT_EQ(u[0], static_cast<Digit>(dividend / 0x80000001));
    EXPECT_EQ(u[1], static_cast<Digit>(dividend % 0x80000001));
}

TEST(SingleDigit, division_rejects_a_divisor_with_a_clear_top_bit) {
    for (const Digit d : {0U, 1U, 0x7fffffffU}) {
        const Digit u[2] = {9, 9};
        Digit q = 5, r = 5;
        EXPECT_EQ(spDivide(&q, &r, u, d), -1);
        EXPECT_EQ(q, 0U);
        EXPECT_EQ(r, 0U);
    }
}

TEST(SingleDigit, short_division_on_every_16_bit_divisor) {
    for (Digit d = 1; d <= 0xffff; ++d)
        for (const Digit top : {0U, 1U, d - 1, d, 0xffffffffU}) {
            const Digit u[2] = {0xfffffffe, top};
            const std::uint64_t value = std::uint64_t{top} << 32 | u[0];
            Digit q[2];
            ASSERT_EQ(mpShortDiv(q, u, d, 2), value % d);
            ASSERT_EQ(std::uint64_t{q[1]} << 32 | q[0], value / d);
        }
}

// ---- division

void expect_division(const DigitVector& u, const DigitVector& v) {
    const std::string trace =
        show(u) + " / " + show(v) + ", " + std::to_string(u.size()) + " and " + std::to_string(v.size()) + " digits";
    Guarded q(u.size()), r(u.size()), x(u), y(v);
    const int rc = mpDivide(q, r, x, u.size(), y, v.size());
    const bool by_zero = Slow(v).is_zero();
    const auto [quotient, rest] = by_zero ? std::pair<Slow, Slow>{} : Slow::divide(Slow(u), Slow(v));
    EXPECT_EQ(rc, by_zero ? -1 : 0) << trace;
    EXPECT_EQ(q.value(), quotient.digits(u.size())) << trace;
    EXPECT_EQ(r.value(), rest.digits(u.size())) << trace;
    EXPECT_EQ(x.value(), u) << trace;
    EXPECT_EQ(y.value(), v) << trace;
}

TEST(Division, of_numbers_of_all_counts) {
    Numbers numbers;
    for (const std::size_t m : counts)
        for (const std::size_t n : counts)
            for (int i = 0; i < (m <= 17 ? 10 : m <= 64 ? 2 : 1); ++i) expect_division(numbers(m), numbers(n));
}

TEST(Division, by_zero_clears_quotient_and_remainder) {
    for (const std::size_t n : counts) {
        expect_division(DigitVector(n, 0xffffffff), DigitVector(n));
        expect_division(DigitVector(n, 0xffffffff), DigitVector(1));
    }
}

TEST(Division, of_a_smaller_an_equal_and_a_slightly_larger_number) {
    Numbers numbers;
    for (const std::size_t n : counts) {
        const DigitVector v = numbers.not_zero(n);
        expect_division(v, v);
        expect_division((Slow(v) - Slow(1)).digits(n), v);
        expect_division((Slow(v) + Slow(1)).digits(n + 1), v);
        expect_division(DigitVector(n), v);
    }
}

TEST(Division, by_one_digit) {
    Numbers numbers;
    for (const std::size_t m : counts)
        for (const Digit d : {1U, 2U, 3U, 10U, 0x7fffffffU, 0x80000000U, 0xfffffffeU, 0xffffffffU}) {
            expect_division(numbers(m), DigitVector{d});
            expect_division(numbers(m), Slow(d).digits(7));
        }
}

/**
 * The divisor, quotient and remainder have extreme words. With such words, estimates are wrong, and corrections cause
 * long carries.
 */
TEST(Division, of_products_of_extreme_words) {
    Numbers numbers;
    const auto extreme = [&](std::size_t n) {
        DigitVector x(n);
        for (Digit& digit : x) digit = numbers.edge();
        return x;
    };
    for (const std::size_t n : Counts{2, 3, 4, 5, 6, 8, 9, 10, 12, 16, 17, 18, 20, 24, 33})
        for (const std::size_t k : Counts{1, 2, 3, 5, 8, 9, 16, 17})
            for (int i = 0; i < 12; ++i) {
                const Slow v = Slow(extreme(n));
                if (v.is_zero()) continue;
                const Slow q(extreme(k));
                const Slow rests[] = {Slow(), Slow(1) % v, v - Slow(1), Slow(extreme(n)) % v};
                const Slow u = q * v + rests[i % 4];
                expect_division(u.digits(n + k), v.digits(n));
            }
}

Slow words(std::initializer_list<std::uint64_t> lowest_first) {
    Slow x;
    for (std::size_t i = lowest_first.size(); i-- != 0;)
        x = x * Slow::power_of_2(64) + Slow(std::data(lowest_first)[i]);
    return x;
}

constexpr std::uint64_t ones = ~std::uint64_t{0};
constexpr std::uint64_t half = std::uint64_t{1} << 63;

TEST(Division, where_the_top_words_are_equal_and_an_estimate_would_overflow) {
    // At one step, the top of the remainder equals the top of the divisor, compared as digits or as words.
    for (const std::uint64_t low : {0U, 1U, 4U}) {
        expect_division(words({low, 4, 7, half}).digits(8), words({5, 7, half}).digits(6));
        expect_division(words({ones, low, 7, ones}).digits(8), words({5, 7, ones}).digits(6));
    }
    expect_division(DigitVector{9, 4, 7, 0x80000000}, DigitVector{5, 7, 0x80000000});
    expect_division(DigitVector{0, 0xfffffffe, 0x80000000}, DigitVector{0xffffffff, 0x80000000});
    expect_division(DigitVector{0, 0, 0x80000000, 0x7fff}, DigitVector{1, 0, 0x8000});
}

TEST(Division, adds_back_the_divisor_after_a_quotient_word_too_large_by_one) {
    for (const std::uint64_t q : {std::uint64_t{1}, std::uint64_t{2}, half, ones - 1, ones})
        for (const std::uint64_t d1 : {half, half + 1, ones})
            for (const std::uint64_t d0 : {std::uint64_t{0}, std::uint64_t{1}, ones}) {
                // The dividend is a multiple of the divisor's top words alone. Because of the lower words of the
                // divisor, the estimated multiple of the whole divisor is too large.
                const Slow top = words({d0, d1});
                expect_division((Slow(q) * top * Slow::power_of_2(64)).digits(8), words({1, d0, d1}).digits(6));
                expect_division((Slow(q) * top * Slow::power_of_2(128)).digits(10), words({0, ones, d0, d1}).digits(8));
            }
    for (const Digit q : {1U, 2U, 0x80000000U, 0xffffffffU})
        for (const Digit d1 : {0x80000000U, 0xffffffffU})
            expect_division((Slow(q) * Slow(d1) * two_to(2)).digits(4), DigitVector{0xffffffff, 0xffffffff, d1});
}

TEST(Division, where_a_digit_estimate_is_too_large_by_two) {
    // As in Knuth, section 4.3.1, exercise 21: the top digit of the divisor has the smallest possible value.
    expect_division(DigitVector{0, 0, 0x80000000, 0x7fffffff}, DigitVector{1, 0, 0x80000000});
    expect_division(DigitVector{3, 0, 0x80000000}, DigitVector{1, 0, 0x20000000});
    expect_division(DigitVector{0, 0xffff8000, 0x7fffffff, 0x8000}, DigitVector{0xffffffff, 0, 0x8000});
    expect_division(DigitVector{0, 0xfffffffe, 0x80000000}, DigitVector{0xffffffff, 0x80000000});
    expect_division(DigitVector{0xffffffff, 0xffffffff, 0xffffffff, 0xfffffffe}, DigitVector{0xffffffff, 0xffffffff});
}

TEST(Division, where_a_block_estimate_is_too_large_by_one_or_two) {
    // Divisors of 8 to 12 words: the estimate of four quotient words uses only the top four words of the divisor.
    for (const std::size_t n : Counts{8, 9, 12}) {
        const Slow below = Slow::power_of_2(64 * (n - 4));
        const Slow least_top = Slow::power_of_2(255);
        const Slow greatest_top = Slow::power_of_2(256) - Slow(1);
        for (const Slow& top : {least_top, least_top + Slow(1), greatest_top})
            for (const Slow& q : {Slow(1), least_top, greatest_top - Slow(1), greatest_top}) {
                const Slow v = top * below + (below - Slow(1));
                for (const Slow& u : {q * top * below, q * top * below + (below - Slow(1)), q * v, q * v - Slow(1)})
                    expect_division(u.digits(2 * n + 8), v.digits(2 * n));
            }
    }
}

TEST(Division, where_the_top_words_of_a_block_are_equal) {
    for (const std::size_t n : Counts{8, 9, 13}) {
        const Slow below = Slow::power_of_2(64 * (n - 4));
        const Slow top = Slow::power_of_2(255) + Slow(12345);
        const Slow v = top * below + (below - Slow(1));
        // A quotient of two blocks. All bits of the second block are ones, and the remainder is v - 1.
        const Slow q = Slow(half) * Slow::power_of_2(6 * 64) + Slow::power_of_2(256) - Slow(1);
        expect_division((q * v + v - Slow(1)).digits(2 * n + 14), v.digits(2 * n));
        expect_division((q * v).digits(2 * n + 14), v.digits(2 * n));
    }
}

TEST(Division, with_every_normalising_shift) {
    Numbers numbers;
    for (const std::size_t n : Counts{2, 3, 4, 5, 9, 16, 17, 20})
        for (std::size_t shift = 0; shift < 64; ++shift) {
            DigitVector v = numbers(n);
            v.back() |= 0x80000000;
            expect_division(numbers(2 * n), (Slow(v) / Slow::power_of_2(shift)).digits(n));
        }
}

/** Read-only memory. */
class ReadOnly {
public:
    explicit ReadOnly(const DigitVector& value)
        : page_(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        std::memcpy(page_, value.data(), 4 * value.size());
        mprotect(page_, size, PROT_READ);
    }
    ReadOnly(const ReadOnly&) = delete;
    ReadOnly& operator=(const ReadOnly&) = delete;
    ~ReadOnly() { munmap(page_, size); }
    operator const Digit*() const { return static_cast<const Digit*>(page_); }  // NOLINT: used in place of the array

private:
    static constexpr std::size_t size = 4096;
    void* page_;
};

TEST(Division, divisor_and_modulus_are_never_written) {
    Numbers numbers;
    for (const std::size_t n : Counts{1, 2, 9, 33, 128}) {
        DigitVector m = numbers(n);
        m[0] |= 1;
        m.back() = 1;  // needs a large shift to set the top bit
        const ReadOnly modulus(m), u(DigitVector(n, 0xffffffff)), v(numbers(n)), wide(numbers(2 * n));
        Guarded q(2 * n), r(2 * n), w(n);
        EXPECT_EQ(mpDivide(q, r, wide, 2 * n, modulus, n), 0);
        EXPECT_EQ(mpModulo(w, wide, 2 * n, modulus, n), 0);
        EXPECT_EQ(mpModAdd(w, u, v, modulus, n), 0);
        EXPECT_EQ(mpModSub(w, u, v, modulus, n), 0);
        EXPECT_EQ(mpModMult(w, u, v, modulus, n), 0);
        mpModInv(w, u, modulus, n);
        EXPECT_EQ(mpGcd(w, u, modulus, n), 0);
        mpJacobi(u, modulus, n);
        if (n <= 33) {
            EXPECT_EQ(mpModExp(w, u, v, modulus, n), 0);
        }
        EXPECT_EQ(mpSqrt(w, u, n), 0);
    }
}

}  // namespace
}  // namespace vrx::test
