// Contexts: a message in pieces of any length.
#include "vrx/context.h"

#include <algorithm>
#include <cstring>

#include "frame/log.hpp"
#include "frame/wipe.hpp"
#include "gost28147/bulk.hpp"
#include "gost28147/mesh.hpp"

using namespace vrx::gost28147;
namespace log = vrx::log;

namespace {

constexpr std::uint32_t block_size = VRX_BLOCK_SIZE;

/** memcpy that takes a null pointer for no bytes. */
void copy(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    if (count != 0) std::memcpy(to, from, count);
}

Cipher cipher_of(const vrx_crpt_ctx& ctx) { return {ctx.table, Key(ctx.key)}; }

/** Deliberate: a failing step is made a second time, and the second code counts. */
template <typename Step>
int with_second_try(Step step) {
    return step() == VRX_OK ? VRX_OK : step();
}

/** The meshing step of a context whose table is deployed, so that it does not fail. */
void mesh_step(vrx_crpt_ctx& ctx) { static_cast<void>(vrx_make_key_meshing(&ctx)); }

/**
 * Meshing and counting for a run of whole blocks: calls run(first, count) for each stretch under one key, and
 * run_sections(first, sections) for sections that wait for a meshing and fill themselves; it says how many of them it
 * took. A block that is left waiting goes through mesh_step() by itself.
 */
template <typename Run, typename RunSections>
void for_each_stretch(vrx_crpt_ctx& ctx, std::size_t blocks, Run run, RunSections run_sections) {
    for (std::size_t done = 0; done != blocks;) {
        std::size_t count = blocks_before_meshing(ctx, blocks - done);
        if (count != 0) {
            count_blocks(ctx, count);
        } else if (const std::size_t sections = run_sections(done, (blocks - done) / section_blocks); sections != 0) {
            done += sections * section_blocks;
            continue;
        } else {
            mesh_step(ctx);
            count = 1;
        }
        run(done, count);
        done += count;
    }
}

/** The same for modes whose sections are no faster together. */
template <typename Run>
void for_each_stretch(vrx_crpt_ctx& ctx, std::size_t blocks, Run run) {
    for_each_stretch(ctx, blocks, run, [](std::size_t, std::size_t) { return std::size_t{0}; });
}

/** Sections of a context's data. Its table is deployed, so that no meshing fails. */
void run_sections(Mode mode, vrx_crpt_ctx& ctx, const std::uint8_t* in, std::uint8_t* out, std::size_t sections) {
    if (sections != 0) meshed_sections(mode, ctx.table, ctx.key, ctx.iv, in, out, sections);
}

/**
 * What vrx_crpt_context_engine() can hand on in whole sections: modes that ignore the flags, and of them those without
 * a chain, where the one-shot function would find nothing wrong. The count of bytes; 0 where it has to go piece by
 * piece.
 */
std::uint32_t engine_sections(vrx_crpt_ctx& ctx, const vrx_data& in, const vrx_data& out) {
    const bool decrypting = ctx.direction == 0;
    if (ctx.mode != VRX_MODE_SS && (ctx.mode != VRX_MODE_CBC || !decrypting)) return 0;
    if (ctx.mesh_count != VRX_MESHING_SECTION || ctx.table.initialised == 0) return 0;
    if (in.data == nullptr || out.data == nullptr || out.length < VRX_MESHING_SECTION) return 0;
    const Mode mode = ctx.mode == VRX_MODE_CBC ? Mode::cbc_decrypt : decrypting ? Mode::ecb_decrypt : Mode::ecb_encrypt;
    const std::uint32_t sections = in.length / VRX_MESHING_SECTION;
    run_sections(mode, ctx, in.data, out.data, sections);
    return sections * VRX_MESHING_SECTION;
}

/** What the streaming modes ask of a context and an input before they look at anything else. */
int check_stream(const vrx_crpt_ctx* ctx) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    return ctx->initialised == 0 ? VRX_ERR_CONTEXT_STATE : VRX_OK;
}

/** The checks of counter mode and cipher feedback. */
int check_stream(const vrx_crpt_ctx* ctx, const vrx_data* in, const vrx_data* out) {
    if (const int rc = check_stream(ctx)) return rc;
    if (out == nullptr || in == nullptr || in->data == nullptr || out->data == nullptr) return VRX_ERR_BAD_PARAMS;
    if (in->length == 0 || in->length > out->length) return VRX_ERR_BUFFER_LENGTH;
    return ctx->table.initialised == 0 ? VRX_ERR_FAILED : VRX_OK;
}

/** Modes 1, 4 and unknown ones: whole blocks go to the engine, the rest waits in the context. */
int update_blocks(vrx_crpt_ctx& ctx, const vrx_data& in, vrx_data& out) {
    const std::uint32_t held = ctx.block_len;
    const std::uint64_t total = std::uint64_t{held} + in.length;
    const std::uint64_t whole = total / block_size * block_size;
    const auto count = static_cast<std::uint32_t>(whole);
    if (out.data == nullptr) {
        out.length = count;
        return VRX_OK;
    }
    if (whole == 0) {
        copy(ctx.block + held, in.data, in.length);
        ctx.block_len = static_cast<std::uint32_t>(total);
        out.length = 0;
        return VRX_OK;
    }
    if (whole > out.length) return VRX_ERR_BUFFER_LENGTH;

    const auto engine = [&ctx](const std::uint8_t* from, std::uint8_t* to, std::uint32_t length) {
        return with_second_try([&] {
            const vrx_data piece_in{length, const_cast<std::uint8_t*>(from)};
            vrx_data piece_out{length, to};
            return vrx_crpt_context_engine(&ctx, &piece_in, &piece_out);
        });
    };
    const std::uint32_t remainder = static_cast<std::uint32_t>(total % block_size);
    std::uint8_t* to = out.data;
    const std::uint8_t* from = in.data;
    std::uint32_t left = count;
    if (held > 0) {
        copy(ctx.block + held, from, block_size - held);
        if (const int rc = engine(ctx.block, to, block_size)) return rc;
        from += block_size - held;
        to += block_size;
        left -= block_size;
    }
    if (left != 0)
        if (const int rc = engine(from, to, left)) return rc;
    ctx.block_len = remainder;
    copy(ctx.block, in.data + (in.length - remainder), remainder);
    out.length = count;
    return VRX_OK;
}

}  // namespace

int vrx_crpt_init_context(vrx_crpt_ctx* ctx, int direction, const vrx_tz* table, std::uint32_t mode, std::uint32_t aux1,
                          std::uint32_t key_meshing, std::uint32_t aux2, const std::uint8_t* iv,
                          const std::uint32_t* key) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    std::memset(ctx, 0, sizeof *ctx);
    ctx->direction = vrx::low8(direction);
    ctx->table = *table;
    ctx->mode = mode;
    ctx->aux1 = aux1;
    ctx->key_meshing = key_meshing;
    ctx->aux2 = aux2;
    std::memcpy(ctx->key, key, VRX_KEY_SIZE);
    ctx->flags = VRX_FLAG_FIRST;
    if (iv != nullptr) {
        std::memcpy(ctx->iv, iv, VRX_BLOCK_SIZE);
        if (mode == VRX_MODE_IMITO) {
            std::memcpy(ctx->mac, iv, VRX_BLOCK_SIZE);
            ctx->flags = 0;
        }
    }
    ctx->initialised = 1;
    return VRX_OK;
}

int old_crpt_init_context(vrx_crpt_ctx* ctx, int direction, const old_crpt_params* p) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    ctx->initialised = 0;
    if (p == nullptr || p->first == 0 || p->second == 0 || p->table == nullptr || p->table->data == nullptr ||
        p->key == nullptr || p->key->length == 0 || p->key->data == nullptr)
        return VRX_ERR_BAD_PARAMS;
    vrx_crpt_table_rec record;  // it may lie at any address
    std::memcpy(&record, p->table->data, sizeof record);
    ctx->direction = vrx::low8(direction);
    ctx->mesh_count = 0;
    ctx->table = record.table;
    ctx->mode = record.mode;
    ctx->aux1 = record.aux1;
    ctx->key_meshing = record.key_meshing;
    ctx->aux2 = record.aux2;
    ctx->block_len = 0;
    std::memset(ctx->block, 0, VRX_BLOCK_SIZE);
    std::memcpy(ctx->iv, p->iv, VRX_BLOCK_SIZE);
    std::memcpy(ctx->key, p->key->data, VRX_KEY_SIZE);
    ctx->flags = VRX_FLAG_FIRST;
    ctx->initialised = 1;
    return VRX_OK;
}

int vrx_crpt_reset(vrx_crpt_ctx* ctx) {
    if (ctx == nullptr) return log::condition("vrx_crpt_reset", "NULL context", VRX_ERR_BAD_PARAMS);
    std::memset(ctx->block, 0, VRX_BLOCK_SIZE);
    ctx->block_len = 0;
    ctx->flags = VRX_FLAG_FIRST;
    ctx->initialised = 1;
    return VRX_OK;
}

int vrx_crpt_update(vrx_crpt_ctx* ctx, const vrx_data* in, vrx_data* out) {
    if (in == nullptr || ctx == nullptr || (out == nullptr && ctx->mode != VRX_MODE_IMITO) || in->data == nullptr)
        return VRX_ERR_BAD_PARAMS;
    if (ctx->initialised == 0) return VRX_ERR_CONTEXT_STATE;
    switch (ctx->mode) {
        case VRX_MODE_GFB:
            return vrx_crpt_CFB_ctx(ctx, in, out);
        case VRX_MODE_GAMM:
            return vrx_crpt_CNT_ctx(ctx, in, out);
        case VRX_MODE_IMITO:
            return vrx_crpt_IMITO_ctx(ctx, in);
        default:
            return update_blocks(*ctx, *in, *out);
    }
}

int vrx_crpt_final(vrx_crpt_ctx* ctx) {
    if (ctx == nullptr) return log::condition("vrx_crpt_final", "NULL context", VRX_ERR_BAD_PARAMS);
    if (ctx->initialised == 0) return log::condition("vrx_crpt_final", "uninitialized context", VRX_ERR_CONTEXT_STATE);
    if (ctx->mode == VRX_MODE_GAMM || ctx->mode == VRX_MODE_GFB) {
        ctx->initialised = 0;
        return VRX_OK;
    }
    if (ctx->block_len == 0) return VRX_OK;  // Deliberate: the context stays open.

    vrx::Secret<std::uint8_t[VRX_BLOCK_SIZE]> held;
    vrx_data in{0, held.value};
    ctx->flags = VRX_FLAG_PAD;
    if (ctx->mode == VRX_MODE_IMITO) {
        // Deliberate: whatever this returns, the message is finished.
        static_cast<void>(vrx_crpt_IMITO_ctx(ctx, &in));
        ctx->initialised = 0;
        return VRX_OK;
    }
    in.length = std::min(ctx->block_len, block_size);
    copy(held.value, ctx->block, in.length);
    vrx_data out{VRX_BLOCK_SIZE, ctx->block};
    const int rc = vrx_crpt_context_engine(ctx, &in, &out);
    ctx->initialised = 0;
    return rc;
}

int vrx_crpt_crypto_engine(std::uint32_t mode, const vrx_tz* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv,
                           const std::uint32_t* key, std::uint8_t direction, std::uint8_t flags) {
    if (mode < VRX_MODE_SS || mode > VRX_MODE_CBC) return VRX_ERR_UNKNOWN_MODE;
    return do_cipher_low(table, static_cast<int>(mode), in, out, iv, key, direction, flags);
}

int vrx_crpt_context_engine(vrx_crpt_ctx* ctx, const vrx_data* in, vrx_data* out) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    const auto engine = [ctx](const vrx_data* from, vrx_data* to) {
        return vrx_crpt_crypto_engine(ctx->mode, &ctx->table, from, to, ctx->iv, ctx->key, ctx->direction, ctx->flags);
    };
    // Missing records are the one-shot function's to refuse.
    if (!meshes(*ctx) || in == nullptr || out == nullptr) {
        const int rc = engine(in, out);
        if (rc == VRX_OK) ctx->flags = 0;
        return rc;
    }
    if (in->length == 0) return VRX_OK;

    const std::uint8_t final_flag = ctx->flags & VRX_FLAG_PAD;
    const std::uint32_t total = in->length;
    vrx_data from = *in;
    vrx_data to = *out;
    while (true) {
        if (const std::uint32_t taken = engine_sections(*ctx, from, to); taken != 0) {
            ctx->flags = 0;
            from.data += taken;
            to.data += taken;
            to.length = from.length -= taken;
            if (from.length == 0) break;
        }
        if (ctx->mesh_count == VRX_MESHING_SECTION) {
            static_cast<void>(vrx_crpt_crypto_pro_key_meshing_engine(&ctx->table, ctx->iv, ctx->key));
            ctx->mesh_count = 0;
        }
        const std::uint32_t remaining = from.length;
        const std::uint32_t room = VRX_MESHING_SECTION - ctx->mesh_count;
        if (std::uint64_t{ctx->mesh_count} + remaining <= VRX_MESHING_SECTION) {
            ctx->flags = static_cast<std::uint8_t>(ctx->flags | final_flag);
        } else {
            // Deliberate: the first piece loses its mark where the last call's is set.
            ctx->flags = final_flag != 0 ? 0 : ctx->flags & VRX_FLAG_FIRST;
            from.length = std::min(room, remaining);
        }
        const std::uint32_t piece = from.length;
        if (const int rc = engine(&from, &to)) return rc;
        ctx->flags = 0;
        ctx->mesh_count += piece;
        if (piece == remaining) break;
        from.data += piece;
        from.length = remaining - piece;
        to.data += piece;
        to.length = from.length;
    }
    out->length = total;
    return VRX_OK;
}

int vrx_crpt_CNT_ctx(vrx_crpt_ctx* ctx, const vrx_data* in, vrx_data* out) {
    if (const int rc = check_stream(ctx, in, out)) return rc;
    const Cipher cipher = cipher_of(*ctx);
    const std::uint32_t length = in->length;
    if ((ctx->flags & VRX_FLAG_FIRST) != 0) {
        ecb_encrypt(cipher, ctx->iv, ctx->iv, 1);
        ctx->flags = 0;
    }
    const std::uint8_t* from = in->data;
    std::uint8_t* to = out->data;

    // Key stream that an earlier piece left.
    const std::uint32_t kept = std::min(ctx->block_len, length);
    const std::uint8_t* gamma = ctx->block + (block_size - ctx->block_len);
    for (std::uint32_t i = 0; i < kept; ++i) to[i] = static_cast<std::uint8_t>(from[i] ^ gamma[i]);
    ctx->block_len -= kept;
    from += kept;
    to += kept;

    const std::uint32_t blocks = (length - kept) / block_size;
    const std::uint32_t tail = (length - kept) % block_size;
    for_each_stretch(
        *ctx, blocks,
        [&](std::size_t first, std::size_t count) {
            counter(cipher, ctx->iv, from + first * block_size, to + first * block_size, count);
        },
        [&](std::size_t first, std::size_t sections) {
            run_sections(Mode::counter, *ctx, from + first * block_size, to + first * block_size, sections);
            return sections;
        });
    if (tail != 0) {
        mesh_step(*ctx);
        const std::size_t done = std::size_t{blocks} * block_size;
        vrx::Secret<std::uint8_t[VRX_BLOCK_SIZE]> last;
        std::memcpy(last.value, from + done, tail);
        ctx->block_len = block_size - tail;
        counter(cipher, ctx->iv, last.value, ctx->block, 1);
        std::memcpy(to + done, ctx->block, tail);
    }
    out->length = length;
    return VRX_OK;
}

int vrx_crpt_CFB_ctx(vrx_crpt_ctx* ctx, const vrx_data* in, vrx_data* out) {
    if (const int rc = check_stream(ctx, in, out)) return rc;
    const Cipher cipher = cipher_of(*ctx);
    const bool encrypting = ctx->direction != 0;
    const std::uint32_t length = in->length;
    const std::uint8_t* from = in->data;
    std::uint8_t* to = out->data;

    // A block that an earlier piece began: key stream is used, ciphertext takes its place.
    if (const std::uint32_t unused = ctx->block_len; unused != 0) {
        const std::uint32_t kept = std::min(unused, length);
        std::uint8_t* gamma = ctx->block + (block_size - unused);
        for (std::uint32_t i = 0; i < kept; ++i) {
            const std::uint8_t given = from[i];
            to[i] = given ^ gamma[i];
            gamma[i] = encrypting ? to[i] : given;
        }
        ctx->block_len -= kept;
        if (ctx->block_len != 0) {
            out->length = length;
            return VRX_OK;
        }
        std::memcpy(ctx->iv, ctx->block, VRX_BLOCK_SIZE);
        from += kept;
        to += kept;
    }

    const auto rest = static_cast<std::size_t>(in->data + length - from);
    const std::size_t blocks = rest / block_size;
    const std::size_t tail = rest % block_size;
    // The input counts as read before the output is written. Where the output lies ahead of it and overlaps, the input
    // is moved there first and processed in place.
    if (const auto ahead = reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
        ahead != 0 && ahead < rest) {
        std::memmove(to, from, rest);
        from = to;
    }
    for_each_stretch(
        *ctx, blocks,
        [&](std::size_t first, std::size_t count) {
            (encrypting ? cfb_encrypt : cfb_decrypt)(cipher, ctx->iv, from + first * block_size,
                                                     to + first * block_size, count);
        },
        [&](std::size_t first, std::size_t sections) {
            if (encrypting) return std::size_t{0};
            run_sections(Mode::cfb_decrypt, *ctx, from + first * block_size, to + first * block_size, sections);
            return sections;
        });
    if (tail != 0) {
        mesh_step(*ctx);
        const std::size_t done = blocks * block_size;
        vrx::Secret<std::uint8_t[VRX_BLOCK_SIZE]> last;
        std::memcpy(last.value, from + done, tail);
        ctx->block_len = block_size - static_cast<std::uint32_t>(tail);
        (encrypting ? cfb_encrypt : cfb_decrypt)(cipher, ctx->iv, last.value, ctx->block, 1);
        std::memcpy(to + done, ctx->block, tail);
        if (!encrypting) std::memcpy(ctx->block, last.value, tail);
    }
    out->length = length;
    return VRX_OK;
}

int vrx_crpt_IMITO_ctx(vrx_crpt_ctx* ctx, const vrx_data* in) {
    if (const int rc = check_stream(ctx)) return rc;
    if (in == nullptr || in->data == nullptr) return VRX_ERR_BAD_PARAMS;
    const bool last_call = (ctx->flags & VRX_FLAG_PAD) != 0;
    if (in->length == 0 && !last_call) return VRX_ERR_BUFFER_LENGTH;
    if (ctx->table.initialised == 0) return VRX_ERR_FAILED;

    const Cipher cipher = cipher_of(*ctx);
    const std::uint32_t held = ctx->block_len;
    const std::uint8_t* from = in->data;
    std::uint32_t length = in->length;
    if (std::uint64_t{held} + length < block_size) {
        copy(ctx->block + held, from, length);
        ctx->block_len = held + length;
        if (!last_call) return VRX_OK;
        std::memset(ctx->block + ctx->block_len, 0, block_size - ctx->block_len);
        mesh_step(*ctx);
        mac(cipher, ctx->mac, ctx->block, 1);
        return VRX_OK;
    }

    vrx::Secret<std::uint8_t[VRX_BLOCK_SIZE]> first;
    if (held > 0) {
        std::memcpy(first.value, ctx->block, held);
        std::memcpy(first.value + held, from, block_size - held);
        from += block_size - held;
        length -= block_size - held;
    }
    const std::uint32_t tail = length % block_size;
    std::memset(ctx->block, 0, VRX_BLOCK_SIZE);
    copy(ctx->block, from + (length - tail), tail);
    ctx->block_len = tail;

    // Deliberate: only the low half is cleared.
    if ((ctx->flags & VRX_FLAG_FIRST) != 0) std::memset(ctx->mac, 0, VRX_BLOCK_SIZE / 2);
    if (held > 0) {
        mesh_step(*ctx);
        mac(cipher, ctx->mac, first.value, 1);
    }
    for_each_stretch(*ctx, length / block_size, [&](std::size_t done, std::size_t count) {
        mac(cipher, ctx->mac, from + done * block_size, count);
    });
    ctx->flags = 0;
    return VRX_OK;
}
