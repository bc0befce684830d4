// Selects the engine that the environment variable VRX_TEST_ENGINE names for all tests of a program. The program fails
// if this engine is never called.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "ecc/field/engines.hpp"

namespace {

using namespace vrx::test;

class EngineChoice : public testing::Environment {
public:
    void SetUp() override {
        const char* name = std::getenv("VRX_TEST_ENGINE");
        if (name == nullptr) return;
        const vrx::field::Engine* engine = engine_named(name);
        ASSERT_NE(engine, nullptr) << name << " does not run here";
        forced_ = std::make_unique<CountedEngine>(*engine);
    }
    void TearDown() override {
        if (!forced_) return;
        const auto counts = forced_->take();
        EXPECT_NE(counts.base + counts.point + counts.sum, 0u) << "the engine was not asked";
        EXPECT_EQ(counts.covered != 0, std::string(std::getenv("VRX_TEST_ENGINE")) != engine_none.name);
        forced_.reset();
    }

private:
    std::unique_ptr<CountedEngine> forced_;
};

[[maybe_unused]] const auto* const choice = testing::AddGlobalTestEnvironment(new EngineChoice);

}  // namespace
