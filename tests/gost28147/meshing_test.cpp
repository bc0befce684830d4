// Tests of CryptoPro key meshing: the step, the count of bytes, and messages longer than 1024 bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "gost28147/twin_context.hpp"
#include "support/hex.hpp"
#include "vrx/context.h"

namespace {

using namespace vrx::test;

const std::string not_deployed = "VRX_Gost_SS_m: TZ not initialized\n";

/** The arguments of one meshing, and a table that is not deployed. */
struct Sample {
    TestTable table = published_table("id-Gost28147-89-CryptoPro-A-ParamSet");
    Bytes key = unhex("0123456789abcdeffedcba98765432100011223344556677ffeeddccbbaa9988");
    Bytes iv = unhex("1122334455667788");
    LogCapture log;

    [[nodiscard]] vrx_tz closed() const {
        vrx_tz record = table.record;
        record.initialised = 0;
        return record;
    }
    /** The constant, decrypted with `key`. */
    [[nodiscard]] Bytes meshed_key() const {
        Bytes meshed(model::meshing_constant.begin(), model::meshing_constant.end());
        for (std::size_t at = 0; at < 32; at += 8)
            model::decr_64(meshed.data() + at, meshed.data() + at, key.data(), table.substitution);
        return meshed;
    }
    [[nodiscard]] Bytes meshed_iv() const {
        Bytes meshed = iv;
        model::encr_64(meshed.data(), meshed.data(), meshed_key().data(), table.substitution);
        return meshed;
    }
};

// --- One step --------------------------------------------------------------------------------------------------------

TEST(MeshingStep, new_key_decrypts_the_constant_and_encrypts_the_iv) {
    Sample s;
    const std::string key = hex(s.meshed_key());
    const std::string iv = hex(s.meshed_iv());
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&s.table.record, s.iv.data(), key_at(s.key.data())), VRX_OK);
    EXPECT_EQ(hex(s.key), key);
    EXPECT_EQ(hex(s.iv), iv);
    EXPECT_EQ(s.log.take(), "");
}

TEST(MeshingStep, equals_the_model_at_any_address_step_after_step) {
    Random random;
    TwinMemory memory(128);
    for (const TestTable& table : test_tables())
        for (std::size_t offset = 0; offset < 8; ++offset) {
            memory.refill(random);
            model::Log log;
            const model::Table model_table = table.model();
            for (int step = 0; step < 3; ++step) {
                std::uint8_t* l = memory.library.data();
                std::uint8_t* m = memory.model.data();
                ASSERT_EQ(
                    vrx_crpt_crypto_pro_key_meshing_engine(&table.record, l + 16 + offset, key_at(l + 64 + offset)),
                    VRX_OK);
                ASSERT_EQ(model::key_meshing_engine(log, &model_table, m + 16 + offset, m + 64 + offset), VRX_OK);
                ASSERT_TRUE(memory.equal()) << table.name << ": " << memory.difference();
            }
        }
}

TEST(MeshingStep, undeployed_table_fails_twice_and_changes_nothing) {
    Sample s;
    const vrx_tz closed = s.closed();
    const Bytes key = s.key;
    const Bytes iv = s.iv;
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&closed, s.iv.data(), key_at(s.key.data())), VRX_ERR_FAILED);
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed);
    EXPECT_EQ(s.key, key);
    EXPECT_EQ(s.iv, iv);
}

TEST(MeshingStep, null_arguments_fail_as_in_the_ecb_calls) {
    Sample s;
    const std::string bad_params = "VRX_Gost_SS_m: bad params\n";
    const Bytes key = s.key;
    const Bytes iv = s.iv;
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(nullptr, s.iv.data(), key_at(s.key.data())), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), bad_params + bad_params);
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&s.table.record, s.iv.data(), nullptr), VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), bad_params + bad_params);
    EXPECT_EQ(s.key, key);
    EXPECT_EQ(s.iv, iv);
    // The IV is meshed after the key.
    const std::string meshed = hex(s.meshed_key());
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing_engine(&s.table.record, nullptr, key_at(s.key.data())),
              VRX_ERR_BAD_PARAMS);
    EXPECT_EQ(s.log.take(), "VRX_Gost_SS_m: NULL data pointer\n");
    EXPECT_EQ(hex(s.key), meshed);
}

TEST(MeshingStep, a_parameter_block_is_meshed_in_place_at_any_address) {
    for (std::size_t offset = 0; offset < 8; ++offset) {
        Sample s;
        vrx_crpt_table_rec record{s.table.record, 1, 2, 0, 3};
        Bytes placed_record(offset + sizeof record);
        std::memcpy(placed_record.data() + offset, &record, sizeof record);
        Bytes placed_key(offset);
        placed_key.insert(placed_key.end(), s.key.begin(), s.key.end());
        const Bytes record_before = placed_record;
        vrx_data table{sizeof record, placed_record.data() + offset};
        vrx_data key{32, placed_key.data() + offset};
        old_crpt_params p{0, 0, &table, &key, {}};
        std::ranges::copy(s.iv, p.iv);
        EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing(&p), VRX_OK);
        EXPECT_EQ(hex({placed_key.data() + offset, 32}), hex(s.meshed_key()));
        EXPECT_EQ(hex(p.iv), hex(s.meshed_iv()));
        EXPECT_EQ(placed_record, record_before);
        EXPECT_EQ(p.first, 0u);
        EXPECT_EQ(p.second, 0u);
        EXPECT_EQ(s.log.take(), "");
    }
}

TEST(MeshingStep, undeployed_table_leaves_the_parameter_block_unchanged) {
    Sample s;
    vrx_crpt_table_rec record{s.closed(), 1, 2, 1, 3};
    Bytes raw(sizeof record);
    std::memcpy(raw.data(), &record, sizeof record);
    vrx_data table{sizeof record, raw.data()};
    vrx_data key{32, s.key.data()};
    old_crpt_params p{1, 1, &table, &key, {}};
    std::ranges::copy(s.iv, p.iv);
    const Bytes before = s.key;
    EXPECT_EQ(vrx_crpt_crypto_pro_key_meshing(&p), VRX_ERR_FAILED);
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed);
    EXPECT_EQ(s.key, before);
    EXPECT_EQ(hex(p.iv), hex(s.iv));
}

// --- Counting --------------------------------------------------------------------------------------------------------

vrx_crpt_ctx open_context(const Sample& s, std::uint32_t mode, std::uint32_t key_meshing) {
    vrx_crpt_ctx ctx;
    EXPECT_EQ(
        vrx_crpt_init_context(&ctx, 1, &s.table.record, mode, 0, key_meshing, 0, s.iv.data(), key_at(s.key.data())),
        VRX_OK);
    return ctx;
}

TEST(MeshingCount, grows_by_8_and_starts_from_8_after_a_meshing) {
    const Sample s;
    vrx_crpt_ctx ctx = open_context(s, VRX_MODE_GAMM, 1);
    const vrx_crpt_ctx fresh = ctx;
    for (std::uint32_t blocks = 1; blocks <= 128; ++blocks) {
        ASSERT_EQ(vrx_make_key_meshing(&ctx), VRX_OK);
        ASSERT_EQ(ctx.mesh_count, 8 * blocks);
    }
    vrx_crpt_ctx expected = fresh;
    expected.mesh_count = 1024;
    EXPECT_EQ(difference(ctx, expected), "");
    ASSERT_EQ(vrx_make_key_meshing(&ctx), VRX_OK);
    expected.mesh_count = 8;
    std::memcpy(expected.key, s.meshed_key().data(), 32);
    std::memcpy(expected.iv, s.meshed_iv().data(), 8);
    EXPECT_EQ(difference(ctx, expected), "");
}

TEST(MeshingCount, only_the_value_1_switches_meshing_on) {
    const Sample s;
    for (const std::uint32_t value : {0u, 2u, 3u, 0x101u, 0x10001u, 0xFFFFFFFFu}) {
        vrx_crpt_ctx ctx = open_context(s, VRX_MODE_GAMM, value);
        ctx.mesh_count = 1024;
        const vrx_crpt_ctx before = ctx;
        EXPECT_EQ(vrx_make_key_meshing(&ctx), VRX_OK);
        EXPECT_EQ(difference(ctx, before), "") << value;
    }
}

TEST(MeshingCount, a_failed_meshing_closes_the_context) {
    Sample s;
    vrx_crpt_ctx ctx = open_context(s, VRX_MODE_GAMM, 1);
    ctx.table.initialised = 0;
    ctx.mesh_count = 1016;
    EXPECT_EQ(vrx_make_key_meshing(&ctx), VRX_OK);
    EXPECT_EQ(s.log.take(), "");
    vrx_crpt_ctx expected = ctx;
    expected.initialised = 0;
    EXPECT_EQ(vrx_make_key_meshing(&ctx), VRX_ERR_FAILED);
    EXPECT_EQ(difference(ctx, expected), "");
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed);
    // The function does not check the state, so the step also runs on a closed context.
    EXPECT_EQ(vrx_make_key_meshing(&ctx), VRX_ERR_FAILED);
    EXPECT_EQ(s.log.take(), not_deployed + not_deployed);
}

TEST(MeshingCount, any_count_but_1024_is_only_counted_on) {
    const Sample s;
    for (const std::uint32_t count : {1u, 1020u, 1023u, 1025u, 5000u}) {
        vrx_crpt_ctx ctx = open_context(s, VRX_MODE_GAMM, 1);
        vrx_crpt_ctx expected = ctx;
        ctx.mesh_count = count;
        expected.mesh_count = count + 8;
        EXPECT_EQ(vrx_make_key_meshing(&ctx), VRX_OK);
        EXPECT_EQ(difference(ctx, expected), "") << count;
    }
}

// --- Messages --------------------------------------------------------------------------------------------------------

class EveryMode : public testing::TestWithParam<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Meshing, EveryMode, testing::Values(1u, 2u, 3u, 4u, 5u), [](const auto& mode) {
    return std::string(std::array{"ss", "gamm", "gfb", "cbc", "imito"}[mode.param - 1]);
});

/** Process bytes of zeros; the return code must be 0. */
void feed(vrx_crpt_ctx& ctx, std::uint32_t count) {
    Bytes bytes(count);
    Bytes output(count + 8);
    const vrx_data in{count, bytes.data()};
    vrx_data out{count + 8, output.data()};
    ASSERT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_OK);
}

TEST_P(EveryMode, meshing_waits_for_the_first_byte_behind_a_section) {
    const Sample s;
    const auto key_after = [&](std::initializer_list<std::uint32_t> pieces) {
        vrx_crpt_ctx ctx = open_context(s, GetParam(), 1);
        for (const std::uint32_t piece : pieces) feed(ctx, piece);
        return hex({static_cast<const std::uint8_t*>(static_cast<const void*>(ctx.key)), 32});
    };
    Sample twice;
    twice.key = s.meshed_key();
    const std::string none = hex(s.key);
    const std::string one = hex(s.meshed_key());
    const std::string two = hex(twice.meshed_key());
    EXPECT_EQ(key_after({1016}), none);
    EXPECT_EQ(key_after({1024}), none);
    EXPECT_EQ(key_after({1032}), one);
    EXPECT_EQ(key_after({1024, 8}), one);
    EXPECT_EQ(key_after({2048}), one);
    EXPECT_EQ(key_after({1000, 1048}), one);
    EXPECT_EQ(key_after({1024, 1024}), one);
    EXPECT_EQ(key_after({2056}), two);
    EXPECT_EQ(key_after({1, 2047, 8}), two);
    // CNT and CFB process a block as soon as its first byte arrives; the other modes process it when it is complete.
    const bool at_once = GetParam() == VRX_MODE_GAMM || GetParam() == VRX_MODE_GFB;
    EXPECT_EQ(key_after({1025}), at_once ? one : none);
}

TEST_P(EveryMode, other_values_than_1_do_not_mesh) {
    const Sample s;
    for (const std::uint32_t value : {0u, 2u, 0x101u, 0xFFFFFFFFu}) {
        vrx_crpt_ctx ctx = open_context(s, GetParam(), value);
        feed(ctx, 4096);
        EXPECT_EQ(hex({static_cast<const std::uint8_t*>(static_cast<const void*>(ctx.key)), 32}), hex(s.key));
        EXPECT_EQ(ctx.mesh_count, 0u);
    }
}

TEST_P(EveryMode, a_reset_keeps_the_count) {
    const Sample s;
    vrx_crpt_ctx ctx = open_context(s, GetParam(), 1);
    feed(ctx, 1024);
    EXPECT_EQ(vrx_crpt_reset(&ctx), VRX_OK);
    EXPECT_EQ(ctx.mesh_count, 1024u);
    feed(ctx, 8);
    EXPECT_EQ(ctx.mesh_count, 8u);
    EXPECT_EQ(hex({static_cast<const std::uint8_t*>(static_cast<const void*>(ctx.key)), 32}), hex(s.meshed_key()));
}

TEST_P(EveryMode, pieces_do_not_matter) {
    Random random;
    const Sample s;
    const Bytes message = random.bytes(3 * 1024 + 16);
    const auto total = static_cast<std::uint32_t>(message.size());
    const auto run = [&](const std::vector<std::uint32_t>& pieces) {
        vrx_crpt_ctx ctx = open_context(s, GetParam(), 1);
        Bytes input = message;
        Bytes output(total);
        std::uint32_t read = 0;
        std::uint32_t written = 0;
        for (const std::uint32_t piece : pieces) {
            const vrx_data in{piece, input.data() + read};
            vrx_data out{total - written, output.data() + written};
            EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_OK);
            read += piece;
            if (GetParam() != VRX_MODE_IMITO) written += out.length;
        }
        output.insert(output.end(), ctx.mac, ctx.mac + 8);
        return output;
    };
    const Bytes whole = run({total});
    for (std::uint32_t first = 1; first < total; first += 1 + random.below(5))
        ASSERT_EQ(run({first, total - first}), whole) << first;
    ASSERT_EQ(run({1000, 1048, total - 2048}), whole);
    for (int round = 0; round < 30; ++round) {
        std::vector<std::uint32_t> pieces;
        for (std::uint32_t left = total; left > 0; left -= pieces.back())
            pieces.push_back(std::min(left, 1 + random.below(1500)));
        ASSERT_EQ(run(pieces), whole);
    }
}

TEST_P(EveryMode, long_messages_in_random_pieces_equal_the_model) {
    Random random;
    for (int message = 0; message < 60; ++message) {
        TwinContext twins(random);
        ASSERT_EQ(twins.init(any_table(random), true, message % 2, GetParam(), 1, random.coin()), VRX_OK);
        for (std::uint32_t done = 0; done < 6000;) {
            Buffers at;
            at.in = 100 + random.below(8);
            at.length = 1 + random.below(random.coin() ? 20 : 2600);
            at.capacity = at.length + 8;
            const bool held = twins.record().block_len > 0;
            const bool stream = GetParam() == VRX_MODE_GAMM || GetParam() == VRX_MODE_GFB;
            at.out = random.below(3) == 0 && (stream || !held) ? at.in : 4000 + random.below(8);
            ASSERT_EQ(twins.run(Stream::update, at), VRX_OK);
            done += at.length;
        }
        ASSERT_TRUE(twins.final());
    }
}

TEST(Meshing, a_padded_last_block_counts_8_bytes_once) {
    const Sample s;
    for (const std::uint32_t mode : {unsigned{VRX_MODE_GAMM}, unsigned{VRX_MODE_GFB}}) {
        vrx_crpt_ctx ctx = open_context(s, mode, 1);
        feed(ctx, 3);
        EXPECT_EQ(ctx.mesh_count, 8u);
        feed(ctx, 5);
        EXPECT_EQ(ctx.mesh_count, 8u);
        feed(ctx, 1);
        EXPECT_EQ(ctx.mesh_count, 16u);
    }
    vrx_crpt_ctx ctx = open_context(s, VRX_MODE_IMITO, 1);
    feed(ctx, 3);
    EXPECT_EQ(ctx.mesh_count, 0u);
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(ctx.mesh_count, 8u);
}

TEST(Meshing, the_final_block_of_a_mac_may_mesh) {
    const Sample s;
    vrx_crpt_ctx ctx = open_context(s, VRX_MODE_IMITO, 1);
    feed(ctx, 1025);
    EXPECT_EQ(ctx.mesh_count, 1024u);
    EXPECT_EQ(vrx_crpt_final(&ctx), VRX_OK);
    EXPECT_EQ(ctx.mesh_count, 8u);
    EXPECT_EQ(hex({static_cast<const std::uint8_t*>(static_cast<const void*>(ctx.key)), 32}), hex(s.meshed_key()));
}

TEST(Meshing, a_mac_keeps_its_state_and_meshes_key_and_vector) {
    const Sample s;
    vrx_crpt_ctx ctx = open_context(s, VRX_MODE_IMITO, 1);
    feed(ctx, 1024);
    Bytes mac(ctx.mac, ctx.mac + 8);
    feed(ctx, 8);
    model::imito_64(Bytes(8).data(), mac.data(), s.meshed_key().data(), s.table.substitution);
    EXPECT_EQ(hex({ctx.mac, 8}), hex(mac));
    EXPECT_EQ(hex({ctx.iv, 8}), hex(s.meshed_iv()));
}

TEST(Meshing, failed_meshing_logs_twice_and_block_modes_ignore_it) {
    // In ECB mode, the two calls of the mode function also log that the table is not deployed. CBC logs nothing.
    for (const std::uint32_t mode : {unsigned{VRX_MODE_SS}, unsigned{VRX_MODE_CBC}}) {
        Sample s;
        vrx_crpt_ctx ctx = open_context(s, mode, 1);
        ctx.table.initialised = 0;
        ctx.mesh_count = 1024;
        vrx_crpt_ctx expected = ctx;
        expected.mesh_count = 0;
        Bytes bytes(16, 0x5A);
        const vrx_data in{16, bytes.data()};
        vrx_data out{16, bytes.data()};
        EXPECT_EQ(vrx_crpt_update(&ctx, &in, &out), VRX_ERR_FAILED);
        const std::string own = mode == VRX_MODE_SS ? not_deployed + not_deployed : "";
        EXPECT_EQ(s.log.take(), not_deployed + not_deployed + own);
        EXPECT_EQ(difference(ctx, expected), "");
        EXPECT_EQ(bytes, Bytes(16, 0x5A));
        EXPECT_EQ(out.length, 16u);
    }
}

}  // namespace
