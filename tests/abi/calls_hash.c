/* Calls of GOST R 34.11-94, HMAC and the key derivations. */
#include <string.h>

#include "calls.h"

/* From PyGOST, pygost/test_gost341194.py: the digest of "abc" with the CryptoPro set. */
static const uint8_t abc[3] = {'a', 'b', 'c'};
static const uint8_t abc_digest[VRX_HASH_SIZE] = {0xB2, 0x85, 0x05, 0x6D, 0xBF, 0x18, 0xD7, 0x39, 0x2D, 0x76, 0x77,
                                                  0x36, 0x95, 0x24, 0xDD, 0x14, 0x74, 0x74, 0x59, 0xED, 0x81, 0x43,
                                                  0x99, 0x7E, 0x16, 0x3B, 0x29, 0x86, 0xF9, 0x2F, 0xD4, 0x2C};

static uint8_t out[VRX_HASH_SIZE];

/* Checks that `out` holds these bytes, then clears it for the next call. */
static int came_out(const void* expected) {
    const int same = memcmp(out, expected, sizeof out) == 0;
    memset(out, 0, sizeof out);
    return same;
}

void hash_calls(void) {
    const uint8_t* const oid = VRX_PAR_HASH_1_OID;
    const vrx_tz* const table = &TZ_3411_94[1];
    static const uint8_t own_oid[] = {0x06, 0x01, 0x2A};
    const vrx_gostr3411_par own = {sizeof own_oid, own_oid, "1.2", "own", &TZ_3411_94[1]};

    GOSTR3411_CTX ctx;
    CHECK(GOSTR3411_Init(&ctx, oid, VRX_PAR_OID_SIZE) == VRX_OK);
    CHECK(GOSTR3411_Update(&ctx, abc, sizeof abc) == VRX_OK);
    CHECK(GOSTR3411_Final(&ctx, out) == VRX_OK && came_out(abc_digest));
    CHECK(GOSTR3411_Init_more_oids(&ctx, own_oid, sizeof own_oid, &own, 1) == VRX_OK);
    CHECK(GOSTR3411_Update(&ctx, abc, sizeof abc) == VRX_OK);
    CHECK(GOSTR3411_Final(&ctx, out) == VRX_OK && came_out(abc_digest));
    CHECK(GOSTR3411_Init_ex(&ctx, table) == VRX_OK);
    CHECK(GOSTR3411_Update(&ctx, abc, sizeof abc) == VRX_OK);
    CHECK(GOSTR3411_Final(&ctx, out) == VRX_OK && came_out(abc_digest));

    CHECK(GOSTR3411_Transform(oid, VRX_PAR_OID_SIZE, abc, sizeof abc, out) == VRX_OK && came_out(abc_digest));
    CHECK(GOSTR3411_Transform_more_oids(own_oid, sizeof own_oid, &own, 1, abc, sizeof abc, out) == VRX_OK);
    CHECK(came_out(abc_digest));
    CHECK(GOSTR3411_Transform_ex(table, abc, sizeof abc, out) == VRX_OK && came_out(abc_digest));

    uint32_t hash[VRX_HASH_WORDS] = {0};
    uint32_t sum[VRX_HASH_WORDS] = {0};
    uint32_t length[VRX_HASH_WORDS] = {0};
    uint8_t block[VRX_HASH_BLOCK_SIZE] = {'a', 'b', 'c'};
    gost_r_3411_94_hash_bytes(table, hash, sum, length, block, 8 * sizeof abc);
    CHECK(memcmp(sum, block, sizeof sum) == 0 && length[0] == 24);
    gost_r_3411_94_compress(hash, length, table);
    gost_r_3411_94_compress(hash, sum, table);
    CHECK(memcmp(hash, abc_digest, sizeof hash) == 0);
}

/* From nettle 3.8.1, testsuite/hmac-test.c, hash gosthash94: a key, a message and its MAC. */
void hmac_calls(void) {
    static const uint8_t message[] = {0x01, 0x26, 0xBD, 0xB8, 0x78, 0x00, 0xAF, 0x21,
                                      0x43, 0x41, 0x45, 0x65, 0x63, 0x78, 0x01, 0x00};
    static const uint8_t mac[VRX_HMAC_SIZE] = {0xBF, 0xEB, 0xE2, 0x5F, 0x05, 0x1B, 0xFE, 0xF6, 0xAC, 0x85, 0x8B,
                                               0xAB, 0xB0, 0xAB, 0xC4, 0x09, 0xBF, 0xD2, 0xE3, 0x34, 0xAB, 0x84,
                                               0x7B, 0xC0, 0xB0, 0xD0, 0x56, 0x51, 0x7C, 0x7D, 0x94, 0xC5};
    uint8_t key[32];
    for (uint8_t i = 0; i < sizeof key; ++i) key[i] = i;
    uint32_t size = 0;
    CHECK(GOSTR3411_HMAC(VRX_PAR_HASH_0_OID, VRX_PAR_OID_SIZE, message, sizeof message, key, sizeof key, out, &size) ==
          VRX_OK);
    CHECK(came_out(mac) && size == VRX_HMAC_SIZE);
    GOSTR3411_HMAC_CTX ctx;
    CHECK(GOSTR3411_HMAC_Init(&ctx, VRX_PAR_HASH_0_OID, VRX_PAR_OID_SIZE, key, sizeof key) == VRX_OK);
    for (int run = 0; run < 2; ++run) {
        size = 0;
        CHECK(GOSTR3411_HMAC_Update(&ctx, message, sizeof message) == VRX_OK);
        CHECK(GOSTR3411_HMAC_Final(&ctx, out, &size) == VRX_OK && came_out(mac) && size == VRX_HMAC_SIZE);
        CHECK(GOSTR3411_HMAC_Reset(&ctx) == VRX_OK);
    }
}

void kdf_calls(void) {
    /* TC26, addition to PKCS #5 (2012): "password", "salt", one iteration. */
    static const uint8_t password[] = {'p', 'a', 's', 's', 'w', 'o', 'r', 'd'};
    static const uint8_t salt[] = {'s', 'a', 'l', 't'};
    static const uint8_t derived[VRX_PBKDF2_SIZE] = {0x73, 0x14, 0xE7, 0xC0, 0x4F, 0xB2, 0xE6, 0x62, 0xC5, 0x43, 0x67,
                                                     0x42, 0x53, 0xF6, 0x8B, 0xD0, 0xB7, 0x34, 0x45, 0xD0, 0x7F, 0x24,
                                                     0x1B, 0xED, 0x87, 0x28, 0x82, 0xDA, 0x21, 0x66, 0x2D, 0x58};
    CHECK(GOSTR3411_PKCS5_PBKDF2(password, sizeof password, salt, sizeof salt, 1, VRX_PAR_HASH_1_OID, VRX_PAR_OID_SIZE,
                                 out, sizeof out) == VRX_OK);
    CHECK(came_out(derived));

    /* One iteration of the PKCS #12 derivation is the hash of its input blocks. Here, all bytes of these blocks are
     * equal. */
    uint8_t blocks[3 * VRX_HASH_BLOCK_SIZE];
    memset(blocks, 7, sizeof blocks);
    DEFAULT_GOSTR3411_OID = &GOSTR3411_OIDS[1];
    CHECK(GOSTR3411_PBA_Derive(blocks, 1, blocks, 1, 1, 0x1007, VRX_PAR_HASH_0_OID, VRX_PAR_OID_SIZE, out,
                               sizeof out) == VRX_OK);
    uint8_t digest[VRX_HASH_SIZE];
    CHECK(GOSTR3411_Transform_ex(&TZ_3411_94[1], blocks, sizeof blocks, digest) == VRX_OK);
    CHECK(came_out(digest));
}
