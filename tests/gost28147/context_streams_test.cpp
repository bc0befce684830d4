// Tests of updates in CNT and CFB mode.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "gost28147/sample_context.hpp"
#include "gost28147/sequence.hpp"
#include "support/hex.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

TEST(Streams, pieces_of_3_5_and_9_bytes_equal_one_of_17) {
    const Sample s;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_GAMM}, unsigned{VRX_MODE_GFB}})
        for (const int direction : {0, 1}) {
            vrx_crpt_ctx whole = s.open(mode, direction);
            vrx_crpt_ctx pieces = whole;
            const Bytes message = counted(17);
            Bytes output;
            for (const auto& [from, to] : {std::pair{0, 3}, {3, 8}, {8, 17}}) {
                const Bytes piece = updated(pieces, Bytes(message.begin() + from, message.begin() + to));
                EXPECT_EQ(piece.size(), static_cast<std::size_t>(to - from));
                output.insert(output.end(), piece.begin(), piece.end());
            }
            EXPECT_EQ(hex(output), hex(updated(whole, message)));
            EXPECT_EQ(difference(pieces, whole), "");
        }
}

TEST(Streams, first_byte_encrypts_the_counter_and_clears_the_flags) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM);
    ctx.flags = 0xFF;
    Bytes counter = s.encrypted(s.iv);
    Bytes gamma(8);
    model::gamm_64(Bytes(8).data(), gamma.data(), counter.data(), s.key.data(), s.table.substitution);
    EXPECT_EQ(hex(updated(ctx, Bytes(1))), hex({gamma.data(), 1}));
    EXPECT_EQ(ctx.flags, 0);
    EXPECT_EQ(ctx.block_len, 7u);
    EXPECT_EQ(hex(ctx.block), hex(gamma));
    EXPECT_EQ(hex(ctx.iv), hex(counter));
    // Without VRX_FLAG_FIRST, the register is used unchanged. The other bits of the flags do not change.
    ctx = s.open(VRX_MODE_GAMM);
    ctx.flags = 0xFE;
    updated(ctx, Bytes(8));
    EXPECT_EQ(ctx.flags, 0xFE);
}

TEST(Streams, cfb_leaves_its_flags) {
    const Sample s;
    for (const int flags : {0, 1, 2, 3, 0xFF}) {
        vrx_crpt_ctx ctx = s.open(VRX_MODE_GFB);
        ctx.flags = static_cast<std::uint8_t>(flags);
        updated(ctx, counted(21));
        EXPECT_EQ(ctx.flags, flags);
    }
}

TEST(Streams, partial_cnt_block_keeps_output_and_unused_key_stream) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM);
    Bytes counter = s.encrypted(s.iv);
    Bytes expected(8);
    const Bytes padded = unhex("a1a2a30000000000");
    model::gamm_64(padded.data(), expected.data(), counter.data(), s.key.data(), s.table.substitution);
    updated(ctx, unhex("a1a2a3"));
    EXPECT_EQ(hex(ctx.block), hex(expected));
    EXPECT_EQ(ctx.block_len, 5u);
    // Used bytes of key stream stay in the block.
    updated(ctx, unhex("b1b2"));
    EXPECT_EQ(hex(ctx.block), hex(expected));
    EXPECT_EQ(ctx.block_len, 3u);
}

TEST(Streams, partial_cfb_block_starts_with_ciphertext_both_ways) {
    const Sample s;
    const Bytes gamma = s.encrypted(s.iv);
    for (const int direction : {0, 1}) {
        vrx_crpt_ctx ctx = s.open(VRX_MODE_GFB, direction);
        const Bytes output = updated(ctx, unhex("a1a2a3"));
        Bytes expected = gamma;
        std::ranges::copy(direction != 0 ? output : unhex("a1a2a3"), expected.begin());
        EXPECT_EQ(hex(ctx.block), hex(expected));
        // Until the block is complete, the register holds the ciphertext of the padded block.
        EXPECT_EQ(hex(ctx.iv), direction != 0 ? hex(expected) : "a1a2a30000000000");
        const Bytes more = updated(ctx, unhex("b1b2b3b4b5"));
        std::ranges::copy(direction != 0 ? more : unhex("b1b2b3b4b5"), expected.begin() + 3);
        EXPECT_EQ(hex(ctx.block), hex(expected));
        EXPECT_EQ(hex(ctx.iv), hex(expected));
        EXPECT_EQ(ctx.block_len, 0u);
    }
}

TEST(Streams, cfb_decrypts_in_place_and_apart_alike) {
    const Sample s;
    for (const std::size_t length : {5u, 8u, 64u, 77u, 1200u})
        for (const std::uint32_t meshing : {0u, 1u}) {
            vrx_crpt_ctx apart = s.open(VRX_MODE_GFB, 0, meshing);
            vrx_crpt_ctx in_place = apart;
            Bytes bytes = counted(length);
            const Bytes expected = updated(apart, bytes);
            vrx_data data{static_cast<std::uint32_t>(length), bytes.data()};
            EXPECT_EQ(vrx_crpt_update(&in_place, &data, &data), VRX_OK);
            EXPECT_EQ(hex(bytes), hex(expected));
            EXPECT_EQ(difference(in_place, apart), "");
        }
}

TEST(Streams, cfb_reads_its_input_before_writing_at_any_overlap) {
    const Sample s;
    for (std::ptrdiff_t distance = -80; distance <= 80; ++distance)
        for (const int direction : {0, 1}) {
            const Bytes message = counted(70);
            vrx_crpt_ctx apart = s.open(VRX_MODE_GFB, direction);
            vrx_crpt_ctx over = apart;
            const Bytes expected = updated(apart, message);
            Bytes memory(300, 0x99);
            std::ranges::copy(message, memory.begin() + 100);
            std::uint8_t* target = memory.data() + 100 + distance;
            const vrx_data in{70, memory.data() + 100};
            vrx_data out{70, target};
            ASSERT_EQ(vrx_crpt_update(&over, &in, &out), VRX_OK);
            ASSERT_EQ(hex({target, 70}), hex(expected)) << distance;
            ASSERT_EQ(difference(over, apart), "") << distance;
        }
}

TEST(Streams, long_overlapping_pieces_equal_the_model) {
    Random random;
    for (int round = 0; round < 300; ++round) {
        const std::uint32_t mode = round % 2 == 0 ? VRX_MODE_GFB : VRX_MODE_GAMM;
        TwinContext twins(random, 40000);
        ASSERT_EQ(twins.init(any_table(random), true, round / 2 % 2, mode, random.below(2), true), VRX_OK);
        for (int piece = 0; piece < 3; ++piece) {
            Buffers at;
            at.length = at.capacity = 1 + random.below(random.coin() ? 10000 : 40);
            at.in = 14000;
            const std::uint32_t distance = random.below(random.coin() ? 40 : 12000);
            at.out = random.coin() ? at.in - distance : at.in + (mode == VRX_MODE_GFB ? distance : distance / 8 * 8);
            ASSERT_EQ(twins.run(Stream::update, at), VRX_OK) << "distance " << distance;
        }
    }
}

TEST(Streams, held_cfb_bytes_are_written_before_the_rest_is_read) {
    // The output starts one byte after the input. Each byte of the left-over key stream is therefore combined with the
    // output byte that was just written.
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GFB, 0);
    updated(ctx, counted(3));
    const Bytes gamma(ctx.block + 3, ctx.block + 8);
    Bytes memory(32, 0x10);
    const vrx_data in{6, memory.data()};
    vrx_data out{6, memory.data() + 1};
    ASSERT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_OK);
    std::uint8_t previous = 0x10;
    for (std::size_t i = 0; i < 5; ++i) {
        previous ^= gamma[i];
        EXPECT_EQ(memory[1 + i], previous) << i;
    }
}

TEST(Streams, cnt_reads_its_tail_after_writing_the_blocks_before_it) {
    // A one-shot call copies the last partial block first. Here, the first output block overwrites it before it is
    // read.
    const Sample s;
    vrx_crpt_ctx apart = s.open(VRX_MODE_GAMM);
    vrx_crpt_ctx over = apart;
    const Bytes gamma = updated(apart, Bytes(13));
    Bytes memory(32, 0x77);
    const vrx_data in{13, memory.data()};
    vrx_data out{13, memory.data() + 8};
    ASSERT_EQ(vrx_crpt_update(&over, &in, &out), VRX_OK);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(memory[8 + i], 0x77 ^ gamma[i]);
    for (std::size_t i = 8; i < 13; ++i) EXPECT_EQ(memory[8 + i], memory[i] ^ gamma[i]) << i;
}

TEST(Streams, output_of_less_capacity_than_input_is_refused) {
    const Sample s;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_GAMM}, unsigned{VRX_MODE_GFB}}) {
        vrx_crpt_ctx ctx = s.open(mode);
        const vrx_crpt_ctx before = ctx;
        const CallResult result = update(ctx, counted(9), 8);
        EXPECT_EQ(result.rc, VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(result.length, 8u);
        EXPECT_EQ(difference(ctx, before), "");
        EXPECT_EQ(update(ctx, counted(9), 9).rc, VRX_OK);
    }
}

TEST(Streams, direction_does_not_matter_to_counter_and_mac) {
    const Sample s;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_GAMM}, unsigned{VRX_MODE_IMITO}}) {
        vrx_crpt_ctx encrypting = s.open(mode, 1);
        vrx_crpt_ctx decrypting = s.open(mode, 0);
        Bytes message = counted(40);
        Bytes one(40);
        Bytes other(40);
        const vrx_data in{40, message.data()};
        vrx_data out{40, one.data()};
        EXPECT_EQ(vrx_crpt_update(&encrypting, &in, &out), VRX_OK);
        out.data = other.data();
        EXPECT_EQ(vrx_crpt_update(&decrypting, &in, &out), VRX_OK);
        EXPECT_EQ(one, other);
        decrypting.direction = 1;
        EXPECT_EQ(difference(encrypting, decrypting), "");
    }
}

}  // namespace
