// The modes over runs of whole blocks, with an engine if the run is long enough. Arguments are not checked.
//
// in and out may be the same buffer. If they overlap otherwise, the blocks are processed in order, and each is read
// completely before it is written.
#ifndef VRX_GOST28147_BULK_HPP
#define VRX_GOST28147_BULK_HPP

#include "gost28147/mode.hpp"

namespace vrx::gost28147::bulk {

void run(Mode mode, const Run& run);

/**
 * A parallelizable mode over whole sections of 1024 bytes with CryptoPro key meshing: meshes `key` and the register
 * before each section. `run.cipher.key` must be a view of `key`.
 */
void run_sections(Mode mode, const Run& run, std::uint32_t* key);

}  // namespace vrx::gost28147::bulk

#endif
