#include "gost28147/engine/list.hpp"

namespace vrx::gost28147 {

constinit cpu::Choice<engines> choice;

}  // namespace vrx::gost28147
