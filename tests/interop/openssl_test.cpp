// Comparison with OpenSSL and its GOST engine: the cipher in three modes and its MAC, one hash with HMAC and PBKDF2,
// all curves, VKO, key transport, keys, certificates and CMS messages. SHA-1 needs no engine.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/cms.h>
#include <openssl/crypto.h>
#include <openssl/engine.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include "written_keys.hpp"

using namespace vrx::interop;
namespace der = vrx::app::der;
namespace {

TEST(openssl, sha1) {
    introduce(OpenSSL_version(OPENSSL_VERSION));
    compare_sha1(500, [](const Bytes& data) {
        std::array<std::uint8_t, 20> out{};
        EXPECT_EQ(EVP_Digest(data.data(), data.size(), out.data(), nullptr, EVP_sha1(), nullptr), 1);
        return out;
    });
}

/** Returns the GOST engine, or nullptr if it is not installed. */
ENGINE* engine() {
    static ENGINE* const gost = []() -> ENGINE* {
        OPENSSL_init_crypto(OPENSSL_INIT_ENGINE_DYNAMIC, nullptr);
        ENGINE* const e = ENGINE_by_id("gost");
        if (e == nullptr || ENGINE_init(e) == 0) return nullptr;
        // The engine is made the default engine, so that it provides the methods for keys, certificates and messages.
        ENGINE_set_default(e, ENGINE_METHOD_ALL & ~ENGINE_METHOD_RAND);
        introduce("the GOST engine of OpenSSL");
        return e;
    }();
    return gost;
}

class gost_engine : public testing::Test {
protected:
    void SetUp() override {
        if (engine() == nullptr)
            GTEST_SKIP() << "OpenSSL's engine gost is not installed (Debian: libengine-gost-openssl)";
    }
};

/** Sets the engine's S-boxes for CFB and CBC. */
void choose(const Sboxes& sboxes) { ASSERT_EQ(ENGINE_ctrl_cmd_string(engine(), "CRYPT_PARAMS", sboxes.name, 0), 1); }

void compare_ciphers(const char* letters, int algorithm, std::uint32_t our_mode, Meshing meshing) {
    for_sboxes(letters, 30, [&](Random& random, const Sboxes& sboxes) {
        choose(sboxes);
        const KeyAndIv secret = key_and_iv(random);
        const Bytes data = our_mode == VRX_MODE_CBC ? whole_blocks(random) : message_not_empty(random);
        for (const bool encrypt : {true, false}) {
            const std::shared_ptr<EVP_CIPHER_CTX> ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
            ASSERT_EQ(EVP_CipherInit_ex(ctx.get(), ENGINE_get_cipher(engine(), algorithm), engine(), secret.key.data(),
                                        secret.iv.data(), encrypt ? 1 : 0),
                      1);
            EVP_CIPHER_CTX_set_padding(ctx.get(), 0);
            Bytes out(data.size() + 8);
            int written = 0;
            int rest = 0;
            ASSERT_EQ(EVP_CipherUpdate(ctx.get(), out.data(), &written, data.data(), static_cast<int>(data.size())), 1);
            ASSERT_EQ(EVP_CipherFinal_ex(ctx.get(), out.data() + written, &rest), 1);
            out.resize(static_cast<std::size_t>(written + rest));
            ASSERT_TRUE(same(ours(random, our_mode, encrypt, *sboxes.table, meshing, secret, data), out));
        }
    });
}

TEST_F(gost_engine, cipher_feedback_with_meshing) {
    compare_ciphers("TABCDZ", NID_id_Gost28147_89, VRX_MODE_GFB, Meshing::on);
}
TEST_F(gost_engine, counter_with_meshing) { compare_ciphers("A", NID_gost89_cnt, VRX_MODE_GAMM, Meshing::on); }
TEST_F(gost_engine, cipher_block_chaining) { compare_ciphers("TABCDZ", NID_gost89_cbc, VRX_MODE_CBC, Meshing::off); }

TEST_F(gost_engine, mac_with_meshing) {
    compare_macs("A", 100, Meshing::on, [](const Sboxes&, const Digest& key, const Bytes& data) {
        const std::shared_ptr<EVP_PKEY> k(
            EVP_PKEY_new_mac_key(NID_id_Gost28147_89_MAC, engine(), key.data(), static_cast<int>(key.size())),
            EVP_PKEY_free);
        const std::shared_ptr<EVP_MD_CTX> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
        Bytes out(4);
        std::size_t size = out.size();
        EXPECT_EQ(EVP_DigestSignInit(ctx.get(), nullptr, ENGINE_get_digest(engine(), NID_id_Gost28147_89_MAC), engine(),
                                     k.get()),
                  1);
        EXPECT_EQ(EVP_DigestSignUpdate(ctx.get(), data.data(), data.size()), 1);
        EXPECT_EQ(EVP_DigestSignFinal(ctx.get(), out.data(), &size), 1);
        EXPECT_EQ(size, out.size());
        return out;
    });
}

const EVP_MD* hash() { return ENGINE_get_digest(engine(), NID_id_GostR3411_94); }

/**
 * The engine computes another digest for the empty message, because it processes a block of zeros without adding to the
 * length.
 */
TEST_F(gost_engine, digests) {
    compare_digests(
        cryptopro(), 300,
        [](const Bytes& data) {
            Digest out{};
            EXPECT_EQ(EVP_Digest(data.data(), data.size(), out.data(), nullptr, hash(), engine()), 1);
            return out;
        },
        1);
}

TEST_F(gost_engine, hmac) {
    compare_hmacs(cryptopro(), 200, [](const Bytes& key, const Bytes& data) {
        Digest out{};
        EXPECT_NE(HMAC(hash(), key.data(), static_cast<int>(key.size()), data.data(), data.size(), out.data(), nullptr),
                  nullptr);
        return out;
    });
}

TEST_F(gost_engine, derived_keys) {
    compare_pbkdf2(cryptopro(), 50, [](const Bytes& password, const Bytes& salt, unsigned iterations) {
        Digest out{};
        EXPECT_EQ(PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(password.data()), static_cast<int>(password.size()),
                                    salt.data(), static_cast<int>(salt.size()), static_cast<int>(iterations), hash(),
                                    static_cast<int>(out.size()), out.data()),
                  1);
        return out;
    });
}

TEST_F(gost_engine, keys_of_pkcs12) {
    Random random;
    for (unsigned i = cases(50); i != 0; --i) {
        Bytes password = random.bytes(random.below(70));
        Bytes salt = random.bytes(1 + random.below(70));
        const int id = 1 + static_cast<int>(random.below(3));
        const int iterations = 1 + static_cast<int>(random.below(20));
        Bytes mine(1 + random.below(32));
        Bytes theirs(mine.size());
        const int size = static_cast<int>(mine.size());
        ASSERT_EQ(PKCS12_key_gen_uni(password.data(), static_cast<int>(password.size()), salt.data(),
                                     static_cast<int>(salt.size()), id, iterations, size, theirs.data(), hash()),
                  1);
        ASSERT_EQ(GOSTR3411_PBA_Derive(password.data(), static_cast<int>(password.size()), salt.data(),
                                       static_cast<int>(salt.size()), static_cast<std::uint64_t>(iterations), id,
                                       cryptopro().oid, cryptopro().oid_length, mine.data(), size),
                  VRX_OK);
        ASSERT_TRUE(same(mine, theirs));
    }
}

using Key = std::shared_ptr<EVP_PKEY>;
using Context = std::shared_ptr<EVP_PKEY_CTX>;
using Stream = std::shared_ptr<BIO>;

Context context(const Key& key) { return {EVP_PKEY_CTX_new(key.get(), engine()), EVP_PKEY_CTX_free}; }

Stream stream() { return {BIO_new(BIO_s_mem()), BIO_free}; }
Stream stream(std::span<const std::uint8_t> bytes) {
    return {BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())), BIO_free};
}
Stream stream(const std::string& text) {
    return stream(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}
Bytes contents(const Stream& s) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(s.get(), &data);
    return {data, data + size};
}

/** Decodes a PEM block with OpenSSL. */
Bytes pem_octets(const std::string& text) {
    char* label = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    long size = 0;
    EXPECT_EQ(PEM_read_bio(stream(text).get(), &label, &header, &data, &size), 1);
    Bytes octets(data, data + size);
    OPENSSL_free(label);
    OPENSSL_free(header);
    OPENSSL_free(data);
    return octets;
}

/** Parses octets with OpenSSL; all of them must be used. */
template <typename T>
std::shared_ptr<T> read(T* (*function)(T**, const unsigned char**, long), void (*free)(T*),
                        std::span<const std::uint8_t> octets) {
    const unsigned char* at = octets.data();
    std::shared_ptr<T> value(function(nullptr, &at, static_cast<long>(octets.size())), free);
    EXPECT_TRUE(value);
    EXPECT_EQ(at, octets.data() + octets.size());
    return value;
}

/** The engine's form of a key pair, read from files of this library. */
Key key_of(const Pair& pair) {
    const auto info =
        read(d2i_PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free, pem_octets(pem("PRIVATE KEY", private_key_info(pair))));
    Key key(EVP_PKCS82PKEY(info.get()), EVP_PKEY_free);
    EXPECT_TRUE(key);
    return key;
}
Key public_key_of(const Pair& pair) {
    return read(d2i_PUBKEY, EVP_PKEY_free, pem_octets(pem("PUBLIC KEY", public_key_info(pair))));
}

TEST_F(gost_engine, private_key_files) {
    for_curves(all_curves, [](Random&, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(4); i != 0; --i) {
            const Pair pair(set);
            const Stream file = stream();
            ASSERT_EQ(
                PEM_write_bio_PKCS8PrivateKey(file.get(), key_of(pair).get(), nullptr, nullptr, 0, nullptr, nullptr),
                1);
            const Bytes text = contents(file);
            expect_private_key(pair,
                               pem_contents("PRIVATE KEY", {reinterpret_cast<const char*>(text.data()), text.size()}));
        }
    });
}

TEST_F(gost_engine, public_key_files) {
    for_curves(all_curves, [](Random&, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(4); i != 0; --i) {
            const Pair pair(set);
            // The public key that the engine derived from the private key, and the public key that it read.
            for (const Key& key : {key_of(pair), public_key_of(pair)}) {
                const Stream file = stream();
                ASSERT_EQ(PEM_write_bio_PUBKEY(file.get(), key.get()), 1);
                const Bytes text = contents(file);
                expect_public_key(
                    pair, pem_contents("PUBLIC KEY", {reinterpret_cast<const char*>(text.data()), text.size()}));
            }
        }
    });
}

/** Digests and signatures have the same byte orders as in this library. */
struct Signer {
    Key pair;
    Key open;

    [[nodiscard]] Bytes sign(const Digest& digest) const {
        const Context ctx = context(pair);
        Bytes out(64);
        std::size_t size = out.size();
        EXPECT_EQ(EVP_PKEY_sign_init(ctx.get()), 1);
        EXPECT_EQ(EVP_PKEY_sign(ctx.get(), out.data(), &size, digest.data(), digest.size()), 1);
        out.resize(size);
        return out;
    }
    [[nodiscard]] bool verify(const Digest& digest, const Bytes& octets) const {
        const Context ctx = context(open);
        EXPECT_EQ(EVP_PKEY_verify_init(ctx.get()), 1);
        return EVP_PKEY_verify(ctx.get(), octets.data(), octets.size(), digest.data(), digest.size()) == 1;
    }
};

TEST_F(gost_engine, signatures) {
    compare_signatures(all_curves, 8, [](const Pair& pair, const std::string&) {
        return Signer{key_of(pair), public_key_of(pair)};
    });
}

TEST_F(gost_engine, key_agreement) {
    for_curves(all_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(8); i != 0; --i) {
            const Pair mine(set);
            const Pair other(set);
            Ukm ukm = any_ukm(random);
            const Context ctx = context(key_of(mine));
            Digest kek{};
            std::size_t size = kek.size();
            ASSERT_EQ(EVP_PKEY_derive_init(ctx.get()), 1);
            ASSERT_EQ(EVP_PKEY_derive_set_peer(ctx.get(), public_key_of(other).get()), 1);
            ASSERT_GT(
                EVP_PKEY_CTX_ctrl(ctx.get(), -1, EVP_PKEY_OP_DERIVE, EVP_PKEY_CTRL_SET_IV, ukm.size(), ukm.data()), 0);
            ASSERT_EQ(EVP_PKEY_derive(ctx.get(), kek.data(), &size), 1);
            ASSERT_TRUE(same(our_kek(set, cryptopro(), ukm, mine.d, other.key), kek));
        }
    });
}

/** A field of a structure: its offset and length in the octets. */
using Part = std::span<std::uint8_t>;
Part writable(std::span<const std::uint8_t> part) { return {const_cast<std::uint8_t*>(part.data()), part.size()}; }

/** Reads the elements of a structure. A missing element fails the test. */
class Fields {
public:
    explicit Fields(std::span<const std::uint8_t> contents) : reader_(contents) {}
    Part next(std::uint8_t tag) { return checked(reader_.next(tag)); }
    Part next_whole(std::uint8_t tag) { return checked(reader_.next_whole(tag)); }
    Fields inside(std::uint8_t tag) { return Fields(next(tag)); }
    [[nodiscard]] bool has(std::uint8_t tag) const { return reader_.tag() == tag; }
    [[nodiscard]] bool at_end() const { return reader_.at_end(); }
    void expect_oid(const std::string& dotted) { EXPECT_EQ(der::dotted(next(der::object_identifier)), dotted); }

private:
    static Part checked(std::optional<std::span<const std::uint8_t>> part) {
        EXPECT_TRUE(part.has_value());
        return part ? writable(*part) : Part();
    }
    der::Reader reader_;
};

constexpr std::uint8_t implicit_0 = 0x80;  // [0], primitive

/** GostR3410-KeyTransport of RFC 4490, section 4.2: a key for a recipient. All fields have fixed lengths. */
struct Transport {
    Part wrapped_key, mac, sboxes, ephemeral, ukm;

    explicit Transport(std::span<const std::uint8_t> octets) {
        Fields fields = Fields(octets).inside(der::sequence);
        Fields key = fields.inside(der::sequence);
        wrapped_key = key.next(der::octet_string);
        mac = key.next(der::octet_string);
        Fields parameters = fields.inside(der::context_0);
        sboxes = parameters.next(der::object_identifier);
        ephemeral = parameters.next(der::context_0);
        ukm = parameters.next(der::octet_string);
        EXPECT_TRUE(key.at_end() && fields.at_end() && parameters.at_end());
        EXPECT_EQ(wrapped_key.size(), 32U);
        EXPECT_EQ(mac.size(), 4U);
        EXPECT_EQ(ukm.size(), 8U);
    }
    /** The octets of the ephemeral public key, at the end of the structure. */
    [[nodiscard]] Part point() const { return ephemeral.last(VRX_PUBLIC_KEY_SIZE); }
    [[nodiscard]] Ukm material() const {
        Ukm u;
        std::ranges::copy(ukm, u.begin());
        return u;
    }
};

/** CryptoPro key wrap (RFC 4357, sections 6.3 and 6.4): ECB under a diversified key, and a MAC. */
struct Wrapped {
    Digest key{};
    Bytes mac;
};
Wrapped wrap(Random& random, const Sboxes& sboxes, Digest kek, const Ukm& ukm, const Digest& key, bool back) {
    EXPECT_EQ(ecDiversifyKEK(sboxes.table, kek.data(), ukm.data()), VRX_OK);
    const KeyAndIv secret{kek, ukm};
    const Bytes data =
        ours(random, VRX_MODE_SS, !back, *sboxes.table, Meshing::off, secret, Bytes(key.begin(), key.end()));
    Wrapped w;
    std::ranges::copy(data, w.key.begin());
    const Digest& plain = back ? w.key : key;
    w.mac = our_mac(random, *sboxes.table, Meshing::off, secret, Bytes(plain.begin(), plain.end()));
    return w;
}

/** Unwraps the key as the recipient does, and checks its MAC. */
Digest received(Random& random, const Sboxes& sboxes, const Transport& transport, const Pair& recipient) {
    EXPECT_EQ(der::dotted(transport.sboxes), sboxes.oid);
    EcPoint ephemeral{};
    EXPECT_EQ(ecLoadPublicKeyValue(transport.point().data(), &ephemeral), VRX_OK);
    EXPECT_EQ(ecCheckPublicKey(recipient.set, &ephemeral), VRX_OK);
    Digest key{};
    std::ranges::copy(transport.wrapped_key, key.begin());
    const Ukm ukm = transport.material();
    const Digest kek = our_kek(*recipient.set, cryptopro(), ukm, recipient.d, ephemeral);
    const Wrapped opened = wrap(random, sboxes, kek, ukm, key, true);
    EXPECT_TRUE(same(opened.mac, transport.mac));
    return opened.key;
}

/** Replaces the encrypted key in a transport structure by one from another sender. */
void send(Random& random, const Sboxes& sboxes, Transport& transport, const Pair& recipient, const Digest& key) {
    const Pair sender(*recipient.set);
    const Ukm ukm = any_ukm(random);
    const Wrapped w =
        wrap(random, sboxes, our_kek(*recipient.set, cryptopro(), ukm, sender.d, recipient.key), ukm, key, false);
    std::ranges::copy(sender.public_octets(), transport.point().begin());
    std::ranges::copy(ukm, transport.ukm.begin());
    std::ranges::copy(w.key, transport.wrapped_key.begin());
    std::ranges::copy(w.mac, transport.mac.begin());
}

/** Key wrap uses CryptoPro-A, regardless of the engine's S-boxes. */
TEST_F(gost_engine, key_transport) {
    for_curves(all_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(6); i != 0; --i) {
            const Sboxes& s = sboxes('A');
            choose(sboxes("ABCD"[random.below(4)]));
            const Pair recipient(set);
            const auto key = random.value<Digest>();
            const Context sending = context(public_key_of(recipient));
            Bytes sent(400);
            std::size_t size = sent.size();
            ASSERT_EQ(EVP_PKEY_encrypt_init(sending.get()), 1);
            ASSERT_EQ(EVP_PKEY_encrypt(sending.get(), sent.data(), &size, key.data(), key.size()), 1);
            sent.resize(size);
            Transport transport(sent);
            ASSERT_TRUE(same(received(random, s, transport, recipient), key));

            const auto another = random.value<Digest>();
            send(random, s, transport, recipient, another);
            const Context receiving = context(key_of(recipient));
            Digest opened{};
            size = opened.size();
            ASSERT_EQ(EVP_PKEY_decrypt_init(receiving.get()), 1);
            ASSERT_EQ(EVP_PKEY_decrypt(receiving.get(), opened.data(), &size, sent.data(), sent.size()), 1);
            ASSERT_TRUE(same(another, opened));
        }
    });
}

using Certificate = std::shared_ptr<X509>;

/** Anna's certificate, signed by an issuer. */
Certificate certificate_of(const Pair& subject, const Pair& issuer, Random& random) {
    Certificate c(X509_new(), X509_free);
    EXPECT_EQ(X509_set_version(c.get(), 2), 1);
    EXPECT_EQ(ASN1_INTEGER_set(X509_get_serialNumber(c.get()), 1 + random.below(1 << 30)), 1);
    X509_gmtime_adj(X509_getm_notBefore(c.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(c.get()), 3600);
    X509_NAME* const name = X509_get_subject_name(c.get());
    EXPECT_EQ(
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("Anna"), -1, -1, 0),
        1);
    EXPECT_EQ(X509_set_issuer_name(c.get(), name), 1);
    EXPECT_EQ(X509_set_pubkey(c.get(), public_key_of(subject).get()), 1);
    EXPECT_GT(X509_sign(c.get(), key_of(issuer).get(), hash()), 0);
    return c;
}

/** Encodes an OpenSSL object in DER. */
template <typename T>
Bytes octets_of(const T* value, int (*function)(const T*, unsigned char**)) {
    Bytes out(static_cast<std::size_t>(std::max(function(value, nullptr), 0)));
    unsigned char* at = out.data();
    EXPECT_EQ(function(value, &at), static_cast<int>(out.size()));
    EXPECT_FALSE(out.empty());
    return out;
}

TEST_F(gost_engine, certificates) {
    for_curves(all_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(4); i != 0; --i) {
            const Pair anna(set);
            const Pair issuer(set);
            Bytes octets =
                signed_anew(random, octets_of(certificate_of(anna, issuer, random).get(), i2d_X509), anna, issuer);
            const auto accepted = [&] {
                return X509_verify(read(d2i_X509, X509_free, octets).get(), public_key_of(issuer).get()) == 1;
            };
            EXPECT_TRUE(accepted());
            octets.back() ^= 1;
            EXPECT_FALSE(accepted());
        }
    });
}

using Message = std::shared_ptr<CMS_ContentInfo>;

Message message_from(const Bytes& octets) { return read(d2i_CMS_ContentInfo, CMS_ContentInfo_free, octets); }

/** The fields of a ContentInfo (RFC 5652, section 3), after the version. */
Fields content_info(const Bytes& octets, const std::string& type) {
    Fields info = Fields(octets).inside(der::sequence);
    info.expect_oid(type);
    Fields fields = info.inside(der::context_0).inside(der::sequence);
    fields.next(der::integer);
    return fields;
}

/** SignedData with one signer and signed attributes (RFC 5652, section 5). */
struct Signed {
    Part content, attributes, signature;

    explicit Signed(const Bytes& octets) {
        Fields fields = content_info(octets, "1.2.840.113549.1.7.2");
        fields.inside(der::set).inside(der::sequence).expect_oid("1.2.643.2.2.9");
        Fields inner = fields.inside(der::sequence);
        inner.expect_oid("1.2.840.113549.1.7.1");
        content = inner.inside(der::context_0).next(der::octet_string);
        if (fields.has(der::context_0)) fields.next(der::context_0);  // certificates
        Fields signer = fields.inside(der::set).inside(der::sequence);
        signer.next(der::integer);
        signer.next(der::sequence);  // identity
        signer.inside(der::sequence).expect_oid("1.2.643.2.2.9");
        attributes = signer.next_whole(der::context_0);
        signer.inside(der::sequence).expect_oid("1.2.643.2.2.19");
        signature = signer.next(der::octet_string);
    }
    /** The digest of the content from the signed attributes. */
    [[nodiscard]] Part named_digest() const {
        Fields list = Fields(attributes).inside(der::context_0);
        while (!list.at_end()) {
            Fields attribute = list.inside(der::sequence);
            if (der::dotted(attribute.next(der::object_identifier)) == "1.2.840.113549.1.9.4")
                return attribute.inside(der::set).next(der::octet_string);
        }
        ADD_FAILURE() << "no digest among the attributes";
        return {};
    }
    /** The signed octets: the attributes, encoded as a SET. */
    [[nodiscard]] Digest digest(Random& random) const {
        Bytes set(attributes.begin(), attributes.end());
        set.front() = der::set;
        return our_digest(random, cryptopro(), set);
    }
};

TEST_F(gost_engine, signed_messages) {
    for_curves(all_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(4); i != 0; --i) {
            const Pair anna(set);
            const Certificate certificate =
                read(d2i_X509, X509_free, octets_of(certificate_of(anna, anna, random).get(), i2d_X509));
            const Bytes content = message_not_empty(random);
            const Message made(CMS_sign(certificate.get(), key_of(anna).get(), nullptr, stream(content).get(),
                                        CMS_BINARY | CMS_NOSMIMECAP),
                               CMS_ContentInfo_free);
            ASSERT_TRUE(made);
            const Bytes octets = octets_of(made.get(), i2d_CMS_ContentInfo);
            const Signed message(octets);
            ASSERT_TRUE(same(message.content, content));
            ASSERT_TRUE(same(our_digest(random, cryptopro(), content), message.named_digest()));
            ASSERT_TRUE(verifies(anna, message.digest(random), signature(message.signature)));

            // A message signed by this library.
            random.fill(message.content);
            std::ranges::copy(our_digest(random, cryptopro(), Bytes(message.content.begin(), message.content.end())),
                              message.named_digest().begin());
            std::ranges::copy(vrx::interop::octets(our_signature(anna, message.digest(random))),
                              message.signature.begin());
            const auto accepted = [&] {
                const Stream out = stream();
                return CMS_verify(message_from(octets).get(), nullptr, nullptr, nullptr, out.get(),
                                  CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) == 1;
            };
            EXPECT_TRUE(accepted());
            message.signature.back() ^= 1;
            EXPECT_FALSE(accepted());
        }
    });
}

/** EnvelopedData with one recipient by key transport (RFC 4490, section 4.2). */
struct Enveloped {
    Part transport, iv, sboxes, content;

    explicit Enveloped(const Bytes& octets) {
        Fields fields = content_info(octets, "1.2.840.113549.1.7.3");
        Fields recipient = fields.inside(der::set).inside(der::sequence);
        recipient.next(der::integer);
        recipient.next(der::sequence);  // identity
        recipient.inside(der::sequence).expect_oid("1.2.643.2.2.19");
        transport = recipient.next(der::octet_string);
        Fields encrypted = fields.inside(der::sequence);
        encrypted.expect_oid("1.2.840.113549.1.7.1");
        Fields algorithm = encrypted.inside(der::sequence);
        algorithm.expect_oid("1.2.643.2.2.21");
        Fields parameters = algorithm.inside(der::sequence);
        iv = parameters.next(der::octet_string);
        sboxes = parameters.next(der::object_identifier);
        content = encrypted.next(implicit_0);
        EXPECT_EQ(iv.size(), 8U);
    }
};

TEST_F(gost_engine, enveloped_messages) {
    for_curves(all_curves, [](Random& random, const EcParamSet& set, const std::string&) {
        for (unsigned i = cases(4); i != 0; --i) {
            const Sboxes& s = sboxes("ABCDZ"[random.below(5)]);
            choose(s);
            const Pair anna(set);
            const Certificate certificate =
                read(d2i_X509, X509_free, octets_of(certificate_of(anna, anna, random).get(), i2d_X509));
            const Bytes content = message_not_empty(random);
            const Stream in = stream(content);
            const Message made(CMS_encrypt(nullptr, in.get(), ENGINE_get_cipher(engine(), NID_id_Gost28147_89),
                                           CMS_BINARY | CMS_PARTIAL),
                               CMS_ContentInfo_free);
            ASSERT_TRUE(made);
            // The engine needs the context that this flag creates.
            ASSERT_NE(CMS_add1_recipient_cert(made.get(), certificate.get(), CMS_KEY_PARAM), nullptr);
            ASSERT_EQ(CMS_final(made.get(), in.get(), nullptr, CMS_BINARY), 1);
            const Bytes octets = octets_of(made.get(), i2d_CMS_ContentInfo);
            const Enveloped message(octets);
            EXPECT_EQ(der::dotted(message.sboxes), s.oid);
            Transport transport(message.transport);
            KeyAndIv secret{received(random, sboxes('A'), transport, anna), {}};
            std::ranges::copy(message.iv, secret.iv.begin());
            ASSERT_TRUE(same(ours(random, VRX_MODE_GFB, false, *s.table, Meshing::on, secret,
                                  Bytes(message.content.begin(), message.content.end())),
                             content));

            // A message enveloped by this library.
            const Bytes other = random.bytes(content.size());
            secret = key_and_iv(random);
            send(random, sboxes('A'), transport, anna, secret.key);
            std::ranges::copy(secret.iv, message.iv.begin());
            std::ranges::copy(ours(random, VRX_MODE_GFB, true, *s.table, Meshing::on, secret, other),
                              message.content.begin());
            const Stream out = stream();
            ASSERT_EQ(CMS_decrypt(message_from(octets).get(), key_of(anna).get(), certificate.get(), nullptr, out.get(),
                                  CMS_BINARY),
                      1);
            ASSERT_TRUE(same(other, contents(out)));
        }
    });
}

}  // namespace
