#include "support/engines.hpp"

#include "gost28147/engine/list.hpp"

namespace {

using Chosen = vrx::test::ChosenEngine<vrx::gost28147::choice, vrx::gost28147::engines>;
[[maybe_unused]] const testing::Environment* const chosen =
    testing::AddGlobalTestEnvironment(new Chosen);  // GoogleTest deletes it

}  // namespace
