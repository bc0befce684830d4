/* OpenSSL 3 with its GOST engine: a digest, and encryption in counter mode with key meshing. */
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/engine.h>
#include <openssl/evp.h>
#include <stdio.h>

int main(void) {
    unsigned char key[32] = {1, 2, 3}, iv[8] = {4, 5, 6}, text[] = "Meet me at noon.", digest[32], out[32];
    unsigned int size;
    int done, rest;

    ENGINE *engine = ENGINE_by_id("gost");
    if (engine == NULL || !ENGINE_init(engine)) return 77; /* not installed */
    EVP_Digest(text, sizeof text - 1, digest, &size, ENGINE_get_digest(engine, NID_id_GostR3411_94), engine);

    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(ctx, ENGINE_get_cipher(engine, NID_gost89_cnt), engine, key, iv); /* S-boxes CryptoPro-A */
    EVP_EncryptUpdate(ctx, out, &done, text, sizeof text - 1);
    EVP_EncryptFinal_ex(ctx, out + done, &rest);
    EVP_CIPHER_CTX_free(ctx);

    for (size_t i = 0; i < size; i++) printf("%02x", digest[i]);
    putchar('\n');
    for (int i = 0; i < done + rest; i++) printf("%02x", out[i]);
    putchar('\n');
    return 0;
}
