// Tests every field of the record after opening and resetting a context.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "gost28147/sample_context.hpp"
#include "support/hex.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

TEST(Init, sets_every_byte_of_the_record) {
    const Sample s;
    for (const std::uint32_t mode : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 257u, 0xFFFFFFFFu}) {
        vrx_crpt_ctx ctx;
        std::memset(&ctx, 0xEE, sizeof ctx);
        vrx_tz table = s.table.record;
        table.zero[1] = 0x77;
        EXPECT_EQ(vrx_crpt_init_context(&ctx, 0x1AB, &table, mode, 0x12345678, 0xFEDCBA98, 0x11111111, s.iv.data(),
                                        key_at(s.key.data())),
                  VRX_OK);
        vrx_crpt_ctx expected;
        std::memset(&expected, 0, sizeof expected);
        expected.table = table;
        expected.mode = mode;
        expected.aux1 = 0x12345678;
        expected.key_meshing = 0xFEDCBA98;
        expected.aux2 = 0x11111111;
        std::memcpy(expected.key, s.key.data(), 32);
        std::memcpy(expected.iv, s.iv.data(), 8);
        expected.direction = 0xAB;
        expected.initialised = 1;
        expected.flags = 1;
        if (mode == VRX_MODE_IMITO) {
            std::memcpy(expected.mac, s.iv.data(), 8);
            expected.flags = 0;
        }
        EXPECT_EQ(difference(ctx, expected), "") << mode;
    }
}

TEST(Init, missing_iv_counts_as_zero) {
    const Sample s;
    for (const std::uint32_t mode : all_modes) {
        const vrx_crpt_ctx ctx = s.open(mode, 1, 0, false);
        EXPECT_EQ(hex(ctx.iv), "0000000000000000");
        EXPECT_EQ(hex(ctx.mac), "0000000000000000");
        EXPECT_EQ(ctx.flags, 1);
        EXPECT_EQ(ctx.initialised, 1);
    }
}

TEST(Init, iv_seeds_the_mac_and_clears_the_first_flag) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    EXPECT_EQ(ctx.flags, 0);
    EXPECT_EQ(hex(ctx.mac), hex(s.iv));
    updated(ctx, counted(8));
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(s.iv, counted(8))));
}

TEST(Init, without_an_iv_the_mac_starts_from_zero) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO, 1, 0, false);
    updated(ctx, counted(8));
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(Bytes(8), counted(8))));
}

TEST(Init, refuses_a_null_context_silently) {
    const Sample s;
    Sample logged;
    EXPECT_EQ(vrx_crpt_init_context(nullptr, 1, &s.table.record, 1, 0, 0, 0, s.iv.data(), key_at(s.key.data())),
              VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_crpt_init_context(nullptr, 1, nullptr, 1, 0, 0, 0, nullptr, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(logged.log.take(), "");
}

TEST(Init, direction_is_the_low_8_bits) {
    const Sample s;
    for (const auto& [given, kept] : {std::pair{0, 0}, {1, 1}, {256, 0}, {257, 1}, {-1, 255}, {-256, 0}, {INT_MIN, 0}})
        EXPECT_EQ(s.open(1, given).direction, kept) << given;
}

TEST(Init, takes_a_table_that_is_not_deployed) {
    Sample s;
    s.table.record.initialised = 0;
    for (const std::uint32_t mode : all_modes) EXPECT_EQ(s.open(mode).table.initialised, 0);
}

/** A valid parameter block of the older kind. */
struct OldSample : Sample {
    vrx_crpt_table_rec record{table.record, VRX_MODE_IMITO, 0x1234, 1, 0x5678};
    Bytes raw = Bytes(sizeof record);
    vrx_data table_data{sizeof record, raw.data()};
    vrx_data key_data{32, key.data()};
    old_crpt_params p{7, 9, &table_data, &key_data, {}};

    OldSample() {
        std::memcpy(raw.data(), &record, sizeof record);
        std::ranges::copy(iv, p.iv);
    }
};

TEST(OldInit, sets_all_but_the_mac) {
    const OldSample s;
    vrx_crpt_ctx ctx;
    std::memset(&ctx, 0xEE, sizeof ctx);
    vrx_crpt_ctx expected = ctx;
    EXPECT_EQ(old_crpt_init_context(&ctx, 0x3CD, &s.p), VRX_OK);
    expected.table = s.table.record;
    expected.mode = VRX_MODE_IMITO;
    expected.aux1 = 0x1234;
    expected.key_meshing = 1;
    expected.aux2 = 0x5678;
    std::memcpy(expected.key, s.key.data(), 32);
    std::memcpy(expected.iv, s.iv.data(), 8);
    expected.mesh_count = 0;
    std::memset(expected.block, 0, 8);
    expected.block_len = 0;
    expected.direction = 0xCD;
    expected.initialised = 1;
    expected.flags = 1;
    EXPECT_EQ(difference(ctx, expected), "");
}

TEST(OldInit, iv_does_not_seed_the_mac_and_its_high_half_is_kept) {
    const OldSample s;
    vrx_crpt_ctx ctx;
    std::memset(&ctx, 0x66, sizeof ctx);
    ASSERT_EQ(old_crpt_init_context(&ctx, 1, &s.p), VRX_OK);
    updated(ctx, counted(8));
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(unhex("0000000066666666"), counted(8))));
}

TEST(OldInit, failed_check_only_closes_the_context) {
    for (int defect = 0; defect < 8; ++defect) {
        OldSample s;
        const old_crpt_params* params = &s.p;
        switch (defect) {
            case 0:
                s.p.first = 0;
                break;
            case 1:
                s.p.second = 0;
                break;
            case 2:
                s.table_data.data = nullptr;
                break;
            case 3:
                s.key_data.length = 0;
                break;
            case 4:
                s.key_data.data = nullptr;
                break;
            case 5:
                s.p.table = nullptr;
                break;
            case 6:
                s.p.key = nullptr;
                break;
            default:
                params = nullptr;
                break;
        }
        vrx_crpt_ctx ctx;
        std::memset(&ctx, 0xEE, sizeof ctx);
        vrx_crpt_ctx expected = ctx;
        expected.initialised = 0;
        EXPECT_EQ(old_crpt_init_context(&ctx, 1, params), VRX_ERR_BAD_PARAMS) << defect;
        EXPECT_EQ(difference(ctx, expected), "") << defect;
        EXPECT_EQ(s.log.take(), "");
    }
}

TEST(OldInit, refuses_a_null_context) {
    OldSample s;
    EXPECT_EQ(old_crpt_init_context(nullptr, 1, &s.p), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "");
}

TEST(OldInit, the_key_length_is_not_compared_with_32) {
    for (const std::uint32_t length : {1u, 31u, 33u, 0xFFFFFFFFu}) {
        OldSample s;
        s.key_data.length = length;
        vrx_crpt_ctx ctx{};
        EXPECT_EQ(old_crpt_init_context(&ctx, 1, &s.p), VRX_OK);
        EXPECT_EQ(std::memcmp(ctx.key, s.key.data(), 32), 0);
    }
}

TEST(OldInit, table_record_and_key_may_lie_at_any_address) {
    for (std::size_t offset = 1; offset < 8; ++offset) {
        OldSample s;
        s.raw.insert(s.raw.begin(), offset, 0);
        s.key.insert(s.key.begin(), offset, 0);
        s.table_data.data = s.raw.data() + offset;
        s.key_data.data = s.key.data() + offset;
        vrx_crpt_ctx ctx{};
        ASSERT_EQ(old_crpt_init_context(&ctx, 1, &s.p), VRX_OK);
        EXPECT_EQ(std::memcmp(&ctx.table, &s.table.record, sizeof ctx.table), 0);
        EXPECT_EQ(ctx.aux2, 0x5678u);
        EXPECT_EQ(std::memcmp(ctx.key, s.key.data() + offset, 32), 0);
    }
}

TEST(Reset, without_a_context_is_logged) {
    Sample s;
    EXPECT_EQ(vrx_crpt_reset(nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "vrx_crpt_reset: NULL context\n");
}

TEST(Reset, sets_block_flags_and_state_and_keeps_the_rest) {
    vrx_crpt_ctx ctx;
    std::memset(&ctx, 0xEE, sizeof ctx);
    vrx_crpt_ctx expected = ctx;
    std::memset(expected.block, 0, 8);
    expected.block_len = 0;
    expected.flags = 1;
    expected.initialised = 1;
    EXPECT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
    EXPECT_EQ(difference(ctx, expected), "");
}

TEST(Reset, opens_a_context_that_final_closed) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM);
    updated(ctx, counted(5));
    ASSERT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    ASSERT_EQ(update(ctx, counted(5), 8).rc, VRX_ERR_CONTEXT_STATE);
    ASSERT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
    EXPECT_EQ(update(ctx, counted(5), 8).rc, VRX_OK);
}

TEST(Reset, cnt_continues_from_its_encrypted_register) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM);
    updated(ctx, counted(16));
    const Bytes left(ctx.iv, ctx.iv + 8);
    ASSERT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
    EXPECT_EQ(hex(ctx.iv), hex(left));
    const Bytes output = updated(ctx, Bytes(8));
    Bytes counter = s.encrypted(left);
    Bytes expected(8);
    model::gamm_64(Bytes(8).data(), expected.data(), counter.data(), s.key.data(), s.table.substitution);
    EXPECT_EQ(hex(output), hex(expected));
    EXPECT_EQ(hex(ctx.iv), hex(counter));
}

TEST(Reset, cfb_keeps_its_register_and_drops_a_partial_block) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GFB);
    updated(ctx, counted(11));
    const Bytes left(ctx.iv, ctx.iv + 8);
    ASSERT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
    EXPECT_EQ(hex(updated(ctx, Bytes(8))), hex(s.encrypted(left)));
}

TEST(Reset, only_the_low_half_of_a_mac_is_cleared) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO, 1, 0, false);
    updated(ctx, counted(8));
    Bytes state(ctx.mac, ctx.mac + 8);
    ASSERT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
    EXPECT_EQ(hex(ctx.mac), hex(state));
    updated(ctx, counted(8));
    std::memset(state.data(), 0, 4);
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(state, counted(8))));
}

}  // namespace
