/**
 * @file modes.h  GOST 28147-89 over a whole buffer in one call: codebook, counter, cipher feedback, CBC, and the MAC.
 *
 * Common arguments:
 * - table      in: a deployed table; one whose flag is 0 is refused.
 * - in         in: `length` bytes to process, at least one.
 * - out        out: `length` is the capacity on entry and the number of bytes written after success, which is the
 *              input's length.
 * - iv         in-out: 8 bytes: counter, feedback or chaining value. What a call leaves there continues the stream in
 *              the next call. It overlaps no other argument.
 * - key        in: eight 32-bit words as in kernel.h.
 * - direction  in: low 8 bits non-zero: encrypt; zero: decrypt.
 * - flags      in: low 8 bits: VRX_FLAG_FIRST, VRX_FLAG_PAD.
 * - mode       in: one of VRX_MODE_SS to VRX_MODE_CBC.
 * - mac        in-out: a record of exactly 8 bytes, the state.
 * - name       in: a text that ends with a zero, compared as a whole; may be NULL.
 * - return     VRX_OK, or one of the codes at the top of modes.h.
 *
 * Codes, in the order of the checks:
 * - VRX_ERR_BAD_PARAMS: a pointer is NULL, that of a record's bytes included;
 * - VRX_ERR_BUFFER_LENGTH: the input is empty or longer than the output (MAC: the state is not 8 bytes long);
 * - VRX_ERR_FAILED: the table is not deployed;
 * - VRX_ERR_BLOCK_MULTIPLE: the length is not a multiple of 8 and the mode or the flags do not allow that.
 * VRX_Gost_SS_m() logs each of them; the others are silent, but counter, feedback and MAC log the last one. A failing
 * call changes nothing: neither output bytes, nor the output's length, nor iv or MAC state.
 *
 * Buffers, key and iv may lie at any address. In and out may be the same buffer; where they overlap otherwise the
 * blocks are taken in order, each read whole before it is written (an output that starts 1 to 7 bytes behind the
 * input is undefined). Feedback decryption in place is special, see VRX_Gost_GFB_m().
 *
 * Threads: no shared state. Nothing is allocated. Source: RFC 5830, sections 5 to 8 (codebook, counter, feedback, MAC),
 * where blocks and keys are numbers: kernel.h says which byte is which.
 */
#ifndef VRX_MODES_H
#define VRX_MODES_H

#include "vrx/kernel.h"

VRX_BEGIN_DECLS

#define VRX_MODE_SS 1   /**< simple substitution (codebook), "ss" */
#define VRX_MODE_GAMM 2 /**< counter mode, "gamm" */
#define VRX_MODE_GFB 3  /**< cipher feedback, "gfb" */
#define VRX_MODE_CBC 4  /**< cipher block chaining, "cbc" */

#define VRX_FLAG_FIRST 1 /**< first call of a message: prepares the counter, clears the MAC state */
#define VRX_FLAG_PAD 2   /**< a partial last block is allowed; it is padded with zeros */

/** Codebook ("simple substitution"). Whole blocks only. Every failure is logged. */
VRX_API int VRX_Gost_SS_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, const uint32_t key[VRX_KEY_WORDS],
                          int direction);

/** Cipher block chaining. Whole blocks only. Silent. */
VRX_API int VRX_Gost_CBC_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                           const uint32_t key[VRX_KEY_WORDS], int direction);

/**
 * Counter mode; encryption and decryption are the same.
 *
 * VRX_FLAG_FIRST encrypts iv in place before the first block (the synchronisation value becomes the counter). A
 * partial block uses up a whole counter step: the rest of its key stream is lost to a stream that continues.
 */
VRX_API int VRX_Gost_Gamm_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                            const uint32_t key[VRX_KEY_WORDS], int flags);

/**
 * Cipher feedback. VRX_FLAG_FIRST has no effect.
 *
 * After a partial block iv holds the whole padded block's output: ciphertext when encrypting; when decrypting the
 * plaintext bytes followed by key stream. Decrypting in place feeds back plaintext, see vrx_gost_GFB_64_m().
 */
VRX_API int VRX_Gost_GFB_m(const vrx_tz *table, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                           const uint32_t key[VRX_KEY_WORDS], int direction, int flags);

/**
 * The MAC.
 *
 * @param mac  in-out: a record of exactly 8 bytes, the state; VRX_FLAG_FIRST clears it before the first block. The
 *             whole state is left there. Its length is not changed.
 */
VRX_API int VRX_Gost_Imito_m(const vrx_tz *table, const vrx_data *in, vrx_data *mac, const uint32_t key[VRX_KEY_WORDS],
                             int flags);

/** The mode function for a mode number (low 8 bits); VRX_ERR_BAD_PARAMS, silently, for an unknown one. */
VRX_API int do_cipher_low(const vrx_tz *table, int mode, const vrx_data *in, vrx_data *out, uint8_t iv[VRX_BLOCK_SIZE],
                          const uint32_t key[VRX_KEY_WORDS], int direction, int flags);

/** VRX_Gost_Imito_m() under an older name. */
VRX_API int do_imito_low(const vrx_tz *table, const vrx_data *in, vrx_data *mac, const uint32_t key[VRX_KEY_WORDS],
                         int flags);

/** The number of a mode by its name: "ss", "gamm", "gfb", "cbc". @return 0 for NULL and for other texts. */
VRX_API int ciph_mode_by_name(const char *name);

/**
 * Split a length into whole blocks and a zero-padded last one.
 *
 * @param data         in: the input bytes; only those of a partial last block are read.
 * @param length       in: bytes in data.
 * @param last         out: the padded partial block; untouched when there is none.
 * @param tail_length  out: 1 to 7 bytes in the partial block; untouched when there is none.
 * @param full_blocks  out: length / 8, always written.
 * @param flags        VRX_FLAG_PAD allows a partial block.
 * @return VRX_OK, or VRX_ERR_BLOCK_MULTIPLE for a partial block that is not allowed (silent).
 */
VRX_API int make_last_block(const uint8_t *data, uint32_t length, uint8_t last[VRX_BLOCK_SIZE], uint32_t *tail_length,
                            uint32_t *full_blocks, int flags);

VRX_END_DECLS

#endif
