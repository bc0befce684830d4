/* Generates a key pair, signs a letter and verifies the signature. */
#include <stdio.h>
#include <string.h>
#include <vrx.h>
#include <vrx/check.h>
#include <vrx/helpers.h>
#include <vrx/random.h>

static int hash_letter(const char *letter, uint32_t digest[VRX_ECC_DIGEST_WORDS]) {
    uint8_t bytes[VRX_HASH_SIZE];
    int rc = GOSTR3411_Transform_ex(get_GOSTR3411_default_par()->tz, (const uint8_t *)letter, (uint32_t)strlen(letter),
                                    bytes);
    memcpy(digest, bytes, sizeof bytes); /* the bytes in memory order */
    return rc;
}

int main(void) {
    const EcParamSet *set = get_GOSTR3410_default_par(); /* CryptoPro-A */
    uint32_t digest[VRX_ECC_DIGEST_WORDS];
    uint32_t d[VRX_ECC_DIGITS];
    EcPoint key;
    EcSignature signature;
    uint8_t octets[VRX_SIGNATURE_SIZE];

    int rc = ecGenerateKeyPair(set, vrx_system_random, d, &key);
    if (rc == VRX_OK) rc = hash_letter("Meet me at noon.", digest);
    if (rc == VRX_OK) rc = ecSign(set, digest, vrx_system_random, d, &signature);
    vrx_wipe(d, sizeof d);
    if (rc == VRX_OK) rc = ecUnloadSignValue(&signature, octets);
    if (rc != VRX_OK) {
        fprintf(stderr, "sign_in_c: %s\n", vrx_strerror(rc));
        return 1;
    }

    /* The recipient first checks the key, and the range of the signature. */
    if (vrx_check_public_key(set, &key) != VRX_OK || ecLoadSignValue(octets, &signature) != VRX_OK ||
        vrx_check_signature(set, &signature) != VRX_OK)
        return 1;
    printf("Meet me at noon. %s\n", ecVerify(set, digest, &key, &signature) == VRX_OK ? "genuine" : "FORGED");
    if (hash_letter("Meet me at nine.", digest) != VRX_OK) return 1;
    printf("Meet me at nine. %s\n", ecVerify(set, digest, &key, &signature) == VRX_OK ? "genuine" : "FORGED");
    return 0;
}
