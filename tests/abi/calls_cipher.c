/* Calls of kernels, modes, contexts and key meshing of GOST 28147-89. */
#include <string.h>

#include "calls.h"

/* From libgcrypt 1.10.1, tests/basic.c: one block, encrypted with the test set. */
static const uint8_t key_bytes[VRX_KEY_SIZE] = {0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x8B,
                                                0x8C, 0x8D, 0x8E, 0x8F, 0x80, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6,
                                                0xD7, 0xD8, 0xD9, 0xDA, 0xDB, 0xDC, 0xDD, 0xDE, 0xDF, 0xD0};
static const uint8_t plain[VRX_BLOCK_SIZE] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
static const uint8_t cipher[VRX_BLOCK_SIZE] = {0x98, 0x56, 0xCF, 0x8B, 0xFC, 0xC2, 0x82, 0xF4};
static const vrx_tz* const table = &TZ_28147_89[0];

/* From gost-engine 3.0.1, test_gost2814789.c, "testimit1": a MAC with CryptoPro-A. */
static const uint8_t mac_key_bytes[VRX_KEY_SIZE] = {0x9D, 0x05, 0xB7, 0x9E, 0x90, 0xCA, 0xD0, 0x0A, 0x2C, 0xDA, 0xD2,
                                                    0x2E, 0xF4, 0xE8, 0x6F, 0x5C, 0xF5, 0xDC, 0x37, 0x68, 0x19, 0x85,
                                                    0xB3, 0xBF, 0xAA, 0x18, 0xC1, 0xC3, 0x05, 0x0A, 0x91, 0xA2};
static const uint8_t message[16] = {0xB5, 0xA1, 0xF0, 0xE3, 0xCE, 0x2F, 0x02, 0x1D,
                                    0x67, 0x61, 0x94, 0x34, 0x5C, 0x41, 0xE3, 0x6E};
static const uint8_t mac[4] = {0xF8, 0x1F, 0x08, 0xA3};

enum { data_size = 24 };
static uint32_t key[VRX_KEY_WORDS];
static uint32_t mac_key[VRX_KEY_WORDS];
static uint8_t data[data_size];
static uint8_t expected[data_size];
static uint8_t output[data_size];

static int same(const void* a, const void* b, size_t size) { return memcmp(a, b, size) == 0; }

static vrx_data record(const void* bytes, size_t length) {
    /* The input is const, so the test checks that it is unchanged. */
    union {
        const void* in;
        uint8_t* out;
    } pointer = {bytes};
    vrx_data result = {(uint32_t)length, pointer.out};
    return result;
}

/* Encrypts `data` in a mode, block by block with the kernel. The IV is `plain`. */
static void stream_by_kernel(int mode, uint8_t out[data_size]) {
    uint8_t state[VRX_BLOCK_SIZE];
    memcpy(state, plain, sizeof state);
    if (mode == VRX_MODE_GAMM) vrx_gost_encr_64_m(plain, state, key, table);
    for (int i = 0; i < data_size; i += VRX_BLOCK_SIZE) {
        if (mode == VRX_MODE_GAMM) vrx_gost_gamm_64_m(data + i, out + i, state, key, table);
        if (mode == VRX_MODE_GFB) vrx_gost_GFB_64_m(data + i, out + i, state, key, table, 1);
        if (mode == VRX_MODE_CBC) vrx_gost_cbc_64_m(data + i, out + i, state, key, table, 1);
        if (mode == VRX_MODE_SS) vrx_gost_encr_64_m(data + i, out + i, key, table);
    }
}

void kernel_calls(void) {
    memcpy(key, key_bytes, sizeof key);
    memcpy(mac_key, mac_key_bytes, sizeof mac_key);
    for (int i = 0; i < data_size; ++i) data[i] = (uint8_t)(7 * i);

    uint8_t block[VRX_BLOCK_SIZE];
    vrx_gost_encr_64_m(plain, block, key, table);
    CHECK(same(block, cipher, sizeof block));
    vrx_gost_decr_64_m(cipher, block, key, table);
    CHECK(same(block, plain, sizeof block));

    uint8_t state[VRX_BLOCK_SIZE] = {0};
    vrx_gost_imito_64_m(message, state, mac_key, &TZ_28147_89[1]);
    vrx_gost_imito_64_m(message + VRX_BLOCK_SIZE, state, mac_key, &TZ_28147_89[1]);
    CHECK(same(state, mac, sizeof mac));

    /* A step of the counter changes word 0 from 00000000h to 01010101h, and word 1 from 04030201h to 05040305h. */
    static const uint8_t counter[VRX_BLOCK_SIZE] = {0, 0, 0, 0, 1, 2, 3, 4};
    static const uint8_t stepped[VRX_BLOCK_SIZE] = {1, 1, 1, 1, 5, 3, 4, 5};
    memcpy(state, counter, sizeof state);
    vrx_gost_gamm_64_m(data, output, state, key, table);
    CHECK(same(state, stepped, sizeof state));
    vrx_gost_encr_64_m(stepped, block, key, table);
    for (int i = 0; i < VRX_BLOCK_SIZE; ++i) CHECK(output[i] == (data[i] ^ block[i]));

    memcpy(state, plain, sizeof state);
    vrx_gost_GFB_64_m(data, output, state, key, table, 1);
    CHECK(same(state, output, sizeof state));
    for (int i = 0; i < VRX_BLOCK_SIZE; ++i) CHECK(output[i] == (data[i] ^ cipher[i]));
    memcpy(state, plain, sizeof state);
    vrx_gost_GFB_64_m(output, block, state, key, table, 0);
    CHECK(same(block, data, sizeof block));

    static const uint8_t zeros[VRX_BLOCK_SIZE] = {0};
    memcpy(state, plain, sizeof state);
    vrx_gost_cbc_64_m(zeros, output, state, key, table, 1);
    CHECK(same(output, cipher, sizeof cipher) && same(state, cipher, sizeof cipher));
    memcpy(state, plain, sizeof state);
    vrx_gost_cbc_64_m(cipher, block, state, key, table, 0);
    CHECK(same(block, zeros, sizeof zeros) && same(state, cipher, sizeof cipher));
}

void mode_calls(void) {
    CHECK(ciph_mode_by_name("ss") == VRX_MODE_SS);
    CHECK(ciph_mode_by_name("gamm") == VRX_MODE_GAMM);
    CHECK(ciph_mode_by_name("gfb") == VRX_MODE_GFB);
    CHECK(ciph_mode_by_name("cbc") == VRX_MODE_CBC);
    CHECK(ciph_mode_by_name("CBC") == 0);

    const vrx_data in = record(data, data_size);
    for (int mode = VRX_MODE_SS; mode <= VRX_MODE_CBC; ++mode) {
        stream_by_kernel(mode, expected);
        vrx_data out = record(output, data_size);
        uint8_t iv[VRX_BLOCK_SIZE];
        memcpy(iv, plain, sizeof iv);
        int rc = -1;
        switch (mode) {
            case VRX_MODE_SS:
                rc = VRX_Gost_SS_m(table, &in, &out, key, 1);
                break;
            case VRX_MODE_GAMM:
                rc = VRX_Gost_Gamm_m(table, &in, &out, iv, key, VRX_FLAG_FIRST);
                break;
            case VRX_MODE_GFB:
                rc = VRX_Gost_GFB_m(table, &in, &out, iv, key, 1, VRX_FLAG_FIRST);
                break;
            case VRX_MODE_CBC:
                rc = VRX_Gost_CBC_m(table, &in, &out, iv, key, 1);
                break;
            default:
                break;
        }
        CHECK(rc == VRX_OK && out.length == data_size);
        CHECK(same(output, expected, data_size));

        memset(output, 0, sizeof output);
        memcpy(iv, plain, sizeof iv);
        CHECK(do_cipher_low(table, mode, &in, &out, iv, key, 1, VRX_FLAG_FIRST) == VRX_OK);
        CHECK(same(output, expected, data_size));

        const vrx_data back = record(expected, data_size);
        memcpy(iv, plain, sizeof iv);
        CHECK(do_cipher_low(table, mode, &back, &out, iv, key, 0, VRX_FLAG_FIRST) == VRX_OK);
        CHECK(same(output, data, data_size));
    }

    const vrx_data text = record(message, sizeof message);
    uint8_t state[VRX_BLOCK_SIZE];
    vrx_data mac_out = record(state, sizeof state);
    memset(state, 0xA5, sizeof state);
    CHECK(VRX_Gost_Imito_m(&TZ_28147_89[1], &text, &mac_out, mac_key, VRX_FLAG_FIRST) == VRX_OK);
    CHECK(same(state, mac, sizeof mac));
    memset(state, 0xA5, sizeof state);
    CHECK(do_imito_low(&TZ_28147_89[1], &text, &mac_out, mac_key, VRX_FLAG_FIRST) == VRX_OK);
    CHECK(same(state, mac, sizeof mac));

    uint8_t last[VRX_BLOCK_SIZE];
    static const uint8_t padded[VRX_BLOCK_SIZE] = {0x67, 0x61, 0x94};
    uint32_t tail = 0;
    uint32_t blocks = 0;
    CHECK(make_last_block(message, 11, last, &tail, &blocks, VRX_FLAG_PAD) == VRX_OK);
    CHECK(tail == 3 && blocks == 1 && same(last, padded, sizeof padded));
}

/* Processes `data` in two pieces with the context functions of one mode. */
static void two_pieces(vrx_crpt_ctx* ctx, int (*update)(vrx_crpt_ctx*, const vrx_data*, vrx_data*)) {
    const vrx_data first = record(data, 16);
    const vrx_data second = record(data + 16, 8);
    vrx_data out = record(output, sizeof output);
    memset(output, 0, sizeof output);
    CHECK(update(ctx, &first, &out) == VRX_OK && out.length == 16);
    out = record(output + 16, 8);
    CHECK(update(ctx, &second, &out) == VRX_OK && out.length == 8);
    CHECK(same(output, expected, data_size));
}

void context_calls(void) {
    vrx_crpt_ctx ctx;
    for (uint32_t mode = VRX_MODE_SS; mode <= VRX_MODE_CBC; ++mode) {
        stream_by_kernel((int)mode, expected);
        CHECK(vrx_crpt_init_context(&ctx, 1, table, mode, 11, 0, 22, plain, key) == VRX_OK);
        CHECK(ctx.aux1 == 11 && ctx.aux2 == 22 && ctx.mode == mode);
        two_pieces(&ctx, vrx_crpt_update);
        CHECK(vrx_crpt_final(&ctx) == VRX_OK);
        CHECK(vrx_crpt_reset(&ctx) == VRX_OK);
        CHECK(ctx.initialised == 1);

        const vrx_data in = record(data, data_size);
        vrx_data out = record(output, sizeof output);
        uint8_t iv[VRX_BLOCK_SIZE];
        memcpy(iv, plain, sizeof iv);
        memset(output, 0, sizeof output);
        CHECK(vrx_crpt_crypto_engine(mode, table, &in, &out, iv, key, 1, VRX_FLAG_FIRST) == VRX_OK);
        CHECK(same(output, expected, data_size));

        memset(output, 0, sizeof output);
        CHECK(vrx_crpt_init_context(&ctx, 1, table, mode, 0, 0, 0, plain, key) == VRX_OK);
        CHECK(vrx_crpt_context_engine(&ctx, &in, &out) == VRX_OK);
        CHECK(same(output, expected, data_size));
    }

    vrx_crpt_table_rec rec = {*table, VRX_MODE_GFB, 33, 0, 44};
    vrx_data rec_data = record(&rec, sizeof rec);
    vrx_data key_data = record(key_bytes, sizeof key_bytes);
    old_crpt_params params = {1, 1, &rec_data, &key_data, {0}};
    memcpy(params.iv, plain, sizeof plain);
    stream_by_kernel(VRX_MODE_GFB, expected);
    CHECK(old_crpt_init_context(&ctx, 1, &params) == VRX_OK);
    CHECK(ctx.aux1 == 33 && ctx.aux2 == 44);
    two_pieces(&ctx, vrx_crpt_CFB_ctx);

    stream_by_kernel(VRX_MODE_GAMM, expected);
    CHECK(vrx_crpt_init_context(&ctx, 1, table, VRX_MODE_GAMM, 0, 0, 0, plain, key) == VRX_OK);
    two_pieces(&ctx, vrx_crpt_CNT_ctx);

    const vrx_data text = record(message, sizeof message);
    CHECK(vrx_crpt_init_context(&ctx, 1, &TZ_28147_89[1], VRX_MODE_IMITO, 0, 0, 0, NULL, mac_key) == VRX_OK);
    CHECK(vrx_crpt_IMITO_ctx(&ctx, &text) == VRX_OK);
    CHECK(vrx_crpt_final(&ctx) == VRX_OK);
    CHECK(same(ctx.mac, mac, sizeof mac));
}

void meshing_calls(void) {
    /* RFC 4357, section 2.3.2. */
    static const uint8_t constant[VRX_KEY_SIZE] = {0x69, 0x00, 0x72, 0x22, 0x64, 0xC9, 0x04, 0x23, 0x8D, 0x3A, 0xDB,
                                                   0x96, 0x46, 0xE9, 0x2A, 0xC4, 0x18, 0xFE, 0xAC, 0x94, 0x00, 0xED,
                                                   0x07, 0x12, 0xC0, 0x86, 0xDC, 0xC2, 0xEF, 0x4C, 0xA9, 0x2B};
    uint8_t new_key_bytes[VRX_KEY_SIZE];
    for (int i = 0; i < VRX_KEY_SIZE; i += VRX_BLOCK_SIZE)
        vrx_gost_decr_64_m(constant + i, new_key_bytes + i, key, table);
    uint32_t new_key[VRX_KEY_WORDS];
    memcpy(new_key, new_key_bytes, sizeof new_key);
    uint8_t new_iv[VRX_BLOCK_SIZE];
    vrx_gost_encr_64_m(plain, new_iv, new_key, table);

    uint32_t own_key[VRX_KEY_WORDS];
    uint8_t own_iv[VRX_BLOCK_SIZE];
    memcpy(own_key, key, sizeof own_key);
    memcpy(own_iv, plain, sizeof own_iv);
    CHECK(vrx_crpt_crypto_pro_key_meshing_engine(table, own_iv, own_key) == VRX_OK);
    CHECK(same(own_key, new_key, sizeof new_key) && same(own_iv, new_iv, sizeof new_iv));

    vrx_crpt_ctx ctx;
    CHECK(vrx_crpt_init_context(&ctx, 1, table, VRX_MODE_GFB, 0, 1, 0, plain, key) == VRX_OK);
    for (int i = 0; i < VRX_MESHING_SECTION; i += VRX_BLOCK_SIZE) CHECK(vrx_make_key_meshing(&ctx) == VRX_OK);
    CHECK(ctx.mesh_count == VRX_MESHING_SECTION && same(ctx.key, key, sizeof key));
    CHECK(vrx_make_key_meshing(&ctx) == VRX_OK);
    CHECK(ctx.mesh_count == VRX_BLOCK_SIZE);
    CHECK(same(ctx.key, new_key, sizeof new_key) && same(ctx.iv, new_iv, sizeof new_iv));

    vrx_crpt_table_rec rec = {*table, VRX_MODE_GFB, 0, 1, 0};
    uint8_t bytes[VRX_KEY_SIZE];
    memcpy(bytes, key_bytes, sizeof bytes);
    vrx_data rec_data = record(&rec, sizeof rec);
    vrx_data key_data = record(bytes, sizeof bytes);
    old_crpt_params params = {1, 1, &rec_data, &key_data, {0}};
    memcpy(params.iv, plain, sizeof plain);
    CHECK(vrx_crpt_crypto_pro_key_meshing(&params) == VRX_OK);
    CHECK(same(bytes, new_key_bytes, sizeof bytes) && same(params.iv, new_iv, sizeof new_iv));
}
