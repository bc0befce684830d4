// Messages in pieces over a context record, after the checks of the API functions. Arguments are not checked.
#ifndef VRX_GOST28147_STREAM_HPP
#define VRX_GOST28147_STREAM_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "gost28147/bulk.hpp"
#include "vrx/context.h"

namespace vrx::gost28147::stream {

/**
 * The stack and registers in which the functions below may leave secrets after a piece of the given number of bytes.
 * Each of the functions may mesh the key, which processes four blocks.
 */
constexpr Extent extent_of(std::size_t bytes) {
    return bulk::extent_of(std::max<std::size_t>(bytes, 2 * VRX_BLOCK_SIZE));
}

/** Counter mode. */
[[gnu::noinline]] void counter(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t length);

/**
 * CFB in the direction of the context. If the buffers overlap, the result is as if all input were read before any
 * output is written.
 */
[[gnu::noinline]] void cfb(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t length);

/** The MAC. If `finish` is true, pads and processes a partial block at the end. */
[[gnu::noinline]] void mac(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::size_t length, bool finish);

/**
 * Processes whole sections of ECB and of CBC decryption in a context that is due for a meshing. @return the number of
 * bytes; 0 for CBC encryption, which is chained
 */
[[gnu::noinline]] std::uint32_t sections(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out,
                                         std::uint32_t length);

}  // namespace vrx::gost28147::stream

#endif
