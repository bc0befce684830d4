/**
 * @file octets.h  Keys and signatures as the octets that are stored and exchanged (RFC 4491).
 *
 * | Format      | Octets                                                                            |
 * |-------------|-----------------------------------------------------------------------------------|
 * | private key | d, least significant octet first                                                  |
 * | public key  | x, least significant octet first; then y, likewise                                |
 * | signature   | s, MOST significant octet first; then r, likewise                                 |
 *
 * Each number takes 32 octets. Its ninth digit is ignored when it is written, and 0 when it is read. Values are not
 * checked, neither for their range nor for the curve.
 *
 * Common arguments:
 * - octets  in: the stored form; out: the stored form.
 * - d  in: private key; out: private key.
 * - Q  in: public key; out: public key.
 * - sig  in: signature; out: signature.
 * - return  VRX_OK, or VRX_ERR_BAD_PARAMS when a pointer is NULL (logged).
 *
 * All functions return VRX_OK, or VRX_ERR_BAD_PARAMS when a pointer is NULL (logged; the result is then untouched).
 * Octets may lie at any address. The general rules of curve.h apply.
 */
#ifndef VRX_OCTETS_H
#define VRX_OCTETS_H

#include "vrx/sign.h"

VRX_BEGIN_DECLS

#define VRX_PRIVATE_KEY_SIZE 32 /**< octets in a private key */
#define VRX_PUBLIC_KEY_SIZE 64  /**< octets in a public key */
#define VRX_SIGNATURE_SIZE 64   /**< octets in a signature */

/** Private key d from octets. */
VRX_API int ecLoadPrivateKeyValue(const uint8_t octets[VRX_PRIVATE_KEY_SIZE], uint32_t d[VRX_ECC_DIGITS]);

/** Private key d to octets. */
VRX_API int ecUnloadPrivateKeyValue(const uint32_t d[VRX_ECC_DIGITS], uint8_t octets[VRX_PRIVATE_KEY_SIZE]);

/** Public key Q from octets. */
VRX_API int ecLoadPublicKeyValue(const uint8_t octets[VRX_PUBLIC_KEY_SIZE], EcPoint *Q);

/** Public key Q to octets. */
VRX_API int ecUnloadPublicKeyValue(const EcPoint *Q, uint8_t octets[VRX_PUBLIC_KEY_SIZE]);

/** Signature from octets. */
VRX_API int ecLoadSignValue(const uint8_t octets[VRX_SIGNATURE_SIZE], EcSignature *sig);

/** Signature to octets. */
VRX_API int ecUnloadSignValue(const EcSignature *sig, uint8_t octets[VRX_SIGNATURE_SIZE]);

VRX_END_DECLS

#endif
