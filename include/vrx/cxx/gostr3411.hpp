/**
 * @file cxx/gostr3411.hpp  The hash GOST R 34.11-94: gostr3411.h for C++.
 *
 * Data may lie at any address and may be empty. The functions allocate nothing. Threads: an object belongs to one
 * thread at a time.
 */
#ifndef VRX_CXX_GOSTR3411_HPP
#define VRX_CXX_GOSTR3411_HPP

#include "vrx/cxx/params.hpp"
#include "vrx/gostr3411.h"

namespace vrx {
inline namespace v1 {

/** The hash GOST R 34.11-94 of a message in pieces. An object can be copied; the copies are then independent. */
class Hash {
public:
    /** Begin a message with the default parameter set: CryptoPro, unless the program changed it. */
    Hash() noexcept : Hash(*default_hash_set().tz) {}
    /** Begin a message with a deployed table, built-in or custom. The table is copied. */
    explicit Hash(const vrx_tz &table) noexcept { GOSTR3411_Init_ex(&native(), &table); }

    /**
     * Begin a message with the parameter set that a DER identifier names. The set is built in, or one of `more`.
     *
     * @return Error::unsupported_oid if no set has the identifier; Error::bad_params if the identifier is empty or the
     *         set has no table.
     */
    static Result<Hash> with(Bytes oid, std::span<const vrx_gostr3411_par> more = {}) noexcept {
        Result<Hash> hash(std::in_place, Unfilled{});
        int rc = VRX_ERR_BAD_PARAMS;
        if (detail::fits(oid.size()) && detail::fits(more.size()))
            rc = more.empty() ? GOSTR3411_Init(&hash->native(), oid.data(), detail::count(oid))
                              : GOSTR3411_Init_more_oids(&hash->native(), oid.data(), detail::count(oid), more.data(),
                                                         static_cast<std::uint32_t>(more.size()));
        if (rc != VRX_OK) hash = static_cast<Error>(rc);
        return hash;
    }

    /** For use by with() only. The object is not open yet. */
    explicit Hash(Unfilled) noexcept {}

    /** Hash a piece of the message. */
    Hash &update(Bytes data) noexcept {
        detail::in_pieces(
            data, [&](const std::uint8_t *piece, std::uint32_t size) { GOSTR3411_Update(&native(), piece, size); });
        return *this;
    }

    /** Finish the message and begin a new one with the same table. @return the digest. */
    Digest finish() noexcept {
        Digest digest;
        GOSTR3411_Final(&native(), digest.data());
        GOSTR3411_Init_ex(&native(), &native().table);
        return digest;
    }

    /** Compute the digest of the pieces so far. You can continue the message. */
    [[nodiscard]] Digest digest() const noexcept {
        Hash so_far(*this);
        Digest digest;
        GOSTR3411_Final(&so_far.native(), digest.data());
        return digest;
    }

    /** Access the C record, for the functions of gostr3411.h. */
    [[nodiscard]] GOSTR3411_CTX &native() noexcept { return context_.value; }

private:
    Wiped<GOSTR3411_CTX, sizeof(vrx_tz)> context_{Unfilled{}};
};

/** Hash a message with a deployed table. */
inline Digest hash(Bytes data, const vrx_tz &table) noexcept {
    if (data.empty() || !detail::fits(data.size())) return Hash(table).update(data).finish();
    Digest digest;
    GOSTR3411_Transform_ex(&table, data.data(), detail::count(data), digest.data());
    return digest;
}

/** Hash a message with the default parameter set. */
inline Digest hash(Bytes data) noexcept { return hash(data, *default_hash_set().tz); }

/**
 * Hash a message with the parameter set that a DER identifier names. The sets and the errors are those of Hash::with().
 */
inline Result<Digest> hash(Bytes data, Bytes oid, std::span<const vrx_gostr3411_par> more = {}) noexcept {
    if (!detail::fits(oid.size()) || !detail::fits(more.size())) return Error::bad_params;
    if (data.empty() || !detail::fits(data.size())) {
        auto object = Hash::with(oid, more);
        if (!object) return object.error();
        return object->update(data).finish();
    }
    Result<Digest> digest(std::in_place);
    const int rc = more.empty() ? GOSTR3411_Transform(oid.data(), detail::count(oid), data.data(), detail::count(data),
                                                      digest->data())
                                : GOSTR3411_Transform_more_oids(oid.data(), detail::count(oid), more.data(),
                                                                static_cast<std::uint32_t>(more.size()), data.data(),
                                                                detail::count(data), digest->data());
    if (rc != VRX_OK) return static_cast<Error>(rc);
    return digest;
}

namespace raw {

/** A 256-bit number of the hash, least significant word first. */
using HashWords = std::span<std::uint32_t, VRX_HASH_WORDS>;

/** Process a block of 32 bytes, of which `bits` bits are message: gost_r_3411_94_hash_bytes(). */
inline void hash_block(const vrx_tz &table, HashWords hash, HashWords sum, HashWords length,
                       std::span<const std::uint8_t, VRX_HASH_BLOCK_SIZE> block, std::uint32_t bits) noexcept {
    gost_r_3411_94_hash_bytes(&table, hash.data(), sum.data(), length.data(), block.data(), bits);
}
/** Apply the step function: gost_r_3411_94_compress(). */
inline void hash_step(HashWords hash, std::span<const std::uint32_t, VRX_HASH_WORDS> block,
                      const vrx_tz &table) noexcept {
    gost_r_3411_94_compress(hash.data(), block.data(), &table);
}

}  // namespace raw

}  // namespace v1
}  // namespace vrx

#endif
