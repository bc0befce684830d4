// Comparison with Nettle: both hashes with HMAC and PBKDF2, SHA-1, one curve, VKO.
#include <nettle/ecc-curve.h>
#include <nettle/gostdsa.h>
#include <nettle/gosthash94.h>
#include <nettle/hmac.h>
#include <nettle/nettle-meta.h>
#include <nettle/pbkdf2.h>
#include <nettle/sha1.h>
#include <nettle/version.h>

#include "interop.hpp"

using namespace vrx::interop;
namespace {

class nettle : public testing::Test {
protected:
    static void SetUpTestSuite() {
        introduce("nettle " + std::to_string(NETTLE_VERSION_MAJOR) + "." + std::to_string(NETTLE_VERSION_MINOR));
    }
};

Digest digest(const nettle_hash& hash, const Bytes& data) {
    gosthash94_ctx ctx;
    Digest out{};
    hash.init(&ctx);
    hash.update(&ctx, data.size(), data.data());
    hash.digest(&ctx, out.size(), out.data());
    return out;
}

TEST_F(nettle, digests) {
    compare_digests(test_set(), 300, [](const Bytes& data) { return digest(nettle_gosthash94, data); });
    compare_digests(cryptopro(), 300, [](const Bytes& data) { return digest(nettle_gosthash94cp, data); });
}

TEST_F(nettle, hmac) {
    compare_hmacs(test_set(), 200, [](const Bytes& key, const Bytes& data) {
        hmac_gosthash94_ctx ctx;
        Digest out{};
        hmac_gosthash94_set_key(&ctx, key.size(), key.data());
        hmac_gosthash94_update(&ctx, data.size(), data.data());
        hmac_gosthash94_digest(&ctx, out.size(), out.data());
        return out;
    });
    compare_hmacs(cryptopro(), 200, [](const Bytes& key, const Bytes& data) {
        hmac_gosthash94cp_ctx ctx;
        Digest out{};
        hmac_gosthash94cp_set_key(&ctx, key.size(), key.data());
        hmac_gosthash94cp_update(&ctx, data.size(), data.data());
        hmac_gosthash94cp_digest(&ctx, out.size(), out.data());
        return out;
    });
}

TEST_F(nettle, derived_keys) {
    compare_pbkdf2(cryptopro(), 50, [](const Bytes& password, const Bytes& salt, unsigned iterations) {
        Digest out{};
        pbkdf2_hmac_gosthash94cp(password.size(), password.data(), iterations, salt.size(), salt.data(), out.size(),
                                 out.data());
        return out;
    });
}

TEST_F(nettle, sha1) {
    compare_sha1(500, [](const Bytes& data) {
        std::array<std::uint8_t, 20> out{};
        sha1_ctx ctx;
        sha1_init(&ctx);
        sha1_update(&ctx, data.size(), data.data());
        sha1_digest(&ctx, out.size(), out.data());
        return out;
    });
}

/** A GMP integer whose destructor frees it. */
struct Number {
    mpz_t n;
    explicit Number(const Bytes& big_endian) {
        mpz_init(n);
        mpz_import(n, big_endian.size(), 1, 1, 0, 0, big_endian.data());
    }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;
    ~Number() { mpz_clear(n); }
};

Bytes big_endian(const mpz_t n) {
    Bytes octets(32);
    std::size_t size = 0;
    mpz_export(octets.data(), &size, 1, 1, 0, 0, n);
    std::rotate(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(size), octets.end());
    return octets;
}

/** The curve gc256b is CryptoPro-A. Digests are octets, least significant first, as in this library. */
class Party {
public:
    explicit Party(const Pair& pair) {
        ecc_scalar_init(&d_, nettle_get_gost_gc256b());
        ecc_point_init(&key_, nettle_get_gost_gc256b());
        EXPECT_EQ(ecc_scalar_set(&d_, Number(vrx::interop::big_endian(pair.d.data())).n), 1);
        EXPECT_EQ(ecc_point_set(&key_, Number(vrx::interop::big_endian(pair.key.x)).n,
                                Number(vrx::interop::big_endian(pair.key.y)).n),
                  1);
    }
    Party(const Party&) = delete;
    Party& operator=(const Party&) = delete;
    ~Party() {
        ecc_point_clear(&key_);
        ecc_scalar_clear(&d_);
    }

    [[nodiscard]] Bytes sign(const Digest& digest) const {
        dsa_signature made;
        dsa_signature_init(&made);
        gostdsa_sign(
            &d_, nullptr, [](void*, std::size_t size, std::uint8_t* out) { fill(out, size); }, digest.size(),
            digest.data(), &made);
        Bytes out = big_endian(made.s);
        const Bytes r = big_endian(made.r);
        out.insert(out.end(), r.begin(), r.end());
        dsa_signature_clear(&made);
        return out;
    }
    [[nodiscard]] bool verify(const Digest& digest, const Bytes& octets) const {
        dsa_signature given;
        dsa_signature_init(&given);
        mpz_import(given.s, 32, 1, 1, 0, 0, octets.data());
        mpz_import(given.r, 32, 1, 1, 0, 0, octets.data() + 32);
        const bool right = gostdsa_verify(&key_, digest.size(), digest.data(), &given) == 1;
        dsa_signature_clear(&given);
        return right;
    }
    /** Returns the shared point in octets, before the hash. */
    [[nodiscard]] Bytes agree(const Party& other, const Ukm& ukm) const {
        Bytes octets(64);
        gostdsa_vko(&d_, &other.key_, ukm.size(), ukm.data(), octets.data());
        return octets;
    }

private:
    ecc_scalar d_;
    ecc_point key_;
};

TEST_F(nettle, signatures) {
    compare_signatures("A", 20, [](const Pair& pair, const std::string&) { return Party(pair); });
}

TEST_F(nettle, key_agreement) {
    for_curves("A", [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(20); i != 0; --i) {
            const Pair mine(set);
            const Pair other(set);
            const Ukm ukm = any_ukm(random);
            const Bytes shared = Party(mine).agree(Party(other), ukm);
            ASSERT_TRUE(same(our_kek(set, test_set(), ukm, mine.d, other.key), digest(nettle_gosthash94, shared)));
            ASSERT_TRUE(same(our_kek(set, cryptopro(), ukm, mine.d, other.key), digest(nettle_gosthash94cp, shared)));
        }
    });
}

}  // namespace
