// Constant-time test of signing, key generation and agreement by single-stepping: instructions and memory addresses
// must be the same for every secret. This test is for the vector engine, which valgrind cannot run. Usage: curves_trace
// ENGINE | control
#include <cstdio>
#include <cstring>
#include <string>

#include "ecc/agree.hpp"
#include "ecc/field/engines.hpp"
#include "trace.hpp"
#include "vrx.h"

namespace {

using namespace vrx::test;
using vrx::ecc::Number;

constexpr Number secrets[] = {
    {{1}},
    {{0x89abcdef, 0x01234567, 0xdeadbeef, 0x0badcafe, 0x13579bdf, 0x2468ace0, 0x11111111, 0x22222222}},
    {{0x0000fffe, 0, 0xffffffff, 0xffffffff, 0, 0, 0, 0x7fffffff}},
};
Number nonce;
int draw(void* buffer, std::uint32_t length) {
    std::memcpy(buffer, &nonce, length);
    return 0;
}

void sign(const EcParamSet& set, const Number& secret) {
    constexpr std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};
    nonce = secret;
    EcSignature sig;
    trace_begins();
    ecSign(&set, digest, draw, secret.digits, &sig);
    trace_ends();
}

void make_key(const EcParamSet& set, const Number& secret) {
    nonce = secret;
    Number d;
    EcPoint key;
    trace_begins();
    ecGenerateKeyPair(&set, draw, d.digits, &key);
    trace_ends();
}

/** Traces only the computation of the shared point. hash_trace tests the hash. */
void agree(const EcParamSet& set, const Number& secret) {
    constexpr Number ukm{{1, 2}};
    constexpr Number three{{3}};
    EcPoint peer;
    ecGeneratePublicKey(&set, three.digits, &peer);
    EcPoint shared;
    trace_begins();
    shared = vrx::ecc::with_domain(
        set, [&](const auto& domain) { return vrx::ecc::shared_point(domain, ukm, secret, peer); });
    trace_ends();
}

/** Control: branches on the bits of the secret. */
void branch(const EcParamSet&, const Number& secret) {
    volatile unsigned ones = 0;
    trace_begins();
    for (unsigned i = 0; i < 64; ++i)
        if ((secret.digits[i / 32] >> i % 32 & 1) != 0) ones = ones + 1;
    trace_ends();
}

/** Control: indexes a table by bytes of the secret. */
void look_up(const EcParamSet&, const Number& secret) {
    static const volatile unsigned char table[256] = {};
    trace_begins();
    for (unsigned i = 0; i < 8; ++i) static_cast<void>(table[secret.digits[i] & 0xff]);
    trace_ends();
}

using Operation = void (*)(const EcParamSet&, const Number&);

bool is_constant(const char* what, Operation operation, std::uint32_t index) {
    const EcParamSet& set = *get_GOSTR3410_par(index);
    const auto traces = traces_of([&] {
        for (const Number secret : secrets) operation(set, secret);  // a copy, so that its address is the same
    });
    return are_the_same((what + (" on " + std::string(set.str_oid))).c_str(), traces, std::size(secrets) - 1);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string name = argc == 2 ? argv[1] : "";
    if (name == "control") return !is_constant("a branch", branch, 1) && !is_constant("a look-up", look_up, 1) ? 0 : 1;
    const auto* engine = engine_named(name);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s does not run here\n", name.c_str());
        return cannot_trace;
    }
    const ForcedEngine forced(*engine);
    bool constant = true;
    for (const std::uint32_t set : {1u, 3u}) constant &= is_constant("signing", sign, set);
    constant &= is_constant("making a key", make_key, 1);
    constant &= is_constant("agreeing", agree, 1);
    return constant ? 0 : 1;
}
