// CryptoPro key meshing: where the key of a context changes (RFC 4357, section 2.3.2).
#ifndef VRX_GOST28147_MESH_HPP
#define VRX_GOST28147_MESH_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "vrx/context.h"

namespace vrx::gost28147 {

/** The constant C of RFC 4357, section 2.3.2. */
extern const std::uint8_t meshing_constant[VRX_KEY_SIZE];

inline bool meshes(const vrx_crpt_ctx& ctx) { return ctx.key_meshing == 1; }

/**
 * Blocks, at most `wanted`, that vrx_make_key_meshing() would count without meshing before any of them. A count that
 * never meets 1024 exactly, which only a caller can set, never meshes.
 */
inline std::size_t blocks_before_meshing(const vrx_crpt_ctx& ctx, std::size_t wanted) {
    const std::uint32_t left = VRX_MESHING_SECTION - ctx.mesh_count;
    if (!meshes(ctx) || left % VRX_BLOCK_SIZE != 0) return wanted;
    return std::min<std::size_t>(wanted, left / VRX_BLOCK_SIZE);
}

/** Count blocks that blocks_before_meshing() allowed. */
inline void count_blocks(vrx_crpt_ctx& ctx, std::size_t blocks) {
    if (meshes(ctx)) ctx.mesh_count += static_cast<std::uint32_t>(blocks * VRX_BLOCK_SIZE);
}

}  // namespace vrx::gost28147

#endif
