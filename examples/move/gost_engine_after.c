/* libvrx: the same digest and ciphertext. */
#include <stdio.h>
#include <string.h>
#include <vrx.h>

int main(void) {
    unsigned char key[32] = {1, 2, 3}, iv[8] = {4, 5, 6}, text[] = "Meet me at noon.", digest[32], out[32];

    if (GOSTR3411_Transform_ex(get_GOSTR3411_default_par()->tz, text, sizeof text - 1, digest) != VRX_OK) return 1;

    uint32_t words[VRX_KEY_WORDS];
    memcpy(words, key, sizeof words); /* the same bytes */
    vrx_crpt_ctx ctx;
    vrx_data from = {sizeof text - 1, text}, to = {sizeof out, out};
    vrx_crpt_init_context(&ctx, 1, TZ_by_name("tz_a"), VRX_MODE_GAMM, 0, 1, 0, iv, words);
    if (vrx_crpt_update(&ctx, &from, &to) != VRX_OK || vrx_crpt_final(&ctx) != VRX_OK) return 1;

    for (size_t i = 0; i < sizeof digest; i++) printf("%02x", digest[i]);
    putchar('\n');
    for (size_t i = 0; i < to.length; i++) printf("%02x", out[i]);
    putchar('\n');
    return 0;
}
