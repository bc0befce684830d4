// Choosing engines of a family (cipher, hash) in tests, and tables that suit some of them only.
#ifndef VRX_TESTS_SUPPORT_ENGINES_HPP
#define VRX_TESTS_SUPPORT_ENGINES_HPP

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "frame/cpu.hpp"
#include "support/random.hpp"
#include "vrx.h"

namespace vrx::test {

/** This processor can run an engine. */
template <typename Engine>
bool offered(const Engine& e) {
    return (cpu::features() & e.needs) == e.needs;
}

/** Runs one engine of a family while it lives; current: the one that runs; use: what makes another one run. */
template <auto current, auto use, typename Engine>
class WithEngine {
public:
    explicit WithEngine(const Engine& e) : before_(current()) { use(e); }
    ~WithEngine() { use(before_); }
    WithEngine(const WithEngine&) = delete;
    WithEngine& operator=(const WithEngine&) = delete;

private:
    const Engine& before_;
};

/**
 * Lets a whole test program run over one engine: that which VRX_TEST_ENGINE names. engines: the list of a family; use:
 * what makes one of them run.
 */
template <const auto& engines, auto use>
class ChosenEngine : public testing::Environment {
public:
    void SetUp() override {
        const char* const name = std::getenv("VRX_TEST_ENGINE");
        if (name == nullptr) return;
        for (const auto& e : engines)
            if (std::strcmp(e.name, name) == 0) {
                if (!offered(e)) GTEST_SKIP() << "this processor does not offer what " << name << " needs";
                return use(e);
            }
        FAIL() << "no engine " << name;
    }
};

/** A deployed table that S-boxes produced. */
inline vrx_tz from_s_boxes(Random& random) {
    std::uint8_t num[VRX_NUM_TZ_SIZE];
    random.fill(num);
    vrx_tz table{};
    vrx_crpt_deploy_TZ(num, &table);
    return table;
}

/** A deployed table of random words, which no S-boxes produce. */
inline vrx_tz from_no_s_boxes(Random& random) {
    auto table = random.value<vrx_tz>();
    table.initialised = 1;
    return table;
}

}  // namespace vrx::test

#endif
