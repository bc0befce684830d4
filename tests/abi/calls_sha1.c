/* Calls of SHA-1. */
#include <string.h>

#include "calls.h"

void sha1_calls(void) {
    /* RFC 3174, section 7.3, TEST1 */
    static const uint8_t abc[3] = {'a', 'b', 'c'};
    static const uint8_t digest[VRX_SHA1_SIZE] = {0xA9, 0x99, 0x3E, 0x36, 0x47, 0x06, 0x81, 0x6A, 0xBA, 0x3E,
                                                  0x25, 0x71, 0x78, 0x50, 0xC2, 0x6C, 0x9C, 0xD0, 0xD8, 0x9D};
    static const uint32_t digest_words[VRX_SHA1_DIGEST_WORDS] = {0xA9993E36, 0x4706816A, 0xBA3E2571, 0x7850C26C,
                                                                 0x9CD0D89D};
    sha_context ctx;
    uint8_t out[VRX_SHA1_SIZE] = {0};
    shaInit(&ctx);
    shaUpdate(&ctx, abc, sizeof abc);
    shaFinal(&ctx, out);
    CHECK(memcmp(out, digest, sizeof out) == 0);

    /* The same message as one padded block of words. */
    shaInit(&ctx);
    memset(ctx.data, 0, sizeof ctx.data);
    ctx.data[0] = 0x61626380;
    ctx.data[15] = 24;
    shaTransform(&ctx);
    CHECK(memcmp(ctx.digest, digest_words, sizeof digest_words) == 0);
}
