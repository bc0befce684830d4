// The ways to deploy a table and to find its S-boxes again.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "frame/cpu.hpp"
#include "support/random.hpp"
#include "tz/sboxes.hpp"

namespace {

using vrx::test::Random;

bool offered(std::uint32_t needs) { return (vrx::cpu::features() & needs) == needs; }

TEST(Deployment, every_variant_writes_what_the_rule_says_at_any_address) {
    Random random;
    for (const vrx::tz::Deployment& d : vrx::tz::deployments) {
        if (!offered(d.needs)) continue;
        for (int turn = 0; turn < 300; ++turn) {
            std::uint8_t num[VRX_NUM_TZ_SIZE];
            random.fill(num);
            auto before = random.value<vrx_tz>();
            vrx_tz expected = before;
            vrx::tz::deploy(num, expected);
            alignas(64) std::uint32_t room[16 + sizeof(vrx_tz) / 4];
            auto* const got = static_cast<vrx_tz*>(static_cast<void*>(room + random.below(16)));
            std::memcpy(got, &before, sizeof before);
            d.run(vrx::tz::Numeric(num), *got);
            ASSERT_EQ(std::memcmp(got, &expected, sizeof expected), 0) << d.name;
        }
    }
}

TEST(Recovery, finds_the_s_boxes_of_a_table_and_refuses_any_other) {
    if (!offered(vrx::cpu::avx2)) GTEST_SKIP() << "this processor does not offer avx2";
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

}  // namespace
