// The parts of the library that the engines of the hash need. The proofs link only the engines, not the library.
#include "prove/blocks.hpp"

#include "gostr3411/engine.hpp"

namespace vrx::cpu {
prove_uint32 features() { return 0; }
}  // namespace vrx::cpu

namespace vrx::gostr3411 {
constinit cpu::Choice<engines> choice;
Steps prepare_baseline(Substitution& /*s*/) noexcept { return nullptr; }
}  // namespace vrx::gostr3411
