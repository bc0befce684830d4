// Constant-time test of the exported functions for hash, cipher and numbers with valgrind. Secrets are marked as
// uninitialised memory, so valgrind reports every branch and every address that depends on a secret. lookups.supp
// exempts only the table look-ups of hash and cipher. Usage: interface_secrets hash ENGINE | cipher ENGINE | numbers |
// branch | lookup. "branch" branches on a digest, and "lookup" hashes with look-ups. valgrind must report both.
#include <valgrind/memcheck.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "gost28147/engine/list.hpp"
#include "gostr3411/engine.hpp"
#include "sha1/compress.hpp"
#include "support/offered.hpp"
#include "vrx.h"

namespace {

template <typename T>
void make_secret(T& value) {
    static_cast<void>(VALGRIND_MAKE_MEM_UNDEFINED(&value, sizeof value));
}

/**
 * Checks that a result which depends on a secret is marked as secret. If it is not, valgrind has lost track of the
 * secret.
 */
template <typename T>
void expect_secret(const T& value, const char* what) {
    unsigned char bits[sizeof value];
    static_cast<void>(VALGRIND_GET_VBITS(&value, bits, sizeof value));
    for (const unsigned char b : bits)
        if (b != 0) return;
    std::fprintf(stderr, "%s: the result does not depend on the secret\n", what);
    std::exit(1);
}

void expect_ok(int rc, const char* what) {
    if (rc == VRX_OK) return;
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(1);
}

struct Secrets {
    std::uint8_t key[77];
    std::uint8_t message[200];
    std::uint32_t words[VRX_KEY_WORDS];
    std::uint8_t iv[VRX_BLOCK_SIZE];
};
Secrets secrets;

// Lengths of data. These lengths are public. Some are multiples of the block length, and some are not.
constexpr std::uint32_t lengths[] = {1, 31, 32, 33, 64, 77};

void hash() {
    struct {
        std::uint8_t out[VRX_HASH_SIZE];
    } digest;
    for (const std::uint32_t length : lengths) {
        expect_ok(GOSTR3411_Transform_ex(&TZ_3411_94[1], secrets.message, length, digest.out), "hash");
        expect_secret(digest, "hash");
        GOSTR3411_CTX ctx;
        expect_ok(GOSTR3411_Init_ex(&ctx, &TZ_3411_94[0]), "init");
        expect_ok(GOSTR3411_Update(&ctx, secrets.message, length), "update");
        expect_ok(GOSTR3411_Update(&ctx, secrets.message, 40), "update");
        expect_ok(GOSTR3411_Final(&ctx, digest.out), "final");
        expect_secret(digest, "hash in pieces");
    }
}

void hmac() {
    struct {
        std::uint8_t out[VRX_HMAC_SIZE];
    } mac;
    constexpr std::uint8_t text[50] = {1, 2, 3};
    std::uint32_t size;
    for (const std::uint32_t length : lengths) {
        expect_ok(GOSTR3411_HMAC(nullptr, 0, text, sizeof text, secrets.key, length, mac.out, &size), "HMAC");
        expect_secret(mac, "HMAC");
        GOSTR3411_HMAC_CTX ctx;
        expect_ok(GOSTR3411_HMAC_Init(&ctx, nullptr, 0, secrets.key, length), "HMAC init");
        for (int message = 0; message < 2; ++message) {
            expect_ok(GOSTR3411_HMAC_Update(&ctx, secrets.message, sizeof secrets.message), "HMAC update");
            expect_ok(GOSTR3411_HMAC_Final(&ctx, mac.out, &size), "HMAC final");
            expect_secret(mac, "HMAC in pieces");
            expect_ok(GOSTR3411_HMAC_Reset(&ctx), "HMAC reset");
        }
    }
}

void derive() {
    struct {
        std::uint8_t out[100];
    } keys;
    constexpr std::uint8_t salt[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (const std::uint32_t length : lengths) {
        expect_ok(
            GOSTR3411_PKCS5_PBKDF2(secrets.key, length, salt, sizeof salt, 3, nullptr, 0, keys.out, VRX_PBKDF2_SIZE),
            "PBKDF2");
        expect_secret(keys, "PBKDF2");
        constexpr std::uint8_t any_oid[1] = {};
        expect_ok(GOSTR3411_PBA_Derive(secrets.key, static_cast<std::int32_t>(length), salt, sizeof salt, 3, 1, any_oid,
                                       sizeof any_oid, keys.out, sizeof keys.out),
                  "PKCS #12 derivation");
        expect_secret(keys, "PKCS #12 derivation");
    }
}

void sha1() {
    std::array<std::uint32_t, 5> state = {1, 2, 3, 4, 5};
    vrx::sha1::compress_portable(state, secrets.message, sizeof secrets.message / vrx::sha1::block_size);
    expect_secret(state, "SHA-1");
}

/** The whole length in one call. Engines process only a part of it. */
void one_call(int mode, int direction) {
    std::uint8_t text[8 * 45];
    make_secret(text);
    const vrx_data in{sizeof text, text};
    vrx_data out = in;
    expect_ok(do_cipher_low(&TZ_28147_89[1], mode, &in, &out, secrets.iv, secrets.words, direction,
                            VRX_FLAG_FIRST | VRX_FLAG_PAD),
              "a mode");
    expect_secret(text, "a mode");
}

/** A context with pieces that cross a key meshing boundary. */
void in_pieces(std::uint32_t mode, int direction) {
    std::uint8_t text[VRX_MESHING_SECTION + 24];
    make_secret(text);
    vrx_crpt_ctx ctx;
    expect_ok(
        vrx_crpt_init_context(&ctx, direction, get_GOST28147_par(1)->tz, mode, 0, 1, 0, secrets.iv, secrets.words),
        "init context");
    for (const std::uint32_t piece : {24U, 600U, 424U}) {
        const vrx_data in{piece, text};
        vrx_data out = in;
        expect_ok(vrx_crpt_update(&ctx, &in, &out), "update");
    }
    expect_ok(vrx_crpt_final(&ctx), "final");
    if (mode == VRX_MODE_IMITO)
        expect_secret(ctx.mac, "a MAC in pieces");
    else
        expect_secret(text, "a context");
}

/** Single blocks, and a meshing. */
void blocks() {
    const vrx_tz& table = TZ_28147_89[1];
    struct {
        std::uint8_t bytes[VRX_BLOCK_SIZE];
    } block;
    const auto each = [&](const char* what, auto call) {
        make_secret(block);
        call(block.bytes);
        expect_secret(block, what);
    };
    each("a block", [&](std::uint8_t* b) { vrx_gost_encr_64_m(b, b, secrets.words, &table); });
    each("a block", [&](std::uint8_t* b) { vrx_gost_decr_64_m(b, b, secrets.words, &table); });
    each("a counter block", [&](std::uint8_t* b) { vrx_gost_gamm_64_m(b, b, secrets.iv, secrets.words, &table); });
    each("a block of a MAC", [&](std::uint8_t* b) { vrx_gost_imito_64_m(secrets.message, b, secrets.words, &table); });
    for (const int direction : {0, 1}) {
        each("a block in CFB",
             [&](std::uint8_t* b) { vrx_gost_GFB_64_m(b, b, secrets.iv, secrets.words, &table, direction); });
        each("a block in CBC",
             [&](std::uint8_t* b) { vrx_gost_cbc_64_m(b, b, secrets.iv, secrets.words, &table, direction); });
    }
    // The new key need not be marked as secret, because valgrind regards an entry of a public table as public.
    expect_ok(vrx_crpt_crypto_pro_key_meshing_engine(&table, secrets.iv, secrets.words), "a meshing");
    make_secret(secrets.iv);
    make_secret(secrets.words);
}

void cipher() {
    blocks();
    for (const int mode : {VRX_MODE_SS, VRX_MODE_GAMM, VRX_MODE_GFB, VRX_MODE_CBC})
        for (const int direction : {0, 1}) {
            one_call(mode, direction);
            in_pieces(static_cast<std::uint32_t>(mode), direction);
        }
    in_pieces(VRX_MODE_IMITO, 1);

    struct {
        std::uint8_t out[VRX_BLOCK_SIZE];
    } mac;
    const vrx_data in{sizeof secrets.message, secrets.message};
    vrx_data out{sizeof mac, mac.out};
    expect_ok(VRX_Gost_Imito_m(&TZ_28147_89[1], &in, &out, secrets.words, VRX_FLAG_FIRST), "MAC");
    expect_secret(mac, "MAC");

    std::uint8_t kek[VRX_KEK_SIZE];
    make_secret(kek);
    constexpr std::uint8_t ukm[VRX_UKM_SIZE] = {0, 0xff, 0x5a, 1, 2, 3, 4, 5};
    expect_ok(ecDiversifyKEK(&TZ_28147_89[1], kek, ukm), "diversification");
    expect_secret(kek, "diversification");
}

void numbers() {
    constexpr std::uint64_t n = VRX_ECC_DIGITS;
    struct {
        std::uint32_t digits[2 * n];
    } w;
    std::uint32_t u[n];
    std::uint32_t v[n];
    make_secret(u);
    make_secret(v);
    mpAdd(w.digits, u, v, n);
    mpSubtract(w.digits, u, v, n);
    for (std::uint64_t digits = 1; digits <= n; ++digits) {
        mpMultiply(w.digits, u, v, digits);
        mpSquare(w.digits, u, digits);
    }
    expect_secret(w, "a square");
    mpShiftLeft(w.digits, u, 45, n);
    mpShiftRight(w.digits, u, 45, n);
    mpXorBits(w.digits, u, v, n);
    mpOrBits(w.digits, u, v, n);
    mpAndBits(w.digits, u, v, n);
    mpNotBits(w.digits, u, n);
    mpShortAdd(w.digits, u, v[0], n);
    mpShortSub(w.digits, u, v[0], n);
    mpShortMult(w.digits, u, v[0], n);
    mpChs(w.digits, u, n);
    mpAbs(w.digits, u, n);
    mpSetEqual(w.digits, u, n);
    mpSetBit(w.digits, n, 33, 1);
    mpModPowerOf2(w.digits, n, 45);
    mpSetDigit(w.digits, u[0], n);
    spMultiply(w.digits, u[0], v[0]);
    static_cast<void>(mpGetBit(u, n, 33));
    static_cast<void>(mpIsNegative(u, n));
    mpConvFromOctets(w.digits, n, secrets.key, VRX_PRIVATE_KEY_SIZE);
    expect_secret(w, "a number of octets");
}

/** Control: branches on a digest. */
void compare() {
    std::uint8_t digest[VRX_HASH_SIZE];
    expect_ok(GOSTR3411_Transform_ex(&TZ_3411_94[1], secrets.message, sizeof secrets.message, digest), "hash");
    if (digest[0] == 0x5a) std::puts("it begins with 5a");
}

/** Control: makes look-ups that depend on a message. */
void look_up() {
    using namespace vrx::gostr3411;
    store(secrets.key, step(load(secrets.key), load(secrets.message), TZ_3411_94[1]));
}

/** Uses an engine of a family from now on. Skips the test if it does not run on this CPU. */
template <auto& choice>
void run_engine(const auto& engines, std::string_view name) {
    const auto* const engine = vrx::test::offered_named(engines, name);
    if (engine == nullptr) std::exit(77);
    choice.use(*engine);
}

}  // namespace

int main(int argc, char** argv) {
    make_secret(secrets);
    const std::string_view family = argc > 1 ? argv[1] : "";
    const std::string_view name = argc > 2 ? argv[2] : "";
    if (family == "branch" || family == "numbers" || family == "lookup") {
        family == "branch" ? compare() : family == "numbers" ? numbers() : look_up();
        return 0;
    }
    if (family == "hash") {
        run_engine<vrx::gostr3411::choice>(vrx::gostr3411::engines, name);
        hash();
        hmac();
        derive();
        sha1();
        return 0;
    }
    if (family == "cipher") {
        run_engine<vrx::gost28147::choice>(vrx::gost28147::engines, name);
        cipher();
        return 0;
    }
    std::fputs("usage: interface_secrets hash ENGINE | cipher ENGINE | numbers | branch | lookup\n", stderr);
    return 2;
}
