/**
 * @file agree.h  Key agreement VKO GOST R 34.10-2001 and CryptoPro key diversification (RFC 4357, sections 5.2, 6.5).
 *
 * The general rules of curve.h apply. Secrets are wiped before return.
 */
#ifndef VRX_AGREE_H
#define VRX_AGREE_H

#include "vrx/curve.h"
#include "vrx/frame.h"
#include "vrx/tz.h"

VRX_BEGIN_DECLS

#define VRX_UKM_SIZE 8  /**< bytes of user keying material */
#define VRX_KEK_SIZE 32 /**< bytes in a key-encryption key */

/**
 * Agree on a key: the hash of the 64 octets (x, then y, least significant byte first) of the point (u d mod q) Q, where
 * u is the number of the UKM, first byte least significant. Both parties come to the same key.
 *
 * @param hash_oid  in: DER identifier of a hash parameter set, as for GOSTR3411_Transform(). The record is not checked.
 * @param ukm       in: not all zero.
 * @param d         in: own private key.
 * @param Q         in: the other side's public key. Check it with ecCheckPublicKey() first.
 * @param kek       out: untouched on failure.
 * @return VRX_OK; VRX_ERR_FAILED (not VRX_ERR_BAD_PARAMS) when set, ukm, d, Q or kek is NULL or all of ukm is zero
 *         (logged); otherwise the code of GOSTR3411_Transform(), which logs its own failures.
 *
 * u d = 0 modulo q gives the key of the point at infinity, 64 zero octets.
 */
VRX_API int ecMakeKEK(const EcParamSet *set, const vrx_data *hash_oid, const uint8_t ukm[VRX_UKM_SIZE],
                      const uint32_t d[VRX_ECC_DIGITS], const EcPoint *Q, uint8_t kek[VRX_KEK_SIZE]);

/**
 * Diversify a key, in eight rounds: each encrypts the key with itself in cipher feedback, the IV made of sums of the
 * key's words by the bits of one UKM byte.
 *
 * @param ukm  in: 8 bytes, any.
 * @param tz   in: a deployed table. May be NULL or not deployed: the cipher then refuses it.
 * @param key  in-out: the key, as it lies in memory. A failure leaves it after the rounds done so far.
 * @return VRX_OK, or the code of VRX_Gost_GFB_m() (logged).
 */
VRX_API int ecDiversifyKEK(const vrx_tz *tz, uint8_t key[VRX_KEK_SIZE], const uint8_t ukm[VRX_UKM_SIZE]);

VRX_END_DECLS

#endif
