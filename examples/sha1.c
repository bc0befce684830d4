/* Prints the SHA-1 digest of a message that arrives in pieces. */
#include <stdio.h>
#include <string.h>
#include <vrx.h>

int main(void) {
    const char *pieces[] = {"a", "bc"};
    uint8_t digest[VRX_SHA1_SIZE];
    sha_context ctx;

    shaInit(&ctx);
    for (size_t i = 0; i < sizeof pieces / sizeof *pieces; i++)
        shaUpdate(&ctx, (const uint8_t *)pieces[i], strlen(pieces[i]));
    shaFinal(&ctx, digest);

    for (size_t i = 0; i < sizeof digest; i++) printf("%02x", digest[i]);
    putchar('\n');
    return 0;
}
