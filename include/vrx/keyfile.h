/**
 * @file keyfile.h  GOST R 34.10-2001 keys in PEM and DER: PKCS #8 and SubjectPublicKeyInfo.
 *
 * To read a key, load the whole file into memory and call vrx_read_public_key() or vrx_read_private_key(). Each
 * function finds out whether the file is PEM or DER, and checks the key. The result names the curve, and the hash
 * parameter set that belongs to signatures with this key. vrx_write_public_key() and vrx_write_private_key() write the
 * files that the program vrx and OpenSSL's GOST engine write.
 *
 *     vrx_public_key key;
 *     const int rc = vrx_read_public_key(file, size, &key);
 *     if (rc != VRX_OK) fprintf(stderr, "key.pem: %s\n", vrx_key_error_text(rc));
 *
 * The functions read these formats:
 *
 * - public keys: SubjectPublicKeyInfo (RFC 5280, RFC 4491, section 2.3.2)
 * - private keys: PKCS #8 (RFC 5208, RFC 5958). The number is 32 octets, least significant first; or an OCTET STRING
 *   with these octets, from which zeros at the end may be missing; or an INTEGER, most significant octet first. A value
 *   of exactly 32 octets is always the number itself. The functions ignore attributes and the optional public key
 *
 * In both formats, the identifier 1.2.643.2.2.98 of the algorithm has the same meaning as 1.2.643.2.2.19. A file may
 * name the hash itself, 1.2.643.2.2.9, in place of a parameter set. The functions then read the file as if it named no
 * parameter set of the hash.
 *
 * Everything else is an error: other encodings of lengths and numbers than those of DER (X.690), and octets after the
 * end. A PEM file (RFC 7468) must contain exactly one block. Lines before and after the block are ignored, and so are
 * spaces, tabs and line breaks in base64. The functions do not read encrypted keys.
 *
 * The functions take the same time for every private key of the same length on the same curve, and wipe their copies of
 * private keys.
 *
 * Unless a function says otherwise, pointers may not be NULL, and buffers may not overlap. Files may lie at any
 * address. The functions allocate nothing; reading uses about 5 KiB of stack. They log nothing themselves, but the
 * library logs a point that is not on the curve. Any number of threads may call the functions.
 *
 * This header is not part of vrx.h, and the library does not export its functions: they are compiled into your program.
 */
#ifndef VRX_KEYFILE_H
#define VRX_KEYFILE_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "vrx/check.h"
#include "vrx/helpers.h"
#include "vrx/octets.h"
#include "vrx/params.h"

VRX_BEGIN_DECLS

#define VRX_ERR_KEY_FILE (-4001)       /**< the file is neither DER nor a text with a PEM block */
#define VRX_ERR_KEY_PEM (-4002)        /**< the PEM block is incomplete or malformed */
#define VRX_ERR_KEY_BLOCKS (-4003)     /**< the file contains more than one PEM block */
#define VRX_ERR_KEY_KIND (-4004)       /**< the file contains another kind of key, or something else */
#define VRX_ERR_KEY_ENCRYPTED (-4005)  /**< the private key is encrypted with a password */
#define VRX_ERR_KEY_DER (-4006)        /**< the DER encoding is incomplete or malformed */
#define VRX_ERR_KEY_ALGORITHM (-4007)  /**< the key belongs to another algorithm than GOST R 34.10-2001 */
#define VRX_ERR_KEY_PARAMETERS (-4008) /**< the key names a curve or parameter set that is not built in */
#define VRX_ERR_KEY_CURVE (-4009)      /**< the key does not name its curve */
#define VRX_ERR_KEY_POINT (-4010)      /**< the public key is not a point on its curve */
#define VRX_ERR_KEY_NUMBER (-4011)     /**< the private key is not a number from 1 to q - 1 */
#define VRX_ERR_KEY_LENGTH (-4012)     /**< the PEM block contains more than VRX_KEY_DER_LIMIT octets */

#define VRX_KEY_DER 1          /**< the form of a key file: DER, octets */
#define VRX_KEY_PEM 2          /**< the form of a key file: PEM, text */
#define VRX_KEY_FILE_SIZE 256  /**< a buffer of this size has room for every key that the functions write */
#define VRX_KEY_DER_LIMIT 4096 /**< the largest number of octets in a PEM block with a key; DER files may be larger */
#define VRX_PEM_LABEL_SIZE 65  /**< characters in the longest label of a PEM block, with the NUL */

/** A public key, and the parameter sets that belong to it. */
typedef struct vrx_public_key {
    const EcParamSet *curve;         /**< the curve */
    const vrx_gostr3411_par *hash;   /**< the hash parameter set for signatures; CryptoPro if the file names none */
    const vrx_gost28147_par *cipher; /**< the cipher parameter set for messages to the owner; CryptoPro-A if the file
                                          names none */
    EcPoint Q;                       /**< the point */
} vrx_public_key;

/** A private key, and the parameter sets that belong to it. */
typedef struct vrx_private_key {
    const EcParamSet *curve;         /**< the curve */
    const vrx_gostr3411_par *hash;   /**< the hash parameter set for signatures; CryptoPro if the file names none */
    const vrx_gost28147_par *cipher; /**< the cipher parameter set for messages to the owner; CryptoPro-A if the file
                                          names none */
    uint32_t d[VRX_ECC_DIGITS];      /**< the number */
} vrx_private_key;

/** The algorithm that a key file names: an AlgorithmIdentifier (RFC 4491, section 2.3.2). */
typedef struct vrx_key_algorithm {
    const uint8_t *oid;              /**< the identifier of the algorithm in the file, DER */
    size_t oid_length;               /**< bytes in oid */
    const EcParamSet *curve;         /**< the curve; NULL if the file does not name one */
    const vrx_gostr3411_par *hash;   /**< the hash parameter set; NULL if the file does not name one */
    const vrx_gost28147_par *cipher; /**< the cipher parameter set; NULL if the file does not name one */
} vrx_key_algorithm;

/** @cond */

/* ---- Base64 ------------------------------------------------------------------------------------------------------ */

/** All ones if first <= value <= last, otherwise zero. All arguments are below 2^31. */
VRX_INLINE uint32_t vrx_mask_between(uint32_t value, uint32_t first, uint32_t last) {
    return (((value - first) | (last - value)) >> 31) - 1;
}

/** Returns the 6 bits of a base64 character; 0x100 for any other character. */
VRX_INLINE uint32_t vrx_sextet(uint32_t c) {
    const uint32_t upper = vrx_mask_between(c, 'A', 'Z');
    const uint32_t lower = vrx_mask_between(c, 'a', 'z');
    const uint32_t digit = vrx_mask_between(c, '0', '9');
    const uint32_t plus = vrx_mask_between(c, '+', '+');
    const uint32_t slash = vrx_mask_between(c, '/', '/');
    return (upper & (c - 'A')) | (lower & (c - 'a' + 26)) | (digit & (c - '0' + 52)) | (plus & 62) | (slash & 63) |
           (~(upper | lower | digit | plus | slash) & 0x100);
}

/** Returns the base64 character of 6 bits. */
VRX_INLINE char vrx_base64_character(uint32_t bits) {
    return (char)((vrx_mask_between(bits, 0, 25) & (bits + 'A')) |
                  (vrx_mask_between(bits, 26, 51) & (bits - 26 + 'a')) |
                  (vrx_mask_between(bits, 52, 61) & (bits - 52 + '0')) | (vrx_mask_between(bits, 62, 62) & '+') |
                  (vrx_mask_between(bits, 63, 63) & '/'));
}

/** Returns all ones if a character is a space, a tab or a line break, otherwise zero. */
VRX_INLINE uint32_t vrx_mask_blank(uint32_t c) {
    return vrx_mask_between(c, ' ', ' ') | vrx_mask_between(c, '\t', '\n') | vrx_mask_between(c, '\r', '\r');
}

/** The state of a base64 decoder, which takes one character at a time. */
typedef struct vrx_base64 {
    uint8_t *octets;
    size_t capacity;
    size_t count;      /* the number of octets that were written */
    size_t characters; /* the number of characters so far, without blanks */
    size_t padding;    /* the number of equals signs among them */
    uint32_t group;    /* the bits of up to four characters */
    uint32_t bad;      /* not 0 if the text is malformed */
    int full;          /* 1 if there was no room for an octet */
} vrx_base64;

/** Takes a character. Makes public only whether it is a blank or an equals sign. */
VRX_INLINE void vrx_base64_take(vrx_base64 *state, uint32_t c) {
    const unsigned kind = vrx_public_fact((vrx_mask_blank(c) & 1) | (vrx_mask_between(c, '=', '=') & 2));
    const uint32_t bits = kind == 2 ? 0 : vrx_sextet(c);
    if (kind == 1) return;
    if (kind == 2)
        ++state->padding;
    else if (state->padding != 0)
        state->bad = 1;
    state->bad |= bits >> 8;
    state->group = state->group << 6 | (bits & 63);
    if (++state->characters % 4 != 0) return;
    if (state->padding > 2) {
        state->bad = 1;
        return;
    }
    /* The unused bits must be zero. Otherwise two texts would encode the same octets. */
    state->bad |= state->group & (((uint32_t)1 << 8 * state->padding) - 1);
    for (size_t i = 0; i < 3 - state->padding; ++i) {
        if (state->count == state->capacity)
            state->full = 1;
        else
            state->octets[state->count++] = (uint8_t)(state->group >> (16 - 8 * i));
    }
    state->group = 0;
}

/** @return VRX_OK, VRX_ERR_KEY_PEM or VRX_ERR_BUFFER_LENGTH. */
VRX_INLINE int vrx_base64_finish(vrx_base64 *state) {
    const unsigned bad = vrx_public_fact((state->bad | (0U - state->bad)) >> 31);
    state->group = 0;
    if (bad != 0 || state->characters % 4 != 0) return VRX_ERR_KEY_PEM;
    return state->full ? VRX_ERR_BUFFER_LENGTH : VRX_OK;
}

/* ---- PEM --------------------------------------------------------------------------------------------------------- */

/** Finds the label in the first or last line of a PEM block. @return the number of its characters, or -1. */
VRX_INLINE int vrx_pem_label(const char *line, size_t length, const char *before, char label[VRX_PEM_LABEL_SIZE]) {
    const size_t start = strlen(before);
    size_t size;
    while (length != 0 && vrx_mask_blank((uint8_t)line[length - 1]) != 0) --length;
    if (length < start + 5 || memcmp(line, before, start) != 0 || memcmp(line + length - 5, "-----", 5) != 0) return -1;
    size = length - start - 5;
    if (size >= VRX_PEM_LABEL_SIZE) return -1;
    for (size_t i = 0; i < size; ++i)
        if (line[start + i] < ' ' || line[start + i] > '~') return -1;
    memcpy(label, line + start, size);
    label[size] = 0;
    return (int)size;
}

/** Writes the first or last line of a PEM block, without a NUL. @return the position after it. */
VRX_INLINE char *vrx_pem_line(char *out, const char *before, const char *label) {
    const char *const parts[] = {before, label, "-----\n"};
    for (size_t k = 0; k < 3; ++k)
        for (const char *c = parts[k]; *c != 0; ++c) *out++ = *c;
    return out;
}

/* ---- DER --------------------------------------------------------------------------------------------------------- */

/** Octets that are still to be read. */
typedef struct vrx_der {
    const uint8_t *at;
    size_t left;
} vrx_der;

/** Reads an element with this tag. Its length must be in the shortest form and below 65536. @return 1, or 0. */
VRX_INLINE int vrx_der_next(vrx_der *in, unsigned tag, vrx_der *contents) {
    size_t header = 2, length;
    if (in->left < 2 || in->at[0] != tag) return 0;
    length = in->at[1];
    if (length >= 0x80) {
        const size_t count = length - 0x80;
        if (count < 1 || count > 2 || in->left < 2 + count) return 0;
        length = count == 1 ? in->at[2] : (size_t)in->at[2] << 8 | in->at[3];
        if (length < (count == 1 ? 0x80U : 0x100U)) return 0;
        header += count;
    }
    if (in->left - header < length) return 0;
    contents->at = in->at + header;
    contents->left = length;
    in->at += header + length;
    in->left -= header + length;
    return 1;
}

/** Tests whether the next element has this tag and is the last one. @return 1, or 0. */
VRX_INLINE int vrx_der_only(vrx_der in, unsigned tag, vrx_der *contents) {
    return vrx_der_next(&in, tag, contents) && in.left == 0;
}

/** Tests the tag of the next element. */
VRX_INLINE int vrx_der_is(const vrx_der *in, unsigned tag) { return in->left != 0 && in->at[0] == tag; }

/** Reads an OBJECT IDENTIFIER with its tag and length. @return 1, or 0 if there is none or it is malformed. */
VRX_INLINE int vrx_der_identifier(vrx_der *in, vrx_der *whole) {
    vrx_der contents;
    int begins = 1;
    whole->at = in->at;
    if (!vrx_der_next(in, 0x06, &contents) || contents.left == 0) return 0;
    whole->left = (size_t)(in->at - whole->at);
    /* Each octet holds 7 bits of a number, which has no leading zeros. The last octet of a number is below 0x80. */
    for (size_t i = 0; i < contents.left; ++i) {
        if (begins && contents.at[i] == 0x80) return 0;
        begins = contents.at[i] < 0x80;
    }
    return begins;
}

/** Reads any element. @return 1, or 0 if it is malformed. */
VRX_INLINE int vrx_der_skip(vrx_der *in) {
    vrx_der unused;
    return in->left != 0 && vrx_der_next(in, in->at[0], &unused);
}

/* ---- Keys -------------------------------------------------------------------------------------------------------- */

VRX_INLINE int vrx_key_same(const vrx_der *found, const uint8_t *oid, size_t length) {
    return found->left == length && memcmp(found->at, oid, length) == 0;
}

/** Finds a built-in hash parameter set. */
VRX_INLINE const vrx_gostr3411_par *vrx_key_hash(const vrx_der *oid) {
    for (uint32_t i = 0; i < VRX_GOSTR3411_PAR_COUNT; ++i)
        if (vrx_key_same(oid, get_GOSTR3411_par(i)->oid, get_GOSTR3411_par(i)->oid_length)) return get_GOSTR3411_par(i);
    return NULL;
}

/** Finds a built-in cipher parameter set. */
VRX_INLINE const vrx_gost28147_par *vrx_key_cipher(const vrx_der *oid) {
    for (uint32_t i = 0; i < VRX_GOST28147_PAR_COUNT; ++i)
        if (vrx_key_same(oid, get_GOST28147_par(i)->oid, get_GOST28147_par(i)->oid_length)) return get_GOST28147_par(i);
    return NULL;
}

/** Reads GostR3410-2001-PublicKeyParameters. @return VRX_OK, VRX_ERR_KEY_DER or VRX_ERR_KEY_PARAMETERS. */
VRX_INLINE int vrx_key_parameters(vrx_der in, vrx_key_algorithm *algorithm) {
    static const uint8_t hash_oid[] = {0x06, 0x06, 0x2a, 0x85, 0x03, 0x02, 0x02, 0x09}; /* 1.2.643.2.2.9 */
    vrx_der curve, hash = {NULL, 0}, cipher = {NULL, 0};
    vrx_key_algorithm found = *algorithm;
    EcParamSet *set = NULL;
    if (!vrx_der_identifier(&in, &curve) || (in.left != 0 && !vrx_der_identifier(&in, &hash)) ||
        (in.left != 0 && !vrx_der_identifier(&in, &cipher)) || in.left != 0)
        return VRX_ERR_KEY_DER;
    epFindParByOid(curve.at, (uint32_t)curve.left, &set);
    if (set == NULL) return VRX_ERR_KEY_PARAMETERS;
    found.curve = set;
    if (hash.left != 0 && !vrx_key_same(&hash, hash_oid, sizeof hash_oid)) {
        found.hash = vrx_key_hash(&hash);
        if (found.hash == NULL) return VRX_ERR_KEY_PARAMETERS;
    }
    if (cipher.left != 0 && !vrx_key_same(&cipher, hash_oid, sizeof hash_oid)) {
        found.cipher = vrx_key_cipher(&cipher);
        if (found.cipher == NULL) return VRX_ERR_KEY_PARAMETERS;
    }
    *algorithm = found;
    return VRX_OK;
}

/** Reads AlgorithmIdentifier. @return VRX_OK, VRX_ERR_KEY_DER, VRX_ERR_KEY_ALGORITHM or VRX_ERR_KEY_PARAMETERS. */
VRX_INLINE int vrx_key_read_algorithm(vrx_der *in, vrx_key_algorithm *algorithm) {
    static const uint8_t signing[] = {0x06, 0x06, 0x2a, 0x85, 0x03, 0x02, 0x02, 0x13};   /* 1.2.643.2.2.19 */
    static const uint8_t agreement[] = {0x06, 0x06, 0x2a, 0x85, 0x03, 0x02, 0x02, 0x62}; /* 1.2.643.2.2.98 */
    vrx_der fields, oid, parameters;
    memset(algorithm, 0, sizeof *algorithm);
    if (!vrx_der_next(in, 0x30, &fields) || !vrx_der_identifier(&fields, &oid)) return VRX_ERR_KEY_DER;
    algorithm->oid = oid.at;
    algorithm->oid_length = oid.left;
    if (!vrx_key_same(&oid, signing, sizeof signing) && !vrx_key_same(&oid, agreement, sizeof agreement))
        return fields.left == 0 || (vrx_der_skip(&fields) && fields.left == 0) ? VRX_ERR_KEY_ALGORITHM
                                                                               : VRX_ERR_KEY_DER;
    if (fields.left == 0 || (vrx_der_only(fields, 0x05, &parameters) && parameters.left == 0)) return VRX_OK;
    return vrx_der_only(fields, 0x30, &parameters) ? vrx_key_parameters(parameters, algorithm) : VRX_ERR_KEY_DER;
}

/** Reads the number of a private key, in constant time for each form and length. @return 1, or 0. */
VRX_INLINE int vrx_key_read_number(vrx_der value, uint8_t octets[VRX_PRIVATE_KEY_SIZE]) {
    vrx_der number;
    unsigned zero_first;
    if (value.left == VRX_PRIVATE_KEY_SIZE) {
        memcpy(octets, value.at, VRX_PRIVATE_KEY_SIZE);
        return 1;
    }
    memset(octets, 0, VRX_PRIVATE_KEY_SIZE);
    if (vrx_der_only(value, 0x04, &number)) {
        if (number.left == 0 || number.left > VRX_PRIVATE_KEY_SIZE) return 0;
        /* If a program omits zeros at the end, it omits all of them. */
        if (number.left < VRX_PRIVATE_KEY_SIZE && vrx_public_fact((number.at[number.left - 1] - 1U) >> 31) != 0)
            return 0;
        memcpy(octets, number.at, number.left);
        return 1;
    }
    if (!vrx_der_only(value, 0x02, &number) || number.left == 0) return 0;
    /* The first octet is zero if and only if the number would otherwise be negative. */
    zero_first = vrx_public_fact((number.at[0] - 1U) >> 31);
    if (zero_first != 0) {
        ++number.at;
        --number.left;
    }
    if (number.left == 0 || number.left > VRX_PRIVATE_KEY_SIZE ||
        zero_first != vrx_public_fact((unsigned)number.at[0] >> 7))
        return 0;
    for (size_t i = 0; i < number.left; ++i) octets[i] = number.at[number.left - 1 - i];
    return 1;
}

/** Checks the fields of OneAsymmetricKey after the key: [0] attributes, and [1] public key in version 1. */
VRX_INLINE int vrx_key_rest(vrx_der in, unsigned version) {
    vrx_der attributes, bits;
    if (vrx_der_is(&in, 0xa0) && !vrx_der_next(&in, 0xa0, &attributes)) return 0;
    if (version == 0) return in.left == 0;
    return vrx_der_only(in, 0x81, &bits) && bits.left != 0 && bits.at[0] == 0;
}

/** Finds out what a structure is, if it is not the expected one. */
VRX_INLINE int vrx_key_other(vrx_der file, int is_private) {
    vrx_der fields;
    if (!vrx_der_only(file, 0x30, &fields)) return VRX_ERR_KEY_DER;
    if (vrx_der_is(&fields, 0x02)) return is_private ? VRX_ERR_KEY_DER : VRX_ERR_KEY_KIND;
    if (!vrx_der_is(&fields, 0x30) || !vrx_der_skip(&fields)) return VRX_ERR_KEY_DER;
    if (vrx_der_is(&fields, 0x04)) return is_private ? VRX_ERR_KEY_ENCRYPTED : VRX_ERR_KEY_KIND;
    if (vrx_der_is(&fields, 0x03)) return is_private ? VRX_ERR_KEY_KIND : VRX_ERR_KEY_DER;
    return vrx_der_is(&fields, 0x30) ? VRX_ERR_KEY_KIND : VRX_ERR_KEY_DER;
}

/** @endcond */

/* ---- Building blocks: base64, PEM and DER ------------------------------------------------------------------------ */

/**
 * Decode base64 (RFC 4648). Spaces, tabs and line breaks are ignored. The running time depends on the length of the
 * text and on the positions of these characters, but not on the octets.
 *
 * @param text      in: the characters.
 * @param size      in: the number of characters.
 * @param octets    out: the octets; may be the memory of text. Unspecified on failure.
 * @param capacity  in: the size of octets.
 * @param count     out: the number of octets; 0 on failure.
 * @return VRX_OK; VRX_ERR_KEY_PEM if the text is malformed; VRX_ERR_BUFFER_LENGTH if there are more octets than
 *         capacity.
 */
VRX_INLINE int vrx_decode_base64(const char *text, size_t size, uint8_t *octets, size_t capacity, size_t *count) {
    vrx_base64 state = {octets, capacity, 0, 0, 0, 0, 0, 0};
    int rc;
    for (size_t i = 0; i < size; ++i) vrx_base64_take(&state, (uint8_t)text[i]);
    rc = vrx_base64_finish(&state);
    *count = rc == VRX_OK ? state.count : 0;
    vrx_wipe(&state, sizeof state);
    return rc;
}

/**
 * Encode octets in base64, in lines. The running time depends only on the number of octets.
 *
 * @param octets    in: the octets.
 * @param size      in: the number of octets.
 * @param width     in: characters in a line, a multiple of 4 and above 0. Each line ends with a newline.
 * @param text      out: the characters, without a NUL; unchanged on failure.
 * @param capacity  in: the size of text.
 * @param count     out: the number of characters; 0 on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if width is not such a number; VRX_ERR_BUFFER_LENGTH if text is too small.
 */
VRX_INLINE int vrx_encode_base64(const uint8_t *octets, size_t size, size_t width, char *text, size_t capacity,
                                 size_t *count) {
    const size_t groups = size / 3 + (size % 3 != 0);
    size_t used = 0, column = 0, lines;
    *count = 0;
    if (width == 0 || width % 4 != 0) return VRX_ERR_BAD_PARAMS;
    lines = groups / (width / 4) + (groups % (width / 4) != 0);
    if (groups > capacity / 4 || lines > capacity - groups * 4) return VRX_ERR_BUFFER_LENGTH;
    for (size_t i = 0; i < size; i += 3) {
        const size_t left = size - i < 3 ? size - i : 3;
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < left ? octets[i + k] : 0U);
        for (size_t k = 0; k < 4; ++k)
            text[used++] = k <= left ? vrx_base64_character(group >> (18 - 6 * k) & 63) : '=';
        column += 4;
        if (column == width || i + left == size) {
            text[used++] = '\n';
            column = 0;
        }
    }
    *count = used;
    return VRX_OK;
}

/**
 * Decode the only block of a PEM file (RFC 7468). Lines before and after the block are ignored. The running time does
 * not depend on the octets.
 *
 * @param text      in: the file.
 * @param size      in: the number of characters.
 * @param label     out: the label of the block, NUL-terminated, for example "PUBLIC KEY"; empty if there is no block.
 * @param octets    out: the octets of the block; may be the memory of text. Unspecified on failure.
 * @param capacity  in: the size of octets.
 * @param count     out: the number of octets; 0 on failure.
 * @return VRX_OK; VRX_ERR_KEY_FILE if there is no block; VRX_ERR_KEY_BLOCKS if there is more than one; VRX_ERR_KEY_PEM
 *         if the block is malformed; VRX_ERR_BUFFER_LENGTH if there are more octets than capacity.
 */
VRX_INLINE int vrx_decode_pem(const char *text, size_t size, char label[VRX_PEM_LABEL_SIZE], uint8_t *octets,
                              size_t capacity, size_t *count) {
    vrx_base64 state = {octets, capacity, 0, 0, 0, 0, 0, 0};
    char other[VRX_PEM_LABEL_SIZE];
    int begun = 0, ended = 0, rc = VRX_OK;
    *count = 0;
    label[0] = 0;
    for (size_t at = 0; at < size && rc == VRX_OK;) {
        const char *const line = text + at;
        size_t length = 0;
        int dashed;
        while (at + length < size && !vrx_public_fact(vrx_mask_between((uint8_t)line[length], '\n', '\n') & 1))
            ++length;
        at += length + 1;
        /* A line of base64 never begins with a dash. */
        dashed = length != 0 && vrx_public_fact(vrx_mask_between((uint8_t)line[0], '-', '-') & 1);
        if (dashed && vrx_pem_label(line, length, "-----BEGIN ", other) >= 0) {
            rc = !begun ? VRX_OK : ended ? VRX_ERR_KEY_BLOCKS : VRX_ERR_KEY_PEM;
            if (!begun) memcpy(label, other, sizeof other);
            begun = 1;
        } else if (dashed && begun && !ended && vrx_pem_label(line, length, "-----END ", other) >= 0) {
            if (strcmp(label, other) != 0) rc = VRX_ERR_KEY_PEM;
            ended = 1;
        } else if (begun && !ended) {
            for (size_t i = 0; i < length; ++i) vrx_base64_take(&state, (uint8_t)line[i]);
        }
    }
    if (rc == VRX_OK && !ended) rc = begun ? VRX_ERR_KEY_PEM : VRX_ERR_KEY_FILE;
    if (rc == VRX_OK) rc = vrx_base64_finish(&state);
    if (rc == VRX_OK) *count = state.count;
    vrx_wipe(&state, sizeof state);
    return rc;
}

/**
 * Write a PEM file with one block (RFC 7468).
 *
 * @param label     in: the label of the block, NUL-terminated, for example "PUBLIC KEY".
 * @param octets    in: the octets of the block.
 * @param size      in: the number of octets.
 * @param text      out: the file, NUL-terminated.
 * @param capacity  in: the size of text, including the NUL.
 * @param count     out: the number of characters without the NUL; 0 on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if the label has VRX_PEM_LABEL_SIZE characters or more; VRX_ERR_BUFFER_LENGTH if
 *         text is too small.
 */
VRX_INLINE int vrx_encode_pem(const char *label, const uint8_t *octets, size_t size, char *text, size_t capacity,
                              size_t *count) {
    static const char begin[] = "-----BEGIN ", end[] = "-----END ";
    const size_t length = strlen(label);
    const size_t first = sizeof begin + length + 5;
    const size_t last = sizeof end + length + 5;
    size_t used = 0;
    int rc;
    *count = 0;
    if (length >= VRX_PEM_LABEL_SIZE) return VRX_ERR_BAD_PARAMS;
    if (capacity < first + last + 1) return VRX_ERR_BUFFER_LENGTH;
    rc = vrx_encode_base64(octets, size, 64, text + first, capacity - first - last - 1, &used);
    if (rc != VRX_OK) return rc;
    vrx_pem_line(text, begin, label);
    *vrx_pem_line(text + first + used, end, label) = 0;
    *count = first + used + last;
    return VRX_OK;
}

/**
 * Read SubjectPublicKeyInfo in DER without a check of the point. Use this function to describe a file; to use the key,
 * call vrx_read_public_key().
 *
 * @param der        in: the octets.
 * @param size       in: the number of octets.
 * @param algorithm  out: the algorithm; its oid points into der. Its curve is NULL if the key does not name one. All
 *                   fields are set if the function returns VRX_OK. If it returns VRX_ERR_KEY_ALGORITHM or
 *                   VRX_ERR_KEY_PARAMETERS, only the oid is set.
 * @param octets     out: the point, in the form that ecLoadPublicKeyValue() takes. Unspecified on failure.
 * @return VRX_OK; VRX_ERR_KEY_DER if the octets are malformed; VRX_ERR_KEY_KIND if they are something
 *         else; VRX_ERR_KEY_ALGORITHM or VRX_ERR_KEY_PARAMETERS if they are a key of another algorithm, or
 *         with other parameters.
 */
VRX_INLINE int vrx_parse_public_key(const uint8_t *der, size_t size, vrx_key_algorithm *algorithm,
                                    uint8_t octets[VRX_PUBLIC_KEY_SIZE]) {
    vrx_der file, info, bits, point;
    int found;
    file.at = der;
    file.left = size;
    memset(algorithm, 0, sizeof *algorithm);
    if (!vrx_der_only(file, 0x30, &info)) return VRX_ERR_KEY_DER;
    found = vrx_key_read_algorithm(&info, algorithm);
    if (found == VRX_ERR_KEY_DER || !vrx_der_only(info, 0x03, &bits) || bits.left == 0) return vrx_key_other(file, 0);
    if (found != VRX_OK) return found;
    /* The first octet of a BIT STRING is the number of unused bits. */
    if (bits.at[0] != 0) return VRX_ERR_KEY_DER;
    ++bits.at;
    --bits.left;
    if (!vrx_der_only(bits, 0x04, &point) || point.left != VRX_PUBLIC_KEY_SIZE) return VRX_ERR_KEY_DER;
    memcpy(octets, point.at, VRX_PUBLIC_KEY_SIZE);
    return VRX_OK;
}

/**
 * Read PKCS #8 in DER without a check of the number. Use this function to describe a file; to use the key, call
 * vrx_read_private_key(). The running time does not depend on the number.
 *
 * @param der        in: the octets.
 * @param size       in: the number of octets.
 * @param algorithm  out: the algorithm, as for vrx_parse_public_key().
 * @param octets     out: the number, in the form that ecLoadPrivateKeyValue() takes. Unspecified on failure. Wipe the
 *                   octets after use.
 * @return the same codes as vrx_parse_public_key(); VRX_ERR_KEY_ENCRYPTED if the octets are an encrypted key.
 */
VRX_INLINE int vrx_parse_private_key(const uint8_t *der, size_t size, vrx_key_algorithm *algorithm,
                                     uint8_t octets[VRX_PRIVATE_KEY_SIZE]) {
    vrx_der file, info, version, key;
    int found;
    file.at = der;
    file.left = size;
    memset(algorithm, 0, sizeof *algorithm);
    if (!vrx_der_only(file, 0x30, &info)) return VRX_ERR_KEY_DER;
    if (!vrx_der_next(&info, 0x02, &version)) return vrx_key_other(file, 1);
    if (version.left != 1 || version.at[0] > 1) return VRX_ERR_KEY_DER;
    found = vrx_key_read_algorithm(&info, algorithm);
    if (found == VRX_ERR_KEY_DER || !vrx_der_next(&info, 0x04, &key) || !vrx_key_rest(info, version.at[0]))
        return VRX_ERR_KEY_DER;
    if (found != VRX_OK) return found;
    return vrx_key_read_number(key, octets) ? VRX_OK : VRX_ERR_KEY_DER;
}

/** @cond */
/** Finds the DER in a file, decoding PEM into the buffer. */
VRX_INLINE int vrx_key_open(const void *file, size_t size, const char *wanted, uint8_t buffer[VRX_KEY_DER_LIMIT],
                            vrx_der *der) {
    char label[VRX_PEM_LABEL_SIZE];
    vrx_der unused;
    int rc;
    der->at = (const uint8_t *)file;
    der->left = size;
    if (vrx_der_only(*der, 0x30, &unused)) return VRX_OK;
    rc = vrx_decode_pem((const char *)file, size, label, buffer, VRX_KEY_DER_LIMIT, &der->left);
    if (rc == VRX_ERR_KEY_FILE && size != 0 && der->at[0] == 0x30) rc = VRX_ERR_KEY_DER;
    if (rc == VRX_ERR_BUFFER_LENGTH) rc = VRX_ERR_KEY_LENGTH;
    if (rc == VRX_OK && strcmp(label, wanted) != 0) {
        const int is_locked = strcmp(label, "ENCRYPTED PRIVATE KEY") == 0 && strcmp(wanted, "PRIVATE KEY") == 0;
        rc = is_locked ? VRX_ERR_KEY_ENCRYPTED : VRX_ERR_KEY_KIND;
    }
    der->at = buffer;
    return rc;
}

/** Tests whether two sets are the same curve with the same base point. @return 1, or 0. */
VRX_INLINE int vrx_key_same_curve(const EcParamSet *one, const EcParamSet *other) {
    return memcmp(one->a, other->a, sizeof one->a) == 0 && memcmp(one->b, other->b, sizeof one->b) == 0 &&
           memcmp(one->p, other->p, sizeof one->p) == 0 && memcmp(one->q, other->q, sizeof one->q) == 0 &&
           memcmp(&one->G, &other->G, sizeof one->G) == 0;
}

/** Writes the first octets of AlgorithmIdentifier. @return the number of octets, or 0 if a set is not built in. */
VRX_INLINE size_t vrx_key_put_algorithm(uint8_t *out, const EcParamSet *curve, const vrx_gostr3411_par *hash,
                                        const vrx_gost28147_par *cipher) {
    static const uint8_t head[] = {0x30, 0, 0x06, 0x06, 0x2a, 0x85, 0x03, 0x02, 0x02, 0x13, 0x30, 0};
    const vrx_gostr3411_par *const named = hash != NULL ? hash : get_GOSTR3411_par(1);
    const vrx_der hash_oid = {named->oid, named->oid_length};
    const vrx_der cipher_oid = {cipher != NULL ? cipher->oid : NULL, cipher != NULL ? cipher->oid_length : 0};
    EcParamSet *known = NULL;
    size_t size = sizeof head;
    if (curve->oid == NULL || curve->oid_len != VRX_ECC_OID_SIZE ||
        epFindParByOid(curve->oid, VRX_ECC_OID_SIZE, &known) != VRX_OK || !vrx_key_same_curve(curve, known) ||
        vrx_key_hash(&hash_oid) == NULL || (cipher != NULL && vrx_key_cipher(&cipher_oid) == NULL))
        return 0;
    memcpy(out, head, sizeof head);
    memcpy(out + size, curve->oid, VRX_ECC_OID_SIZE);
    size += VRX_ECC_OID_SIZE;
    memcpy(out + size, named->oid, named->oid_length);
    size += named->oid_length;
    /* CryptoPro-A is the default value, which DER omits. */
    if (cipher != NULL && vrx_key_cipher(&cipher_oid) != get_GOST28147_par(1)) {
        memcpy(out + size, cipher->oid, cipher->oid_length);
        size += cipher->oid_length;
    }
    out[1] = (uint8_t)(size - 2);
    out[sizeof head - 1] = (uint8_t)(size - sizeof head);
    return size;
}

/** Writes octets as a file in the given form. */
VRX_INLINE int vrx_key_finish(const uint8_t *der, size_t size, int form, const char *label, void *file, size_t capacity,
                              size_t *count) {
    if (form == VRX_KEY_PEM) return vrx_encode_pem(label, der, size, (char *)file, capacity, count);
    if (form != VRX_KEY_DER) return VRX_ERR_BAD_PARAMS;
    if (capacity < size) return VRX_ERR_BUFFER_LENGTH;
    memcpy(file, der, size);
    *count = size;
    return VRX_OK;
}

/** @endcond */

/* ---- Use these --------------------------------------------------------------------------------------------------- */

/**
 * Read a public key from a file in PEM or DER, and check it: both coordinates are below p, and the point is on the
 * curve.
 *
 * @param file  in: the contents of the file.
 * @param size  in: the number of octets in file.
 * @param key   out: the key; all zeros on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL; one of the codes from VRX_ERR_KEY_FILE to
 *         VRX_ERR_KEY_LENGTH, but neither VRX_ERR_KEY_ENCRYPTED nor VRX_ERR_KEY_NUMBER.
 */
VRX_INLINE int vrx_read_public_key(const void *file, size_t size, vrx_public_key *key) {
    uint8_t buffer[VRX_KEY_DER_LIMIT], octets[VRX_PUBLIC_KEY_SIZE];
    vrx_key_algorithm algorithm;
    vrx_der der;
    int rc;
    if (key == NULL) return VRX_ERR_BAD_PARAMS;
    memset(key, 0, sizeof *key);
    if (file == NULL) return VRX_ERR_BAD_PARAMS;
    rc = vrx_key_open(file, size, "PUBLIC KEY", buffer, &der);
    if (rc == VRX_OK) rc = vrx_parse_public_key(der.at, der.left, &algorithm, octets);
    if (rc == VRX_OK && algorithm.curve == NULL) rc = VRX_ERR_KEY_CURVE;
    if (rc == VRX_OK) {
        key->curve = algorithm.curve;
        key->hash = algorithm.hash != NULL ? algorithm.hash : get_GOSTR3411_par(1);
        key->cipher = algorithm.cipher != NULL ? algorithm.cipher : get_GOST28147_par(1);
        if (ecLoadPublicKeyValue(octets, &key->Q) != VRX_OK || vrx_check_public_key(key->curve, &key->Q) != VRX_OK)
            rc = VRX_ERR_KEY_POINT;
    }
    /* The file may contain a private key by mistake. */
    vrx_wipe(buffer, sizeof buffer);
    if (rc != VRX_OK) memset(key, 0, sizeof *key);
    return rc;
}

/**
 * Read a private key from a file in PEM or DER, and check it: 0 < d < q. The running time does not depend on d.
 *
 * @param file  in: the contents of the file. Wipe them after use.
 * @param size  in: the number of octets in file.
 * @param key   out: the key; all zeros on failure. Wipe it with vrx_wipe_private_key() after use.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL; one of the codes from VRX_ERR_KEY_FILE to
 *         VRX_ERR_KEY_LENGTH, but not VRX_ERR_KEY_POINT.
 */
VRX_INLINE int vrx_read_private_key(const void *file, size_t size, vrx_private_key *key) {
    uint8_t buffer[VRX_KEY_DER_LIMIT], octets[VRX_PRIVATE_KEY_SIZE];
    vrx_key_algorithm algorithm;
    vrx_der der;
    int rc;
    if (key == NULL) return VRX_ERR_BAD_PARAMS;
    memset(key, 0, sizeof *key);
    if (file == NULL) return VRX_ERR_BAD_PARAMS;
    rc = vrx_key_open(file, size, "PRIVATE KEY", buffer, &der);
    if (rc == VRX_OK) rc = vrx_parse_private_key(der.at, der.left, &algorithm, octets);
    if (rc == VRX_OK && algorithm.curve == NULL) rc = VRX_ERR_KEY_CURVE;
    if (rc == VRX_OK) {
        key->curve = algorithm.curve;
        key->hash = algorithm.hash != NULL ? algorithm.hash : get_GOSTR3411_par(1);
        key->cipher = algorithm.cipher != NULL ? algorithm.cipher : get_GOST28147_par(1);
        if (ecLoadPrivateKeyValue(octets, key->d) != VRX_OK || vrx_check_private_key(key->curve, key->d) != VRX_OK)
            rc = VRX_ERR_KEY_NUMBER;
    }
    vrx_wipe(buffer, sizeof buffer);
    vrx_wipe(octets, sizeof octets);
    if (rc != VRX_OK) vrx_wipe(key, sizeof *key);
    return rc;
}

/**
 * Check a public key and write it as SubjectPublicKeyInfo. The result depends only on the key and the form.
 *
 * @param key       in: the key. Its curve and its sets must be built in. If hash or cipher is NULL,
 *                  the function writes CryptoPro or CryptoPro-A.
 * @param form      in: VRX_KEY_PEM or VRX_KEY_DER.
 * @param file      out: the file. PEM is NUL-terminated. Unchanged on failure.
 * @param capacity  in: the size of file, for example VRX_KEY_FILE_SIZE.
 * @param size      out: the number of octets in the file, without the NUL; 0 on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL or form has another value; VRX_ERR_KEY_POINT if the point is
 *         not on the curve; VRX_ERR_KEY_PARAMETERS if a set is not built in; VRX_ERR_BUFFER_LENGTH if capacity is too
 *         small.
 */
VRX_INLINE int vrx_write_public_key(const vrx_public_key *key, int form, void *file, size_t capacity, size_t *size) {
    uint8_t info[128], octets[VRX_PUBLIC_KEY_SIZE];
    size_t used;
    if (size != NULL) *size = 0;
    if (key == NULL || key->curve == NULL || file == NULL || size == NULL) return VRX_ERR_BAD_PARAMS;
    if (vrx_check_public_key(key->curve, &key->Q) != VRX_OK) return VRX_ERR_KEY_POINT;
    used = vrx_key_put_algorithm(info + 2, key->curve, key->hash, key->cipher);
    if (used == 0) return VRX_ERR_KEY_PARAMETERS;
    ecUnloadPublicKeyValue(&key->Q, octets);
    used += 2;
    info[used++] = 0x03;
    info[used++] = 3 + VRX_PUBLIC_KEY_SIZE;
    info[used++] = 0; /* unused bits */
    info[used++] = 0x04;
    info[used++] = VRX_PUBLIC_KEY_SIZE;
    memcpy(info + used, octets, sizeof octets);
    used += sizeof octets;
    info[0] = 0x30;
    info[1] = (uint8_t)(used - 2);
    return vrx_key_finish(info, used, form, "PUBLIC KEY", file, capacity, size);
}

/**
 * Check a private key and write it as PKCS #8, with the number as 32 octets. The file is not encrypted. The running
 * time does not depend on d.
 *
 * @param key       in: the key. Its curve and its sets must be built in. If hash or cipher is NULL,
 *                  the function writes CryptoPro or CryptoPro-A.
 * @param form      in: VRX_KEY_PEM or VRX_KEY_DER.
 * @param file      out: the file. PEM is NUL-terminated. Unchanged on failure. Wipe the file after use.
 * @param capacity  in: the size of file, for example VRX_KEY_FILE_SIZE.
 * @param size      out: the number of octets in the file, without the NUL; 0 on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL or form has another value; VRX_ERR_KEY_NUMBER if d is not
 *         from 1 to q - 1; VRX_ERR_KEY_PARAMETERS if a set is not built in; VRX_ERR_BUFFER_LENGTH if capacity is too
 *         small.
 */
VRX_INLINE int vrx_write_private_key(const vrx_private_key *key, int form, void *file, size_t capacity, size_t *size) {
    static const uint8_t version[] = {0x02, 0x01, 0x00};
    uint8_t info[128];
    size_t used;
    int rc;
    if (size != NULL) *size = 0;
    if (key == NULL || key->curve == NULL || file == NULL || size == NULL) return VRX_ERR_BAD_PARAMS;
    if (vrx_check_private_key(key->curve, key->d) != VRX_OK) return VRX_ERR_KEY_NUMBER;
    used = vrx_key_put_algorithm(info + 2 + sizeof version, key->curve, key->hash, key->cipher);
    if (used == 0) return VRX_ERR_KEY_PARAMETERS;
    memcpy(info + 2, version, sizeof version);
    used += 2 + sizeof version;
    info[used++] = 0x04;
    info[used++] = VRX_PRIVATE_KEY_SIZE;
    ecUnloadPrivateKeyValue(key->d, info + used);
    used += VRX_PRIVATE_KEY_SIZE;
    info[0] = 0x30;
    info[1] = (uint8_t)(used - 2);
    rc = vrx_key_finish(info, used, form, "PRIVATE KEY", file, capacity, size);
    vrx_wipe(info, sizeof info);
    return rc;
}

/**
 * Compute the public key of a private key. The public key gets the same parameter sets.
 *
 * @param key         in: the private key.
 * @param public_key  out: the public key; all zeros on failure.
 * @return VRX_OK; VRX_ERR_BAD_PARAMS if a pointer is NULL; VRX_ERR_KEY_NUMBER if d is not from 1 to q - 1;
 *         VRX_ERR_KEY_POINT if the curve parameter set is malformed.
 */
VRX_INLINE int vrx_derive_public_key(const vrx_private_key *key, vrx_public_key *public_key) {
    if (public_key != NULL) memset(public_key, 0, sizeof *public_key);
    if (key == NULL || key->curve == NULL || public_key == NULL) return VRX_ERR_BAD_PARAMS;
    if (vrx_check_private_key(key->curve, key->d) != VRX_OK) return VRX_ERR_KEY_NUMBER;
    if (ecGeneratePublicKey(key->curve, key->d, &public_key->Q) != VRX_OK) {
        memset(public_key, 0, sizeof *public_key);
        return VRX_ERR_KEY_POINT;
    }
    public_key->curve = key->curve;
    public_key->hash = key->hash;
    public_key->cipher = key->cipher;
    return VRX_OK;
}

/**
 * Zero a private key. The compiler cannot remove the call.
 *
 * @param key  out: the key; may be NULL.
 */
VRX_INLINE void vrx_wipe_private_key(vrx_private_key *key) {
    if (key != NULL) vrx_wipe(key, sizeof *key);
}

/**
 * Get the name of a code that a function of this header or of the library returns, such as "VRX_ERR_KEY_PEM".
 *
 * @param code  in: the code.
 * @return the name of the constant; "VRX_ERR_?" if no function returns such a code.
 */
VRX_INLINE const char *vrx_key_error_name(int code) {
    switch (code) {
        case VRX_ERR_KEY_FILE:
            return "VRX_ERR_KEY_FILE";
        case VRX_ERR_KEY_PEM:
            return "VRX_ERR_KEY_PEM";
        case VRX_ERR_KEY_BLOCKS:
            return "VRX_ERR_KEY_BLOCKS";
        case VRX_ERR_KEY_KIND:
            return "VRX_ERR_KEY_KIND";
        case VRX_ERR_KEY_ENCRYPTED:
            return "VRX_ERR_KEY_ENCRYPTED";
        case VRX_ERR_KEY_DER:
            return "VRX_ERR_KEY_DER";
        case VRX_ERR_KEY_ALGORITHM:
            return "VRX_ERR_KEY_ALGORITHM";
        case VRX_ERR_KEY_PARAMETERS:
            return "VRX_ERR_KEY_PARAMETERS";
        case VRX_ERR_KEY_CURVE:
            return "VRX_ERR_KEY_CURVE";
        case VRX_ERR_KEY_POINT:
            return "VRX_ERR_KEY_POINT";
        case VRX_ERR_KEY_NUMBER:
            return "VRX_ERR_KEY_NUMBER";
        case VRX_ERR_KEY_LENGTH:
            return "VRX_ERR_KEY_LENGTH";
        default:
            return vrx_error_name(code);
    }
}

/**
 * Get the meaning of a code that a function of this header or of the library returns, in words without a final full
 * stop.
 *
 * @param code  in: the code.
 * @return the meaning; "an unknown error" if no function returns such a code.
 */
VRX_INLINE const char *vrx_key_error_text(int code) {
    switch (code) {
        case VRX_ERR_KEY_FILE:
            return "the file is neither DER nor a text with a PEM block";
        case VRX_ERR_KEY_PEM:
            return "the PEM block is incomplete or malformed";
        case VRX_ERR_KEY_BLOCKS:
            return "the file contains more than one PEM block";
        case VRX_ERR_KEY_KIND:
            return "the file contains another kind of key, or something else";
        case VRX_ERR_KEY_ENCRYPTED:
            return "the private key is encrypted with a password";
        case VRX_ERR_KEY_DER:
            return "the DER encoding is incomplete or malformed";
        case VRX_ERR_KEY_ALGORITHM:
            return "the key belongs to another algorithm than GOST R 34.10-2001";
        case VRX_ERR_KEY_PARAMETERS:
            return "the key names a curve or parameter set that is not built in";
        case VRX_ERR_KEY_CURVE:
            return "the key does not name its curve";
        case VRX_ERR_KEY_POINT:
            return "the public key is not a point on its curve";
        case VRX_ERR_KEY_NUMBER:
            return "the private key is not a number from 1 to q - 1";
        case VRX_ERR_KEY_LENGTH:
            return "the PEM block is too long for a key";
        default:
            return vrx_strerror(code);
    }
}

VRX_END_DECLS

#endif
