// Tests that private keys, nonces and values computed from them do not remain on the stack.
#include "ecc/domain.hpp"
#include "ecc_support.hpp"
#include "support/own_stack.hpp"

using namespace vrx::test;

namespace {

Digits nonce;
int next_nonce(void* buffer, std::uint32_t length) {
    std::memcpy(buffer, nonce.data(), length);
    return 0;
}

class wiping : public testing::TestWithParam<std::uint32_t> {
protected:
    const EcParamSet& set = *get_GOSTR3410_par(GetParam());
    Random random;
    Digits d, k;
    EcPoint key{};
    std::vector<Bytes> secrets;

    wiping() {
        EXPECT_EQ(ecGenerateKeyPair(&set, random_bytes, d.data(), &key), VRX_OK);
        EXPECT_EQ(Getbig_RND(random_bytes, k.data(), set.q), 0);
    }
    /** The low 32 bytes of a secret number. */
    void add(const Digits& n) {
        Bytes octets(32);
        ecUnloadPrivateKeyValue(n.data(), octets.data());
        secrets.push_back(octets);
    }
    void add_point(const vrx::ecc::Jacobian<vrx::ecc::Residue>& p) {
        for (const auto* coordinate : {&p.x, &p.y, &p.z}) add(Digits(coordinate->number().digits));
    }
    /** Adds a scalar to the secrets, and intermediate points of the method that computes its multiple. */
    void add_scalar(const Digits& n, const EcPoint& base) {
        using namespace vrx::ecc;
        add(n);
        const Number scalar = load(n.data());
        const Affine<Residue> p = load(base, set);
        if (set.has_precomp == 1) {
            add_point(multiple_by_table<Residue>(scalar, [&](unsigned m) { return load(set.pp[m], set); }));
            // The method from left to right: adds the points after the first 128 bits and at the end.
            Digits half = n;
            mpShiftRight(half.data(), half.data(), 128, VRX_ECC_DIGITS);
            add_point(multiple_from_top(p, load(half.data())));
            add_point(multiple_from_top(p, scalar));
            add(Digits(multiple_from_top(p, scalar).z.inverse().number().digits));
        } else {
            Digits half = n;
            mpModPowerOf2(half.data(), VRX_ECC_DIGITS, 128);
            const EcPoint r = *to_record(affine_multiple(General(set), base, load(half.data())));
            add(Digits(r.x));
            add(Digits(r.y));
            mpShiftRight(half.data(), n.data(), 100, VRX_ECC_DIGITS);
            add(half);
            secrets.back().resize(16);  // without the leading zeros, which occur everywhere
        }
    }
    Digits product(const Digits& u, const Digits& v) {
        Digits w;
        mpModMult(w.data(), u.data(), v.data(), set.q, VRX_ECC_DIGITS);
        return w;
    }
    void expect_none_left(const std::function<void()>& call) {
        const Bytes stack = stack_after(call);
        for (std::size_t i = 0; i < secrets.size(); ++i)
            EXPECT_FALSE(holds_part_of(stack, secrets[i])) << "secret " << i;
    }
};

INSTANTIATE_TEST_SUITE_P(sets, wiping, testing::Values(0u, 1u, 2u, 3u),
                         [](const auto& i) { return short_name(i.param); });

/**
 * Returns the number of words that differ between the stacks of two calls and do not occur in `known`. These words are
 * secrets or values derived from secrets. Words whose upper two bytes are zeros are addresses, which differ because
 * each call has its own stack.
 */
std::size_t words_of_secrets(const Bytes& one, const Bytes& other, const Bytes& known) {
    std::size_t count = 0;
    for (std::size_t i = 0; i + 8 <= one.size(); i += 8) {
        const std::span<const std::uint8_t> word(one.data() + i, 8);
        if (std::memcmp(word.data(), other.data() + i, 8) == 0 || (word[6] == 0 && word[7] == 0)) continue;
        count += std::search(known.begin(), known.end(), word.begin(), word.end()) == known.end();
    }
    return count;
}

template <typename Record>
Bytes bytes_of(const Record& record) {
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

// Checks that no intermediate value remains: no vector, multiple or inverse.
TEST_P(wiping, what_is_left_does_not_depend_on_keys_and_nonces) {
    const std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {random.word(), random.word(), 3, 4, 5, 6, 7, random.word()};
    const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    const std::uint8_t ukm[VRX_UKM_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};
    Bytes signing[3], making[3], agreeing[3];
    Bytes signature, made;
    EcSignature sig;
    EcPoint q;
    std::uint8_t kek[VRX_KEK_SIZE];
    for (unsigned i = 0; i < 3; ++i) {  // the first run does one-time work
        ASSERT_EQ(Getbig_RND(random_bytes, nonce.data(), set.q), 0);
        ASSERT_EQ(Getbig_RND(random_bytes, d.data(), set.q), 0);
        signing[i] = stack_after([&] { ecSign(&set, digest, next_nonce, d.data(), &sig); });
        signature = bytes_of(sig);
        making[i] = stack_after(
            [&] { set.has_precomp == 1 ? epMultPP(&q, d.data(), &set) : epMult(&q, &set.G, d.data(), &set); });
        made = bytes_of(q);
        agreeing[i] = stack_after([&] { ecMakeKEK(&set, &oid, ukm, d.data(), &key, kek); });
    }
    EXPECT_EQ(words_of_secrets(signing[2], signing[1], signature), 0u);
    EXPECT_EQ(words_of_secrets(making[2], making[1], made), 0u);
    EXPECT_EQ(words_of_secrets(agreeing[2], agreeing[1], {}), 0u);
}

// Control: without wiping, the search finds the scalar or values derived from it.
TEST_P(wiping, a_multiple_without_wiping_is_found) {
    add_scalar(k, set.G);
    EcPoint r;
    const Bytes stack = stack_after([&] {
        r = vrx::ecc::with_domain(set, [&](const auto& domain) {
            return vrx::ecc::to_record(vrx::ecc::base_multiple(domain, vrx::ecc::load(k.data())));
        });
    });
    bool found = false;
    for (const Bytes& secret : secrets) found |= holds_part_of(stack, secret);
    EXPECT_TRUE(found);
}

TEST_P(wiping, signing_leaves_nothing_of_key_and_nonce) {
    const std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {random.word(), random.word(), 3, 4, 5, 6, 7, random.word()};
    nonce = k;
    EcSignature sig;
    ASSERT_EQ(ecSign(&set, digest, next_nonce, d.data(), &sig), VRX_OK);
    Digits e;
    std::memcpy(e.data(), digest, sizeof digest);
    add(d);
    add_scalar(k, set.G);
    add(product(k, e));
    add(product(Digits(sig.r), d));
    expect_none_left([&] { ecSign(&set, digest, next_nonce, d.data(), &sig); });
}

TEST_P(wiping, keys_leave_nothing_of_themselves) {
    add_scalar(d, set.G);
    EcPoint q;
    expect_none_left([&] { ecGeneratePublicKey(&set, d.data(), &q); });
    nonce = d;
    Digits made;
    expect_none_left([&] { ecGenerateKeyPair(&set, next_nonce, made.data(), &q); });
    EXPECT_EQ(made, d);
    expect_none_left([&] { Getbig_RND(next_nonce, made.data(), set.q); });
}

TEST_P(wiping, agreement_leaves_nothing_of_key_and_shared_point) {
    const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    const Bytes ukm = random.bytes(VRX_UKM_SIZE);
    Digits u;
    std::memcpy(u.data(), ukm.data(), VRX_UKM_SIZE);
    const Digits t = product(d, u);
    EcPoint peer, shared;
    Digits other;
    ASSERT_EQ(ecGenerateKeyPair(&set, random_bytes, other.data(), &peer), VRX_OK);
    epMult(&shared, &peer, t.data(), &set);
    add(d);
    add_scalar(t, peer);
    add(Digits(shared.x));
    add(Digits(shared.y));
    std::uint8_t kek[VRX_KEK_SIZE];
    expect_none_left([&] { ecMakeKEK(&set, &oid, ukm.data(), d.data(), &peer, kek); });
    secrets.emplace_back(kek, kek + sizeof kek);
    std::uint8_t copy[VRX_KEK_SIZE];
    expect_none_left([&] { ecMakeKEK(&set, &oid, ukm.data(), d.data(), &peer, copy); });
}

TEST_P(wiping, multiples_leave_nothing_of_the_scalar) {
    add_scalar(k, key);
    add_scalar(k, set.G);
    EcPoint r;
    if (set.has_precomp == 1) {
        expect_none_left([&] { epMultPP(&r, k.data(), &set); });
        expect_none_left([&] { epMultJ(&r, &key, k.data(), &set); });
    }
    secrets.clear();
    add(k);
    expect_none_left([&] { epMult(&r, &key, k.data(), &set); });
}

/** The keys before each of the eight rounds of diversification, and the result of the last round. */
std::vector<Bytes> diversified_keys(const vrx_tz& tz, const Bytes& key, const Bytes& ukm) {
    std::vector<Bytes> keys = {key};
    for (const std::uint8_t byte : ukm) {
        std::uint32_t words[VRX_KEY_WORDS];
        std::memcpy(words, keys.back().data(), sizeof words);
        std::uint32_t sums[2] = {};
        for (unsigned j = 0; j < VRX_KEY_WORDS; ++j) sums[~byte >> j & 1] += words[j];
        Bytes iv(VRX_BLOCK_SIZE), next = keys.back();
        std::memcpy(iv.data(), sums, sizeof sums);
        const vrx_data in{VRX_KEK_SIZE, next.data()};
        vrx_data out = in;
        EXPECT_EQ(VRX_Gost_GFB_m(&tz, &in, &out, iv.data(), words, 1, VRX_FLAG_FIRST | VRX_FLAG_PAD), VRX_OK);
        keys.push_back(next);
    }
    return keys;
}

/** Returns true if memory contains a word of the key. In a few of ten thousand runs, this happens by chance. */
bool holds_word_of(const Bytes& memory, const Bytes& key) {
    for (std::size_t i = 0; i < key.size(); i += 4)
        for (std::size_t at = 0; at + 4 <= memory.size(); at += 4)
            if (std::memcmp(memory.data() + at, key.data() + i, 4) == 0) return true;
    return false;
}

TEST(wiping_keys, diversification_leaves_no_word_of_any_round_s_key) {
    Random random;
    unsigned words = 0;
    for (int run = 0; run < 2; ++run) {
        const Bytes ukm = random.bytes(VRX_UKM_SIZE);
        Bytes key = random.bytes(VRX_KEK_SIZE);
        const std::vector<Bytes> keys = diversified_keys(TZ_28147_89[1], key, ukm);
        const Bytes stack = stack_after([&] { ecDiversifyKEK(&TZ_28147_89[1], key.data(), ukm.data()); });
        EXPECT_EQ(key, keys.back());
        bool has_word = false;
        for (const Bytes& round : keys) {
            EXPECT_FALSE(holds_part_of(stack, round));
            has_word |= holds_word_of(stack, round);
        }
        words += has_word;
    }
    EXPECT_LT(words, 2u);
}

TEST(wiping_keys, octets_leave_nothing_of_a_private_key) {
    Random random;
    const Bytes octets = random.bytes(32);
    Digits d;
    Bytes out(32);
    EXPECT_FALSE(holds_part_of(stack_after([&] { ecLoadPrivateKeyValue(octets.data(), d.data()); }), octets));
    EXPECT_FALSE(holds_part_of(stack_after([&] { ecUnloadPrivateKeyValue(d.data(), out.data()); }), octets));
}

}  // namespace
