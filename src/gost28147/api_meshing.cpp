// The key meshing functions of vrx/context.h. They log a table that is not deployed.
#include <cstring>

#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"
#include "gost28147/mesh.hpp"
#include "vrx/modes.h"

int vrx_crpt_crypto_pro_key_meshing_engine(const vrx_tz* table, std::uint8_t* iv, std::uint32_t* key) {
    vrx::Secret<std::uint8_t[VRX_KEY_SIZE]> next_key;
    const vrx_data constant{VRX_KEY_SIZE, const_cast<std::uint8_t*>(vrx::gost28147::meshing_constant)};
    vrx_data out{VRX_KEY_SIZE, next_key.value};
    // Deliberate: if a step fails, it is repeated, and logs a second line.
    if (VRX_Gost_SS_m(table, &constant, &out, key, 0) != VRX_OK)
        if (const int rc = VRX_Gost_SS_m(table, &constant, &out, key, 0)) return rc;
    vrx::copy_secret(key, next_key.value, VRX_KEY_SIZE);
    const vrx_data old_iv{VRX_BLOCK_SIZE, iv};
    vrx_data new_iv{VRX_BLOCK_SIZE, iv};
    return VRX_Gost_SS_m(table, &old_iv, &new_iv, key, 1);
}

int vrx_make_key_meshing(vrx_crpt_ctx* ctx) {
    if (!vrx::gost28147::meshes(*ctx)) return VRX_OK;
    if (ctx->mesh_count == VRX_MESHING_SECTION) {
        if (const int rc = vrx_crpt_crypto_pro_key_meshing_engine(&ctx->table, ctx->iv, ctx->key)) {
            ctx->initialised = 0;
            return rc;
        }
        ctx->mesh_count = 0;
    }
    ctx->mesh_count += VRX_BLOCK_SIZE;
    return VRX_OK;
}

int vrx_crpt_crypto_pro_key_meshing(old_crpt_params* p) {
    vrx_tz table;  // copied, since the record that starts with it may be unaligned
    std::memcpy(&table, p->table->data, sizeof table);
    return vrx_crpt_crypto_pro_key_meshing_engine(&table, p->iv, reinterpret_cast<std::uint32_t*>(p->key->data));
}
