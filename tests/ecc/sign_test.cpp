// Tests of signatures and key pairs: random sources, ranges, flipped bits, return codes and log lines.
#include <sys/mman.h>
#include <unistd.h>

#include "ecc_support.hpp"
#include "support/log_capture.hpp"

using namespace vrx::test;

namespace {

using Step = ScriptedSource::Step;
const auto yields = ScriptedSource::yields;
const auto fails = ScriptedSource::fails;

using Digest = std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS>;
constexpr Digest digest = {0x11111111, 0x22222222, 0x33333333, 0x44444444,
                           0x55555555, 0x66666666, 0x77777777, 0x08888888};

Digits number(const Digest& words) {
    Digits n;
    std::memcpy(n.data(), words.data(), sizeof words);
    return n;
}

Digits modulo(const Digits& n, const EcParamSet& set) {
    Digits r;
    mpModulo(r.data(), n.data(), VRX_ECC_DIGITS, set.q, VRX_ECC_DIGITS);
    return r;
}
Digits product(const Digits& u, const Digits& v, const EcParamSet& set) {
    Digits w;
    mpModMult(w.data(), u.data(), v.data(), set.q, VRX_ECC_DIGITS);
    return w;
}
Digits sum(const Digits& u, const Digits& v) {
    Digits w;
    mpAdd(w.data(), u.data(), v.data(), VRX_ECC_DIGITS);
    return w;
}
Digits opposite(const Digits& n) {
    Digits w;
    mpChs(w.data(), n.data(), VRX_ECC_DIGITS);
    return w;
}
/** -n modulo q. */
Digits negative(const Digits& n, const EcParamSet& set) {
    Digits w;
    mpModSub(w.data(), Digits().data(), n.data(), set.q, VRX_ECC_DIGITS);
    return w;
}
Digits inverse(const Digits& n, const EcParamSet& set) {
    Digits w;
    EXPECT_EQ(mpModInv(w.data(), n.data(), set.q, VRX_ECC_DIGITS), 0);
    return w;
}

EcSignature signature(const Digits& r, const Digits& s) {
    EcSignature sig;
    r.copy_to(sig.r);
    s.copy_to(sig.s);
    return sig;
}

const char* const verification_failed = "ecVerify: Signature verification failed\n";

/** The following tests run on every built-in set. */
class on_every_set : public testing::TestWithParam<std::uint32_t> {
protected:
    const EcParamSet& set = *get_GOSTR3410_par(GetParam());
    const Digits q{set.q};
    Digits d;
    EcPoint key{};

    on_every_set() { EXPECT_EQ(ecGenerateKeyPair(&set, random_bytes, d.data(), &key), VRX_OK); }

    EcSignature signed_with(std::initializer_list<Step> script, const Digest& words = digest) {
        return signed_with(script, words, d);
    }
    EcSignature signed_with(std::initializer_list<Step> script, const Digest& words, const Digits& private_key) {
        ScriptedSource source(script);
        EcSignature sig = filled<EcSignature>();
        EXPECT_EQ(ecSign(&set, words.data(), ScriptedSource::draw, private_key.data(), &sig), VRX_OK);
        return sig;
    }
    int verify(const EcSignature& sig, const Digest& words = digest) {
        return ecVerify(&set, words.data(), &key, &sig);
    }
    void expect_wrong(const EcSignature& sig, const Digest& words = digest) {
        LogCapture log;
        EXPECT_EQ(verify(sig, words), VRX_ERR_FAILED) << Digits(sig.r) << ' ' << Digits(sig.s);
        EXPECT_EQ(log.take(), verification_failed);
    }
};

INSTANTIATE_TEST_SUITE_P(sets, on_every_set, testing::Range<std::uint32_t>(0, VRX_ECC_SET_COUNT),
                         [](const auto& i) { return short_name(i.param); });

TEST_P(on_every_set, random_signatures_verify_and_are_all_different) {
    EcSignature sig, other;
    ASSERT_EQ(ecSign(&set, digest.data(), random_bytes, d.data(), &sig), VRX_OK);
    ASSERT_EQ(ecSign(&set, digest.data(), test_rnd, d.data(), &other), VRX_OK);
    LogCapture log;
    EXPECT_EQ(verify(sig), VRX_OK);
    EXPECT_EQ(verify(other), VRX_OK);
    EXPECT_EQ(log.take(), "");
    EXPECT_NE(halves(sig), halves(other));
}

TEST_P(on_every_set, a_nonce_of_zero_is_drawn_again) {
    const EcSignature expected = signed_with({yields(12345)});
    Digits twice_q = sum(q, q);
    // Multiples of q of either sign are 0 modulo q.
    const EcSignature sig =
        signed_with({yields(0), yields(0), yields(q), yields(twice_q), yields(opposite(q)), yields(12345)});
    EXPECT_EQ(halves(sig), halves(expected));
}

TEST_P(on_every_set, a_negative_nonce_counts_by_its_absolute_value) {
    const Digits k = sum(q, opposite(5));
    EXPECT_EQ(halves(signed_with({yields(opposite(k))})), halves(signed_with({yields(k)})));
    // In two's complement of 288 bits, the absolute value of -2^287 is the same number.
    Digits lowest;
    lowest.d[8] = 0x80000000;
    EXPECT_EQ(halves(signed_with({yields(lowest)})), halves(signed_with({yields(modulo(lowest, set))})));
}

TEST_P(on_every_set, a_nonce_of_q_and_more_is_reduced) {
    EXPECT_EQ(halves(signed_with({yields(sum(q, 7))})), halves(signed_with({yields(7)})));
    Digits highest = opposite(1);
    highest.d[8] = 0x7FFFFFFF;
    EXPECT_EQ(halves(signed_with({yields(highest)})), halves(signed_with({yields(modulo(highest, set))})));
}

TEST_P(on_every_set, signing_logs_a_failing_random_source_with_two_lines) {
    LogCapture log;
    for (const int result : {1, -1, 7, INT32_MIN}) {
        EcSignature sig = filled<EcSignature>();
        ScriptedSource source{fails(result)};
        EXPECT_EQ(ecSign(&set, digest.data(), ScriptedSource::draw, d.data(), &sig), VRX_ERR_RANDOM);
        EXPECT_EQ(log.take(), "RND_FUNC failed\necSign: Getbig_RND failed\n");
        EXPECT_TRUE(same_bytes(sig, filled<EcSignature>()));
    }
    EcSignature sig = filled<EcSignature>();
    ScriptedSource source{yields(0), fails(1)};
    EXPECT_EQ(ecSign(&set, digest.data(), ScriptedSource::draw, d.data(), &sig), VRX_ERR_RANDOM);
    EXPECT_EQ(log.take(), "RND_FUNC failed\necSign: Getbig_RND failed\n");
    EXPECT_TRUE(same_bytes(sig, filled<EcSignature>()));
}

TEST_P(on_every_set, key_generation_logs_a_failing_random_source_like_signing) {
    LogCapture log;
    Digits made = filled<Digits>();
    EcPoint made_key = filled<EcPoint>();
    {
        ScriptedSource source{fails(1)};
        EXPECT_EQ(ecGenerateKeyPair(&set, ScriptedSource::draw, made.data(), &made_key), VRX_ERR_RANDOM);
    }
    EXPECT_EQ(log.take(), "RND_FUNC failed\necSign: Getbig_RND failed\n");
    EXPECT_EQ(made, filled<Digits>());
    EXPECT_TRUE(same_bytes(made_key, filled<EcPoint>()));
    {
        ScriptedSource source{yields(q), fails(-5)};
        EXPECT_EQ(ecGenerateKeyPair(&set, ScriptedSource::draw, made.data(), &made_key), VRX_ERR_RANDOM);
    }
    EXPECT_EQ(log.take(), "RND_FUNC failed\necSign: Getbig_RND failed\n");
    EXPECT_EQ(made, Digits());  // the 0 that was drawn
    EXPECT_TRUE(same_bytes(made_key, filled<EcPoint>()));
}

TEST_P(on_every_set, key_pairs_follow_the_draws) {
    Digits made = filled<Digits>();
    EcPoint made_key, expected;
    {
        ScriptedSource source{yields(0), yields(opposite(q)), yields(opposite(sum(q, 9)))};
        EXPECT_EQ(ecGenerateKeyPair(&set, ScriptedSource::draw, made.data(), &made_key), VRX_OK);
    }
    EXPECT_EQ(made, Digits(9));
    epMult(&expected, &set.G, made.data(), &set);
    EXPECT_EQ(coordinates(made_key), coordinates(expected));
}

TEST_P(on_every_set, a_digest_of_zero_modulo_q_counts_as_one) {
    Digest one{}, zero{}, order, multiple;
    one[0] = 1;
    std::memcpy(order.data(), set.q, sizeof order);
    const EcSignature expected = signed_with({yields(77)}, one);
    for (const Digest& words : {zero, order}) {
        EXPECT_EQ(halves(signed_with({yields(77)}, words)), halves(expected));
        EXPECT_EQ(verify(expected, words), VRX_OK);
    }
    // q + 1 is congruent to 1.
    const Digits next = sum(q, 1);
    std::memcpy(multiple.data(), next.data(), sizeof multiple);
    EXPECT_EQ(halves(signed_with({yields(77)}, multiple)), halves(expected));
}

TEST_P(on_every_set, private_keys_count_modulo_q) {
    const EcSignature expected = signed_with({yields(77)}, digest, 1234);
    EXPECT_EQ(halves(signed_with({yields(77)}, digest, sum(q, 1234))), halves(expected));
    EXPECT_EQ(halves(signed_with({yields(77)}, digest, sum(sum(q, q), 1234))), halves(expected));
}

TEST_P(on_every_set, s_of_zero_is_returned_and_verifies) {
    // For d = -k e / r, s = r d + k e is 0.
    const Digits k = 4711;
    const Digits r(signed_with({yields(k)}).r);
    const Digits e = modulo(number(digest), set);
    d = negative(product(product(k, e, set), inverse(r, set), set), set);
    ASSERT_EQ(ecGeneratePublicKey(&set, d.data(), &key), VRX_OK);
    const EcSignature sig = signed_with({yields(k)});
    EXPECT_EQ(halves(sig), (std::array{r, Digits()}));
    EXPECT_EQ(verify(sig), VRX_OK);
}

TEST_P(on_every_set, a_signature_with_r_zero_modulo_q_is_invalid) {
    const Digits e = modulo(number(digest), set);
    // With r = 0, s = 0 yields the point at infinity, and s = e and s = -e yield points with the x of G, which is 0 on
    // two of the curves.
    for (const Digits& s : {Digits(), Digits(1), e, negative(e, set), q, sum(q, e), product(e, 2, set)}) {
        expect_wrong(signature(0, s));
        expect_wrong(signature(q, s));
        expect_wrong(signature(sum(q, q), s));
    }
}

TEST_P(on_every_set, r_of_q_or_more_is_invalid_and_s_counts_modulo_q) {
    const EcSignature sig = signed_with({yields(987654321)});
    const Digits r(sig.r), s(sig.s);
    EXPECT_EQ(verify(sig), VRX_OK);
    expect_wrong(signature(sum(r, q), s));
    Digits multiple = q;
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(verify(signature(r, sum(s, multiple))), VRX_OK);
        expect_wrong(signature(sum(r, multiple), s));
        multiple = sum(multiple, multiple);
    }
    expect_wrong(signature(r, negative(s, set)));
    expect_wrong(signature(negative(r, set), s));
    expect_wrong(signature(s, r));
}

TEST_P(on_every_set, public_keys_with_unreduced_coordinates_are_valid) {
    const EcSignature sig = signed_with({yields(987654321)});
    const Digits p(set.p);
    const EcPoint reduced = key;
    key = point(sum(Digits(key.x), p), sum(sum(Digits(key.y), p), p));
    EXPECT_EQ(verify(sig), VRX_OK);
    key = point(Digits(reduced.x), sum(Digits(reduced.y), p));
    EXPECT_EQ(verify(sig), VRX_OK);
}

TEST_P(on_every_set, any_flipped_bit_makes_a_signature_invalid) {
    // The affine method is slow, so only a sample is tested.
    const unsigned step = set.has_precomp == 1 ? 1 : 11;
    if (GetParam() > 3) return;  // XchA and XchB repeat the curves of A and C
    const EcSignature sig = signed_with({yields(sum(q, opposite(31)))});
    ASSERT_EQ(verify(sig), VRX_OK);
    for (unsigned bit = 0; bit < 288; bit += step) {
        Digits r(sig.r), s(sig.s);
        r.flip(bit);
        expect_wrong(signature(r, s));
        r.flip(bit);
        s.flip(bit);
        expect_wrong(signature(r, s));
        if (bit < 256) {
            Digest words = digest;
            words[bit / 32] ^= 1u << bit % 32;
            expect_wrong(sig, words);
        }
        const EcPoint right = key;
        key.x[bit / 32] ^= 1u << bit % 32;
        expect_wrong(sig);
        key = right;
        key.y[bit / 32] ^= 1u << bit % 32;
        expect_wrong(sig);
        key = right;
    }
}

TEST_P(on_every_set, another_key_or_set_makes_a_signature_invalid) {
    const EcSignature sig = signed_with({yields(31337)});
    const EcPoint right = key;
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) {
        const EcParamSet& other = cp_ecc_par[i];
        const bool same_curve = std::memcmp(&other, &set, offsetof(EcParamSet, oid_len)) == 0;
        EXPECT_EQ(ecVerify(&other, digest.data(), &right, &sig), same_curve ? VRX_OK : VRX_ERR_FAILED) << i;
    }
    ASSERT_EQ(ecGenerateKeyPair(&set, random_bytes, d.data(), &key), VRX_OK);
    expect_wrong(sig);
    key = EcPoint{};
    expect_wrong(sig);
}

TEST_P(on_every_set, exactly_32_bytes_of_the_digest_are_read) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    auto* pages =
        static_cast<std::uint8_t*>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(mprotect(pages + page, page, PROT_NONE), 0);
    auto* at_the_edge = reinterpret_cast<std::uint32_t*>(pages + page - sizeof digest);
    std::memcpy(at_the_edge, digest.data(), sizeof digest);
    const EcSignature expected = signed_with({yields(99)});
    EcSignature sig;
    {
        ScriptedSource source{yields(99)};
        ASSERT_EQ(ecSign(&set, at_the_edge, ScriptedSource::draw, d.data(), &sig), VRX_OK);
    }
    EXPECT_EQ(halves(sig), halves(expected));
    EXPECT_EQ(ecVerify(&set, at_the_edge, &key, &sig), VRX_OK);
    munmap(pages, 2 * page);
}

TEST_P(on_every_set, a_set_is_never_written_to) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t size = (sizeof set + page - 1) / page * page;
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    std::memcpy(memory, &set, sizeof set);
    ASSERT_EQ(mprotect(memory, size, PROT_READ), 0);
    const auto* fixed = static_cast<const EcParamSet*>(memory);
    EcSignature sig;
    EXPECT_EQ(ecGenerateKeyPair(fixed, random_bytes, d.data(), &key), VRX_OK);
    EXPECT_EQ(ecSign(fixed, digest.data(), random_bytes, d.data(), &sig), VRX_OK);
    EXPECT_EQ(ecVerify(fixed, digest.data(), &key, &sig), VRX_OK);
    const vrx_data oid{9, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    const std::uint8_t ukm[8] = {1};
    Bytes kek(32);
    EXPECT_EQ(ecMakeKEK(fixed, &oid, ukm, d.data(), &key, kek.data()), VRX_OK);
    munmap(memory, size);
}

TEST_P(on_every_set, a_copy_without_a_table_gives_the_same_results) {
    EcParamSet copy = set;
    copy.has_precomp = 0;
    std::memset(copy.pp, 0x77, sizeof copy.pp);
    const EcSignature expected = signed_with({yields(3141592)});
    for (const std::uint32_t mark : {0u, 2u, 0x80000000u}) {
        copy.has_precomp = mark;
        EcSignature sig;
        {
            ScriptedSource source{yields(3141592)};
            ASSERT_EQ(ecSign(&copy, digest.data(), ScriptedSource::draw, d.data(), &sig), VRX_OK);
        }
        EXPECT_EQ(halves(sig), halves(expected));
        EXPECT_EQ(ecVerify(&copy, digest.data(), &key, &sig), VRX_OK);
        EcPoint made;
        EXPECT_EQ(ecGeneratePublicKey(&copy, d.data(), &made), VRX_OK);
        EXPECT_EQ(coordinates(made), coordinates(key));
    }
}

TEST(signing, r_of_zero_is_returned_and_invalid) {
    for (const std::uint32_t i : {3u, 5u}) {
        const EcParamSet& set = cp_ecc_par[i];
        ASSERT_EQ(Digits(set.G.x), Digits());
        const Digits d(1234);
        EcPoint key;
        ASSERT_EQ(ecGeneratePublicKey(&set, d.data(), &key), VRX_OK);
        const Digits e = modulo(number(digest), set);
        // k = 1 and q - 1 yield the x of the base point.
        for (const Digits& k : {Digits(1), negative(1, set)}) {
            EcSignature sig;
            {
                ScriptedSource source{yields(k)};
                ASSERT_EQ(ecSign(&set, digest.data(), ScriptedSource::draw, d.data(), &sig), VRX_OK);
            }
            EXPECT_EQ(halves(sig), (std::array{Digits(), product(k, e, set)}));
            LogCapture log;
            EXPECT_EQ(ecVerify(&set, digest.data(), &key, &sig), VRX_ERR_FAILED);
            EXPECT_EQ(log.take(), verification_failed);
        }
    }
}

TEST(records, in_use_are_the_current_ones) {
    const SetsGuard guard;
    const EcParamSet c = cp_ecc_par[3];
    const Digits d(55555);
    const auto sign = [&](const EcParamSet& set) {
        ScriptedSource source{yields(271828)};
        EcSignature sig;
        EXPECT_EQ(ecSign(&set, digest.data(), ScriptedSource::draw, d.data(), &sig), VRX_OK);
        return halves(sig);
    };
    const auto of_a = sign(cp_ecc_par[1]), of_c = sign(c);
    EXPECT_NE(of_a, of_c);
    cp_ecc_par[1] = c;
    EXPECT_EQ(sign(cp_ecc_par[1]), of_c);
    EXPECT_EQ(sign(*get_GOSTR3410_default_par()), of_c);
    cp_ecc_par[1] = cp_ecc_par[4];
    EXPECT_EQ(sign(cp_ecc_par[1]), of_a);
    // One bit changed in the table, in p, or in q.
    cp_ecc_par[1].pp[0].x[0] ^= 1;
    EXPECT_NE(sign(cp_ecc_par[1]), of_a);
    cp_ecc_par[1].pp[0].x[0] ^= 1;
    cp_ecc_par[1].p[0] ^= 2;
    EXPECT_NE(sign(cp_ecc_par[1]), of_a);
    cp_ecc_par[1].p[0] ^= 2;
    cp_ecc_par[1].q[0] ^= 2;
    EXPECT_NE(sign(cp_ecc_par[1])[1], of_a[1]);
    cp_ecc_par[1].q[0] ^= 2;
    // With has_precomp = 1, the function does not read a, b and G.
    cp_ecc_par[1].a[0] ^= 1;
    cp_ecc_par[1].b[0] ^= 1;
    cp_ecc_par[1].G.x[0] ^= 1;
    EXPECT_EQ(sign(cp_ecc_par[1]), of_a);
    // With has_precomp = 0, the function reads G and a.
    cp_ecc_par[1].has_precomp = 0;
    EXPECT_NE(sign(cp_ecc_par[1]), of_a);
    cp_ecc_par[1].a[0] ^= 1;
    cp_ecc_par[1].G.x[0] ^= 1;
    EXPECT_EQ(sign(cp_ecc_par[1]), of_a);
}

TEST(public_keys, of_a_private_key_of_zero_modulo_q_are_invalid_and_written) {
    LogCapture log;
    for (const EcParamSet& set : cp_ecc_par)
        for (const Digits& d : {Digits(), Digits(set.q)}) {
            EcPoint key = filled<EcPoint>();
            EXPECT_EQ(ecGeneratePublicKey(&set, d.data(), &key), VRX_ERR_FAILED);
            EXPECT_EQ(log.take(), "Invalid public key\n");
            EXPECT_EQ(coordinates(key), point_at_infinity);
        }
}

TEST(public_keys, off_the_curve_are_invalid) {
    LogCapture log;
    for (const EcParamSet& set : cp_ecc_par) {
        EcPoint key = set.G;
        EXPECT_EQ(ecCheckPublicKey(&set, &key), VRX_OK);
        EXPECT_EQ(log.take(), "");
        key.y[0] ^= 1;
        EXPECT_EQ(ecCheckPublicKey(&set, &key), VRX_ERR_FAILED);
        EXPECT_EQ(log.take(), "Invalid public key\n");
        key = EcPoint{};
        EXPECT_EQ(ecCheckPublicKey(&set, &key), VRX_ERR_FAILED);
        EXPECT_EQ(log.take(), "Invalid public key\n");
    }
}

TEST(public_keys, at_zero_are_valid_where_b_is_zero) {
    EcParamSet set = cp_ecc_par[1];
    mpSetZero(set.b, VRX_ECC_DIGITS);
    const EcPoint zero{};
    EXPECT_EQ(ecCheckPublicKey(&set, &zero), VRX_OK);
}

TEST(public_keys, made_in_a_pair_are_checked) {
    EcParamSet set = cp_ecc_par[1];
    set.b[0] ^= 1;
    LogCapture log;
    Digits d;
    EcPoint key = filled<EcPoint>(), expected;
    ScriptedSource source{yields(5)};
    EXPECT_EQ(ecGenerateKeyPair(&set, ScriptedSource::draw, d.data(), &key), VRX_ERR_FAILED);
    EXPECT_EQ(log.take(), "Invalid public key\n");
    EXPECT_EQ(d, Digits(5));
    epMultPP(&expected, d.data(), &set);
    EXPECT_EQ(coordinates(key), coordinates(expected));
}

TEST(null_pointers, are_logged_and_nothing_is_written) {
    LogCapture log;
    const EcParamSet& set = cp_ecc_par[1];
    const auto refused = [&](int rc, const char* line) {
        EXPECT_EQ(rc, VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(log.take(), line + std::string(": bad params\n"));
    };
    ScriptedSource never{};
    const RND_FUNC rnd = ScriptedSource::draw;
    const Digits d(1);
    Digits made = filled<Digits>();
    EcPoint key = filled<EcPoint>();
    EcSignature sig = filled<EcSignature>();
    refused(ecSign(nullptr, digest.data(), rnd, d.data(), &sig), "ecSign");
    refused(ecSign(&set, nullptr, rnd, d.data(), &sig), "ecSign");
    refused(ecSign(&set, digest.data(), rnd, nullptr, &sig), "ecSign");
    refused(ecSign(&set, digest.data(), rnd, d.data(), nullptr), "ecSign");
    refused(ecSign(nullptr, nullptr, nullptr, nullptr, nullptr), "ecSign");
    refused(ecVerify(nullptr, digest.data(), &key, &sig), "ecVerify");
    refused(ecVerify(&set, nullptr, &key, &sig), "ecVerify");
    refused(ecVerify(&set, digest.data(), nullptr, &sig), "ecVerify");
    refused(ecVerify(&set, digest.data(), &key, nullptr), "ecVerify");
    refused(ecGenerateKeyPair(nullptr, rnd, made.data(), &key), "ecGenerateKeyPair");
    refused(ecGenerateKeyPair(&set, rnd, nullptr, &key), "ecGenerateKeyPair");
    refused(ecGenerateKeyPair(&set, rnd, made.data(), nullptr), "ecGenerateKeyPair");
    refused(ecGeneratePublicKey(nullptr, d.data(), &key), "ecGeneratePublicKey");
    refused(ecGeneratePublicKey(&set, nullptr, &key), "ecGeneratePublicKey");
    refused(ecGeneratePublicKey(&set, d.data(), nullptr), "ecGeneratePublicKey");
    refused(ecCheckPublicKey(nullptr, &key), "ecCheckPuKey");
    refused(ecCheckPublicKey(&set, nullptr), "ecCheckPuKey");
    EXPECT_EQ(made, filled<Digits>());
    EXPECT_TRUE(same_bytes(key, filled<EcPoint>()));
    EXPECT_TRUE(same_bytes(sig, filled<EcSignature>()));
}

TEST(log, that_is_off_changes_no_code) {
    ASSERT_EQ(vrxflog, nullptr);
    const EcParamSet& set = cp_ecc_par[1];
    EcSignature sig{};
    EcPoint key = set.G;
    const Digits d(1);
    EXPECT_EQ(ecSign(nullptr, digest.data(), random_bytes, d.data(), &sig), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(ecVerify(&set, digest.data(), &key, &sig), VRX_ERR_FAILED);
    key.x[0] ^= 1;
    EXPECT_EQ(ecCheckPublicKey(&set, &key), VRX_ERR_FAILED);
    ScriptedSource source{fails(1), fails(1)};
    EXPECT_EQ(ecSign(&set, digest.data(), ScriptedSource::draw, d.data(), &sig), VRX_ERR_RANDOM);
    Digits out;
    EXPECT_EQ(Getbig_RND(ScriptedSource::draw, out.data(), set.q), -1);
}

TEST(random_numbers, are_absolute_values_reduced_modulo_q) {
    const EcParamSet& set = cp_ecc_par[2];
    const Digits q(set.q);
    const auto drawn = [&](const Digits& bytes) {
        ScriptedSource source{yields(bytes)};
        Digits out = filled<Digits>();
        EXPECT_EQ(Getbig_RND(ScriptedSource::draw, out.data(), set.q), 0);
        return out;
    };
    EXPECT_EQ(drawn(0), Digits());
    EXPECT_EQ(drawn(1), Digits(1));
    EXPECT_EQ(drawn(opposite(1)), Digits(1));
    EXPECT_EQ(drawn(q), Digits());
    EXPECT_EQ(drawn(sum(q, opposite(1))), sum(q, opposite(1)));
    EXPECT_EQ(drawn(sum(q, 1)), Digits(1));
    EXPECT_EQ(drawn(opposite(sum(q, 3))), Digits(3));
    Random random;
    for (int i = 0; i < 500; ++i) {
        const Digits bytes = edgy(random);
        Digits magnitude;
        mpAbs(magnitude.data(), bytes.data(), VRX_ECC_DIGITS);
        EXPECT_EQ(drawn(bytes), modulo(magnitude, set));
    }
}

TEST(random_numbers, from_a_failing_source_are_not_written_and_log_one_line) {
    LogCapture log;
    Digits out = filled<Digits>();
    ScriptedSource source{fails(3)};
    EXPECT_EQ(Getbig_RND(ScriptedSource::draw, out.data(), cp_ecc_par[1].q), -1);
    EXPECT_EQ(out, filled<Digits>());
    EXPECT_EQ(log.take(), "RND_FUNC failed\n");
}

TEST(test_source, fills_whole_words_only) {
    for (std::uint32_t length = 0; length <= 41; ++length) {
        // A byte that the function writes has several values in 40 calls. Every other byte is unchanged.
        Bytes seen(48), buffer(48);
        for (int i = 0; i < 40; ++i) {
            std::fill(buffer.begin(), buffer.end(), std::uint8_t{0});
            EXPECT_EQ(test_rnd(buffer.data() + 1, length), 0);
            for (std::size_t at = 0; at < buffer.size(); ++at) seen[at] |= buffer[at];
        }
        for (std::size_t at = 0; at < seen.size(); ++at)
            EXPECT_EQ(seen[at] != 0, at >= 1 && at < 1 + length / 4 * 4) << length << ' ' << at;
    }
}

}  // namespace
