/**
 * @file hedged.h  Signatures with hedged nonces, which do not depend on the random source alone.
 *
 * One known nonce, or two signatures with the same nonce, reveal the private key. ecSign() repeats a nonce if its
 * random source repeats its output, for example after a virtual machine is restored from a snapshot. Here the nonce is
 * derived from the private key, the digest and fresh random bytes, as in RFC 6979 with additional data (section 3.6)
 * and HMAC GOST R 34.11-94. If the random source is good or the private key is secret, the nonce is secret and differs
 * between digests. Any number of threads may sign: each thread has its own generator.
 *
 * This header is not part of vrx.h, and the library does not export its functions: they are compiled into your program.
 */
#ifndef VRX_HEDGED_H
#define VRX_HEDGED_H

#include <string.h>

#include "vrx/bigdigits.h"
#include "vrx/hmac.h"
#include "vrx/params.h"
#include "vrx/random.h"
#include "vrx/sign.h"

VRX_BEGIN_DECLS

/** @cond */
/** For vrx_hedged_sign(): the generator of RFC 6979, section 3.2. */
typedef struct vrx_hedge {
    uint8_t key[VRX_HMAC_SIZE];
    uint8_t value[VRX_HMAC_SIZE];
} vrx_hedge;

/**
 * For vrx_hedged_sign(): the generator of this thread. It is a global variable, because an RND_FUNC has no argument for
 * a generator.
 */
VRX_RANDOM_INLINE vrx_hedge *vrx_hedge_of_thread(void) {
#if defined(__cplusplus)
    static thread_local vrx_hedge state;
#else
    static _Thread_local vrx_hedge state;
#endif
    return &state;
}

/** For vrx_hedged_sign(): zero a secret. */
VRX_RANDOM_INLINE void vrx_hedge_wipe(void *secret, size_t size) {
    memset(secret, 0, size);
    __asm__ volatile("" : : "r"(secret) : "memory");
}

/** For vrx_hedged_sign(): out = HMAC(key, data); out may be a part of key or data. @return 0, or a code. */
VRX_RANDOM_INLINE int vrx_hedge_mac(const uint8_t key[VRX_HMAC_SIZE], const uint8_t *data, size_t size,
                                    uint8_t out[VRX_HMAC_SIZE]) {
    uint8_t mac[VRX_HMAC_SIZE];
    uint32_t mac_size = 0;
    const int rc =
        GOSTR3411_HMAC(VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE, data, (uint32_t)size, key, VRX_HMAC_SIZE, mac, &mac_size);
    if (rc == VRX_OK) memcpy(out, mac, sizeof mac);
    vrx_hedge_wipe(mac, sizeof mac);
    return rc;
}

/** For vrx_hedged_sign(): K = HMAC(K, V || tag || more), V = HMAC(K, V). @return 0, or a code. */
VRX_RANDOM_INLINE int vrx_hedge_update(vrx_hedge *state, uint8_t tag, const uint8_t *more, size_t size) {
    uint8_t data[VRX_HMAC_SIZE + 1 + 256];
    int rc;
    memcpy(data, state->value, sizeof state->value);
    data[sizeof state->value] = tag;
    if (size != 0) memcpy(data + sizeof state->value + 1, more, size);
    rc = vrx_hedge_mac(state->key, data, sizeof state->value + 1 + size, state->key);
    if (rc == VRX_OK) rc = vrx_hedge_mac(state->key, state->value, sizeof state->value, state->value);
    vrx_hedge_wipe(data, sizeof data);
    return rc;
}

/**
 * For vrx_hedged_sign(): its RND_FUNC. Returns bytes of the generator, masked with fresh random bytes. The hash reads
 * its tables at addresses that depend on the hashed bytes. Because the nonce contains the fresh random bytes, these
 * addresses reveal nothing about the nonce.
 */
VRX_RANDOM_INLINE int vrx_hedged_random(void *buffer, uint32_t length) {
    vrx_hedge *const state = vrx_hedge_of_thread();
    uint8_t *const bytes = (uint8_t *)buffer;
    if (vrx_system_random(buffer, length) != 0) return -1;
    for (uint32_t done = 0; done < length; ++done) {
        if (done % VRX_HMAC_SIZE == 0 &&
            vrx_hedge_mac(state->key, state->value, sizeof state->value, state->value) != VRX_OK)
            return -1;
        bytes[done] = (uint8_t)(bytes[done] ^ state->value[done % VRX_HMAC_SIZE]);
    }
    return vrx_hedge_update(state, 0, NULL, 0) == VRX_OK ? 0 : -1;
}

/** For vrx_hedged_sign(): start the generator from key, digest, random bytes and the order of the curve. */
VRX_RANDOM_INLINE int vrx_hedge_start(const EcParamSet *set, const uint32_t digest[VRX_ECC_DIGEST_WORDS],
                                      const uint32_t d[VRX_ECC_DIGITS]) {
    vrx_hedge *const state = vrx_hedge_of_thread();
    /* Masks the key with random words, so that no table address in the hash depends on the key alone. */
    struct {
        uint32_t masked[VRX_ECC_DIGITS];
        uint32_t digest[VRX_ECC_DIGEST_WORDS];
        uint32_t fresh[8];
        uint32_t q[VRX_ECC_DIGITS];
    } seed;
    int rc = VRX_ERR_RANDOM;
    memset(state->key, 0, sizeof state->key);
    memset(state->value, 1, sizeof state->value);
    memcpy(seed.digest, digest, sizeof seed.digest);
    memcpy(seed.q, set->q, sizeof seed.q);
    if (vrx_system_random(seed.masked, sizeof seed.masked) == 0 &&
        vrx_system_random(seed.fresh, sizeof seed.fresh) == 0) {
        for (unsigned i = 0; i < VRX_ECC_DIGITS; ++i) seed.masked[i] ^= d[i];
        rc = vrx_hedge_update(state, 0, (const uint8_t *)&seed, sizeof seed);
        if (rc == VRX_OK) rc = vrx_hedge_update(state, 1, (const uint8_t *)&seed, sizeof seed);
    }
    vrx_hedge_wipe(&seed, sizeof seed);
    return rc;
}

/** @endcond */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Sign a digest as ecSign() does, with a hedged nonce. The function verifies the signature before it returns it: a
 * signature that a hardware fault made invalid may reveal the private key.
 *
 * @param set     in: curve.
 * @param digest  in: the 32 bytes of the hash in memory order.
 * @param d       in: private key, from 1 to q - 1.
 * @param sig     out: the signature, in which neither r nor s is 0; all zeros on failure.
 * @return VRX_OK; VRX_ERR_RANDOM if the system's random source fails or is stuck; VRX_ERR_FAILED if the signature is
 *         not valid; VRX_ERR_BAD_PARAMS if a pointer is NULL.
 *
 * Threads: any number may call the function. It allocates nothing. The function computes a signature, eleven short
 * HMACs, a public key and a verification.
 */
VRX_RANDOM_INLINE int vrx_hedged_sign(const EcParamSet *set, const uint32_t digest[VRX_ECC_DIGEST_WORDS],
                                      const uint32_t d[VRX_ECC_DIGITS], EcSignature *sig) {
    EcPoint q;
    int rc;
    if (set == NULL || digest == NULL || d == NULL || sig == NULL) return VRX_ERR_BAD_PARAMS;
    memset(sig, 0, sizeof *sig);
    rc = vrx_hedge_start(set, digest, d);
    while (rc == VRX_OK) {
        rc = ecSign(set, digest, vrx_hedged_random, d, sig);
        if (rc != VRX_OK || (!mpIsZero(sig->r, VRX_ECC_DIGITS) && !mpIsZero(sig->s, VRX_ECC_DIGITS))) break;
    }
    if (rc == VRX_OK) rc = ecGeneratePublicKey(set, d, &q);
    if (rc == VRX_OK) rc = ecVerify(set, digest, &q, sig);
    if (rc != VRX_OK) memset(sig, 0, sizeof *sig);
    vrx_hedge_wipe(vrx_hedge_of_thread(), sizeof(vrx_hedge));
    return rc;
}

VRX_END_DECLS

#endif
