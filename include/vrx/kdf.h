/**
 * @file kdf.h  Keys from passwords, with GOST R 34.11-94.
 *
 * Pointers may not be NULL, unless said otherwise. Buffers may lie at any address. What fails is a function underneath;
 * it writes its line, then the function of this header writes "name returned 0x...", without a line end.
 *
 * Common arguments:
 * - password_len, salt_len, oid_len, out_len  in: bytes in password, salt, oid, out.
 *
 * Threads: no shared state but DEFAULT_GOSTR3411_OID, which is read without synchronisation.
 */
#ifndef VRX_KDF_H
#define VRX_KDF_H

#include <stdint.h>

#include "vrx/hmac.h"

VRX_BEGIN_DECLS

#define VRX_PBKDF2_SIZE 32 /**< bytes that GOSTR3411_PKCS5_PBKDF2() writes */

/**
 * PBKDF2 (RFC 8018) with HMAC GOST R 34.11-94: the first block of its output. A caller who needs more than 32 bytes
 * calls again with another salt.
 *
 * @param password    in: password_len bytes, the key of the HMAC; may be NULL when password_len is 0.
 * @param salt        in: salt_len bytes, at least one. Only the low 32 bits of salt_len count.
 * @param iterations  in: 0 counts as 1.
 * @param oid         in: DER identifier of oid_len bytes of a built-in parameter set, or NULL for
 *                    DEFAULT_GOSTR3411_OID.
 * @param out         out: exactly 32 bytes are written, whatever out_len is; none on failure.
 * @param out_len     in: capacity of out, at least 32.
 * @return VRX_OK; VRX_ERR_FAILED when out_len is below 32 (a whole line in the log) or the identifier is not known;
 *         VRX_ERR_BAD_PARAMS when the parameter set's table or the salt is NULL, salt_len is 0, or the password is NULL
 *         and password_len above 32.
 *
 * Allocates nothing.
 */
VRX_API int GOSTR3411_PKCS5_PBKDF2(const uint8_t *password, uint32_t password_len, const uint8_t *salt,
                                   uint64_t salt_len, uint64_t iterations, const uint8_t *oid, uint32_t oid_len,
                                   uint8_t *out, uint64_t out_len);

/**
 * The key derivation of PKCS #12 (RFC 7292, appendix B; u = v = 32) with the parameter set DEFAULT_GOSTR3411_OID.
 *
 * Outputs of up to 32 bytes are those of the RFC. Longer ones are not: the hash of a further block goes on from where
 * that of the block before it ended.
 *
 * @param password    in: password_len bytes, as PKCS #12 wants it (a BMPString with its two zero bytes).
 * @param salt        in: salt_len bytes. Negative lengths count as 0, but one of the two must be above 0; where a
 *                    length is 0 the pointer may be NULL.
 * @param iterations  in: 0 counts as 1.
 * @param id          in: the diversifier, of which the low 8 bits count: 1 key, 2 initialisation vector, 3 MAC key.
 * @param oid         in: not read. It should not be NULL: a NULL identifier is looked up like any other, so the call
 *                    fails.
 * @param out         out: out_len bytes; none when out_len is below 1. It may overlap the inputs.
 * @return VRX_OK; VRX_ERR_FAILED when oid is NULL (with an oid_len other than 9) or memory is short (not logged);
 *         VRX_ERR_BAD_PARAMS when the parameter set's table is NULL, or salt and password are both empty.
 *
 * Allocates a buffer for salt and password, wipes and frees it.
 */
VRX_API int GOSTR3411_PBA_Derive(const uint8_t *password, int32_t password_len, const uint8_t *salt, int32_t salt_len,
                                 uint64_t iterations, int32_t id, const uint8_t *oid, uint32_t oid_len, uint8_t *out,
                                 int32_t out_len);

VRX_END_DECLS

#endif
