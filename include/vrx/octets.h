/**
 * @file octets.h  Keys and signatures as the octets that are stored and exchanged (RFC 4491).
 *
 * | Format      | Octets                                                                            |
 * |-------------|-----------------------------------------------------------------------------------|
 * | private key | d, least significant octet first                                                  |
 * | public key  | x, least significant octet first; then y, least significant octet first           |
 * | signature   | s, MOST significant octet first; then r, MOST significant octet first             |
 *
 * Each number takes 32 octets. Functions that write octets ignore the ninth digit; functions that read octets set it to
 * 0.
 *
 * **Warning:** the functions do not check values. After you load a private key, check 0 < d < q. After you load a
 * public key, check x < p and y < p and call ecCheckPublicKey(). vrx_check_private_key() and vrx_check_public_key() make
 * these checks.
 *
 * If a pointer is NULL, the functions log the failure and leave the result unchanged. Octets may lie at any address;
 * numbers must be aligned for uint32_t. The functions allocate nothing. Any number of threads may call them.
 */
#ifndef VRX_OCTETS_H
#define VRX_OCTETS_H

#include "vrx/sign.h"

VRX_BEGIN_DECLS

#define VRX_PRIVATE_KEY_SIZE 32 /**< octets in a private key */
#define VRX_PUBLIC_KEY_SIZE 64  /**< octets in a public key */
#define VRX_SIGNATURE_SIZE 64   /**< octets in a signature */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Load a private key from its stored form.
 *
 * @param octets  in: the stored form, 32 octets.
 * @param d       out: the private key, nine digits.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int ecLoadPrivateKeyValue(const uint8_t octets[VRX_PRIVATE_KEY_SIZE], uint32_t d[VRX_ECC_DIGITS]);

/**
 * Write a private key in its stored form.
 *
 * @param d       in: the private key, nine digits.
 * @param octets  out: the stored form, 32 octets.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int ecUnloadPrivateKeyValue(const uint32_t d[VRX_ECC_DIGITS], uint8_t octets[VRX_PRIVATE_KEY_SIZE]);

/**
 * Load a public key from its stored form.
 *
 * @param octets  in: the stored form, 64 octets.
 * @param Q       out: the public key.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int ecLoadPublicKeyValue(const uint8_t octets[VRX_PUBLIC_KEY_SIZE], EcPoint *Q);

/**
 * Write a public key in its stored form.
 *
 * @param Q       in: the public key.
 * @param octets  out: the stored form, 64 octets.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int ecUnloadPublicKeyValue(const EcPoint *Q, uint8_t octets[VRX_PUBLIC_KEY_SIZE]);

/**
 * Load a signature from its stored form.
 *
 * @param octets  in: the stored form, 64 octets.
 * @param sig     out: the signature.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int ecLoadSignValue(const uint8_t octets[VRX_SIGNATURE_SIZE], EcSignature *sig);

/**
 * Write a signature in its stored form.
 *
 * @param sig     in: the signature.
 * @param octets  out: the stored form, 64 octets.
 * @return VRX_OK, or VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int ecUnloadSignValue(const EcSignature *sig, uint8_t octets[VRX_SIGNATURE_SIZE]);

VRX_END_DECLS

#endif
