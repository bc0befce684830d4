/**
 * @file tz.h  Substitution tables (TZ): eight 4-bit S-boxes in three forms, and the built-in tables.
 *
 * S-box r (r = 0 to 7) substitutes bits 4r to 4r + 3 of a 32-bit value. The standards number it K(r + 1).
 *
 * - Numeric TZ: 64 bytes. Byte 4i + m holds the outputs for the input value i: that of S-box 2m in the low nibble and
 *   that of S-box 2m + 1 in the high nibble.
 * - TZ string: 128 characters, two for each byte of the numeric TZ. The LOW nibble comes first.
 * - Deployed TZ: the record vrx_tz, which the cipher and the hash read.
 *
 * Unless a function says otherwise, pointers may not be NULL and buffers may not overlap. The functions allocate
 * nothing and have no shared state: any number of threads may call them.
 */
#ifndef VRX_TZ_H
#define VRX_TZ_H

#include "vrx/frame.h"

VRX_BEGIN_DECLS

#define VRX_NUM_TZ_SIZE 64     /**< bytes in a numeric TZ */
#define VRX_TZ_STRING_SIZE 128 /**< characters in a TZ string, without its NUL */

/**
 * A deployed substitution table. Let a be the output of S-box 2k for x & 15, and b that of S-box 2k + 1 for x >> 4.
 * Then t[k][x] is the byte a | b << 4, moved to bits 8k to 8k + 7 and rotated left by 11 bits. The round function maps
 * v to t[0][byte 0 of v] ^ t[1][byte 1] ^ t[2][byte 2] ^ t[3][byte 3].
 */
typedef struct vrx_tz {
    uint32_t t[4][256];  /**< entries in host byte order: not a format for exchange */
    uint8_t initialised; /**< 0: not deployed, and the cipher refuses the table; any other value: deployed */
    uint8_t zero[3];     /**< padding */
} vrx_tz;

#define VRX_TZ_28147_89_COUNT 5 /**< built-in tables of the cipher */
#define VRX_TZ_3411_94_COUNT 2  /**< built-in tables of the hash */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/** Cipher tables of RFC 4357: test, CryptoPro-A, -B, -C, -D ("tz_test", "tz_a" to "tz_d"). Read-only. */
VRX_API extern const vrx_tz TZ_28147_89[VRX_TZ_28147_89_COUNT];

/** Hash tables of RFC 4357: test (the example of RFC 5831) and CryptoPro ("tz_0", "tz_1"). Read-only. */
VRX_API extern const vrx_tz TZ_3411_94[VRX_TZ_3411_94_COUNT];

/**
 * Expand eight 4-bit S-boxes into the table that the cipher and the hash read.
 *
 * @param num_tz  in: the numeric TZ, 64 bytes.
 * @param out     out: the table, 4100 bytes. The function clears the flag `initialised` before it writes the first
 *                entry and sets it after the last one. It does not write the three padding bytes.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL (logged; out is then unchanged).
 *
 * Source: RFC 5830 (substitution, rotation by 11 bits).
 */
VRX_API int vrx_crpt_deploy_TZ(const uint8_t num_tz[VRX_NUM_TZ_SIZE], vrx_tz *out);

/**
 * Deploy the table that a TZ string describes.
 *
 * @param str  in: the TZ string, NUL-terminated, as for vrx_crpt_TZ_str_to_num().
 * @param out  out: the table, as for vrx_crpt_deploy_TZ(); unchanged on failure.
 * @return VRX_OK; VRX_ERR_UNKNOWN_TZ if the string is not 128 characters long; VRX_ERR_BAD_PARAMS if out is NULL. Both
 *         failures are logged.
 */
VRX_API int vrx_crpt_init_new_TZ(const char *str, vrx_tz *out);

/**
 * Get a built-in cipher table by index.
 *
 * @param id  in: index into TZ_28147_89. Only the low 8 bits are used.
 * @return the table, or NULL if the index is above 4 (logged).
 */
VRX_API const vrx_tz *TZ_by_id(uint32_t id);

/**
 * Get a built-in hash table by index.
 *
 * @param id  in: index into TZ_3411_94. Only the low 8 bits are used.
 * @return the table, or NULL if the index is above 1 (logged).
 */
VRX_API const vrx_tz *hash_TZ_by_id(uint32_t id);

/**
 * Get a built-in cipher table by name.
 *
 * @param name  in: "tz_test", "tz_a", "tz_b", "tz_c" or "tz_d", NUL-terminated and case-sensitive; may be NULL.
 * @return the table, or NULL for any other string and for NULL (logged).
 */
VRX_API const vrx_tz *TZ_by_name(const char *name);

/**
 * Get a built-in hash table by name.
 *
 * @param name  in: "tz_0" or "tz_1", NUL-terminated and case-sensitive; may be NULL.
 * @return the table, or NULL for any other string and for NULL (logged).
 */
VRX_API const vrx_tz *hash_TZ_by_name(const char *name);

/* ---- Building blocks --------------------------------------------------------------------------------------------- */

/**
 * Convert a TZ string to a numeric TZ.
 *
 * **Warning:** the function checks only the length. Use the characters 0 to 9 and A to F. Any other character yields
 * its character code minus 55, as if it were a capital letter. Lower-case digits therefore give a wrong table without
 * an error.
 *
 * @param str     in: the TZ string: 128 characters and a NUL.
 * @param num_tz  out: the numeric TZ, 64 bytes; unchanged on failure.
 * @return VRX_OK, or VRX_ERR_UNKNOWN_TZ if the string is not 128 characters long (logged).
 */
VRX_API int vrx_crpt_TZ_str_to_num(const char *str, uint8_t num_tz[VRX_NUM_TZ_SIZE]);

/**
 * Swap the two nibbles of every byte of a numeric TZ, in place. This converts between the order of this library and the
 * opposite order of the DER encoding in RFC 4357. A second call restores the bytes.
 *
 * @param num_tz  in-out: the numeric TZ, 64 bytes.
 * @return always VRX_OK.
 */
VRX_API int vrx_crpt_swap_num_TZ(uint8_t num_tz[VRX_NUM_TZ_SIZE]);

/* ---- Older names ------------------------------------------------------------------------------------------------- */

/**
 * An older name of vrx_crpt_deploy_TZ(). After a failure, this function logs a second message.
 *
 * @param num_tz  in: the numeric TZ, 64 bytes.
 * @param out     out: the table, 4100 bytes.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL (logged; out is then unchanged).
 */
VRX_API int vrx_crpt_init_num_TZ(const uint8_t num_tz[VRX_NUM_TZ_SIZE], vrx_tz *out);

VRX_END_DECLS

#endif
