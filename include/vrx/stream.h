/**
 * @file stream.h  GOST 28147-89 over a message in pieces, with checked arguments.
 *
 * Call vrx_open_stream(), then vrx_update_stream() for each piece, then vrx_close_stream(). These functions call
 * vrx_crpt_init_context(), vrx_crpt_update() and vrx_crpt_final(). In addition, they check every argument, accept empty
 * pieces and wipe the key.
 *
 * **Warning:** never encrypt two messages with the same key and the same IV.
 *
 * **Warning:** decryption does not detect changed data or a wrong key. Compute a MAC of the IV and the ciphertext with a
 * second key, and verify the MAC before you use any plaintext.
 *
 * This header is not part of vrx.h, and the library does not export its functions: they are compiled into your program.
 * They allocate nothing. They log nothing themselves; vrx_crpt_final() logs most of its failures.
 *
 * Threads: a stream belongs to one thread at a time; separate streams are independent.
 *
 * Source: RFC 5830; parameter sets and key meshing: RFC 4357.
 */
#ifndef VRX_STREAM_H
#define VRX_STREAM_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "vrx/context.h"
#include "vrx/helpers.h"
#include "vrx/params.h"

VRX_BEGIN_DECLS

#define VRX_DECRYPT 0 /**< the direction of a stream: decrypt */
#define VRX_ENCRYPT 1 /**< the direction of a stream: encrypt */

/** @cond */
/** For vrx_update_stream(): tests for a mode in which the context writes only whole blocks. */
VRX_INLINE int vrx_stream_has_blocks(const vrx_crpt_ctx *ctx) {
    return ctx->mode == VRX_MODE_SS || ctx->mode == VRX_MODE_CBC;
}

/** @endcond */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Begin a message. The parameter set gives the table, the mode and key meshing.
 *
 * @param ctx        out: the stream. After a failure it is closed, and a previous key in it is wiped. Neither iv nor
 *                   key may be in it.
 * @param set        in: the parameter set, for example get_GOST28147_par(1) for CryptoPro-A: cipher feedback with key
 *                   meshing.
 * @param direction  in: VRX_ENCRYPT or VRX_DECRYPT.
 * @param iv         in: the IV of the message, 8 bytes. The simple substitution mode (ECB) does not use it.
 * @param key        in: the key, 32 bytes at any address, copied into the stream.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL or direction has another value; VRX_ERR_FAILED if the set has
 *         no deployed table; VRX_ERR_UNKNOWN_MODE if its mode does not encrypt.
 */
VRX_INLINE int vrx_open_stream(vrx_crpt_ctx *ctx, const vrx_gost28147_par *set, int direction,
                               const uint8_t iv[VRX_BLOCK_SIZE], const uint8_t key[VRX_KEY_SIZE]) {
    uint32_t words[VRX_KEY_WORDS];
    int rc;
    if (ctx == NULL) return VRX_ERR_BAD_PARAMS;
    vrx_wipe(ctx, sizeof *ctx);
    if (set == NULL || iv == NULL || key == NULL) return VRX_ERR_BAD_PARAMS;
    if (direction != VRX_ENCRYPT && direction != VRX_DECRYPT) return VRX_ERR_BAD_PARAMS;
    if (set->tz == NULL || set->tz->initialised == 0) return VRX_ERR_FAILED;
    if (set->mode < VRX_MODE_SS || set->mode > VRX_MODE_CBC) return VRX_ERR_UNKNOWN_MODE;
    memcpy(words, key, sizeof words);
    rc = vrx_crpt_init_context(ctx, direction, set->tz, set->mode, 0, set->key_meshing, 0, iv, words);
    vrx_wipe(words, sizeof words);
    return rc;
}

/**
 * Count the bytes that the next vrx_update_stream() will write.
 *
 * @param ctx   in: an open stream.
 * @param size  in: the number of bytes in the next piece.
 * @return size in counter mode and cipher feedback. In the simple substitution mode (ECB) and in CBC, the result is the
 *         size of the blocks that the piece completes, which is at most size + 7.
 */
VRX_INLINE size_t vrx_stream_output(const vrx_crpt_ctx *ctx, size_t size) {
    if (!vrx_stream_has_blocks(ctx)) return size;
    return (size / VRX_BLOCK_SIZE + (size % VRX_BLOCK_SIZE + ctx->block_len) / VRX_BLOCK_SIZE) * VRX_BLOCK_SIZE;
}

/**
 * Encrypt or decrypt the next piece of a message. A failure changes nothing, so the message can continue.
 *
 * Input and output may be the same buffer. In the simple substitution mode (ECB) and in CBC, this requires that all
 * earlier pieces were whole blocks. Otherwise the buffers may not overlap.
 *
 * @param ctx      in-out: an open stream.
 * @param in       in: the piece; may be NULL if in_size is 0.
 * @param in_size  in: the number of bytes in the piece: any number, also 0.
 * @param out      out: the output; may be NULL if there is none.
 * @param room     in: the number of bytes that fit in out: at least vrx_stream_output().
 * @param written  out: the number of bytes written; may be NULL. After a failure it is 0.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL, or if the buffers are the same and the stream holds an
 *         incomplete block; VRX_ERR_CONTEXT_STATE if the stream is closed; VRX_ERR_BUFFER_LENGTH if out is too small.
 */
VRX_INLINE int vrx_update_stream(vrx_crpt_ctx *ctx, const void *in, size_t in_size, void *out, size_t room,
                                 size_t *written) {
    const size_t largest = (size_t)1 << 30; /* a record holds 32 bits of the length */
    uint8_t *from = (uint8_t *)(uintptr_t)in;
    uint8_t *to = (uint8_t *)out;
    uint8_t nothing = 0;
    size_t needed;
    int rc = VRX_OK;
    if (written != NULL) *written = 0;
    if (ctx == NULL) return VRX_ERR_BAD_PARAMS;
    if (ctx->initialised == 0) return VRX_ERR_CONTEXT_STATE;
    needed = vrx_stream_output(ctx, in_size);
    if ((in == NULL && in_size != 0) || (out == NULL && needed != 0)) return VRX_ERR_BAD_PARAMS;
    if (in == out && in_size != 0 && ctx->block_len != 0 && vrx_stream_has_blocks(ctx)) return VRX_ERR_BAD_PARAMS;
    if (room < needed) return VRX_ERR_BUFFER_LENGTH;
    while (in_size != 0 && rc == VRX_OK) {
        const size_t size = in_size < largest ? in_size : largest;
        const vrx_data input = {(uint32_t)size, from};
        /* With a NULL output, the library would only count the bytes. */
        vrx_data output = {(uint32_t)vrx_stream_output(ctx, size), to != NULL ? to : &nothing};
        rc = vrx_crpt_update(ctx, &input, &output);
        if (rc == VRX_OK && written != NULL) *written += output.length;
        if (rc == VRX_OK && to != NULL) to += output.length;
        from += size;
        in_size -= size;
    }
    return rc;
}

/**
 * Finish a message and wipe the stream. To abandon a message, call this function too, and ignore its result.
 *
 * @param ctx  in-out: the stream; all zeros afterwards.
 * @return VRX_OK; VRX_ERR_BLOCK_MULTIPLE if a message in the simple substitution mode (ECB) or in CBC does not consist
 *         of whole blocks; VRX_ERR_CONTEXT_STATE if the stream is closed; VRX_ERR_BAD_PARAMS if ctx is NULL. All
 *         failures are logged, except VRX_ERR_BLOCK_MULTIPLE in CBC.
 */
VRX_INLINE int vrx_close_stream(vrx_crpt_ctx *ctx) {
    const int rc = vrx_crpt_final(ctx);
    if (ctx != NULL) vrx_wipe(ctx, sizeof *ctx);
    return rc;
}

VRX_END_DECLS

#endif
