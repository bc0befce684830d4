// Tests of vrx_crpt_crypto_engine and vrx_crpt_context_engine: sections of a message between two meshings.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "gost28147/sample_context.hpp"
#include "gost28147/sequence.hpp"
#include "support/hex.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

TEST(CryptoEngine, takes_all_32_bits_of_the_mode) {
    Sample s;
    Bytes bytes = counted(8);
    const vrx_data in{8, bytes.data()};
    vrx_data out{8, bytes.data()};
    for (const std::uint32_t mode : {0u, 5u, 6u, 257u, 0x102u, 0x103u, 0x104u, 0xFFFFFF01u}) {
        EXPECT_EQ(vrx_crpt_crypto_engine(mode, &s.table.record, &in, &out, s.iv.data(), key_at(s.key.data()), 1, 0),
                  VRX_ERR_UNKNOWN_MODE);
        EXPECT_EQ(vrx_crpt_crypto_engine(mode, nullptr, nullptr, nullptr, nullptr, nullptr, 1, 0),
                  VRX_ERR_UNKNOWN_MODE);
    }
    EXPECT_EQ(bytes, counted(8));
    EXPECT_EQ(s.log.take(), "");
}

TEST(CryptoEngine, equals_the_one_shot_functions_failures_included) {
    Random random;
    LogCapture log;
    TwinMemory memory(512);
    for (int round = 0; round < 3000; ++round) {
        const TestTable& table = any_table(random);
        memory.refill(random);
        const auto run = [&](Bytes& bytes, auto function) {
            vrx_data in{random.below(40), bytes.data() + 33};
            vrx_data out{in.length + random.below(2), bytes.data() + 130};
            const int rc = function(&in, &out, bytes.data() + 300, bytes.data() + 350);
            return std::pair(rc, out.length);
        };
        const std::uint32_t mode = 1 + random.below(4);
        const auto direction = static_cast<std::uint8_t>(random.below(3) * 0x7F);
        const auto flags = static_cast<std::uint8_t>(random.word());
        const Random state = random;
        const auto actual =
            run(memory.library, [&](const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key) {
                return vrx_crpt_crypto_engine(mode, &table.record, in, out, iv, key_at(key), direction, flags);
            });
        random = state;  // a second time with the same lengths
        model::Log expected_log;
        const model::Table model_table = table.model();
        const auto expected =
            run(memory.model, [&](const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key) {
                return model::crypto_engine(expected_log, mode, &model_table, in, out, iv, key, direction, flags);
            });
        ASSERT_EQ(actual, expected);
        ASSERT_TRUE(memory.equal()) << memory.difference();
        ASSERT_EQ(log.take(), expected_log);
    }
}

/** Calls vrx_crpt_context_engine with a separate output buffer, filled with EE. */
CallResult run_engine(vrx_crpt_ctx& ctx, Bytes input, std::uint32_t capacity) {
    Bytes output(input.size(), 0xEE);
    const vrx_data in{static_cast<std::uint32_t>(input.size()), input.data()};
    vrx_data out{capacity, output.data()};
    const int rc = vrx_crpt_context_engine(&ctx, &in, &out);
    return {rc, out.length, output};
}

TEST(ContextEngine, without_meshing_is_one_call_that_clears_the_flags) {
    const Sample s;
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u}) {
        vrx_crpt_ctx ctx = s.open(mode);
        ctx.initialised = 0;  // ignored
        const CallResult result = run_engine(ctx, counted(2048), 3000);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(result.length, 2048u);
        EXPECT_EQ(ctx.flags, 0);
        EXPECT_EQ(ctx.initialised, 0);
        EXPECT_EQ(ctx.mesh_count, 0u);
        ctx.flags = 1;
        EXPECT_EQ(run_engine(ctx, counted(13), 13).rc, VRX_ERR_BLOCK_MULTIPLE);
        EXPECT_EQ(ctx.flags, 1);
    }
}

TEST(ContextEngine, an_empty_input_is_fine_only_with_meshing) {
    const Sample s;
    std::uint8_t byte = 0;
    const vrx_data in{0, &byte};
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u, 5u, 0u}) {
        vrx_crpt_ctx ctx = s.open(mode, 1, 1);
        ctx.mesh_count = 1024;
        const vrx_crpt_ctx before = ctx;
        vrx_data out{77, &byte};
        EXPECT_EQ(vrx_crpt_context_engine(&ctx, &in, &out), VRX_OK);
        EXPECT_EQ(difference(ctx, before), "");
        ctx.key_meshing = 0;
        EXPECT_EQ(vrx_crpt_context_engine(&ctx, &in, &out),
                  mode >= 1 && mode <= 4 ? VRX_ERR_BUFFER_LENGTH : VRX_ERR_UNKNOWN_MODE);
    }
}

TEST(ContextEngine, without_meshing_fails_like_the_one_shot_function) {
    Sample s;
    Bytes bytes = counted(8);
    const vrx_data in{8, bytes.data()};
    vrx_data out{8, bytes.data()};
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
    const vrx_crpt_ctx before = ctx;
    EXPECT_EQ(vrx_crpt_context_engine(&ctx, nullptr, &out), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_crpt_context_engine(&ctx, &in, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "VRX_Gost_SS_m: bad params\nVRX_Gost_SS_m: bad params\n");
    EXPECT_EQ(difference(ctx, before), "");
}

TEST(ContextEngine, with_meshing_refuses_missing_records_and_data_too) {
    Sample s;
    Bytes bytes = counted(1024);
    const vrx_data in{1024, bytes.data()};
    vrx_data out{1024, bytes.data()};
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS, 1, 1);
    const vrx_crpt_ctx before = ctx;
    EXPECT_EQ(vrx_crpt_context_engine(nullptr, &in, &out), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "");
    EXPECT_EQ(vrx_crpt_context_engine(&ctx, nullptr, &out), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(vrx_crpt_context_engine(&ctx, &in, nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "VRX_Gost_SS_m: bad params\nVRX_Gost_SS_m: bad params\n");
    EXPECT_EQ(difference(ctx, before), "");
    for (const bool first_missing : {true, false}) {
        ctx.mesh_count = 1024;
        const vrx_data no_input{1024, nullptr};
        vrx_data no_output{1024, nullptr};
        EXPECT_EQ(vrx_crpt_context_engine(&ctx, first_missing ? &no_input : &in, first_missing ? &out : &no_output),
                  VRX_ERR_BAD_PARAMS);
        EXPECT_EQ(s.log.take(), "VRX_Gost_SS_m: NULL data pointer\n");
    }
}

TEST(ContextEngine, leaves_the_count_of_all_sections_in_the_output) {
    const Sample s;
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u}) {
        vrx_crpt_ctx ctx = s.open(mode, 1, 1);
        const CallResult result = run_engine(ctx, counted(2056), 2060);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(result.length, 2056u);
        EXPECT_EQ(ctx.mesh_count, 8u);
        EXPECT_EQ(ctx.flags, 0);
    }
}

TEST(ContextEngine, capacity_is_checked_for_the_first_section_only) {
    const Sample s;
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u}) {
        vrx_crpt_ctx ctx = s.open(mode, 1, 1);
        vrx_crpt_ctx enough = ctx;
        const CallResult result = run_engine(ctx, counted(2048), 1024);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(hex(result.output), hex(run_engine(enough, counted(2048), 2048).output));
        EXPECT_EQ(difference(ctx, enough), "");
        ctx = s.open(mode, 1, 1);
        const CallResult refused = run_engine(ctx, counted(2048), 1023);
        EXPECT_EQ(refused.rc, VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(refused.length, 1023u);
        EXPECT_EQ(refused.output, Bytes(2048, 0xEE));
    }
}

TEST(ContextEngine, the_first_flag_prepares_a_counter_once) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM, 1, 1);
    vrx_crpt_ctx stream = ctx;
    EXPECT_EQ(hex(run_engine(ctx, counted(2048), 2048).output), hex(updated(stream, counted(2048))));
}

TEST(ContextEngine, final_flag_across_a_section_border_drops_the_first_flag) {
    const Sample s;
    vrx_crpt_ctx with_final = s.open(VRX_MODE_GAMM, 1, 1);
    with_final.flags = VRX_FLAG_FIRST | VRX_FLAG_PAD;
    vrx_crpt_ctx unprepared = s.open(VRX_MODE_GAMM, 1, 1);
    unprepared.flags = 0;
    const CallResult result = run_engine(with_final, counted(1032), 1032);
    EXPECT_EQ(result.rc, VRX_OK);
    EXPECT_EQ(hex(result.output), hex(run_engine(unprepared, counted(1032), 1032).output));
    // If the data fits in one section, the flag VRX_FLAG_FIRST has its effect.
    with_final = s.open(VRX_MODE_GAMM, 1, 1);
    with_final.flags = VRX_FLAG_FIRST | VRX_FLAG_PAD;
    vrx_crpt_ctx prepared = s.open(VRX_MODE_GAMM, 1, 1);
    EXPECT_EQ(hex(run_engine(with_final, counted(1024), 1024).output),
              hex(run_engine(prepared, counted(1024), 1024).output));
}

TEST(ContextEngine, the_first_flag_of_a_reset_at_a_border_is_cleared) {
    const Sample s;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_SS}, unsigned{VRX_MODE_CBC}})
        for (const int direction : {0, 1})
            for (const std::uint32_t length : {8u, 1024u, 2048u, 2056u}) {
                vrx_crpt_ctx ctx = s.open(mode, direction, 1);
                updated(ctx, counted(1024));
                ASSERT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
                ASSERT_EQ(ctx.flags, VRX_FLAG_FIRST);
                updated(ctx, counted(length));
                EXPECT_EQ(ctx.flags, 0) << "mode " << mode << ", direction " << direction << ", " << length << " bytes";
            }
}

TEST(ContextEngine, the_final_flag_reaches_the_last_section) {
    Sample s;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_GAMM}, unsigned{VRX_MODE_GFB}}) {
        vrx_crpt_ctx ctx = s.open(mode, 1, 1);
        ctx.flags = VRX_FLAG_PAD;
        const CallResult result = run_engine(ctx, counted(1029), 1029);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(result.length, 1029u);
        EXPECT_EQ(ctx.mesh_count, 5u);
        ctx = s.open(mode, 1, 1);
        EXPECT_EQ(run_engine(ctx, counted(1029), 1029).rc, VRX_ERR_BLOCK_MULTIPLE);
        EXPECT_EQ(s.log.take(), "make_last_block failed, rc = 0xfffffffa\n");
        EXPECT_EQ(ctx.mesh_count, 0u);  // the second section has begun
    }
}

TEST(ContextEngine, a_piece_that_fails_leaves_the_pieces_before_it) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_CBC, 1, 1);
    vrx_crpt_ctx whole = ctx;
    const CallResult result = run_engine(ctx, counted(1027), 1027);
    EXPECT_EQ(result.rc, VRX_ERR_BLOCK_MULTIPLE);
    const CallResult first = run_engine(whole, counted(1024), 1024);
    EXPECT_EQ(hex({result.output.data(), 1024}), hex(first.output));
    EXPECT_EQ(hex({result.output.data() + 1024, 3}), "eeeeee");
}

TEST(ContextEngine, sections_equal_whole_updates_in_block_modes) {
    Random random;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_SS}, unsigned{VRX_MODE_CBC}})
        for (const int direction : {0, 1}) {
            const Sample s;
            const Bytes message = random.bytes(5000);
            vrx_crpt_ctx engine = s.open(mode, direction, 1);
            vrx_crpt_ctx context = engine;
            EXPECT_EQ(hex(run_engine(engine, message, 5000).output), hex(updated(context, message)));
            EXPECT_EQ(difference(engine, context), "");
        }
}

}  // namespace
