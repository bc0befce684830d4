// SHA-1 contexts (RFC 3174): messages in pieces, and the padding.
#include "frame/blockwise.hpp"
#include "frame/bytes.hpp"
#include "frame/secret_work.hpp"
#include "sha1/compress.hpp"
#include "vrx/sha1.h"

using namespace vrx::sha1;

namespace {

/** Converts words between host byte order and big-endian, the order of the message and the digest. */
void swap(std::uint32_t* words, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) words[i] = __builtin_bswap32(words[i]);
}

std::uint8_t* bytes(sha_context* ctx) { return reinterpret_cast<std::uint8_t*>(ctx->data); }

/** The number of bytes in the buffer, which is less than a block. */
std::size_t held(const sha_context* ctx) { return ctx->count_lo % block_size; }

void process(sha_context* ctx, const std::uint8_t* data, std::size_t blocks) {
    compress(Digest(ctx->digest), data, blocks);
}

/** Runs body(), and erases the stack and registers that it used. */
template <typename Body>
void traceless(Body body) {
    const bool portable = engine().run == compress_portable;
    vrx::secret_work({portable ? 2 * vrx::depth::sha1 : vrx::depth::sha1, vrx::Registers::low}, body);
}

/**
 * Processes input that completes the block in the buffer, of which `before` bytes are present, and buffers the rest.
 */
void process_from(sha_context* ctx, std::size_t before, const std::uint8_t* buffer, std::uint64_t count) {
    vrx::Input rest{buffer, count};
    vrx::Blockwise<block_size> block(bytes(ctx), before);
    if (before != 0) {
        block.fill(rest);
        process(ctx, bytes(ctx), 1);
    }
    if (const std::size_t blocks = block.whole(rest); blocks != 0) process(ctx, rest.take(blocks * block_size), blocks);
    block.keep(rest);
}

void final(sha_context* ctx, std::uint8_t* digest_out) {
    constexpr std::size_t length_at = 56;
    std::uint8_t* data = bytes(ctx);
    std::size_t used = held(ctx);
    data[used++] = 0x80;
    if (used > length_at) {
        std::memset(data + used, 0, block_size - used);
        process(ctx, data, 1);
        used = 0;
    }
    std::memset(data + used, 0, length_at - used);
    ctx->data[14] = __builtin_bswap32(ctx->count_hi << 3 | ctx->count_lo >> 29);
    ctx->data[15] = __builtin_bswap32(ctx->count_lo << 3);
    process(ctx, data, 1);
    swap(ctx->digest, VRX_SHA1_DIGEST_WORDS);
    std::memcpy(digest_out, ctx->digest, VRX_SHA1_SIZE);
}

}  // namespace

void shaInit(sha_context* ctx) {
    constexpr std::uint32_t initial[] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
    std::memcpy(ctx->digest, initial, sizeof initial);
    ctx->count_hi = 0;
    ctx->count_lo = 0;
}

void shaTransform(sha_context* ctx) {
    traceless([&] {
        swap(ctx->data, VRX_SHA1_BLOCK_WORDS);
        process(ctx, bytes(ctx), 1);
    });
}

void shaUpdate(sha_context* ctx, const std::uint8_t* buffer, std::uint64_t count) {
    const std::size_t before = held(ctx);
    // Deliberate: at most one carry, so the count is wrong after a call with 2^32 bytes or more.
    const std::uint32_t count_lo = ctx->count_lo + static_cast<std::uint32_t>(count);
    if (count_lo < ctx->count_lo) ++ctx->count_hi;
    ctx->count_lo = count_lo;

    if (count < block_size - before) return vrx::copy_secret(bytes(ctx) + before, buffer, count);
    traceless([=] { process_from(ctx, before, buffer, count); });
}

void shaFinal(sha_context* ctx, std::uint8_t* digest_out) {
    traceless([=] { final(ctx, digest_out); });
}
