/**
 * @file context.h  GOST 28147-89 over a message in pieces of any length, with CryptoPro key meshing.
 *
 * Call vrx_crpt_init_context(), then vrx_crpt_update() for each piece, then vrx_crpt_final(). Open the context anew for
 * every message, with a new IV.
 *
 * **Warning:** never use an IV twice with the same key. In counter mode and cipher feedback, equal IVs reveal the
 * exclusive-or of two plaintexts.
 *
 * **Warning:** a context does not detect changed data or a wrong key: decryption then returns VRX_OK and garbage.
 * Compute a MAC of the ciphertext with a second key, and verify it before you use any plaintext.
 *
 * **Warning:** blocks have only 64 bits. Near 2^32 blocks (32 GiB) under one key, equal ciphertext blocks become
 * likely, and they reveal relations between plaintexts. Without key meshing, encrypt at most a few gigabytes under one
 * key. With key meshing, encrypt at most a few million messages under one key, because key meshing gives every message
 * the same sequence of keys.
 *
 * The caller owns every record. vrx_crpt_reset() and vrx_crpt_final() log their failures. The other functions log
 * nothing themselves, but the mode functions that they call, such as VRX_Gost_SS_m(), do. Buffers, keys and IVs
 * may lie at any address and may not overlap the context. The functions allocate nothing.
 *
 * A context holds the key until the caller wipes it: wipe the record after use.
 *
 * Threads: a context belongs to one thread at a time; separate contexts are independent.
 *
 * Source: RFC 5830; key meshing: RFC 4357, section 2.3.2.
 */
#ifndef VRX_CONTEXT_H
#define VRX_CONTEXT_H

#include "vrx/modes.h"

VRX_BEGIN_DECLS

#define VRX_MODE_IMITO 5         /**< the MAC, as a mode of a context */
#define VRX_MESHING_SECTION 1024 /**< bytes processed under one key when key meshing is on */

/**
 * A cipher context. Its fields are public, because callers read the MAC from the record. A new record is uninitialized;
 * the init functions fill it.
 */
typedef struct vrx_crpt_ctx {
    vrx_tz table;                /**< copy of the caller's table */
    uint32_t mode;               /**< VRX_MODE_SS to VRX_MODE_IMITO; other values fail at the first whole block */
    uint32_t aux1;               /**< not used by the library; for the caller */
    uint32_t key_meshing;        /**< 1: CryptoPro key meshing is on; any other value: off */
    uint32_t aux2;               /**< not used by the library; for the caller */
    uint32_t key[VRX_KEY_WORDS]; /**< current key, K0 to K7; key meshing replaces it */
    uint8_t iv[VRX_BLOCK_SIZE];  /**< chaining value, counter or feedback */
    uint32_t mesh_count;         /**< bytes processed since the last meshing, 0 to 1024 */
    uint8_t
        block[VRX_BLOCK_SIZE];   /**< modes 1, 4 and 5: the first block_len bytes wait for a whole block, the others are
                                      leftovers; modes 2 and 3: key stream whose last block_len bytes are unused */
    uint8_t mac[VRX_BLOCK_SIZE]; /**< mode 5: the MAC state */
    uint32_t block_len;          /**< bytes held, or unused bytes of key stream, 0 to 7 */
    uint8_t initialised;         /**< 1: open; 0: closed. Finishing closes a context, with the exceptions described at
                                      vrx_crpt_final(). A failed vrx_make_key_meshing() closes it, too */
    uint8_t direction;           /**< non-zero: encrypt; zero: decrypt; modes 2 and 5 ignore it */
    uint8_t flags;               /**< VRX_FLAG_FIRST: opening or resetting a context sets it, except opening in mode
                                      5 with an IV. The first block clears it, except in mode 3. VRX_FLAG_PAD:
                                      vrx_crpt_final() sets it if the context holds bytes, and does not clear it */
} vrx_crpt_ctx;

/** The table record of the older entry points. */
typedef struct vrx_crpt_table_rec {
    vrx_tz table;         /**< deployed table */
    uint32_t mode;        /**< mode number, as in a context */
    uint32_t aux1;        /**< not used by the library; for the caller */
    uint32_t key_meshing; /**< 1: CryptoPro key meshing is on; any other value: off */
    uint32_t aux2;        /**< not used by the library; for the caller */
} vrx_crpt_table_rec;

/** The parameter block of the older entry points. */
typedef struct old_crpt_params {
    uint32_t first;             /**< old_crpt_init_context() requires a non-zero value; not used otherwise */
    uint32_t second;            /**< old_crpt_init_context() requires a non-zero value; not used otherwise */
    vrx_data *table;            /**< its data points to a vrx_crpt_table_rec; its length is not read */
    vrx_data *key;              /**< its data points to the 32 key bytes; its length may not be 0 */
    uint8_t iv[VRX_BLOCK_SIZE]; /**< the IV */
} old_crpt_params;

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Open a context for a new message.
 *
 * **Warning:** the function checks only ctx. Check the other arguments yourself, especially `direction` and `mode`.
 *
 * @param ctx          out: the context. The function sets every field.
 * @param direction    in: encrypt if its low 8 bits are not zero, otherwise decrypt.
 * @param table        in: the table, copied into the context; may not be NULL. Its flag is tested when data is
 *                     processed.
 * @param mode         in: VRX_MODE_SS to VRX_MODE_IMITO. Any other number is stored, and the first whole block then
 *                     fails.
 * @param aux1         in: any value, stored for the caller.
 * @param key_meshing  in: 1 switches CryptoPro key meshing on.
 * @param aux2         in: any value, stored for the caller.
 * @param iv           in: 8 bytes, or NULL for zeros. In mode 5, the IV is also the initial MAC state; for the MAC of
 *                     the standard, pass NULL.
 * @param key          in: the key, eight words; may not be NULL.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if ctx is NULL (not logged).
 */
VRX_API int vrx_crpt_init_context(vrx_crpt_ctx *ctx, int direction, const vrx_tz *table, uint32_t mode, uint32_t aux1,
                                  uint32_t key_meshing, uint32_t aux2, const uint8_t *iv,
                                  const uint32_t key[VRX_KEY_WORDS]);

/**
 * Process a piece of a message.
 *
 * Modes 2 and 3 write as many bytes as they read. Modes 1 and 4 write whole blocks and hold back the rest. Mode 5
 * writes nothing.
 *
 * Input and output may be the same buffer in modes 2 and 3. In modes 1 and 4 they may be the same buffer while the
 * context holds no bytes. Mode 3 allows any overlap: it first uses up the key stream left from the previous piece, one
 * byte at a time. Then it reads the rest of the input before it writes more output.
 *
 * **Warning:** after a failure in modes 1 and 4 or in an unknown mode, do not continue the message: open the context
 * anew. The function may have tried the failing block twice, overwritten the held bytes and meshed the key. A failure
 * in modes 2, 3 and 5 changes nothing. No failure changes the output's length.
 *
 * @param ctx  in-out: the context.
 * @param in   in: the piece. In modes 2, 3 and 5 at least one byte.
 * @param out  out: the output; its length is the capacity on entry and the bytes written after success. In modes 1 and
 *             4, if its data pointer is NULL, the call processes nothing and stores in the output's length the number
 *             of bytes that it would write. Mode 5 does not use the output, which may then be NULL.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL; VRX_ERR_CONTEXT_STATE if the context is closed;
 *         VRX_ERR_BUFFER_LENGTH if the output is too small, or the input is empty in modes 2, 3 and 5; VRX_ERR_FAILED
 *         if the table is not deployed; VRX_ERR_UNKNOWN_MODE. Only mode 1 logs, when the table is not deployed.
 */
VRX_API int vrx_crpt_update(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/**
 * Finish a message.
 *
 * In mode 5, ctx->mac then holds the MAC. In modes 1 and 4 a message must consist of whole blocks: if the context holds
 * bytes, the call fails. The function closes the context even if it fails for this reason.
 *
 * **Warning:** in modes 1, 4, 5 and unknown modes, the context remains open if it holds no bytes. A further
 * vrx_crpt_update() then continues the message. For example, after the MAC of 24 bytes, the next MAC would be that of
 * the 24 bytes and the new ones together. Open the context anew for each message.
 *
 * **Warning:** in mode 5 the function returns VRX_OK even if it could not compute the MAC, for example because the
 * table is not deployed. Check the codes of vrx_crpt_update(), and use deployed tables.
 *
 * @param ctx  in-out: the context.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if ctx is NULL, or VRX_ERR_CONTEXT_STATE if it is closed (both logged). If the
 *         context holds bytes: VRX_ERR_BLOCK_MULTIPLE in modes 1 and 4, or VRX_ERR_FAILED if the table is not deployed
 *         (mode 1 logs both); VRX_ERR_UNKNOWN_MODE in an unknown mode.
 */
VRX_API int vrx_crpt_final(vrx_crpt_ctx *ctx);

/* ---- Building blocks --------------------------------------------------------------------------------------------- */

/**
 * Reopen a context and drop the bytes that it holds. The key, the IV field, the MAC state and the meshing position keep
 * their values.
 *
 * **Warning:** this function does not restore the key or the IV. For a new message, open the context anew.
 *
 * - Mode 2: the next block encrypts the current counter once more and continues from there.
 * - Mode 5: the next MAC depends on the previous one. Only the first 4 bytes of the MAC state are cleared, and only
 *   when at least one whole block arrives. For a second MAC, open the context anew.
 *
 * @param ctx  in-out: the context, open or closed.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if ctx is NULL (logged).
 */
VRX_API int vrx_crpt_reset(vrx_crpt_ctx *ctx);

/**
 * Call the one-shot function of a mode, which is selected by its number. Contexts use this function, too.
 *
 * **Warning:** mode 3 must not decrypt in place: the plaintext is wrong after the first block, as in VRX_Gost_GFB_m().
 *
 * @param mode       in: VRX_MODE_SS to VRX_MODE_CBC. All 32 bits of the number are read.
 * @param table      in: a deployed table.
 * @param in         in: the input, at least one byte.
 * @param out        out: the output; its length is the capacity on entry and the input's length after success.
 * @param iv         in-out: 8 bytes, as for the mode function. Mode 1 does not use it.
 * @param key        in: the key, eight words.
 * @param direction  in: encrypt if not zero, otherwise decrypt. Mode 2 does not use it.
 * @param flags      in: VRX_FLAG_FIRST, VRX_FLAG_PAD.
 * @return the code of the mode function; VRX_ERR_UNKNOWN_MODE for other numbers (not logged).
 */
VRX_API int vrx_crpt_crypto_engine(uint32_t mode, const vrx_tz *table, const vrx_data *in, vrx_data *out,
                                   uint8_t iv[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS], uint8_t direction,
                                   uint8_t flags);

/**
 * Run data through vrx_crpt_crypto_engine() with the fields of a context. With key meshing, the function splits the
 * data where the key changes. It buffers nothing, and it does not test whether the context is open.
 *
 * **Warning:** mode 3 must not decrypt in place: the plaintext is wrong after the first block. vrx_crpt_update()
 * decrypts in place correctly.
 *
 * **Warning:** do not set VRX_FLAG_PAD together with VRX_FLAG_FIRST in ctx->flags when key meshing is on and the data
 * does not fit in the current section of 1024 bytes. The first part is then processed without VRX_FLAG_FIRST, so in
 * mode 2 the IV is not encrypted and the output is wrong.
 *
 * @param ctx  in-out: the context.
 * @param in   in: the input. An empty input fails with VRX_ERR_BUFFER_LENGTH if key meshing is off, and returns VRX_OK
 *             if it is on. In both cases, the output's length is unchanged.
 * @param out  out: the output; its length is the capacity on entry and the input's length after success.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if ctx is NULL; otherwise the code of the part that failed. The output of the
 *         parts before it remains written, and the output's length is unchanged.
 */
VRX_API int vrx_crpt_context_engine(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/**
 * Process a piece in mode 2, whatever mode the context has.
 *
 * @param ctx  in-out: the context.
 * @param in   in: the piece, at least one byte.
 * @param out  out: the output; its length is the capacity on entry and the input's length after success.
 * @return the same codes as vrx_crpt_update() in mode 2. The function tests for a closed context before it tests for
 *         NULL buffers.
 */
VRX_API int vrx_crpt_CNT_ctx(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/**
 * Process a piece in mode 3, whatever mode the context has.
 *
 * @param ctx  in-out: the context.
 * @param in   in: the piece, at least one byte.
 * @param out  out: the output; its length is the capacity on entry and the input's length after success.
 * @return the same codes as vrx_crpt_update() in mode 3. The function tests for a closed context before it tests for
 *         NULL buffers.
 */
VRX_API int vrx_crpt_CFB_ctx(vrx_crpt_ctx *ctx, const vrx_data *in, vrx_data *out);

/**
 * Process a piece in mode 5, whatever mode the context has. If VRX_FLAG_PAD is set in ctx->flags, the input may be
 * empty, and a partial block at the end of the message is padded with zeros.
 *
 * @param ctx  in-out: the context.
 * @param in   in: the piece; at least one byte unless VRX_FLAG_PAD is set in ctx->flags.
 * @return the same codes as vrx_crpt_update() in mode 5. The function tests for a closed context before it tests for
 *         NULL buffers.
 */
VRX_API int vrx_crpt_IMITO_ctx(vrx_crpt_ctx *ctx, const vrx_data *in);

/**
 * Count the next 8 bytes of a message. Call the function before you process these bytes: if 1024 bytes have been
 * counted since the last meshing, the function first meshes the key and the IV. It does nothing if key meshing is off.
 *
 * @param ctx  in-out: the context.
 * @return VRX_OK, or the code of the failed meshing; the context is then closed.
 */
VRX_API int vrx_make_key_meshing(vrx_crpt_ctx *ctx);

/**
 * Perform one step of CryptoPro key meshing: key = D(key, C), then iv = E(new key, iv). C is the constant of RFC 4357,
 * section 2.3.2.
 *
 * @param table  in: a deployed table.
 * @param iv     in-out: 8 bytes; may not be NULL. If iv is NULL, the call fails after it has replaced the key.
 * @param key    in-out: the key, eight words.
 * @return VRX_OK, or the code of VRX_Gost_SS_m(). If the first operation fails, key and iv are unchanged, and the log
 *         gets the same line twice.
 */
VRX_API int vrx_crpt_crypto_pro_key_meshing_engine(const vrx_tz *table, uint8_t iv[VRX_BLOCK_SIZE],
                                                   uint32_t key[VRX_KEY_WORDS]);

/* ---- Older names ------------------------------------------------------------------------------------------------- */

/**
 * Open a context from a parameter block. This is the older function for opening a context.
 *
 * **Warning:** zero the record ctx before the first call. This function does not set the MAC state, neither to zeros
 * nor to the IV, and mode 5 starts from the value that the record contains.
 *
 * **Warning:** the function tests only that p->key->length is not 0, and then reads 32 bytes. It does not test
 * p->table->length and reads a whole vrx_crpt_table_rec.
 *
 * @param ctx        in-out: the context. The function sets every field except `mac`.
 * @param direction  in: encrypt if its low 8 bits are not zero, otherwise decrypt.
 * @param p          in: the parameter block, and the records that it points to.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if ctx or p is NULL, p->first or p->second is 0, p's table or its data is NULL,
 *         or p's key is NULL or empty (not logged; the context is then closed).
 */
VRX_API int old_crpt_init_context(vrx_crpt_ctx *ctx, int direction, const old_crpt_params *p);

/**
 * Perform one step of key meshing on a parameter block, in place. The function calls
 * vrx_crpt_crypto_pro_key_meshing_engine() with the table, IV and key of the parameter block. It checks no pointers,
 * and reads neither p->first nor p->second.
 *
 * @param p  in-out: the parameter block. Its IV and the 32 bytes of its key are replaced.
 * @return the code of vrx_crpt_crypto_pro_key_meshing_engine().
 */
VRX_API int vrx_crpt_crypto_pro_key_meshing(old_crpt_params *p);

VRX_END_DECLS

#endif
