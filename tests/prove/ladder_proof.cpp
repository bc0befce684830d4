// Finds all scalars k for which the ladder or a window cannot compute k Q, where Q is a point of prime order q.
//
// The ladder cannot add two points if one of them or their sum is infinite. A window cannot add points that are equal
// or opposite, or of which one is infinite. The proof finds all numbers n for which this is the case with multiples n
// Q.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <set>
#include <string>

#include "ecc/field/ladder.hpp"
#include "ecc/field/plain_lanes.hpp"
#include "ecc/field/word_multiply.hpp"

using namespace vrx::field;

namespace {

Words words_of(const mpz_class& n) {
    Words r{};
    for (std::size_t i = 0; i < r.size(); ++i)
        r[i] = mpz_class(n >> (64 * i) & mpz_class("18446744073709551615")).get_ui();
    return r;
}
mpz_class number(const Words& words) {
    mpz_class r = 0;
    for (std::size_t i = words.size(); i-- != 0;) r = (r << 64) + mpz_class(static_cast<unsigned long>(words[i]));
    return r;
}

template <typename Curve>
class Multiples : public testing::Test {
public:
    static inline const mpz_class order = number(Curve::q);

    static bool ladder_covers(const mpz_class& k) {
        using S = typename Curve::Field;
        const Words x = S::to_montgomery(Curve::x);
        const HomogeneousPoint p =
            with_y<Curve>(ladder<PlainLanes, Curve>(words_of(k), x), x, S::to_montgomery(Curve::y));
        return !is_element_zero<S>(p.z);
    }
    static bool window_covers(const mpz_class& k) {
        return !is_element_zero<typename Curve::Field>(window_multiply<Curve>(words_of(k), {Curve::x, Curve::y}).zz);
    }
    static bool public_window_covers(const mpz_class& k) {
        return !is_element_zero<typename Curve::Field>(
            window_multiply_vartime<Curve>(words_of(k), {Curve::x, Curve::y}).zz);
    }
};
using Curves = testing::Types<CurveTest, CurveA, CurveB, CurveC>;
struct Names {
    template <typename Curve>
    static std::string GetName(int index) {
        return std::array{"Test", "A", "B", "C"}.at(static_cast<std::size_t>(index));
    }
};
TYPED_TEST_SUITE(Multiples, Curves, Names);

/** All n from 1 to `most` for which q divides n, n + 1 or 2n + 1. The formulas of the ladder hold for n = 0. */
std::set<mpz_class> exceptional_up_to(const mpz_class& most, const mpz_class& q) {
    std::set<mpz_class> found;
    for (mpz_class multiple = q; multiple <= 2 * most + 1; multiple += q) {
        if (multiple <= most) found.insert(multiple);
        if (multiple - 1 <= most) found.insert(mpz_class(multiple - 1));
        if (mpz_odd_p(multiple.get_mpz_t()) != 0) found.insert(mpz_class((multiple - 1) / 2));
    }
    return found;
}

// Before the step for bit i, the ladder has n Q and (n + 1) Q, where n is k without its lower i + 1 bits. The step adds
// these points, whose difference is Q, and doubles one of them.
TYPED_TEST(Multiples, by_the_ladder_are_exceptional_for_one_scalar_and_it_reports_this) {
    const mpz_class q = TestFixture::order;
    std::set<mpz_class> exceptional;
    for (unsigned bit = 0; bit < 256; ++bit)
        for (const mpz_class& n : exceptional_up_to(mpz_class((q - 1) >> (bit + 1)), q)) {
            ASSERT_EQ(bit, 0U);
            for (const int low : {0, 1})
                if (const mpz_class k = 2 * n + low; k < q) exceptional.insert(k);
        }
    EXPECT_EQ(exceptional, std::set<mpz_class>{mpz_class(q - 1)});
    EXPECT_FALSE(this->ladder_covers(mpz_class(q - 1)));
    for (const mpz_class& k : {mpz_class(1), mpz_class(2), mpz_class((q - 1) / 2), mpz_class(q - 2)})
        EXPECT_TRUE(this->ladder_covers(k)) << k;
}

/**
 * All odd k for which the last sum of a window is exceptional. This sum adds (k - d) Q and d Q, where digit(k) = d is
 * the last digit. The points are equal if and only if q divides k - 2 d. They are not opposite, because q does not
 * divide k.
 */
std::set<mpz_class> exceptional_odd(const mpz_class& q, int largest,
                                    const std::function<int(const mpz_class&)>& digit) {
    std::set<mpz_class> found;
    for (int d = -largest; d <= largest; d += 2)
        for (int multiple = -1; multiple <= 1; ++multiple) {
            const mpz_class k = multiple * q + 2 * d;
            if (0 < k && k < q && mpz_odd_p(k.get_mpz_t()) != 0 && digit(k) == d) found.insert(k);
        }
    return found;
}

// An earlier sum adds 2^s n Q and d Q for n >= 1, s >= 5 and 2^s n + 31 < q. Its points are neither equal nor opposite,
// because |d| is below 32. In non-adjacent form, all sums are of this kind if k is even.
TYPED_TEST(Multiples, by_windows_are_exceptional_for_few_scalars_and_they_report_this) {
    const mpz_class q = TestFixture::order;
    ASSERT_LT(32 * ((mpz_class(q + 31) / 32 + 31) / 32) + 2 * 31, q);
    const auto secret = exceptional_odd(
        q, 31, [](const mpz_class& k) { return 2 * static_cast<int>(mpz_class((k - 1) / 2 % 32).get_si()) - 31; });
    const auto open = exceptional_odd(q, 15, [](const mpz_class& k) {
        const int low = static_cast<int>(mpz_class(k % 32).get_si());
        return low < 16 ? low : low - 32;
    });
    EXPECT_LE(secret.size(), 1U);
    EXPECT_LE(open.size(), 1U);
    for (const mpz_class& k : secret) {
        EXPECT_FALSE(this->window_covers(k)) << k;
        // q - k is even, so the window uses the digits of k instead.
        EXPECT_FALSE(this->window_covers(mpz_class(q - k))) << k;
    }
    for (const mpz_class& k : open) EXPECT_FALSE(this->public_window_covers(k)) << k;
    // The windows can handle all other numbers that are close to 0 or to q.
    for (int i = 1; i < 80; ++i)
        for (const mpz_class& k : {mpz_class(i), mpz_class(q - i)}) {
            const mpz_class odd = mpz_odd_p(k.get_mpz_t()) != 0 ? k : mpz_class(q - k);
            EXPECT_EQ(this->window_covers(k), !secret.contains(odd)) << k;
            EXPECT_EQ(this->public_window_covers(k), !open.contains(k)) << k;
        }
}

// Control: with a smaller order, there are exceptional cases in other steps as well.
TEST(multiples, of_a_small_order_meet_more_exceptional_cases) {
    EXPECT_EQ(exceptional_up_to(10, 7), (std::set<mpz_class>{3, 6, 7, 10}));
    EXPECT_EQ(exceptional_up_to(2, 7).size(), 0U);
}

}  // namespace
