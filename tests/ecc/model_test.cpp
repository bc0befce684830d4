// Compares the exported functions with a reference implementation, on built-in sets and arbitrary records.
#include "model.hpp"
#include "any_record.hpp"
#include "support/kat.hpp"
#include "support/sanitizers.hpp"

using namespace vrx::test;
namespace model = vrx::test::model;
using model::Curve;
using model::Z;

namespace {

class sets : public testing::TestWithParam<std::uint32_t> {
protected:
    const EcParamSet& set = *get_GOSTR3410_par(GetParam());
    const Curve curve{set};
    Random random;

    /** A number below a limit, often near 0 or the limit. */
    Z below(const Z& limit) {
        const std::uint32_t kind = random.below(8);
        if (kind == 0) return model::mod(Z(random.below(40)), limit);
        if (kind == 1) return model::mod(Z(limit - 1 - random.below(40)), limit);
        return model::mod(model::of(edgy(random)), limit);
    }
    /** From 1 to q - 1. */
    Z scalar() { return below(curve.q - 1) + 1; }
    model::Point any_point() { return curve.group_multiple(scalar(), curve.g); }
};

EcPoint record(const model::Point& p) { return point(model::digits(p.x), model::digits(p.y)); }

using sets_with_a_table = sets;
INSTANTIATE_TEST_SUITE_P(all, sets_with_a_table, testing::Range<std::uint32_t>(1, VRX_ECC_SET_COUNT),
                         [](const auto& i) { return short_name(i.param); });
INSTANTIATE_TEST_SUITE_P(all, sets, testing::Range<std::uint32_t>(0, VRX_ECC_SET_COUNT),
                         [](const auto& i) { return short_name(i.param); });

TEST_P(sets, base_point_is_on_the_curve_and_has_the_prime_order) {
    EXPECT_NE(mpz_probab_prime_p(curve.p.get_mpz_t(), 30), 0);
    EXPECT_NE(mpz_probab_prime_p(curve.q.get_mpz_t(), 30), 0);
    EXPECT_TRUE(curve.contains(curve.g));
    EXPECT_FALSE(curve.g.infinite());
    EXPECT_TRUE(curve.group_multiple(curve.q, curve.g).infinite());
    EXPECT_EQ(curve.table, curve.a == curve.p - 3);
}

TEST_P(sets, table_holds_the_multiples_by_powers_of_16_or_zeros) {
    model::Point expected = curve.g;
    for (unsigned m = 0; m < VRX_ECC_PP_COUNT; ++m) {
        SCOPED_TRACE(m);
        EXPECT_EQ(coordinates(set.pp[m]), set.has_precomp == 1 ? model::coordinates(expected) : point_at_infinity);
        for (int i = 0; i < 4; ++i) expected = curve.group_sum(expected, expected);
    }
}

TEST_P(sets, the_three_multiplications_agree_with_the_model) {
    for (int i = 0; i < 60; ++i) {
        const Z k = scalar();
        const Digits digits = model::digits(k);
        SCOPED_TRACE(testing::Message() << "k = " << digits);
        EcPoint r;
        const auto base = model::coordinates(curve.group_multiple(k, curve.g));
        const model::Point other = any_point();
        const EcPoint p = record(other);
        const auto multiple = model::coordinates(curve.group_multiple(k, other));
        if (curve.table) {
            ASSERT_EQ(epMultPP(&r, digits.data(), &set), 0);
            EXPECT_EQ(coordinates(r), base);
            ASSERT_EQ(epMultJ(&r, &set.G, digits.data(), &set), 0);
            EXPECT_EQ(coordinates(r), base);
            ASSERT_EQ(epMultJ(&r, &p, digits.data(), &set), 0);
            EXPECT_EQ(coordinates(r), multiple);
        }
        if (i % 4 != 0) continue;
        ASSERT_EQ(epMult(&r, &set.G, digits.data(), &set), 0);
        EXPECT_EQ(coordinates(r), base);
        ASSERT_EQ(epMult(&r, &p, digits.data(), &set), 0);
        EXPECT_EQ(coordinates(r), multiple);
    }
}

TEST_P(sets_with_a_table, gives_the_multiple_for_scalars_of_every_shape) {
    std::vector<Z> scalars{1, 2, 3, 15, 16, 17, Z(curve.q - 1), Z(curve.q - 2), Z(curve.q / 2), Z(curve.q / 2 + 1)};
    for (unsigned m = 0; m < 64; ++m) {
        scalars.push_back(Z(1) << 4 * m);
        scalars.push_back((Z(1) << 4 * m) * 15);
        scalars.push_back((Z(1) << 4 * m) + 1);
        scalars.push_back((Z(1) << 4 * m) - 1);
        scalars.push_back(curve.q - (Z(1) << 4 * m));
    }
    for (unsigned v = 1; v < 16; ++v) {
        Z repeated = 0;
        for (unsigned m = 0; m < 64; ++m) repeated = 16 * repeated + v;
        scalars.push_back(repeated);
    }
    for (const Z& k : scalars) {
        if (k <= 0 || k >= curve.q) continue;
        const Digits digits = model::digits(k);
        SCOPED_TRACE(testing::Message() << "k = " << digits);
        EcPoint r, by_doubling;
        epMultPP(&r, digits.data(), &set);
        EXPECT_EQ(coordinates(r), model::coordinates(curve.group_multiple(k, curve.g)));
        epMultJ(&by_doubling, &set.G, digits.data(), &set);
        EXPECT_EQ(coordinates(r), coordinates(by_doubling));
    }
}

TEST_P(sets, multiples_by_zero_and_by_the_order_are_infinity) {
    const Digits zero, order(set.q);
    EcPoint r = filled<EcPoint>();
    EXPECT_EQ(epMultPP(&r, zero.data(), &set), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
    r = filled<EcPoint>();
    EXPECT_EQ(epMultPP(&r, order.data(), &set), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
    r = filled<EcPoint>();
    EXPECT_EQ(epMult(&r, &set.G, zero.data(), &set), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
    r = filled<EcPoint>();
    EXPECT_EQ(epMult(&r, &set.G, order.data(), &set), 0);
    EXPECT_EQ(coordinates(r), point_at_infinity);
    r = filled<EcPoint>();
    const EcPoint untouched = r;
    EXPECT_EQ(epMultJ(&r, &set.G, zero.data(), &set), -1);
    EXPECT_TRUE(same_bytes(r, untouched));
}

TEST_P(sets, signatures_agree_with_the_model_and_verify) {
    for (int i = 0; i < 12; ++i) {
        const Z k = scalar(), d = scalar();
        std::uint32_t digest[VRX_ECC_DIGEST_WORDS];
        std::memcpy(digest, edgy(random).data(), sizeof digest);
        if (i == 0) std::memset(digest, 0, sizeof digest);
        if (i == 1) std::memcpy(digest, set.q, sizeof digest);
        EcPoint key;
        ASSERT_EQ(ecGeneratePublicKey(&set, model::digits(d).data(), &key), VRX_OK);
        EXPECT_EQ(coordinates(key), model::coordinates(curve.group_multiple(d, curve.g)));
        EcSignature sig;
        {
            ScriptedSource source{ScriptedSource::yields(model::digits(k))};
            ASSERT_EQ(ecSign(&set, digest, ScriptedSource::draw, model::digits(d).data(), &sig), VRX_OK);
        }
        const auto [r, s] = curve.sign(digest, k, d);
        EXPECT_EQ(halves(sig), (std::array{model::digits(r), model::digits(s)}));
        // r = 0 if the nonce is 1 or q - 1 and the base point has x = 0.
        EXPECT_EQ(ecVerify(&set, digest, &key, &sig), r != 0 ? VRX_OK : VRX_ERR_FAILED);
        EXPECT_EQ(curve.verify(digest, model::of(key), r, s), r != 0);
    }
}

TEST_P(sets, shared_point_is_hashed_as_octets) {
    const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    for (int i = 0; i < 6; ++i) {
        const Z d = scalar();
        const model::Point key = any_point();
        const std::vector<std::uint8_t> ukm = random.bytes(VRX_UKM_SIZE);
        Z u;
        mpz_import(u.get_mpz_t(), ukm.size(), -1, 1, 0, 0, ukm.data());
        const EcPoint shared = record(curve.group_multiple(model::mod(d * u, curve.q), key));
        std::uint8_t octets[64], expected[32], kek[32];
        ecUnloadPublicKeyValue(&shared, octets);
        ASSERT_EQ(GOSTR3411_Transform(oid.data, oid.length, octets, sizeof octets, expected), VRX_OK);
        const EcPoint q = record(key);
        ASSERT_EQ(ecMakeKEK(&set, &oid, ukm.data(), model::digits(d).data(), &q, kek), VRX_OK);
        EXPECT_EQ(hex(kek), hex(expected));
    }
}

TEST_P(sets, sum_of_affine_points_agrees_with_the_model) {
    for (int i = 0; i < 40; ++i) {
        const model::Point s = any_point();
        const model::Point minus{s.x, model::mod(-s.y, curve.p)};
        for (const model::Point& t : {any_point(), s, minus, model::Point{}}) {
            EcPoint r;
            const EcPoint left = record(s), right = record(t);
            EXPECT_EQ(epAdd(&r, &left, &right, &set), 0u);
            EXPECT_EQ(coordinates(r), model::coordinates(curve.group_sum(s, t)));
            EXPECT_EQ(epAdd(&r, &right, &left, &set), 0u);
            EXPECT_EQ(coordinates(r), model::coordinates(curve.group_sum(t, s)));
        }
    }
}

TEST_P(sets, public_key_check_tests_the_equation_only) {
    const model::Point p = any_point();
    EcPoint q = record(p);
    EXPECT_EQ(ecCheckPublicKey(&set, &q), VRX_OK);
    // Returns the same point with other representatives of its coordinates modulo p, of up to nine digits.
    for (int i = 0; i < 20; ++i) {
        const EcPoint other = record({p.x + curve.p * (random.word() >> 1), p.y + curve.p * (random.word() >> 1)});
        EXPECT_EQ(ecCheckPublicKey(&set, &other), VRX_OK);
    }
    for (unsigned bit = 0; bit < 576; ++bit) {
        Digits x(q.x), y(q.y);
        (bit < 288 ? x : y).flip(bit % 288);
        const EcPoint changed = point(x, y);
        EXPECT_EQ(ecCheckPublicKey(&set, &changed), curve.contains(model::of(changed)) ? VRX_OK : VRX_ERR_FAILED);
    }
}

class any_record : public testing::Test, public AnyRecord {};

TEST_F(any_record, jacobian_formulas_agree_digit_for_digit) {
    for (int i = 0; i < repetitions(20000); ++i) {
        const EcParamSet set = any_set();
        const Curve curve(set);
        const EcPointJ p = any_point_j(set);
        EcPointJ q = any_point_j(set), r;
        if (random.below(8) == 0) q = p;
        const EcPoint affine = any_point(set);
        EXPECT_EQ(epDublJ(&r, &p, &set), 0u);
        ASSERT_EQ(coordinates(r), model::coordinates(curve.twice(model::of(p))));
        EXPECT_EQ(epAddJA(&r, &p, &affine, &set), 0u);
        ASSERT_EQ(coordinates(r), model::coordinates(curve.sum(model::of(p), model::of(affine))));
        EXPECT_EQ(epAddJChud(&r, &p, &q, &set), 0u);
        ASSERT_EQ(coordinates(r), model::coordinates(curve.sum(model::of(p), model::of(q))));
        EcPoint a;
        EXPECT_EQ(epJ2A(&a, &p, &set), 0u);
        ASSERT_EQ(coordinates(a), model::coordinates(curve.to_affine(model::of(p))));
    }
}

TEST_F(any_record, affine_sum_agrees_digit_for_digit) {
    for (int i = 0; i < repetitions(20000); ++i) {
        const EcParamSet set = any_set();
        const Curve curve(set);
        const EcPoint p = any_point(set);
        EcPoint q = any_point(set), r;
        if (random.below(4) == 0) std::memcpy(q.x, p.x, sizeof q.x);
        if (random.below(4) == 0) std::memcpy(q.y, p.y, sizeof q.y);
        EXPECT_EQ(epAdd(&r, &p, &q, &set), 0u);
        ASSERT_EQ(coordinates(r), model::coordinates(curve.sum(model::of(p), model::of(q))))
            << Digits(p.x) << ' ' << Digits(q.x) << ' ' << Digits(set.p);
    }
}

TEST_F(any_record, multiples_agree_digit_for_digit) {
    for (int i = 0; i < repetitions(300); ++i) {
        const EcParamSet set = any_set();
        const Curve curve(set);
        const Digits k = random.below(4) == 0 ? Digits(random.below(300)) : edgy(random);
        SCOPED_TRACE(testing::Message() << "k = " << k << ", p = " << Digits(set.p));
        const EcPoint p = any_point(set);
        EcPoint r = filled<EcPoint>();
        ASSERT_EQ(epMultPP(&r, k.data(), &set), 0);
        ASSERT_EQ(coordinates(r), model::coordinates(curve.table_multiple(model::of(k))));
        ASSERT_EQ(epMult(&r, &p, k.data(), &set), 0);
        ASSERT_EQ(coordinates(r), model::coordinates(curve.affine_multiple(model::of(k), model::of(p))));
        if (k == Digits()) continue;
        ASSERT_EQ(epMultJ(&r, &p, k.data(), &set), 0);
        ASSERT_EQ(coordinates(r), model::coordinates(curve.jacobian_multiple(model::of(k), model::of(p))));
    }
}

TEST_F(any_record, signatures_and_their_verification_follow_the_record) {
    for (int i = 0; i < repetitions(200); ++i) {
        EcParamSet set = any_set();
        set.p[8] = 0;
        if (Digits(set.q) == Digits() || Digits(set.q) == Digits(1)) continue;  // the only possible k is 0
        const Curve curve(set);
        std::uint32_t digest[VRX_ECC_DIGEST_WORDS];
        std::memcpy(digest, edgy(random).data(), sizeof digest);
        Digits k = edgy(random);
        k.d[8] &= 0x7FFFFFFF;
        mpModulo(k.data(), k.data(), VRX_ECC_DIGITS, set.q, VRX_ECC_DIGITS);
        if (k == Digits()) k = 1;
        const Digits d = edgy(random);
        EcSignature sig;
        {
            ScriptedSource source{ScriptedSource::yields(k)};
            ASSERT_EQ(ecSign(&set, digest, ScriptedSource::draw, d.data(), &sig), VRX_OK);
        }
        const auto [r, s] = curve.sign(digest, model::of(k), model::of(d));
        ASSERT_EQ(halves(sig), (std::array{model::digits(r), model::digits(s)}));
        const EcPoint q = any_point(set);
        if (random.coin()) edgy(random, 8).copy_to(sig.s);
        const bool right = curve.verify(digest, model::of(q), model::of(sig.r), model::of(sig.s));
        ASSERT_EQ(ecVerify(&set, digest, &q, &sig), right ? VRX_OK : VRX_ERR_FAILED);
    }
}

}  // namespace
