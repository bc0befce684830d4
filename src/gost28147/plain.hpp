// The modes block by block: their definition, used for short runs and for overlapping buffers.
#ifndef VRX_GOST28147_PLAIN_HPP
#define VRX_GOST28147_PLAIN_HPP

#include "gost28147/mode.hpp"

namespace vrx::gost28147::plain {

/** Blocks in order, each read whole before it is written. */
void run(Mode mode, const Run& run);

}  // namespace vrx::gost28147::plain

#endif
