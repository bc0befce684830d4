#include <cstdint>
#include <cstring>
#include <span>

#include "frame/log.hpp"
#include "frame/secret_work.hpp"
#include "gostr3411/checks.hpp"
#include "gostr3411/hash.hpp"

namespace log = vrx::log;
namespace checks = vrx::gostr3411::checks;
using namespace vrx::gostr3411;

namespace {

/** Finds a record by its identifier, first among the built-in records. Returns nullptr if there is none. */
const vrx_gostr3411_par* find(std::span<const std::uint8_t> oid, std::span<const vrx_gostr3411_par> extra) {
    for (const auto records : {std::span<const vrx_gostr3411_par>(GOSTR3411_OIDS), extra})
        for (const vrx_gostr3411_par& record : records)
            if (record.oid_length == oid.size() && std::memcmp(record.oid, oid.data(), oid.size()) == 0) return &record;
    return nullptr;
}

/**
 * Returns the table of the set with an identifier, for GOSTR3411_Init_more_oids(). On failure, the function logs a
 * line, sets rc, and may return nullptr.
 */
const vrx_tz* find_table(const std::uint8_t* oid, std::uint32_t oid_len, const vrx_gostr3411_par* extra,
                         std::uint32_t extra_count, int& rc) {
    if (oid == nullptr || oid_len == 0) {
        rc = log::bad_params("GOSTR3411_Init_more_oids");
        return nullptr;
    }
    const vrx_gostr3411_par* record = find({oid, oid_len}, {extra, extra == nullptr ? 0 : extra_count});
    if (record == nullptr) {
        rc = log::condition("GOSTR3411_Init_more_oids", "unsupported OID", VRX_ERR_UNSUPPORTED_OID);
        return nullptr;
    }
    rc = checks::init_ex(record->tz);
    return record->tz;
}

/** Hashes a whole message with the caller's table, without a context, which would contain a copy of the table. */
int transform(const vrx_tz& table, const std::uint8_t* data, std::uint32_t len, std::uint8_t* out) {
    if (const int rc = checks::update(data, len)) return log::failed("GOSTR3411_Update", rc);
    if (const int rc = checks::final(out)) return log::failed("GOSTR3411_Final", rc);
    const Substitution by(table);  // not inside secret_work(), because the table is public and large
    vrx::secret_work<vrx::depth::hash>([&] {
        State s{};
        finish(s, data, len, by);
        store(out, s.hash);
    });
    return VRX_OK;
}

}  // namespace

int GOSTR3411_Init(GOSTR3411_CTX* ctx, const std::uint8_t* oid, std::uint32_t oid_len) {
    return GOSTR3411_Init_more_oids(ctx, oid, oid_len, nullptr, 0);
}

int GOSTR3411_Init_more_oids(GOSTR3411_CTX* ctx, const std::uint8_t* oid, std::uint32_t oid_len,
                             const vrx_gostr3411_par* extra, std::uint32_t extra_count) {
    if (ctx == nullptr) return log::bad_params("GOSTR3411_Init_more_oids");
    int rc = VRX_OK;
    const vrx_tz* table = find_table(oid, oid_len, extra, extra_count, rc);
    if (table != nullptr) init(*ctx, *table);
    return rc;
}

int GOSTR3411_Init_ex(GOSTR3411_CTX* ctx, const vrx_tz* table) {
    if (ctx == nullptr) return log::bad_params("GOSTR3411_Init_ex");
    if (const int rc = checks::init_ex(table)) return rc;
    init(*ctx, *table);
    return VRX_OK;
}

int GOSTR3411_Update(GOSTR3411_CTX* ctx, const std::uint8_t* data, std::uint32_t len) {
    if (ctx == nullptr) return log::bad_params("GOSTR3411_Update");
    if (const int rc = checks::update(data, len)) return rc;
    if (waits(*ctx, data, len)) return VRX_OK;
    const Substitution by(ctx->table);
    vrx::secret_work<vrx::depth::hash>([&] { update(*ctx, data, len, by); });
    return VRX_OK;
}

int GOSTR3411_Final(GOSTR3411_CTX* ctx, std::uint8_t* out) {
    if (ctx == nullptr) return log::bad_params("GOSTR3411_Final");
    if (const int rc = checks::final(out)) return rc;
    const Substitution by(ctx->table);
    vrx::secret_work<vrx::depth::hash>([&] { final(*ctx, out, by); });
    return VRX_OK;
}

int GOSTR3411_Transform(const std::uint8_t* oid, std::uint32_t oid_len, const std::uint8_t* data, std::uint32_t len,
                        std::uint8_t* out) {
    return GOSTR3411_Transform_more_oids(oid, oid_len, nullptr, 0, data, len, out);
}

int GOSTR3411_Transform_more_oids(const std::uint8_t* oid, std::uint32_t oid_len, const vrx_gostr3411_par* extra,
                                  std::uint32_t extra_count, const std::uint8_t* data, std::uint32_t len,
                                  std::uint8_t* out) {
    int rc = VRX_OK;
    const vrx_tz* table = find_table(oid, oid_len, extra, extra_count, rc);
    if (table == nullptr) return log::failed("GOSTR3411_Init_more_oids", rc);
    return transform(*table, data, len, out);
}

int GOSTR3411_Transform_ex(const vrx_tz* table, const std::uint8_t* data, std::uint32_t len, std::uint8_t* out) {
    if (const int rc = checks::init_ex(table)) return log::failed("GOSTR3411_Init_ex", rc);
    return transform(*table, data, len, out);
}

void gost_r_3411_94_hash_bytes(const vrx_tz* table, std::uint32_t* hash, std::uint32_t* sum, std::uint32_t* length,
                               const std::uint8_t* block, std::uint32_t bits) {
    const Substitution by(*table);
    vrx::secret_work<vrx::depth::hash>([&] {
        State s{load(hash), load(sum), load(length)};
        absorb(s, load(block), bits, by);
        store(sum, s.sum);
        store(hash, s.hash);
        store(length, s.length);
    });
}

void gost_r_3411_94_compress(std::uint32_t* hash, const std::uint32_t* block, const vrx_tz* table) {
    const Substitution by(*table);
    vrx::secret_work<vrx::depth::hash>([&] {
        const Uint256 m = load(block);
        Uint256 h = load(hash);
        by.steps(h, reinterpret_cast<const std::uint8_t*>(&m), 1);
        store(hash, h);
    });
}
