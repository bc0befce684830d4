/**
 * @file agree.h  Key agreement VKO GOST R 34.10-2001, and CryptoPro key diversification.
 *
 * A result may not overlap another argument, unless a function says otherwise. The functions allocate nothing and wipe
 * secret temporaries on the stack. Any number of threads may share a set as long as no thread changes it.
 *
 * Source: RFC 4357, sections 5.2 and 6.5.
 */
#ifndef VRX_AGREE_H
#define VRX_AGREE_H

#include "vrx/curve.h"
#include "vrx/frame.h"
#include "vrx/tz.h"

VRX_BEGIN_DECLS

#define VRX_UKM_SIZE 8  /**< bytes of user keying material (UKM) */
#define VRX_KEK_SIZE 32 /**< bytes in a key-encryption key (KEK) */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Agree on a key (VKO). Both sides derive the same key: each from its own private key and the peer's public key.
 *
 * The key is the hash of 64 octets: the coordinates x and y of the point (u d mod q) Q, each with the least significant
 * octet first. The number u is the UKM, whose first byte is the least significant one.
 *
 * **Warning:** the function does not check the peer's public key. Before you agree on a key with a peer, check that x <
 * p and y < p and call ecCheckPublicKey(). Otherwise the peer can choose a point that reveals your private key.
 *
 * **Warning:** with a changed or custom set, the running time depends on the private key.
 *
 * @param set       in: the curve parameter set of both keys.
 * @param hash_oid  in: DER identifier of a built-in hash parameter set, normally CryptoPro (VRX_PAR_HASH_1_OID). The
 *                  record may not be NULL: the function does not check it. It checks the other pointers before it reads
 *                  the record.
 * @param ukm       in: 8 public bytes, not all zero. Use a new value for each agreement.
 * @param d         in: your private key.
 * @param Q         in: the peer's public key.
 * @param kek       out: the key, 32 bytes; unchanged on failure.
 * @return VRX_OK; VRX_ERR_FAILED (not VRX_ERR_BAD_PARAMS) if set, ukm, d, Q or kek is NULL or the UKM is all zero
 *         (logged); otherwise the code of GOSTR3411_Transform(), which logs: VRX_ERR_BAD_PARAMS for an empty
 *         identifier, VRX_ERR_UNSUPPORTED_OID for an unknown one.
 *
 * If u d = 0 modulo q, the key is the hash of 64 zero octets, which represent the point at infinity.
 */
VRX_API int ecMakeKEK(const EcParamSet *set, const vrx_data *hash_oid, const uint8_t ukm[VRX_UKM_SIZE],
                      const uint32_t d[VRX_ECC_DIGITS], const EcPoint *Q, uint8_t kek[VRX_KEK_SIZE]);

/**
 * Diversify a key (CryptoPro). The function performs eight rounds. Each round encrypts the key with itself in cipher
 * feedback mode. The IV of a round consists of two sums of key words; one byte of the UKM determines which key word
 * belongs to which sum.
 *
 * @param tz   in: a deployed table. If it is NULL or not deployed, the call fails.
 * @param key  in-out: the key, 32 bytes. After a failure, key holds the result of the rounds before the failure.
 * @param ukm  in: 8 bytes, any.
 * @return VRX_OK, or the code of VRX_Gost_GFB_m() (logged).
 */
VRX_API int ecDiversifyKEK(const vrx_tz *tz, uint8_t key[VRX_KEK_SIZE], const uint8_t ukm[VRX_UKM_SIZE]);

VRX_END_DECLS

#endif
