// Lets a whole test program run over one engine: that which VRX_TEST_ENGINE names.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "gostr3411/engine.hpp"

namespace {

using namespace vrx::gostr3411;

class ChosenEngine : public testing::Environment {
public:
    void SetUp() override {
        const char* const name = std::getenv("VRX_TEST_ENGINE");
        if (name == nullptr) return;
        for (const Engine& e : engines)
            if (std::strcmp(e.name, name) == 0) {
                if ((vrx::cpu::features() & e.needs) != e.needs)
                    GTEST_SKIP() << "this processor does not offer what " << name << " needs";
                return use(e);
            }
        FAIL() << "no engine " << name;
    }
};

[[maybe_unused]] const testing::Environment* const chosen =
    testing::AddGlobalTestEnvironment(new ChosenEngine);  // GoogleTest deletes it

}  // namespace
