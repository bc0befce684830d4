// Tests of statements in the public headers about unusual cases: warnings, unusual codes, deliberate differences from
// the standards.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "support/child_process.hpp"
#include "support/log_capture.hpp"
#include "support/registry_guard.hpp"
#include "vrx.h"

using namespace vrx::test;

namespace {

using Bytes = std::vector<std::uint8_t>;

const std::uint32_t key[VRX_KEY_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};
const vrx_tz& table = TZ_28147_89[1];
const vrx_tz not_deployed{};

Bytes bytes(std::size_t size, std::uint8_t first = 1) {
    Bytes result(size);
    for (std::size_t i = 0; i < size; ++i) result[i] = static_cast<std::uint8_t>(first + 7 * i);
    return result;
}

vrx_crpt_ctx open(std::uint32_t mode, int direction = 1, std::uint32_t meshing = 0, const vrx_tz& with = table,
                  bool with_iv = true) {
    const Bytes iv = bytes(8, 9);
    vrx_crpt_ctx ctx;
    EXPECT_EQ(vrx_crpt_init_context(&ctx, direction, &with, mode, 0, meshing, 0, with_iv ? iv.data() : nullptr, key),
              0);
    return ctx;
}

int update(vrx_crpt_ctx& ctx, Bytes in, Bytes& out, std::uint32_t* length = nullptr) {
    out.assign(in.size() + 8, 0xEE);
    const vrx_data from{static_cast<std::uint32_t>(in.size()), in.data()};
    vrx_data to{static_cast<std::uint32_t>(out.size()), out.data()};
    const int rc = vrx_crpt_update(&ctx, &from, &to);
    if (length != nullptr) *length = to.length;
    return rc;
}

Bytes mac_of(vrx_crpt_ctx& ctx) { return {ctx.mac, ctx.mac + sizeof ctx.mac}; }

// ---- modes.h ----

TEST(ContractModes, in_place_cfb_decryption_gives_wrong_plaintext_after_block_one) {
    const Bytes plain = bytes(24);
    Bytes cipher(24), apart(24);
    std::uint8_t iv[8] = {};
    const vrx_data in{24, const_cast<std::uint8_t*>(plain.data())};
    vrx_data out{24, cipher.data()};
    ASSERT_EQ(VRX_Gost_GFB_m(&table, &in, &out, iv, key, 1, 0), VRX_OK);
    const vrx_data source{24, cipher.data()};
    vrx_data target{24, apart.data()};
    std::memset(iv, 0, 8);
    ASSERT_EQ(VRX_Gost_GFB_m(&table, &source, &target, iv, key, 0, 0), VRX_OK);
    EXPECT_EQ(apart, plain);

    const auto first_block_alone_is_right = [&](const Bytes& text) {
        EXPECT_TRUE(std::equal(text.begin(), text.begin() + 8, plain.begin()));
        EXPECT_FALSE(std::equal(text.begin() + 8, text.begin() + 16, plain.begin() + 8));
    };
    for (const bool by_number : {false, true}) {
        Bytes same = cipher;
        vrx_data both{24, same.data()};
        std::memset(iv, 0, 8);
        ASSERT_EQ(by_number ? vrx_crpt_crypto_engine(VRX_MODE_GFB, &table, &both, &both, iv, key, 0, 0)
                            : VRX_Gost_GFB_m(&table, &both, &both, iv, key, 0, 0),
                  VRX_OK);
        first_block_alone_is_right(same);
    }
    vrx_crpt_ctx ctx;
    for (const bool engine : {false, true}) {
        Bytes same = cipher;
        vrx_data both{24, same.data()};
        ASSERT_EQ(vrx_crpt_init_context(&ctx, 0, &table, VRX_MODE_GFB, 0, 0, 0, nullptr, key), VRX_OK);
        ASSERT_EQ(engine ? vrx_crpt_context_engine(&ctx, &both, &both) : vrx_crpt_update(&ctx, &both, &both), VRX_OK);
        if (engine)
            first_block_alone_is_right(same);
        else
            EXPECT_EQ(same, plain) << "a context decrypts in place";
    }
}

TEST(ContractModes, a_partial_last_block_is_read_before_anything_is_written) {
    Bytes memory = bytes(8 + 8 + 5);
    const Bytes plain(memory.begin(), memory.begin() + 13);
    Bytes expected(13);
    std::uint8_t iv[8] = {}, iv2[8] = {};
    const vrx_data apart_in{13, const_cast<std::uint8_t*>(plain.data())};
    vrx_data apart_out{13, expected.data()};
    ASSERT_EQ(VRX_Gost_Gamm_m(&table, &apart_in, &apart_out, iv, key, VRX_FLAG_PAD), VRX_OK);
    const vrx_data in{13, memory.data()};
    vrx_data out{13, memory.data() + 8};
    ASSERT_EQ(VRX_Gost_Gamm_m(&table, &in, &out, iv2, key, VRX_FLAG_PAD), VRX_OK);
    EXPECT_EQ(Bytes(memory.begin() + 8, memory.end()), expected);
}

TEST(ContractModes, one_record_may_be_input_and_output) {
    Bytes text = bytes(16);
    vrx_data both{16, text.data()};
    EXPECT_EQ(VRX_Gost_SS_m(&table, &both, &both, key, 1), VRX_OK);
    EXPECT_EQ(VRX_Gost_SS_m(&table, &both, &both, key, 0), VRX_OK);
    EXPECT_EQ(text, bytes(16));
}

TEST(ContractModes, ecb_needs_no_iv_and_cbc_logs_nothing) {
    LogCapture log;
    Bytes text = bytes(16);
    vrx_data both{16, text.data()};
    EXPECT_EQ(do_cipher_low(&table, VRX_MODE_SS, &both, &both, nullptr, key, 1, 0), VRX_OK);
    EXPECT_EQ(vrx_crpt_crypto_engine(VRX_MODE_SS, &table, &both, &both, nullptr, key, 1, 0), VRX_OK);
    std::uint8_t iv[8] = {};
    vrx_data odd{9, text.data()};
    EXPECT_EQ(VRX_Gost_CBC_m(&table, &odd, &odd, iv, key, 1), VRX_ERR_BLOCK_MULTIPLE);
    EXPECT_EQ(log.take(), "");
    EXPECT_EQ(VRX_Gost_Gamm_m(&table, &odd, &odd, iv, key, 0), VRX_ERR_BLOCK_MULTIPLE);
    EXPECT_NE(log.take(), "");
}

// ---- context.h ----

TEST(ContractContext, meshing_without_an_iv_fails_but_replaces_the_key) {
    std::uint32_t words[VRX_KEY_WORDS];
    std::memcpy(words, key, sizeof words);
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&table, nullptr, words), VRX_ERR_BAD_PARAMS);
    EXPECT_NE(std::memcmp(words, key, sizeof words), 0);
}

TEST(ContractContext, meshing_whose_first_operation_fails_changes_nothing_and_logs_twice) {
    LogCapture log;
    std::uint32_t words[VRX_KEY_WORDS];
    std::memcpy(words, key, sizeof words);
    std::uint8_t iv[8] = {5};
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&not_deployed, iv, words), VRX_ERR_FAILED);
    EXPECT_EQ(std::memcmp(words, key, sizeof words), 0);
    EXPECT_EQ(iv[0], 5);
    EXPECT_EQ(log.take(), "VRX_Gost_SS_m: TZ not initialized\nVRX_Gost_SS_m: TZ not initialized\n");
}

TEST(ContractContext, final_leaves_the_held_bytes_and_closes) {
    for (const std::uint32_t mode : {1u, 4u}) {
        vrx_crpt_ctx ctx = open(mode);
        Bytes out;
        ASSERT_EQ(update(ctx, bytes(19), out), VRX_OK);
        EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_BLOCK_MULTIPLE);
        EXPECT_EQ(ctx.initialised, 0);
        EXPECT_EQ(ctx.block_len, 3u);
        EXPECT_EQ(std::memcmp(ctx.block, bytes(19).data() + 16, 3), 0);
        EXPECT_EQ(ctx.flags, VRX_FLAG_PAD);
    }
}

TEST(ContractContext, final_without_held_bytes_leaves_these_modes_open) {
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u, 5u, 77u}) {
        vrx_crpt_ctx ctx = open(mode);
        Bytes out;
        if (mode < 6) {
            ASSERT_EQ(update(ctx, bytes(16), out), VRX_OK);
        }
        EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
        EXPECT_EQ(ctx.initialised, mode == 2 || mode == 3 ? 0 : 1) << mode;
    }
}

TEST(ContractContext, an_update_after_a_mac_of_24_bytes_extends_the_message) {
    vrx_crpt_ctx ctx = open(VRX_MODE_IMITO, 1, 0, table, false), whole = open(VRX_MODE_IMITO, 1, 0, table, false);
    Bytes out;
    ASSERT_EQ(update(ctx, bytes(24), out), VRX_OK);
    ASSERT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    ASSERT_EQ(update(ctx, bytes(24, 3), out), VRX_OK);
    Bytes joined = bytes(24);
    const Bytes more = bytes(24, 3);
    joined.insert(joined.end(), more.begin(), more.end());
    ASSERT_EQ(update(whole, joined, out), VRX_OK);
    EXPECT_EQ(mac_of(ctx), mac_of(whole));
}

TEST(ContractContext, flags_hold_the_documented_values) {
    Bytes out;
    vrx_crpt_ctx feedback = open(VRX_MODE_GFB);
    ASSERT_EQ(update(feedback, bytes(16), out), VRX_OK);
    EXPECT_EQ(feedback.flags, VRX_FLAG_FIRST);
    ASSERT_EQ(vrx_crpt_final(&feedback), VRX_OK);
    EXPECT_EQ(feedback.flags, VRX_FLAG_FIRST);
    EXPECT_EQ(open(VRX_MODE_IMITO).flags, 0);
    vrx_crpt_ctx mac = open(VRX_MODE_IMITO, 1, 0, table, false);
    EXPECT_EQ(mac.flags, VRX_FLAG_FIRST);
    ASSERT_EQ(update(mac, bytes(11), out), VRX_OK);
    EXPECT_EQ(mac.flags, 0);
    ASSERT_EQ(vrx_crpt_final(&mac), VRX_OK);
    EXPECT_EQ(mac.flags, VRX_FLAG_PAD);
    EXPECT_EQ(mac.initialised, 0);
}

TEST(ContractContext, engine_treats_empty_input_as_documented) {
    for (const std::uint32_t meshing : {0u, 1u}) {
        vrx_crpt_ctx ctx = open(VRX_MODE_GAMM, 1, meshing);
        std::uint8_t byte = 0;
        const vrx_data in{0, &byte};
        vrx_data out{1, &byte};
        EXPECT_EQ(vrx_crpt_context_engine(&ctx, &in, &out), meshing == 1 ? VRX_OK : VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(out.length, 1u);
    }
}

TEST(ContractContext, padding_flag_across_a_section_loses_the_first_section) {
    const auto counter_after = [](std::uint8_t flags) {
        vrx_crpt_ctx ctx = open(VRX_MODE_GAMM, 1, 1);
        ctx.flags = flags;
        Bytes text = bytes(1032);
        const vrx_data in{1032, text.data()};
        vrx_data out{1032, text.data()};
        EXPECT_EQ(vrx_crpt_context_engine(&ctx, &in, &out), VRX_OK);
        return text;
    };
    EXPECT_EQ(counter_after(VRX_FLAG_FIRST | VRX_FLAG_PAD), counter_after(0));
    EXPECT_NE(counter_after(VRX_FLAG_FIRST | VRX_FLAG_PAD), counter_after(VRX_FLAG_FIRST));
}

TEST(ContractContext, a_mac_after_reset_depends_on_the_previous_mac) {
    Bytes out;
    vrx_crpt_ctx fresh = open(VRX_MODE_IMITO, 1, 0, table, false), again = fresh;
    ASSERT_EQ(update(fresh, bytes(16), out), VRX_OK);
    ASSERT_EQ(update(again, bytes(16, 99), out), VRX_OK);
    ASSERT_EQ(vrx_crpt_final(&again), VRX_OK);
    ASSERT_EQ(vrx_crpt_reset(&again), VRX_OK);
    vrx_crpt_ctx half = again;
    std::memset(half.mac, 0, 4);
    ASSERT_EQ(update(again, bytes(16), out), VRX_OK);
    EXPECT_NE(mac_of(again), mac_of(fresh));
    ASSERT_EQ(update(half, bytes(16), out), VRX_OK);
    EXPECT_EQ(mac_of(again), mac_of(half)) << "the first four bytes are cleared";
}

TEST(ContractContext, reset_in_counter_mode_encrypts_the_counter_twice) {
    Bytes out, expected;
    vrx_crpt_ctx ctx = open(VRX_MODE_GAMM);
    ASSERT_EQ(update(ctx, bytes(16), out), VRX_OK);
    vrx_crpt_ctx other = ctx;
    ASSERT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
    ASSERT_EQ(update(ctx, bytes(8), out), VRX_OK);
    vrx_gost_encr_64_m(other.iv, other.iv, key, &table);
    ASSERT_EQ(update(other, bytes(8), expected), VRX_OK);
    EXPECT_EQ(out, expected);
}

TEST(ContractContext, final_of_a_mac_succeeds_even_without_a_table) {
    vrx_crpt_ctx ctx = open(VRX_MODE_IMITO, 1, 0, not_deployed);
    ctx.block_len = 3;
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
}

TEST(ContractContext, the_older_entry_point_leaves_the_mac_state) {
    vrx_crpt_table_rec record{table, VRX_MODE_IMITO, 0, 0, 0};
    vrx_data table_data{0, reinterpret_cast<std::uint8_t*>(&record)};
    std::uint8_t key_bytes[VRX_KEY_SIZE] = {1};
    vrx_data key_data{1, key_bytes};
    const old_crpt_params parameters{1, 1, &table_data, &key_data, {7}};
    vrx_crpt_ctx ctx;
    std::memset(&ctx, 0xAB, sizeof ctx);
    ASSERT_EQ(old_crpt_init_context(&ctx, 1, &parameters), VRX_OK) << "lengths of 0 and 1 are taken";
    EXPECT_EQ(mac_of(ctx), Bytes(8, 0xAB));
    EXPECT_EQ(std::memcmp(ctx.key, key_bytes, sizeof key_bytes), 0) << "all 32 bytes are read";
    EXPECT_EQ(ctx.flags, VRX_FLAG_FIRST);
}

TEST(ContractContext, failed_update_keeps_the_output_length) {
    Bytes out;
    std::uint32_t length = 0;
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u, 5u}) {
        vrx_crpt_ctx ctx = open(mode, 1, 0, not_deployed), before = ctx;
        EXPECT_EQ(update(ctx, bytes(16), out, &length), VRX_ERR_FAILED);
        EXPECT_EQ(length, 24u);
        if (mode == 2 || mode == 3 || mode == 5) {
            EXPECT_EQ(std::memcmp(&ctx, &before, sizeof ctx), 0) << mode;
        }
    }
    vrx_crpt_ctx held = open(VRX_MODE_CBC, 1, 0, not_deployed);
    ASSERT_EQ(update(held, bytes(3), out), VRX_OK);
    EXPECT_EQ(update(held, bytes(8, 50), out), VRX_ERR_FAILED);
    EXPECT_EQ(held.block[3], 50) << "the held block is overwritten";
    LogCapture log;
    vrx_crpt_ctx codebook = open(VRX_MODE_SS, 1, 0, not_deployed);
    EXPECT_EQ(update(codebook, bytes(8), out), VRX_ERR_FAILED);
    EXPECT_EQ(log.take(), "VRX_Gost_SS_m: TZ not initialized\nVRX_Gost_SS_m: TZ not initialized\n") << "tried twice";
}

// ---- gostr3411.h, hmac.h, kdf.h ----

TEST(ContractHash, only_the_first_full_buffer_of_an_update_is_processed_at_once) {
    GOSTR3411_CTX ctx;
    for (const auto& [size, count] : {std::pair{32u, 0u}, {64u, 32u}, {33u, 1u}, {96u, 32u}}) {
        ASSERT_EQ(GOSTR3411_Init_ex(&ctx, &TZ_3411_94[1]), VRX_OK);
        ASSERT_EQ(GOSTR3411_Update(&ctx, bytes(size).data(), size), VRX_OK);
        EXPECT_EQ(ctx.count, count) << size;
    }
}

TEST(ContractHash, init_by_identifier_logs_no_line_and_transform_one) {
    LogCapture log;
    vrx_gostr3411_par own = GOSTR3411_OIDS[1];
    const std::uint8_t identifier[] = {6, 1, 9};
    own.oid = identifier;
    own.oid_length = sizeof identifier;
    own.tz = nullptr;
    GOSTR3411_CTX ctx;
    EXPECT_EQ(GOSTR3411_Init_more_oids(&ctx, identifier, 3, &own, 1), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(log.take(), "GOSTR3411_Init_ex: bad params\n");
    EXPECT_EQ(GOSTR3411_Init(&ctx, identifier, 3), VRX_ERR_UNSUPPORTED_OID);
    EXPECT_EQ(log.take(), "GOSTR3411_Init_more_oids: unsupported OID\n");
    std::uint8_t out[VRX_HASH_SIZE];
    EXPECT_EQ(GOSTR3411_Transform(identifier, 3, identifier, 3, out), VRX_ERR_UNSUPPORTED_OID);
    const std::string both = log.take();
    EXPECT_EQ(std::count(both.begin(), both.end(), '\n'), 2);
}

TEST(ContractHmac, reset_reads_the_parameter_record_again) {
    vrx_gostr3411_par own = GOSTR3411_OIDS[1];
    RegistryGuard guard;
    DEFAULT_GOSTR3411_OID = &own;
    GOSTR3411_HMAC_CTX ctx;
    ASSERT_EQ(GOSTR3411_HMAC_Init(&ctx, nullptr, 0, nullptr, 0), VRX_OK);
    EXPECT_EQ(ctx.par, &own);
    own.tz = nullptr;
    EXPECT_EQ(GOSTR3411_HMAC_Reset(&ctx), VRX_ERR_BAD_PARAMS);
}

TEST(ContractKdf, zero_output_length_succeeds_only_after_the_other_checks) {
    RegistryGuard guard;
    vrx_gostr3411_par without_table = GOSTR3411_OIDS[1];
    without_table.tz = nullptr;
    const std::uint8_t any = 0;
    EXPECT_EQ(GOSTR3411_PBA_Derive(nullptr, 0, nullptr, 0, 1, 1, &any, 1, nullptr, 0), VRX_OK);
    EXPECT_EQ(GOSTR3411_PBA_Derive(nullptr, 0, nullptr, 0, 1, 1, nullptr, 0, nullptr, 0), VRX_ERR_FAILED);
    DEFAULT_GOSTR3411_OID = &without_table;
    EXPECT_EQ(GOSTR3411_PBA_Derive(nullptr, 0, nullptr, 0, 1, 1, &any, 1, nullptr, 0), VRX_ERR_BAD_PARAMS);
}

// ---- params.h ----

TEST(ContractParams, rows_5_to_9_equal_rows_0_to_4_without_meshing) {
    for (std::uint32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(get_GOST28147_par(5 + i)->tz, get_GOST28147_par(i)->tz);
        EXPECT_EQ(get_GOST28147_par(5 + i)->key_meshing, 0);
    }
}

TEST(ContractParams, registry_keeps_records_and_their_pointers) {
    RegistryGuard guard;
    vrx_gost28147_par own = *get_GOST28147_par(1);
    const std::uint8_t identifier[] = {6, 1, 9};
    ASSERT_EQ(oidSetOIDGOST28147Par(&own, identifier, 3, "text", "name"), VRX_OK);
    EXPECT_EQ(own.oid, identifier);
    ASSERT_EQ(oidRegisterGOST28147Par(&own), VRX_OK);
    vrx_gost28147_par* found = nullptr;
    ASSERT_EQ(oidFindGOST28147Par(identifier, 3, &found), VRX_OK);
    EXPECT_EQ(found, &own);
    EXPECT_EQ(oidFindGOST28147Par(VRX_PAR_CIPHER_A_OID, 9, &found), VRX_ERR_FAILED) << "the list was not empty";
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(oidUnregisterGOST28147Par(VRX_PAR_CIPHER_A_OID, 9), VRX_ERR_BAD_PARAMS);
}

// ---- curves ----

TEST(ContractCurves, scalar_above_the_order_may_give_a_wrong_point_and_code_0) {
    const EcParamSet& set = cp_ecc_par[1];
    std::uint32_t k[VRX_ECC_DIGITS];
    mpAdd(k, set.q, set.q, VRX_ECC_DIGITS);
    mpShortAdd(k, k, 1, VRX_ECC_DIGITS);
    EcPoint wrong, right, table_sum;
    ASSERT_EQ(epMultJ(&wrong, &set.G, k, &set), 0);
    EXPECT_EQ(epIsZero(&wrong), 1u);
    ASSERT_EQ(epMult(&right, &set.G, k, &set), 0);
    EXPECT_EQ(epIsEqual(&right, &set.G), 1u);
    ASSERT_EQ(epMultPP(&table_sum, k, &set), 0);
    EXPECT_EQ(epIsEqual(&table_sum, &set.G), 1u);
}

TEST(ContractCurves, table_is_read_regardless_of_has_precomp) {
    EcParamSet set = cp_ecc_par[1];
    set.has_precomp = 0;
    set.pp[0] = cp_ecc_par[1].pp[1];
    std::uint32_t one[VRX_ECC_DIGITS] = {1};
    EcPoint result;
    ASSERT_EQ(epMultPP(&result, one, &set), 0);
    EXPECT_EQ(epIsEqual(&result, &cp_ecc_par[1].pp[1]), 1u);
}

int fixed_random(void* buffer, std::uint32_t length) {
    std::memset(buffer, 0x35, length);
    return 0;
}

TEST(ContractCurves, verification_reduces_s_and_returns_0_for_valid) {
    const std::uint8_t digest_bytes[32] = {1, 2, 3};
    std::uint32_t digest[VRX_ECC_DIGEST_WORDS];
    std::memcpy(digest, digest_bytes, 32);
    for (const EcParamSet& set : cp_ecc_par) {
        std::uint32_t d[VRX_ECC_DIGITS];
        EcPoint q;
        EcSignature sig;
        ASSERT_EQ(ecGenerateKeyPair(&set, fixed_random, d, &q), VRX_OK);
        ASSERT_EQ(ecSign(&set, digest, fixed_random, d, &sig), VRX_OK);
        EXPECT_EQ(ecVerify(&set, digest, &q, &sig), 0);
        mpAdd(sig.s, sig.s, set.q, VRX_ECC_DIGITS);
        EXPECT_EQ(ecVerify(&set, digest, &q, &sig), 0);
        mpSubtract(sig.s, sig.s, set.q, VRX_ECC_DIGITS);
        mpAdd(sig.r, sig.r, set.q, VRX_ECC_DIGITS);
        EXPECT_EQ(ecVerify(&set, digest, &q, &sig), VRX_ERR_FAILED);
        mpAdd(q.x, q.x, set.p, VRX_ECC_DIGITS);
        EXPECT_EQ(ecCheckPublicKey(&set, &q), VRX_OK) << "coordinates of p and more are accepted";
    }
}

/** Returns how many of the multiples of 2^248 below q are still below 2^256 after q is added, in percent. */
int second_forms(const EcParamSet& set) {
    int forms = 0, all = 0;
    for (std::uint32_t top = 0; top < 256; ++top) {
        std::uint32_t s[VRX_ECC_DIGITS] = {};
        s[7] = top << 24;
        if (mpCompare(s, set.q, VRX_ECC_DIGITS) >= 0) continue;
        ++all;
        mpAdd(s, s, set.q, VRX_ECC_DIGITS);
        forms += s[8] == 0;
    }
    return 100 * forms / all;
}

TEST(ContractCurves, share_of_signatures_with_a_second_form_is_as_documented) {
    const int shares[] = {100, 0, 100, 65, 0, 65};  // percent: Test, A, B, C, XchA, XchB
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i) EXPECT_NEAR(second_forms(cp_ecc_par[i]), shares[i], 2) << i;
}

// ---- bigdigits.h ----

TEST(ContractNumbers, zero_digits_give_the_documented_codes) {
    std::uint32_t w[2] = {}, four[2] = {4, 0}, six[2] = {6, 0};
    EXPECT_EQ(mpShortAdd(w, w, 7, 0), 7u);
    EXPECT_EQ(mpShortSub(w, w, 7, 0), 7u);
    EXPECT_EQ(mpModInv(w, four, six, 2), 1);
}

TEST(ContractNumbers, primality_test_seeds_only_above_1) {
    const std::uint32_t one[1] = {1};
    const ChildRun run = run_in_child([&] {
        srand(5);
        const int expected = rand();
        srand(5);
        EXPECT_EQ(mpRabinMiller(one, 1, 3), 0);
        EXPECT_EQ(rand(), expected);
    });
    EXPECT_TRUE(passed(run)) << run.out;
}

// ---- frame.h ----

TEST(ContractFrame, setting_the_log_twice_closes_standard_error) {
    const ChildRun run = run_in_child([] {
        vrx_set_log_file("stderr");
        vrx_set_log_file(nullptr);
        EXPECT_EQ(write(2, "x", 1), -1);
    });
    EXPECT_TRUE(passed(run)) << run.out;
}

TEST(ContractFrame, some_codes_have_a_second_meaning) {
    EXPECT_EQ(GOSTR3411_Transform(VRX_PAR_HASH_1_OID, 9, VRX_PAR_HASH_1_OID, 0, nullptr), VRX_ERR_BAD_PARAMS);
    vrx_crpt_ctx ctx = open(VRX_MODE_GAMM);
    ASSERT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_CONTEXT_STATE);
}

}  // namespace
