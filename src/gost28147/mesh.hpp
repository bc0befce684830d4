// CryptoPro key meshing (RFC 4357, section 2.3.2): the constant, the step, and the count of bytes in a context.
#ifndef VRX_GOST28147_MESH_HPP
#define VRX_GOST28147_MESH_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/wipe.hpp"
#include "gost28147/mode.hpp"
#include "vrx/context.h"

namespace vrx::gost28147 {

/** The constant C of key meshing. */
inline constexpr std::uint8_t meshing_constant[VRX_KEY_SIZE] = {
    0x69, 0x00, 0x72, 0x22, 0x64, 0xC9, 0x04, 0x23, 0x8D, 0x3A, 0xDB, 0x96, 0x46, 0xE9, 0x2A, 0xC4,
    0x18, 0xFE, 0xAC, 0x94, 0x00, 0xED, 0x07, 0x12, 0xC0, 0x86, 0xDC, 0xC2, 0xEF, 0x4C, 0xA9, 0x2B};

/** The number of blocks under one key. */
inline constexpr std::size_t section_blocks = VRX_MESHING_SECTION / VRX_BLOCK_SIZE;

/**
 * Computes K = D(K, C), and then register = E(K, register). ECB does not use a register, but the function computes this
 * in every mode.
 *
 * @param run_blocks  the function that runs ECB: plain::run or bulk::run.
 */
template <typename RunBlocks>
void mesh(const vrx_tz& table, std::uint32_t* key, std::uint8_t* reg, RunBlocks run_blocks) {
    Secret<std::uint8_t[VRX_KEY_SIZE]> next;
    run_blocks(Mode::ecb_decrypt,
               Run{{table, Key(key)}, nullptr, meshing_constant, next.value, VRX_KEY_SIZE / VRX_BLOCK_SIZE});
    std::memcpy(key, next.value, VRX_KEY_SIZE);
    run_blocks(Mode::ecb_encrypt, Run{{table, Key(key)}, nullptr, reg, reg, 1});
}

inline bool meshes(const vrx_crpt_ctx& ctx) { return ctx.key_meshing == 1; }

/**
 * Returns the number of blocks, at most `wanted`, that vrx_make_key_meshing() would count before the next meshing. If a
 * caller has set the count to a value from which it never equals 1024, there is no further meshing.
 */
inline std::size_t blocks_before_meshing(const vrx_crpt_ctx& ctx, std::size_t wanted) {
    const std::uint32_t left = VRX_MESHING_SECTION - ctx.mesh_count;
    if (!meshes(ctx) || left % VRX_BLOCK_SIZE != 0) return wanted;
    return std::min<std::size_t>(wanted, left / VRX_BLOCK_SIZE);
}

/** Counts blocks. Their number is at most that of blocks_before_meshing(). */
inline void count_blocks(vrx_crpt_ctx& ctx, std::size_t blocks) {
    if (meshes(ctx)) ctx.mesh_count += static_cast<std::uint32_t>(blocks * VRX_BLOCK_SIZE);
}

}  // namespace vrx::gost28147

#endif
