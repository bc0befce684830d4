/* Reads a GOST R 34.10-2001 key from a PEM or DER file and prints its public key. Usage: read_keys FILE */
#include <stdio.h>
#include <vrx.h>
#include <vrx/helpers.h>
#include <vrx/keyfile.h>

int main(int argc, char **argv) {
    static char file[8192];
    FILE *in = argc == 2 ? fopen(argv[1], "rb") : NULL;
    if (in == NULL) {
        fputs("usage: read_keys FILE\n", stderr);
        return 2;
    }
    setvbuf(in, NULL, _IONBF, 0); /* no copy of a private key in a buffer of stdio */
    size_t size = fread(file, 1, sizeof file, in);
    fclose(in);

    const char *kind = "public";
    vrx_public_key key;
    int rc = vrx_read_public_key(file, size, &key);
    if (rc == VRX_ERR_KEY_KIND) {
        vrx_private_key secret;
        kind = "private";
        rc = vrx_read_private_key(file, size, &secret);
        if (rc == VRX_OK) rc = vrx_derive_public_key(&secret, &key);
        vrx_wipe_private_key(&secret);
    }
    vrx_wipe(file, sizeof file);
    if (rc != VRX_OK) {
        fprintf(stderr, "read_keys: %s: %s\n", argv[1], vrx_key_error_text(rc));
        return 1;
    }

    uint8_t octets[VRX_PUBLIC_KEY_SIZE];
    ecUnloadPublicKeyValue(&key.Q, octets);
    printf("%s key on curve %s\nhash parameter set %s\npublic key: ", kind, key.curve->str_oid, key.hash->str_oid);
    for (size_t i = 0; i < sizeof octets; i++) printf("%02x", octets[i]);
    putchar('\n');
    return 0;
}
