// The modes over runs of whole blocks, through an engine where one pays. Nothing is checked here.
//
// in and out may be the same bytes. Where they overlap otherwise the blocks are taken in order, each read whole before
// it is written.
#ifndef VRX_GOST28147_BULK_HPP
#define VRX_GOST28147_BULK_HPP

#include "gost28147/mode.hpp"

namespace vrx::gost28147::bulk {

void run(Mode mode, const Run& run);

/**
 * A parallelizable mode over whole sections of 1024 bytes with CryptoPro key meshing: before each, `key` and the
 * register are meshed. `run.cipher.key` is `key`.
 */
void run_sections(Mode mode, const Run& run, std::uint32_t* key);

}  // namespace vrx::gost28147::bulk

#endif
