/**
 * @file hmac.h  HMAC (RFC 2104) with GOST R 34.11-94: block and result are 32 bytes.
 *
 * Order of calls: GOSTR3411_HMAC_Init(), GOSTR3411_HMAC_Update() at least once for a message that is not empty,
 * GOSTR3411_HMAC_Final(); GOSTR3411_HMAC_Reset() starts the next message under the same key.
 *
 * The functions check no pointers of their own: none may be NULL, unless said otherwise. What fails is a function
 * underneath; it writes its line, then the function of this header its own, and the context must be opened anew.
 * Buffers may lie at any address and may not overlap the context. Nothing is allocated.
 * A MAC has the byte order of a digest (gostr3411.h).
 *
 * Common arguments:
 * - ctx  in-out: the context.
 * - oid_len, key_len, len, data_len  in: bytes in oid, key, data.
 * - key  in: key_len bytes; may be NULL when key_len is 0.
 *
 * A context holds the key's two pads and the last MAC until the caller wipes it.
 *
 * Threads: a context belongs to one thread at a time; separate contexts are independent. DEFAULT_GOSTR3411_OID is read
 * without synchronisation.
 */
#ifndef VRX_HMAC_H
#define VRX_HMAC_H

#include "vrx/gostr3411.h"

VRX_BEGIN_DECLS

#define VRX_HMAC_SIZE 32 /**< bytes in a MAC */

/** An HMAC context. */
typedef struct GOSTR3411_HMAC_CTX {
    const vrx_gostr3411_par *par;          /**< parameter set; its table opens the hash of every message */
    GOSTR3411_CTX hash;                    /**< the running hash, inner or outer */
    uint8_t digest[VRX_HMAC_SIZE];         /**< the MAC, after final */
    uint8_t ipad_key[VRX_HASH_BLOCK_SIZE]; /**< key block, each byte ^ 36h */
    uint8_t opad_key[VRX_HASH_BLOCK_SIZE]; /**< key block, each byte ^ 5Ch */
} GOSTR3411_HMAC_CTX;

/**
 * Open a context. A key of up to 32 bytes is padded with zeros to the key block, a longer one is replaced by its
 * digest.
 *
 * @param ctx  out: all but digest is set; par is NULL when the identifier is not known.
 * @param oid  in: DER identifier of oid_len bytes of a built-in parameter set, or NULL for DEFAULT_GOSTR3411_OID.
 * @param key  in: key_len bytes; may be NULL when key_len is 0, which stands for 32 zero bytes.
 * @return VRX_OK; VRX_ERR_FAILED when the identifier is not known; VRX_ERR_BAD_PARAMS when the parameter set's table is
 *         NULL, or the key is NULL and key_len above 32.
 */
VRX_API int GOSTR3411_HMAC_Init(GOSTR3411_HMAC_CTX *ctx, const uint8_t *oid, uint32_t oid_len, const uint8_t *key,
                                uint32_t key_len);

/**
 * Start another message under the same key, with the table that the parameter set holds now.
 *
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when that table is NULL.
 */
VRX_API int GOSTR3411_HMAC_Reset(GOSTR3411_HMAC_CTX *ctx);

/**
 * Take in a piece of the message.
 *
 * @param data  in: len bytes, at least one.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when data is NULL or len is 0.
 */
VRX_API int GOSTR3411_HMAC_Update(GOSTR3411_HMAC_CTX *ctx, const uint8_t *data, uint32_t len);

/**
 * Finish the message. The MAC stays in ctx->digest; the context needs GOSTR3411_HMAC_Reset() before it takes another
 * message.
 *
 * @param out      out: the MAC; may be NULL.
 * @param out_len  out: 32.
 * @return VRX_OK.
 */
VRX_API int GOSTR3411_HMAC_Final(GOSTR3411_HMAC_CTX *ctx, uint8_t *out, uint32_t *out_len);

/**
 * The MAC of one message.
 *
 * @param oid      in: as for GOSTR3411_HMAC_Init(), like key.
 * @param data     in: data_len bytes, at least one.
 * @param out      out: the MAC, 32 bytes; untouched on failure. May not overlap data.
 * @param out_len  out: 32, also when the call fails.
 * @return VRX_OK; VRX_ERR_FAILED when the identifier is not known; VRX_ERR_BAD_PARAMS when the parameter set's table,
 *         data or out is NULL, data_len is 0, or the key is NULL and key_len above 32.
 */
VRX_API int GOSTR3411_HMAC(const uint8_t *oid, uint32_t oid_len, const uint8_t *data, uint32_t data_len,
                           const uint8_t *key, uint32_t key_len, uint8_t *out, uint32_t *out_len);

VRX_END_DECLS

#endif
