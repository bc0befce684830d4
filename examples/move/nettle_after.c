/* libvrx: the same digest and HMAC. */
#include <stdio.h>
#include <vrx.h>

int main(void) {
    const uint8_t key[] = "a secret key", text[] = "Meet me at noon.";
    uint8_t digest[VRX_HASH_SIZE], tag[VRX_HASH_SIZE];
    uint32_t size;

    GOSTR3411_CTX hash;
    if (GOSTR3411_Init_ex(&hash, get_GOSTR3411_default_par()->tz) != VRX_OK ||
        GOSTR3411_Update(&hash, text, sizeof text - 1) != VRX_OK || GOSTR3411_Final(&hash, digest) != VRX_OK)
        return 1;

    GOSTR3411_HMAC_CTX hmac;
    if (GOSTR3411_HMAC_Init(&hmac, NULL, 0, key, sizeof key - 1) != VRX_OK ||
        GOSTR3411_HMAC_Update(&hmac, text, sizeof text - 1) != VRX_OK ||
        GOSTR3411_HMAC_Final(&hmac, tag, &size) != VRX_OK)
        return 1;

    for (size_t i = 0; i < sizeof digest; i++) printf("%02x", digest[i]);
    putchar('\n');
    for (size_t i = 0; i < sizeof tag; i++) printf("%02x", tag[i]);
    putchar('\n');
    return 0;
}
