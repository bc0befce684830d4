// Comparison with GnuTLS: the cipher in two modes and its MAC, one hash with HMAC and PBKDF2, SHA-1, five curves, keys,
// certificates.
#include <gnutls/abstract.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <ctime>

#include "written_keys.hpp"

using namespace vrx::interop;
namespace {

class gnutls : public testing::Test {
protected:
    static void SetUpTestSuite() { introduce(std::string("GnuTLS ") + gnutls_check_version(nullptr)); }
};

/** A view of bytes for GnuTLS, which does not change them. */
gnutls_datum_t view(std::span<const std::uint8_t> bytes) {
    return {const_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}
gnutls_datum_t view(const std::string& text) {
    return view({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}
/** Memory that GnuTLS allocated. */
Bytes taken(gnutls_datum_t& datum) {
    Bytes bytes(datum.data, datum.data + datum.size);
    gnutls_free(datum.data);
    return bytes;
}
std::string text(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

void compare_ciphers(const std::string& letter, gnutls_cipher_algorithm_t algorithm, std::uint32_t our_mode) {
    for_sboxes(letter, 30, [&](Random& random, const Sboxes& sboxes) {
        const KeyAndIv secret = key_and_iv(random);
        const Bytes data = message_not_empty(random);
        const gnutls_datum_t key = view(secret.key);
        const gnutls_datum_t iv = view(secret.iv);
        for (const bool encrypt : {true, false}) {
            gnutls_cipher_hd_t cipher = nullptr;
            ASSERT_EQ(gnutls_cipher_init(&cipher, algorithm, const_cast<gnutls_datum_t*>(&key),
                                         const_cast<gnutls_datum_t*>(&iv)),
                      0);
            Bytes out(data.size());
            ASSERT_EQ(encrypt ? gnutls_cipher_encrypt2(cipher, data.data(), data.size(), out.data(), out.size())
                              : gnutls_cipher_decrypt2(cipher, data.data(), data.size(), out.data(), out.size()),
                      0);
            gnutls_cipher_deinit(cipher);
            ASSERT_TRUE(same(ours(random, our_mode, encrypt, *sboxes.table, Meshing::on, secret, data), out));
        }
    });
}

TEST_F(gnutls, cipher_feedback_with_meshing) {
    compare_ciphers("A", GNUTLS_CIPHER_GOST28147_CPA_CFB, VRX_MODE_GFB);
    compare_ciphers("B", GNUTLS_CIPHER_GOST28147_CPB_CFB, VRX_MODE_GFB);
    compare_ciphers("C", GNUTLS_CIPHER_GOST28147_CPC_CFB, VRX_MODE_GFB);
    compare_ciphers("D", GNUTLS_CIPHER_GOST28147_CPD_CFB, VRX_MODE_GFB);
    compare_ciphers("Z", GNUTLS_CIPHER_GOST28147_TC26Z_CFB, VRX_MODE_GFB);
}
TEST_F(gnutls, counter_with_meshing) { compare_ciphers("Z", GNUTLS_CIPHER_GOST28147_TC26Z_CNT, VRX_MODE_GAMM); }

TEST_F(gnutls, mac_with_meshing) {
    compare_macs("Z", 100, Meshing::on, [](const Sboxes&, const Digest& key, const Bytes& data) {
        Bytes out(4);
        EXPECT_EQ(gnutls_hmac_fast(GNUTLS_MAC_GOST28147_TC26Z_IMIT, key.data(), key.size(), data.data(), data.size(),
                                   out.data()),
                  0);
        return out;
    });
}

template <std::size_t size>
std::array<std::uint8_t, size> digest(gnutls_digest_algorithm_t algorithm, const Bytes& data) {
    std::array<std::uint8_t, size> out{};
    EXPECT_EQ(gnutls_hash_fast(algorithm, data.data(), data.size(), out.data()), 0);
    return out;
}

TEST_F(gnutls, digests) {
    compare_digests(cryptopro(), 300, [](const Bytes& data) { return digest<32>(GNUTLS_DIG_GOSTR_94, data); });
}

TEST_F(gnutls, hmac) {
    compare_hmacs(cryptopro(), 200, [](const Bytes& key, const Bytes& data) {
        Digest out{};
        EXPECT_EQ(gnutls_hmac_fast(GNUTLS_MAC_GOSTR_94, key.data(), key.size(), data.data(), data.size(), out.data()),
                  0);
        return out;
    });
}

TEST_F(gnutls, derived_keys) {
    compare_pbkdf2(cryptopro(), 50, [](const Bytes& password, const Bytes& salt, unsigned iterations) {
        Digest out{};
        const gnutls_datum_t key = view(password);
        const gnutls_datum_t s = view(salt);
        EXPECT_EQ(gnutls_pbkdf2(GNUTLS_MAC_GOSTR_94, &key, &s, iterations, out.data(), out.size()), 0);
        return out;
    });
}

TEST_F(gnutls, sha1) {
    compare_sha1(500, [](const Bytes& data) { return digest<20>(GNUTLS_DIG_SHA1, data); });
}

/** GnuTLS has names for five curves, but computes on only two of them, which are the same curve. */
constexpr const char* its_curves = "A XchA";
gnutls_ecc_curve_t curve(const EcParamSet& set) {
    return set.str_oid == std::string(ecc_A_str_oid) ? GNUTLS_ECC_CURVE_GOST256CPA : GNUTLS_ECC_CURVE_GOST256CPXA;
}

using PrivateKey = std::shared_ptr<gnutls_privkey_st>;
using PublicKey = std::shared_ptr<gnutls_pubkey_st>;
using FileKey = std::shared_ptr<gnutls_x509_privkey_int>;
using Certificate = std::shared_ptr<gnutls_x509_crt_int>;

template <typename T>
std::shared_ptr<T> made(int (*init)(T**), void (*deinit)(T*)) {
    T* raw = nullptr;
    EXPECT_EQ(init(&raw), 0);
    return {raw, deinit};
}

PublicKey empty_public_key() { return made(gnutls_pubkey_init, gnutls_pubkey_deinit); }

/** Imports a key pair. Numbers have the least significant octet first. */
struct Keys {
    PrivateKey secret = made(gnutls_privkey_init, gnutls_privkey_deinit);
    PublicKey open = empty_public_key();

    explicit Keys(const Pair& pair) {
        const Bytes point = pair.public_octets();
        const Bytes number = pair.private_octets();
        const gnutls_datum_t x = view(std::span(point).first(32));
        const gnutls_datum_t y = view(std::span(point).subspan(32));
        const gnutls_datum_t k = view(number);
        EXPECT_EQ(gnutls_privkey_import_gost_raw(secret.get(), curve(*pair.set), GNUTLS_DIG_GOSTR_94,
                                                 GNUTLS_GOST_PARAMSET_CP_A, &x, &y, &k),
                  0);
        EXPECT_EQ(gnutls_pubkey_import_gost_raw(open.get(), curve(*pair.set), GNUTLS_DIG_GOSTR_94,
                                                GNUTLS_GOST_PARAMSET_CP_A, &x, &y),
                  0);
    }
    [[nodiscard]] Bytes sign(const Digest& digest) const {
        const gnutls_datum_t hash = view(digest);
        gnutls_datum_t out{};
        EXPECT_EQ(gnutls_privkey_sign_hash(secret.get(), GNUTLS_DIG_GOSTR_94, 0, &hash, &out), 0);
        return taken(out);
    }
    [[nodiscard]] bool verify(const Digest& digest, const Bytes& octets) const {
        const gnutls_datum_t hash = view(digest);
        const gnutls_datum_t given = view(octets);
        return gnutls_pubkey_verify_hash2(open.get(), GNUTLS_SIGN_GOST_94, GNUTLS_VERIFY_ALLOW_BROKEN, &hash, &given) >=
               0;
    }
};

TEST_F(gnutls, signatures) {
    compare_signatures(its_curves, 2, [](const Pair& pair, const std::string&) { return Keys(pair); });
}

/**
 * GnuTLS omits zeros at the end of the number. If the OCTET STRING, with its tag and length, then has exactly 32
 * octets, its meaning is ambiguous.
 */
bool looks_bare(const Pair& pair) {
    const Bytes octets = pair.private_octets();
    return octets[31] == 0 && octets[30] == 0 && octets[29] != 0;
}

TEST_F(gnutls, private_key_files) {
    for_curves(its_curves, [](Random&, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(20); i != 0; --i) {
            const Pair pair(set);
            if (looks_bare(pair)) continue;
            gnutls_x509_privkey_t raw = nullptr;
            ASSERT_EQ(gnutls_privkey_export_x509(Keys(pair).secret.get(), &raw), 0);
            const FileKey exported(raw, gnutls_x509_privkey_deinit);
            gnutls_datum_t file{};
            ASSERT_EQ(gnutls_x509_privkey_export2_pkcs8(raw, GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, &file),
                      0);
            expect_private_key(pair, pem_contents("PRIVATE KEY", text(taken(file))));

            const std::string mine = pem("PRIVATE KEY", private_key_info(pair));
            const gnutls_datum_t given = view(mine);
            const FileKey read = made(gnutls_x509_privkey_init, gnutls_x509_privkey_deinit);
            ASSERT_EQ(
                gnutls_x509_privkey_import_pkcs8(read.get(), &given, GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN),
                0);
            gnutls_datum_t x{};
            gnutls_datum_t y{};
            gnutls_datum_t k{};
            gnutls_ecc_curve_t its_curve{};
            const PrivateKey key = made(gnutls_privkey_init, gnutls_privkey_deinit);
            ASSERT_EQ(gnutls_privkey_import_x509(key.get(), read.get(), GNUTLS_PRIVKEY_IMPORT_COPY), 0);
            ASSERT_EQ(gnutls_privkey_export_gost_raw2(key.get(), &its_curve, nullptr, nullptr, &x, &y, &k, 0), 0);
            EXPECT_EQ(its_curve, curve(set));
            Bytes number = taken(k);
            taken(x);
            taken(y);
            number.resize(32);
            EXPECT_EQ(hex(number), hex(pair.private_octets()));
        }
    });
}

TEST_F(gnutls, public_key_files) {
    for_curves(its_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(4); i != 0; --i) {
            const Pair pair(set);
            gnutls_datum_t file{};
            ASSERT_EQ(gnutls_pubkey_export2(Keys(pair).open.get(), GNUTLS_X509_FMT_PEM, &file), 0);
            expect_public_key(pair, pem_contents("PUBLIC KEY", text(taken(file))));

            Keys theirs(pair);
            const std::string mine = pem("PUBLIC KEY", public_key_info(pair));
            const gnutls_datum_t given = view(mine);
            theirs.open = empty_public_key();
            ASSERT_EQ(gnutls_pubkey_import(theirs.open.get(), &given, GNUTLS_X509_FMT_PEM), 0);
            const auto digest = random.value<Digest>();
            EXPECT_TRUE(theirs.verify(digest, octets(our_signature(pair, digest))));
        }
    });
}

Certificate empty_certificate() { return made(gnutls_x509_crt_init, gnutls_x509_crt_deinit); }

/** Creates an unsigned certificate for a name and a key. */
Certificate certificate_of(const std::string& name, const Keys& keys, bool authority, Random& random) {
    Certificate c = empty_certificate();
    const std::uint8_t serial = static_cast<std::uint8_t>(1 + random.below(127));
    const std::time_t now = std::time(nullptr);
    EXPECT_EQ(gnutls_x509_crt_set_version(c.get(), 3), 0);
    EXPECT_EQ(gnutls_x509_crt_set_serial(c.get(), &serial, 1), 0);
    EXPECT_EQ(gnutls_x509_crt_set_activation_time(c.get(), now - 3600), 0);
    EXPECT_EQ(gnutls_x509_crt_set_expiration_time(c.get(), now + 3600), 0);
    EXPECT_EQ(gnutls_x509_crt_set_dn(c.get(), ("CN=" + name).c_str(), nullptr), 0);
    EXPECT_EQ(gnutls_x509_crt_set_basic_constraints(c.get(), authority ? 1 : 0, -1), 0);
    EXPECT_EQ(gnutls_x509_crt_set_pubkey(c.get(), keys.open.get()), 0);
    return c;
}

/** Signs a certificate and returns it in DER. */
Bytes signed_octets(const Certificate& c, const Certificate& issuer, const Keys& keys) {
    gnutls_datum_t out{};
    EXPECT_EQ(gnutls_x509_crt_privkey_sign(c.get(), issuer.get(), keys.secret.get(), GNUTLS_DIG_GOSTR_94, 0), 0);
    EXPECT_EQ(gnutls_x509_crt_export2(c.get(), GNUTLS_X509_FMT_DER, &out), 0);
    return taken(out);
}
Certificate read(const Bytes& octets) {
    Certificate c = empty_certificate();
    const gnutls_datum_t given = view(octets);
    EXPECT_EQ(gnutls_x509_crt_import(c.get(), &given, GNUTLS_X509_FMT_DER), 0);
    return c;
}

TEST_F(gnutls, certificates) {
    for_curves(its_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(2); i != 0; --i) {
            const Pair anna(set);
            const Pair authority(set);
            const Keys issuer(authority);
            const Certificate unsigned_root = certificate_of("authority", issuer, true, random);
            const Certificate root = read(signed_octets(unsigned_root, unsigned_root, issuer));
            const Certificate leaf = certificate_of("Anna", Keys(anna), false, random);
            Bytes octets = signed_anew(random, signed_octets(leaf, root, issuer), anna, authority);
            const auto accepted = [&] {
                gnutls_x509_crt_t trusted = root.get();
                unsigned status = 0;
                EXPECT_EQ(gnutls_x509_crt_verify(read(octets).get(), &trusted, 1, GNUTLS_VERIFY_ALLOW_BROKEN, &status),
                          0);
                return status == 0;
            };
            EXPECT_TRUE(accepted());
            octets.back() ^= 1;
            EXPECT_FALSE(accepted());
        }
    });
}

}  // namespace
