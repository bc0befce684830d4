// The modes over runs of whole blocks, with an engine if the run is long enough. Arguments are not checked.
//
// in and out may be the same buffer. If they overlap in another way, the blocks are processed in order, and each block
// is read completely before its output is written.
#ifndef VRX_GOST28147_BULK_HPP
#define VRX_GOST28147_BULK_HPP

#include "frame/secret_work.hpp"
#include "gost28147/mode.hpp"

namespace vrx::gost28147::bulk {

[[gnu::noinline]] void run(Mode mode, const Run& run);

/**
 * The stack and registers in which run() may leave secrets after a call for the given number of bytes. Engines with
 * larger frames erase these frames themselves.
 */
constexpr Extent extent_of(std::size_t bytes) {
    if (bytes <= VRX_BLOCK_SIZE) return {depth::block, Registers::low};
    if (bytes < VRX_BLOCK_SIZE * 4)
        return {depth::few_blocks, Registers::low};  // AVX-512 registers are used only from 4 blocks on
    if (bytes < VRX_BLOCK_SIZE * 64) return {depth::some_blocks};
    return {depth::blocks};
}

/**
 * Runs a parallelizable mode over whole sections of 1024 bytes with CryptoPro key meshing. Meshes `key` and the
 * register before each section. `run.cipher.key` must be a view of `key`.
 */
void run_sections(Mode mode, const Run& run, std::uint32_t* key);

}  // namespace vrx::gost28147::bulk

#endif
