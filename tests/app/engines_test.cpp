// The engines that the program says are in use are those that the library chooses.
#include "engines.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "ecc/field/engine.hpp"
#include "gost28147/engine.hpp"
#include "gostr3411/engine.hpp"
#include "sha1/compress.hpp"
#include "tz/sboxes.hpp"

namespace {

using vrx::app::Engine;

struct Listed {
    std::string_view name;
    std::uint32_t needs;
    bool operator==(const Listed&) const = default;
};

template <typename List>
std::vector<Listed> listed(const List& list) {
    std::vector<Listed> result;
    for (const auto& engine : list) {
        if constexpr (requires { engine.wants; })
            result.push_back({engine.name, engine.needs | engine.wants});
        else if constexpr (requires { engine->name; })
            result.push_back({engine->name, engine->needs});
        else
            result.push_back({engine.name, engine.needs});
    }
    return result;
}

TEST(Engines, the_lists_are_those_of_the_library) {
    EXPECT_EQ(listed(vrx::app::cipher_engines), listed(vrx::gost28147::engines));
    EXPECT_EQ(listed(vrx::app::hash_engines), listed(vrx::gostr3411::engines));
    EXPECT_EQ(listed(vrx::app::table_engines), listed(vrx::tz::deployments));
    EXPECT_EQ(listed(vrx::app::sha1_engines), listed(vrx::sha1::implementations));
    EXPECT_EQ(listed(vrx::app::curve_engines), listed(vrx::field::engines));
}

TEST(Engines, the_choice_on_this_processor_is_that_of_the_library) {
    const std::uint32_t features = vrx::cpu::features();
    EXPECT_STREQ(best_engine(vrx::app::cipher_engines, features).name, vrx::gost28147::engine().name);
    EXPECT_STREQ(best_engine(vrx::app::hash_engines, features).name, vrx::gostr3411::engine().name);
    EXPECT_STREQ(best_engine(vrx::app::curve_engines, features).name, vrx::field::engine().name);
}

TEST(Engines, a_family_has_an_engine_for_every_processor) {
    for (const auto& family : vrx::app::engine_families)
        for (std::uint32_t features : {0U, 1U, 0x555U, ~0U}) {
            const Engine& engine = best_engine(family.engines, features);
            EXPECT_EQ(engine.needs & ~features, 0U) << family.name;
            for (const Engine& better : family.engines) {
                if (&better == &engine) break;
                EXPECT_NE(better.needs & ~features, 0U) << better.name;
            }
        }
}

}  // namespace
