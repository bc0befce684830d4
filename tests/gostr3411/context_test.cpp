// Tests every field of a hash context after every call, and the one-shot functions.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include "fields.hpp"
#include "messages.hpp"
#include "support/random.hpp"

namespace {

using namespace vrx::test;

/** A context that is opened with a table of the test set, and its model. */
class ContextTest : public testing::Test {
protected:
    ContextTest() { open(); }

    void open() {
        std::memset(&ctx, 0xa5, sizeof ctx);
        ASSERT_EQ(GOSTR3411_Init(&ctx, VRX_PAR_HASH_0_OID, VRX_PAR_OID_SIZE), VRX_OK);
        model = {.substitute = on_boxes(boxes)};
        expect_fields(ctx, model, TZ_3411_94[0]);
    }
    void update(std::span<const std::uint8_t> data) {
        ASSERT_EQ(GOSTR3411_Update(&ctx, data.data(), length32(data)), VRX_OK);
        model.update(data);
        expect_fields(ctx, model, TZ_3411_94[0]);
    }
    Octets final() {
        std::array<std::uint8_t, 34> out{};
        out.front() = out.back() = 0x5a;
        EXPECT_EQ(GOSTR3411_Final(&ctx, &out[1]), VRX_OK);
        Octets digest{};
        std::copy_n(out.begin() + 1, 32, digest.begin());
        EXPECT_EQ(digest, model.final());
        EXPECT_EQ(out.front(), 0x5a);
        EXPECT_EQ(out.back(), 0x5a);
        expect_fields(ctx, model, TZ_3411_94[0]);
        return digest;
    }

    Random random;
    Boxes boxes = boxes_of_set(test_set);
    GOSTR3411_CTX ctx;
    ModelContext model;
};

TEST_F(ContextTest, fields_follow_the_model_through_random_calls) {
    for (int round = 0; round < 30; ++round) {
        open();
        for (unsigned calls = random.below(8); calls != 0; --calls)
            update(random.bytes(1 + random.below(random.coin() ? 40 : 200)));
        final();
    }
}

TEST_F(ContextTest, fields_follow_the_model_from_any_fields) {
    for (int round = 0; round < 60; ++round) {
        model.sum = random.value<Octets>();
        model.hash = random.value<Octets>();
        model.length = random.value<Octets>();
        if (random.coin()) std::fill_n(model.length.begin(), random.below(33), std::uint8_t{0xff});
        model.buffer = random.value<Octets>();
        model.count = random.below(33);
        put_fields(ctx, model);
        if (random.coin()) update(random.bytes(1 + random.below(100)));
        final();
    }
}

TEST_F(ContextTest, every_length_after_every_count) {
    const Bytes data = random.bytes(200);
    const std::span<const std::uint8_t> all(data);
    for (std::size_t count = 1; count <= 32; ++count)
        for (std::size_t length = 1; length <= 98; length += count % 7 == 0 ? 1 : 11) {
            open();
            if (count > 31) update(all.subspan(0, 32));  // the buffer can be full only if a block was processed before
            update(all.subspan(0, count));
            update(all.subspan(count, length));
        }
}

TEST_F(ContextTest, full_buffer_waits_but_one_filled_exactly_is_absorbed) {
    const Bytes data = random.bytes(96);
    const std::span<const std::uint8_t> all(data);
    update(all.subspan(0, 32));
    EXPECT_EQ(ctx.count, 0U);
    EXPECT_EQ(ctx.length[0], 256U);

    open();
    update(all.subspan(0, 64));
    EXPECT_EQ(ctx.count, 32U);
    EXPECT_EQ(ctx.length[0], 256U);
    update(all.subspan(64, 1));
    EXPECT_EQ(ctx.count, 1U);
    EXPECT_EQ(ctx.length[0], 512U);

    open();
    update(all.subspan(0, 31));
    update(all.subspan(31, 1));
    EXPECT_EQ(ctx.count, 0U);
    EXPECT_EQ(ctx.length[0], 256U);
}

TEST_F(ContextTest, bytes_behind_count_keep_what_the_buffer_held) {
    const Bytes data = random.bytes(32 + 32 + 3);
    update(data);
    EXPECT_EQ(ctx.count, 3U);
    EXPECT_EQ(std::memcmp(ctx.buffer, &data[64], 3), 0);
    EXPECT_EQ(std::memcmp(ctx.buffer + 3, &data[3], 29), 0) << "the second block went through the buffer";
}

TEST_F(ContextTest, hash_continues_after_final_from_count_and_buffer) {
    update(random.bytes(37));
    const Octets first = final();
    EXPECT_EQ(ctx.count, 5U);
    for (std::size_t i = 5; i < 32; ++i) EXPECT_EQ(ctx.buffer[i], 0);
    EXPECT_EQ(octets(ctx.hash), first);
    EXPECT_NE(final(), first);
    EXPECT_EQ(ctx.length[0], 256U + 40 + 40);
    update(random.bytes(50));
    final();
}

TEST_F(ContextTest, empty_message_absorbs_no_block) {
    EXPECT_EQ(final(), model_step(model_step({}, {}, on_boxes(boxes)).out, {}, on_boxes(boxes)).out);
    EXPECT_EQ(octets(ctx.length), Octets{});
}

TEST_F(ContextTest, blocks_of_all_ones) {
    for (int i = 0; i < 5; ++i) update(Bytes(150, 0xff));
    final();
}

TEST_F(ContextTest, it_may_be_opened_with_its_own_table) {
    update(random.bytes(77));
    ASSERT_EQ(GOSTR3411_Init_ex(&ctx, &ctx.table), VRX_OK);
    model = {.substitute = on_boxes(boxes)};
    expect_fields(ctx, model, TZ_3411_94[0]);
    update(random.bytes(77));
    final();
}

TEST_F(ContextTest, table_is_copied_whole_and_its_flag_is_not_tested) {
    auto table = random.value<vrx_tz>();
    table.initialised = 0;
    ASSERT_EQ(GOSTR3411_Init_ex(&ctx, &table), VRX_OK);
    const vrx_tz before = table;
    table = {};
    const Bytes data = random.bytes(100);
    ASSERT_EQ(GOSTR3411_Update(&ctx, data.data(), length32(data)), VRX_OK);
    Octets out{};
    ASSERT_EQ(GOSTR3411_Final(&ctx, out.data()), VRX_OK);
    EXPECT_EQ(out, model_digest(on_table(before), data));
    EXPECT_EQ(std::memcmp(&ctx.table, &before, sizeof before), 0);
}

TEST_F(ContextTest, a_failing_call_leaves_it_as_it_is) {
    update(random.bytes(45));
    const Bytes before(reinterpret_cast<std::uint8_t*>(&ctx), reinterpret_cast<std::uint8_t*>(&ctx + 1));
    const std::uint8_t data[1] = {1};
    const std::uint8_t other_oid[] = {6, 7, 0x2a, 0x85, 3, 2, 2, 0x1e, 2};
    EXPECT_NE(GOSTR3411_Update(&ctx, data, 0), VRX_OK);
    EXPECT_NE(GOSTR3411_Update(&ctx, nullptr, 1), VRX_OK);
    EXPECT_NE(GOSTR3411_Final(&ctx, nullptr), VRX_OK);
    EXPECT_NE(GOSTR3411_Init_ex(&ctx, nullptr), VRX_OK);
    EXPECT_NE(GOSTR3411_Init(&ctx, nullptr, 9), VRX_OK);
    EXPECT_NE(GOSTR3411_Init(&ctx, other_oid, sizeof other_oid), VRX_OK);
    EXPECT_EQ(std::memcmp(&ctx, before.data(), before.size()), 0);
}

TEST_F(ContextTest, a_copy_goes_its_own_way) {
    update(random.bytes(45));
    GOSTR3411_CTX copy = ctx;
    ModelContext copied = model;
    update(random.bytes(60));
    const Bytes data = random.bytes(33);
    ASSERT_EQ(GOSTR3411_Update(&copy, data.data(), length32(data)), VRX_OK);
    copied.update(data);
    expect_fields(copy, copied, TZ_3411_94[0]);
    final();
}

// Caller-supplied records.

class ExtraRecordsTest : public ContextTest {
protected:
    const std::uint8_t own_oid[3] = {6, 1, 0x2a};
    vrx_tz first = random.value<vrx_tz>();
    vrx_tz second = random.value<vrx_tz>();
    const vrx_gostr3411_par records[3] = {{VRX_PAR_OID_SIZE, VRX_PAR_HASH_1_OID, "", "", &first},
                                          {sizeof own_oid, own_oid, "", "", &second},
                                          {sizeof own_oid, own_oid, "", "", &first}};

    bool opens_with(const vrx_tz& table, const std::uint8_t* oid, std::uint32_t oid_len, std::uint32_t count) {
        EXPECT_EQ(GOSTR3411_Init_more_oids(&ctx, oid, oid_len, records, count), VRX_OK);
        return std::memcmp(&ctx.table, &table, sizeof table) == 0;
    }
};

TEST_F(ExtraRecordsTest, built_in_records_take_precedence_over_the_callers) {
    EXPECT_TRUE(opens_with(TZ_3411_94[1], VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, 3));
    EXPECT_TRUE(opens_with(second, own_oid, sizeof own_oid, 3));
    EXPECT_TRUE(opens_with(second, own_oid, sizeof own_oid, 2));
}

TEST_F(ExtraRecordsTest, only_counted_records_are_read_and_none_from_null) {
    EXPECT_EQ(GOSTR3411_Init_more_oids(&ctx, own_oid, sizeof own_oid, records, 1), VRX_ERR_UNSUPPORTED_OID);
    EXPECT_EQ(GOSTR3411_Init_more_oids(&ctx, own_oid, sizeof own_oid, records, 0), VRX_ERR_UNSUPPORTED_OID);
    EXPECT_EQ(GOSTR3411_Init_more_oids(&ctx, own_oid, sizeof own_oid, nullptr, 3), VRX_ERR_UNSUPPORTED_OID);
    EXPECT_EQ(GOSTR3411_Init(&ctx, own_oid, sizeof own_oid), VRX_ERR_UNSUPPORTED_OID);
}

TEST_F(ExtraRecordsTest, identifiers_differ_by_length_and_by_every_byte) {
    EXPECT_EQ(GOSTR3411_Init(&ctx, VRX_PAR_HASH_0_OID, VRX_PAR_OID_SIZE - 1), VRX_ERR_UNSUPPORTED_OID);
    for (std::size_t i = 0; i < VRX_PAR_OID_SIZE; ++i) {
        std::array<std::uint8_t, VRX_PAR_OID_SIZE> oid{};
        std::copy_n(VRX_PAR_HASH_0_OID, VRX_PAR_OID_SIZE, oid.begin());
        oid.at(i) ^= 0x80;
        EXPECT_EQ(GOSTR3411_Init(&ctx, oid.data(), oid.size()), VRX_ERR_UNSUPPORTED_OID);
    }
}

TEST_F(ExtraRecordsTest, one_shot_hashes_with_them) {
    const Bytes data = random.bytes(75);
    Octets out{};
    EXPECT_EQ(
        GOSTR3411_Transform_more_oids(own_oid, sizeof own_oid, records, 3, data.data(), length32(data), out.data()),
        VRX_OK);
    EXPECT_EQ(out, model_digest(on_table(second), data));
}

// One-shot functions.

TEST(one_shot, equals_the_model_for_every_short_length_at_any_address) {
    Random random;
    const Bytes data = random.bytes(140);
    for (std::uint32_t length = 1; length <= 130; ++length) {
        const std::uint8_t* start = &data[length % 8];
        Octets out{};
        EXPECT_EQ(GOSTR3411_Transform_ex(&TZ_3411_94[0], start, length, out.data()), VRX_OK);
        EXPECT_EQ(out, model_digest(on_boxes(boxes_of_set(test_set)), {start, length})) << length;
    }
}

TEST(one_shot, digest_may_be_written_over_the_message) {
    Random random;
    Bytes data = random.bytes(100);
    const Octets expected = model_digest(on_boxes(boxes_of_set(test_set)), data);
    EXPECT_EQ(GOSTR3411_Transform_ex(&TZ_3411_94[0], data.data(), length32(data), &data[40]), VRX_OK);
    EXPECT_EQ(std::memcmp(&data[40], expected.data(), expected.size()), 0);
}

TEST(one_shot, length_of_2_to_29_bytes_and_more_does_not_fit_32_bits) {
    constexpr std::uint32_t length = (1U << 29) + 1;
    void* zeros = mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    Octets out{};
    EXPECT_EQ(GOSTR3411_Transform_ex(&TZ_3411_94[1], static_cast<const std::uint8_t*>(zeros), length, out.data()),
              VRX_OK);
    munmap(zeros, length);

    // from libgcrypt 1.10.1: gcry_md_hash_buffer(GCRY_MD_GOSTR3411_CP) of the same number of zeros
    EXPECT_EQ(hex(out), "312ddcfd79ea0f300561075e8591939e4b23281d55c67c5851f1f4073b74ba7c");
}

}  // namespace
