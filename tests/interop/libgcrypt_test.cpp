// Comparison with libgcrypt: the cipher in three modes, one with key meshing, MAC, both hashes, SHA-1, all curves, VKO.
#include <gcrypt.h>

#include "interop.hpp"

using namespace vrx::interop;
namespace {

class libgcrypt : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const char* const version = gcry_check_version(nullptr);
        ASSERT_NE(version, nullptr);
        introduce(std::string("libgcrypt ") + version);
        gcry_control(GCRYCTL_ENABLE_QUICK_RANDOM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    }
};

Bytes encrypted(int algorithm, int mode, bool encrypt, const Sboxes& sboxes, const KeyAndIv& secret,
                const Bytes& data) {
    gcry_cipher_hd_t cipher = nullptr;
    EXPECT_EQ(gcry_cipher_open(&cipher, algorithm, mode, 0), 0U);
    EXPECT_EQ(gcry_cipher_ctl(cipher, GCRYCTL_SET_SBOX, const_cast<char*>(sboxes.oid), 0), 0U);
    EXPECT_EQ(gcry_cipher_setkey(cipher, secret.key.data(), secret.key.size()), 0U);
    EXPECT_EQ(gcry_cipher_setiv(cipher, secret.iv.data(), secret.iv.size()), 0U);
    Bytes out(data.size());
    EXPECT_EQ(
        (encrypt ? gcry_cipher_encrypt : gcry_cipher_decrypt)(cipher, out.data(), out.size(), data.data(), data.size()),
        0U);
    gcry_cipher_close(cipher);
    return out;
}

void compare_ciphers(int algorithm, int their_mode, std::uint32_t our_mode, Meshing meshing) {
    for_sboxes(meshing == Meshing::on ? "ABCDZ" : "TABCDZ", 30, [&](Random& random, const Sboxes& sboxes) {
        const KeyAndIv secret = key_and_iv(random);
        const Bytes data = our_mode == VRX_MODE_GFB ? message_not_empty(random) : whole_blocks(random);
        for (const bool encrypt : {true, false})
            ASSERT_TRUE(same(ours(random, our_mode, encrypt, *sboxes.table, meshing, secret, data),
                             encrypted(algorithm, their_mode, encrypt, sboxes, secret, data)));
    });
}

TEST_F(libgcrypt, codebook) { compare_ciphers(GCRY_CIPHER_GOST28147, GCRY_CIPHER_MODE_ECB, VRX_MODE_SS, Meshing::off); }
TEST_F(libgcrypt, cipher_block_chaining) {
    compare_ciphers(GCRY_CIPHER_GOST28147, GCRY_CIPHER_MODE_CBC, VRX_MODE_CBC, Meshing::off);
}
TEST_F(libgcrypt, cipher_feedback) {
    compare_ciphers(GCRY_CIPHER_GOST28147, GCRY_CIPHER_MODE_CFB, VRX_MODE_GFB, Meshing::off);
}
TEST_F(libgcrypt, cipher_feedback_with_meshing) {
    compare_ciphers(GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB, VRX_MODE_GFB, Meshing::on);
}

TEST_F(libgcrypt, mac) {
    compare_macs("TABCDZ", 30, Meshing::off, [](const Sboxes& sboxes, const Digest& key, const Bytes& data) {
        gcry_mac_hd_t mac = nullptr;
        EXPECT_EQ(gcry_mac_open(&mac, GCRY_MAC_GOST28147_IMIT, 0, nullptr), 0U);
        EXPECT_EQ(gcry_mac_ctl(mac, GCRYCTL_SET_SBOX, const_cast<char*>(sboxes.oid), 0), 0U);
        EXPECT_EQ(gcry_mac_setkey(mac, key.data(), key.size()), 0U);
        EXPECT_EQ(gcry_mac_write(mac, data.data(), data.size()), 0U);
        Bytes out(4);
        std::size_t size = out.size();
        EXPECT_EQ(gcry_mac_read(mac, out.data(), &size), 0U);
        gcry_mac_close(mac);
        return out;
    });
}

/** The parameter sets. GCRY_MD_GOSTR3411_94 uses the test set. */
struct Hash {
    int algorithm;
    const vrx_gostr3411_par& set;
};
constexpr Hash hashes[] = {{GCRY_MD_GOSTR3411_94, GOSTR3411_OIDS[0]}, {GCRY_MD_GOSTR3411_CP, GOSTR3411_OIDS[1]}};

template <std::size_t size>
std::array<std::uint8_t, size> digest(int algorithm, const Bytes& data) {
    std::array<std::uint8_t, size> out{};
    EXPECT_EQ(gcry_md_get_algo_dlen(algorithm), size);
    gcry_md_hash_buffer(algorithm, out.data(), data.data(), data.size());
    return out;
}

TEST_F(libgcrypt, digests) {
    for (const Hash& h : hashes)
        compare_digests(h.set, 300, [&](const Bytes& data) { return digest<32>(h.algorithm, data); });
}

TEST_F(libgcrypt, hmac) {
    for (const Hash& h : hashes)
        compare_hmacs(h.set, 200, [&](const Bytes& key, const Bytes& data) {
            Digest out{};
            gcry_md_hd_t handle = nullptr;
            EXPECT_EQ(gcry_md_open(&handle, h.algorithm, GCRY_MD_FLAG_HMAC), 0U);
            EXPECT_EQ(gcry_md_setkey(handle, key.data(), key.size()), 0U);
            gcry_md_write(handle, data.data(), data.size());
            std::copy_n(gcry_md_read(handle, 0), out.size(), out.begin());
            gcry_md_close(handle);
            return out;
        });
}

TEST_F(libgcrypt, derived_keys) {
    for (const Hash& h : hashes)
        compare_pbkdf2(h.set, 50, [&](const Bytes& password, const Bytes& salt, unsigned iterations) {
            Digest out{};
            EXPECT_EQ(gcry_kdf_derive(password.data(), password.size(), GCRY_KDF_PBKDF2, h.algorithm, salt.data(),
                                      salt.size(), iterations, out.size(), out.data()),
                      0U);
            return out;
        });
}

TEST_F(libgcrypt, sha1) {
    compare_sha1(500, [](const Bytes& data) { return digest<20>(GCRY_MD_SHA1, data); });
}

/** An S-expression. */
class Expression {
public:
    Expression() = default;
    explicit Expression(const std::string& text) {
        EXPECT_EQ(gcry_sexp_new(&value_, text.data(), text.size(), 1), 0U) << text;
    }
    Expression(Expression&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    ~Expression() { gcry_sexp_release(value_); }
    Expression& operator=(Expression&&) = delete;

    [[nodiscard]] gcry_sexp_t get() const { return value_; }
    [[nodiscard]] gcry_sexp_t* slot() { return &value_; }
    /** Returns the number after a name: 32 octets, most significant first. */
    [[nodiscard]] Bytes number(const char* name) const {
        gcry_sexp_t found = gcry_sexp_find_token(value_, name, 0);
        gcry_mpi_t n = gcry_sexp_nth_mpi(found, 1, GCRYMPI_FMT_USG);
        Bytes octets(32);
        std::size_t size = 0;
        EXPECT_EQ(gcry_mpi_print(GCRYMPI_FMT_USG, octets.data(), octets.size(), &size, n), 0U);
        std::rotate(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(size), octets.end());
        gcry_mpi_release(n);
        gcry_sexp_release(found);
        return octets;
    }

private:
    gcry_sexp_t value_ = nullptr;
};

std::string text(const std::uint32_t* digits) { return "#" + hex(big_endian(digits)) + "#"; }

/** Curves have dotted identifiers. All numbers and the digest have the most significant octet first. */
struct Signer {
    Expression private_key;
    Expression public_key;

    explicit Signer(const Pair& pair)
        : private_key("(private-key " + curve(pair) + "(d " + text(pair.d.data()) + ")))"),
          public_key("(public-key " + curve(pair) + "))") {}
    static std::string curve(const Pair& pair) {
        return std::string("(ecc (curve \"") + pair.set->str_oid + "\")(q #04" + hex(big_endian(pair.key.x)) +
               hex(big_endian(pair.key.y)) + "#)";
    }
    static Expression value(const Digest& digest) {
        return Expression("(data(flags gost)(value #" + hex(reversed(digest)) + "#))");
    }
    [[nodiscard]] Bytes sign(const Digest& digest) const {
        Expression made;
        EXPECT_EQ(gcry_pk_sign(made.slot(), value(digest).get(), private_key.get()), 0U);
        Bytes out = made.number("s");
        const Bytes r = made.number("r");
        out.insert(out.end(), r.begin(), r.end());
        return out;
    }
    [[nodiscard]] bool verify(const Digest& digest, const Bytes& octets) const {
        const std::string s = hex(octets);
        const Expression given("(sig-val(gost(r #" + s.substr(64) + "#)(s #" + s.substr(0, 64) + "#)))");
        return gcry_pk_verify(given.get(), value(digest).get(), public_key.get()) == 0;
    }
};

TEST_F(libgcrypt, signatures) {
    compare_signatures(all_curves, 4, [](const Pair& pair, const std::string&) { return Signer(pair); });
}

/** A number whose destructor frees it. */
using Number = std::unique_ptr<gcry_mpi, decltype(&gcry_mpi_release)>;
Number number(const Bytes& big_endian) {
    gcry_mpi_t n = nullptr;
    EXPECT_EQ(gcry_mpi_scan(&n, GCRYMPI_FMT_USG, big_endian.data(), big_endian.size(), nullptr), 0U);
    return {n, gcry_mpi_release};
}
Bytes little_endian(gcry_mpi_t n) {
    Bytes octets(32);
    std::size_t size = 0;
    EXPECT_EQ(gcry_mpi_print(GCRYMPI_FMT_USG, octets.data(), octets.size(), &size, n), 0U);
    std::reverse(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(size));
    return octets;
}

/**
 * libgcrypt has no VKO. This function computes VKO (RFC 4357, section 5.2) with the points and the hash of libgcrypt.
 */
TEST_F(libgcrypt, key_agreement) {
    for_curves(all_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(4); i != 0; --i) {
            const Pair mine(set);
            const Pair other(set);
            const Ukm ukm = any_ukm(random);
            gcry_ctx_t curve = nullptr;
            ASSERT_EQ(gcry_mpi_ec_new(&curve, nullptr, set.str_oid), 0U);
            const Number order = number(big_endian(set.q));
            const Number factor = number(reversed(ukm));
            gcry_mpi_mulm(factor.get(), factor.get(), number(big_endian(mine.d.data())).get(), order.get());
            gcry_mpi_point_t point = gcry_mpi_point_new(0);
            const Number one = number({1});
            gcry_mpi_point_set(point, number(big_endian(other.key.x)).get(), number(big_endian(other.key.y)).get(),
                               one.get());
            gcry_mpi_ec_mul(point, factor.get(), point, curve);
            const Number x = number({0});
            const Number y = number({0});
            ASSERT_EQ(gcry_mpi_ec_get_affine(x.get(), y.get(), point, curve), 0);
            gcry_mpi_point_release(point);
            gcry_ctx_release(curve);
            Bytes shared = little_endian(x.get());
            const Bytes rest = little_endian(y.get());
            shared.insert(shared.end(), rest.begin(), rest.end());
            for (const auto& [algorithm, hash] : hashes)
                ASSERT_TRUE(same(our_kek(set, hash, ukm, mine.d, other.key), digest<32>(algorithm, shared)));
        }
    });
}

}  // namespace
