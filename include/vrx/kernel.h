/**
 * @file kernel.h  GOST 28147-89 on one 8-byte block (RFC 5830).
 *
 * A block is two little-endian 32-bit words, word 0 (the standard's N1) in bytes 0 to 3. A key is eight 32-bit words
 * K0 to K7, K0 being key bytes 0 to 3 read little-endian. Blocks and keys may lie at any address.
 *
 * These functions check nothing, log nothing and return nothing: every pointer must be valid, and the table must be
 * deployed (its flag is not read). Unless said otherwise the input and the output may be the same block and may not
 * overlap in another way, and a state block (MAC, counter, feedback, chaining value) overlaps neither.
 *
 * Common arguments:
 * - in  in: the block, 8 bytes.
 * - out  out: the block, 8 bytes.
 * - key  in: eight words.
 * - table  in: a deployed table.
 *
 * Threads: no shared state. Nothing is allocated. The addresses of the table look-ups depend on key and data.
 */
#ifndef VRX_KERNEL_H
#define VRX_KERNEL_H

#include "vrx/tz.h"

VRX_BEGIN_DECLS

#define VRX_BLOCK_SIZE 8 /**< bytes in a block */
#define VRX_KEY_SIZE 32  /**< bytes in a key */
#define VRX_KEY_WORDS 8  /**< 32-bit words in a key */

/** Encrypt a block: out = E(in), 32 rounds. */
VRX_API void vrx_gost_encr_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                                const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table);

/** Decrypt a block: out = D(in), 32 rounds. */
VRX_API void vrx_gost_decr_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                                const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table);

/**
 * One step of the MAC: state = M(state ^ data), 16 rounds.
 *
 * @param data   in: a message block; may be the state itself.
 * @param state  in-out: the whole 8-byte state; which of its bits make the MAC is the caller's choice.
 */
VRX_API void vrx_gost_imito_64_m(const uint8_t data[VRX_BLOCK_SIZE], uint8_t state[VRX_BLOCK_SIZE],
                                 const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table);

/**
 * One step of counter mode: the counter is stepped, then out = in ^ E(counter).
 *
 * @param counter  in-out: at the first block the encrypted synchronisation value; afterwards the stepped counter.
 *                 Word 0 steps by 01010101h modulo 2^32, word 1 by 01010104h modulo 2^32 - 1 (where the sum reaches
 *                 FFFFFFFFh exactly it stays so, and never becomes 0).
 */
VRX_API void vrx_gost_gamm_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                                uint8_t counter[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS],
                                const vrx_tz *table);

/**
 * One step of cipher feedback: out = in ^ E(feedback); then the feedback becomes the ciphertext block.
 *
 * @param feedback  in-out: the synchronisation value at first.
 * @param encrypt   low 8 bits non-zero: encrypt; zero: decrypt.
 *
 * Decrypting, the new feedback is read from `in` after `out` was written: in place it is the decrypted block. Keep a
 * copy of the ciphertext where standard feedback is wanted.
 */
VRX_API void vrx_gost_GFB_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                               uint8_t feedback[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table,
                               int encrypt);

/**
 * One step of cipher block chaining: encrypting out = chain = E(in ^ chain); decrypting out = D(in) ^ chain, then
 * chain = in.
 *
 * @param chain    in-out: the initialisation vector at first.
 * @param encrypt  low 8 bits non-zero: encrypt; zero: decrypt.
 */
VRX_API void vrx_gost_cbc_64_m(const uint8_t in[VRX_BLOCK_SIZE], uint8_t out[VRX_BLOCK_SIZE],
                               uint8_t chain[VRX_BLOCK_SIZE], const uint32_t key[VRX_KEY_WORDS], const vrx_tz *table,
                               int encrypt);

VRX_END_DECLS

#endif
