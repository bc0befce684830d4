// Peers: other libraries on the same curves, and OpenSSL on P-256.
#include <array>
#include <cstdio>

#include "rows.hpp"

#ifdef VRX_WITH_LIBGCRYPT
#include <gcrypt.h>
#endif
#ifdef VRX_WITH_HOGWEED
#include <nettle/ecc-curve.h>
#include <nettle/gostdsa.h>
#endif
#ifdef VRX_WITH_BOTAN
#include <botan/gost_3410.h>
#include <botan/pubkey.h>
#include <botan/rng.h>
#endif
#ifdef VRX_WITH_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/ec.h>
#include <openssl/engine.h>
#include <openssl/evp.h>
#endif

namespace bench {
namespace {

#if defined(VRX_WITH_LIBGCRYPT) || defined(VRX_WITH_BOTAN)
/** Returns the low digits of a number in hexadecimal. */
std::string hex(const std::uint32_t* digits, std::size_t number = 8) {
    std::string text;
    char digit[9];
    while (number-- != 0) {
        std::snprintf(digit, sizeof digit, "%08x", digits[number]);
        text += digit;
    }
    return text;
}
#endif

#ifdef VRX_WITH_LIBGCRYPT
using Expression = std::shared_ptr<gcry_sexp>;

Expression expression(const std::string& text) {
    gcry_sexp_t e = nullptr;
    check(gcry_sexp_new(&e, text.data(), text.size(), 1) == 0, text.c_str());
    return {e, gcry_sexp_release};
}

void libgcrypt_rows(const std::string& name, std::uint32_t index) {
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_ENABLE_QUICK_RANDOM, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    const EcParamSet* set = get_GOSTR3410_par(index);
    const auto parties = parties_on(*set);
    struct Case {
        Expression secret, key, digest, signature;
    };
    const auto cases = std::make_shared<std::vector<Case>>();
    for (const Party& party : *parties) {
        const std::string curve =
            std::string("(ecc (curve \"") + set->str_oid + "\")(q #04" + hex(party.key.x) + hex(party.key.y) + "#)";
        cases->push_back(
            {expression("(private-key " + curve + "(d #" + hex(party.d) + "#)))"),
             expression("(public-key " + curve + "))"),
             expression("(data(flags gost)(value #" + hex(party.digest) + "#))"),
             expression("(sig-val(gost(r #" + hex(party.signature.r) + "#)(s #" + hex(party.signature.s) + "#)))")});
    }
    row("sign/libgcrypt/" + name, [=](std::size_t i) {
        gcry_sexp_t signature = nullptr;
        check(gcry_pk_sign(&signature, (*cases)[i].digest.get(), (*cases)[i].secret.get()) == 0, "signing");
        gcry_sexp_release(signature);
    });
    row("verify/libgcrypt/" + name, [=](std::size_t i) {
        const Case& c = (*cases)[i];
        check(gcry_pk_verify(c.signature.get(), c.digest.get(), c.key.get()) == 0, "verifying");
    });
    const Expression parameters =
        expression(std::string("(genkey(ecc (curve \"") + set->str_oid + "\")(flags no-keytest)))");
    row("key_pair/libgcrypt/" + name, [=](std::size_t) {
        gcry_sexp_t pair = nullptr;
        check(gcry_pk_genkey(&pair, parameters.get()) == 0, "generating a key pair");
        gcry_sexp_release(pair);
    });
}
#endif

#ifdef VRX_WITH_HOGWEED
void nettle_draw(void* /*context*/, std::size_t length, std::uint8_t* buffer) { fill(buffer, length); }

struct NettleParty {
    ecc_scalar d;
    ecc_point key;
    std::uint8_t digest[32];
    dsa_signature signature;

    NettleParty() {
        const ecc_curve* curve = nettle_get_gost_gc256b();
        ecc_scalar_init(&d, curve);
        ecc_point_init(&key, curve);
        dsa_signature_init(&signature);
        gostdsa_generate_keypair(&key, &d, nullptr, nettle_draw);
        fill(digest, sizeof digest);
        gostdsa_sign(&d, nullptr, nettle_draw, sizeof digest, digest, &signature);
        check(gostdsa_verify(&key, sizeof digest, digest, &signature) == 1, "verifying");
    }
    NettleParty(const NettleParty&) = delete;
    NettleParty& operator=(const NettleParty&) = delete;
    ~NettleParty() {
        dsa_signature_clear(&signature);
        ecc_point_clear(&key);
        ecc_scalar_clear(&d);
    }
};

void nettle_rows() {
    const std::shared_ptr<NettleParty[]> parties(new NettleParty[count]);
    row("sign/nettle/A", [=](std::size_t i) {
        NettleParty& party = parties[i];
        gostdsa_sign(&party.d, nullptr, nettle_draw, sizeof party.digest, party.digest, &party.signature);
    });
    row("verify/nettle/A", [=](std::size_t i) {
        const NettleParty& party = parties[i];
        check(gostdsa_verify(&party.key, sizeof party.digest, party.digest, &party.signature) == 1, "verifying");
    });
    const std::shared_ptr<NettleParty> other(new NettleParty);  // shared, because the parties own their keys
    row("key_pair/nettle/A",
        [=](std::size_t) { gostdsa_generate_keypair(&other->key, &other->d, nullptr, nettle_draw); });
    row("agree/nettle/A", [=](std::size_t i) {
        std::uint8_t point[64];
        gostdsa_vko(&parties[i].d, &parties[(i + 1) % count].key, 8, parties[i].digest, point);
    });
}
#endif

#ifdef VRX_WITH_BOTAN
/** A random source that takes as little time as that of the other rows. */
class CheapSource : public Botan::RandomNumberGenerator {
public:
    void randomize(std::uint8_t output[], std::size_t length) override { fill(output, length); }
    void add_entropy(const std::uint8_t[], std::size_t) override {}
    [[nodiscard]] bool accepts_input() const override { return false; }
    [[nodiscard]] std::string name() const override { return "cheap"; }
    void clear() override {}
    [[nodiscard]] bool is_seeded() const override { return true; }
};

struct BotanParty {
    Botan::GOST_3410_PrivateKey key;
    Botan::PK_Signer signer;
    Botan::PK_Verifier verifier;
    std::array<std::uint8_t, 32> digest{};
    std::vector<std::uint8_t> signature;

    BotanParty(Botan::RandomNumberGenerator& source, const Botan::EC_Group& group)
        : key(source, group), signer(key, source, "Raw"), verifier(key, "Raw") {
        fill(digest.data(), digest.size());
        signature = signer.sign_message(digest.data(), digest.size(), source);
    }
};

void botan_rows(const std::string& curve, const EcParamSet& set) {
    static CheapSource source;
    const auto number = [](const std::uint32_t* digits) { return Botan::BigInt("0x" + hex(digits)); };
    const Botan::EC_Group group(number(set.p), number(set.a), number(set.b), number(set.G.x), number(set.G.y),
                                number(set.q), 1, Botan::OID(set.str_oid));
    const auto parties = std::make_shared<std::vector<std::unique_ptr<BotanParty>>>();
    for (std::size_t i = 0; i < count; ++i) parties->push_back(std::make_unique<BotanParty>(source, group));
    row("sign/botan/" + curve, [=](std::size_t i) {
        BotanParty& party = *(*parties)[i];
        party.signature = party.signer.sign_message(party.digest.data(), party.digest.size(), source);
    });
    row("verify/botan/" + curve, [=](std::size_t i) {
        BotanParty& party = *(*parties)[i];
        check(party.verifier.verify_message(party.digest.data(), party.digest.size(), party.signature.data(),
                                            party.signature.size()),
              "verifying");
    });
    row("key_pair/botan/" + curve, [=](std::size_t) { const Botan::GOST_3410_PrivateKey key(source, group); });
}
#endif

#ifdef VRX_WITH_OPENSSL
struct OpensslParty {
    EVP_PKEY* pair = EVP_EC_gen("P-256");
    EVP_PKEY_CTX* signing = EVP_PKEY_CTX_new(pair, nullptr);
    EVP_PKEY_CTX* verifying = EVP_PKEY_CTX_new(pair, nullptr);
    EVP_PKEY_CTX* deriving = EVP_PKEY_CTX_new(pair, nullptr);
    std::uint8_t digest[32];
    std::uint8_t signature[80];
    std::size_t signature_size = sizeof signature;

    OpensslParty() {
        fill(digest, sizeof digest);
        check(EVP_PKEY_sign_init(signing) == 1 && EVP_PKEY_verify_init(verifying) == 1 &&
                  EVP_PKEY_derive_init(deriving) == 1,
              "OpenSSL");
        check(EVP_PKEY_sign(signing, signature, &signature_size, digest, sizeof digest) == 1, "signing");
    }
    OpensslParty(const OpensslParty&) = delete;
    OpensslParty& operator=(const OpensslParty&) = delete;
    ~OpensslParty() {
        EVP_PKEY_CTX_free(deriving);
        EVP_PKEY_CTX_free(verifying);
        EVP_PKEY_CTX_free(signing);
        EVP_PKEY_free(pair);
    }
};

void openssl_rows() {
    const std::shared_ptr<OpensslParty[]> parties(new OpensslParty[count]);
    for (std::size_t i = 0; i < count; ++i)
        check(EVP_PKEY_derive_set_peer(parties[i].deriving, parties[(i + 1) % count].pair) == 1, "OpenSSL");
    row("sign/openssl/P-256", [=](std::size_t i) {
        std::uint8_t signature[80];
        std::size_t size = sizeof signature;
        check(EVP_PKEY_sign(parties[i].signing, signature, &size, parties[i].digest, sizeof parties[i].digest) == 1,
              "signing");
    });
    row("verify/openssl/P-256", [=](std::size_t i) {
        const OpensslParty& party = parties[i];
        check(EVP_PKEY_verify(party.verifying, party.signature, party.signature_size, party.digest,
                              sizeof party.digest) == 1,
              "verifying");
    });
    row("key_pair/openssl/P-256", [](std::size_t) { EVP_PKEY_free(EVP_EC_gen("P-256")); });
    row("agree/openssl/P-256", [=](std::size_t i) {
        std::uint8_t secret[32];
        std::size_t size = sizeof secret;
        check(EVP_PKEY_derive(parties[i].deriving, secret, &size) == 1, "key agreement");
    });
}
/** Returns the GOST engine of OpenSSL, or nullptr if it is not installed. */
ENGINE* gost_engine() {
    static ENGINE* const gost = [] {
        OPENSSL_init_crypto(OPENSSL_INIT_ENGINE_DYNAMIC, nullptr);
        ENGINE* const e = ENGINE_by_id("gost");
        if (e == nullptr || ENGINE_init(e) == 0) return static_cast<ENGINE*>(nullptr);
        // OpenSSL finds the methods of a key by its type only if the engine is the default one.
        ENGINE_set_default(e, ENGINE_METHOD_PKEY_METHS | ENGINE_METHOD_PKEY_ASN1_METHS);
        return e;
    }();
    return gost;
}

using Key = std::shared_ptr<EVP_PKEY>;
using Context = std::shared_ptr<EVP_PKEY_CTX>;

Context context_of(EVP_PKEY* key) { return {EVP_PKEY_CTX_new(key, gost_engine()), EVP_PKEY_CTX_free}; }

/** Generates keys on one curve. */
Context gost_maker(const std::string& curve) {
    const Context maker(EVP_PKEY_CTX_new_id(NID_id_GostR3410_2001, gost_engine()), EVP_PKEY_CTX_free);
    check(maker != nullptr && EVP_PKEY_keygen_init(maker.get()) == 1 &&
              EVP_PKEY_CTX_ctrl_str(maker.get(), "paramset", curve == "Test" ? "0" : curve.c_str()) > 0,
          "finding the hash of the GOST engine");
    return maker;
}

Key gost_key(const Context& maker) {
    EVP_PKEY* key = nullptr;
    check(EVP_PKEY_keygen(maker.get(), &key) == 1, "generating a key pair");
    return {key, EVP_PKEY_free};
}

struct GostParty {
    Key pair;
    Context signing, verifying, deriving;
    std::uint8_t digest[32];
    std::uint8_t signature[64];
    std::size_t signature_size = sizeof signature;
};

void gost_engine_rows(const std::string& curve) {
    const Context maker = gost_maker(curve);
    const auto parties = std::make_shared<std::vector<GostParty>>(count);
    for (GostParty& party : *parties) {
        party.pair = gost_key(maker);
        for (Context* context : {&party.signing, &party.verifying, &party.deriving})
            *context = context_of(party.pair.get());
        fill(party.digest, sizeof party.digest);
        check(EVP_PKEY_sign_init(party.signing.get()) == 1 && EVP_PKEY_verify_init(party.verifying.get()) == 1 &&
                  EVP_PKEY_derive_init(party.deriving.get()) == 1,
              "finding the hash of the GOST engine");
        check(EVP_PKEY_sign(party.signing.get(), party.signature, &party.signature_size, party.digest,
                            sizeof party.digest) == 1,
              "signing");
    }
    for (std::size_t i = 0; i < count; ++i) {
        GostParty& party = (*parties)[i];
        std::uint8_t ukm[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        check(EVP_PKEY_derive_set_peer(party.deriving.get(), (*parties)[(i + 1) % count].pair.get()) == 1 &&
                  EVP_PKEY_CTX_ctrl(party.deriving.get(), -1, EVP_PKEY_OP_DERIVE, EVP_PKEY_CTRL_SET_IV, sizeof ukm,
                                    ukm) > 0,
              "finding the hash of the GOST engine");
    }
    row("sign/openssl-gost/" + curve, [=](std::size_t i) {
        GostParty& party = (*parties)[i];
        std::size_t size = sizeof party.signature;
        check(EVP_PKEY_sign(party.signing.get(), party.signature, &size, party.digest, sizeof party.digest) == 1,
              "signing");
    });
    row("verify/openssl-gost/" + curve, [=](std::size_t i) {
        const GostParty& party = (*parties)[i];
        check(EVP_PKEY_verify(party.verifying.get(), party.signature, party.signature_size, party.digest,
                              sizeof party.digest) == 1,
              "verifying");
    });
    row("key_pair/openssl-gost/" + curve, [=](std::size_t) { gost_key(maker); });
    row("agree/openssl-gost/" + curve, [=](std::size_t i) {
        std::uint8_t secret[32];
        std::size_t size = sizeof secret;
        check(EVP_PKEY_derive((*parties)[i].deriving.get(), secret, &size) == 1, "key agreement");
    });
}

void gost_hash_row() {
    const EVP_MD* const hash = ENGINE_get_digest(gost_engine(), NID_id_GostR3411_94);
    check(hash != nullptr, "finding the hash of the GOST engine");
    const std::shared_ptr<EVP_MD_CTX> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    row("hash/openssl-gost", [=](std::size_t i) {
        const std::uint8_t octets[64] = {static_cast<std::uint8_t>(i)};
        std::uint8_t digest[32];
        check(EVP_DigestInit_ex(context.get(), hash, gost_engine()) == 1 &&
                  EVP_DigestUpdate(context.get(), octets, sizeof octets) == 1 &&
                  EVP_DigestFinal_ex(context.get(), digest, nullptr) == 1,
              "hashing");
    });
}
#endif

}  // namespace

void add_peers() {
#ifdef VRX_WITH_LIBGCRYPT
    for (const auto& [curve, index] : named_curves) libgcrypt_rows(curve, index);
#else
    missing_row("sign/libgcrypt/A", "libgcrypt20-dev is not installed");
#endif
#ifdef VRX_WITH_HOGWEED
    nettle_rows();
#else
    missing_row("sign/nettle/A", "nettle-dev is not installed");
#endif
#ifdef VRX_WITH_BOTAN
    for (const auto& [curve, index] : named_curves) botan_rows(curve, *get_GOSTR3410_par(index));
#else
    missing_row("sign/botan/A", "libbotan-2-dev is not installed");
#endif
#ifdef VRX_WITH_OPENSSL
    openssl_rows();
    if (gost_engine() != nullptr) {
        for (const auto& [curve, index] : named_curves) gost_engine_rows(curve);
        gost_hash_row();
    } else {
        missing_row("sign/openssl-gost/A", "libengine-gost-openssl is not installed");
    }
#else
    missing_row("sign/openssl/P-256", "libssl-dev is not installed");
    missing_row("sign/openssl-gost/A", "libssl-dev is not installed");
#endif
}

}  // namespace bench
