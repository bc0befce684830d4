// Lets a whole test program run over one engine of a family: that which VRX_TEST_ENGINE names.
#ifndef VRX_TESTS_SUPPORT_CHOSEN_ENGINE_HPP
#define VRX_TESTS_SUPPORT_CHOSEN_ENGINE_HPP

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "frame/cpu.hpp"

namespace vrx::test {

/** engines: the list of a family; use: what makes one of them run. */
template <const auto& engines, auto use>
class ChosenEngine : public testing::Environment {
public:
    void SetUp() override {
        const char* const name = std::getenv("VRX_TEST_ENGINE");
        if (name == nullptr) return;
        for (const auto& e : engines)
            if (std::strcmp(e.name, name) == 0) {
                if ((cpu::features() & e.needs) != e.needs)
                    GTEST_SKIP() << "this processor does not offer what " << name << " needs";
                return use(e);
            }
        FAIL() << "no engine " << name;
    }
};

}  // namespace vrx::test

#endif
