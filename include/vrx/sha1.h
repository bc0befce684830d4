/**
 * @file sha1.h  SHA-1 (FIPS 180, RFC 3174), for existing formats that require it.
 *
 * **Warning:** SHA-1 does not resist collisions. Do not use it for signatures or in new formats.
 *
 * Call shaInit(), shaUpdate() for each piece of the message, then shaFinal().
 *
 * The functions check nothing and log nothing: unless a function says otherwise, passing NULL is undefined. Input may
 * lie at any address and may not overlap the context. The functions allocate nothing.
 *
 * Threads: a context belongs to one thread at a time; separate contexts are independent.
 */
#ifndef VRX_SHA1_H
#define VRX_SHA1_H

#include <stdint.h>

#include "vrx/export.h"

VRX_BEGIN_DECLS

#define VRX_SHA1_SIZE 20        /**< bytes in a digest */
#define VRX_SHA1_BLOCK_WORDS 16 /**< words in a block of 64 bytes */
#define VRX_SHA1_DIGEST_WORDS 5 /**< words in a digest */

/** A SHA-1 context. */
typedef struct sha_context {
    uint32_t
        data[VRX_SHA1_BLOCK_WORDS]; /**< the last count_lo % 64 bytes of the message, unchanged; once a block has been
                                              processed, the rest is scratch space */
    uint32_t digest[VRX_SHA1_DIGEST_WORDS]; /**< H0 to H4 as numbers; after shaFinal(), as the bytes of the digest */
    uint32_t count_hi;                      /**< bytes processed, high word */
    uint32_t count_lo;                      /**< bytes processed, low word */
} sha_context;

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Open a context.
 *
 * @param ctx  out: the context. The function sets every field except data.
 */
VRX_API void shaInit(sha_context *ctx);

/**
 * Hash a piece of the message.
 *
 * **Warning:** pass fewer than 2^32 bytes in one call. A longer piece is processed in full but counted modulo 2^32 with
 * at most one carry, so the digest is wrong.
 *
 * @param ctx     in-out: the context.
 * @param buffer  in: the piece; may be NULL if count is 0.
 * @param count   in: bytes in buffer.
 */
VRX_API void shaUpdate(sha_context *ctx, const uint8_t *buffer, uint64_t count);

/**
 * Finish the message and write its digest. Open the context anew before you hash another message.
 *
 * @param ctx         in-out: the context.
 * @param digest_out  out: the digest, 20 bytes.
 */
VRX_API void shaFinal(sha_context *ctx, uint8_t digest_out[VRX_SHA1_SIZE]);

/* ---- Building blocks --------------------------------------------------------------------------------------------- */

/**
 * Process the block in ctx->data into ctx->digest. For this function, the words of ctx->data are numbers: the bytes of
 * the message, read as big-endian words. Afterwards, the content of ctx->data is undefined.
 *
 * @param ctx  in-out: the context.
 */
VRX_API void shaTransform(sha_context *ctx);

VRX_END_DECLS

#endif
