// GOST R 34.11-94 for blocks, for whole messages, and for messages in pieces.
#ifndef VRX_GOSTR3411_HASH_HPP
#define VRX_GOSTR3411_HASH_HPP

#include <cstddef>

#include "gostr3411/engine.hpp"
#include "vrx/gostr3411.h"

namespace vrx::gostr3411 {

/** The hash value H, the sum of the blocks, and the length in bits (RFC 5831, section 5). */
struct State {
    Uint256 hash;
    Uint256 sum;
    Uint256 length;
};

/** Processes a block that contains `bits` bits of the message. The length is counted modulo 2^64. */
void absorb(State& s, const Uint256& block, std::uint32_t bits, const Substitution& by);

/** Processes whole blocks. */
void absorb(State& s, const std::uint8_t* data, std::size_t blocks, const Substitution& by);

/** Processes the length and the sum, as at the end of every message. s.hash is then the digest. */
void close(State& s, const Substitution& by);

/** Processes the last block, as absorb() does, and ends the message. */
void close(State& s, const Uint256& last, std::uint32_t bits, const Substitution& by);

/** Processes the rest of the message, of any length, and ends the message. */
void finish(State& s, const std::uint8_t* data, std::size_t len, const Substitution& by);

// Messages in pieces, in a context. Arguments are not checked.

/** Resets the context, except for its table. */
void start(GOSTR3411_CTX& ctx);

/** Resets the context and copies `table` into it. `table` may be the context's own. */
void init(GOSTR3411_CTX& ctx, const vrx_tz& table);

/** If data does not complete a block, buffers it without leaving copies elsewhere, and returns true. */
[[nodiscard]] bool waits(GOSTR3411_CTX& ctx, const std::uint8_t* data, std::size_t len);

// In these functions, `by` is the context's own table.

void update(GOSTR3411_CTX& ctx, const std::uint8_t* data, std::size_t len, const Substitution& by);
inline void update(GOSTR3411_CTX& ctx, const std::uint8_t* data, std::size_t len) {
    update(ctx, data, len, Substitution(ctx.table));
}

void final(GOSTR3411_CTX& ctx, std::uint8_t out[VRX_HASH_SIZE], const Substitution& by);
inline void final(GOSTR3411_CTX& ctx, std::uint8_t out[VRX_HASH_SIZE]) { final(ctx, out, Substitution(ctx.table)); }

/** Sets the context to a state, with an empty buffer. */
void resume(GOSTR3411_CTX& ctx, const State& s);

}  // namespace vrx::gostr3411

#endif
