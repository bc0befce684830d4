// The functions of vrx/context.h, for messages in pieces of any length: checks, retried calls and log lines.
#include "vrx/context.h"

#include <algorithm>
#include <cstring>

#include "frame/blockwise.hpp"
#include "frame/bytes.hpp"
#include "frame/log.hpp"
#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"
#include "gost28147/mesh.hpp"
#include "gost28147/stream.hpp"

namespace log = vrx::log;
namespace stream = vrx::gost28147::stream;
using vrx::gost28147::meshes;

namespace {

constexpr std::uint32_t block_size = VRX_BLOCK_SIZE;

/**
 * Calls vrx_crpt_context_engine() for a piece. Deliberate: if the call fails, it is repeated, and the return code is
 * that of the second call.
 */
int run_engine(vrx_crpt_ctx& ctx, const std::uint8_t* from, std::uint8_t* to, std::uint32_t length) {
    const auto once = [&] {
        const vrx_data in{length, const_cast<std::uint8_t*>(from)};
        vrx_data out{length, to};
        return vrx_crpt_context_engine(&ctx, &in, &out);
    };
    return once() == VRX_OK ? VRX_OK : once();
}

/**
 * Processes whole sections for vrx_crpt_context_engine() at once, in modes that ignore the flags, if the one-shot
 * function would accept these sections. @return the number of bytes; 0 if the caller must process the data section by
 * section
 */
std::uint32_t engine_sections(vrx_crpt_ctx& ctx, const vrx_data& in, const vrx_data& out) {
    if (ctx.mode != VRX_MODE_SS && ctx.mode != VRX_MODE_CBC) return 0;
    if (ctx.mesh_count != VRX_MESHING_SECTION || ctx.table.initialised == 0) return 0;
    if (in.data == nullptr || out.data == nullptr || out.length < VRX_MESHING_SECTION) return 0;
    const std::uint32_t taken = stream::sections(ctx, in.data, out.data, in.length);
    vrx::erase(stream::extent_of(in.length));
    return taken;
}

/** The first checks of the streaming modes: the context and its state. */
int check_stream(const vrx_crpt_ctx* ctx) {
    if (ctx == nullptr) return VRX_ERR_BAD_PARAMS;
    return ctx->initialised == 0 ? VRX_ERR_CONTEXT_STATE : VRX_OK;
}

/** The checks of counter mode and CFB. */
int check_stream(const vrx_crpt_ctx* ctx, const vrx_data* in, const vrx_data* out) {
    if (const int rc = check_stream(ctx)) return rc;
    if (out == nullptr || in == nullptr || in->data == nullptr || out->data == nullptr) return VRX_ERR_BAD_PARAMS;
    if (in->length == 0 || in->length > out->length) return VRX_ERR_BUFFER_LENGTH;
    return ctx->table.initialised == 0 ? VRX_ERR_FAILED : VRX_OK;
}

/** For modes 1, 4 and unknown modes: passes whole blocks to run_engine() and keeps the rest in the context. */
int update_blocks(vrx_crpt_ctx& ctx, const vrx_data& in, vrx_data& out) {
    const std::uint32_t held = ctx.block_len;
    const std::uint64_t whole = (std::uint64_t{held} + in.length) / block_size * block_size;
    const auto count = static_cast<std::uint32_t>(whole);
    if (out.data == nullptr) {
        out.length = count;
        return VRX_OK;
    }
    if (whole > out.length) return VRX_ERR_BUFFER_LENGTH;

    vrx::Input rest{in.data, in.length};
    vrx::Blockwise<VRX_BLOCK_SIZE> buffer(ctx.block, held);
    std::uint8_t* to = out.data;
    if (held != 0 || whole == 0) buffer.fill(rest);
    if (whole != 0) {
        if (held != 0) {
            if (const int rc = run_engine(ctx, ctx.block, to, block_size)) return rc;
            to += block_size;
        }
        if (const std::uint32_t direct = static_cast<std::uint32_t>(buffer.whole(rest)) * block_size; direct != 0)
            if (const int rc = run_engine(ctx, rest.take(direct), to, direct)) return rc;
        buffer.keep(rest);
    }
    ctx.block_len = static_cast<std::uint32_t>(buffer.filled());
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
    vrx::copy_secret(ctx->key, key, VRX_KEY_SIZE);
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
    vrx_crpt_table_rec record;  // copied, since it may be unaligned
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
    vrx::copy_secret(ctx->key, p->key->data, VRX_KEY_SIZE);
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
        // Deliberate: the message is finished even if this call fails.
        static_cast<void>(vrx_crpt_IMITO_ctx(ctx, &in));
        ctx->initialised = 0;
        return VRX_OK;
    }
    in.length = std::min(ctx->block_len, block_size);
    vrx::copy_secret(held.value, ctx->block, in.length);
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
    // If a record is missing, the one-shot function returns the error.
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
            // Deliberate: if VRX_FLAG_PAD is set, the first piece is processed without VRX_FLAG_FIRST.
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
    const std::uint32_t length = in->length;
    stream::counter(*ctx, in->data, out->data, length);
    vrx::erase(stream::extent_of(length));
    out->length = length;
    return VRX_OK;
}

int vrx_crpt_CFB_ctx(vrx_crpt_ctx* ctx, const vrx_data* in, vrx_data* out) {
    if (const int rc = check_stream(ctx, in, out)) return rc;
    const std::uint32_t length = in->length;
    stream::cfb(*ctx, in->data, out->data, length);
    vrx::erase(stream::extent_of(length));
    out->length = length;
    return VRX_OK;
}

int vrx_crpt_IMITO_ctx(vrx_crpt_ctx* ctx, const vrx_data* in) {
    if (const int rc = check_stream(ctx)) return rc;
    if (in == nullptr || in->data == nullptr) return VRX_ERR_BAD_PARAMS;
    const bool finish = (ctx->flags & VRX_FLAG_PAD) != 0;
    if (in->length == 0 && !finish) return VRX_ERR_BUFFER_LENGTH;
    if (ctx->table.initialised == 0) return VRX_ERR_FAILED;
    stream::mac(*ctx, in->data, in->length, finish);
    vrx::erase(stream::extent_of(in->length));
    return VRX_OK;
}
