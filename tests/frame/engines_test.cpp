// Tests of engine selection in every family: the list equals frame/engines.hpp, and the first supported engine is
// chosen.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "ecc/field/engine.hpp"
#include "gost28147/engine/list.hpp"
#include "gostr3411/engine.hpp"
#include "sha1/compress.hpp"
#include "support/offered.hpp"
#include "tz/deployments.hpp"

namespace {

namespace cpu = vrx::cpu;

template <auto& its_choice, const auto& its_engines, const auto& its_entries>
struct Family {
    static constexpr auto& choice = its_choice;
    static constexpr auto& engines = its_engines;
    static constexpr auto& entries = its_entries;
};
using Cipher = Family<vrx::gost28147::choice, vrx::gost28147::engines, cpu::cipher_engines>;
using Hash = Family<vrx::gostr3411::choice, vrx::gostr3411::engines, cpu::hash_engines>;
using Sha1 = Family<vrx::sha1::choice, vrx::sha1::engines, cpu::sha1_engines>;
using Curves = Family<vrx::field::choice, vrx::field::engines, cpu::curve_engines>;
using Tables = Family<vrx::tz::choice, vrx::tz::deployments, cpu::table_engines>;

template <typename Family>
class Engines : public testing::Test {};
using Families = testing::Types<Cipher, Hash, Sha1, Curves, Tables>;
TYPED_TEST_SUITE(Engines, Families);

TYPED_TEST(Engines, equal_the_list_in_the_header) {
    ASSERT_EQ(std::size(TypeParam::engines), std::size(TypeParam::entries));
    for (std::size_t i = 0; i < std::size(TypeParam::entries); ++i) {
        const auto& engine = cpu::engine_of(TypeParam::engines[i]);
        EXPECT_STREQ(engine.name, TypeParam::entries[i].name);
        EXPECT_EQ(engine.needs, TypeParam::entries[i].needs);
        EXPECT_EQ(engine.wants, TypeParam::entries[i].wants);
    }
}

TYPED_TEST(Engines, first_supported_engine_runs_until_another_is_selected) {
    TypeParam::choice.forget();
    const std::uint32_t features = cpu::features();
    const auto best = std::ranges::find_if(
        TypeParam::entries, [&](const cpu::EngineInfo& e) { return (features & e.suits()) == e.suits(); });
    ASSERT_NE(best, std::end(TypeParam::entries));
    EXPECT_STREQ(TypeParam::choice().name, best->name);
    for (const auto* engine : vrx::test::offered_of(TypeParam::engines)) {
        const vrx::test::WithEngine<TypeParam::choice> with(*engine);
        EXPECT_EQ(&TypeParam::choice(), engine);
    }
    EXPECT_STREQ(TypeParam::choice().name, best->name);
}

TEST(EngineFamilies, have_an_engine_for_every_cpu) {
    for (const cpu::EngineFamily& family : cpu::engine_families) {
        EXPECT_EQ(family.engines.back().suits(), cpu::baseline) << family.name;
        for (std::uint32_t features : {0U, 1U, 0x555U, ~0U}) {
            const cpu::EngineInfo& engine = cpu::best_of(family.engines, features);
            EXPECT_EQ(engine.suits() & ~features, 0U) << family.name;
            for (const cpu::EngineInfo& better : family.engines) {
                if (&better == &engine) break;
                EXPECT_NE(better.suits() & ~features, 0U) << better.name;
            }
        }
    }
}

}  // namespace
