// What the hash's engines ask of the rest of the library, for proofs that call them by themselves.
#include "prove/blocks.hpp"

#include "gostr3411/engine.hpp"

namespace vrx::cpu {
prove_uint32 features() { return 0; }
}  // namespace vrx::cpu

namespace vrx::gostr3411 {
constinit cpu::Choice<engines> choice;
Steps prepare_baseline(Substitution& /*s*/) noexcept { return nullptr; }
}  // namespace vrx::gostr3411
