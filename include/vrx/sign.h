/**
 * @file sign.h  GOST R 34.10-2001 signatures and key pairs (RFC 5832).
 *
 * Private keys, public keys, digests and signatures are numbers here; octets.h has their octet forms. On a set whose
 * has_precomp is 1, multiples of the base point come from its table as by epMultPP(), and those of other points as by
 * epMultJ(); on any other set both come as by epMult().
 *
 * Functions that return an `int` check their pointers first, log a failure and leave their results untouched unless
 * said otherwise. The numbers are not checked: the ranges of keys and of signatures are the caller's business, and
 * ecCheckPublicKey() is for public keys from elsewhere. The general rules of curve.h apply.
 *
 * Secrets are wiped before return.
 *
 * Common arguments:
 * - digest  in: the 32 bytes of the hash, as they lie in memory.
 * - rnd  in: a source of random bytes, see RND_FUNC.
 * - q  in: a number of nine digits, above 0.
 */
#ifndef VRX_SIGN_H
#define VRX_SIGN_H

#include "vrx/curve.h"

VRX_BEGIN_DECLS

#define VRX_ECC_DIGEST_WORDS 8 /**< digits in a digest */
#define VRX_RND_SIZE 36        /**< bytes that a random source is asked for */

/** A signature. */
typedef struct EcSignature {
    uint32_t r[VRX_ECC_DIGITS]; /**< x(kG) mod q */
    uint32_t s[VRX_ECC_DIGITS]; /**< (r d + k e) mod q */
} EcSignature;

/**
 * A source of random bytes, the caller's own: fills `length` bytes at `buffer`, of any alignment, and returns 0; any
 * other value is a failure. It has to be good enough for keys, and safe to call from several threads where the caller
 * signs in several.
 */
typedef int (*RND_FUNC)(void *buffer, uint32_t length);

/**
 * Sign a digest: r = x(k G) mod q and s = (r d + k e) mod q, with a random k from 1 to q - 1 drawn by Getbig_RND().
 *
 * @param digest  in: the 32 bytes of the hash, as they lie in memory. Its number modulo q is e, 0 replaced by 1.
 * @param rnd     in: not checked. A k of 0 is drawn again, as often as it comes.
 * @param d       in: private key.
 * @param sig     out: r or s may be 0; the signature is then returned as it is. The case does not come up in practice.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS when set, digest, d or sig is NULL; VRX_ERR_RANDOM when the random source fails.
 */
VRX_API int ecSign(const EcParamSet *set, const uint32_t digest[VRX_ECC_DIGEST_WORDS], RND_FUNC rnd,
                   const uint32_t d[VRX_ECC_DIGITS], EcSignature *sig);

/**
 * Verify a signature over a digest.
 *
 * @param Q    in: public key. Its points and the signature are public: running times depend on them.
 * @param sig  in: no range is checked. r = 0 and r >= q always fail; s counts modulo q.
 * @return VRX_OK when the signature is right; VRX_ERR_FAILED when it is wrong; VRX_ERR_BAD_PARAMS when a pointer is
 *         NULL.
 */
VRX_API int ecVerify(const EcParamSet *set, const uint32_t digest[VRX_ECC_DIGEST_WORDS], const EcPoint *Q,
                     const EcSignature *sig);

/**
 * Make a key pair. A private key of 0 is drawn again, as often as it comes.
 *
 * @param rnd  in: not checked.
 * @param d    out: private key, from 1 to q - 1.
 * @param Q    out: public key d G.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS when set, d or Q is NULL; VRX_ERR_RANDOM when the random source fails: Q is then
 *         untouched, and d too unless a 0 was drawn before; otherwise as ecCheckPublicKey() with Q.
 */
VRX_API int ecGenerateKeyPair(const EcParamSet *set, RND_FUNC rnd, uint32_t d[VRX_ECC_DIGITS], EcPoint *Q);

/**
 * The public key Q = d G of a private key.
 *
 * @return VRX_OK; VRX_ERR_BAD_PARAMS when a pointer is NULL; otherwise as ecCheckPublicKey() with Q, which has been
 *         written: d = 0 modulo q gives VRX_ERR_FAILED.
 */
VRX_API int ecGeneratePublicKey(const EcParamSet *set, const uint32_t d[VRX_ECC_DIGITS], EcPoint *Q);

/**
 * Check that a point is on the curve: y^2 = (x^2 + a) x + b modulo p. Nothing else is checked: the coordinates may be p
 * or more.
 *
 * @return VRX_OK; VRX_ERR_FAILED when it is not; VRX_ERR_BAD_PARAMS when a pointer is NULL.
 */
VRX_API int ecCheckPublicKey(const EcParamSet *set, const EcPoint *Q);

/**
 * A random number below q, 0 included: 36 random bytes, read as a signed number of nine digits, its absolute value
 * reduced modulo q. No pointer is checked.
 *
 * @param out  out: untouched on failure.
 * @return 0, or -1 when the random source fails (logged).
 */
VRX_API int Getbig_RND(RND_FUNC rnd, uint32_t out[VRX_ECC_DIGITS], const uint32_t q[VRX_ECC_DIGITS]);

/**
 * A random source for tests, an RND_FUNC: whole words from spSimpleRand(). NEVER make keys or signatures with it.
 *
 * @param buffer  out: length bytes.
 * @param length  in: bytes; the last one to three of a length that is no multiple of 4 are left as they are.
 * @return 0.
 */
VRX_API int test_rnd(void *buffer, uint32_t length);

VRX_END_DECLS

#endif
