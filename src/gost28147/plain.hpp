// The modes block by block. This is the reference for all engines, and the library uses it for short runs and
// overlapping buffers.
#ifndef VRX_GOST28147_PLAIN_HPP
#define VRX_GOST28147_PLAIN_HPP

#include "gost28147/mode.hpp"

namespace vrx::gost28147::plain {

/** Processes the blocks in order, and reads each block completely before its output is written. */
void run(Mode mode, const Run& run);

}  // namespace vrx::gost28147::plain

#endif
