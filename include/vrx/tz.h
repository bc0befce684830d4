/**
 * @file tz.h  Substitution tables (TZ): eight 4-bit S-boxes in three forms, and the built-in sets.
 *
 * S-box r (r = 0..7) substitutes bits 4r to 4r + 3 of a 32-bit value; it is K(r + 1) of the standards' numbering.
 *
 * - numeric TZ: 64 bytes; byte 4i + m holds, for the input value i, the output of S-box 2m in its low nibble and
 *   that of S-box 2m + 1 in its high nibble.
 * - TZ string: 128 characters, two for a byte of the numeric TZ in byte order, the LOW nibble first.
 * - deployed TZ: the record that the cipher and the hash read, see vrx_tz.
 *
 * Common arguments:
 * - num_tz  in: the numeric TZ, 64 bytes; out: likewise; in-out: likewise.
 * - out  out: one table of 4100 bytes, owned by the caller.
 * - id  in: the index of a built-in record; only its low 8 bits count.
 * - name  in: a text that ends with a zero, compared as a whole and with its case; may be NULL.
 *
 * Unless said otherwise pointers may not be NULL, buffers may not overlap, nothing is allocated, there is no shared
 * state, and every function may run in any number of threads.
 */
#ifndef VRX_TZ_H
#define VRX_TZ_H

#include "vrx/frame.h"

VRX_BEGIN_DECLS

#define VRX_NUM_TZ_SIZE 64     /**< bytes in a numeric TZ */
#define VRX_TZ_STRING_SIZE 128 /**< characters in a TZ string, the closing zero not counted */

/**
 * A deployed substitution table. With a the output of S-box 2k for x & 15 and b that of S-box 2k + 1 for x >> 4,
 * t[k][x] is the byte a | b << 4 moved to bits 8k to 8k + 7 and then rotated left by 11 bits. The round function on
 * v is t[0][byte 0 of v] ^ t[1][byte 1] ^ t[2][byte 2] ^ t[3][byte 3].
 */
typedef struct vrx_tz {
    uint32_t t[4][256];  /**< in the processor's byte order: not for exchange */
    uint8_t initialised; /**< 0: not deployed, the cipher refuses the table; other values: deployed */
    uint8_t zero[3];     /**< padding */
} vrx_tz;

#define VRX_TZ_28147_89_COUNT 5 /**< built-in tables of the cipher */
#define VRX_TZ_3411_94_COUNT 2  /**< built-in tables of the hash */

/** Cipher tables of RFC 4357: test, CryptoPro-A, -B, -C, -D ("tz_test", "tz_a" to "tz_d"). Read-only. */
VRX_API extern const vrx_tz TZ_28147_89[VRX_TZ_28147_89_COUNT];

/** Hash tables of RFC 4357: test (the example of RFC 5831) and CryptoPro ("tz_0", "tz_1"). Read-only. */
VRX_API extern const vrx_tz TZ_3411_94[VRX_TZ_3411_94_COUNT];

/**
 * Expand eight 4-bit S-boxes into the table that the cipher and the hash read.
 *
 * @param num_tz  in: the numeric TZ.
 * @param out     out: the table. Its flag is cleared before the first entry is written and set after the last; the
 *                three bytes behind the flag keep what they held.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS when a pointer is NULL (logged; out is then untouched).
 *
 * Source: RFC 5830 (substitution, rotation by 11 bits).
 */
VRX_API int vrx_crpt_deploy_TZ(const uint8_t num_tz[VRX_NUM_TZ_SIZE], vrx_tz *out);

/** vrx_crpt_deploy_TZ() under an older name; a failure writes a second text to the log. @return as there. */
VRX_API int vrx_crpt_init_num_TZ(const uint8_t num_tz[VRX_NUM_TZ_SIZE], vrx_tz *out);

/**
 * Convert a TZ string to a numeric TZ.
 *
 * @param str     in: 128 characters 0 to 9 and A to F and a closing zero. Only the length is checked: any other
 *                character counts its code less 55, as if it were a capital letter.
 * @param num_tz  out: 64 bytes; untouched on failure.
 * @return VRX_OK, or VRX_ERR_UNKNOWN_TZ when the text is not 128 characters long (logged).
 */
VRX_API int vrx_crpt_TZ_str_to_num(const char *str, uint8_t num_tz[VRX_NUM_TZ_SIZE]);

/**
 * Deploy the table that a TZ string describes.
 *
 * @param str  in: as for vrx_crpt_TZ_str_to_num().
 * @param out  out: the table, as for vrx_crpt_deploy_TZ(); untouched on failure.
 * @return VRX_OK; VRX_ERR_UNKNOWN_TZ for a text of another length; VRX_ERR_BAD_PARAMS when out is NULL. Both are
 *         logged.
 */
VRX_API int vrx_crpt_init_new_TZ(const char *str, vrx_tz *out);

/**
 * Exchange the two nibbles of every byte of a numeric TZ, in place: converts between this library's order and the
 * opposite one, that of the DER encoding in RFC 4357. Doing it twice restores the bytes.
 *
 * @return VRX_OK, always.
 */
VRX_API int vrx_crpt_swap_num_TZ(uint8_t num_tz[VRX_NUM_TZ_SIZE]);

/** A cipher table by its index. @return record id of TZ_28147_89; NULL above 4 (logged). */
VRX_API const vrx_tz *TZ_by_id(uint32_t id);

/** A hash table by its index. @return record id of TZ_3411_94; NULL above 1 (logged). */
VRX_API const vrx_tz *hash_TZ_by_id(uint32_t id);

/** A cipher table by its name: "tz_test", "tz_a", "tz_b", "tz_c", "tz_d". @return NULL for NULL and for other texts (logged). */
VRX_API const vrx_tz *TZ_by_name(const char *name);

/** A hash table by its name: "tz_0", "tz_1". @return NULL for NULL and for other texts (logged). */
VRX_API const vrx_tz *hash_TZ_by_name(const char *name);

VRX_END_DECLS

#endif
