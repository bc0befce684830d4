// Compares point multiplication by every engine with affine point addition.
#include "ecc/field/engines.hpp"

#include "ecc/curve.hpp"
#include "ecc/field/comb_tables.hpp"
#include "ecc/field/words_support.hpp"

using namespace vrx::test;
using namespace vrx::field;

namespace {

const EcParamSet& set_of(CurveId id) { return *get_GOSTR3410_par(static_cast<std::uint32_t>(id)); }

struct Multiple {
    Words k;
    EcPoint point;
};

/** Reference multiples of a point, computed with epAdd(). */
class Multiples {
public:
    Multiples(const EcParamSet& set, const EcPoint& base) : set_(set), q_(Digits(set.q)) {
        EcPoint p = base;
        for (unsigned i = 0; i < 256; ++i) {
            powers_.push_back(p);
            p = sum(p, p);
        }
    }

    [[nodiscard]] EcPoint sum(const EcPoint& p, const EcPoint& q) const {
        EcPoint r;
        epAdd(&r, &p, &q, &set_);
        return r;
    }

    [[nodiscard]] Multiple of(const Digits& k) const {
        EcPoint r{};
        for (unsigned i = 0; i < 256; ++i)
            if (k.bit(i)) r = sum(r, powers_[i]);
        return {words_of(k), r};
    }

    [[nodiscard]] Multiple negative(const Multiple& m) const {
        EcPoint p = m.point;
        difference(Digits(), Digits(p.y), Digits(set_.p)).copy_to(p.y);
        return {words_of(difference(Digits(), digits_of(m.k), q_)), p};
    }

    [[nodiscard]] Multiple sum(const Multiple& a, const Multiple& b) const {
        return {words_of(vrx::test::sum(digits_of(a.k), digits_of(b.k), q_)), sum(a.point, b.point)};
    }

    /**
     * Small and large scalars, powers of 2, scalars with runs of ones or repeated digits, halves of q, and the
     * negatives of all of these.
     */
    [[nodiscard]] std::vector<Multiple> structured() const {
        std::vector<Digits> scalars;
        for (std::uint32_t k = 1; k <= 70; ++k) scalars.emplace_back(k);
        // These include the powers of 16 and 32.
        for (unsigned i = 6; i < 256; ++i) {
            Digits power;
            power.flip(i);
            scalars.push_back(power);
        }
        for (unsigned i = 0; i < 256; i = i == 252 ? 254 : i + 7) {
            Digits ones;
            for (unsigned j = 0; j <= i; ++j) ones.flip(j);
            scalars.push_back(ones);
        }
        for (std::uint32_t nibble = 1; nibble < 16; ++nibble) {
            Digits repeated;
            for (unsigned i = 0; i < 8; ++i) repeated.d[i] = nibble * (i % 2 == 0 ? 0x11111111 : 0x01010101);
            repeated.d[7] &= 0x7FFFFFFF;
            scalars.push_back(repeated);
        }
        Digits half;
        mpShiftRight(half.data(), q_.data(), 1, VRX_ECC_DIGITS);
        scalars.push_back(half);
        Digits quarter;
        mpShiftRight(quarter.data(), q_.data(), 2, VRX_ECC_DIGITS);
        scalars.push_back(quarter);
        Digits third;
        mpShortDiv(third.data(), q_.data(), 3, VRX_ECC_DIGITS);
        scalars.push_back(third);
        for (const unsigned step : {41u, 24u, 17u, 6u}) {  // these include the distances of comb teeth
            Digits sparse;
            for (unsigned i = 3; i < 255; i += step) sparse.flip(i);
            scalars.push_back(sparse);
        }
        std::erase_if(scalars, [this](const Digits& k) { return mpCompare(k.data(), q_.data(), VRX_ECC_DIGITS) >= 0; });

        std::vector<Multiple> all;
        for (const Digits& k : scalars) {
            all.push_back(of(k));
            all.push_back(negative(all.back()));
        }
        return all;
    }

    /** Returns random multiples. They are sums of a few random multiples. */
    [[nodiscard]] std::vector<Multiple> random(Random& random, std::size_t count) const {
        std::vector<Multiple> all;
        for (int i = 0; i < 8; ++i) all.push_back(of(reduced(digits_of(random.value<Words>()), q_)));
        while (all.size() < count) {
            const auto any = [&] { return all[random.below(static_cast<std::uint32_t>(all.size()))]; };
            const Multiple m = sum(any(), any());
            if (m.k != Words{}) all.push_back(m);
        }
        return all;
    }

private:
    const EcParamSet& set_;
    Digits q_;
    std::vector<EcPoint> powers_;
};

AffinePoint affine(const EcPoint& p) { return {words_of(Digits(p.x)), words_of(Digits(p.y))}; }

class engines_of_curves : public testing::TestWithParam<std::tuple<const Engine*, CurveId>> {
protected:
    const Engine& engine = *std::get<0>(GetParam());
    const CurveId curve = std::get<1>(GetParam());
    const EcParamSet& set = set_of(curve);
    const Digits q{set.q};
    Random random;

    static bool is_plain(const Engine& e) { return &e == &engine_plain_lanes; }

    void expect_base(const Multiple& m) {
        AffinePoint r;
        ASSERT_TRUE(engine.multiply_base(curve, m.k, r)) << digits_of(m.k);
        ASSERT_EQ(digits_of(r.x), Digits(m.point.x)) << digits_of(m.k);
        ASSERT_EQ(digits_of(r.y), Digits(m.point.y)) << digits_of(m.k);
    }
    /** @return whether the engine can handle the operands. */
    bool expect_point(const Multiple& m, const EcPoint& base) {
        AffinePoint r;
        if (!engine.multiply(curve, m.k, affine(base), r)) return false;
        EXPECT_EQ(digits_of(r.x), Digits(m.point.x)) << digits_of(m.k);
        EXPECT_EQ(digits_of(r.y), Digits(m.point.y)) << digits_of(m.k);
        return true;
    }
};

std::string parameter_name(const testing::TestParamInfo<std::tuple<const Engine*, CurveId>>& info) {
    return std::string(std::get<0>(info.param)->name) + "_" +
           short_name(static_cast<std::uint32_t>(std::get<1>(info.param)));
}

INSTANTIATE_TEST_SUITE_P(all, engines_of_curves,
                         testing::Combine(testing::ValuesIn(engines_here()),
                                          testing::Values(CurveId::test, CurveId::a, CurveId::b, CurveId::c)),
                         parameter_name);

/** The curves with p > q. */
class engines_of_curves_with_small_order : public engines_of_curves {};

INSTANTIATE_TEST_SUITE_P(all, engines_of_curves_with_small_order,
                         testing::Combine(testing::ValuesIn(engines_here()), testing::Values(CurveId::a, CurveId::c)),
                         parameter_name);

TEST_P(engines_of_curves, multiply_the_base_point) {
    const Multiples multiples(set, set.G);
    for (const Multiple& m : multiples.structured()) ASSERT_NO_FATAL_FAILURE(expect_base(m));
    for (const Multiple& m : multiples.random(random, 1000)) ASSERT_NO_FATAL_FAILURE(expect_base(m));
}

// The base point of C has x = 0.
TEST_P(engines_of_curves, multiply_the_base_point_as_any_point) {
    const Multiples multiples(set, set.G);
    for (const Multiple& m : multiples.random(random, 50)) ASSERT_TRUE(expect_point(m, set.G)) << digits_of(m.k);
}

TEST_P(engines_of_curves, multiply_any_point) {
    const EcPoint base = Multiples(set, set.G).random(random, 8)[5].point;
    const Multiples multiples(set, base);
    // The ladder cannot handle an infinite (k + 1) Q. The window cannot handle a sum of equal points, which occurs for
    // some scalars up to 62.
    std::vector<Words> not_covered;
    for (const Multiple& m : multiples.structured()) {
        if (is_plain(engine) && random.below(8) != 0 && digits_of(m.k).d[7] != 0) continue;
        if (!expect_point(m, base)) not_covered.push_back(m.k);
    }
    for (const Words& k : not_covered) {
        const Digits below_q = difference(Digits(), digits_of(k), q);
        const bool near_q = mpShortCmp(below_q.data(), 63, VRX_ECC_DIGITS) < 0;
        const bool small = mpShortCmp(digits_of(k).data(), 63, VRX_ECC_DIGITS) < 0;
        EXPECT_TRUE(near_q || small) << digits_of(k);
    }
    EXPECT_LE(not_covered.size(), 40u);
    for (const Multiple& m : multiples.random(random, is_plain(engine) ? 20 : 300))
        ASSERT_TRUE(expect_point(m, base)) << digits_of(m.k);
}

TEST_P(engines_of_curves, recognise_sums_by_x_mod_q) {
    const Multiples of_g(set, set.G);
    const EcPoint key = of_g.random(random, 8)[6].point;
    const Multiples of_key(set, key);
    const auto first = of_g.random(random, 12);
    const auto second = of_key.random(random, 12);
    for (std::size_t i = 0; i < first.size(); ++i) {
        const EcPoint sum = of_g.sum(first[i].point, second[i].point);
        const Words r = words_of(reduced(Digits(sum.x), q));
        const auto answer = [&](const Words& z1, const Words& z2, const Words& remainder) {
            return engine.sum_has_remainder(curve, z1, z2, affine(key), remainder);
        };
        EXPECT_EQ(answer(first[i].k, second[i].k, r), Answer::yes);
        EXPECT_EQ(answer(first[i].k, second[i].k, plus(r, 1)), Answer::no);
        EXPECT_EQ(answer(second[i].k, first[i].k, r), Answer::no);
        EXPECT_EQ(answer({}, second[i].k, words_of(reduced(Digits(second[i].point.x), q))), Answer::yes);
        EXPECT_EQ(answer({}, second[i].k, r), Answer::no);
    }
}

// If x is from q to p - 1, its remainder modulo q is small. Random tests would not find a point with such an x.
TEST_P(engines_of_curves_with_small_order, recognise_sums_whose_x_is_above_q) {
    const Digits p(set.p);
    const Digits modulo_4 = reduced(p, Digits(4));
    ASSERT_GT(mpCompare(p.data(), q.data(), VRX_ECC_DIGITS), 0);
    ASSERT_EQ(modulo_4, Digits(3)) << "a root is a power";
    Digits root_exponent;
    mpShiftRight(root_exponent.data(), p.data(), 2, VRX_ECC_DIGITS);
    mpShortAdd(root_exponent.data(), root_exponent.data(), 1, VRX_ECC_DIGITS);
    EcPoint above{};
    std::uint32_t r = 0;
    while (r == 0 || !vrx::ecc::on_curve(set, above)) {
        const Digits x = sum(q, Digits(++r), p);
        Digits y = sum(product(sum(product(x, x, p), Digits(set.a), p), x, p), Digits(set.b), p);
        mpModExp(y.data(), y.data(), root_exponent.data(), p.data(), VRX_ECC_DIGITS);
        above = point(x, y);
    }
    const Multiples of_g(set, set.G);
    const Multiple m = of_g.random(random, 8)[2];
    const EcPoint key = of_g.sum(above, of_g.negative(m).point);
    const auto answer = [&](const Digits& remainder) {
        return engine.sum_has_remainder(curve, m.k, {1, 0, 0, 0}, affine(key), words_of(remainder));
    };
    EXPECT_EQ(answer(r), Answer::yes);
    EXPECT_EQ(answer(r + 1), Answer::no);
    EXPECT_EQ(answer(difference(p, q, p)), Answer::no) << "p itself is no coordinate";
}

// Equal and opposite points, which the addition formula cannot handle.
TEST_P(engines_of_curves, decline_sums_of_equal_and_opposite_points) {
    const Multiple m = Multiples(set, set.G).random(random, 8)[3];
    const Words minus = words_of(difference(Digits(), digits_of(m.k), q));
    for (const Words& z1 : {m.k, minus})
        EXPECT_EQ(engine.sum_has_remainder(curve, z1, m.k, affine(set.G), {1, 0, 0, 0}), Answer::not_covered);
}

TEST(remainders, exclude_numbers_from_p_on) {
    for_each_curve([]<typename Curve>(Curve) {
        using S = typename Curve::Field;
        const Digits p = digits_of(S::modulus);
        const Digits q = digits_of(Curve::q);
        const Words zz = S::to_montgomery({123456789, 5, 6, 7});
        const auto has = [&](const Digits& x, const Digits& r) {
            return has_remainder<Curve>(S::mul(S::to_montgomery(words_of(x)), zz), zz, words_of(r));
        };
        for (const Digits& x : {Digits(1), Digits(2), Digits(77), difference(Digits(), Digits(1), p),
                                difference(Digits(), Digits(9), p), reduced(q, p)}) {
            const Digits r = reduced(x, q);
            Digits above = r;
            if (r != Digits()) {
                EXPECT_EQ(has(x, r), Answer::yes) << x;
            }
            // r + p is the same field element as r. If q > p, it may be below q, but it is not x mod q.
            mpAdd(above.data(), r.data(), p.data(), VRX_ECC_DIGITS);
            if (mpCompare(above.data(), q.data(), VRX_ECC_DIGITS) < 0) {
                EXPECT_EQ(has(x, above), Answer::no) << x;
            }
            EXPECT_EQ(has(x, difference(r, Digits(3), q)), Answer::no) << x;
        }
        EXPECT_EQ(has_remainder<Curve>(zz, {}, {1, 0, 0, 0}), Answer::not_covered);
    });
}

}  // namespace
