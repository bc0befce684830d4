/**
 * @file gostr3411.h  The hash GOST R 34.11-94 (RFC 5831), with the substitution table of the caller's choice.
 *
 * Order of calls: GOSTR3411_Init() or a variant of it, GOSTR3411_Update() any number of times, GOSTR3411_Final(). The
 * GOSTR3411_Transform() family does all three at once. An empty update is refused, so the empty message is hashed by
 * GOSTR3411_Init() and GOSTR3411_Final() with nothing between them; the Transform family cannot hash it.
 *
 * A digest is 32 bytes, least significant byte of the 256-bit number first: the order in which programs print it, and
 * the reverse of the numbers in RFC 5831.
 *
 * Functions that return an `int` check their arguments before they write anything and log a failure; a wrapper writes
 * a line of its own behind that of the function that failed. Object identifiers are complete DER encodings, and two are
 * the same when their lengths are equal and their bytes are. Data may lie at any address; it may not overlap a context,
 * but a digest may be written over it. Nothing is allocated.
 *
 * Common arguments:
 * - ctx  in-out: the context.
 * - oid  in: DER identifier of a parameter set.
 * - oid_len, extra_count, len  in: bytes in oid; records in extra; bytes in data.
 * - extra  in: further records, looked through behind the built-in ones; may be NULL.
 * - data  in: any bytes.
 * - out  out: the digest.
 * - hash, sum  in-out: 256-bit numbers, least significant word first.
 *
 * Threads: a context belongs to one thread at a time; separate contexts are independent.
 */
#ifndef VRX_GOSTR3411_H
#define VRX_GOSTR3411_H

#include "vrx/params.h"

VRX_BEGIN_DECLS

#define VRX_HASH_SIZE 32       /**< bytes in a digest */
#define VRX_HASH_BLOCK_SIZE 32 /**< bytes that the step function takes in */
#define VRX_HASH_WORDS 8       /**< words in a 256-bit number, least significant first */

/**
 * A hash context. It holds no pointer: it may be copied, and the table that it was made from may go away.
 *
 * Once a table is in it, its fields are plain values that the functions below go on from.
 */
typedef struct GOSTR3411_CTX {
    vrx_tz table;                        /**< copy of the caller's table; its flag is not looked at */
    uint32_t sum[VRX_HASH_WORDS];        /**< sum of the blocks absorbed, modulo 2^256 */
    uint32_t hash[VRX_HASH_WORDS];       /**< H of RFC 5831; at first zero */
    uint32_t length[VRX_HASH_WORDS];     /**< bits absorbed; words 0 and 1 count modulo 2^64, the others never change */
    uint8_t buffer[VRX_HASH_BLOCK_SIZE]; /**< bytes not yet absorbed; those behind count are what they were before */
    uint32_t count;                      /**< bytes that wait in buffer, 0 to 32 */
} GOSTR3411_CTX;

/**
 * Open a context with the built-in parameter set of an object identifier: GOSTR3411_Init_more_oids() without further
 * records, and under that name in the log.
 *
 * @return as there.
 */
VRX_API int GOSTR3411_Init(GOSTR3411_CTX *ctx, const uint8_t *oid, uint32_t oid_len);

/**
 * Open a context with the parameter set of an object identifier: a built-in one (GOSTR3411_OIDS), or else the first of
 * the caller's records that has it.
 *
 * @param ctx          out: every field is set.
 * @param oid          in: DER identifier of oid_len bytes.
 * @param extra        in: extra_count records whose oid_length, oid and tz are read; or NULL.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS when ctx or oid or the found record's table is NULL or oid_len is 0;
 *         VRX_ERR_UNSUPPORTED_OID when no record has the identifier.
 */
VRX_API int GOSTR3411_Init_more_oids(GOSTR3411_CTX *ctx, const uint8_t *oid, uint32_t oid_len,
                                     const vrx_gostr3411_par *extra, uint32_t extra_count);

/**
 * Open a context with a deployed table.
 *
 * @param ctx    out: every field is set.
 * @param table  in: all 4100 bytes are copied, whatever its flag says. It may be the context's own table.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when a pointer is NULL.
 */
VRX_API int GOSTR3411_Init_ex(GOSTR3411_CTX *ctx, const vrx_tz *table);

/**
 * Take in a piece of the message.
 *
 * Up to 32 bytes wait in ctx->buffer: a full buffer is absorbed when a further byte arrives, but one that this call
 * fills up is absorbed at once.
 *
 * @param data  in: len bytes, at least one.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when a pointer is NULL or len is 0.
 */
VRX_API int GOSTR3411_Update(GOSTR3411_CTX *ctx, const uint8_t *data, uint32_t len);

/**
 * Finish the message.
 *
 * The context is neither wiped nor opened anew. A further call, of this function or of GOSTR3411_Update(), goes on from
 * the fields that are left: the finished hash, and the buffer with its count.
 *
 * @param out  out: the digest.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when a pointer is NULL.
 */
VRX_API int GOSTR3411_Final(GOSTR3411_CTX *ctx, uint8_t out[VRX_HASH_SIZE]);

/**
 * Hash a message with the built-in parameter set of an object identifier: GOSTR3411_Transform_more_oids() without
 * further records.
 *
 * @return as there.
 */
VRX_API int GOSTR3411_Transform(const uint8_t *oid, uint32_t oid_len, const uint8_t *data, uint32_t len,
                                uint8_t out[VRX_HASH_SIZE]);

/**
 * Hash a message with the parameter set of an object identifier, found as by GOSTR3411_Init_more_oids().
 *
 * @param data  in: len bytes, at least one.
 * @param out   out: the digest; untouched on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS when oid, data, out or the found record's table is NULL, or a length is 0;
 *         VRX_ERR_UNSUPPORTED_OID when no record has the identifier.
 */
VRX_API int GOSTR3411_Transform_more_oids(const uint8_t *oid, uint32_t oid_len, const vrx_gostr3411_par *extra,
                                          uint32_t extra_count, const uint8_t *data, uint32_t len,
                                          uint8_t out[VRX_HASH_SIZE]);

/**
 * Hash a message with a deployed table.
 *
 * @param table  in: read in place; its flag is not looked at.
 * @param data   in: len bytes, at least one.
 * @param out    out: the digest; untouched on failure.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when a pointer is NULL or len is 0.
 */
VRX_API int GOSTR3411_Transform_ex(const vrx_tz *table, const uint8_t *data, uint32_t len, uint8_t out[VRX_HASH_SIZE]);

/**
 * Absorb one block: sum += block modulo 2^256, hash = f(hash, block), length += bits modulo 2^64. Nothing is checked.
 *
 * @param table   in: a deployed table; its flag is not looked at.
 * @param hash    in-out: as in GOSTR3411_CTX, like sum and length.
 * @param length  in-out: words 0 and 1 are read and written.
 * @param block   in: 32 bytes, a short one padded with zeros.
 * @param bits    in: message bits that the block stands for: 256 for a full one.
 */
VRX_API void gost_r_3411_94_hash_bytes(const vrx_tz *table, uint32_t hash[VRX_HASH_WORDS], uint32_t sum[VRX_HASH_WORDS],
                                       uint32_t length[VRX_HASH_WORDS], const uint8_t block[VRX_HASH_BLOCK_SIZE],
                                       uint32_t bits);

/**
 * The step function: hash = f(hash, block). Nothing is checked; hash and block may be the same array.
 *
 * @param block  in: a 256-bit number, least significant word first.
 * @param table  in: any table in deployed form; its flag is not looked at.
 *
 * Source: RFC 5831, section 6.
 */
VRX_API void gost_r_3411_94_compress(uint32_t hash[VRX_HASH_WORDS], const uint32_t block[VRX_HASH_WORDS],
                                     const vrx_tz *table);

VRX_END_DECLS

#endif
