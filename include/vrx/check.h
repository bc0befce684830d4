/**
 * @file check.h  Checks of keys and signatures from someone else, with the rules of RFC 5832.
 *
 * ecSign(), ecVerify() and ecMakeKEK() do not check numbers. Before you verify a signature or agree on a key, check the
 * public key of the peer with vrx_check_public_key(). Before you use a private key that you stored, check it with
 * vrx_check_private_key(). Before you call ecVerify(), check the signature with vrx_check_signature().
 *
 * vrx_read_public_key() and vrx_read_private_key() check the keys that they read. In C++, vrx::PublicKey,
 * vrx::PrivateKey and vrx::verify() call these functions.
 *
 * Pointers may be NULL, and arguments may overlap. Arrays of digits must be aligned for uint32_t. The functions
 * allocate nothing. Any number of threads may call the functions. The functions log nothing themselves, but
 * ecCheckPublicKey() logs a point that is not on the curve.
 *
 * This header is not part of vrx.h, and the library does not export its functions: they are compiled into your program.
 */
#ifndef VRX_CHECK_H
#define VRX_CHECK_H

#include <stddef.h>

#include "vrx/bigdigits.h"
#include "vrx/frame.h"
#include "vrx/point.h"
#include "vrx/sign.h"

VRX_BEGIN_DECLS

/** @cond */
/**
 * Declassifies a fact about a secret, so that the program may branch on the fact. The fact is a number from 0 to 3. The
 * function reads a table at this position. A checker that follows secrets through memory reports this read, and treats
 * the result as public.
 */
#if defined(__cplusplus)
__attribute__((noinline)) inline unsigned vrx_public_fact(unsigned fact)
#else
__attribute__((noinline, unused)) static unsigned vrx_public_fact(unsigned fact)
#endif
{
    static const volatile unsigned char facts[4] = {0, 1, 2, 3};
    return facts[fact & 3];
}

/** Tests 0 < a < b in constant time. @return 1 or 0; this result is secret. */
VRX_INLINE unsigned vrx_is_positive_and_below(const uint32_t a[VRX_ECC_DIGITS], const uint32_t b[VRX_ECC_DIGITS]) {
    uint32_t borrow = 0, any = 0;
    for (unsigned i = 0; i < VRX_ECC_DIGITS; ++i) {
        /* The difference is negative if and only if the upper half of the result is not 0. */
        borrow = (uint32_t)(((uint64_t)a[i] - b[i] - borrow) >> 32) & 1;
        any |= a[i];
    }
    return borrow & ((any | (0U - any)) >> 31);
}

/** @endcond */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Check a public key: x < p, y < p, the point is on the curve, and it is not the point at infinity.
 *
 * @param set  in: the curve parameter set.
 * @param Q    in: the public key.
 * @return VRX_OK; VRX_ERR_FAILED if the key is not valid; VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_INLINE int vrx_check_public_key(const EcParamSet *set, const EcPoint *Q) {
    if (set == NULL || Q == NULL) return VRX_ERR_BAD_PARAMS;
    if (mpCompare(Q->x, set->p, VRX_ECC_DIGITS) >= 0 || mpCompare(Q->y, set->p, VRX_ECC_DIGITS) >= 0 || epIsZero(Q))
        return VRX_ERR_FAILED;
    return ecCheckPublicKey(set, Q);
}

/**
 * Check a private key: 0 < d < q. The running time does not depend on d.
 *
 * @param set  in: the curve parameter set.
 * @param d    in: the private key.
 * @return VRX_OK; VRX_ERR_FAILED if the key is not valid; VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_INLINE int vrx_check_private_key(const EcParamSet *set, const uint32_t d[VRX_ECC_DIGITS]) {
    if (set == NULL || d == NULL) return VRX_ERR_BAD_PARAMS;
    return vrx_public_fact(vrx_is_positive_and_below(d, set->q)) != 0 ? VRX_OK : VRX_ERR_FAILED;
}

/**
 * Check the range of a signature: 0 < r < q and 0 < s < q (RFC 5832, section 6.2, step 1). ecVerify() does not check
 * this range.
 *
 * @param set  in: the curve parameter set.
 * @param sig  in: the signature.
 * @return VRX_OK if the range is valid, which says nothing about the message; VRX_ERR_FAILED if the signature is not
 *         valid for any message; VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_INLINE int vrx_check_signature(const EcParamSet *set, const EcSignature *sig) {
    if (set == NULL || sig == NULL) return VRX_ERR_BAD_PARAMS;
    return vrx_is_positive_and_below(sig->r, set->q) != 0 && vrx_is_positive_and_below(sig->s, set->q) != 0
               ? VRX_OK
               : VRX_ERR_FAILED;
}

VRX_END_DECLS

#endif
