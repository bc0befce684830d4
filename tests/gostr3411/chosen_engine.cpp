#include "support/engines.hpp"

#include "gostr3411/engine.hpp"

namespace {

using Chosen = vrx::test::ChosenEngine<vrx::gostr3411::choice, vrx::gostr3411::engines>;
[[maybe_unused]] const testing::Environment* const chosen =
    testing::AddGlobalTestEnvironment(new Chosen);  // GoogleTest deletes it

}  // namespace
