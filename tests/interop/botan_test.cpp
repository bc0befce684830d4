// Comparison with Botan: the cipher with the S-boxes of both hashes, one hash with HMAC and PBKDF2, SHA-1, all curves,
// public keys.
#include <botan/block_cipher.h>
#include <botan/cipher_mode.h>
#include <botan/gost_3410.h>
#include <botan/hash.h>
#include <botan/mac.h>
#include <botan/pubkey.h>
#include <botan/pwdhash.h>
#include <botan/rng.h>
#include <botan/version.h>

#include "interop.hpp"

using namespace vrx::interop;
namespace {

class botan : public testing::Test {
protected:
    static void SetUpTestSuite() { introduce("Botan " + Botan::short_version_string()); }
};

/** Botan has only the S-boxes of the hashes, with the same names. */
void compare_ciphers(const std::string& mode, std::uint32_t our_mode) {
    const std::pair<const char*, const vrx_tz&> tables[] = {{"R3411_94_TestParam", TZ_3411_94[0]},
                                                            {"R3411_CryptoPro", TZ_3411_94[1]}};
    Random random;
    for (const auto& [name, table] : tables)
        for (unsigned i = cases(50); i != 0; --i) {
            const KeyAndIv secret = key_and_iv(random);
            const Bytes data = our_mode == VRX_MODE_GFB ? message_not_empty(random) : whole_blocks(random);
            for (const bool encrypt : {true, false}) {
                const auto cipher = Botan::Cipher_Mode::create(std::string("GOST-28147-89(") + name + ")" + mode,
                                                               encrypt ? Botan::ENCRYPTION : Botan::DECRYPTION);
                ASSERT_TRUE(cipher);
                cipher->set_key(secret.key.data(), secret.key.size());
                cipher->start(secret.iv.data(), secret.iv.size());
                Botan::secure_vector<std::uint8_t> theirs(data.begin(), data.end());
                cipher->finish(theirs);
                ASSERT_TRUE(same(ours(random, our_mode, encrypt, table, Meshing::off, secret, data), theirs))
                    << name << ", ";
            }
        }
}

TEST_F(botan, codebook) {
    const std::pair<const char*, const vrx_tz&> tables[] = {{"R3411_94_TestParam", TZ_3411_94[0]},
                                                            {"R3411_CryptoPro", TZ_3411_94[1]}};
    Random random;
    for (const auto& [name, table] : tables)
        for (unsigned i = cases(50); i != 0; --i) {
            const KeyAndIv secret = key_and_iv(random);
            const Bytes data = whole_blocks(random);
            const auto cipher = Botan::BlockCipher::create(std::string("GOST-28147-89(") + name + ")");
            ASSERT_TRUE(cipher);
            cipher->set_key(secret.key.data(), secret.key.size());
            for (const bool encrypt : {true, false}) {
                Bytes theirs(data.size());
                if (encrypt)
                    cipher->encrypt_n(data.data(), theirs.data(), data.size() / 8);
                else
                    cipher->decrypt_n(data.data(), theirs.data(), data.size() / 8);
                ASSERT_TRUE(same(ours(random, VRX_MODE_SS, encrypt, table, Meshing::off, secret, data), theirs))
                    << name << ", ";
            }
        }
}
TEST_F(botan, cipher_block_chaining) { compare_ciphers("/CBC/NoPadding", VRX_MODE_CBC); }
TEST_F(botan, cipher_feedback) { compare_ciphers("/CFB", VRX_MODE_GFB); }

TEST_F(botan, digests) {
    const auto hash = Botan::HashFunction::create_or_throw("GOST-34.11");
    compare_digests(cryptopro(), 300, [&](const Bytes& data) {
        Digest out{};
        hash->update(data.data(), data.size());
        hash->final(out.data());
        return out;
    });
}

TEST_F(botan, hmac) {
    const auto mac = Botan::MessageAuthenticationCode::create_or_throw("HMAC(GOST-34.11)");
    compare_hmacs(cryptopro(), 200, [&](const Bytes& key, const Bytes& data) {
        Digest out{};
        mac->set_key(key.data(), key.size());
        mac->update(data.data(), data.size());
        mac->final(out.data());
        return out;
    });
}

TEST_F(botan, derived_keys) {
    const auto family = Botan::PasswordHashFamily::create_or_throw("PBKDF2(HMAC(GOST-34.11))");
    compare_pbkdf2(cryptopro(), 50, [&](const Bytes& password, const Bytes& salt, unsigned iterations) {
        Digest out{};
        family->from_params(iterations)
            ->derive_key(out.data(), out.size(), reinterpret_cast<const char*>(password.data()), password.size(),
                         salt.data(), salt.size());
        return out;
    });
}

TEST_F(botan, sha1) {
    const auto hash = Botan::HashFunction::create_or_throw("SHA-1");
    compare_sha1(500, [&](const Bytes& data) {
        std::array<std::uint8_t, 20> out{};
        hash->update(data.data(), data.size());
        hash->final(out.data());
        return out;
    });
}

/** The random source of all peers. */
class Source : public Botan::RandomNumberGenerator {
public:
    void randomize(std::uint8_t out[], std::size_t size) override { fill(out, size); }
    void add_entropy(const std::uint8_t[], std::size_t) override {}
    [[nodiscard]] bool accepts_input() const override { return false; }
    [[nodiscard]] std::string name() const override { return "cheap"; }
    void clear() override {}
    [[nodiscard]] bool is_seeded() const override { return true; }
};
Source source;

Botan::BigInt number(const std::uint32_t* digits) {
    const Bytes octets = big_endian(digits);
    return {octets.data(), octets.size()};
}

Botan::EC_Group group(const EcParamSet& set) {
    return {number(set.p),          number(set.a), number(set.b), number(set.G.x), number(set.G.y), number(set.q), 1,
            Botan::OID(set.str_oid)};
}

/** Digests and signatures have the same byte orders as in this library. */
class Signer {
public:
    explicit Signer(const Pair& pair)
        : key_(source, group(*pair.set), number(pair.d.data())), signer_(key_, source, "Raw"), verifier_(key_, "Raw") {
        EXPECT_EQ(key_.public_point().get_affine_x(), number(pair.key.x));
        EXPECT_EQ(key_.public_point().get_affine_y(), number(pair.key.y));
    }
    Bytes sign(const Digest& digest) { return signer_.sign_message(digest.data(), digest.size(), source); }
    bool verify(const Digest& digest, const Bytes& octets) {
        return verifier_.verify_message(digest.data(), digest.size(), octets.data(), octets.size());
    }

private:
    Botan::GOST_3410_PrivateKey key_;
    Botan::PK_Signer signer_;
    Botan::PK_Verifier verifier_;
};

TEST_F(botan, signatures) {
    compare_signatures(all_curves, 2, [](const Pair& pair, const std::string&) { return Signer(pair); });
}

/** Botan has no VKO. This function computes VKO (RFC 4357, section 5.2) with the points and the hash of Botan. */
TEST_F(botan, key_agreement) {
    const auto hash = Botan::HashFunction::create_or_throw("GOST-34.11");
    for_curves(all_curves, [&](Random& random, const EcParamSet& set, const std::string&) {
        const Botan::EC_Group curve = group(set);
        for (unsigned i = cases(2); i != 0; --i) {
            const Pair mine(set);
            const Pair other(set);
            const Ukm ukm = any_ukm(random);
            const Bytes material = reversed(ukm);
            const Botan::BigInt factor =
                Botan::BigInt(material.data(), material.size()) * number(mine.d.data()) % curve.get_order();
            const Botan::PointGFp shared = curve.point(number(other.key.x), number(other.key.y)) * factor;
            for (const Botan::BigInt& coordinate : {shared.get_affine_x(), shared.get_affine_y()}) {
                const auto octets = Botan::BigInt::encode_1363(coordinate, 32);
                hash->update(reversed(octets));
            }
            Digest kek{};
            hash->final(kek.data());
            ASSERT_TRUE(same(our_kek(set, cryptopro(), ukm, mine.d, other.key), kek));
        }
    });
}

}  // namespace
