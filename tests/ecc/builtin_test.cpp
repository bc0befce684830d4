// Tests the limits of the built-in domain: which inputs reach an engine, and whether both domains give the same
// results.
#include "ecc/domain.hpp"

#include "ecc/field/engines.hpp"
#include "ecc_support.hpp"
#include "support/log_capture.hpp"

using namespace vrx::test;

namespace {

using Counts = CountedEngine::Counts;
constexpr Counts nothing{};

/** The effects of a call: its return value, its log, and the record that it writes. */
template <typename Record>
struct Effect {
    int value;
    std::string log;
    Record record;
    bool operator==(const Effect& other) const {
        return value == other.value && log == other.log && same_bytes(record, other.record);
    }
};

template <typename Record, typename Call>
Effect<Record> effect_of(const Call& call) {
    Effect<Record> effect{0, {}, filled<Record>()};
    LogCapture log;
    effect.value = call(effect.record);
    effect.log = log.take();
    return effect;
}

/**
 * Returns how often a call of the library uses the best engine. The effects of the call must equal those in the general
 * domain.
 */
template <typename Record, typename Call>
Counts counts_of(const Call& call) {
    Counts counts{};
    Effect<Record> fast{};
    {
        CountedEngine engine(*engines_here().front());
        fast = effect_of<Record>(call);
        counts = engine.take();
    }
    const ForcedEngine none(engine_none);
    EXPECT_TRUE(fast == effect_of<Record>(call));
    return counts;
}

constexpr Counts base{1, 0, 0, 1};
constexpr Counts one_point{0, 1, 0, 1};

Digits opposite(const Digits& n) {
    Digits w;
    mpChs(w.data(), n.data(), VRX_ECC_DIGITS);
    return w;
}
Digits plus(const Digits& n, std::uint32_t more) {
    Digits w;
    mpShortAdd(w.data(), n.data(), more, VRX_ECC_DIGITS);
    return w;
}
Digits minus(const Digits& n, std::uint32_t less) {
    Digits w;
    mpShortSub(w.data(), n.data(), less, VRX_ECC_DIGITS);
    return w;
}
Digits power_of_2(unsigned i) {
    Digits n;
    n.flip(i);
    return n;
}

class borders : public testing::TestWithParam<std::uint32_t> {
protected:
    EcParamSet set = *get_GOSTR3410_par(GetParam());
    const bool has_table = set.has_precomp == 1;
    const Digits p{set.p}, q{set.q};
    const Digits k{"1e240558a3d1c7b69f00112233445566778899aabbccddeeff0123456789abcd"};
    EcPoint key{};

    borders() { EXPECT_EQ(epMult(&key, &set.G, k.data(), &set), 0); }

    Counts of_base(const Digits& scalar) {
        return counts_of<EcPoint>([&](EcPoint& r) { return epMultPP(&r, scalar.data(), &set); });
    }
    Counts of_point(const EcPoint& point, const Digits& scalar) {
        return counts_of<EcPoint>([&](EcPoint& r) { return epMultJ(&r, &point, scalar.data(), &set); });
    }
    Counts of_affine(const EcPoint& point, const Digits& scalar) {
        return counts_of<EcPoint>([&](EcPoint& r) { return epMult(&r, &point, scalar.data(), &set); });
    }
    /** Checks that every multiplication function uses the general domain. */
    void expect_general(const EcPoint& point, const Digits& scalar) {
        if (has_table) {
            EXPECT_EQ(of_point(point, scalar), nothing) << scalar;
        }
        EXPECT_EQ(of_affine(point, scalar), nothing) << scalar;
    }
};

INSTANTIATE_TEST_SUITE_P(sets, borders, testing::Range(0u, 6u), [](const auto& i) { return short_name(i.param); });

TEST_P(borders, scalars_from_1_to_q_minus_1_reach_the_engine) {
    for (const Digits& scalar :
         {Digits(1), Digits(2), Digits(3), power_of_2(32), power_of_2(254), k, minus(q, 64), minus(q, 3)}) {
        if (has_table) {
            EXPECT_EQ(of_base(scalar), base) << scalar;
            EXPECT_EQ(of_point(key, scalar), one_point) << scalar;
        }
        EXPECT_EQ(of_affine(key, scalar), one_point) << scalar;
        EXPECT_EQ(of_affine(set.G, scalar), base) << scalar;
    }
    // The comb can handle the scalar q - 1. For points other than G, an engine may be unable to handle it.
    EXPECT_EQ(of_affine(set.G, minus(q, 1)), base);
    EXPECT_EQ(of_affine(key, minus(q, 1)).point, 1u);
    if (has_table) {
        EXPECT_EQ(of_base(minus(q, 1)), base);
    }
}

TEST_P(borders, other_scalars_take_the_general_domain) {
    for (const Digits& scalar : {Digits(), q, plus(q, 1), plus(q, 77), minus(power_of_2(256), 1), power_of_2(256),
                                 plus(power_of_2(256), 5), power_of_2(286), minus(power_of_2(287), 1)}) {
        if (has_table) {
            EXPECT_EQ(of_base(scalar), nothing) << scalar;
        }
        expect_general(key, scalar);
        expect_general(set.G, scalar);
    }
}

TEST_P(borders, only_affine_multiples_take_the_magnitude_of_a_scalar) {
    for (const Digits& scalar : {Digits(1), k, minus(q, 2)}) {
        EXPECT_EQ(of_affine(key, opposite(scalar)), one_point) << scalar;
        if (!has_table) continue;
        EXPECT_EQ(of_base(opposite(scalar)), nothing) << scalar;
        EXPECT_EQ(of_point(key, opposite(scalar)), nothing) << scalar;
    }
    EXPECT_EQ(of_affine(key, opposite(q)), nothing);
    EXPECT_EQ(of_affine(key, power_of_2(287)), nothing);
}

// The contract forbids overlapping arguments. Nevertheless, the results with an engine must equal those of the general
// domain.
TEST_P(borders, results_may_overlap_operands) {
    struct Operands {
        EcParamSet set;
        EcPoint point;
        Digits scalar;
    };
    const auto counts = [&](EcPoint& (*result)(Operands&), const auto& call) {
        return counts_of<EcPoint>([&](EcPoint& r) {
            Operands o{set, key, k};
            const int value = call(o);
            r = result(o);
            return value;
        });
    };
    const auto point = [](Operands& o) -> EcPoint& { return o.point; };
    const auto g = [](Operands& o) -> EcPoint& { return o.set.G; };
    EXPECT_EQ(counts(point, [](Operands& o) { return epMult(&o.point, &o.point, o.scalar.data(), &o.set); }),
              one_point);
    EXPECT_EQ(counts(g, [](Operands& o) { return epMult(&o.set.G, &o.set.G, o.scalar.data(), &o.set); }), base);
    EXPECT_EQ(counts(g, [](Operands& o) { return epMult(&o.set.G, &o.point, o.scalar.data(), &o.set); }), one_point);
    EXPECT_EQ(counts(g, [](Operands& o) { return ecGeneratePublicKey(&o.set, o.scalar.data(), &o.set.G); }), base);
    EXPECT_EQ(counts(point, [](Operands& o) { return ecGeneratePublicKey(&o.set, o.point.x, &o.point); }), base);
    if (!has_table) return;
    EXPECT_EQ(counts(point, [](Operands& o) { return epMultJ(&o.point, &o.point, o.scalar.data(), &o.set); }),
              one_point);
    EXPECT_EQ(counts(g, [](Operands& o) { return epMultPP(&o.set.G, o.scalar.data(), &o.set); }), base);
    EXPECT_EQ(counts(point, [](Operands& o) { return epMultPP(&o.point, o.point.x, &o.set); }), base);
    const auto entry = [](Operands& o) -> EcPoint& { return o.set.pp[1]; };
    EXPECT_EQ(counts(entry, [](Operands& o) { return epMultPP(&o.set.pp[1], o.scalar.data(), &o.set); }), base);
}

TEST_P(borders, signatures_may_overlap_key_and_digest) {
    const auto counts = [&](bool over_key) {
        return counts_of<EcSignature>([&](EcSignature& sig) {
            EcSignature other{};
            EcSignature& digits = over_key ? sig : other;
            k.copy_to(digits.r);
            std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};
            if (!over_key) std::memcpy(sig.s, digest, sizeof digest);
            const ScriptedSource source({ScriptedSource::yields(plus(k, 3))});
            return ecSign(&set, over_key ? digest : sig.s, ScriptedSource::draw, digits.r, &sig);
        });
    };
    EXPECT_EQ(counts(true), base);
    EXPECT_EQ(counts(false), base);
}

TEST_P(borders, table_methods_on_the_test_set_take_the_general_domain) {
    if (has_table) return;
    EXPECT_EQ(of_base(k), nothing);
    EXPECT_EQ(of_point(key, k), nothing);
    EXPECT_EQ(of_point(set.G, k), nothing);
}

TEST_P(borders, invalid_points_take_the_general_domain) {
    const auto with = [&](const Digits& x, const Digits& y) { return point(x, y); };
    const Digits x(key.x), y(key.y);
    const auto modulo_p = [&](const Digits& n) {
        Digits r;
        mpAdd(r.data(), n.data(), p.data(), VRX_ECC_DIGITS);
        return r;
    };
    expect_general(with({}, {}), k);
    expect_general(with(plus(x, 1), y), k);
    expect_general(with(x, plus(y, 1)), k);
    expect_general(with(y, x), k);
    expect_general(with(modulo_p(x), y), k);
    expect_general(with(x, modulo_p(y)), k);
    expect_general(with(p, y), k);
    Digits ninth = x;
    ninth.d[8] = 1;
    expect_general(with(ninth, y), k);
    ninth = y;
    ninth.d[8] = 0x80000000;
    expect_general(with(x, ninth), k);
    // The negative of a point is on the curve.
    Digits negative;
    mpSubtract(negative.data(), p.data(), y.data(), VRX_ECC_DIGITS);
    EXPECT_EQ(of_affine(with(x, negative), k), one_point);
}

// Uses sets whose base point has a small x, for which x + p is below 2^256.
TEST_P(borders, unreduced_coordinates_take_the_general_domain) {
    for (std::uint32_t x = 1; x < 40; ++x) {
        const EcPoint& g = set.G;
        if (Digits(g.x) != Digits(x)) continue;
        Digits above = plus(p, x);
        if (above.d[8] != 0) continue;
        EcPoint other = g;
        above.copy_to(other.x);
        expect_general(other, k);
    }
}

TEST_P(borders, a_set_with_one_bit_changed_takes_the_general_domain) {
    const EcParamSet original = set;
    Random random;
    const auto flip = [&](std::uint32_t* digits, unsigned count) {
        digits[random.below(count)] ^= 1u << random.below(32);
        EXPECT_EQ(of_affine(key, Digits(5)), nothing);
        if (has_table) {
            EXPECT_EQ(of_point(key, Digits(5)), nothing);
        }
        set = original;
    };
    for (int i = 0; i < 5; ++i) {
        flip(set.a, VRX_ECC_DIGITS);
        flip(set.b, VRX_ECC_DIGITS);
        flip(set.q, VRX_ECC_DIGITS);
        flip(set.G.x, VRX_ECC_DIGITS);
        flip(set.G.y, VRX_ECC_DIGITS);
        // The top digit of p is not changed, because p must be below 2^256. The changed p may be even or short.
        flip(set.p, VRX_ECC_DIGITS - 1);
    }
    flip(&set.has_precomp, 1);
    for (EcPoint& entry : set.pp) {
        entry.x[random.below(VRX_ECC_DIGITS - 1)] ^= 1u << random.below(32);
        EXPECT_EQ(of_base(k), nothing);
        EXPECT_EQ(of_affine(key, Digits(5)), has_table ? nothing : one_point);
        set = original;
    }
}

TEST_P(borders, a_set_stays_built_in_with_other_identifiers) {
    set.oid = nullptr;
    set.str_oid = nullptr;
    set.oid_len = 77;
    EXPECT_EQ(of_affine(key, k), one_point);
    if (!has_table) {
        set.pp[3] = key;
        EXPECT_EQ(of_affine(key, k), one_point);
    }
}

constexpr std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {1, 2, 3, 4, 5, 6, 7, 0xF0000000};

TEST_P(borders, signing_reaches_the_engine_for_every_key) {
    for (const Digits& d : {Digits(), Digits(1), k, q, minus(power_of_2(287), 1), power_of_2(287), opposite(Digits(1))})
        for (const Digits& nonce : {Digits(1), k, minus(q, 1), plus(q, 1), opposite(k)})
            EXPECT_EQ(counts_of<EcSignature>([&](EcSignature& sig) {
                          const ScriptedSource source({ScriptedSource::yields(nonce)});
                          return ecSign(&set, digest, ScriptedSource::draw, d.data(), &sig);
                      }),
                      base)
                << d << " with " << nonce;
}

TEST_P(borders, digests_congruent_to_0_sign_as_1) {
    std::uint32_t of_q[VRX_ECC_DIGEST_WORDS];
    std::memcpy(of_q, set.q, sizeof of_q);
    const std::uint32_t zeros[VRX_ECC_DIGEST_WORDS] = {};
    for (const std::uint32_t* words : std::initializer_list<const std::uint32_t*>{of_q, zeros})
        EXPECT_EQ(counts_of<EcSignature>([&](EcSignature& sig) {
                      const ScriptedSource source({ScriptedSource::yields(k)});
                      return ecSign(&set, words, ScriptedSource::draw, k.data(), &sig);
                  }),
                  base);
}

TEST_P(borders, draws_equal_those_of_the_general_domain) {
    Random random;
    for (int i = 0; i < 200; ++i) {
        const Digits drawn = edgy(random);
        counts_of<Digits>([&](Digits& out) {
            const ScriptedSource source({ScriptedSource::yields(drawn)});
            return Getbig_RND(ScriptedSource::draw, out.data(), set.q);
        });
    }
    for (const Digits& drawn :
         {Digits(), q, plus(q, 1), minus(q, 1), opposite(q), power_of_2(287), plus(power_of_2(287), 1)}) {
        Digits magnitude;
        mpAbs(magnitude.data(), drawn.data(), VRX_ECC_DIGITS);
        Digits expected;
        mpModulo(expected.data(), magnitude.data(), VRX_ECC_DIGITS, set.q, VRX_ECC_DIGITS);
        Digits out;
        const ScriptedSource source({ScriptedSource::yields(drawn)});
        ASSERT_EQ(Getbig_RND(ScriptedSource::draw, out.data(), set.q), 0);
        EXPECT_EQ(out, expected) << drawn;
    }
}

TEST_P(borders, verification_reaches_the_engine_for_valid_points) {
    EcSignature sig{};
    {
        const ScriptedSource source({ScriptedSource::yields(plus(k, 3))});
        ASSERT_EQ(ecSign(&set, digest, ScriptedSource::draw, k.data(), &sig), VRX_OK);
    }
    struct Unwritten {
        char none;
    };
    const auto counts = [&](const EcSignature& s, const EcPoint& of) {
        return counts_of<Unwritten>([&](Unwritten&) { return ecVerify(&set, digest, &of, &s); });
    };
    constexpr Counts sum{0, 0, 1, 1};
    EXPECT_EQ(counts(sig, key), sum);
    EcSignature other = sig;
    other.s[0] ^= 1;
    EXPECT_EQ(counts(other, key), sum);
    other = sig;
    mpAdd(other.s, other.s, set.q, VRX_ECC_DIGITS);  // congruent to s
    EXPECT_EQ(counts(other, key), sum);
    Digits().copy_to(other.s);
    EXPECT_EQ(counts(other, key), sum);
    q.copy_to(other.s);
    EXPECT_EQ(counts(other, key), sum);
    // No x modulo q equals one of these r, so the signature is rejected before any computation.
    for (const Digits& r : {Digits(), q, plus(q, 1), power_of_2(256), power_of_2(287)}) {
        other = sig;
        r.copy_to(other.r);
        EXPECT_EQ(counts(other, key), nothing) << r;
        EXPECT_EQ(ecVerify(&set, digest, &key, &other), -1);
    }
    EcPoint off = key;
    off.x[0] ^= 1;
    // Only the computation of z1 G uses the engine.
    EXPECT_EQ(counts(sig, off), base);
    EXPECT_EQ(counts(sig, point({}, {})), base);
    // For Q = G and s = -r, z1 G equals z2 Q. The engines cannot handle this doubling.
    other = sig;
    mpModSub(other.s, Digits().data(), other.r, set.q, VRX_ECC_DIGITS);
    EXPECT_EQ(counts(other, set.G), (Counts{2, 0, 1, 2}));
    other = sig;
    mpSetEqual(other.s, other.r, VRX_ECC_DIGITS);  // z1 G = -z2 Q, so the sum is the point at infinity
    EXPECT_EQ(counts(other, set.G), (Counts{2, 0, 1, 2}));
}

TEST_P(borders, keys_and_agreement_reach_the_engine) {
    EXPECT_EQ(counts_of<EcPoint>([&](EcPoint& r) { return ecGeneratePublicKey(&set, k.data(), &r); }), base);
    EXPECT_EQ(counts_of<EcPoint>([&](EcPoint& r) { return ecGeneratePublicKey(&set, q.data(), &r); }), nothing);
    EXPECT_EQ(counts_of<EcPoint>([&](EcPoint& r) {
                  const ScriptedSource source(
                      {ScriptedSource::yields({}), ScriptedSource::yields(q), ScriptedSource::yields(k)});
                  Digits d;
                  return ecGenerateKeyPair(&set, ScriptedSource::draw, d.data(), &r);
              }),
              base);
    const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    struct Kek {
        std::uint8_t bytes[VRX_KEK_SIZE];
    };
    const std::uint8_t ukm[VRX_UKM_SIZE] = {1, 2, 3, 4, 5, 6, 7, 0x88};
    const auto agree = [&](const Digits& d, const EcPoint& with) {
        return counts_of<Kek>([&](Kek& kek) { return ecMakeKEK(&set, &oid, ukm, d.data(), &with, kek.bytes); });
    };
    EXPECT_EQ(agree(k, key), one_point);
    EXPECT_EQ(agree(k, set.G), base);
    EXPECT_EQ(agree(plus(q, 5), key), one_point);
    EXPECT_EQ(agree(power_of_2(287), key), one_point);
    EXPECT_EQ(agree(q, key), nothing);
    EXPECT_EQ(agree(Digits(), key), nothing);
    EcPoint off = key;
    off.y[3] ^= 8;
    EXPECT_EQ(agree(k, off), nothing);
    EcParamSet own = set;
    own.G = key;
    EXPECT_EQ(counts_of<Kek>([&](Kek& kek) { return ecMakeKEK(&own, &oid, ukm, k.data(), &key, kek.bytes); }), nothing);
}

}  // namespace
