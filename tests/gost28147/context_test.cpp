// Contexts: messages in pieces, every field of the record after every call.
#include "vrx/context.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

#include "gost28147/sequence.hpp"
#include "support/hex.hpp"

namespace {

using namespace vrx::test;

const std::string not_deployed = "VRX_Gost_SS_m: TZ not initialized\n";

// --- Random sequences of calls ---------------------------------------------------------------------------------------

TEST(Context, random_sequences_of_calls_equal_the_model) {
    Random random;
    for (int sequence = 0; sequence < 12000; ++sequence) {
        Sequence calls(random);
        ASSERT_TRUE(calls.open()) << "sequence " << sequence;
        for (int step = 0; step < 20; ++step) ASSERT_TRUE(calls.step()) << "sequence " << sequence << ", step " << step;
    }
}

// --- Named behaviour -------------------------------------------------------------------------------------------------

/** Table, key and vector, and contexts opened with them. */
struct Sample {
    TestTable table = published_table("id-Gost28147-89-CryptoPro-A-ParamSet");
    Bytes key = unhex("0123456789abcdeffedcba98765432100011223344556677ffeeddccbbaa9988");
    Bytes iv = unhex("1122334455667788");
    LogCapture log;

    [[nodiscard]] vrx_crpt_ctx open(std::uint32_t mode, int direction = 1, std::uint32_t key_meshing = 0,
                                    bool with_iv = true) const {
        vrx_crpt_ctx ctx;
        EXPECT_EQ(vrx_crpt_init_context(&ctx, direction, &table.record, mode, 0, key_meshing, 0,
                                        with_iv ? iv.data() : nullptr, key_at(key.data())),
                  VRX_OK);
        return ctx;
    }
    [[nodiscard]] Bytes encrypted(Bytes block) const {
        model::encr_64(block.data(), block.data(), key.data(), table.substitution);
        return block;
    }
    [[nodiscard]] Bytes absorbed(Bytes mac, const Bytes& block) const {
        model::imito_64(block.data(), mac.data(), key.data(), table.substitution);
        return mac;
    }
};

/** Bytes 0, 1, 2, ... */
Bytes counted(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i);
    return bytes;
}

struct Result {
    int rc;
    std::uint32_t length;
    Bytes output;
};

/** An update with a separate output of `capacity` bytes, filled with EE before. */
Result update(vrx_crpt_ctx& ctx, Bytes input, std::uint32_t capacity) {
    Bytes output(capacity + 1, 0xEE);
    Bytes spare(1);
    const auto count = static_cast<std::uint32_t>(input.size());
    const vrx_data in{count, count == 0 ? spare.data() : input.data()};
    vrx_data out{capacity, output.data()};
    const int rc = vrx_crpt_update(&ctx, &in, &out);
    EXPECT_EQ(output.back(), 0xEE);
    output.pop_back();
    return {rc, out.length, output};
}

Bytes updated(vrx_crpt_ctx& ctx, const Bytes& input) {
    Result result = update(ctx, input, static_cast<std::uint32_t>(input.size() + 8));
    EXPECT_EQ(result.rc, VRX_OK);
    result.output.resize(result.length);
    return result.output;
}

constexpr std::array all_modes{1u, 2u, 3u, 4u, 5u};

// --- Opening ---------------------------------------------------------------------------------------------------------

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

TEST(Init, without_a_vector_it_is_zero_and_nothing_has_been_processed) {
    const Sample s;
    for (const std::uint32_t mode : all_modes) {
        const vrx_crpt_ctx ctx = s.open(mode, 1, 0, false);
        EXPECT_EQ(hex(ctx.iv), "0000000000000000");
        EXPECT_EQ(hex(ctx.mac), "0000000000000000");
        EXPECT_EQ(ctx.flags, 1);
        EXPECT_EQ(ctx.initialised, 1);
    }
}

TEST(Init, a_vector_seeds_the_mac_and_clears_the_first_flag) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    EXPECT_EQ(ctx.flags, 0);
    EXPECT_EQ(hex(ctx.mac), hex(s.iv));
    updated(ctx, counted(8));
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(s.iv, counted(8))));
}

TEST(Init, without_a_vector_a_mac_starts_from_zero) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO, 1, 0, false);
    updated(ctx, counted(8));
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(Bytes(8), counted(8))));
}

TEST(Init, refuses_no_context_silently) {
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

/** A parameter block of the older kind, in order. */
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

TEST(OldInit, a_vector_does_not_seed_the_mac_of_which_the_high_half_is_kept) {
    const OldSample s;
    vrx_crpt_ctx ctx;
    std::memset(&ctx, 0x66, sizeof ctx);
    ASSERT_EQ(old_crpt_init_context(&ctx, 1, &s.p), VRX_OK);
    updated(ctx, counted(8));
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(unhex("0000000066666666"), counted(8))));
}

TEST(OldInit, closes_the_context_before_its_checks_and_changes_nothing_else) {
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

TEST(OldInit, refuses_no_context) {
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

// --- Reset -----------------------------------------------------------------------------------------------------------

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

TEST(Reset, a_counter_goes_on_from_its_encrypted_register) {
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

TEST(Reset, feedback_goes_on_from_its_register_and_forgets_a_partial_block) {
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

// --- Update: checks --------------------------------------------------------------------------------------------------

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

TEST(Update, an_empty_piece_is_refused_by_streams_and_taken_by_block_modes) {
    const Sample s;
    for (const std::uint32_t mode : all_modes) {
        vrx_crpt_ctx ctx = s.open(mode);
        const vrx_crpt_ctx before = ctx;
        const Result result = update(ctx, {}, 8);
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
        // Only the codebook has a message, and it is called twice.
        EXPECT_EQ(s.log.take(), mode == VRX_MODE_SS ? not_deployed + not_deployed : "");
    }
}

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

// --- Update: block modes ---------------------------------------------------------------------------------------------

TEST(BlockModes, less_than_a_block_waits) {
    const Sample s;
    for (const std::uint32_t mode : {0u, 1u, 4u, 6u, 257u}) {
        vrx_crpt_ctx ctx = s.open(mode);
        const Result result = update(ctx, counted(7), 0);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(result.length, 0u);
        EXPECT_EQ(ctx.block_len, 7u);
        EXPECT_EQ(hex({ctx.block, 7}), "00010203040506");
        EXPECT_EQ(ctx.flags, 1);
    }
}

TEST(BlockModes, a_size_query_comes_before_everything_else_and_consumes_nothing) {
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

TEST(BlockModes, an_output_too_small_is_refused_and_nothing_is_consumed) {
    const Sample s;
    for (const std::uint32_t mode : {0u, 1u, 4u}) {
        vrx_crpt_ctx ctx = s.open(mode);
        updated(ctx, counted(3));
        const vrx_crpt_ctx before = ctx;
        const Result result = update(ctx, counted(13), 15);
        EXPECT_EQ(result.rc, VRX_ERR_BUFFER_LENGTH);
        EXPECT_EQ(result.length, 15u);
        EXPECT_EQ(result.output, Bytes(15, 0xEE));
        EXPECT_EQ(difference(ctx, before), "");
    }
    // Fewer bytes than the input are enough where some of them wait.
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
    EXPECT_EQ(update(ctx, counted(15), 8).rc, VRX_OK);
}

TEST(BlockModes, held_bytes_and_the_longest_input_do_not_wrap_around) {
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

TEST(BlockModes, held_bytes_keep_what_stands_behind_them) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
    updated(ctx, unhex("a1a2a3a4a5a6a7"));
    updated(ctx, unhex("b1b2b3"));
    EXPECT_EQ(ctx.block_len, 2u);
    EXPECT_EQ(hex(ctx.block), "b2b3a3a4a5a6a7b1");
}

TEST(BlockModes, a_failed_engine_is_called_again_and_the_held_count_stays) {
    Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS);
    updated(ctx, unhex("a1a2a3"));
    ctx.table.initialised = 0;
    vrx_crpt_ctx expected = ctx;
    std::ranges::copy(unhex("a1a2a3b1b2b3b4b5"), expected.block);
    const Result result = update(ctx, unhex("b1b2b3b4b5b6b7b8b9ba"), 16);
    EXPECT_EQ(result.rc, VRX_ERR_FAILED);
    EXPECT_EQ(result.length, 16u);
    EXPECT_EQ(result.output, Bytes(16, 0xEE));
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed);
    EXPECT_EQ(difference(ctx, expected), "");
}

TEST(BlockModes, an_engine_that_failed_in_meshing_may_see_another_count_the_second_time) {
    // The first call meshes in vain and starts a new section; the second finds nothing to mesh.
    Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_SS, 1, 1);
    ctx.table.initialised = 0;
    ctx.mesh_count = 1024;
    EXPECT_EQ(update(ctx, counted(8), 8).rc, VRX_ERR_FAILED);
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed + not_deployed + not_deployed);
    EXPECT_EQ(ctx.mesh_count, 0u);
    EXPECT_EQ(ctx.initialised, 1);
}

TEST(BlockModes, mode_numbers_are_taken_with_all_32_bits) {
    Sample s;
    for (const std::uint32_t mode :
         {0u, 6u, 255u, 256u, 257u, 0x102u, 0x103u, 0x104u, 0x105u, 0x80000001u, 0xFFFFFFFFu}) {
        vrx_crpt_ctx ctx = s.open(mode);
        EXPECT_EQ(update(ctx, counted(7), 7).rc, VRX_OK);
        vrx_crpt_ctx expected = ctx;
        expected.block[7] = 0;
        const Result result = update(ctx, counted(1), 8);
        EXPECT_EQ(result.rc, VRX_ERR_UNKNOWN_MODE);
        EXPECT_EQ(result.length, 8u);
        EXPECT_EQ(difference(ctx, expected), "");
        EXPECT_EQ(vrx_crpt_final(&ctx), VRX_ERR_UNKNOWN_MODE);
        EXPECT_EQ(ctx.initialised, 0);
    }
    EXPECT_EQ(s.log.take(), "");
}

// --- Update: streams -------------------------------------------------------------------------------------------------

TEST(Streams, pieces_of_3_5_and_9_bytes_equal_17_bytes_at_once) {
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

TEST(Streams, the_counter_register_is_encrypted_at_the_first_byte_and_flags_become_zero) {
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
    // Without the bit the register is taken as it is, and the other bits stay.
    ctx = s.open(VRX_MODE_GAMM);
    ctx.flags = 0xFE;
    updated(ctx, Bytes(8));
    EXPECT_EQ(ctx.flags, 0xFE);
}

TEST(Streams, feedback_leaves_its_flags) {
    const Sample s;
    for (const int flags : {0, 1, 2, 3, 0xFF}) {
        vrx_crpt_ctx ctx = s.open(VRX_MODE_GFB);
        ctx.flags = static_cast<std::uint8_t>(flags);
        updated(ctx, counted(21));
        EXPECT_EQ(ctx.flags, flags);
    }
}

TEST(Streams, a_partial_counter_block_keeps_output_and_unused_stream) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_GAMM);
    Bytes counter = s.encrypted(s.iv);
    Bytes expected(8);
    const Bytes padded = unhex("a1a2a30000000000");
    model::gamm_64(padded.data(), expected.data(), counter.data(), s.key.data(), s.table.substitution);
    updated(ctx, unhex("a1a2a3"));
    EXPECT_EQ(hex(ctx.block), hex(expected));
    EXPECT_EQ(ctx.block_len, 5u);
    // What is used stays in the block.
    updated(ctx, unhex("b1b2"));
    EXPECT_EQ(hex(ctx.block), hex(expected));
    EXPECT_EQ(ctx.block_len, 3u);
}

TEST(Streams, a_partial_feedback_block_begins_with_ciphertext_in_both_directions) {
    const Sample s;
    const Bytes gamma = s.encrypted(s.iv);
    for (const int direction : {0, 1}) {
        vrx_crpt_ctx ctx = s.open(VRX_MODE_GFB, direction);
        const Bytes output = updated(ctx, unhex("a1a2a3"));
        Bytes expected = gamma;
        std::ranges::copy(direction != 0 ? output : unhex("a1a2a3"), expected.begin());
        EXPECT_EQ(hex(ctx.block), hex(expected));
        // The register holds the padded ciphertext until the block is complete.
        EXPECT_EQ(hex(ctx.iv), direction != 0 ? hex(expected) : "a1a2a30000000000");
        const Bytes more = updated(ctx, unhex("b1b2b3b4b5"));
        std::ranges::copy(direction != 0 ? more : unhex("b1b2b3b4b5"), expected.begin() + 3);
        EXPECT_EQ(hex(ctx.block), hex(expected));
        EXPECT_EQ(hex(ctx.iv), hex(expected));
        EXPECT_EQ(ctx.block_len, 0u);
    }
}

TEST(Streams, feedback_decrypts_in_place_what_it_decrypts_apart) {
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

TEST(Streams, feedback_reads_its_input_before_it_writes_at_any_overlap) {
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

TEST(Streams, held_feedback_bytes_are_written_one_by_one_before_the_rest_is_read) {
    // The output lies one byte behind the input, so that each held byte reads the one that was just written.
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

TEST(Streams, a_counter_reads_its_tail_after_the_blocks_before_it_were_written) {
    // A one-shot call copies the tail first; here the first output block lies over it.
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
        const Result result = update(ctx, counted(9), 8);
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

// --- The MAC ---------------------------------------------------------------------------------------------------------

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

// --- Final -----------------------------------------------------------------------------------------------------------

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

TEST(Final, of_a_partial_block_meshes_first_where_a_section_is_full) {
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

TEST(Final, of_a_mac_absorbs_the_padded_rest) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    updated(ctx, counted(11));
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(hex(ctx.mac), hex(s.absorbed(s.absorbed(s.iv, counted(8)), unhex("08090a0000000000"))));
    EXPECT_EQ(ctx.initialised, 0);
    EXPECT_EQ(ctx.flags, 2);
    EXPECT_EQ(ctx.block_len, 3u);
}

TEST(Final, of_a_mac_of_whole_blocks_does_not_touch_it) {
    const Sample s;
    vrx_crpt_ctx ctx = s.open(VRX_MODE_IMITO);
    updated(ctx, counted(16));
    const Bytes mac(ctx.mac, ctx.mac + 8);
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(hex(ctx.mac), hex(mac));
    EXPECT_EQ(ctx.initialised, 1);
}

TEST(Final, of_a_mac_returns_0_even_where_the_table_is_not_deployed) {
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

// --- Engines ---------------------------------------------------------------------------------------------------------

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
        random = state;  // the same lengths once more
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

struct Engine {
    int rc;
    std::uint32_t length;
    Bytes output;
};

Engine run_engine(vrx_crpt_ctx& ctx, Bytes input, std::uint32_t capacity) {
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
        ctx.initialised = 0;  // not looked at
        const Engine result = run_engine(ctx, counted(2048), 3000);
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

TEST(ContextEngine, without_meshing_fails_as_the_one_shot_function_does) {
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
        const Engine result = run_engine(ctx, counted(2056), 2060);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(result.length, 2056u);
        EXPECT_EQ(ctx.mesh_count, 8u);
        EXPECT_EQ(ctx.flags, 0);
    }
}

TEST(ContextEngine, the_capacity_is_checked_for_the_first_section_only) {
    const Sample s;
    for (const std::uint32_t mode : {1u, 2u, 3u, 4u}) {
        vrx_crpt_ctx ctx = s.open(mode, 1, 1);
        vrx_crpt_ctx enough = ctx;
        const Engine result = run_engine(ctx, counted(2048), 1024);
        EXPECT_EQ(result.rc, VRX_OK);
        EXPECT_EQ(hex(result.output), hex(run_engine(enough, counted(2048), 2048).output));
        EXPECT_EQ(difference(ctx, enough), "");
        ctx = s.open(mode, 1, 1);
        const Engine refused = run_engine(ctx, counted(2048), 1023);
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

TEST(ContextEngine, the_first_flag_is_lost_where_the_final_flag_is_set_across_a_border) {
    const Sample s;
    vrx_crpt_ctx with_final = s.open(VRX_MODE_GAMM, 1, 1);
    with_final.flags = VRX_FLAG_FIRST | VRX_FLAG_PAD;
    vrx_crpt_ctx unprepared = s.open(VRX_MODE_GAMM, 1, 1);
    unprepared.flags = 0;
    const Engine result = run_engine(with_final, counted(1032), 1032);
    EXPECT_EQ(result.rc, VRX_OK);
    EXPECT_EQ(hex(result.output), hex(run_engine(unprepared, counted(1032), 1032).output));
    // Within a section it is not lost.
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
        const Engine result = run_engine(ctx, counted(1029), 1029);
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
    const Engine result = run_engine(ctx, counted(1027), 1027);
    EXPECT_EQ(result.rc, VRX_ERR_BLOCK_MULTIPLE);
    const Engine first = run_engine(whole, counted(1024), 1024);
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
