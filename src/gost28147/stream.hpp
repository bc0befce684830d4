// Messages in pieces over a context record: what follows the checks. Nothing is checked here.
#ifndef VRX_GOST28147_STREAM_HPP
#define VRX_GOST28147_STREAM_HPP

#include <cstddef>
#include <cstdint>

#include "vrx/context.h"

namespace vrx::gost28147::stream {

/** Counter mode. */
void counter(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t length);

/** Cipher feedback in the direction of the context. The input counts as read before the output is written. */
void cfb(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t length);

/** The MAC; `finish` pads what is then left of a message shorter than a block. */
void mac(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::size_t length, bool finish);

/**
 * Whole sections of ECB and of CBC decryption in a context that is due for a meshing. The count of bytes; 0 for the
 * mode that chains.
 */
std::uint32_t sections(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::uint32_t length);

}  // namespace vrx::gost28147::stream

#endif
