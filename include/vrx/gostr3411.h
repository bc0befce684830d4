/**
 * @file gostr3411.h  The hash GOST R 34.11-94 (RFC 5831) with built-in or custom substitution tables.
 *
 * Call GOSTR3411_Init() or a variant, GOSTR3411_Update() for each piece of the message, then GOSTR3411_Final(). The
 * GOSTR3411_Transform() functions hash a whole message in one call.
 *
 * An empty update is refused. To hash the empty message, call GOSTR3411_Init() and GOSTR3411_Final() alone. The
 * GOSTR3411_Transform() functions cannot hash an empty message.
 *
 * A digest is 32 bytes. The least significant byte of the 256-bit number comes first, as most programs print it. RFC
 * 5831 prints the number in the opposite order.
 *
 * Functions that return an `int` check their arguments before they write anything, and log every failure. When one
 * function calls another, both often log a line; the called function logs first. GOSTR3411_Init() and
 * GOSTR3411_Init_more_oids() log no line of their own when a function that they call fails.
 *
 * Object identifiers are complete DER encodings. Two are equal if their lengths and their bytes are equal. Data may lie
 * at any address and may not overlap a context. A digest may be written over the data. The functions allocate nothing.
 *
 * Threads: a context belongs to one thread at a time; separate contexts are independent.
 */
#ifndef VRX_GOSTR3411_H
#define VRX_GOSTR3411_H

#include "vrx/params.h"

VRX_BEGIN_DECLS

#define VRX_HASH_SIZE 32       /**< bytes in a digest */
#define VRX_HASH_BLOCK_SIZE 32 /**< bytes in a block of the hash */
#define VRX_HASH_WORDS 8       /**< words in a 256-bit number, least significant first */

/**
 * A hash context. It contains no pointers: it may be copied, and the table that it was opened with need not outlive it.
 */
typedef struct GOSTR3411_CTX {
    vrx_tz table;                        /**< copy of the caller's table; its flag is not tested */
    uint32_t sum[VRX_HASH_WORDS];        /**< sum of the processed blocks modulo 2^256 */
    uint32_t hash[VRX_HASH_WORDS];       /**< H of RFC 5831, initially zero */
    uint32_t length[VRX_HASH_WORDS];     /**< bits processed: words 0 and 1 count modulo 2^64; the others stay 0 */
    uint8_t buffer[VRX_HASH_BLOCK_SIZE]; /**< the first count bytes are not processed yet; the others are leftovers */
    uint32_t count;                      /**< bytes in buffer that are not processed yet, 0 to 32 */
} GOSTR3411_CTX;

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Open a context with a built-in parameter set.
 *
 * @param ctx      out: the context. The function sets every field.
 * @param oid      in: DER identifier of the parameter set.
 * @param oid_len  in: bytes in oid.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if ctx or oid is NULL or oid_len is 0; VRX_ERR_UNSUPPORTED_OID if no parameter set
 *         has this identifier. The log line names GOSTR3411_Init_more_oids().
 */
VRX_API int GOSTR3411_Init(GOSTR3411_CTX *ctx, const uint8_t *oid, uint32_t oid_len);

/**
 * Open a context with a deployed table.
 *
 * @param ctx    out: the context. The function sets every field.
 * @param table  in: the table. All 4100 bytes are copied, and its flag is not tested. It may be the table in ctx.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int GOSTR3411_Init_ex(GOSTR3411_CTX *ctx, const vrx_tz *table);

/**
 * Hash a piece of the message.
 *
 * Bytes that are not processed yet, at most 32, are in ctx->buffer. When a call fills the buffer for the first time,
 * the function processes it at once. If the same call fills the buffer again, the function processes it only when
 * another byte follows. For example, after one update of 64 bytes, ctx->count is 32.
 *
 * @param ctx   in-out: the context.
 * @param data  in: the piece.
 * @param len   in: bytes in data, at least one.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL or len is 0.
 */
VRX_API int GOSTR3411_Update(GOSTR3411_CTX *ctx, const uint8_t *data, uint32_t len);

/**
 * Finish the message and write its digest.
 *
 * The context is neither wiped nor reopened. Open it anew before you hash another message: a further GOSTR3411_Update()
 * or GOSTR3411_Final() continues from the finished hash and yields no meaningful digest.
 *
 * @param ctx  in-out: the context.
 * @param out  out: the digest, 32 bytes.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int GOSTR3411_Final(GOSTR3411_CTX *ctx, uint8_t out[VRX_HASH_SIZE]);

/**
 * Hash a message with a built-in parameter set.
 *
 * @param oid      in: DER identifier of the parameter set.
 * @param oid_len  in: bytes in oid.
 * @param data     in: the message.
 * @param len      in: bytes in data, at least one.
 * @param out      out: the digest, 32 bytes; unchanged on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL or a length is 0; VRX_ERR_UNSUPPORTED_OID if no parameter set
 *         has this identifier.
 */
VRX_API int GOSTR3411_Transform(const uint8_t *oid, uint32_t oid_len, const uint8_t *data, uint32_t len,
                                uint8_t out[VRX_HASH_SIZE]);

/**
 * Hash a message with a deployed table.
 *
 * @param table  in: the table; its flag is not tested.
 * @param data   in: the message.
 * @param len    in: bytes in data, at least one.
 * @param out    out: the digest, 32 bytes; unchanged on failure.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL or len is 0.
 */
VRX_API int GOSTR3411_Transform_ex(const vrx_tz *table, const uint8_t *data, uint32_t len, uint8_t out[VRX_HASH_SIZE]);

/* ---- Building blocks: custom parameter sets and single steps ----------------------------------------------------- */

/**
 * Open a context with a built-in or custom parameter set. The function searches the built-in sets first, then yours.
 *
 * @param ctx          out: the context. The function sets every field.
 * @param oid          in: DER identifier of the parameter set.
 * @param oid_len      in: bytes in oid.
 * @param extra        in: custom records; may be NULL. The function reads only oid_length, oid and tz of each record.
 * @param extra_count  in: records in extra.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if ctx, oid or the table of the matching record is NULL, or oid_len is 0;
 *         VRX_ERR_UNSUPPORTED_OID if no record has this identifier.
 */
VRX_API int GOSTR3411_Init_more_oids(GOSTR3411_CTX *ctx, const uint8_t *oid, uint32_t oid_len,
                                     const vrx_gostr3411_par *extra, uint32_t extra_count);

/**
 * Hash a message with a built-in or custom parameter set. The function searches the built-in sets first, then yours.
 *
 * @param oid          in: DER identifier of the parameter set.
 * @param oid_len      in: bytes in oid.
 * @param extra        in: custom records; may be NULL. The function reads only oid_length, oid and tz of each record.
 * @param extra_count  in: records in extra.
 * @param data         in: the message.
 * @param len          in: bytes in data, at least one.
 * @param out          out: the digest, 32 bytes; unchanged on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if oid, data, out or the table of the matching record is NULL, or a length is 0;
 *         VRX_ERR_UNSUPPORTED_OID if no record has this identifier.
 */
VRX_API int GOSTR3411_Transform_more_oids(const uint8_t *oid, uint32_t oid_len, const vrx_gostr3411_par *extra,
                                          uint32_t extra_count, const uint8_t *data, uint32_t len,
                                          uint8_t out[VRX_HASH_SIZE]);

/**
 * Process one block: sum += block modulo 2^256, hash = f(hash, block), length += bits modulo 2^64. The function checks
 * nothing.
 *
 * @param table   in: a deployed table; its flag is not tested.
 * @param hash    in-out: the chaining value, eight words, least significant first.
 * @param sum     in-out: the sum of the blocks, eight words, least significant first.
 * @param length  in-out: the bit count; only words 0 and 1 are read and written.
 * @param block   in: 32 bytes; pad a shorter block with zeros.
 * @param bits    in: message bits in the block, 256 for a full block.
 */
VRX_API void gost_r_3411_94_hash_bytes(const vrx_tz *table, uint32_t hash[VRX_HASH_WORDS], uint32_t sum[VRX_HASH_WORDS],
                                       uint32_t length[VRX_HASH_WORDS], const uint8_t block[VRX_HASH_BLOCK_SIZE],
                                       uint32_t bits);

/**
 * Apply the step function: hash = f(hash, block). The function checks nothing.
 *
 * @param hash   in-out: the chaining value, eight words, least significant first.
 * @param block  in: a 256-bit number, eight words, least significant first; may be the array hash.
 * @param table  in: a deployed table; its flag is not tested.
 *
 * Source: RFC 5831, section 6.
 */
VRX_API void gost_r_3411_94_compress(uint32_t hash[VRX_HASH_WORDS], const uint32_t block[VRX_HASH_WORDS],
                                     const vrx_tz *table);

VRX_END_DECLS

#endif
