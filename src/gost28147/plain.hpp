// The modes block by block: the reference for all engines, used for short runs and overlapping buffers.
#ifndef VRX_GOST28147_PLAIN_HPP
#define VRX_GOST28147_PLAIN_HPP

#include "gost28147/mode.hpp"

namespace vrx::gost28147::plain {

/** Processes the blocks in order, and reads each completely before writing it. */
void run(Mode mode, const Run& run);

}  // namespace vrx::gost28147::plain

#endif
