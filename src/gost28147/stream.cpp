#include "gost28147/stream.hpp"

#include <cstring>

#include "frame/blockwise.hpp"
#include "frame/wipe.hpp"
#include "gost28147/bulk.hpp"
#include "gost28147/mesh.hpp"

namespace vrx::gost28147::stream {
namespace {

using Buffer = Blockwise<VRX_BLOCK_SIZE>;

Cipher cipher_of(const vrx_crpt_ctx& ctx) { return {ctx.table, Key(ctx.key)}; }

/** If a key meshing is due, performs it. Then counts one block. */
void mesh_step(vrx_crpt_ctx& ctx) {
    if (!meshes(ctx)) return;
    if (ctx.mesh_count == VRX_MESHING_SECTION) {
        mesh(ctx.table, ctx.key, ctx.iv, bulk::run);
        ctx.mesh_count = 0;
    }
    ctx.mesh_count += VRX_BLOCK_SIZE;
}

/**
 * Processes whole blocks of a message, meshes the key and counts blocks. Passes runs under one key to the engines, and
 * in parallelizable modes also whole sections that start with a meshing. Any other block before which a meshing is due
 * is processed alone, after mesh_step(). The function is inlined, because a call would slow down short pieces.
 */
[[gnu::always_inline]] inline void run_blocks(Mode mode, vrx_crpt_ctx& ctx, std::uint8_t* reg, const std::uint8_t* in,
                                              std::uint8_t* out, std::size_t blocks) {
    for (std::size_t n; blocks != 0; blocks -= n, in += n * VRX_BLOCK_SIZE) {
        n = blocks_before_meshing(ctx, blocks);
        if (n != 0) {
            count_blocks(ctx, n);
            bulk::run(mode, {cipher_of(ctx), reg, in, out, n});
        } else if (parallelizable(mode) && blocks >= section_blocks) {
            n = blocks / section_blocks * section_blocks;
            bulk::run_sections(mode, {cipher_of(ctx), reg, in, out, n}, ctx.key);
        } else {
            mesh_step(ctx);
            n = 1;
            bulk::run(mode, {cipher_of(ctx), reg, in, out, n});
        }
        if (out != nullptr) out += n * VRX_BLOCK_SIZE;
    }
}

/**
 * Processes the last bytes of a piece, which are fewer than a block. Generates the key stream of a whole block, and
 * stores the unused part of it.
 */
void run_tail(Mode mode, vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t tail) {
    if (tail == 0) return;
    mesh_step(ctx);
    Secret<std::uint8_t[VRX_BLOCK_SIZE]> last;
    copy_secret(last.value, in, tail);
    ctx.block_len = static_cast<std::uint32_t>(VRX_BLOCK_SIZE - tail);
    bulk::run(mode, {cipher_of(ctx), ctx.iv, last.value, ctx.block, 1});
    copy_secret(out, ctx.block, tail);
    if (mode == Mode::cfb_decrypt) copy_secret(ctx.block, last.value, tail);
}

}  // namespace

void counter(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t length) {
    if ((ctx.flags & VRX_FLAG_FIRST) != 0) {
        bulk::run(Mode::ecb_encrypt, {cipher_of(ctx), nullptr, ctx.iv, ctx.iv, 1});
        ctx.flags = 0;
    }
    // Use up the key stream that an earlier piece left.
    const std::uint8_t* const end = in + length;
    if (ctx.block_len != 0) {
        Buffer left(ctx.block, VRX_BLOCK_SIZE - ctx.block_len);
        left.fill(length, [&](std::uint8_t gamma) { *out++ = *in++ ^ gamma; });
        ctx.block_len = static_cast<std::uint32_t>(left.room());
    }

    const auto rest = static_cast<std::size_t>(end - in);
    const std::size_t tail = rest % VRX_BLOCK_SIZE;
    run_blocks(Mode::counter, ctx, ctx.iv, in, out, rest / VRX_BLOCK_SIZE);
    run_tail(Mode::counter, ctx, in + (rest - tail), out + (rest - tail), tail);
}

void cfb(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t length) {
    const bool encrypting = ctx.direction != 0;
    const Mode mode = encrypting ? Mode::cfb_encrypt : Mode::cfb_decrypt;
    const std::uint8_t* const end = in + length;
    // Continue a block that an earlier piece began. In the block, ciphertext replaces the key stream that has been
    // used.
    if (ctx.block_len != 0) {
        Buffer begun(ctx.block, VRX_BLOCK_SIZE - ctx.block_len);
        begun.fill(length, [&](std::uint8_t& gamma) {
            const std::uint8_t given = *in++;
            const std::uint8_t made = given ^ gamma;
            *out++ = made;
            gamma = encrypting ? made : given;
        });
        ctx.block_len = static_cast<std::uint32_t>(begun.room());
        if (!begun.full()) return;
        std::memcpy(ctx.iv, ctx.block, VRX_BLOCK_SIZE);
    }

    const auto rest = static_cast<std::size_t>(end - in);
    const std::size_t tail = rest % VRX_BLOCK_SIZE;
    // If the output starts inside the input, move the input there first and process it in place.
    if (const auto ahead = reinterpret_cast<std::uintptr_t>(out) - reinterpret_cast<std::uintptr_t>(in);
        ahead != 0 && ahead < rest) {
        if (rest <= longest_copy)
            copy_secret(out, in, rest);  // reads everything first, and does not use the registers that only AVX-512 has
        else
            std::memmove(out, in, rest);
        in = out;
    }
    run_blocks(mode, ctx, ctx.iv, in, out, rest / VRX_BLOCK_SIZE);
    run_tail(mode, ctx, in + (rest - tail), out + (rest - tail), tail);
}

void mac(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::size_t length, bool finish) {
    Input rest{in, length};
    Buffer buffer(ctx.block, ctx.block_len);
    const bool begun = buffer.filled() != 0;
    if (begun || length < VRX_BLOCK_SIZE) {
        buffer.fill(rest);
        ctx.block_len = static_cast<std::uint32_t>(buffer.filled());
        if (!buffer.full()) {
            if (!finish) return;
            std::memset(ctx.block + buffer.filled(), 0, buffer.room());
            mesh_step(ctx);
            bulk::run(Mode::mac, {cipher_of(ctx), ctx.mac, ctx.block, nullptr, 1});
            return;
        }
    }
    // Deliberate: only the low half of the MAC state is cleared.
    if ((ctx.flags & VRX_FLAG_FIRST) != 0) std::memset(ctx.mac, 0, VRX_BLOCK_SIZE / 2);
    if (begun) {
        mesh_step(ctx);
        bulk::run(Mode::mac, {cipher_of(ctx), ctx.mac, ctx.block, nullptr, 1});
    }
    const std::size_t blocks = Buffer::whole(rest);
    run_blocks(Mode::mac, ctx, ctx.mac, rest.take(blocks * VRX_BLOCK_SIZE), nullptr, blocks);
    std::memset(ctx.block, 0, VRX_BLOCK_SIZE);
    buffer.keep(rest);
    ctx.block_len = static_cast<std::uint32_t>(buffer.filled());
    ctx.flags = 0;
}

std::uint32_t sections(vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::uint32_t length) {
    const bool decrypting = ctx.direction == 0;
    const bool cbc = ctx.mode == VRX_MODE_CBC;
    if (cbc && !decrypting) return 0;
    const Mode mode = cbc ? Mode::cbc_decrypt : decrypting ? Mode::ecb_decrypt : Mode::ecb_encrypt;
    const std::uint32_t whole = length / VRX_MESHING_SECTION;
    if (whole == 0) return 0;
    bulk::run_sections(mode, {cipher_of(ctx), ctx.iv, in, out, whole * section_blocks}, ctx.key);
    return whole * VRX_MESHING_SECTION;
}

}  // namespace vrx::gost28147::stream
