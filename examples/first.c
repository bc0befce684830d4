/* Encrypts a message that arrives in pieces, then decrypts it. */
#include <stdio.h>
#include <string.h>
#include <vrx.h>
#include <vrx/stream.h>

int main(void) {
    /* In real use: 32 random bytes. */
    static const uint8_t key[VRX_KEY_SIZE] = {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0,
                                              5, 0, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 8, 0, 0, 0};
    static const uint8_t iv[VRX_BLOCK_SIZE] = {0};       /* in real use: never reuse an IV with the same key */
    const vrx_gost28147_par *set = get_GOST28147_par(1); /* CryptoPro-A: CFB with key meshing */
    const char *pieces[] = {"Attack ", "at ", "dawn."};
    uint8_t text[64];
    size_t size = 0;

    vrx_crpt_ctx stream;
    int rc = vrx_open_stream(&stream, set, VRX_ENCRYPT, iv, key);
    for (size_t i = 0; i < sizeof pieces / sizeof *pieces && rc == VRX_OK; i++) {
        size_t written;
        rc = vrx_update_stream(&stream, pieces[i], strlen(pieces[i]), text + size, sizeof text - size, &written);
        size += written;
    }
    if (rc == VRX_OK) rc = vrx_close_stream(&stream); /* wipes the key */
    for (size_t i = 0; i < size; i++) printf("%02x", text[i]);

    if (rc == VRX_OK) rc = vrx_open_stream(&stream, set, VRX_DECRYPT, iv, key);
    if (rc == VRX_OK) rc = vrx_update_stream(&stream, text, size, text, sizeof text, NULL); /* in place */
    if (rc == VRX_OK) rc = vrx_close_stream(&stream);
    if (rc != VRX_OK) {
        fprintf(stderr, "first: %s\n", vrx_strerror(rc));
        return 1;
    }
    printf("\n%.*s\n", (int)size, (const char *)text);
    return 0;
}
