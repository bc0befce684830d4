// Bounds check of the lane arithmetic for all inputs, by interval arithmetic. A lane holds the minimum and the maximum
// of its values. Each operation computes the interval of its results, and fails if one may not fit 64 bits.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "ecc/field/ladder.hpp"

using namespace vrx::field;

namespace {

constexpr i128 one = 1;
constexpr i128 limb_end = one << 52;

struct Interval {
    i128 least = 0, most = 0;

    [[nodiscard]] bool is(i128 n) const { return least == n && most == n; }
    [[nodiscard]] bool within(i128 from, i128 to) const { return from <= least && most <= to; }
};

Interval hull(const Interval& a, const Interval& b) { return {std::min(a.least, b.least), std::max(a.most, b.most)}; }

/** Checks that a signed 64-bit word can hold the interval. */
Interval held(const Interval& a) {
    EXPECT_TRUE(a.within(-(one << 63), (one << 63) - 1)) << "a word overflows";
    return a;
}

/** The low 52 bits of a word, which are the bits that the multiply-add reads. */
Interval low_bits(const Interval& a) { return a.within(0, limb_end - 1) ? a : Interval{0, limb_end - 1}; }

/**
 * Eight lanes of intervals, with the interface of the other lane types. noinline, because the formulas are flattened
 * and compilers would take minutes.
 */
struct Intervals {
    std::array<Interval, 8> lane;

    [[gnu::noinline]] static Intervals every(const Interval& i) {
        Intervals r;
        r.lane.fill(i);
        return r;
    }
    static Intervals all(std::uint64_t n) {
        return every({static_cast<std::int64_t>(n), static_cast<std::int64_t>(n)});
    }
    [[gnu::noinline]] static Intervals load(const std::uint64_t* from) {
        Intervals r;
        for (std::size_t i = 0; i < 8; ++i)
            r.lane[i] = {static_cast<std::int64_t>(from[i]), static_cast<std::int64_t>(from[i])};
        return r;
    }
    void store(std::uint64_t* to) const {
        for (std::size_t i = 0; i < 8; ++i) to[i] = static_cast<std::uint64_t>(lane[i].least);
    }

    template <typename Operation>
    static Intervals by_lane(const Intervals& a, const Intervals& b, const Operation& operation) {
        Intervals r;
        for (std::size_t i = 0; i < 8; ++i) r.lane[i] = held(operation(a.lane[i], b.lane[i]));
        return r;
    }
    [[gnu::noinline]] Intervals operator+(const Intervals& other) const {
        return by_lane(*this, other, [](auto a, auto b) { return Interval{a.least + b.least, a.most + b.most}; });
    }
    [[gnu::noinline]] Intervals operator-(const Intervals& other) const {
        return by_lane(*this, other, [](auto a, auto b) { return Interval{a.least - b.most, a.most - b.least}; });
    }
    /** Supports only masks as operands: all ones, zero, an unknown one of these two, or a mask of low bits. */
    [[gnu::noinline]] Intervals operator&(const Intervals& other) const {
        return by_lane(*this, other, [](auto a, auto b) {
            if (b.is(0)) return Interval{0, 0};
            if (b.is(-1)) return a;
            if (b.within(-1, 0)) return hull(a, {0, 0});
            EXPECT_TRUE(b.least == b.most && ((b.most + 1) & b.most) == 0) << "not a mask";
            return a.within(0, b.most) ? a : Interval{0, b.most};
        });
    }
    [[gnu::noinline]] static Intervals exclusive_or(const Intervals& x, const Intervals& y) {
        return by_lane(x, y, [](auto a, auto b) {
            if (b.is(0)) return a;
            EXPECT_TRUE(a.least >= 0 && b.least >= 0);
            i128 end = 1;
            while (end <= std::max(a.most, b.most)) end *= 2;
            return Interval{0, end - 1};
        });
    }
    [[gnu::noinline]] static Intervals shift_left(const Intervals& x, unsigned bits) {
        return by_lane(x, x, [bits](auto a, auto) { return Interval{a.least << bits, a.most << bits}; });
    }
    [[gnu::noinline]] static Intervals shift_right_signed(const Intervals& x, unsigned bits) {
        // Only fold() shifts by 47 and 48 bits. The multiply-add then reads the result as an unsigned number.
        if (bits == 47 || bits == 48) {
            for (const Interval& i : x.lane) EXPECT_TRUE(i.within(0, (one << 58) - 1)) << "what fold() takes off";
        }
        return by_lane(x, x, [bits](auto a, auto) { return Interval{a.least >> bits, a.most >> bits}; });
    }
    static Intervals opaque(const Intervals& x) { return x; }
    [[gnu::noinline]] static Intervals add_low_product(const Intervals& sum, const Intervals& x, const Intervals& y) {
        return sum + by_lane(x, y, [](auto a, auto b) {
                   a = low_bits(a);
                   b = low_bits(b);
                   const i128 most = a.most * b.most;
                   return most < limb_end ? Interval{a.least * b.least, most} : Interval{0, limb_end - 1};
               });
    }
    [[gnu::noinline]] static Intervals add_high_product(const Intervals& sum, const Intervals& x, const Intervals& y) {
        return sum + by_lane(x, y, [](auto a, auto b) {
                   a = low_bits(a);
                   b = low_bits(b);
                   return Interval{a.least * b.least >> 52, a.most * b.most >> 52};
               });
    }
    template <int... from>
    [[gnu::noinline]] static Intervals permuted(const Intervals& a) {
        return {{a.lane[from]...}};
    }
    [[gnu::noinline]] static Intervals taken(const Intervals& a, const Intervals&) {
        Interval any = a.lane[0];
        for (const Interval& i : a.lane) any = hull(any, i);
        return every(any);
    }
    template <unsigned bits>
    [[gnu::noinline]] static Intervals blended(const Intervals& a, const Intervals& b) {
        Intervals r;
        for (unsigned i = 0; i < 8; ++i) r.lane[i] = (bits >> i & 1) != 0 ? b.lane[i] : a.lane[i];
        return r;
    }
};

using Lanes = Element<Intervals>;

/**
 * Returns the value of a lane in units of 2^156, which is the weight of limb 3. The bounds are rounded outwards. They
 * fit an i128.
 */
Interval value(const Lanes& a, std::size_t lane) {
    Interval sum;
    for (std::size_t i = 0; i < limb_count; ++i) {
        const Interval& limb = a.limb[i].lane[lane];
        if (i >= 3) {
            sum.least += limb.least << 52 * (i - 3);
            sum.most += limb.most << 52 * (i - 3);
        } else {
            sum.least = (sum.least + limb.least) >> 52;
            sum.most = ((sum.most + limb.most) >> 52) + 1;
        }
    }
    return sum;
}

/** Returns a 256-bit number in units of 2^156, rounded down. */
i128 in_units(const Words& n) { return i128{n[3]} << 36 | static_cast<i128>(n[2] >> 28); }

template <typename S>
constexpr bool takes_off = false;
template <std::uint64_t c>
constexpr bool takes_off<PseudoMersennePlus<c>> = true;
template <typename S>
constexpr bool is_montgomery = false;
template <auto m>
constexpr bool is_montgomery<Montgomery<m>> = true;

/**
 * The arithmetic of a modulus, with checked preconditions and postconditions. Results are widened to all values that
 * the postcondition allows, so that one call of a formula checks all inputs.
 */
template <typename S>
struct Checked {
    using F = LaneField<Intervals, S>;
    static inline const i128 p = in_units(S::modulus);

    /** Returns the interval of all multiplicands: limbs of 52 bits, and a value below 2.1 p. */
    [[gnu::noinline]] static Lanes multiplicand() {
        Lanes r;
        for (auto& limb : r.limb) limb = Intervals::every({0, limb_end - 1});
        r.limb[limb_count - 1] = Intervals::every({0, p * 21 / 10 >> 52});
        return r;
    }
    static void expect_multiplicand(const Lanes& a, const char* what) {
        const Lanes bound = multiplicand();
        for (std::size_t l = 0; l < lane_count; ++l)
            for (std::size_t i = 0; i < limb_count; ++i) {
                // Carried products in Montgomery form are not negative. Intervals do not express the relation of the
                // last limb to the others, so the lower bound of the last limb is too low here.
                const i128 least = is_montgomery<S> && i + 1 == limb_count ? -64 : 0;
                EXPECT_TRUE(a.limb[i].lane[l].within(least, bound.limb[i].lane[l].most)) << what << ", limb " << i;
            }
    }

    [[gnu::noinline]] static Lanes mul_loose(const Lanes& a, const Lanes& b) {
        expect_multiplicand(a, "a factor");
        expect_multiplicand(b, "a factor");
        return loose(F::mul_loose(a, b), 0);
    }
    [[gnu::noinline]] static Lanes sqr_loose(const Lanes& a) {
        expect_multiplicand(a, "a factor");
        return loose(F::sqr_loose(a), 0);
    }
    [[gnu::noinline]] static Lanes difference_loose(const Lanes& a, const Lanes& b, const Lanes& u, const Lanes& v) {
        for (const Lanes* factor : {&a, &b, &u, &v}) expect_multiplicand(*factor, "a factor");
        if constexpr (is_montgomery<S>) return loose(F::difference_loose(a, b, u, v), 1);
        return F::difference_loose(a, b, u, v);
    }
    [[gnu::noinline]] static Lanes mul(const Lanes& a, const Lanes& b) {
        return as_multiplicand(carried(mul_loose(a, b)), "a product");
    }
    [[gnu::noinline]] static Lanes sqr(const Lanes& a) { return as_multiplicand(carried(sqr_loose(a)), "a square"); }

    [[gnu::noinline]] static Lanes carry(const Lanes& a) {
        for (std::size_t l = 0; l < lane_count; ++l)
            EXPECT_TRUE(value(a, l).within(-31 * p, 31 * p)) << "an argument of carry()";
        // tests/prove/lanes_proof.cpp proves carry() for these limbs. The last limb follows from the value.
        const i128 least = takes_off<S> || is_montgomery<S> ? -(one << 60) : -31 * limb_end;
        for (std::size_t i = 0; i + 1 < limb_count; ++i)
            for (const Interval& limb : a.limb[i].lane)
                EXPECT_TRUE(limb.within(least, one << 60)) << "limb " << i << " of an argument of carry()";
        const Lanes raised = a + broadcast<Intervals>(multiple(S::modulus, 32));
        for (const Interval& top : raised.limb[limb_count - 1].lane)
            EXPECT_TRUE(top.within(0, 64 * limb_end - 1)) << "what carry() takes off";
        const Lanes r = F::carry(a);
        if constexpr (is_montgomery<S>) {
            expect_quotient(raised);
            return multiplicand();
        }
        return as_multiplicand(r, "a result of carry()");
    }

private:
    static Lanes as_multiplicand(const Lanes& a, const char* what) {
        expect_multiplicand(a, what);
        return multiplicand();
    }

    /**
     * Checks the postcondition of a product without carries, or of the difference of two products: limbs are at most
     * 2^56, and above -2^53 if the high half is subtracted; the value is below 2.1 p. In Montgomery form the bound of
     * the value does not follow from the limbs, but from (a b + u m) / 2^260, for factors below 2.1 m, u below 2^260
     * and m below 2^256.
     */
    static Lanes loose(Lanes r, i128 negative) {
        const i128 least = takes_off<S> ? -(one << 53) : 0;
        for (std::size_t l = 0; l < lane_count; ++l) {
            for (std::size_t i = 0; i < limb_count; ++i)
                EXPECT_TRUE(r.limb[i].lane[l].within(least - (negative << 56), one << 56))
                    << "limb " << i << " of a product";
            if constexpr (is_montgomery<S>) {
                Lanes lower = r;
                lower.limb[limb_count - 1] = Intervals::all(0);
                const Interval rest = value(lower, l);
                // 2.1^2 / 16 is below 0.28.
                const Interval whole = {-negative * p * 28 / 100, p * 128 / 100 + 1};
                r.limb[limb_count - 1].lane[l] = {(whole.least - rest.most) >> 52,
                                                  ((whole.most - rest.least) >> 52) + 1};
            }
            EXPECT_LT(value(r, l).most, p * 21 / 10) << "a product";
        }
        return r;
    }

    /**
     * Checks the quotient of carry() in Montgomery form. It is floor(floor(top / 2^6) w / 2^52), where top is the last
     * limb, w = floor(2^58 / (m_4 + 1)) the reciprocal, and m_4 the last limb of the modulus.
     *
     * If the quotient is 0, the remainder is the value itself. Otherwise top >= 2^58 / w. The remainder is then at
     * least L = top (2^208 - w m / 2^58) plus the other limbs, and at most L + (2^6 w / 2^58 + 1) m.
     */
    static void expect_quotient(const Lanes& a) {
        const std::uint64_t w = F::reciprocal;
        const std::uint64_t top_of_m = to_limbs52(S::modulus).limb[limb_count - 1];
        EXPECT_LE(i128{w} * (top_of_m + 1), one << 58);
        EXPECT_GT((i128{w} + 1) * (top_of_m + 1), one << 58);
        const auto m = static_cast<double>(p);
        const double left = 0x1p52 - static_cast<double>(w) * m / 0x1p58;
        for (std::size_t l = 0; l < lane_count; ++l) {
            const Interval& top = a.limb[limb_count - 1].lane[l];
            EXPECT_GE(value(a, l).least, 0);
            Lanes lower = a;
            lower.limb[limb_count - 1] = Intervals::all(0);
            const Interval rest = value(lower, l);
            EXPECT_GT(0x1p58 / static_cast<double>(w) * left + static_cast<double>(rest.least), 0);
            EXPECT_LT(static_cast<double>(top.most) * left + static_cast<double>(rest.most) +
                          (static_cast<double>(w) / 0x1p52 + 1) * m,
                      2.1 * m);
        }
    }
};

template <typename Curve>
class Bounds : public testing::Test {};
using Curves = testing::Types<CurveTest, CurveA, CurveB, CurveC>;
struct CurveNames {
    template <typename Curve>
    static std::string GetName(int index) {
        return std::array{"Test", "A", "B", "C"}.at(static_cast<std::size_t>(index));
    }
};
TYPED_TEST_SUITE(Bounds, Curves, CurveNames);

TYPED_TEST(Bounds, hold_for_products_of_any_multiplicands) {
    using F = Checked<typename TypeParam::Field>;
    const Lanes any = F::multiplicand();
    F::mul(any, any);
    F::sqr(any);
    F::carry(F::difference_loose(any, any, any, any));
}

TYPED_TEST(Bounds, hold_for_sums_of_any_points) {
    using F = Checked<typename TypeParam::Field>;
    const Lanes any = F::multiplicand();
    const LanePoints<Intervals> p{any, any, any, any};
    const Intervals sign = Intervals::every({-1, 0});
    plus_affine<F>(p, any, any, sign);
    plus_partner<F>(p, sign);
    F::carry(negated_where(sign, any));  // the first round of the comb
}

// A step accepts and returns arbitrary multiplicands, so it is enough to check one value of the bit.
TYPED_TEST(Bounds, hold_for_all_steps_of_the_ladder) {
    using F = Checked<typename TypeParam::Field>;
    ladder<Intervals, TypeParam, F>(Words{}, TypeParam::x);
}

// Control: operands out of bounds are detected.
TYPED_TEST(Bounds, control_detects_operands_that_are_too_large) {
    using F = Checked<typename TypeParam::Field>;
    const auto fails = [](const Lanes& a, bool product) {
        testing::TestPartResultArray results;
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        product ? F::mul(a, a) : F::carry(a);
        return results.size() != 0;
    };
    const Lanes any = F::multiplicand();
    EXPECT_FALSE(fails(any, true));
    EXPECT_TRUE(fails(any + any, true));
    EXPECT_FALSE(fails(times<0>(any) - times<7>(any), false));
    Lanes far = any;
    for (int i = 0; i < 5; ++i) far = far + far;
    EXPECT_TRUE(fails(far, false));
    EXPECT_TRUE(fails(times<0>(any) - far, false));
}

}  // namespace
