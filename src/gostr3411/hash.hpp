// GOST R 34.11-94 over blocks, over whole messages, and over messages in pieces.
#ifndef VRX_GOSTR3411_HASH_HPP
#define VRX_GOSTR3411_HASH_HPP

#include <cstddef>

#include "gostr3411/engine.hpp"
#include "vrx/gostr3411.h"

namespace vrx::gostr3411 {

/** H, the sum of the blocks and the length in bits (RFC 5831, section 5). */
struct State {
    Uint256 hash;
    Uint256 sum;
    Uint256 length;
};

/** Take in a block that stands for so many bits of the message. The length counts modulo 2^64. */
void absorb(State& s, const Uint256& block, std::uint32_t bits, const Substitution& by);

/** Take in whole blocks. */
void absorb(State& s, const std::uint8_t* data, std::size_t blocks, const Substitution& by);

/** Take in the length and the sum, which close every message. s.hash is the digest then. */
void close(State& s, const Substitution& by);

/** Take in a last block as absorb() does, and close. */
void close(State& s, const Uint256& last, std::uint32_t bits, const Substitution& by);

/** Take in the rest of the message, of any length, and close it. */
void finish(State& s, const std::uint8_t* data, std::size_t len, const Substitution& by);

// A message in pieces. Nothing is checked.

/** Everything but the table begins anew. */
void start(GOSTR3411_CTX& ctx);

/** The same, with a copy of a table, which may be the context's own. */
void init(GOSTR3411_CTX& ctx, const vrx_tz& table);

void update(GOSTR3411_CTX& ctx, const std::uint8_t* data, std::size_t len);

void final(GOSTR3411_CTX& ctx, std::uint8_t out[VRX_HASH_SIZE]);

/** Go on from a state, with nothing in the buffer. */
void resume(GOSTR3411_CTX& ctx, const State& s);

}  // namespace vrx::gostr3411

#endif
