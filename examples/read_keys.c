/* Reads a GOST R 34.10-2001 key from PEM or DER: SubjectPublicKeyInfo or PKCS #8. Usage: read_keys FILE */
#define _DEFAULT_SOURCE
#include <stdio.h>
#include <string.h>
#include <vrx.h>

/* A position in DER octets. */
typedef struct {
    const uint8_t *at;
    size_t left;
} Der;

/* Reads one element with the expected tag. Only definite lengths in their shortest form are valid in DER. */
static int take(Der *in, uint8_t tag, Der *contents) {
    size_t header = 2, length;
    if (in->left < 2 || in->at[0] != tag) return 0;
    length = in->at[1];
    if (length == 0x81 && in->left >= 3) {
        header = 3;
        length = in->at[2];
        if (length < 0x80) return 0;
    } else if (length == 0x82 && in->left >= 4) {
        header = 4;
        length = (size_t)in->at[2] << 8 | in->at[3];
        if (length < 0x100) return 0;
    } else if (length >= 0x80) {
        return 0;
    }
    if (in->left - header < length) return 0;
    contents->at = in->at + header;
    contents->left = length;
    in->at += header + length;
    in->left -= header + length;
    return 1;
}

/* Reads an AlgorithmIdentifier of RFC 4491, section 2.3.2, and finds the curve that it names. */
static EcParamSet *take_curve(Der *in) {
    static const uint8_t gost2001[] = {0x2a, 0x85, 0x03, 0x02, 0x02, 0x13}; /* 1.2.643.2.2.19 */
    Der algorithm, oid, parameters;
    EcParamSet *set = NULL;
    if (!take(in, 0x30, &algorithm) || !take(&algorithm, 0x06, &oid) || oid.left != sizeof gost2001 ||
        memcmp(oid.at, gost2001, sizeof gost2001) != 0 || !take(&algorithm, 0x30, &parameters))
        return NULL;
    const uint8_t *curve = parameters.at; /* the library's identifiers include tag and length */
    if (!take(&parameters, 0x06, &oid)) return NULL;
    epFindParByOid(curve, (uint32_t)(parameters.at - curve), &set);
    return set;
}

/* SubjectPublicKeyInfo: the BIT STRING contains an OCTET STRING of x and y, least significant octet first. */
static EcParamSet *public_key(Der file, EcPoint *Q) {
    Der info, bits, octets;
    if (!take(&file, 0x30, &info) || file.left != 0) return NULL;
    EcParamSet *set = take_curve(&info);
    if (set == NULL || !take(&info, 0x03, &bits) || info.left != 0) return NULL;
    if (bits.left < 1 || *bits.at++ != 0) return NULL; /* no unused bits */
    bits.left--;
    if (!take(&bits, 0x04, &octets) || bits.left != 0 || octets.left != VRX_PUBLIC_KEY_SIZE) return NULL;
    if (ecLoadPublicKeyValue(octets.at, Q) != VRX_OK) return NULL;
    /* The library does not check the range of coordinates, and ecVerify() does not check the point. */
    if (mpCompare(Q->x, set->p, VRX_ECC_DIGITS) >= 0 || mpCompare(Q->y, set->p, VRX_ECC_DIGITS) >= 0) return NULL;
    return ecCheckPublicKey(set, Q) == VRX_OK ? set : NULL;
}

/* PKCS #8: an OCTET STRING with 32 octets, least significant first; or with an OCTET STRING of these; or with an
 * INTEGER, most significant octet first. */
static EcParamSet *private_key(Der file, uint32_t d[VRX_ECC_DIGITS]) {
    Der info, version, key, inner;
    uint8_t octets[VRX_PRIVATE_KEY_SIZE] = {0};
    uint32_t difference[VRX_ECC_DIGITS];
    if (!take(&file, 0x30, &info) || file.left != 0 || !take(&info, 0x02, &version)) return NULL;
    if (version.left != 1 || version.at[0] != 0) return NULL;
    EcParamSet *set = take_curve(&info);
    if (set == NULL || !take(&info, 0x04, &key)) return NULL;
    if (key.left == sizeof octets) {
        memcpy(octets, key.at, sizeof octets);
    } else if (take(&key, 0x04, &inner) && key.left == 0 && inner.left == sizeof octets) {
        memcpy(octets, inner.at, sizeof octets);
    } else if (take(&key, 0x02, &inner) && key.left == 0) {
        if (inner.left == sizeof octets + 1 && inner.at[0] == 0) inner.at++, inner.left--;
        if (inner.left == 0 || inner.left > sizeof octets) return NULL;
        for (size_t i = 0; i < inner.left; i++) octets[i] = inner.at[inner.left - 1 - i];
    } else {
        return NULL;
    }
    /* 1 <= d < q, without a comparison that stops at the first difference: d - q borrows, d - 1 does not. */
    static const uint32_t one[VRX_ECC_DIGITS] = {1};
    ecLoadPrivateKeyValue(octets, d);
    explicit_bzero(octets, sizeof octets);
    const int valid =
        mpSubtract(difference, d, set->q, VRX_ECC_DIGITS) == 1 && mpSubtract(difference, d, one, VRX_ECC_DIGITS) == 0;
    explicit_bzero(difference, sizeof difference);
    return valid ? set : NULL;
}

/* Decodes the first PEM block in place. Returns the number of octets, or 0 if there is no valid block. */
static size_t decode_pem(char *text) {
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const char *from = strstr(text, "KEY-----\n");
    const char *end = from == NULL ? NULL : strstr(from, "\n-----END ");
    if (end == NULL) return 0;
    size_t size = 0;
    uint32_t bits = 0, count = 0;
    for (from += strlen("KEY-----\n"); from < end && *from != '='; from++) {
        if (*from == '\n' || *from == '\r') continue;
        const char *digit = strchr(alphabet, *from);
        if (digit == NULL || *from == '\0') return 0;
        bits = bits << 6 | (uint32_t)(digit - alphabet);
        if (++count % 4 != 1) text[size++] = (char)(bits >> (6 - 2 * ((count - 1) % 4)));
    }
    return size;
}

int main(int argc, char **argv) {
    static char file[8193];
    FILE *in = argc == 2 ? fopen(argv[1], "rb") : NULL;
    if (in == NULL) {
        fputs("usage: read_keys FILE\n", stderr);
        return 2;
    }
    size_t size = fread(file, 1, sizeof file - 1, in);
    fclose(in);
    if (strstr(file, "-----BEGIN ") != NULL) size = decode_pem(file);

    const Der der = {(const uint8_t *)file, size};
    uint32_t d[VRX_ECC_DIGITS];
    uint8_t octets[VRX_PUBLIC_KEY_SIZE];
    EcPoint Q;
    const char *kind = "public";
    EcParamSet *set = public_key(der, &Q);
    if (set == NULL) {
        kind = "private";
        set = private_key(der, d);
        if (set != NULL && ecGeneratePublicKey(set, d, &Q) != VRX_OK) set = NULL;
        explicit_bzero(d, sizeof d);
    }
    explicit_bzero(file, sizeof file);
    if (set == NULL || ecUnloadPublicKeyValue(&Q, octets) != VRX_OK) {
        fprintf(stderr, "read_keys: %s does not hold a valid GOST R 34.10-2001 key\n", argv[1]);
        return 1;
    }
    printf("%s key on curve %s\npublic key: ", kind, set->str_oid);
    for (size_t i = 0; i < sizeof octets; i++) printf("%02x", octets[i]);
    putchar('\n');
    return 0;
}
