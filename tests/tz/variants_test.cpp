// Tests of all implementations that deploy a table or recover its S-boxes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "gostr3411/wide_table.hpp"
#include "support/engines.hpp"
#include "support/random.hpp"
#include "tz/deployments.hpp"
#include "tz/sboxes.hpp"

namespace {

using vrx::test::Random;

TEST(Deployment, every_variant_equals_the_rule_at_any_address) {
    Random random;
    for (const vrx::tz::Deployment* d : vrx::test::offered_of(vrx::tz::deployments))
        for (int turn = 0; turn < 300; ++turn) {
            std::uint8_t num[VRX_NUM_TZ_SIZE];
            random.fill(num);
            auto before = random.value<vrx_tz>();
            vrx_tz expected = before;
            vrx::tz::deploy(num, expected);
            alignas(64) std::uint32_t room[16 + sizeof(vrx_tz) / 4];
            auto* const got = static_cast<vrx_tz*>(static_cast<void*>(room + random.below(16)));
            std::memcpy(got, &before, sizeof before);
            d->run(vrx::tz::Numeric(num), *got);
            ASSERT_EQ(std::memcmp(got, &expected, sizeof expected), 0) << d->name;
        }
}

TEST(Recovery, finds_the_s_boxes_of_a_table_and_refuses_any_other) {
    if (!vrx::cpu::offers(vrx::cpu::avx2_region)) GTEST_SKIP() << "this processor does not offer avx2";
    Random random;
    for (int turn = 0; turn < 300; ++turn) {
        std::uint8_t num[VRX_NUM_TZ_SIZE];
        random.fill(num);
        vrx_tz table{};
        vrx::tz::deploy(num, table);
        const vrx::tz::SBoxes expected = vrx::tz::sboxes(num);
        vrx::tz::SBoxes got{};
        ASSERT_TRUE(vrx::tz::recover_avx2(table, got));
        ASSERT_EQ(std::memcmp(&got, &expected, sizeof got), 0);
        for (int i = 0; i < 100; ++i) {
            vrx_tz wrong = table;
            wrong.t[random.below(4)][random.below(256)] ^= 1U << random.below(32);
            ASSERT_FALSE(vrx::tz::recover_avx2(wrong, got));
        }
    }
}

TEST(Wide, three_look_ups_give_what_four_do) {
    Random random;
    for (const vrx_tz& table : TZ_3411_94) {
        const vrx_tz copy = table;
        const vrx::gostr3411::WideTable* const wide = vrx::gostr3411::built_in_wide_table(copy);
        ASSERT_NE(wide, nullptr);
        EXPECT_EQ(vrx::gostr3411::built_in_wide_table(table), wide);
        const auto check = [&](std::uint32_t x) {
            const std::uint32_t four =
                table.t[0][x & 255] ^ table.t[1][x >> 8 & 255] ^ table.t[2][x >> 16 & 255] ^ table.t[3][x >> 24];
            ASSERT_EQ(wide->low[x & 4095] ^ wide->middle[x >> 12 & 255] ^ wide->high[x >> 20], four) << x;
        };
        for (std::uint32_t i = 0; i < 4096; ++i) {
            check(i);
            check(i << 12);
            check(i << 20);
            check(random.word());
        }
    }
    EXPECT_EQ(vrx::gostr3411::built_in_wide_table(TZ_28147_89[1]), nullptr);
}

TEST(Recovery, built_in_tables_are_known_by_their_address_alone) {
    const auto check = [](const vrx_tz& table) {
        const vrx::tz::SBoxes* const s = vrx::tz::built_in_sboxes(table);
        ASSERT_NE(s, nullptr);
        std::uint8_t num[VRX_NUM_TZ_SIZE];
        for (unsigned m = 0; m < 4; ++m)
            for (unsigned i = 0; i < 16; ++i)
                num[4 * i + m] = static_cast<std::uint8_t>(s->even[16 * m + i] | s->odd[16 * m + i]);
        vrx_tz expected{};
        vrx::tz::deploy(num, expected);
        EXPECT_EQ(std::memcmp(&table, &expected, sizeof table), 0);
        const vrx_tz copy = table;
        EXPECT_EQ(vrx::tz::built_in_sboxes(copy), nullptr);
    };
    for (const vrx_tz& table : TZ_28147_89) check(table);
    for (const vrx_tz& table : TZ_3411_94) check(table);
}

TEST(Recovery, address_outside_the_built_in_tables_matches_none) {
    const auto at = [](const void* place) { return vrx::tz::built_in_sboxes(*static_cast<const vrx_tz*>(place)); };
    const auto address = [](const void* place) { return reinterpret_cast<std::uintptr_t>(place); };
    for (const std::span<const vrx_tz> set :
         {std::span<const vrx_tz>(TZ_28147_89), std::span<const vrx_tz>(TZ_3411_94)}) {
        const auto* const first = reinterpret_cast<const std::uint8_t*>(set.data());
        // Addresses inside a table, and directly after the last table unless the other set of tables starts there.
        EXPECT_EQ(at(first + 4), nullptr);
        EXPECT_EQ(at(first + set.size_bytes() - 4), nullptr);
        const std::uint8_t* const end = first + set.size_bytes();
        if (address(end) != address(TZ_28147_89) && address(end) != address(TZ_3411_94)) {
            EXPECT_EQ(at(end), nullptr);
        }
        // Addresses outside the tables, at a distance that is a multiple of the table size.
        std::vector<std::uint32_t> room(2 * sizeof(vrx_tz) / 4);
        const std::uint32_t* far = room.data();
        while ((address(far) - address(first)) % sizeof(vrx_tz) != 0) ++far;
        EXPECT_EQ(at(far), nullptr);
    }
}

}  // namespace
