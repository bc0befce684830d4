/**
 * @file hmac.h  HMAC (RFC 2104) with GOST R 34.11-94: block and result are 32 bytes.
 *
 * Call GOSTR3411_HMAC_Init(), GOSTR3411_HMAC_Update() for each piece of the message, then GOSTR3411_HMAC_Final().
 * GOSTR3411_HMAC_Reset() starts another message under the same key. To verify a MAC, compare all 32 bytes in constant
 * time.
 *
 * These functions do not check pointers: unless a function says otherwise, passing NULL is undefined. Errors come from
 * the hash functions that these functions call. The called function logs its line first; then the function of this
 * header adds its own. After a failure, open the context anew. Buffers may lie at any address and may not overlap the
 * context. The functions allocate nothing. A MAC has the same byte order as a digest.
 *
 * **Warning:** a context keeps a pointer to its parameter record, which GOSTR3411_HMAC_Reset() reads again. The record
 * must outlive the context.
 *
 * **Warning:** a context contains data derived from the key until you wipe it. Wipe the record after use.
 *
 * Threads: a context belongs to one thread at a time; separate contexts are independent. The functions read
 * DEFAULT_GOSTR3411_OID without synchronization.
 */
#ifndef VRX_HMAC_H
#define VRX_HMAC_H

#include "vrx/gostr3411.h"

VRX_BEGIN_DECLS

#define VRX_HMAC_SIZE 32 /**< bytes in a MAC */

/** An HMAC context. */
typedef struct GOSTR3411_HMAC_CTX {
    const vrx_gostr3411_par *par;          /**< parameter set; its table is used to hash every message */
    GOSTR3411_CTX hash;                    /**< the running hash, inner or outer */
    uint8_t digest[VRX_HMAC_SIZE];         /**< the MAC, after GOSTR3411_HMAC_Final() */
    uint8_t ipad_key[VRX_HASH_BLOCK_SIZE]; /**< key block with every byte ^ 36h */
    uint8_t opad_key[VRX_HASH_BLOCK_SIZE]; /**< key block with every byte ^ 5Ch */
} GOSTR3411_HMAC_CTX;

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Open a context. A key of up to 32 bytes is padded with zeros to the key block; a longer key is replaced by its
 * digest.
 *
 * **Warning:** a NULL key with a key_len from 1 to 32 crashes. Pass a length of 0 for an empty key.
 *
 * @param ctx      out: the context. The function sets every field except digest. It sets par to NULL if the identifier
 *                 is unknown.
 * @param oid      in: DER identifier of a built-in parameter set, or NULL for DEFAULT_GOSTR3411_OID.
 * @param oid_len  in: bytes in oid.
 * @param key      in: the key; may be NULL if key_len is 0. An empty key is padded to 32 zero bytes.
 * @param key_len  in: bytes in key.
 * @return VRX_OK; VRX_ERR_FAILED if the identifier is unknown; VRX_ERR_BAD_PARAMS if the parameter set's table is NULL,
 *         or the key is NULL and key_len is above 32.
 */
VRX_API int GOSTR3411_HMAC_Init(GOSTR3411_HMAC_CTX *ctx, const uint8_t *oid, uint32_t oid_len, const uint8_t *key,
                                uint32_t key_len);

/**
 * Authenticate a piece of the message.
 *
 * @param ctx   in-out: the context.
 * @param data  in: the piece.
 * @param len   in: bytes in data, at least one.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if data is NULL or len is 0.
 */
VRX_API int GOSTR3411_HMAC_Update(GOSTR3411_HMAC_CTX *ctx, const uint8_t *data, uint32_t len);

/**
 * Finish the message. The MAC also stays in ctx->digest. Call GOSTR3411_HMAC_Reset() before you use the context for
 * another message.
 *
 * @param ctx      in-out: the context.
 * @param out      out: the MAC, 32 bytes; may be NULL.
 * @param out_len  out: 32.
 * @return always VRX_OK.
 */
VRX_API int GOSTR3411_HMAC_Final(GOSTR3411_HMAC_CTX *ctx, uint8_t *out, uint32_t *out_len);

/**
 * Start another message under the same key, with the table that the parameter record holds now.
 *
 * @param ctx  in-out: a context that GOSTR3411_HMAC_Init() has opened.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if the record's table is NULL.
 */
VRX_API int GOSTR3411_HMAC_Reset(GOSTR3411_HMAC_CTX *ctx);

/**
 * Compute the MAC of a message in one call.
 *
 * **Warning:** a NULL key with a key_len from 1 to 32 crashes. Pass a length of 0 for an empty key.
 *
 * @param oid       in: DER identifier of a built-in parameter set, or NULL for DEFAULT_GOSTR3411_OID.
 * @param oid_len   in: bytes in oid.
 * @param data      in: the message.
 * @param data_len  in: bytes in data, at least one.
 * @param key       in: the key; may be NULL if key_len is 0. An empty key is padded to 32 zero bytes.
 * @param key_len   in: bytes in key.
 * @param out       out: the MAC, 32 bytes; unchanged on failure. It may not overlap data.
 * @param out_len   out: 32, also on failure.
 * @return VRX_OK; VRX_ERR_FAILED if the identifier is unknown; VRX_ERR_BAD_PARAMS if the parameter set's table, data or
 *         out is NULL, data_len is 0, or the key is NULL and key_len is above 32.
 */
VRX_API int GOSTR3411_HMAC(const uint8_t *oid, uint32_t oid_len, const uint8_t *data, uint32_t data_len,
                           const uint8_t *key, uint32_t key_len, uint8_t *out, uint32_t *out_len);

VRX_END_DECLS

#endif
