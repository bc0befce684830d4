// Selects the engine for point multiplication.
#include "ecc/field/engine.hpp"

namespace vrx::field {

constinit cpu::Choice<engines> choice;

}  // namespace vrx::field
