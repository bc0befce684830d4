// Compares lane arithmetic with integer arithmetic, for multiplicands up to their bounds.
#include "ecc/field/engine.hpp"
#include "ecc/field/lane_operations.hpp"
#include "ecc/field/words_support.hpp"

using namespace vrx::test;
using namespace vrx::field;

namespace {

/**
 * Returns the number in a lane modulo p. Checks that the element is a multiplicand: it has 52-bit limbs and is below
 * 2.1 p.
 */
template <typename S>
Digits value(const LaneWords& a, std::size_t lane) {
    Digits sum;
    for (std::size_t i = limb_count; i-- != 0;) {
        EXPECT_LE(a.limb[i][lane], mask52);
        mpShiftLeft(sum.data(), sum.data(), 52, VRX_ECC_DIGITS);
        const Digits limb = digits_of({a.limb[i][lane], 0, 0, 0});
        mpAdd(sum.data(), sum.data(), limb.data(), VRX_ECC_DIGITS);
    }
    Digits twentieths = sum;
    mpShortMult(twentieths.data(), sum.data(), 10, VRX_ECC_DIGITS);
    Digits bound;
    mpShortMult(bound.data(), digits_of(S::modulus).data(), 21, VRX_ECC_DIGITS);
    EXPECT_EQ(mpCompare(twentieths.data(), bound.data(), VRX_ECC_DIGITS), -1) << sum;
    return sum;
}

/** The number that an element in a lane represents. */
template <typename S>
Digits element(const LaneWords& a, std::size_t lane) {
    value<S>(a, lane);
    Limbs52 limbs;
    for (std::size_t i = 0; i < limb_count; ++i) limbs.limb[i] = a.limb[i][lane];
    return digits_of(S::from_montgomery(scalar_of<S>(limbs)));
}

/** Multiplicands: edge cases, and numbers near p and 2.1 p. */
template <typename S>
std::vector<Digits> multiplicands(Random& random) {
    const Digits p = digits_of(S::modulus);
    Digits most;
    mpShortMult(most.data(), p.data(), 21, VRX_ECC_DIGITS);
    mpShortDiv(most.data(), most.data(), 10, VRX_ECC_DIGITS);
    std::vector<Digits> all;
    for (const Words& w : edges(S::modulus)) all.push_back(digits_of(w));
    for (std::uint32_t i = 0; i < 40; ++i) {
        Digits less = most;
        mpShortSub(less.data(), most.data(), 1 + i * i, VRX_ECC_DIGITS);
        all.push_back(less);
        Digits any = digits_of(random_words(random));
        mpModPowerOf2(any.data(), VRX_ECC_DIGITS, 30 + 5 * i);
        mpSubtract(any.data(), less.data(), any.data(), VRX_ECC_DIGITS);
        all.push_back(any);
        all.push_back(digits_of(random_words(random)));
    }
    std::erase_if(all, [&](const Digits& d) { return mpCompare(d.data(), most.data(), VRX_ECC_DIGITS) >= 0; });
    return all;
}

void set_lane(LaneWords& a, std::size_t lane, Digits n) {
    for (std::size_t i = 0; i < limb_count; ++i) {
        a.limb[i][lane] = (n.d[0] | std::uint64_t{n.d[1]} << 32) & mask52;
        mpShiftRight(n.data(), n.data(), 52, VRX_ECC_DIGITS);
    }
}

template <typename Curve>
void check_lanes(const LaneOperations& operations) {
    using S = typename Curve::Field;
    const Digits p = digits_of(S::modulus);
    Random random;
    const std::vector<Digits> numbers = multiplicands<S>(random);
    const auto pick = [&] { return numbers[random.below(static_cast<std::uint32_t>(numbers.size()))]; };
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        LaneWords a, b, u, v, r, plus, minus;
        for (std::size_t lane = 0; lane < lane_count; ++lane)
            for (LaneWords* x : {&a, &b, &u, &v}) set_lane(*x, lane, pick());
        const int n = 1 + round % 14;
        operations.multiple(a, n, plus, minus);
        for (std::size_t l = 0; l < lane_count; ++l) {
            const Digits multiple = ::product(Digits(static_cast<std::uint32_t>(n)), element<S>(a, l), p);
            ASSERT_EQ(element<S>(plus, l), multiple) << n;
            ASSERT_EQ(element<S>(minus, l), difference(Digits(), multiple, p)) << n;
        }
        operations.mul(a, b, r);
        for (std::size_t l = 0; l < lane_count; ++l)
            ASSERT_EQ(element<S>(r, l), ::product(element<S>(a, l), element<S>(b, l), p)) << value<S>(a, l);
        operations.sqr(a, r);
        for (std::size_t l = 0; l < lane_count; ++l)
            ASSERT_EQ(element<S>(r, l), ::product(element<S>(a, l), element<S>(a, l), p)) << value<S>(a, l);
        operations.difference(a, b, u, v, r);
        for (std::size_t l = 0; l < lane_count; ++l)
            ASSERT_EQ(element<S>(r, l), difference(::product(element<S>(a, l), element<S>(b, l), p),
                                                   ::product(element<S>(u, l), element<S>(v, l), p), p));
    }
}

void check_all(const AllLaneOperations& operations) {
    check_lanes<CurveTest>(operations[0]);
    check_lanes<CurveA>(operations[1]);
    check_lanes<CurveB>(operations[2]);
    check_lanes<CurveC>(operations[3]);
}

TEST(lanes, of_plain_arrays_agree_with_integers) { check_all(plain_lane_operations); }

TEST(lanes, of_ifma_agree_with_integers) {
    const std::uint32_t needs = engine_ifma.needs;
    if (!vrx::cpu::offers(needs)) GTEST_SKIP() << "this CPU does not support AVX-512 IFMA";
    check_all(ifma_lane_operations);
}

TEST(lanes, elements_survive_conversion) {
    for_each_curve([]<typename Curve>(Curve) {
        using S = typename Curve::Field;
        for (const Words& w : edges(S::modulus)) {
            const Words n = S::from_montgomery(S::to_montgomery(w));
            ASSERT_EQ(S::from_montgomery(scalar_of<S>(LaneForm<S>::to_lane(S::to_montgomery(n)))), n) << digits_of(n);
        }
    });
}

}  // namespace
