/* The functions of vrx/keyfile.h with arguments that other languages can pass: sets are indexes, numbers are octets. */
#include <vrx/keyfile.h>

/* A key. The octets of a private key are followed by zeros. */
typedef struct vrx_keyfile_key {
    uint32_t curve;  /* index for get_GOSTR3410_par() */
    uint32_t hash;   /* index for get_GOSTR3411_par() */
    uint32_t cipher; /* index for get_GOST28147_par() */
    uint8_t octets[VRX_PUBLIC_KEY_SIZE];
} vrx_keyfile_key;

VRX_API int vrx_keyfile_read(const void *file, size_t size, int form, int is_private, vrx_keyfile_key *key);
VRX_API int vrx_keyfile_write(const vrx_keyfile_key *key, int form, int is_private, void *file, size_t capacity,
                              size_t *size);
VRX_API const char *vrx_keyfile_error_name(int code);
VRX_API const char *vrx_keyfile_error_text(int code);

static void put_sets(vrx_keyfile_key *key, const EcParamSet *curve, const vrx_gostr3411_par *hash,
                     const vrx_gost28147_par *cipher) {
    key->curve = (uint32_t)(curve - get_GOSTR3410_par(0));
    key->hash = (uint32_t)(hash - get_GOSTR3411_par(0));
    key->cipher = (uint32_t)(cipher - get_GOST28147_par(0));
}

static int read_public(const void *file, size_t size, vrx_keyfile_key *key) {
    vrx_public_key found;
    const int rc = vrx_read_public_key(file, size, &found);
    if (rc != VRX_OK) return rc;
    put_sets(key, found.curve, found.hash, found.cipher);
    return ecUnloadPublicKeyValue(&found.Q, key->octets);
}

static int read_private(const void *file, size_t size, vrx_keyfile_key *key) {
    vrx_private_key found;
    int rc = vrx_read_private_key(file, size, &found);
    if (rc != VRX_OK) return rc;
    put_sets(key, found.curve, found.hash, found.cipher);
    rc = ecUnloadPrivateKeyValue(found.d, key->octets);
    vrx_wipe_private_key(&found);
    return rc;
}

/* Reads a key file: vrx_read_public_key() or vrx_read_private_key(). A file in the other form is refused. */
int vrx_keyfile_read(const void *file, size_t size, int form, int is_private, vrx_keyfile_key *key) {
    vrx_der whole, unused;
    int is_der;
    if (file == NULL || key == NULL) return VRX_ERR_BAD_PARAMS;
    memset(key, 0, sizeof *key);
    whole.at = (const uint8_t *)file;
    whole.left = size;
    is_der = vrx_der_only(whole, 0x30, &unused);
    if (form == VRX_KEY_DER && !is_der) return VRX_ERR_KEY_DER;
    if (form == VRX_KEY_PEM && is_der) return VRX_ERR_KEY_FILE;
    return is_private ? read_private(file, size, key) : read_public(file, size, key);
}

/* Writes a key file: vrx_write_public_key() or vrx_write_private_key(). */
int vrx_keyfile_write(const vrx_keyfile_key *key, int form, int is_private, void *file, size_t capacity, size_t *size) {
    vrx_private_key secret;
    vrx_public_key point;
    int rc;
    if (key == NULL) return VRX_ERR_BAD_PARAMS;
    point.curve = secret.curve = get_GOSTR3410_par(key->curve);
    point.hash = secret.hash = get_GOSTR3411_par(key->hash);
    point.cipher = secret.cipher = get_GOST28147_par(key->cipher);
    if (point.curve == NULL || point.hash == NULL || point.cipher == NULL) return VRX_ERR_KEY_PARAMETERS;
    if (!is_private) {
        ecLoadPublicKeyValue(key->octets, &point.Q);
        return vrx_write_public_key(&point, form, file, capacity, size);
    }
    ecLoadPrivateKeyValue(key->octets, secret.d);
    rc = vrx_write_private_key(&secret, form, file, capacity, size);
    vrx_wipe_private_key(&secret);
    return rc;
}

/* vrx_key_error_name() and vrx_key_error_text(). */
const char *vrx_keyfile_error_name(int code) { return vrx_key_error_name(code); }
const char *vrx_keyfile_error_text(int code) { return vrx_key_error_text(code); }
