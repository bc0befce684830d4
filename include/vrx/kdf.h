/**
 * @file kdf.h  Keys from passwords, with GOST R 34.11-94.
 *
 * Pointers may not be NULL unless a function says otherwise. Buffers may lie at any address. Errors come from the
 * functions that these functions call. The called function logs its line first; then the function of this header adds
 * "name returned 0x..." without a newline.
 *
 * **Warning:** an attacker who obtains the output or a ciphertext can test password guesses. Use a random salt of at
 * least 8 bytes, and as many iterations as your users can wait for: more iterations make each guess slower.
 *
 * Threads: no shared state except DEFAULT_GOSTR3411_OID, which is read without synchronization.
 */
#ifndef VRX_KDF_H
#define VRX_KDF_H

#include <stdint.h>

#include "vrx/hmac.h"

VRX_BEGIN_DECLS

#define VRX_PBKDF2_SIZE 32 /**< bytes that GOSTR3411_PKCS5_PBKDF2() writes */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Derive 32 bytes from a password by PBKDF2 (RFC 8018) with HMAC GOST R 34.11-94. The 32 bytes are the first block of
 * the output of PBKDF2. For more bytes, call the function again with another salt.
 *
 * @param password      in: the password, which is the key of the HMAC; may be NULL if password_len is 0.
 * @param password_len  in: bytes in password.
 * @param salt          in: the salt.
 * @param salt_len      in: bytes in salt, at least one. Only the low 32 bits of this number are used.
 * @param iterations    in: number of iterations; 0 is treated as 1.
 * @param oid           in: DER identifier of a built-in parameter set, or NULL for DEFAULT_GOSTR3411_OID.
 * @param oid_len       in: bytes in oid.
 * @param out           out: 32 bytes, whatever out_len is; unchanged on failure.
 * @param out_len       in: capacity of out, at least 32.
 * @return VRX_OK; VRX_ERR_FAILED if out_len is below 32 (the log line then ends with a newline) or the identifier is
 *         unknown; VRX_ERR_BAD_PARAMS if the parameter set's table or the salt is NULL, salt_len is 0, or the password
 *         is NULL and password_len is above 32.
 *
 * The function allocates nothing.
 */
VRX_API int GOSTR3411_PKCS5_PBKDF2(const uint8_t *password, uint32_t password_len, const uint8_t *salt,
                                   uint64_t salt_len, uint64_t iterations, const uint8_t *oid, uint32_t oid_len,
                                   uint8_t *out, uint64_t out_len);

/* ---- Older names ------------------------------------------------------------------------------------------------- */

/**
 * Derive bytes from a password as PKCS #12 does (RFC 7292, appendix B; u = v = 32), with the parameter set
 * DEFAULT_GOSTR3411_OID.
 *
 * **Warning:** only outputs of up to 32 bytes agree with the RFC. For longer outputs, this function does not restart
 * the hash for each further block, so its output differs from that of other implementations.
 *
 * @param password      in: the password, encoded as PKCS #12 requires: a BMPString with two zero bytes at its end. May
 *                      be NULL if password_len is below 1.
 * @param password_len  in: bytes in password; a negative value is treated as 0. password_len or salt_len must be above
 *                      0.
 * @param salt          in: the salt; may be NULL if salt_len is below 1.
 * @param salt_len      in: bytes in salt; a negative value is treated as 0.
 * @param iterations    in: number of iterations; 0 is treated as 1.
 * @param id            in: purpose of the bytes: 1 key, 2 IV, 3 MAC key. Only the low 8 bits are used.
 * @param oid           in: any non-NULL pointer; it is not read. If oid is NULL, the call fails. If oid is NULL and
 *                      oid_len is 9, the behaviour is undefined.
 * @param oid_len       in: not used unless oid is NULL.
 * @param out           out: out_len bytes; may overlap the inputs.
 * @param out_len       in: bytes to write. If it is below 1, nothing is written, but the function still makes the other
 *                      checks first.
 * @return VRX_OK; VRX_ERR_FAILED if oid is NULL, or memory is exhausted (not logged); VRX_ERR_BAD_PARAMS if the
 *         parameter set's table is NULL, or salt and password are both empty and out_len is at least 1.
 *
 * The function allocates a buffer for salt and password. It wipes and frees the buffer before it returns.
 */
VRX_API int GOSTR3411_PBA_Derive(const uint8_t *password, int32_t password_len, const uint8_t *salt, int32_t salt_len,
                                 uint64_t iterations, int32_t id, const uint8_t *oid, uint32_t oid_len, uint8_t *out,
                                 int32_t out_len);

VRX_END_DECLS

#endif
