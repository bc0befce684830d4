/**
 * @file helpers.h  Functions that every C program needs: wipe secrets, compare in constant time, explain return codes.
 *
 * This header is not part of vrx.h, and the library does not export its functions: they are compiled into your program.
 * They log nothing and allocate nothing. Any number of threads may call them.
 *
 * The log of the library prints a return code as an unsigned hexadecimal number:
 *
 * | In the log | Code  | Name                    |
 * |------------|-------|-------------------------|
 * | 0xffffffff | -1    | VRX_ERR_FAILED          |
 * | 0xfffffffe | -2    | VRX_ERR_BAD_PARAMS      |
 * | 0xfffffffd | -3    | VRX_ERR_RANDOM          |
 * | 0xfffffffc | -4    | VRX_ERR_BUFFER_LENGTH   |
 * | 0xfffffffa | -6    | VRX_ERR_BLOCK_MULTIPLE  |
 * | 0xffffff68 | -152  | VRX_ERR_CONTEXT_STATE   |
 * | 0xfffffc18 | -1000 | VRX_ERR_UNKNOWN_TZ      |
 * | 0xfffffbb2 | -1102 | VRX_ERR_UNKNOWN_MODE    |
 * | 0xfffff447 | -3001 | VRX_ERR_UNSUPPORTED_OID |
 */
#ifndef VRX_HELPERS_H
#define VRX_HELPERS_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "vrx/frame.h"

VRX_BEGIN_DECLS

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Zero a secret. Compilers remove a memset() before the end of a function or before free(). They cannot remove this
 * call.
 *
 * @param secret  out: the bytes; may be NULL if size is 0.
 * @param size    in: the number of bytes.
 */
VRX_INLINE void vrx_wipe(void *secret, size_t size) {
    if (size == 0) return;
    memset(secret, 0, size);
    /* For the compiler, this statement may read the bytes, so the compiler must write them. */
    __asm__ volatile("" : : "r"(secret) : "memory");
}

/**
 * Compare two secrets, such as MACs, digests or keys, in constant time. The running time depends only on size.
 *
 * **Warning:** the function returns 1 if the bytes are EQUAL. memcmp() returns 0 in this case.
 *
 * @param a     in: the first bytes; may be NULL if size is 0.
 * @param b     in: the second bytes; may be NULL if size is 0.
 * @param size  in: the number of bytes in each of the two.
 * @return 1 if all bytes are equal, otherwise 0.
 */
VRX_INLINE int vrx_equal(const void *a, const void *b, size_t size) {
    const uint8_t *const x = (const uint8_t *)a;
    const uint8_t *const y = (const uint8_t *)b;
    unsigned differences = 0;
    for (size_t i = 0; i < size; ++i) {
        differences |= (unsigned)(x[i] ^ y[i]);
        /* The compiler cannot tell the value of the sum, so it cannot end the loop at the first difference. */
        __asm__("" : "+r"(differences));
    }
    return differences == 0;
}

/**
 * Get the name of a return code, such as "VRX_ERR_FAILED". In C++, vrx::name() does the same. vrx_key_error_name() also
 * knows the codes of key files.
 *
 * @param code  in: a return code of the library. The log prints a code as an unsigned hexadecimal number: convert that
 *              number to int.
 * @return the name of the constant; "VRX_ERR_?" if the library has no such code.
 */
VRX_INLINE const char *vrx_error_name(int code) {
    switch (code) {
        case VRX_OK:
            return "VRX_OK";
        case VRX_ERR_FAILED:
            return "VRX_ERR_FAILED";
        case VRX_ERR_BAD_PARAMS:
            return "VRX_ERR_BAD_PARAMS";
        case VRX_ERR_RANDOM:
            return "VRX_ERR_RANDOM";
        case VRX_ERR_BUFFER_LENGTH:
            return "VRX_ERR_BUFFER_LENGTH";
        case VRX_ERR_BLOCK_MULTIPLE:
            return "VRX_ERR_BLOCK_MULTIPLE";
        case VRX_ERR_CONTEXT_STATE:
            return "VRX_ERR_CONTEXT_STATE";
        case VRX_ERR_UNKNOWN_TZ:
            return "VRX_ERR_UNKNOWN_TZ";
        case VRX_ERR_UNKNOWN_MODE:
            return "VRX_ERR_UNKNOWN_MODE";
        case VRX_ERR_UNSUPPORTED_OID:
            return "VRX_ERR_UNSUPPORTED_OID";
        default:
            return "VRX_ERR_?";
    }
}

/**
 * Get the meaning of a return code in words, without a final full stop. In C++, vrx::text() does the same.
 * vrx_key_error_text() also knows the codes of key files.
 *
 * @param code  in: a return code of the library, as for vrx_error_name().
 * @return the meaning; "an unknown error" if the library has no such code.
 */
VRX_INLINE const char *vrx_strerror(int code) {
    switch (code) {
        case VRX_OK:
            return "success";
        case VRX_ERR_FAILED:
            return "the operation failed: nothing found, table not deployed, or invalid signature";
        case VRX_ERR_BAD_PARAMS:
            return "an argument is missing or not allowed";
        case VRX_ERR_RANDOM:
            return "the random source failed";
        case VRX_ERR_BUFFER_LENGTH:
            return "a buffer is empty, too small or of the wrong size";
        case VRX_ERR_BLOCK_MULTIPLE:
            return "the data is not a whole number of 8-byte blocks";
        case VRX_ERR_CONTEXT_STATE:
            return "the message is already finished or was never begun";
        case VRX_ERR_UNKNOWN_TZ:
            return "the S-box string is not 128 characters long";
        case VRX_ERR_UNKNOWN_MODE:
            return "the mode number is unknown";
        case VRX_ERR_UNSUPPORTED_OID:
            return "no hash parameter set has this object identifier";
        default:
            return "an unknown error";
    }
}

VRX_END_DECLS

#endif
