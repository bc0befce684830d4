// Signatures, key pairs and key agreement, beside libgcrypt and nettle on the same curves, and beside OpenSSL on P-256,
// the curve that most people know. Every version works on the same 16 keys and digests in turn; results are checked
// before the clock starts. Random numbers cost next to nothing here, for all of them that let the caller choose.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "vrx.h"

#ifdef VRX_WITH_LIBGCRYPT
#include <gcrypt.h>
#endif
#ifdef VRX_WITH_HOGWEED
#include <nettle/ecc-curve.h>
#include <nettle/gostdsa.h>
#endif
#ifdef VRX_WITH_OPENSSL
#include <openssl/ec.h>
#include <openssl/evp.h>
#endif

namespace {

constexpr std::size_t count = 16;

std::mt19937_64 engine(1);

void fill(void* buffer, std::size_t length) {
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    for (std::size_t i = 0; i < length; i += 8) {
        const std::uint64_t word = engine();
        std::memcpy(bytes + i, &word, std::min<std::size_t>(8, length - i));
    }
}
int draw(void* buffer, std::uint32_t length) {
    fill(buffer, length);
    return 0;
}

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s does not hold\n", what);
    std::abort();
}

/** Runs operation(i) for i = 0, 1, ..., 15, 0, ... */
template <typename Operation>
void measure(benchmark::State& state, const Operation& operation) {
    std::size_t i = 0;
    for (auto _ : state) {
        operation(i++ % count);
        benchmark::ClobberMemory();
    }
    state.counters["per_second"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

template <typename Operation>
void row(const std::string& name, Operation operation) {
    benchmark::RegisterBenchmark(name.c_str(), [operation](benchmark::State& state) {
        measure(state, operation);
    })->Unit(benchmark::kMicrosecond);
}

struct Party {
    std::uint32_t d[VRX_ECC_DIGITS];
    EcPoint key;
    std::uint32_t digest[VRX_ECC_DIGEST_WORDS];
    EcSignature signature;
    std::uint8_t ukm[VRX_UKM_SIZE];
};
using Parties = std::vector<Party>;

const vrx_data hash_oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};

std::shared_ptr<Parties> parties_on(const EcParamSet& set) {
    auto parties = std::make_shared<Parties>(count);
    for (Party& party : *parties) {
        check(ecGenerateKeyPair(&set, draw, party.d, &party.key) == VRX_OK, "making a key");
        fill(party.digest, sizeof party.digest);
        fill(party.ukm, sizeof party.ukm);
        check(ecSign(&set, party.digest, draw, party.d, &party.signature) == VRX_OK, "signing");
        check(ecVerify(&set, party.digest, &party.key, &party.signature) == VRX_OK, "a right signature");
    }
    return parties;
}

void vrx_rows(const std::string& name, std::uint32_t index) {
    const EcParamSet* set = get_GOSTR3410_par(index);
    const auto parties = parties_on(*set);
    row("sign/vrx/" + name, [=](std::size_t i) {
        EcSignature signature;
        check(ecSign(set, (*parties)[i].digest, draw, (*parties)[i].d, &signature) == VRX_OK, "signing");
    });
    row("verify/vrx/" + name, [=](std::size_t i) {
        const Party& party = (*parties)[i];
        check(ecVerify(set, party.digest, &party.key, &party.signature) == VRX_OK, "a right signature");
    });
    row("key_pair/vrx/" + name, [=](std::size_t) {
        Party party;
        check(ecGenerateKeyPair(set, draw, party.d, &party.key) == VRX_OK, "making a key");
    });
    row("agree/vrx/" + name, [=](std::size_t i) {
        std::uint8_t kek[VRX_KEK_SIZE];
        const Party& mine = (*parties)[i];
        check(ecMakeKEK(set, &hash_oid, mine.ukm, mine.d, &(*parties)[(i + 1) % count].key, kek) == VRX_OK,
              "agreement");
    });
}

/** The part of an agreement that is no arithmetic. */
void hash_row() {
    row("agree/vrx/hash", [](std::size_t i) {
        std::uint8_t octets[VRX_PUBLIC_KEY_SIZE] = {static_cast<std::uint8_t>(i)};
        std::uint8_t kek[VRX_KEK_SIZE];
        check(GOSTR3411_Transform(hash_oid.data, hash_oid.length, octets, sizeof octets, kek) == VRX_OK, "hashing");
    });
}

#ifdef VRX_WITH_LIBGCRYPT
using Expression = std::shared_ptr<gcry_sexp>;

std::string hex(const std::uint32_t* digits, std::size_t number) {
    std::string text;
    char digit[9];
    while (number-- != 0) {
        std::snprintf(digit, sizeof digit, "%08x", digits[number]);
        text += digit;
    }
    return text;
}

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
        const std::string curve = std::string("(ecc (curve \"") + set->str_oid + "\")(q #04" + hex(party.key.x, 8) +
                                  hex(party.key.y, 8) + "#)";
        cases->push_back({expression("(private-key " + curve + "(d #" + hex(party.d, 8) + "#)))"),
                          expression("(public-key " + curve + "))"),
                          expression("(data(flags gost)(value #" + hex(party.digest, 8) + "#))"),
                          expression("(sig-val(gost(r #" + hex(party.signature.r, 8) + "#)(s #" +
                                     hex(party.signature.s, 8) + "#)))")});
    }
    row("sign/libgcrypt/" + name, [=](std::size_t i) {
        gcry_sexp_t signature = nullptr;
        check(gcry_pk_sign(&signature, (*cases)[i].digest.get(), (*cases)[i].secret.get()) == 0, "signing");
        gcry_sexp_release(signature);
    });
    row("verify/libgcrypt/" + name, [=](std::size_t i) {
        const Case& c = (*cases)[i];
        check(gcry_pk_verify(c.signature.get(), c.digest.get(), c.key.get()) == 0, "a right signature");
    });
    const Expression parameters =
        expression(std::string("(genkey(ecc (curve \"") + set->str_oid + "\")(flags no-keytest)))");
    row("key_pair/libgcrypt/" + name, [=](std::size_t) {
        gcry_sexp_t pair = nullptr;
        check(gcry_pk_genkey(&pair, parameters.get()) == 0, "making a key");
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
        check(gostdsa_verify(&key, sizeof digest, digest, &signature) == 1, "a right signature");
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
        check(gostdsa_verify(&party.key, sizeof party.digest, party.digest, &party.signature) == 1,
              "a right signature");
    });
    row("key_pair/nettle/A",
        [=](std::size_t i) { gostdsa_generate_keypair(&parties[i].key, &parties[i].d, nullptr, nettle_draw); });
    row("agree/nettle/A", [=](std::size_t i) {
        std::uint8_t point[64];
        gostdsa_vko(&parties[i].d, &parties[(i + 1) % count].key, 8, parties[i].digest, point);
    });
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
              "a right signature");
    });
    row("key_pair/openssl/P-256", [](std::size_t) { EVP_PKEY_free(EVP_EC_gen("P-256")); });
    row("agree/openssl/P-256", [=](std::size_t i) {
        std::uint8_t secret[32];
        std::size_t size = sizeof secret;
        check(EVP_PKEY_derive(parties[i].deriving, secret, &size) == 1, "agreement");
    });
}
#endif

const bool registered = [] {
    vrx_rows("A", 1);
    vrx_rows("C", 3);
    vrx_rows("Test", 0);
    hash_row();
#ifdef VRX_WITH_LIBGCRYPT
    libgcrypt_rows("A", 1);
    libgcrypt_rows("Test", 0);
#endif
#ifdef VRX_WITH_HOGWEED
    nettle_rows();
#endif
#ifdef VRX_WITH_OPENSSL
    openssl_rows();
#endif
    return true;
}();

}  // namespace
