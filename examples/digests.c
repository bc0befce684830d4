/* Hashes a message in pieces, authenticates it with HMAC, and derives a key from a password. */
#include <stdio.h>
#include <string.h>
#include <vrx.h>

static void print(const char *what, const uint8_t *bytes, size_t size) {
    printf("%-6s ", what);
    for (size_t i = 0; i < size; i++) printf("%02x", bytes[i]);
    putchar('\n');
}

int main(void) {
    const vrx_gostr3411_par *set = get_GOSTR3411_default_par(); /* CryptoPro */
    const uint8_t message[] = "Attack at dawn.", key[] = "a key of 32 bytes, kept secret.", salt[] = "random salt";
    uint8_t result[VRX_HASH_SIZE];
    uint32_t size;

    GOSTR3411_CTX ctx;
    if (GOSTR3411_Init_ex(&ctx, set->tz) != VRX_OK || GOSTR3411_Update(&ctx, message, 7) != VRX_OK ||
        GOSTR3411_Update(&ctx, message + 7, 8) != VRX_OK || GOSTR3411_Final(&ctx, result) != VRX_OK)
        return 1;
    print("hash", result, sizeof result);

    if (GOSTR3411_HMAC(set->oid, set->oid_length, message, 15, key, sizeof key, result, &size) != VRX_OK) return 1;
    print("hmac", result, size);

    if (GOSTR3411_PKCS5_PBKDF2((const uint8_t *)"password", 8, salt, sizeof salt - 1, 10000, set->oid, set->oid_length,
                               result, sizeof result) != VRX_OK)
        return 1;
    print("pbkdf2", result, sizeof result);
    return 0;
}
