/* nettle: a digest and an HMAC. */
#include <nettle/gosthash94.h>
#include <nettle/hmac.h>
#include <stdio.h>

int main(void) {
    const uint8_t key[] = "a secret key", text[] = "Meet me at noon.";
    uint8_t digest[GOSTHASH94CP_DIGEST_SIZE], tag[GOSTHASH94CP_DIGEST_SIZE];

    struct gosthash94cp_ctx hash;
    gosthash94cp_init(&hash);
    gosthash94cp_update(&hash, sizeof text - 1, text);
    gosthash94cp_digest(&hash, sizeof digest, digest);

    struct hmac_gosthash94cp_ctx hmac;
    hmac_gosthash94cp_set_key(&hmac, sizeof key - 1, key);
    hmac_gosthash94cp_update(&hmac, sizeof text - 1, text);
    hmac_gosthash94cp_digest(&hmac, sizeof tag, tag);

    for (size_t i = 0; i < sizeof digest; i++) printf("%02x", digest[i]);
    putchar('\n');
    for (size_t i = 0; i < sizeof tag; i++) printf("%02x", tag[i]);
    putchar('\n');
    return 0;
}
