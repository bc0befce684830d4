/* libvrx: the same digest and ciphertext. */
#include <stdio.h>
#include <vrx.h>
#include <vrx/stream.h>

int main(void) {
    unsigned char key[32] = {1, 2, 3}, iv[8] = {4, 5, 6}, text[] = "Meet me at noon.", digest[32], out[32];
    size_t size = 0;

    if (GOSTR3411_Transform_ex(get_GOSTR3411_default_par()->tz, text, sizeof text - 1, digest) != VRX_OK) return 1;

    vrx_gost28147_par set = *get_GOST28147_par(1); /* CryptoPro-A with key meshing, but in counter mode */
    set.mode = VRX_MODE_GAMM;
    vrx_crpt_ctx stream;
    if (vrx_open_stream(&stream, &set, VRX_ENCRYPT, iv, key) != VRX_OK) return 1;
    const int rc = vrx_update_stream(&stream, text, sizeof text - 1, out, sizeof out, &size);
    if (vrx_close_stream(&stream) != VRX_OK || rc != VRX_OK) return 1;

    for (size_t i = 0; i < sizeof digest; i++) printf("%02x", digest[i]);
    putchar('\n');
    for (size_t i = 0; i < size; i++) printf("%02x", out[i]);
    putchar('\n');
    return 0;
}
