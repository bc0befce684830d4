/* Static assertions on sizes and offsets of all public records, compiled as C11 and as C++ (layout_cxx.cpp). */
#include <assert.h>
#include <stddef.h>

#include "vrx.h"

#ifdef __cplusplus
#define ALIGNMENT(type) alignof(type)
#else
#define ALIGNMENT(type) _Alignof(type)
#endif

#define RECORD(type, size, alignment) \
    static_assert(sizeof(type) == (size) && ALIGNMENT(type) == (alignment), "record " #type)
#define FIELD(type, field, offset, size) \
    static_assert(offsetof(type, field) == (offset) && sizeof(((type*)0)->field) == (size), #type "." #field)

static_assert(sizeof(int) == 4 && sizeof(void*) == 8, "x86-64, System V");

RECORD(vrx_data, 16, 8);
FIELD(vrx_data, length, 0, 4);
FIELD(vrx_data, data, 8, 8);

RECORD(vrx_tz, 4100, 4);
FIELD(vrx_tz, t, 0, 4096);
FIELD(vrx_tz, initialised, 4096, 1);
FIELD(vrx_tz, zero, 4097, 3);

RECORD(vrx_gostr3411_par, 40, 8);
FIELD(vrx_gostr3411_par, oid_length, 0, 4);
FIELD(vrx_gostr3411_par, oid, 8, 8);
FIELD(vrx_gostr3411_par, str_oid, 16, 8);
FIELD(vrx_gostr3411_par, name, 24, 8);
FIELD(vrx_gostr3411_par, tz, 32, 8);

RECORD(vrx_gost28147_par, 56, 8);
FIELD(vrx_gost28147_par, oid_length, 0, 4);
FIELD(vrx_gost28147_par, oid, 8, 8);
FIELD(vrx_gost28147_par, str_oid, 16, 8);
FIELD(vrx_gost28147_par, name, 24, 8);
FIELD(vrx_gost28147_par, tz, 32, 8);
FIELD(vrx_gost28147_par, mode, 40, 1);
FIELD(vrx_gost28147_par, key_meshing, 41, 1);
FIELD(vrx_gost28147_par, next, 48, 8);

RECORD(vrx_crpt_ctx, 4184, 4);
FIELD(vrx_crpt_ctx, table, 0, 4100);
FIELD(vrx_crpt_ctx, mode, 4100, 4);
FIELD(vrx_crpt_ctx, aux1, 4104, 4);
FIELD(vrx_crpt_ctx, key_meshing, 4108, 4);
FIELD(vrx_crpt_ctx, aux2, 4112, 4);
FIELD(vrx_crpt_ctx, key, 4116, 32);
FIELD(vrx_crpt_ctx, iv, 4148, 8);
FIELD(vrx_crpt_ctx, mesh_count, 4156, 4);
FIELD(vrx_crpt_ctx, block, 4160, 8);
FIELD(vrx_crpt_ctx, mac, 4168, 8);
FIELD(vrx_crpt_ctx, block_len, 4176, 4);
FIELD(vrx_crpt_ctx, initialised, 4180, 1);
FIELD(vrx_crpt_ctx, direction, 4181, 1);
FIELD(vrx_crpt_ctx, flags, 4182, 1);

RECORD(vrx_crpt_table_rec, 4116, 4);
FIELD(vrx_crpt_table_rec, table, 0, 4100);
FIELD(vrx_crpt_table_rec, mode, 4100, 4);
FIELD(vrx_crpt_table_rec, aux1, 4104, 4);
FIELD(vrx_crpt_table_rec, key_meshing, 4108, 4);
FIELD(vrx_crpt_table_rec, aux2, 4112, 4);

RECORD(old_crpt_params, 32, 8);
FIELD(old_crpt_params, first, 0, 4);
FIELD(old_crpt_params, second, 4, 4);
FIELD(old_crpt_params, table, 8, 8);
FIELD(old_crpt_params, key, 16, 8);
FIELD(old_crpt_params, iv, 24, 8);

RECORD(GOSTR3411_CTX, 4232, 4);
FIELD(GOSTR3411_CTX, table, 0, 4100);
FIELD(GOSTR3411_CTX, sum, 4100, 32);
FIELD(GOSTR3411_CTX, hash, 4132, 32);
FIELD(GOSTR3411_CTX, length, 4164, 32);
FIELD(GOSTR3411_CTX, buffer, 4196, 32);
FIELD(GOSTR3411_CTX, count, 4228, 4);

RECORD(GOSTR3411_HMAC_CTX, 4336, 8);
FIELD(GOSTR3411_HMAC_CTX, par, 0, 8);
FIELD(GOSTR3411_HMAC_CTX, hash, 8, 4232);
FIELD(GOSTR3411_HMAC_CTX, digest, 4240, 32);
FIELD(GOSTR3411_HMAC_CTX, ipad_key, 4272, 32);
FIELD(GOSTR3411_HMAC_CTX, opad_key, 4304, 32);

RECORD(sha_context, 92, 4);
FIELD(sha_context, data, 0, 64);
FIELD(sha_context, digest, 64, 20);
FIELD(sha_context, count_hi, 84, 4);
FIELD(sha_context, count_lo, 88, 4);

RECORD(EcPoint, 72, 4);
FIELD(EcPoint, x, 0, 36);
FIELD(EcPoint, y, 36, 36);

RECORD(EcPointJ, 108, 4);
FIELD(EcPointJ, x, 0, 36);
FIELD(EcPointJ, y, 36, 36);
FIELD(EcPointJ, z, 72, 36);

RECORD(EcSignature, 72, 4);
FIELD(EcSignature, r, 0, 36);
FIELD(EcSignature, s, 36, 36);

RECORD(EcParamSet, 5432, 8);
FIELD(EcParamSet, a, 0, 36);
FIELD(EcParamSet, b, 36, 36);
FIELD(EcParamSet, p, 72, 36);
FIELD(EcParamSet, q, 108, 36);
FIELD(EcParamSet, G, 144, 72);
FIELD(EcParamSet, oid_len, 216, 8);
FIELD(EcParamSet, oid, 224, 8);
FIELD(EcParamSet, str_oid, 232, 8);
FIELD(EcParamSet, has_precomp, 240, 4);
FIELD(EcParamSet, pp, 244, 5184);
