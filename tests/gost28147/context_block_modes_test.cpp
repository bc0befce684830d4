// Tests of updates in ECB and CBC mode, in which a context holds back a partial block.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>

#include "gost28147/sample_context.hpp"
#include "support/hex.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

TEST(BlockModes, less_than_a_block_waits) {
    const Sample s;
    for (const std::uint32_t mode : {0u, 1u, 4u, 6u, 257u}) {
        vrx_crpt_ctx ctx = s.open(mode);
        const CallResult result = update(ctx, counted(7), 0);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(result.length, 0u);
        EXPECT_EQ(ctx.block_len, 7u);
        EXPECT_EQ(hex({ctx.block, 7}), "00010203040506");
        EXPECT_EQ(ctx.flags, 1);
    }
}

TEST(BlockModes, size_query_precedes_all_checks_and_consumes_nothing) {
    const Sample s;
    for (const std::uint32_t mode : {0u, 1u, 4u, 257u})
        for (const std::uint32_t held : {0u, 3u, 7u})
            for (const std::uint32_t length : {0u, 1u, 5u, 8u, 13u, 4096u, 0xFFFFFFF8u - 8u, 0xFFFFFFFFu - 7u}) {
                vrx_crpt_ctx ctx = s.open(mode);
                updated(ctx, counted(held));
                ctx.table.initialised = 0;
                const vrx_crpt_ctx before = ctx;
                std::uint8_t byte = 0;
                const vrx_data in{length, &byte};
                vrx_data out{0, nullptr};
                EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_OK);
                EXPECT_EQ(out.length, (held + length) / 8 * 8);
                EXPECT_EQ(difference(ctx, before), "");
            }
}

TEST(BlockModes, too_small_an_output_is_refused_and_consumes_nothing) {
    const Sample s;
    for (const std::uint32_t mode : {0u, 1u, 4u}) {
        vrx_crpt_ctx ctx = s.open(mode);
        updated(ctx, counted(3));
        const vrx_crpt_ctx before = ctx;
        const CallResult result = update(ctx, counted(13), 15);
        EXPECT_EQ(result.rc, VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(result.length, 15u);
        EXPECT_EQ(result.output, Bytes(15, 0xEE));
        EXPECT_EQ(difference(ctx, before), "");
    }
    // The capacity may be smaller than the input, because the context holds back a partial block.
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
    EXPECT_EQ(update(ctx, counted(15), 8).rc, VRX_OK);
}

TEST(BlockModes, held_bytes_plus_the_longest_input_do_not_overflow) {
    const Sample s;
    for (const std::uint32_t held : {1u, 7u}) {
        vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
        updated(ctx, counted(held));
        const vrx_crpt_ctx before = ctx;
        Bytes bytes(16, 0xEE);
        const vrx_data in{UINT_MAX, bytes.data()};
        vrx_data out{UINT_MAX, bytes.data() + 8};
        EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(out.length, UINT_MAX);
        EXPECT_EQ(bytes, Bytes(16, 0xEE));
        EXPECT_EQ(difference(ctx, before), "");
    }
}

TEST(BlockModes, unused_bytes_of_the_held_block_keep_their_values) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
    updated(ctx, unhex("a1a2a3a4a5a6a7"));
    updated(ctx, unhex("b1b2b3"));
    EXPECT_EQ(ctx.block_len, 2u);
    EXPECT_EQ(hex(ctx.block), "b2b3a3a4a5a6a7b1");
}

TEST(BlockModes, failed_engine_is_retried_and_the_held_count_stays) {
    Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
    updated(ctx, unhex("a1a2a3"));
    ctx.table.initialised = 0;
    vrx_crpt_ctx expected = ctx;
    std::ranges::copy(unhex("a1a2a3b1b2b3b4b5"), expected.block);
    const CallResult result = update(ctx, unhex("b1b2b3b4b5b6b7b8b9ba"), 16);
    EXPECT_EQ(result.rc, VRX_ERR_FAILED);
    EXPECT_EQ(result.length, 16u);
    EXPECT_EQ(result.output, Bytes(16, 0xEE));
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed);
    EXPECT_EQ(difference(ctx, expected), "");
}

TEST(BlockModes, failed_meshing_resets_the_count_before_the_retry) {
    // The first meshing fails, but it starts a new section. Therefore the retry does not mesh.
    Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS, 1, 1);
    ctx.table.initialised = 0;
    ctx.mesh_count = 1024;
    EXPECT_EQ(update(ctx, counted(8), 8).rc, VRX_ERR_FAILED);
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed + not_deployed + not_deployed);
    EXPECT_EQ(ctx.mesh_count, 0u);
    EXPECT_EQ(ctx.initialised, 1);
}

TEST(BlockModes, all_32_bits_of_the_mode_count) {
    Sample s;
    for (const std::uint32_t mode :
         {0u, 6u, 255u, 256u, 257u, 0x102u, 0x103u, 0x104u, 0x105u, 0x80000001u, 0xFFFFFFFFu}) {
        vrx_crpt_ctx ctx = s.open(mode);
        EXPECT_EQ(update(ctx, counted(7), 7).rc, VRX_OK);
        vrx_crpt_ctx expected = ctx;
        expected.block[7] = 0;
        const CallResult result = update(ctx, counted(1), 8);
        EXPECT_EQ(result.rc, VRX_ERR_UNKNOWN_MODE);
        EXPECT_EQ(result.length, 8u);
        EXPECT_EQ(difference(ctx, expected), "");
        EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_UNKNOWN_MODE);
        EXPECT_EQ(ctx.initialised, 0);
    }
    EXPECT_EQ(s.log.take(), "");
}

}  // namespace
