// Tests of contexts: random sequences of calls, the checks of each update, and finishing.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "gost28147/sample_context.hpp"
#include "gost28147/sequence.hpp"
#include "support/sanitizers.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

TEST(Context, random_sequences_of_calls_equal_the_model) {
    Random random;
    for (int sequence = 0; sequence < repetitions(12000); ++sequence) {
        Sequence calls(random);
        ASSERT_TRUE(calls.open()) << "sequence " << sequence;
        for (int step = 0; step < 20; ++step) ASSERT_TRUE(calls.step()) << "sequence " << sequence << ", step " << step;
    }
}

TEST(Update, reports_null_pointers_before_a_closed_context) {
    Sample s;
    for (const std::uint32_t mode : all_modes) {
        vrx_crpt_ctx ctx = s.open(mode);
        ctx.initialised = 0;
        const vrx_crpt_ctx before = ctx;
        std::uint8_t byte = 0;
        vrx_data in{1, &byte};
        vrx_data out{8, &byte};
        const vrx_data null_data{0, nullptr};
        EXPECT_EQ(vrx_crpt_update(&ctx, nullptr, &out), VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(vrx_crpt_update(nullptr, &in, &out), VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(vrx_crpt_update(&ctx, &null_data, &out), VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(vrx_crpt_update(&ctx, &in, nullptr), mode == 5 ? VRX_ERR_CONTEXT_STATE : VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_ERR_CONTEXT_STATE);
        out.data = nullptr;
        EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_ERR_CONTEXT_STATE);
        EXPECT_EQ(difference(ctx, before), "");
    }
    EXPECT_EQ(s.log.take(), "");
}

TEST(StreamFunctions, report_a_closed_context_before_null_pointers) {
    Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM);
    std::uint8_t byte = 0;
    vrx_data in{1, &byte};
    vrx_data out{1, &byte};
    for (auto* function : {vrx_crpt_CNT_ctx, vrx_crpt_CFB_ctx}) {
        EXPECT_EQ(function(nullptr, &in, &out), VRX_ERR_BAD_PARAMS);
        ctx.initialised = 0;
        EXPECT_EQ(function(&ctx, nullptr, nullptr), VRX_ERR_CONTEXT_STATE);
        ctx.initialised = 1;
        EXPECT_EQ(function(&ctx, nullptr, &out), VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(function(&ctx, &in, nullptr), VRX_ERR_BAD_PARAMS);
    }
    EXPECT_EQ(vrx_crpt_IMITO_ctx(nullptr, &in), VRX_ERR_BAD_PARAMS);
    ctx.initialised = 0;
    EXPECT_EQ(vrx_crpt_IMITO_ctx(&ctx, nullptr), VRX_ERR_CONTEXT_STATE);
    ctx.initialised = 1;
    EXPECT_EQ(vrx_crpt_IMITO_ctx(&ctx, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "");
}

TEST(StreamFunctions, check_pointers_then_lengths_then_the_table) {
    Sample s;
    for (auto* function : {vrx_crpt_CNT_ctx, vrx_crpt_CFB_ctx}) {
        vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM);
        ctx.table.initialised = 0;
        const vrx_crpt_ctx before = ctx;
        Bytes bytes(16);
        vrx_data in{0, nullptr};
        vrx_data out{9, bytes.data()};
        EXPECT_EQ(function(&ctx, &in, &out), VRX_ERR_BAD_PARAMS);
        in.data = bytes.data();
        out.data = nullptr;
        EXPECT_EQ(function(&ctx, &in, &out), VRX_ERR_BAD_PARAMS);
        out.data = bytes.data();
        EXPECT_EQ(function(&ctx, &in, &out), VRX_ERR_BUFFER_LENGTH);
        in.length = 10;
        EXPECT_EQ(function(&ctx, &in, &out), VRX_ERR_BUFFER_LENGTH);
        in.length = 9;
        EXPECT_EQ(function(&ctx, &in, &out), VRX_ERR_FAILED);
        EXPECT_EQ(difference(ctx, before), "");
        EXPECT_EQ(out.length, 9u);
        EXPECT_EQ(bytes, Bytes(16));
    }
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    ctx.table.initialised = 0;
    vrx_data in{0, nullptr};
    std::uint8_t byte = 0;
    EXPECT_EQ(vrx_crpt_IMITO_ctx(&ctx, &in), VRX_ERR_BAD_PARAMS);
    in.data = &byte;
    EXPECT_EQ(vrx_crpt_IMITO_ctx(&ctx, &in), VRX_ERR_BUFFER_LENGTH);
    ctx.flags = VRX_FLAG_PAD;
    EXPECT_EQ(vrx_crpt_IMITO_ctx(&ctx, &in), VRX_ERR_FAILED);
    ctx.flags = 0;
    in.length = 1;
    EXPECT_EQ(vrx_crpt_IMITO_ctx(&ctx, &in), VRX_ERR_FAILED);
    EXPECT_EQ(s.log.take(), "");
}

TEST(StreamFunctions, work_whatever_the_mode_field_says) {
    const Sample s;
    for (const std::uint32_t mode : {0u, 1u, 5u, 77u}) {
        vrx_crpt_ctx counter = s.open(VRX_MODE_GAMM);
        const Bytes expected = updated(counter, counted(20));
        vrx_crpt_ctx other = s.open(mode);
        other.flags = 1;
        Bytes input = counted(20);
        Bytes output(20);
        const vrx_data in{20, input.data()};
        vrx_data out{20, output.data()};
        EXPECT_EQ(vrx_crpt_CNT_ctx(&other, &in, &out), VRX_OK);
        EXPECT_EQ(hex(output), hex(expected));
    }
}

TEST(Update, any_state_but_zero_is_open) {
    const Sample s;
    for (const std::uint32_t mode : all_modes) {
        vrx_crpt_ctx ctx = s.open(mode);
        ctx.initialised = 0x80;
        EXPECT_EQ(update(ctx, counted(8), 8).rc, VRX_OK);
        EXPECT_EQ(ctx.initialised, 0x80);
    }
}

TEST(Update, empty_input_is_valid_only_in_block_modes) {
    const Sample s;
    for (const std::uint32_t mode : all_modes) {
        vrx_crpt_ctx ctx = s.open(mode);
        const vrx_crpt_ctx before = ctx;
        const CallResult result = update(ctx, {}, 8);
        const bool buffered = mode == VRX_MODE_SS || mode == VRX_MODE_CBC;
        EXPECT_EQ(result.rc, buffered ? VRX_OK : VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(result.length, buffered ? 0u : 8u);
        EXPECT_EQ(difference(ctx, before), "");
    }
}

TEST(Update, a_table_that_is_not_deployed_fails) {
    Sample s;
    s.table.record.initialised = 0;
    for (const std::uint32_t mode : all_modes) {
        vrx_crpt_ctx ctx = s.open(mode);
        const vrx_crpt_ctx before = ctx;
        EXPECT_EQ(update(ctx, counted(8), 8).rc, VRX_ERR_FAILED);
        EXPECT_EQ(difference(ctx, before), "");
        // Only ECB logs a line. The mode function is called twice, so there are two lines.
        EXPECT_EQ(s.log.take(), mode == VRX_MODE_SS ? not_deployed + not_deployed : "");
    }
}

TEST(Final, logs_a_missing_and_a_closed_context) {
    Sample s;
    EXPECT_EQ(vrx_crpt_final(nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "vrx_crpt_final: NULL context\n");
    for (const std::uint32_t mode : all_modes) {
        vrx_crpt_ctx ctx = s.open(mode);
        ctx.initialised = 0;
        ctx.block_len = 3;
        const vrx_crpt_ctx before = ctx;
        EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_CONTEXT_STATE);
        EXPECT_EQ(s.log.take(), "vrx_crpt_final: uninitialized context\n");
        EXPECT_EQ(difference(ctx, before), "");
    }
}

TEST(Final, closes_streams_and_changes_nothing_else) {
    Sample s;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_GAMM}, unsigned{VRX_MODE_GFB}})
        for (const std::size_t length : {0u, 5u, 8u}) {
            vrx_crpt_ctx ctx = s.open(mode);
            if (length > 0) updated(ctx, counted(length));
            vrx_crpt_ctx expected = ctx;
            expected.initialised = 0;
            EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
            EXPECT_EQ(difference(ctx, expected), "");
        }
    EXPECT_EQ(s.log.take(), "");
}

TEST(Final, leaves_an_empty_context_open) {
    Sample s;
    for (const std::uint32_t mode : {0u, 1u, 4u, 5u, 6u})
        for (const bool used : {false, true}) {
            if (used && (mode == 0 || mode == 6)) continue;
            vrx_crpt_ctx ctx = s.open(mode);
            if (used) updated(ctx, counted(16));
            const vrx_crpt_ctx before = ctx;
            EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
            EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
            EXPECT_EQ(difference(ctx, before), "") << mode;
        }
    EXPECT_EQ(s.log.take(), "");
}

TEST(Final, of_a_partial_block_in_block_modes_fails_and_closes) {
    for (const std::uint32_t mode : {unsigned{VRX_MODE_SS}, unsigned{VRX_MODE_CBC}})
        for (const std::uint32_t meshing : {0u, 1u})
            for (std::size_t held = 1; held < 8; ++held) {
                Sample s;
                vrx_crpt_ctx ctx = s.open(mode, 1, meshing);
                updated(ctx, counted(held));
                vrx_crpt_ctx expected = ctx;
                expected.initialised = 0;
                expected.flags = 2;
                EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_BLOCK_MULTIPLE);
                EXPECT_EQ(difference(ctx, expected), "");
                EXPECT_EQ(s.log.take(), mode == VRX_MODE_SS
                                            ? "VRX_Gost_SS_m: input data length should be multiple of block size\n"
                                            : "");
            }
}

TEST(Final, of_a_partial_block_meshes_first_after_a_full_section) {
    Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_CBC, 1, 1);
    updated(ctx, counted(1027));
    ASSERT_EQ(ctx.mesh_count, 1024u);
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_BLOCK_MULTIPLE);
    EXPECT_EQ(ctx.mesh_count, 0u);
    EXPECT_NE(std::memcmp(ctx.key, s.key.data(), 32), 0);
    EXPECT_EQ(s.log.take(), "");
}

TEST(Final, of_unknown_modes_with_bytes_held_fails_and_closes) {
    Sample s;
    for (const std::uint32_t mode : {0u, 6u, 257u}) {
        vrx_crpt_ctx ctx = s.open(mode);
        updated(ctx, counted(3));
        EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_UNKNOWN_MODE);
        EXPECT_EQ(ctx.initialised, 0);
        EXPECT_EQ(ctx.flags, 2);
    }
    EXPECT_EQ(s.log.take(), "");
}

}  // namespace
