/* libgcrypt: a digest, and encryption in CFB with key meshing. */
#include <gcrypt.h>
#include <stdio.h>

int main(void) {
    unsigned char key[32] = {1, 2, 3}, iv[8] = {4, 5, 6}, text[] = "Meet me at noon.", digest[32];

    gcry_check_version(NULL);
    gcry_md_hash_buffer(GCRY_MD_GOSTR3411_CP, digest, text, sizeof text - 1);

    gcry_cipher_hd_t cipher;
    if (gcry_cipher_open(&cipher, GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB, 0) != 0) return 1;
    gcry_cipher_ctl(cipher, GCRYCTL_SET_SBOX, "1.2.643.2.2.31.1", 0); /* CryptoPro-A */
    gcry_cipher_setkey(cipher, key, sizeof key);
    gcry_cipher_setiv(cipher, iv, sizeof iv);
    gcry_cipher_encrypt(cipher, text, sizeof text - 1, NULL, 0); /* in place */
    gcry_cipher_close(cipher);

    for (size_t i = 0; i < sizeof digest; i++) printf("%02x", digest[i]);
    putchar('\n');
    for (size_t i = 0; i < sizeof text - 1; i++) printf("%02x", text[i]);
    putchar('\n');
    return 0;
}
