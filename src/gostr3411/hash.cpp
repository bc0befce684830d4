#include "gostr3411/hash.hpp"

#include <algorithm>

#include "frame/blockwise.hpp"
#include "frame/secret_work.hpp"

namespace vrx::gostr3411 {
namespace {

constexpr std::size_t block_size = VRX_HASH_BLOCK_SIZE;
constexpr std::uint32_t block_bits = 8 * VRX_HASH_BLOCK_SIZE;

/** Computes a + b modulo 2^256. */
constexpr Uint256 add(const Uint256& a, const Uint256& b) {
    Uint256 sum{};
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < sum.size(); ++i) {
        const std::uint64_t partial = a[i] + carry;
        sum[i] = partial + b[i];
        carry = (partial < carry) | (sum[i] < b[i]);
    }
    return sum;
}

/** Adds a block to the sum, and its bits to the length. */
void count(State& s, const Uint256& block, std::uint32_t bits) {
    s.sum = add(s.sum, block);
    s.length[0] += bits;
}

/** Runs one step for each block, in order. */
template <std::size_t n>
void run(State& s, const Uint256 (&blocks)[n], const Substitution& by) {
    by.steps(s.hash, reinterpret_cast<const std::uint8_t*>(blocks), n);
}

State load(const GOSTR3411_CTX& ctx) {
    return {gostr3411::load(ctx.hash), gostr3411::load(ctx.sum), gostr3411::load(ctx.length)};
}

void store(GOSTR3411_CTX& ctx, const State& s) {
    gostr3411::store(ctx.hash, s.hash);
    gostr3411::store(ctx.sum, s.sum);
    gostr3411::store(ctx.length, s.length);
}

}  // namespace

void absorb(State& s, const Uint256& block, std::uint32_t bits, const Substitution& by) {
    count(s, block, bits);
    run(s, {block}, by);
}

void absorb(State& s, const std::uint8_t* data, std::size_t blocks, const Substitution& by) {
    // A piece fits in the L1 cache, so that the second pass over the piece finds it there.
    constexpr std::size_t piece = 128;
    for (std::size_t n; blocks != 0; blocks -= n, data += n * block_size) {
        n = std::min(blocks, piece);
        by.steps(s.hash, data, n);
        for (std::size_t i = 0; i < n; ++i) count(s, load(data + i * block_size), block_bits);
    }
}

void close(State& s, const Substitution& by) { run(s, {s.length, s.sum}, by); }

void close(State& s, const Uint256& last, std::uint32_t bits, const Substitution& by) {
    count(s, last, bits);
    run(s, {last, s.length, s.sum}, by);
}

void finish(State& s, const std::uint8_t* data, std::size_t len, const Substitution& by) {
    absorb(s, data, len / block_size, by);
    const std::size_t rest = len % block_size;
    if (rest == 0) return close(s, by);
    Uint256 last{};
    std::memcpy(&last, data + len - rest, rest);
    close(s, last, static_cast<std::uint32_t>(8 * rest), by);
}

void start(GOSTR3411_CTX& ctx) {
    store(ctx, State{});
    std::memset(ctx.buffer, 0, sizeof ctx.buffer);
    ctx.count = 0;
}

void init(GOSTR3411_CTX& ctx, const vrx_tz& table) {
    start(ctx);
    std::memmove(&ctx.table, &table, sizeof table);
}

bool waits(GOSTR3411_CTX& ctx, const std::uint8_t* data, std::size_t len) {
    Input rest{data, len};
    Blockwise<block_size, Last::deferred> buffer(ctx.buffer, ctx.count);
    if (len >= buffer.room()) return false;
    buffer.fill(rest);
    ctx.count = static_cast<std::uint32_t>(buffer.filled());
    return true;
}

void update(GOSTR3411_CTX& ctx, const std::uint8_t* data, std::size_t len, const Substitution& by) {
    Input rest{data, len};
    Blockwise<block_size, Last::deferred> buffer(ctx.buffer, ctx.count);
    // The buffer may already be full: a full block is processed only when another byte follows.
    buffer.fill(rest);
    ctx.count = static_cast<std::uint32_t>(buffer.filled());
    if (!buffer.full()) return;
    State s = load(ctx);
    absorb(s, ctx.buffer, 1, by);
    const std::size_t blocks = buffer.whole(rest);
    absorb(s, rest.take(blocks * block_size), blocks, by);
    store(ctx, s);
    buffer.keep(rest);
    ctx.count = static_cast<std::uint32_t>(buffer.filled());
}

void final(GOSTR3411_CTX& ctx, std::uint8_t* out, const Substitution& by) {
    State s = load(ctx);
    if (ctx.count == 0) {
        close(s, by);
    } else {
        for (std::size_t i = ctx.count; i < block_size; ++i) ctx.buffer[i] = 0;
        close(s, gostr3411::load(ctx.buffer), 8 * ctx.count, by);
    }
    store(ctx, s);
    gostr3411::store(out, s.hash);
}

void resume(GOSTR3411_CTX& ctx, const State& s) {
    store(ctx, s);
    ctx.count = 0;
}

}  // namespace vrx::gostr3411
