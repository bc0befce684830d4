// Constant-time test of signing, key generation and agreement with valgrind. Secrets are marked as uninitialised
// memory, so valgrind reports every branch and every address that depends on a secret. Usage: curves_secrets ENGINE.
// The engine "none" runs the general methods, which valgrind must report.
#include <valgrind/memcheck.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ecc/field/engines.hpp"
#include "ecc/residue.hpp"
#include "vrx.h"

namespace {

using vrx::ecc::Number;

template <typename T>
void make_secret(T& value) {
    static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(&value, sizeof value));
}
template <typename T>
void make_public(T& value) {
    static_cast<void>(VALGRIND_MAKE_MEM_DEFINED(&value, sizeof value));
}

// Scalars: odd and even, long and short, one above q, and a negative one.
constexpr Number secrets[] = {
    {{0x89abcdef, 0x01234567, 0xdeadbeef, 0x0badcafe, 0x13579bdf, 0x2468ace0, 0x11111111, 0x22222222, 0}},
    {{0x89abcdee, 0x01234567, 0xdeadbeef, 0, 0, 0, 0, 0, 0}},
    {{5, 0, 0, 0, 0, 0, 0, 0xffffffff, 0x12345678}},
    {{0xfffffff1, 0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff, 0x7fffffff, 0xffffffff, 0xffffffff, 0xffffffff}},
};
Number nonce;

int secret_bytes(void* buffer, std::uint32_t length) {
    std::memcpy(buffer, &nonce, length);
    static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(buffer, length));
    return 0;
}

bool works(const EcParamSet& set, const Number& secret) {
    constexpr std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};
    const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    constexpr std::uint8_t ukm[VRX_UKM_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};

    nonce = secret;
    Number d{};
    EcPoint key;
    if (ecGenerateKeyPair(&set, secret_bytes, d.digits, &key) != VRX_OK) return false;
    make_public(key);
    EcPoint again;
    if (ecGeneratePublicKey(&set, d.digits, &again) != VRX_OK) return false;
    make_public(again);

    EcSignature sig;
    if (ecSign(&set, digest, secret_bytes, d.digits, &sig) != VRX_OK) return false;
    make_public(sig);
    if (ecVerify(&set, digest, &key, &sig) != VRX_OK) return false;

    // Keys of nine digits are reduced first.
    Number any = secret;
    make_secret(any);
    if (ecSign(&set, digest, secret_bytes, any.digits, &sig) != VRX_OK) return false;
    make_public(sig);

    std::uint8_t octets[VRX_PRIVATE_KEY_SIZE];
    if (ecUnloadPrivateKeyValue(d.digits, octets) != VRX_OK || ecLoadPrivateKeyValue(octets, d.digits) != VRX_OK)
        return false;

    std::uint8_t kek[VRX_KEK_SIZE];
    EcPoint peer;
    Number three = {{3}};
    if (ecGeneratePublicKey(&set, three.digits, &peer) != VRX_OK) return false;
    make_public(peer);
    return ecMakeKEK(&set, &oid, ukm, d.digits, &peer, kek) == VRX_OK;
}

/** Point multiplication. Without a table, epMultJ() uses general formulas, which are not constant-time. */
bool multiples(const EcParamSet& set, Number k) {
    make_secret(k);
    EcPoint r;
    if (epMult(&r, &set.G, k.digits, &set) != VRX_OK) return false;
    if (set.has_precomp != 1) return true;
    return epMultPP(&r, k.digits, &set) == VRX_OK && epMultJ(&r, &set.pp[1], k.digits, &set) == VRX_OK;
}

/** Finds an engine by name. valgrind runs ADX instructions, but CPUID does not show them. */
const vrx::field::Engine* engine_named(const std::string& name) {
    if (name != vrx::field::engine_adx.name) return vrx::test::engine_named(name);
    if ((vrx::cpu::features() & vrx::cpu::avx2) == 0) std::exit(77);
    return &vrx::field::engine_adx;
}

}  // namespace

int main(int argc, char** argv) {
    const auto* engine = argc == 2 ? engine_named(argv[1]) : nullptr;
    if (engine == nullptr) {
        std::fputs("usage: curves_secrets ENGINE\n", stderr);
        return 2;
    }
    const vrx::test::ForcedEngine forced(*engine);
    for (std::uint32_t i = 0; i < 4; ++i) {
        const EcParamSet& set = *get_GOSTR3410_par(i);
        if (!multiples(set, secrets[1])) return 1;
        for (const Number& secret : secrets)
            if (!works(set, secret)) return 1;
    }
    return 0;
}
