// Compares every engine with the portable step function for all lengths, addresses, overlaps and tables, and checks
// which code path ran.
#include "gostr3411/engine.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string_view>

#include "support/engines.hpp"
#include "support/fenced_pages.hpp"
#include "support/random.hpp"
#include "vrx.h"

namespace {

using namespace vrx::gostr3411;
using vrx::test::Bytes;
using vrx::test::FencedPages;
using vrx::test::from_no_s_boxes;
using vrx::test::from_s_boxes;
using vrx::test::offered;
using vrx::test::Random;

constexpr std::size_t block = VRX_HASH_BLOCK_SIZE;

using With = vrx::test::WithEngine<vrx::gostr3411::choice>;

/** The steps for built-in tables, for custom tables made from S-boxes, and for tables that no S-boxes expand to. */
struct Ways {
    Steps built_in, sound, strange;
};

#ifndef VRX_CONSTANT_TIME
Ways ways_of(std::string_view name) {
    if (name == "vbmi") return {steps_vbmi, steps_vbmi, steps_avx2};
    if (name == "avx2_wide") return {steps_avx2_wide, steps_avx2, steps_avx2};
    const Steps steps = name == "avx2" ? steps_avx2 : steps_baseline;
    return {steps, steps, steps};
}
#else
Ways ways_of(std::string_view name) {
    const Steps steps = name == "vbmi" ? steps_vbmi : name == "ssse3" ? steps_ssse3 : steps_scan;
    return {steps, steps, steps_scan_table};
}
#endif

class EveryHashEngine : public vrx::test::EachEngine<vrx::gostr3411::choice> {
protected:
    /** Checks that `work` returns the same with the engine as with the portable step function. */
    template <typename Work>
    void expect_same(Work work) {
        const auto result_with = [&](const Engine& e) {
            const With with(e);
            return work();
        };
        ASSERT_EQ(result_with(*GetParam()), result_with(engines.back()));
    }

    Random random_;
    vrx_tz sound_ = from_s_boxes(random_);
    vrx_tz strange_ = from_no_s_boxes(random_);
    const vrx_tz* tables_[4] = {&TZ_3411_94[0], &TZ_3411_94[1], &sound_, &strange_};
};

template <typename Record>
Bytes bytes_of(const Record& record) {
    const auto* const first = static_cast<const std::uint8_t*>(static_cast<const void*>(&record));
    return {first, first + sizeof record};
}

TEST_P(EveryHashEngine, same_steps_for_any_number_of_blocks_at_any_address) {
    const With with(*GetParam());
    for (int turn = 0; turn < 2000; ++turn) {
        const vrx_tz& table = *tables_[turn % 4];
        const std::size_t count = random_.below(6);
        const Bytes data = random_.bytes(count * block + 64);
        const std::uint8_t* const blocks = data.data() + random_.below(64);
        auto h = random_.value<Uint256>();
        Uint256 expected = h;
        for (std::size_t i = 0; i < count; ++i) expected = step(expected, load(blocks + i * block), table);
        Substitution(table).steps(h, blocks, count);
        ASSERT_EQ(h, expected) << turn;
    }
}

TEST_P(EveryHashEngine, takes_single_bits_through_every_linear_map) {
    const With with(*GetParam());
    const Substitution by(TZ_3411_94[1]);
    for (unsigned bit = 0; bit < 512; ++bit) {
        Uint256 h{};
        Uint256 m{};
        (bit < 256 ? h : m).at(bit % 256 / 64) = std::uint64_t{1} << bit % 64;
        const Uint256 expected = step(h, m, TZ_3411_94[1]);
        by.steps(h, static_cast<const std::uint8_t*>(static_cast<const void*>(&m)), 1);
        ASSERT_EQ(h, expected) << bit;
    }
}

TEST_P(EveryHashEngine, hashes_messages_of_all_lengths_at_all_alignments) {
    const Bytes data = random_.bytes(400);
    for (std::uint32_t length = 0; length <= 300; ++length)
        for (const vrx_tz* table : tables_)
            expect_same([&, at = length % 67] {
                Bytes out(block);
                GOSTR3411_Transform_ex(table, &data[at], length, out.data());
                return out;
            });
}

TEST_P(EveryHashEngine, leaves_every_field_of_a_context_the_same) {
    for (int turn = 0; turn < 300; ++turn) {
        const std::uint32_t seed = random_.word();
        expect_same([&] {
            Random pieces(seed);
            Bytes trace;
            GOSTR3411_CTX ctx;
            std::memset(&ctx, 0xa5, sizeof ctx);
            EXPECT_EQ(GOSTR3411_Init_ex(&ctx, tables_[turn % 4]), VRX_OK);
            const auto note = [&] {
                const Bytes record = bytes_of(ctx);
                trace.insert(trace.end(), record.begin(), record.end());
            };
            for (unsigned calls = pieces.below(6); calls != 0; --calls) {
                // A caller may change the table of its record: one entry, or all of them.
                const std::uint32_t poke = pieces.below(4);
                if (poke == 0) ctx.table.t[pieces.below(4)][pieces.below(256)] ^= 1U << pieces.below(32);
                if (poke == 1) ctx.table = *tables_[pieces.below(4)];
                const Bytes data = pieces.bytes(1 + pieces.below(200));
                EXPECT_EQ(GOSTR3411_Update(&ctx, data.data(), static_cast<std::uint32_t>(data.size())), VRX_OK);
                note();
            }
            Bytes out(block);
            EXPECT_EQ(GOSTR3411_Final(&ctx, out.data()), VRX_OK);
            note();
            trace.insert(trace.end(), out.begin(), out.end());
            return trace;
        });
        if (HasFatalFailure()) return;
    }
}

TEST_P(EveryHashEngine, the_digest_may_be_written_anywhere_over_the_message) {
    const Bytes memory = random_.bytes(400);
    for (std::size_t at = 0; at < 300; ++at)
        expect_same([&] {
            Bytes copy = memory;
            GOSTR3411_Transform_ex(tables_[at % 4], &copy[100], 130, &copy[at]);
            return copy;
        });
}

TEST_P(EveryHashEngine, numbers_of_a_step_may_overlap) {
    const auto words = [](std::uint8_t* at) { return static_cast<std::uint32_t*>(static_cast<void*>(at)); };
    for (std::size_t at = 0; at <= 64; at += 4) {
        const Bytes memory = random_.bytes(96);
        expect_same([&] {
            Bytes copy = memory;
            gost_r_3411_94_compress(words(&copy[32]), words(&copy[at]), tables_[at / 4 % 4]);
            return copy;
        });
    }
}

TEST_P(EveryHashEngine, authenticates_and_derives_the_same) {
    for (int turn = 0; turn < 150; ++turn) {
        const Bytes key = random_.bytes(1 + random_.below(70));
        const Bytes data = random_.bytes(1 + random_.below(200));
        const auto key_length = static_cast<std::uint32_t>(key.size());
        const auto data_length = static_cast<std::uint32_t>(data.size());
        const std::uint64_t iterations = random_.below(12);
        const auto& set = GOSTR3411_OIDS[turn % 2];
        expect_same([&] {
            Bytes out(3 * block + 70);
            std::uint32_t size = 0;
            EXPECT_EQ(GOSTR3411_HMAC(set.oid, set.oid_length, data.data(), data_length, key.data(), key_length,
                                     out.data(), &size),
                      VRX_OK);
            EXPECT_EQ(GOSTR3411_PKCS5_PBKDF2(key.data(), key_length, data.data(), data_length, iterations, set.oid,
                                             set.oid_length, &out[block], block),
                      VRX_OK);
            EXPECT_EQ(GOSTR3411_PBA_Derive(key.data(), static_cast<std::int32_t>(key_length), data.data(),
                                           static_cast<std::int32_t>(data_length), iterations, turn, set.oid,
                                           set.oid_length, &out[2 * block], 10 + turn % 90),
                      VRX_OK);
            GOSTR3411_HMAC_CTX ctx;
            std::memset(&ctx, 0, sizeof ctx);
            GOSTR3411_HMAC_Init(&ctx, set.oid, set.oid_length, key.data(), key_length);
            GOSTR3411_HMAC_Update(&ctx, data.data(), data_length);
            Bytes record = bytes_of(ctx);
            out.insert(out.end(), record.begin(), record.end());
            GOSTR3411_HMAC_Final(&ctx, nullptr, &size);
            record = bytes_of(ctx);
            out.insert(out.end(), record.begin(), record.end());
            return out;
        });
        if (HasFatalFailure()) return;
    }
}

TEST_P(EveryHashEngine, notices_a_flipped_bit_anywhere_in_the_table) {
    const With with(*GetParam());
    vrx_tz table = TZ_3411_94[1];
    auto* const bytes = static_cast<std::uint8_t*>(static_cast<void*>(&table));
    const Steps trusting = Substitution(table).way();
    const auto m = random_.value<Uint256>();
    auto h = random_.value<Uint256>();
    for (std::size_t bit = 0; bit < 8 * sizeof table; ++bit) {
        bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        const Substitution by(table);
        const Uint256 expected = step(h, m, table);
        by.steps(h, static_cast<const std::uint8_t*>(static_cast<const void*>(&m)), 1);
        ASSERT_EQ(h, expected) << "bit " << bit;
        if (trusting != ways_of(GetParam()->name).strange) {
            const bool entries = bit < 8 * sizeof table.t;
            ASSERT_EQ(by.way() == trusting, !entries) << "bit " << bit;
        }
        bytes[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
}

TEST_P(EveryHashEngine, touches_nothing_beside_the_buffers) {
    constexpr std::size_t most = 300;
    FencedPages messages(most);
    FencedPages digests(block);
    FencedPages tables(sizeof(vrx_tz));
    FencedPages contexts(sizeof(GOSTR3411_CTX));
    for (const bool upper : {false, true})
        for (const vrx_tz* source : tables_) {
            auto* const table = static_cast<vrx_tz*>(static_cast<void*>(tables.bytes(sizeof(vrx_tz), upper)));
            auto* const ctx =
                static_cast<GOSTR3411_CTX*>(static_cast<void*>(contexts.bytes(sizeof(GOSTR3411_CTX), upper)));
            std::memcpy(table, source, sizeof *table);
            std::uint8_t* const out = digests.bytes(block, upper);
            for (std::uint32_t length = 1; length <= most; ++length) {
                std::uint8_t* const data = messages.bytes(length, upper);
                for (std::uint32_t i = 0; i < length; ++i) data[i] = static_cast<std::uint8_t>(i * length);
                expect_same([&] {
                    EXPECT_EQ(GOSTR3411_Transform_ex(table, data, length, out), VRX_OK);
                    Bytes all(out, out + block);
                    EXPECT_EQ(GOSTR3411_Init_ex(ctx, table), VRX_OK);
                    EXPECT_EQ(GOSTR3411_Update(ctx, data, length), VRX_OK);
                    EXPECT_EQ(GOSTR3411_Final(ctx, out), VRX_OK);
                    EXPECT_TRUE(std::equal(all.begin(), all.end(), out));
                    const Bytes record = bytes_of(*ctx);
                    all.insert(all.end(), record.begin(), record.end());
                    return all;
                });
                if (HasFatalFailure()) return;
            }
        }
}

/** The engine that uses no secret-dependent addresses reads the table only to recover the S-boxes. */
TEST(HashEngine, permutes_read_nothing_of_the_table) {
    if (!offered(engines[0])) GTEST_SKIP() << "this CPU does not support " << engines[0].name;
    const With with(engines[0]);
    Random random;
    const vrx_tz sound = from_s_boxes(random);
    FencedPages room(sizeof sound);
    auto* const table = static_cast<vrx_tz*>(static_cast<void*>(room.bytes(sizeof sound, false)));
    std::memcpy(table, &sound, sizeof sound);
    const Substitution by(*table);
    ASSERT_EQ(by.way(), steps_vbmi);
    room.close();
    for (int turn = 0; turn < 100; ++turn) {
        auto h = random.value<Uint256>();
        const auto m = random.value<Uint256>();
        const Uint256 expected = step(h, m, sound);
        by.steps(h, static_cast<const std::uint8_t*>(static_cast<const void*>(&m)), 1);
        ASSERT_EQ(h, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(engines, EveryHashEngine, vrx::test::each_of(engines), vrx::test::engine_name);

TEST(HashEngine, each_goes_the_way_it_is_named_for) {
    Random random;
    const vrx_tz sound = from_s_boxes(random);
    const vrx_tz strange = from_no_s_boxes(random);
    for (const Engine& e : engines) {
        if (!offered(e)) continue;
        const With with(e);
        const char* const name = e.name;
        const Ways ways = ways_of(name);
        const vrx_tz copy = TZ_3411_94[1];
        for (const vrx_tz* table : {&TZ_3411_94[0], &TZ_3411_94[1], &copy})
            EXPECT_EQ(Substitution(*table).way(), ways.built_in) << name;
        EXPECT_EQ(Substitution(sound).way(), ways.sound) << name;
        EXPECT_EQ(Substitution(TZ_28147_89[0]).way(), ways.sound) << name;
        EXPECT_EQ(Substitution(strange).way(), ways.strange) << name;
    }
}

}  // namespace
