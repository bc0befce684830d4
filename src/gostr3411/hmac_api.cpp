#include <array>

#include "frame/log.hpp"
#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"
#include "gostr3411/checks.hpp"
#include "gostr3411/hmac.hpp"

namespace log = vrx::log;
namespace checks = vrx::gostr3411::checks;
using namespace vrx::gostr3411;

namespace {

using Pad = std::array<std::uint8_t, VRX_HASH_BLOCK_SIZE>;

int find_par(const std::uint8_t* oid, std::uint32_t oid_len, const vrx_gostr3411_par*& par) {
    if (oid == nullptr) {
        par = DEFAULT_GOSTR3411_OID;
        return VRX_OK;
    }
    if (const int rc = oidFindGOSTR3411Par(oid, oid_len, &par)) return log::failed("oidFindGOSTR3411Par", rc);
    return VRX_OK;
}

/** The key as one block (K in RFC 2104): padded with zeros. A key that is longer than a block is hashed first. */
int make_block_key(const std::uint8_t* key, std::uint32_t key_len, const vrx_tz* table, Pad& k) {
    k.fill(0);
    if (key_len <= k.size()) {
        if (key_len != 0) std::memcpy(k.data(), key, key_len);
        return VRX_OK;
    }
    if (const int rc = checks::init_ex(table)) return log::failed("GOSTR3411_Init_ex", 1, rc);
    if (const int rc = checks::update(key, key_len)) return log::failed("GOSTR3411_Update", 1, rc);
    State s{};
    finish(s, key, key_len, Substitution(*table));
    store(k.data(), s.hash);
    return VRX_OK;
}

/** The common first part of GOSTR3411_HMAC_Init() and GOSTR3411_HMAC(). It XORs the key with both pads. */
int make_pads(const std::uint8_t* key, std::uint32_t key_len, const vrx_tz* table, std::uint8_t* ipad_key,
              std::uint8_t* opad_key) {
    Pad k;
    if (const int rc = make_block_key(key, key_len, table, k)) return rc;
    for (std::size_t i = 0; i < k.size(); ++i) {
        ipad_key[i] = k[i] ^ 0x36;
        opad_key[i] = k[i] ^ 0x5c;
    }
    if (const int rc = checks::init_ex(table)) return log::failed("GOSTR3411_Init_ex", 2, rc);
    return VRX_OK;
}

/** Starts the inner hash: sets the table, and hashes the key block XORed with ipad. */
void begin(GOSTR3411_HMAC_CTX& ctx, const vrx_tz& table) {
    init(ctx.hash, table);
    update(ctx.hash, ctx.ipad_key, sizeof ctx.ipad_key);
}

}  // namespace

int GOSTR3411_HMAC_Init(GOSTR3411_HMAC_CTX* ctx, const std::uint8_t* oid, std::uint32_t oid_len,
                        const std::uint8_t* key, std::uint32_t key_len) {
    if (const int rc = find_par(oid, oid_len, ctx->par)) return rc;
    return vrx::secret_work<vrx::depth::hmac>([&]() -> int {
        const vrx_tz* table = ctx->par->tz;
        if (const int rc = make_pads(key, key_len, table, ctx->ipad_key, ctx->opad_key)) return rc;
        begin(*ctx, *table);
        return VRX_OK;
    });
}

int GOSTR3411_HMAC_Reset(GOSTR3411_HMAC_CTX* ctx) {
    const vrx_tz* table = ctx->par->tz;
    if (const int rc = checks::init_ex(table)) return log::failed("GOSTR3411_Init_ex", rc);
    return vrx::secret_work<vrx::depth::hmac>([&] {
        begin(*ctx, *table);
        return VRX_OK;
    });
}

int GOSTR3411_HMAC_Update(GOSTR3411_HMAC_CTX* ctx, const std::uint8_t* data, std::uint32_t len) {
    if (const int rc = checks::update(data, len)) return log::failed("GOSTR3411_Update", rc);
    if (waits(ctx->hash, data, len)) return VRX_OK;
    const Substitution by(ctx->hash.table);
    vrx::secret_work<vrx::depth::hash>([&] { update(ctx->hash, data, len, by); });
    return VRX_OK;
}

int GOSTR3411_HMAC_Final(GOSTR3411_HMAC_CTX* ctx, std::uint8_t* out, std::uint32_t* out_len) {
    *out_len = VRX_HMAC_SIZE;
    return vrx::secret_work<vrx::depth::hmac>([&] {
        final(ctx->hash, ctx->digest);
        start(ctx->hash);  // keeps the table in the context, even if the caller has changed ctx->par
        update(ctx->hash, ctx->opad_key, sizeof ctx->opad_key);
        update(ctx->hash, ctx->digest, sizeof ctx->digest);
        final(ctx->hash, ctx->digest);
        if (out != nullptr) std::memcpy(out, ctx->digest, sizeof ctx->digest);
        return VRX_OK;
    });
}

int GOSTR3411_HMAC(const std::uint8_t* oid, std::uint32_t oid_len, const std::uint8_t* data, std::uint32_t data_len,
                   const std::uint8_t* key, std::uint32_t key_len, std::uint8_t* out, std::uint32_t* out_len) {
    *out_len = VRX_HMAC_SIZE;
    const vrx_gostr3411_par* par = nullptr;
    if (const int rc = find_par(oid, oid_len, par)) return rc;
    return vrx::secret_work<vrx::depth::hmac>([&]() -> int {
        Pad ipad_key;
        Pad opad_key;
        if (const int rc = make_pads(key, key_len, par->tz, ipad_key.data(), opad_key.data())) return rc;
        if (const int rc = checks::update(data, data_len)) return log::failed("GOSTR3411_Update", 3, rc);
        if (const int rc = checks::final(out)) return log::failed("GOSTR3411_Final", 2, rc);
        const Substitution by(*par->tz);
        mac(keyed(ipad_key.data(), opad_key.data(), by), data, data_len, out, by);
        return VRX_OK;
    });
}
