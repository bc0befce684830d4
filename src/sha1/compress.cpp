#include "sha1/compress.hpp"

namespace vrx::sha1 {

constinit cpu::Choice<engines> choice;

}  // namespace vrx::sha1
