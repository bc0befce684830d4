/**
 * @file kernel.h  GOST 28147-89 on single 8-byte blocks (RFC 5830).
 *
 * A block consists of two little-endian 32-bit words; word 0 (N1 of the standard) is in bytes 0 to 3. A key consists of
 * eight 32-bit words K0 to K7; K0 is key bytes 0 to 3, read little-endian.
 *
 * These functions check nothing, log nothing and return nothing. Every pointer must be valid, and the table must be
 * deployed: its flag is not read. Blocks and keys may lie at any address. Unless a function says otherwise, input and
 * output may be the same block but may not overlap in another way, and a state block (MAC, counter, feedback, chaining
 * value) may not overlap the input or the output.
 *
 * Threads: no shared state. The functions allocate nothing.
 *
 * **Warning:** the addresses of table look-ups depend on key and data. An attacker who can observe the CPU cache may
 * learn the key.
 */
#ifndef VRX_KERNEL_H
#define VRX_KERNEL_H

#include "vrx/tz.h"

VRX_BEGIN_DECLS

#define VRX_BLOCK_SIZE 8 /**< bytes in a block */
#define VRX_KEY_SIZE 32  /**< bytes in a key */
#define VRX_KEY_WORDS 8  /**< 32-bit words in a key */

/* ---- Building blocks: single blocks ------------------------------------------------------------------------------ */

/**
 * Encrypt a block: out = E(in), 32 rounds.
 *
 * @param in     in: 8 bytes of plaintext.
 * @param out    out: 8 bytes of ciphertext.
 * @param key    in: the key, eight words.
 * @param table  in: a deployed table.
 */
VRX_API void vrx_gost_encr_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                                const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table);

/**
 * Decrypt a block: out = D(in), 32 rounds.
 *
 * @param in     in: 8 bytes of ciphertext.
 * @param out    out: 8 bytes of plaintext.
 * @param key    in: the key, eight words.
 * @param table  in: a deployed table.
 */
VRX_API void vrx_gost_decr_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                                const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table);

/**
 * Perform one step of the MAC: state = M(state ^ data), 16 rounds.
 *
 * @param data   in: a message block; may be the state itself.
 * @param state  in-out: the 8-byte MAC state. The caller chooses which bits of the state form the MAC.
 * @param key    in: the key, eight words.
 * @param table  in: a deployed table.
 */
VRX_API void vrx_gost_imito_64_m(const uint8_t data[VRX_BLOCK_SIZE], uint8_t state[VRX_BLOCK_SIZE],
                                 const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table);

/**
 * Perform one step of counter mode: advance the counter, then compute out = in ^ E(counter).
 *
 * @param in       in: 8 bytes.
 * @param out      out: 8 bytes.
 * @param counter  in-out: before the first block, the encrypted IV; afterwards, the advanced counter. Word 0 is
 *                 increased by 01010101h modulo 2^32, and word 1 by 01010104h modulo 2^32 - 1. A sum of exactly
 *                 FFFFFFFFh in word 1 is not replaced by 0.
 * @param key      in: the key, eight words.
 * @param table    in: a deployed table.
 */
VRX_API void vrx_gost_gamm_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                                uint8_t counter[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS],
                                const vrx_tz *table);

/**
 * Perform one step of cipher feedback: compute out = in ^ E(feedback). The ciphertext block then becomes the feedback.
 *
 * **Warning:** do not decrypt in place. The function writes `out` before it reads the new feedback from `in`, so the
 * feedback becomes the decrypted block and later blocks decrypt to garbage. Use separate buffers.
 *
 * @param in        in: 8 bytes.
 * @param out       out: 8 bytes.
 * @param feedback  in-out: before the first block, the IV.
 * @param key       in: the key, eight words.
 * @param table     in: a deployed table.
 * @param encrypt   in: encrypt if its low 8 bits are not zero, otherwise decrypt.
 */
VRX_API void vrx_gost_GFB_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                               uint8_t feedback[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table,
                               int encrypt);

/**
 * Perform one step of cipher block chaining. Encryption: out = chain = E(in ^ chain). Decryption: out = D(in) ^ chain,
 * then chain = in.
 *
 * @param in       in: 8 bytes.
 * @param out      out: 8 bytes.
 * @param chain    in-out: before the first block, the IV.
 * @param key      in: the key, eight words.
 * @param table    in: a deployed table.
 * @param encrypt  in: encrypt if its low 8 bits are not zero, otherwise decrypt.
 */
VRX_API void vrx_gost_cbc_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                               uint8_t chain[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table,
                               int encrypt);

VRX_END_DECLS

#endif
