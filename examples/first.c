/* Encrypts a message that arrives in pieces, then decrypts it. */
#include <stdio.h>
#include <string.h>
#include <vrx.h>

int main(void) {
    static const uint32_t key[VRX_KEY_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8}; /* in real use: 32 random bytes */
    static const uint8_t iv[VRX_BLOCK_SIZE] = {0};              /* in real use: never reuse an IV with the same key */
    const vrx_gost28147_par *set = get_GOST28147_default_par(); /* CryptoPro-A: CFB with key meshing */
    char pieces[][16] = {"Attack ", "at ", "dawn."};
    uint8_t text[64];
    uint32_t done = 0;

    vrx_crpt_ctx ctx;
    vrx_crpt_init_context(&ctx, 1, set->tz, set->mode, 0, set->key_meshing, 0, iv, key);
    for (size_t i = 0; i < sizeof pieces / sizeof *pieces; i++) {
        vrx_data in = {(uint32_t)strlen(pieces[i]), (uint8_t *)pieces[i]};
        vrx_data out = {(uint32_t)sizeof text - done, text + done};
        if (vrx_crpt_update(&ctx, &in, &out) != VRX_OK) return 1;
        done += out.length;
    }
    if (vrx_crpt_final(&ctx) != VRX_OK) return 1;

    for (uint32_t i = 0; i < done; i++) printf("%02x", text[i]);

    vrx_data all = {done, text}; /* in place */
    vrx_crpt_init_context(&ctx, 0, set->tz, set->mode, 0, set->key_meshing, 0, iv, key);
    if (vrx_crpt_update(&ctx, &all, &all) != VRX_OK || vrx_crpt_final(&ctx) != VRX_OK) return 1;
    printf("\n%.*s\n", (int)done, (const char *)text);
    return 0;
}
