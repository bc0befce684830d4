/**
 * @file modes.h  GOST 28147-89 over a whole buffer in one call: codebook, counter, cipher feedback, CBC, and the MAC.
 *
 * For messages that arrive in pieces, and for key meshing, use a context (vrx_crpt_init_context()).
 *
 * **Warning:** never use an IV twice with the same key. In counter mode and cipher feedback, equal IVs reveal the
 * exclusive-or of two plaintexts.
 *
 * **Warning:** these modes do not detect changed data or a wrong key: decryption then returns VRX_OK and garbage.
 * Compute a MAC of the ciphertext with a second key, and verify it before you use any plaintext.
 *
 * **Warning:** blocks have only 64 bits. Near 2^32 blocks (32 GiB) under one key, equal ciphertext blocks become
 * likely, and they reveal relations between plaintexts. Encrypt at most a few gigabytes under one key.
 *
 * Every mode function checks its arguments in this order:
 *
 * - VRX_ERR_BAD_PARAMS: a pointer is NULL, including the pointer in a vrx_data record.
 * - VRX_ERR_BUFFER_LENGTH: the input is empty or longer than the output. For the MAC: the input is empty, or the state
 *   is not 8 bytes long.
 * - VRX_ERR_FAILED: the table is not deployed.
 * - VRX_ERR_BLOCK_MULTIPLE: the length is not a multiple of 8, and the mode or the flags do not allow that.
 *
 * VRX_Gost_SS_m() logs all of these failures. Counter mode, cipher feedback and the MAC log only
 * VRX_ERR_BLOCK_MULTIPLE, and CBC logs no failure. A failing call changes neither the output bytes and length nor the
 * IV or the MAC state.
 *
 * Buffers, keys and IVs may lie at any address. The IV or MAC state may not overlap another argument. Input and output
 * may be the same buffer, except in cipher feedback decryption. If they overlap in another way, the blocks are
 * processed in order, and each block is read before it is written. A partial last block is read before anything is
 * written. If the output begins 1 to 7 bytes after the input, the result is undefined.
 *
 * Threads: no shared state. The functions allocate nothing.
 *
 * Source: RFC 5830, sections 5 to 8.
 */
#ifndef VRX_MODES_H
#define VRX_MODES_H

#include "vrx/kernel.h"

VRX_BEGIN_DECLS

#define VRX_MODE_SS 1   /**< codebook ("simple substitution"), named "ss" */
#define VRX_MODE_GAMM 2 /**< counter mode, named "gamm" */
#define VRX_MODE_GFB 3  /**< cipher feedback, named "gfb" */
#define VRX_MODE_CBC 4  /**< cipher block chaining, named "cbc" */

#define VRX_FLAG_FIRST 1 /**< first call of a message: encrypts the IV (counter mode), clears the MAC state */
#define VRX_FLAG_PAD 2   /**< the last block may be partial; it is padded with zeros */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Encrypt or decrypt in counter mode. Both directions are the same operation.
 *
 * A partial block advances the counter as a whole block does. The next call does not use the rest of its key stream.
 *
 * @param table  in: a deployed table.
 * @param in     in: the input, at least one byte.
 * @param out    out: the output; its length is the capacity on entry and the input's length after success.
 * @param iv     in-out: 8 bytes. With VRX_FLAG_FIRST, the IV; otherwise, the counter that the previous call left. On
 *               return, the counter for the next call.
 * @param key    in: the key, eight words.
 * @param flags  in: VRX_FLAG_FIRST in the first call of a message; VRX_FLAG_PAD to allow a partial last block.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS, VRX_ERR_BUFFER_LENGTH or VRX_ERR_FAILED as for every mode (not logged);
 *         VRX_ERR_BLOCK_MULTIPLE for a partial block without VRX_FLAG_PAD (logged).
 */
VRX_API int VRX_Gost_Gamm_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                            const uint32_t key[VRX_KEY_WORDS], int flags);

/**
 * Encrypt or decrypt in cipher feedback mode.
 *
 * **Warning:** do not decrypt in place. With the same buffer as input and output the call returns VRX_OK but yields
 * wrong plaintext after the first block. Use separate buffers, or a context, which decrypts in place correctly.
 *
 * @param table      in: a deployed table.
 * @param in         in: the input, at least one byte.
 * @param out        out: the output; its length is the capacity on entry and the input's length after success. May be
 *                   the same buffer as the input only for encryption.
 * @param iv         in-out: 8 bytes. In the first call of a message, the IV; on return, the feedback for the next call.
 *                   After a partial block, it holds the output for the padded block: ciphertext after encryption;
 *                   plaintext followed by key stream after decryption. No later call can continue such a message.
 * @param key        in: the key, eight words.
 * @param direction  in: encrypt if its low 8 bits are not zero, otherwise decrypt.
 * @param flags      in: VRX_FLAG_PAD to allow a partial last block. VRX_FLAG_FIRST has no effect.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS, VRX_ERR_BUFFER_LENGTH or VRX_ERR_FAILED as for every mode (not logged);
 *         VRX_ERR_BLOCK_MULTIPLE for a partial block without VRX_FLAG_PAD (logged).
 */
VRX_API int VRX_Gost_GFB_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                           const uint32_t key[VRX_KEY_WORDS], int direction, int flags);

/**
 * Encrypt or decrypt in CBC mode, whole blocks only.
 *
 * @param table      in: a deployed table.
 * @param in         in: the input, at least one block; its length is a multiple of 8.
 * @param out        out: the output; its length is the capacity on entry and the input's length after success.
 * @param iv         in-out: 8 bytes. In the first call of a message, the IV; on return, the last ciphertext block, with
 *                   which the next call continues.
 * @param key        in: the key, eight words.
 * @param direction  in: encrypt if its low 8 bits are not zero, otherwise decrypt.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS, VRX_ERR_BUFFER_LENGTH, VRX_ERR_FAILED or VRX_ERR_BLOCK_MULTIPLE as for every mode
 *         (not logged).
 */
VRX_API int VRX_Gost_CBC_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                           const uint32_t key[VRX_KEY_WORDS], int direction);

/**
 * Compute the MAC ("imito") of a buffer. Use a different key from the encryption key.
 *
 * @param table  in: a deployed table.
 * @param in     in: the message or a part of it, at least one byte.
 * @param mac    in-out: a record of exactly 8 bytes, the MAC state. VRX_FLAG_FIRST clears it before the first block; on
 *               return, it holds the whole state. Many formats use only its first 4 bytes. Its length does not change.
 * @param key    in: the key, eight words.
 * @param flags  in: VRX_FLAG_FIRST in the first call of a message; VRX_FLAG_PAD to allow a partial last block.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS, VRX_ERR_BUFFER_LENGTH or VRX_ERR_FAILED as for every mode (not logged);
 *         VRX_ERR_BLOCK_MULTIPLE for a partial block without VRX_FLAG_PAD (logged).
 */
VRX_API int VRX_Gost_Imito_m(const vrx_tz *table, const vrx_data *in, vrx_data *mac, const uint32_t key[VRX_KEY_WORDS],
                             int flags);

/* ---- Building blocks --------------------------------------------------------------------------------------------- */

/**
 * Encrypt or decrypt in codebook mode ("simple substitution"), whole blocks only.
 *
 * **Warning:** equal plaintext blocks give equal ciphertext blocks. Use this mode only to build other modes.
 *
 * @param table      in: a deployed table.
 * @param in         in: the input, at least one block; its length is a multiple of 8.
 * @param out        out: the output; its length is the capacity on entry and the input's length after success.
 * @param key        in: the key, eight words.
 * @param direction  in: encrypt if its low 8 bits are not zero, otherwise decrypt.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS, VRX_ERR_BUFFER_LENGTH, VRX_ERR_FAILED or VRX_ERR_BLOCK_MULTIPLE as for every mode
 *         (all logged).
 */
VRX_API int VRX_Gost_SS_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, const uint32_t key[VRX_KEY_WORDS],
                          int direction);

/**
 * Call the mode function that belongs to a mode number.
 *
 * **Warning:** cipher feedback decryption in place yields wrong plaintext, as in VRX_Gost_GFB_m().
 *
 * @param table      in: a deployed table.
 * @param mode       in: VRX_MODE_SS to VRX_MODE_CBC; only the low 8 bits are used.
 * @param in         in: the input, at least one byte.
 * @param out        out: the output; its length is the capacity on entry and the input's length after success.
 * @param iv         in-out: 8 bytes, as for the mode function. VRX_MODE_SS does not use it; it may then be NULL.
 * @param key        in: the key, eight words.
 * @param direction  in: encrypt if its low 8 bits are not zero, otherwise decrypt. VRX_MODE_GAMM does not use it.
 * @param flags      in: as for the mode function. VRX_MODE_SS and VRX_MODE_CBC do not use them.
 * @return the code of the mode function; VRX_ERR_BAD_PARAMS for an unknown mode (not logged).
 */
VRX_API int do_cipher_low(const vrx_tz *table, int mode, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                          const uint32_t key[VRX_KEY_WORDS], int direction, int flags);

/**
 * Get the number of a mode by its name.
 *
 * @param name  in: "ss", "gamm", "gfb" or "cbc", NUL-terminated and case-sensitive; may be NULL.
 * @return VRX_MODE_SS to VRX_MODE_CBC, or 0 for any other string and for NULL.
 */
VRX_API int ciph_mode_by_name(const char *name);

/**
 * Split a length into whole blocks and a zero-padded last block. The function does not check pointers.
 *
 * @param data         in: the input. The function reads only the partial last block, if there is one.
 * @param length       in: bytes in data.
 * @param last         out: the padded partial block; unchanged if there is none or it is not allowed.
 * @param tail_length  out: 1 to 7, the input bytes in the partial block; unchanged if there is none or it is not
 *                     allowed.
 * @param full_blocks  out: length / 8; always written.
 * @param flags        in: VRX_FLAG_PAD allows a partial block.
 * @return VRX_OK, or VRX_ERR_BLOCK_MULTIPLE for a partial block that is not allowed (not logged).
 */
VRX_API int make_last_block(const uint8_t *data, uint32_t length, uint8_t last[VRX_BLOCK_SIZE], uint32_t *tail_length,
                            uint32_t *full_blocks, int flags);

/* ---- Older names ------------------------------------------------------------------------------------------------- */

/**
 * An older name of VRX_Gost_Imito_m().
 *
 * @param table  in: a deployed table.
 * @param in     in: the message or a part of it, at least one byte.
 * @param mac    in-out: a record of exactly 8 bytes, the MAC state.
 * @param key    in: the key, eight words.
 * @param flags  in: VRX_FLAG_FIRST, VRX_FLAG_PAD; only the low 8 bits are used.
 * @return the code of VRX_Gost_Imito_m().
 */
VRX_API int do_imito_low(const vrx_tz *table, const vrx_data *in, vrx_data *mac, const uint32_t key[VRX_KEY_WORDS],
                         int flags);

VRX_END_DECLS

#endif
