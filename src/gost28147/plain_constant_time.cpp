// The modes block by block for builds in which no address may depend on a secret. The selected engine computes them.
#include "gost28147/engine/list.hpp"
#include "gost28147/plain.hpp"

namespace vrx::gost28147::plain {

void run(Mode mode, const Run& run) { engine().chain(mode, run); }

}  // namespace vrx::gost28147::plain
