// Tests of contexts in MAC mode: updates and finishing.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "gost28147/sample_context.hpp"
#include "support/hex.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

TEST(Update, a_mac_does_not_look_at_its_output) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    vrx_crpt_ctx other = ctx;
    Bytes bytes = counted(13);
    const vrx_data in{13, bytes.data()};
    vrx_data out{0, nullptr};
    EXPECT_EQ(vrx_crpt_update(&ctx, &in, nullptr), VRX_OK);
    EXPECT_EQ(vrx_crpt_update(&other, &in, &out), VRX_OK);
    EXPECT_EQ(out.length, 0u);
    EXPECT_EQ(difference(ctx, other), "");
}

TEST(Mac, whole_blocks_are_absorbed_at_once_and_zeros_fill_the_block) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO, 1, 0, false);
    updated(ctx, unhex("a1a2a3"));
    EXPECT_EQ(ctx.flags, 1);
    updated(ctx, unhex("a4a5a6a7a8b1b2"));
    EXPECT_EQ(ctx.flags, 0);
    EXPECT_EQ(ctx.block_len, 2u);
    EXPECT_EQ(hex(ctx.block), "b1b2000000000000");
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(Bytes(8), unhex("a1a2a3a4a5a6a7a8"))));
    updated(ctx, unhex("b3b4b5b6b7b8"));
    EXPECT_EQ(ctx.block_len, 0u);
    EXPECT_EQ(hex(ctx.block), "0000000000000000");
}

TEST(Mac, the_first_flag_clears_only_the_low_half_of_the_state) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO, 1, 0, false);
    std::memset(ctx.mac, 0x55, 8);
    updated(ctx, counted(8));
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(unhex("0000000055555555"), counted(8))));
}

TEST(Mac, the_final_flag_counts_for_less_than_a_block_only) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    vrx_crpt_ctx with_flag = ctx;
    with_flag.flags = VRX_FLAG_PAD;
    updated(ctx, counted(13));
    updated(with_flag, counted(13));
    EXPECT_EQ(difference(with_flag, ctx), "");
    EXPECT_EQ(ctx.block_len, 5u);
}

TEST(Mac, a_message_of_less_than_a_block_keeps_the_low_half) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO, 1, 0, false);
    std::memset(ctx.mac, 0x55, 8);
    updated(ctx, unhex("a1a2a3"));
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(Bytes(8, 0x55), unhex("a1a2a30000000000"))));
    EXPECT_EQ(ctx.flags, 2);
    EXPECT_EQ(ctx.block_len, 3u);
    EXPECT_EQ(hex(ctx.block), "a1a2a30000000000");
    EXPECT_EQ(ctx.initialised, 0);
}

TEST(Mac, final_absorbs_the_padded_rest) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    updated(ctx, counted(11));
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(s.absorbed(s.iv, counted(8)), unhex("08090a0000000000"))));
    EXPECT_EQ(ctx.initialised, 0);
    EXPECT_EQ(ctx.flags, 2);
    EXPECT_EQ(ctx.block_len, 3u);
}

TEST(Mac, final_of_whole_blocks_leaves_the_mac_unchanged) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    updated(ctx, counted(16));
    const Bytes mac(ctx.mac, ctx.mac + 8);
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(hex(ctx.mac), hex(mac));
    EXPECT_EQ(ctx.initialised, 1);
}

TEST(Mac, final_returns_0_even_if_the_table_is_not_deployed) {
    Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    updated(ctx, counted(3));
    ctx.table.initialised = 0;
    vrx_crpt_ctx expected = ctx;
    expected.flags = 2;
    expected.initialised = 0;
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(difference(ctx, expected), "");
    EXPECT_EQ(s.log.take(), "");
}

}  // namespace
