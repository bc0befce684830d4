// Finds all scalars k for which the comb has an exceptional case: a sum of equal, opposite or infinite points.
//
// A comb adds multiples A G and T G of the base point. A and T are integers composed of digits. The sum is exceptional
// if q divides A, T, A + T or A - T. The proof tries every multiple c q in the range of these numbers, and decides
// digit by digit, with every possible carry, whether digits can represent it.
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "ecc/field/comb.hpp"
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

/** The possible digits at each place of a number in base 16. The lowest place is first. */
using Places = std::vector<std::set<int>>;

/** Returns all representations of n by such digits. */
std::vector<std::vector<int>> ways(const mpz_class& n, const Places& places) {
    std::vector<std::vector<int>> found;
    std::vector<int> digits;
    const std::function<void(const mpz_class&, std::size_t)> go = [&](const mpz_class& left, std::size_t place) {
        if (place == places.size()) {
            if (left == 0) found.push_back(digits);
            return;
        }
        for (const int digit : places[place]) {
            const mpz_class rest = left - digit;
            if (!mpz_divisible_ui_p(rest.get_mpz_t(), 16)) continue;
            digits.push_back(digit);
            go(rest / 16, place + 1);
            digits.pop_back();
        }
    };
    go(n, 0);
    return found;
}

mpz_class largest(const Places& places) {
    mpz_class r = 0;
    for (std::size_t i = places.size(); i-- != 0;) r = 16 * r + std::max(-*places[i].begin(), *places[i].rbegin());
    return r;
}

/** Returns all representations of multiples of q. */
std::vector<std::vector<int>> ways_to_multiples(const mpz_class& q, const Places& places) {
    std::vector<std::vector<int>> all;
    const mpz_class most = largest(places) / q;
    for (mpz_class c = -most; c <= most; ++c)
        for (auto& way : ways(mpz_class(c * q), places)) all.push_back(std::move(way));
    return all;
}

/** The sets of multiples and sums of digits. */
std::set<int> times(int n, const std::set<int>& a) {
    std::set<int> r;
    for (const int x : a) r.insert(n * x);
    return r;
}
std::set<int> plus(const std::set<int>& a, const std::set<int>& b) {
    std::set<int> r;
    for (const int x : a)
        for (const int y : b) r.insert(x + y);
    return r;
}

template <typename Curve>
class Combs : public testing::Test {};
using Curves = testing::Types<CurveTest, CurveA, CurveB, CurveC>;
struct Names {
    template <typename Curve>
    static std::string GetName(int index) {
        return std::array{"Test", "A", "B", "C"}.at(static_cast<std::size_t>(index));
    }
};
TYPED_TEST_SUITE(Combs, Curves, Names);

/**
 * The comb in words has 264 signs: k = 2 k' - (2^264 - 1) modulo q for a k' below q. Since k' is below 2^256, the signs
 * from 2^256 on are negative. Place j of 66 holds the signs of 2^(4j) to 2^(4j + 3), the highest first. Block B
 * consists of the places 6 B to 6 B + 5.
 */
constexpr std::size_t places_of_words = comb_teeth * comb_blocks;
std::set<int> signs_at(std::size_t place) {
    return comb_steps * place < 256 ? std::set<int>{-1, 1} : std::set<int>{-1};
}

/**
 * Returns the scalars below q whose comb has these digits at a sum of the last step. The digits from `unknown` on do
 * not include the sign of this step yet, so both signs are tried. For the digits from `negated` to `unknown`, the sign
 * of this step is inverted.
 */
std::set<mpz_class> scalars(const mpz_class& q, const std::vector<int>& digits, std::size_t negated,
                            std::size_t unknown) {
    std::set<mpz_class> found;
    const std::function<void(mpz_class, std::size_t)> go = [&](const mpz_class& sum, std::size_t place) {
        if (place == places_of_words) {
            const mpz_class twice = sum + (mpz_class(1) << (comb_steps * place)) - 1;  // 2 k'
            mpz_class k;
            mpz_fdiv_r(k.get_mpz_t(), sum.get_mpz_t(), q.get_mpz_t());
            if (0 <= twice && twice < 2 * q && k != 0) found.insert(k);
            return;
        }
        mpz_class unit = mpz_class(1) << (comb_steps * place);
        if (place >= unknown) {
            for (const int sign : signs_at(place)) go(mpz_class(sum + unit * (digits[place] + sign)), place + 1);
            return;
        }
        // The lowest of the four signs in an odd digit d is + if (d + 15) / 2 is odd.
        const int last = (digits[place] + 15) / 2 % 2 != 0 ? 1 : -1;
        go(mpz_class(sum + unit * (place >= negated ? digits[place] - 2 * last : digits[place])), place + 1);
    };
    go(0, 0);
    return found;
}

TYPED_TEST(Combs, in_words_meet_one_exceptional_case_and_report_it) {
    const mpz_class q = number(TypeParam::q);
    std::set<mpz_class> exceptional;
    std::vector<std::set<int>> earlier(places_of_words, {0});
    unsigned sums = 0;
    for (std::size_t step = 0; step < comb_steps; ++step) {
        for (auto& digits : earlier) digits = times(2, digits);
        for (std::size_t block = 0; block < comb_blocks; ++block) {
            const std::size_t first = comb_teeth * block, end = first + comb_teeth;
            Places accumulated = earlier, entry(places_of_words, {0}), sum = earlier, difference = earlier;
            for (std::size_t place = 0; place < first; ++place)
                accumulated[place] = sum[place] = difference[place] = plus(earlier[place], signs_at(place));
            for (std::size_t place = first; place < end; ++place) {
                entry[place] = signs_at(place);
                sum[place] = plus(earlier[place], entry[place]);
                difference[place] = plus(earlier[place], times(-1, entry[place]));
            }
            EXPECT_TRUE(ways_to_multiples(q, entry).empty());
            if (step == 0 && block == 0) continue;  // the first entry is copied, not added
            ++sums;
            // Before the last step, q divides none of these numbers. In the last step, candidates are tested as
            // scalars.
            const auto expect_none = [&](const Places& places, std::size_t negated, std::size_t unknown) {
                for (const auto& digits : ways_to_multiples(q, places)) {
                    ASSERT_TRUE(step + 1 == comb_steps && places_of_words - unknown <= 18) << step << " " << block;
                    exceptional.merge(scalars(q, digits, negated, unknown));
                }
            };
            expect_none(accumulated, first, first);
            expect_none(sum, end, end);
            expect_none(difference, first, end);
        }
        for (std::size_t place = 0; place < places_of_words; ++place)
            earlier[place] = plus(earlier[place], signs_at(place));
    }
    EXPECT_EQ(sums, comb_steps * comb_blocks - 1);
    // For this scalar, the last sum adds equal points: zz is 0, and the general methods compute the result.
    ASSERT_EQ(exceptional.size(), 1U);
    EXPECT_NE(is_zero(word_comb_multiply<TypeParam>(words_of(*exceptional.begin())).zz), 0U);
    EXPECT_EQ(is_zero(word_comb_multiply<TypeParam>(words_of(*exceptional.begin() + 1)).zz), 0U);
}

const std::set<int> odd_digits = {-15, -13, -11, -9, -7, -5, -3, -1, 1, 3, 5, 7, 9, 11, 13, 15};

// The comb in lanes has 64 odd digits. Lane l has the digits 8 l to 8 l + 7. At the end, lanes at the distances 4, 2
// and 1 are added.
TYPED_TEST(Combs, in_lanes_meet_one_exceptional_case_at_most_and_report_it) {
    const mpz_class q = number(TypeParam::q);
    const auto expect_none = [&q](const Places& places) { EXPECT_TRUE(ways_to_multiples(q, places).empty()); };
    for (std::size_t lane = 0; lane < lane_count; ++lane)
        for (std::size_t round = 0; round < comb_rounds; ++round) {
            Places entry(64, {0}), accumulated = entry, both = entry;
            entry[8 * lane + round] = odd_digits;
            for (std::size_t i = 0; i < round; ++i) accumulated[8 * lane + i] = odd_digits;
            for (std::size_t i = 0; i <= round; ++i) both[8 * lane + i] = odd_digits;
            expect_none(entry);
            if (round == 0) continue;
            expect_none(accumulated);
            expect_none(both);
        }
    for (std::size_t distance = lane_count / 2; distance != 0; distance /= 2)
        for (std::size_t lane = 0; lane < distance; ++lane) {
            Places one(64, {0});
            for (std::size_t i = lane; i < lane_count; i += distance)
                for (std::size_t j = 0; j < 8; ++j) one[8 * i + j] = odd_digits;
            if (distance != 1) expect_none(one);
        }
    // The last sum adds the even lanes E and the odd lanes O. E + O = k is not a multiple of q. E - O is a multiple
    // only if it is q or -q. Then k is 2 E - q or 2 E + q.
    Places all(64, odd_digits);
    std::set<mpz_class> exceptional;
    for (const auto& digits : ways_to_multiples(q, all)) {
        mpz_class k = 0;
        for (std::size_t i = 64; i-- != 0;) k = 16 * k + (i / 8 % 2 == 0 ? digits[i] : -digits[i]);
        if (0 < k && k < q) exceptional.insert(k);
    }
    // Even scalars are recoded as q - k.
    EXPECT_EQ(exceptional.size(), (std::is_same_v<TypeParam, CurveA> || std::is_same_v<TypeParam, CurveC>) ? 1U : 0U);
    for (const mpz_class& k : exceptional) {
        EXPECT_NE(is_zero(comb_multiply<PlainLanes, TypeParam>(words_of(k)).zz), 0U);
        EXPECT_NE(is_zero(comb_multiply<PlainLanes, TypeParam>(words_of(mpz_class(q - k))).zz), 0U);
        EXPECT_EQ(is_zero(comb_multiply<PlainLanes, TypeParam>(words_of(mpz_class(k + 2))).zz), 0U);
    }
}

// Control: for an order that is composed of such digits, the search finds a representation.
TEST(combs, of_which_one_is_exceptional_are_found_out) {
    const std::set<int> sign = {-1, 1};
    Places places(66, plus(times(2, sign), sign));
    mpz_class made = 0;
    for (std::size_t i = 66; i-- != 0;) made = 16 * made + (i % 3 == 2 ? 3 : -1);
    EXPECT_FALSE(ways_to_multiples(made, places).empty());
    EXPECT_EQ(ways(mpz_class(15), {odd_digits}).size(), 1U);
    EXPECT_EQ(ways(mpz_class(1), {odd_digits, odd_digits}).size(), 2U - 1U);
}

}  // namespace
