// Constant-time test of hash, HMAC and key derivation by single-stepping: instructions and memory addresses must be the
// same for all messages, keys and passwords of a length. Usage: hash_trace ENGINE | sha1 | control. "sha1" tests the
// engine of SHA-1 for this CPU.
#include <cstdio>
#include <random>
#include <string_view>

#include "gostr3411/engine.hpp"
#include "support/offered.hpp"
#include "trace.hpp"
#include "vrx.h"

namespace {

using namespace vrx::test;
using vrx::gostr3411::Engine;
using vrx::gostr3411::engines;

constexpr std::size_t runs = 4;

struct Secrets {
    std::uint8_t key[40];
    std::uint8_t message[200];
};

bool is_constant(const char* what, const std::function<void(Secrets&)>& operation) {
    static Secrets secrets;
    const auto traces = traces_of([&] {
        std::mt19937 random(1);
        for (std::size_t i = 0; i < runs; ++i) {
            for (auto& byte : secrets.key) byte = static_cast<std::uint8_t>(random());
            for (auto& byte : secrets.message) byte = static_cast<std::uint8_t>(random());
            trace_begins();
            operation(secrets);
            trace_ends();
        }
    });
    return are_the_same(what, traces, runs - 1);
}

std::uint8_t out[VRX_HASH_SIZE];

void hash(const vrx_tz& table, Secrets& s) { GOSTR3411_Transform_ex(&table, s.message, sizeof s.message, out); }

void hash_in_pieces(const vrx_tz& table, Secrets& s) {
    GOSTR3411_CTX ctx;
    GOSTR3411_Init_ex(&ctx, &table);
    GOSTR3411_Update(&ctx, s.message, 77);
    GOSTR3411_Update(&ctx, s.message + 77, sizeof s.message - 77);
    GOSTR3411_Final(&ctx, out);
}

void hmac(Secrets& s) {
    std::uint32_t size;
    GOSTR3411_HMAC(nullptr, 0, s.message, sizeof s.message, s.key, sizeof s.key, out, &size);
}

void derive(Secrets& s) { GOSTR3411_PKCS5_PBKDF2(s.key, 20, s.message, 8, 3, nullptr, 0, out, sizeof out); }

void derive_as_pkcs12(Secrets& s) {
    static std::uint8_t keys[50];
    constexpr std::uint8_t any_oid[1] = {};
    GOSTR3411_PBA_Derive(s.key, 20, s.message, 8, 3, 1, any_oid, sizeof any_oid, keys, sizeof keys);
}

/** A step with look-ups, which the test must detect. */
void by_look_ups(Secrets& s) {
    using namespace vrx::gostr3411;
    store(out, step(load(s.key), load(s.message), TZ_3411_94[1]));
}

void sha1(Secrets& s) {
    sha_context ctx;
    std::uint8_t digest[VRX_SHA1_SIZE];
    shaInit(&ctx);
    shaUpdate(&ctx, s.message, sizeof s.message);
    shaFinal(&ctx, digest);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view name = argc == 2 ? argv[1] : "";
    if (name == "control") {
        return is_constant("look-ups", by_look_ups) ? 1 : 0;
    }
    if (name == "sha1") return is_constant("SHA-1", sha1) ? 0 : 1;
    const Engine* engine = vrx::test::offered_named(engines, name);
    if (engine == nullptr) {
        std::fputs("this engine does not run here\n", stderr);
        return cannot_trace;
    }
    vrx::gostr3411::choice.use(*engine);
    const vrx_tz own = TZ_3411_94[1];
    bool constant = true;
    for (const vrx_tz* table : {&TZ_3411_94[1], &own}) {
        constant &= is_constant("hash", [&](Secrets& s) { hash(*table, s); });
        constant &= is_constant("pieces", [&](Secrets& s) { hash_in_pieces(*table, s); });
    }
#ifdef VRX_CONSTANT_TIME
    vrx_tz strange = own;
    strange.t[3][200] ^= 1;
    constant &= is_constant("hash with any table", [&](Secrets& s) { hash(strange, s); });
#endif
    constant &= is_constant("hmac", hmac);
    constant &= is_constant("pbkdf2", derive);
    constant &= is_constant("pkcs12", derive_as_pkcs12);
    return constant ? 0 : 1;
}
