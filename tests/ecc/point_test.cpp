// Tests of points and multiples where the results deviate from the group law: copies and comparisons without reduction,
// infinity, unusual records.
#include "ecc_support.hpp"
#include "support/child_process.hpp"
#include "support/log_capture.hpp"

using namespace vrx::test;

namespace {

const EcParamSet& set_a = cp_ecc_par[1];
const EcParamSet& set_c = cp_ecc_par[3];
const EcParamSet& set_test = cp_ecc_par[0];

Digits plus(const Digits& u, const Digits& v) {
    Digits w;
    mpAdd(w.data(), u.data(), v.data(), VRX_ECC_DIGITS);
    return w;
}
Digits minus(const Digits& u, const Digits& v) {
    Digits w;
    mpSubtract(w.data(), u.data(), v.data(), VRX_ECC_DIGITS);
    return w;
}
Digits product(const Digits& u, const Digits& v, const Digits& m) {
    Digits w;
    mpModMult(w.data(), u.data(), v.data(), m.data(), VRX_ECC_DIGITS);
    return w;
}
Digits difference(const Digits& u, const Digits& v, const Digits& m) {
    Digits w;
    mpModSub(w.data(), u.data(), v.data(), m.data(), VRX_ECC_DIGITS);
    return w;
}
Digits power_of_2(unsigned i) {
    Digits n;
    n.flip(i);
    return n;
}

/** The same point with unreduced coordinates. */
EcPoint unreduced(const EcPoint& p, const EcParamSet& set) {
    return point(plus(Digits(p.x), Digits(set.p)), plus(Digits(p.y), Digits(set.p)));
}

EcPointJ jacobian(const Digits& x, const Digits& y, const Digits& z) {
    EcPointJ j;
    x.copy_to(j.x);
    y.copy_to(j.y);
    z.copy_to(j.z);
    return j;
}

TEST(points, are_equal_digit_for_digit_only) {
    const EcPoint other = unreduced(set_a.G, set_a);
    EXPECT_EQ(epIsEqual(&set_a.G, &set_a.G), 1u);
    EXPECT_EQ(epIsEqual(&set_a.G, &other), 0u);
    for (unsigned bit = 0; bit < 288; ++bit) {
        Digits x(set_a.G.x), y(set_a.G.y);
        x.flip(bit);
        const EcPoint changed_x = point(x, y);
        EXPECT_EQ(epIsEqual(&set_a.G, &changed_x), 0u);
        x.flip(bit);
        y.flip(bit);
        const EcPoint changed_y = point(x, y);
        EXPECT_EQ(epIsEqual(&changed_y, &set_a.G), 0u);
    }
}

TEST(points, are_zero_when_all_digits_are) {
    EcPoint p = filled<EcPoint>();
    EXPECT_EQ(epSetZero(&p), 0u);
    EXPECT_EQ(coordinates(p), point_at_infinity);
    EXPECT_EQ(epIsZero(&p), 1u);
    for (unsigned i = 0; i < VRX_ECC_DIGITS; ++i) {
        EcPoint q{};
        q.x[i] = 1;
        EXPECT_EQ(epIsZero(&q), 0u);
        EcPoint r{};
        r.y[i] = 0x80000000;
        EXPECT_EQ(epIsZero(&r), 0u);
    }
    const EcPoint zero_modulo_p = point(Digits(set_a.p), Digits(set_a.p));
    EXPECT_EQ(epIsZero(&zero_modulo_p), 0u);
}

TEST(points, are_copied_digit_for_digit) {
    const auto p = filled<EcPoint>(0xF1);
    EcPoint r;
    EXPECT_EQ(epSetEqual(&r, &p), 0u);
    EXPECT_TRUE(same_bytes(r, p));
    EcPointJ j = filled<EcPointJ>();
    EXPECT_EQ(epA2J(&j, &p), 0u);
    EXPECT_EQ(coordinates(j), (std::array{Digits(p.x), Digits(p.y), Digits(1)}));
}

TEST(points, at_infinity_become_jacobian_with_z_one) {
    const EcPoint infinity{};
    EcPointJ j = filled<EcPointJ>();
    epA2J(&j, &infinity);
    EXPECT_EQ(coordinates(j), (std::array{Digits(), Digits(), Digits(1)}));
}

TEST(points, with_z_zero_become_affine_zeros) {
    const EcPointJ j = jacobian(5, 7, 0), multiple = jacobian(5, 7, Digits(set_a.p));
    EcPoint p = filled<EcPoint>();
    EXPECT_EQ(epJ2A(&p, &j, &set_a), 0u);
    EXPECT_EQ(coordinates(p), point_at_infinity);
    epJ2A(&p, &multiple, &set_a);
    EXPECT_EQ(coordinates(p), point_at_infinity);
}

TEST(doubling, of_infinity_is_all_zeros_whatever_z_is) {
    const EcPointJ j = jacobian(0, 0, 77);
    EcPointJ r = filled<EcPointJ>();
    EXPECT_EQ(epDublJ(&r, &j, &set_a), 0u);
    EXPECT_EQ(coordinates(r), (std::array{Digits(), Digits(), Digits()}));
}

TEST(doubling, agrees_with_the_affine_sum_where_a_is_minus_3_and_only_there) {
    for (const EcParamSet& set : cp_ecc_par) {
        EcPointJ j, twice;
        EcPoint r, sum;
        epA2J(&j, &set.G);
        epDublJ(&twice, &j, &set);
        epJ2A(&r, &twice, &set);
        epAdd(&sum, &set.G, &set.G, &set);
        EXPECT_EQ(epIsEqual(&r, &sum), set.has_precomp);
    }
}

TEST(mixed_sum, with_infinity_copies_the_affine_point_digit_for_digit) {
    const EcPointJ infinity = jacobian(0, 0, 99);
    const auto q = filled<EcPoint>(0xF3);
    EcPointJ r = filled<EcPointJ>();
    EXPECT_EQ(epAddJA(&r, &infinity, &q, &set_a), 0u);
    EXPECT_EQ(coordinates(r), (std::array{Digits(q.x), Digits(q.y), Digits(1)}));
}

TEST(mixed_sum, does_not_handle_equal_points_or_affine_infinity) {
    EcPointJ g, r;
    epA2J(&g, &set_a.G);
    // H = 0 and r = 0.
    epAddJA(&r, &g, &set_a.G, &set_a);
    EXPECT_EQ(coordinates(r), (std::array{Digits(), Digits(), Digits()}));
    // With x2 = y2 = 0, the formulas give H = -X and r = -Y.
    const EcPoint infinity{};
    epAddJA(&r, &g, &infinity, &set_a);
    const Digits p(set_a.p), x(g.x), y(g.y);
    EXPECT_EQ(Digits(r.z), difference(Digits(), x, p));
    EXPECT_EQ(Digits(r.x), difference(product(y, y, p), product(product(x, x, p), x, p), p));
}

TEST(jacobian_sum, with_infinity_copies_the_other_point_with_its_z) {
    const EcPointJ infinity = jacobian(0, 0, 99);
    const auto other = filled<EcPointJ>(0xF5);
    EcPointJ r = filled<EcPointJ>();
    EXPECT_EQ(epAddJChud(&r, &infinity, &other, &set_a), 0u);
    EXPECT_TRUE(same_bytes(r, other));
    r = filled<EcPointJ>();
    EXPECT_EQ(epAddJChud(&r, &other, &infinity, &set_a), 0u);
    EXPECT_TRUE(same_bytes(r, other));
    const EcPointJ another_infinity = jacobian(0, 0, 5);
    epAddJChud(&r, &infinity, &another_infinity, &set_a);
    EXPECT_TRUE(same_bytes(r, another_infinity));
}

TEST(jacobian_sum, does_not_handle_equal_points) {
    EcPointJ g, r;
    epA2J(&g, &set_a.G);
    epAddJChud(&r, &g, &g, &set_a);
    EXPECT_EQ(coordinates(r), (std::array{Digits(), Digits(), Digits()}));
}

TEST(affine_sum, with_infinity_copies_the_other_point_digit_for_digit) {
    const EcPoint infinity{};
    const auto p = filled<EcPoint>(0xF7);
    EcPoint r = filled<EcPoint>();
    EXPECT_EQ(epAdd(&r, &p, &infinity, &set_a), 0u);
    EXPECT_TRUE(same_bytes(r, p));
    r = filled<EcPoint>();
    EXPECT_EQ(epAdd(&r, &infinity, &p, &set_a), 0u);
    EXPECT_TRUE(same_bytes(r, p));
    r = filled<EcPoint>();
    EXPECT_EQ(epAdd(&r, &infinity, &infinity, &set_a), 0u);
    EXPECT_EQ(coordinates(r), point_at_infinity);
}

TEST(affine_sum, of_opposite_points_is_infinity_also_with_unreduced_y) {
    for (const EcParamSet& set : cp_ecc_par) {
        const Digits p(set.p), y(set.G.y);
        const Digits minus_y = minus(p, y);
        for (const Digits& other : {minus_y, plus(minus_y, p), plus(plus(minus_y, p), p)}) {
            const EcPoint q = point(Digits(set.G.x), other);
            EcPoint r = filled<EcPoint>();
            epAdd(&r, &set.G, &q, &set);
            EXPECT_EQ(coordinates(r), point_at_infinity);
        }
    }
}

TEST(affine_sum, of_points_whose_x_differ_by_p_takes_zero_for_the_inverse) {
    // The function does not recognise that the two x are equal modulo p. Because x2 - x1 has no inverse, the slope is
    // (y2 - y1) 0 = 0, so x3 = -2x and y3 = -y1.
    const Digits p(set_a.p), x(set_a.G.x), y(set_a.G.y);
    const EcPoint q = point(plus(x, p), 5);
    EcPoint r;
    epAdd(&r, &set_a.G, &q, &set_a);
    EXPECT_EQ(coordinates(r), (std::array{difference(Digits(), plus(x, x), p), difference(Digits(), y, p)}));
}

TEST(affine_sum, of_the_same_x_and_unrelated_y_takes_the_tangent_of_the_first) {
    const Digits y(set_a.G.y);
    const EcPoint q = point(Digits(set_a.G.x), 5);
    EcPoint r, twice;
    epAdd(&r, &set_a.G, &q, &set_a);
    epAdd(&twice, &set_a.G, &set_a.G, &set_a);
    EXPECT_EQ(coordinates(r), coordinates(twice));
    // For y1 = 0, the tangent is vertical, and the function uses 0 as its slope.
    const EcPoint flat = point(Digits(set_a.G.x), 0);
    epAdd(&r, &flat, &q, &set_a);
    EXPECT_EQ(
        coordinates(r),
        (std::array{difference(Digits(), plus(Digits(set_a.G.x), Digits(set_a.G.x)), Digits(set_a.p)), Digits()}));
}

TEST(affine_sum, takes_the_differences_of_its_slope_as_signed_numbers) {
    // The difference 2^287 - (-1) is positive. As a signed number of 288 bits it is negative: -(2^287 - 1).
    EcParamSet set = set_a;
    const Digits p(set.p);
    const Digits top = power_of_2(287);
    const EcPoint s = point(1, 3), t = point(plus(top, 2), 10);
    EcPoint r;
    epAdd(&r, &s, &t, &set);
    // x2 - x1 = 2^287 + 1 is read as the signed number 2^287 + 1 - 2^288 = -(2^287 - 1).
    Digits slope;
    const Digits run = difference(Digits(), minus(top, 1), p);
    mpModInv(slope.data(), run.data(), p.data(), VRX_ECC_DIGITS);
    slope = product(slope, 7, p);
    const Digits x = difference(difference(product(slope, slope, p), 1, p), plus(top, 2), p);
    const Digits y = difference(product(slope, difference(1, x, p), p), 3, p);
    EXPECT_EQ(coordinates(r), (std::array{x, y}));
}

TEST(table_multiple, of_a_power_of_16_is_the_table_s_entry) {
    for (std::uint32_t i = 1; i < VRX_ECC_SET_COUNT; ++i)
        for (unsigned m = 0; m < VRX_ECC_PP_COUNT; ++m) {
            EcPoint r;
            EXPECT_EQ(epMultPP(&r, power_of_2(4 * m).data(), &cp_ecc_par[i]), 0);
            EXPECT_EQ(epIsEqual(&r, &cp_ecc_par[i].pp[m]), 1u) << i << ' ' << m;
        }
}

TEST(table_multiple, reads_neither_the_base_point_nor_has_precomp) {
    EcParamSet set = set_a;
    set.G = EcPoint{};
    set.has_precomp = 0;
    Random random;
    for (int i = 0; i < 10; ++i) {
        const Digits k = edgy(random);
        EcPoint r, expected;
        epMultPP(&r, k.data(), &set);
        epMultPP(&expected, k.data(), &set_a);
        EXPECT_EQ(coordinates(r), coordinates(expected));
    }
}

TEST(table_multiple, counts_an_entry_with_x_zero_as_finite) {
    // The base point of C has x = 0. If the method compared this x with the x of the infinite accumulator, which is
    // also 0, it would double the point for k = 1.
    ASSERT_EQ(Digits(set_c.G.x), Digits());
    for (const std::uint32_t k : {1u, 2u, 3u, 5u, 15u, 16u, 17u, 241u, 257u}) {
        EcPoint r, expected;
        epMultPP(&r, Digits(k).data(), &set_c);
        epMult(&expected, &set_c.G, Digits(k).data(), &set_c);
        EXPECT_EQ(coordinates(r), coordinates(expected)) << k;
    }
}

TEST(table_multiple, with_the_zeros_of_the_test_set_is_infinity) {
    Random random;
    EcPoint r = filled<EcPoint>();
    EXPECT_EQ(epMultPP(&r, edgy(random).data(), &set_test), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
}

TEST(jacobian_multiple, by_zero_fails_silently_and_leaves_the_result) {
    LogCapture log;
    EcPoint r = filled<EcPoint>();
    EXPECT_EQ(epMultJ(&r, &set_a.G, Digits().data(), &set_a), -1);
    EXPECT_TRUE(same_bytes(r, filled<EcPoint>()));
    EXPECT_EQ(log.take(), "");
}

TEST(jacobian_multiple, by_one_is_reduced) {
    const EcPoint p = unreduced(set_a.G, set_a);
    EcPoint r;
    EXPECT_EQ(epMultJ(&r, &p, Digits(1).data(), &set_a), 0);
    EXPECT_EQ(epIsEqual(&r, &set_a.G), 1u);
}

TEST(jacobian_multiple, of_infinity_is_infinity) {
    const EcPoint infinity{};
    EcPoint r = filled<EcPoint>();
    EXPECT_EQ(epMultJ(&r, &infinity, Digits(12345).data(), &set_a), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
}

TEST(jacobian_multiple, takes_the_scalar_unsigned) {
    // The scalar -1 is represented as 2^288 - 1.
    Digits all_ones;
    mpChs(all_ones.data(), Digits(1).data(), VRX_ECC_DIGITS);
    Digits residue;
    mpModulo(residue.data(), all_ones.data(), VRX_ECC_DIGITS, set_a.q, VRX_ECC_DIGITS);
    EcPoint r, expected;
    epMultJ(&r, &set_a.G, all_ones.data(), &set_a);
    epMult(&expected, &set_a.G, residue.data(), &set_a);
    EXPECT_EQ(coordinates(r), coordinates(expected));
}

TEST(affine_multiple, by_one_or_minus_one_copies_digit_for_digit) {
    const EcPoint p = unreduced(set_test.G, set_test);
    Digits minus_one;
    mpChs(minus_one.data(), Digits(1).data(), VRX_ECC_DIGITS);
    for (const Digits& k : {Digits(1), minus_one}) {
        EcPoint r = filled<EcPoint>();
        EXPECT_EQ(epMult(&r, &p, k.data(), &set_test), 0);
        EXPECT_TRUE(same_bytes(r, p));
    }
}

TEST(affine_multiple, takes_the_absolute_value_of_the_scalar) {
    Random random;
    for (const EcParamSet& set : cp_ecc_par) {
        Digits k = edgy(random), opposite;
        k.d[8] &= 0x7FFFFFFF;
        mpChs(opposite.data(), k.data(), VRX_ECC_DIGITS);
        EcPoint r, s;
        epMult(&r, &set.G, k.data(), &set);
        epMult(&s, &set.G, opposite.data(), &set);
        EXPECT_EQ(coordinates(r), coordinates(s));
    }
    // The absolute value of the most negative number is itself.
    Digits residue;
    mpModulo(residue.data(), power_of_2(287).data(), VRX_ECC_DIGITS, set_a.q, VRX_ECC_DIGITS);
    EcPoint r, s;
    epMult(&r, &set_a.G, power_of_2(287).data(), &set_a);
    epMult(&s, &set_a.G, residue.data(), &set_a);
    EXPECT_EQ(coordinates(r), coordinates(s));
}

TEST(affine_multiple, of_infinity_or_by_zero_is_infinity) {
    const EcPoint infinity{};
    EcPoint r = filled<EcPoint>();
    EXPECT_EQ(epMult(&r, &infinity, Digits(7).data(), &set_a), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
    r = filled<EcPoint>();
    EXPECT_EQ(epMult(&r, &set_a.G, Digits().data(), &set_a), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
}

TEST(affine_multiple, reports_null_pointers_on_stdout_and_not_in_the_log) {
    const ChildRun run = run_in_child([] {
        LogCapture log;
        EcPoint r = filled<EcPoint>();
        const Digits k(1);
        EXPECT_EQ(epMult(nullptr, &set_a.G, k.data(), &set_a), -1);
        EXPECT_EQ(epMult(&r, nullptr, k.data(), &set_a), -1);
        EXPECT_EQ(epMult(&r, &set_a.G, nullptr, &set_a), -1);
        EXPECT_EQ(epMult(&r, &set_a.G, k.data(), nullptr), -1);
        EXPECT_TRUE(same_bytes(r, filled<EcPoint>()));
        EXPECT_EQ(log.take(), "");
        std::fflush(stdout);
    });
    EXPECT_TRUE(passed(run));
    const std::string line = "epMult: bad arguments\n";
    EXPECT_EQ(run.out, line + line + line + line);
    EXPECT_EQ(run.err, "");
}

/** A point with random coordinates and a curve through it, over a field wider than 256 bits. */
class wide_field : public testing::Test {
protected:
    Random random;
    EcParamSet set{};
    wide_field() {
        // The largest prime below 2^287.
        set.p[8] = 0x7FFFFFFF;
        for (unsigned i = 0; i < 8; ++i) set.p[i] = 0xFFFFFFFF;
        while (mpIsPrime(set.p, VRX_ECC_DIGITS, 20) == 0) mpShortSub(set.p, set.p, 2, VRX_ECC_DIGITS);
        const Digits p(set.p);
        minus(p, 3).copy_to(set.a);
        const Digits x = difference(edgy(random), 0, p), y = difference(edgy(random), 0, p);
        set.G = point(x, y);
        const Digits ax = product(Digits(set.a), x, p);
        difference(difference(product(y, y, p), product(product(x, x, p), x, p), p), ax, p).copy_to(set.b);
    }
};

TEST_F(wide_field, multiples_stay_on_the_curve_and_the_methods_agree) {
    EXPECT_EQ(ecCheckPublicKey(&set, &set.G), VRX_OK);
    for (int i = 0; i < 8; ++i) {
        Digits k = edgy(random);
        k.d[8] &= 0x0FFFFFFF;
        EcPoint r, s;
        ASSERT_EQ(epMult(&r, &set.G, k.data(), &set), 0);
        EXPECT_EQ(ecCheckPublicKey(&set, &r), VRX_OK);
        if (k == Digits()) continue;
        ASSERT_EQ(epMultJ(&s, &set.G, k.data(), &set), 0);
        EXPECT_EQ(coordinates(r), coordinates(s));
        // (k + 1) G = k G + G
        EcPoint next, sum;
        epMult(&next, &set.G, plus(k, 1).data(), &set);
        epAdd(&sum, &r, &set.G, &set);
        EXPECT_EQ(coordinates(next), coordinates(sum));
    }
}

TEST_F(wide_field, table_multiple_agrees_too) {
    const ChildRun run = run_in_child([this] {
        epCalcPP(&set);
        for (int i = 0; i < 8; ++i) {
            const Digits k = edgy(random);
            if (k == Digits()) continue;
            EcPoint r, s;
            epMultPP(&r, k.data(), &set);
            epMultJ(&s, &set.G, k.data(), &set);
            EXPECT_EQ(coordinates(r), coordinates(s));
        }
    });
    EXPECT_TRUE(passed(run)) << run.out;
}

}  // namespace
