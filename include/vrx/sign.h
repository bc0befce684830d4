/**
 * @file sign.h  GOST R 34.10-2001 signatures and key pairs (RFC 5832).
 *
 * Private keys, public keys, digests and signatures are numbers of 32-bit digits here, least significant digit first.
 * To convert stored keys and signatures, call ecLoadPrivateKeyValue(), ecLoadPublicKeyValue(), ecLoadSignValue() and
 * their counterparts. To convert a digest, copy its 32 octets: `memcpy(words, digest, 32)`.
 *
 * The functions check their pointers first. Unless they say otherwise, they log a failure and leave their results
 * unchanged.
 *
 * **Warning:** the functions do not check numbers. Make sure that 0 < d < q for a private key before you sign with it.
 * For a public key from someone else, make sure that x < p and y < p, and call ecCheckPublicKey(). For a signature, see
 * ecVerify(). vrx_check_private_key(), vrx_check_public_key() and vrx_check_signature() make these checks.
 *
 * **Warning:** with the unchanged built-in sets, signing and key generation take the same time for every private key
 * and nonce. With a changed or custom set, the time depends on the private key and the nonce.
 *
 * If the set's has_precomp is 1, the functions compute multiples of the base point as epMultPP() does, and multiples of
 * other points as epMultJ() does. Otherwise they compute all multiples as epMult() does.
 *
 * A result may not overlap another argument. Arrays of digits must be aligned for uint32_t. The functions allocate
 * nothing and wipe secret temporaries on the stack. Any number of threads may share a set as long as no thread changes
 * it.
 */
#ifndef VRX_SIGN_H
#define VRX_SIGN_H

#include "vrx/curve.h"

VRX_BEGIN_DECLS

#define VRX_ECC_DIGEST_WORDS 8 /**< digits in a digest */
#define VRX_RND_SIZE 36        /**< bytes that the library requests from a random source at once */

/** A signature. */
typedef struct EcSignature {
    uint32_t r[VRX_ECC_DIGITS]; /**< r = x(k G) mod q */
    uint32_t s[VRX_ECC_DIGITS]; /**< s = (r d + k e) mod q */
} EcSignature;

/**
 * A random source, supplied by the caller. It fills `length` bytes at `buffer`, which may have any alignment, and
 * returns 0. Any other return value means failure.
 *
 * **Warning:** the source must be good enough for keys: anyone who can predict the nonce of one signature can compute
 * the private key. Use vrx_system_random() of <vrx/random.h>. If several threads sign, the source must be thread-safe.
 */
typedef int (*RND_FUNC)(void *buffer, uint32_t length);

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Sign a digest: r = x(k G) mod q and s = (r d + k e) mod q. Getbig_RND() draws the random nonce k from 1 to q - 1.
 *
 * Hash the message with the hash parameter set that the verifier will use, normally CryptoPro (1.2.643.2.2.30.1).
 *
 * @param set     in: the curve parameter set.
 * @param digest  in: the 32 octets of the digest, copied into eight words. e is the digest as a number modulo q, or 1
 *                if that number is 0.
 * @param rnd     in: the random source; may not be NULL. If the nonce is 0, the function draws again, without limit. A
 *                source that returns only zeros makes the function loop forever.
 * @param d       in: the private key.
 * @param sig     out: the signature. r or s may be 0, which does not happen in practice.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if set, digest, d or sig is NULL; VRX_ERR_RANDOM if the random source fails.
 */
VRX_API int ecSign(const EcParamSet *set, const uint32_t digest[VRX_ECC_DIGEST_WORDS], RND_FUNC rnd,
                   const uint32_t d[VRX_ECC_DIGITS], EcSignature *sig);

/**
 * Verify a signature over a digest.
 *
 * **Warning:** the function returns 0 (VRX_OK) if the signature is VALID, and a non-zero value if it is not. Compare
 * with VRX_OK: `if (ecVerify(...))` is true for an INVALID signature.
 *
 * **Warning:** the function accepts more than one signature for the same digest: s is used modulo q, so s and s + q
 * both verify. In the stored form of 256 bits, almost every s has a second form with the sets Test and B, and about two
 * thirds of all s have one with C and XchB. If signatures must be unique, check 0 < r < q and 0 < s < q first (RFC
 * 5832, section 6.2, step 1).
 *
 * **Warning:** hash the message with the hash parameter set of the signature. The parameters of the public key name
 * this set (RFC 4491, section 2.3.2); normally it is CryptoPro (1.2.643.2.2.30.1). With another set, every signature is
 * invalid.
 *
 * The running time depends on the signature and the public key, which are not secret.
 *
 * @param set     in: the curve parameter set of the public key.
 * @param digest  in: the 32 octets of the digest, copied into eight words: `memcpy(words, digest, 32)`.
 * @param Q       in: the public key.
 * @param sig     in: the signature. A signature with r = 0 or r >= q is invalid.
 * @return VRX_OK if the signature is valid; VRX_ERR_FAILED if it is invalid; VRX_ERR_BAD_PARAMS if a pointer is NULL.
 */
VRX_API int ecVerify(const EcParamSet *set, const uint32_t digest[VRX_ECC_DIGEST_WORDS], const EcPoint *Q,
                     const EcSignature *sig);

/**
 * Generate a key pair. If the random number is 0, the function draws again, without limit.
 *
 * @param set  in: the curve parameter set.
 * @param rnd  in: the random source; may not be NULL.
 * @param d    out: the private key, from 1 to q - 1.
 * @param Q    out: the public key d G.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if set, d or Q is NULL; VRX_ERR_RANDOM if the random source fails; VRX_ERR_FAILED
 *         if the computed point is not on the curve, which happens only with a malformed set. If the random source
 *         fails, Q is unchanged. If it fails at the first call, d is also unchanged. The function calls it again only
 *         after a random number was 0; if it fails then, d is 0.
 */
VRX_API int ecGenerateKeyPair(const EcParamSet *set, RND_FUNC rnd, uint32_t d[VRX_ECC_DIGITS], EcPoint *Q);

/**
 * Compute the public key that belongs to a private key: Q = d G.
 *
 * @param set  in: the curve parameter set.
 * @param d    in: the private key.
 * @param Q    out: the public key; written even if the function returns VRX_ERR_FAILED.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL; VRX_ERR_FAILED if Q is not on the curve, for example if d =
 *         0 modulo q.
 */
VRX_API int ecGeneratePublicKey(const EcParamSet *set, const uint32_t d[VRX_ECC_DIGITS], EcPoint *Q);

/**
 * Check that a point is on the curve: y^2 = (x^2 + a) x + b modulo p.
 *
 * **Warning:** the function accepts coordinates greater than or equal to p. Check x < p and y < p yourself.
 *
 * @param set  in: the curve parameter set.
 * @param Q    in: the public key.
 * @return VRX_OK; VRX_ERR_FAILED if the point is not on the curve; VRX_ERR_BAD_PARAMS if a pointer is NULL. The log
 *         line for a NULL pointer contains the name ecCheckPuKey.
 */
VRX_API int ecCheckPublicKey(const EcParamSet *set, const EcPoint *Q);

/* ---- Building blocks --------------------------------------------------------------------------------------------- */

/**
 * Draw a random number from 0 to q - 1: request 36 random bytes, read them as a signed number of nine digits, and
 * reduce its absolute value modulo q. The function checks no pointers.
 *
 * @param rnd  in: the random source.
 * @param out  out: the number, nine digits; unchanged on failure.
 * @param q    in: the bound, nine digits, above 0.
 * @return 0, or -1 if the random source fails (logged).
 */
VRX_API int Getbig_RND(RND_FUNC rnd, uint32_t out[VRX_ECC_DIGITS], const uint32_t q[VRX_ECC_DIGITS]);

/**
 * Fill a buffer with predictable numbers: an RND_FUNC for tests, based on spSimpleRand().
 *
 * **Warning:** never generate keys or signatures with this source. Anyone can predict its output.
 *
 * @param buffer  out: the bytes. If length is not a multiple of 4, the last one to three bytes are unchanged.
 * @param length  in: bytes in buffer.
 * @return always 0.
 */
VRX_API int test_rnd(void *buffer, uint32_t length);

VRX_END_DECLS

#endif
