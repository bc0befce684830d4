#include "gostr3411/engine.hpp"

namespace vrx::gostr3411 {

constinit cpu::Choice<engines> choice;

}  // namespace vrx::gostr3411
