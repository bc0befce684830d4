// Runs test suites and test programs with each engine of a family. Also provides tables for which engines take
// different code paths.
#ifndef VRX_TESTS_SUPPORT_ENGINES_HPP
#define VRX_TESTS_SUPPORT_ENGINES_HPP

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/offered.hpp"
#include "support/random.hpp"
#include "vrx.h"

namespace vrx::test {

/** A test suite with each engine of a family as parameter. Skips engines that this CPU does not support. */
template <auto& choice>
class EachEngine : public testing::TestWithParam<const typename WithEngine<choice>::Engine*> {
protected:
    void SetUp() override {
        if (!offered(*this->GetParam())) GTEST_SKIP() << "this CPU does not support " << this->GetParam()->name;
    }
};
/** The parameters of such a suite. */
template <typename List>
auto each_of(const List& engines) {
    std::vector<decltype(&cpu::engine_of(*std::begin(engines)))> all;
    for (const auto& e : engines) all.push_back(&cpu::engine_of(e));
    return testing::ValuesIn(all);
}
inline constexpr auto engine_name = [](const auto& suite) {
    std::string name = suite.param->name;
    std::erase(name, '-');
    return name;
};

/** Runs a whole test program with the engine that the environment variable VRX_TEST_ENGINE names. */
template <auto& choice, const auto& engines>
class ChosenEngine : public testing::Environment {
public:
    void SetUp() override {
        const char* const name = std::getenv("VRX_TEST_ENGINE");
        if (name == nullptr) return;
        for (const auto& e : engines)
            if (std::strcmp(e.name, name) == 0) {
                if (!offered(e)) GTEST_SKIP() << "this CPU does not support " << name;
                return choice.use(e);
            }
        FAIL() << "no engine " << name;
    }
};

/** A table deployed from S-boxes. */
inline vrx_tz from_s_boxes(Random& random) {
    std::uint8_t num[VRX_NUM_TZ_SIZE];
    random.fill(num);
    vrx_tz table{};
    vrx_crpt_deploy_TZ(num, &table);
    return table;
}

/** A table of random words, which no S-boxes produce. */
inline vrx_tz from_no_s_boxes(Random& random) {
    auto table = random.value<vrx_tz>();
    table.initialised = 1;
    return table;
}

}  // namespace vrx::test

#endif
