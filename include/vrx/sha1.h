/**
 * @file sha1.h  SHA-1 (FIPS 180, RFC 3174). For what still asks for it: it does not resist collisions.
 *
 * Order of calls: shaInit(), shaUpdate() any number of times, shaFinal().
 *
 * Nothing is checked and nothing is logged: no pointer may be NULL, unless said otherwise. Input may lie at any address
 * and may not overlap the context. Nothing is allocated.
 *
 * Common arguments:
 * - ctx  in-out: the context.
 * - count  in: bytes in buffer.
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
    uint32_t data[VRX_SHA1_BLOCK_WORDS]; /**< the message's last count_lo % 64 bytes, as they came; the rest is scratch
                                              once a block has been processed */
    uint32_t digest[VRX_SHA1_DIGEST_WORDS]; /**< H0 to H4 as numbers; after shaFinal() in the order of the digest */
    uint32_t count_hi;                      /**< bytes taken in, high word */
    uint32_t count_lo;                      /**< low word */
} sha_context;

/** Open a context. Its data is left as it is. */
VRX_API void shaInit(sha_context *ctx);

/**
 * Process one block: the words of ctx->data as numbers, so a message's bytes big-endian, into ctx->digest. The data is
 * scratch afterwards.
 */
VRX_API void shaTransform(sha_context *ctx);

/**
 * Take in a piece of the message.
 *
 * @param buffer  in: count bytes; may be NULL when count is 0. A call of 2^32 bytes or more processes them all but
 * counts them modulo 2^32, with one carry at the most: the digest is then not that of SHA-1.
 */
VRX_API void shaUpdate(sha_context *ctx, const uint8_t *buffer, uint64_t count);

/** Finish the message. The context must be opened anew before it takes another. @param digest_out  out: the digest. */
VRX_API void shaFinal(sha_context *ctx, uint8_t digest_out[VRX_SHA1_SIZE]);

VRX_END_DECLS

#endif
