#include <array>

#include "frame/log.hpp"
#include "frame/wipe.hpp"
#include "gostr3411/checks.hpp"
#include "gostr3411/hmac.hpp"

namespace log = vrx::log;
namespace checks = vrx::gostr3411::checks;
using namespace vrx::gostr3411;

namespace {

using Block = std::array<std::uint8_t, VRX_HASH_BLOCK_SIZE>;

int find_par(const std::uint8_t* oid, std::uint32_t oid_len, const vrx_gostr3411_par*& par) {
    if (oid == nullptr) {
        par = DEFAULT_GOSTR3411_OID;
        return VRX_OK;
    }
    if (const int rc = oidFindGOSTR3411Par(oid, oid_len, &par)) return log::failed("oidFindGOSTR3411Par", rc);
    return VRX_OK;
}

/** K of RFC 2104, on entry zero: the key itself when it fits, or else its digest. */
int make_block_key(const std::uint8_t* key, std::uint32_t key_len, const vrx_tz* table, Block& k) {
    if (key_len <= k.size()) {
        if (key_len != 0) std::memcpy(k.data(), key, key_len);
        return VRX_OK;
    }
    if (const int rc = checks::init_ex(table)) return log::failed("GOSTR3411_Init_ex", 1, rc);
    if (const int rc = checks::update(key, key_len)) return log::failed("GOSTR3411_Update", 1, rc);
    State s{};
    finish(s, key, key_len, *table);
    store(k.data(), s.hash);
    vrx::wipe(&s, sizeof s);
    vrx::wipe_stack();
    return VRX_OK;
}

/** What GOSTR3411_HMAC_Init() and GOSTR3411_HMAC() begin with, up to the start of the inner hash. */
int make_pads(const std::uint8_t* key, std::uint32_t key_len, const vrx_tz* table, std::uint8_t* ipad_key,
              std::uint8_t* opad_key) {
    vrx::Secret<Block> k;
    if (const int rc = make_block_key(key, key_len, table, k.value)) return rc;
    for (std::size_t i = 0; i < k.value.size(); ++i) {
        ipad_key[i] = k.value[i] ^ 0x36;
        opad_key[i] = k.value[i] ^ 0x5c;
    }
    if (const int rc = checks::init_ex(table)) return log::failed("GOSTR3411_Init_ex", 2, rc);
    return VRX_OK;
}

}  // namespace

int GOSTR3411_HMAC_Init(GOSTR3411_HMAC_CTX* ctx, const std::uint8_t* oid, std::uint32_t oid_len,
                        const std::uint8_t* key, std::uint32_t key_len) {
    if (const int rc = find_par(oid, oid_len, ctx->par)) return rc;
    if (const int rc = make_pads(key, key_len, ctx->par->tz, ctx->ipad_key, ctx->opad_key)) return rc;
    return GOSTR3411_HMAC_Reset(ctx);
}

int GOSTR3411_HMAC_Reset(GOSTR3411_HMAC_CTX* ctx) {
    if (const int rc = GOSTR3411_Init_ex(&ctx->hash, ctx->par->tz)) return log::failed("GOSTR3411_Init_ex", rc);
    update(ctx->hash, ctx->ipad_key, sizeof ctx->ipad_key);
    vrx::wipe_stack();
    return VRX_OK;
}

int GOSTR3411_HMAC_Update(GOSTR3411_HMAC_CTX* ctx, const std::uint8_t* data, std::uint32_t len) {
    if (const int rc = GOSTR3411_Update(&ctx->hash, data, len)) return log::failed("GOSTR3411_Update", rc);
    vrx::wipe_stack();
    return VRX_OK;
}

int GOSTR3411_HMAC_Final(GOSTR3411_HMAC_CTX* ctx, std::uint8_t* out, std::uint32_t* out_len) {
    *out_len = VRX_HMAC_SIZE;
    final(ctx->hash, ctx->digest);
    start(ctx->hash);  // with the table that the context holds, whatever its parameter set says by now
    update(ctx->hash, ctx->opad_key, sizeof ctx->opad_key);
    update(ctx->hash, ctx->digest, sizeof ctx->digest);
    final(ctx->hash, ctx->digest);
    if (out != nullptr) std::memcpy(out, ctx->digest, sizeof ctx->digest);
    vrx::wipe_stack();
    return VRX_OK;
}

int GOSTR3411_HMAC(const std::uint8_t* oid, std::uint32_t oid_len, const std::uint8_t* data, std::uint32_t data_len,
                   const std::uint8_t* key, std::uint32_t key_len, std::uint8_t* out, std::uint32_t* out_len) {
    *out_len = VRX_HMAC_SIZE;
    const vrx_gostr3411_par* par = nullptr;
    if (const int rc = find_par(oid, oid_len, par)) return rc;
    vrx::Secret<Block> ipad_key;
    vrx::Secret<Block> opad_key;
    if (const int rc = make_pads(key, key_len, par->tz, ipad_key.value.data(), opad_key.value.data())) return rc;
    if (const int rc = checks::update(data, data_len)) return log::failed("GOSTR3411_Update", 3, rc);
    if (const int rc = checks::final(out)) return log::failed("GOSTR3411_Final", 2, rc);
    vrx::Secret<Keyed> k;
    k.value = keyed(ipad_key.value.data(), opad_key.value.data(), *par->tz);
    mac(k.value, data, data_len, out, *par->tz);
    vrx::wipe_stack();
    return VRX_OK;
}
