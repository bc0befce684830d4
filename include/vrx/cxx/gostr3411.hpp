/**
 * @file hash.hpp  GOST R 34.11-94, HMAC with it, keys from passwords, and SHA-1, for C++.
 *
 * Data may lie at any address, and may be empty unless said otherwise. Nothing is allocated but by derive_pkcs12().
 * Threads: an object belongs to one thread at a time.
 */
#ifndef VRX_HASH_HPP
#define VRX_HASH_HPP

#include "vrx/gostr3411.h"
#include "vrx/hmac.h"
#include "vrx/kdf.h"
#include "vrx/sha1.h"
#include "vrx/tables.hpp"

namespace vrx {
inline namespace v1 {

/** GOST R 34.11-94 of a message in pieces. It may be copied: the copy goes on by itself. */
class Hash {
public:
    /** With the table of the default parameter set, CryptoPro unless the program changed it. */
    Hash() noexcept : Hash(*default_hash_set().tz) {}
    /** With a deployed table, built in or one's own; it is copied. */
    explicit Hash(const vrx_tz &table) noexcept { GOSTR3411_Init_ex(&native(), &table); }

    /**
     * With the parameter set of a DER identifier: a built-in one, or one of `more`.
     *
     * @return Error::unsupported_oid where there is none, Error::bad_params for an empty identifier or a set without a
     *         table.
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

    /** For with() alone: an object that is not open yet. */
    explicit Hash(Unfilled) noexcept {}

    /** Take in a piece of the message. */
    Hash &update(Bytes data) noexcept {
        detail::in_pieces(
            data, [&](const std::uint8_t *piece, std::uint32_t size) { GOSTR3411_Update(&native(), piece, size); });
        return *this;
    }

    /** End the message. The object is then as new. */
    Digest finish() noexcept {
        Digest digest;
        GOSTR3411_Final(&native(), digest.data());
        GOSTR3411_Init_ex(&native(), &native().table);
        return digest;
    }

    /** The digest of what came so far; more may follow. */
    [[nodiscard]] Digest digest() const noexcept {
        Hash so_far(*this);
        Digest digest;
        GOSTR3411_Final(&so_far.native(), digest.data());
        return digest;
    }

    /** The record under it, for the functions of gostr3411.h. */
    [[nodiscard]] GOSTR3411_CTX &native() noexcept { return context_.value; }

private:
    Wiped<GOSTR3411_CTX, sizeof(vrx_tz)> context_{Unfilled{}};
};

/** GOST R 34.11-94 of a message, with a deployed table. */
inline Digest hash(Bytes data, const vrx_tz &table) noexcept {
    if (data.empty() || !detail::fits(data.size())) return Hash(table).update(data).finish();
    Digest digest;
    GOSTR3411_Transform_ex(&table, data.data(), detail::count(data), digest.data());
    return digest;
}

/** GOST R 34.11-94 of a message, with the table of the default parameter set. */
inline Digest hash(Bytes data) noexcept { return hash(data, *default_hash_set().tz); }

/**
 * GOST R 34.11-94 of a message, with the parameter set of a DER identifier: a built-in one, or one of `more`.
 *
 * @return as Hash::with().
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

/**
 * HMAC with GOST R 34.11-94 over a message in pieces. It is moved, not copied; what it made of the key is zeroed at its
 * end.
 */
class Hmac {
public:
    /**
     * Begin a message under a key of any length.
     *
     * @param key  in: any bytes; 32 are best.
     * @param oid  in: DER identifier of a built-in parameter set; empty stands for the default one.
     * @return Error::failed where no set has the identifier, Error::bad_params where the set has no table.
     */
    static Result<Hmac> with(Bytes key, Bytes oid = {}) noexcept {
        Result<Hmac> hmac(std::in_place, Unfilled{});
        int rc = VRX_ERR_BAD_PARAMS;
        if (detail::fits(key.size()) && detail::fits(oid.size()))
            rc = GOSTR3411_HMAC_Init(&hmac->native(), oid.empty() ? nullptr : oid.data(), detail::count(oid),
                                     key.data(), detail::count(key));
        if (rc != VRX_OK) hmac = static_cast<Error>(rc);
        return hmac;
    }

    /** For with() alone: an object that is not open yet. */
    explicit Hmac(Unfilled) noexcept {}
    Hmac(const Hmac &) = delete;
    Hmac(Hmac &&) noexcept = default;
    Hmac &operator=(const Hmac &) = delete;
    Hmac &operator=(Hmac &&) noexcept = default;
    ~Hmac() = default;

    /** Take in a piece of the message. */
    Hmac &update(Bytes data) noexcept {
        detail::in_pieces(data, [&](const std::uint8_t *piece, std::uint32_t size) {
            GOSTR3411_HMAC_Update(&native(), piece, size);
        });
        return *this;
    }

    /** End the message. restart() begins another. */
    Digest finish() noexcept {
        Digest mac;
        std::uint32_t size = 0;
        GOSTR3411_HMAC_Final(&native(), mac.data(), &size);
        return mac;
    }

    /** Begin another message under the same key. @return Error::bad_params where the parameter set lost its table. */
    Result<void> restart() noexcept { return Result<void>::of(GOSTR3411_HMAC_Reset(&native())); }

    /** The record under it, for the functions of hmac.h. */
    [[nodiscard]] GOSTR3411_HMAC_CTX &native() noexcept { return context_.value; }

private:
    Wiped<GOSTR3411_HMAC_CTX> context_{Unfilled{}};
};

/** HMAC with GOST R 34.11-94 of a message. @return as Hmac::with(). */
inline Result<Digest> hmac(Bytes key, Bytes data, Bytes oid = {}) noexcept {
    if (data.empty() || !detail::fits(data.size())) {
        auto object = Hmac::with(key, oid);
        if (!object) return object.error();
        return object->update(data).finish();
    }
    if (!detail::fits(key.size()) || !detail::fits(oid.size())) return Error::bad_params;
    Result<Digest> mac(std::in_place);
    std::uint32_t size = 0;
    if (const int rc = GOSTR3411_HMAC(oid.empty() ? nullptr : oid.data(), detail::count(oid), data.data(),
                                      detail::count(data), key.data(), detail::count(key), mac->data(), &size))
        return static_cast<Error>(rc);
    return mac;
}

/**
 * A key from a password: PBKDF2 (RFC 8018) with HMAC GOST R 34.11-94, the first 32 bytes.
 *
 * @param password    in: any bytes; of a text usually UTF-8, without a zero at its end.
 * @param salt        in: at least one byte; 8 random ones or more are good.
 * @param iterations  in: 0 counts as 1; take as many as the user has patience for.
 * @param oid         in: DER identifier of a built-in parameter set; empty stands for the default one.
 * @return Error::bad_params for an empty salt, Error::failed where no set has the identifier.
 */
inline Result<Key> pbkdf2(Bytes password, Bytes salt, std::uint64_t iterations, Bytes oid = {}) noexcept {
    if (!detail::fits(password.size()) || !detail::fits(salt.size()) || !detail::fits(oid.size()))
        return Error::bad_params;
    Result<Key> key(std::in_place);
    if (const int rc =
            GOSTR3411_PKCS5_PBKDF2(password.data(), detail::count(password), salt.data(), salt.size(), iterations,
                                   oid.empty() ? nullptr : oid.data(), detail::count(oid), key->data(), key->size()))
        return static_cast<Error>(rc);
    return key;
}

/** What derive_pkcs12() is asked for. */
enum class Pkcs12Purpose : std::int32_t { key = 1, iv = 2, mac_key = 3 };

/**
 * Bytes from a password as PKCS #12 derives them (RFC 7292, appendix B), with the default parameter set; see kdf.h on
 * more than 32 bytes. Allocates a buffer, and wipes it.
 *
 * @param password    in: a BMPString with its two zero bytes. Password and salt may not both be empty.
 * @param salt        in: any bytes.
 * @param iterations  in: 0 counts as 1.
 * @param purpose     in: what the bytes are for.
 * @param out         out: any number of bytes below 2^31.
 * @return Error::bad_params for lengths of 2^31 and more, and where salt and password are empty; Error::failed when
 *         memory is short.
 */
inline Result<void> derive_pkcs12(Bytes password, Bytes salt, std::uint64_t iterations, Pkcs12Purpose purpose,
                                  MutableBytes out) noexcept {
    const std::size_t most = 0x7FFFFFFF;
    if (password.size() > most || salt.size() > most || out.size() > most) return Error::bad_params;
    return Result<void>::of(GOSTR3411_PBA_Derive(password.data(), static_cast<std::int32_t>(password.size()),
                                                 salt.data(), static_cast<std::int32_t>(salt.size()), iterations,
                                                 static_cast<std::int32_t>(purpose), oid::hash_cryptopro.data(),
                                                 VRX_PAR_OID_SIZE, out.data(), static_cast<std::int32_t>(out.size())));
}

/** SHA-1 of a message in pieces. It may be copied: the copy goes on by itself. Not for anything new. */
class Sha1 {
public:
    /** Begin a message. */
    Sha1() noexcept { shaInit(&native()); }

    /** Take in a piece of the message. */
    Sha1 &update(Bytes data) noexcept {
        detail::in_pieces(data,
                          [&](const std::uint8_t *piece, std::uint32_t size) { shaUpdate(&native(), piece, size); });
        return *this;
    }

    /** End the message. The object is then as new. */
    Sha1Digest finish() noexcept {
        Sha1Digest digest;
        shaFinal(&native(), digest.data());
        shaInit(&native());
        return digest;
    }

    /** The digest of what came so far; more may follow. */
    [[nodiscard]] Sha1Digest digest() const noexcept { return Sha1(*this).finish(); }

    /** The record under it, for the functions of sha1.h. */
    [[nodiscard]] sha_context &native() noexcept { return context_.value; }

private:
    Wiped<sha_context> context_{Unfilled{}};
};

/** SHA-1 of a message. */
inline Sha1Digest sha1(Bytes data) noexcept { return Sha1().update(data).finish(); }

/* ---- Single steps ----------------------------------------------------------------------------------------------- */

namespace raw {

/** A 256-bit number of the hash, least significant word first. */
using HashWords = std::span<std::uint32_t, VRX_HASH_WORDS>;

/** gost_r_3411_94_hash_bytes(): absorbs a block of 32 bytes that stands for `bits` bits of a message. */
inline void hash_block(const vrx_tz &table, HashWords hash, HashWords sum, HashWords length,
                       std::span<const std::uint8_t, VRX_HASH_BLOCK_SIZE> block, std::uint32_t bits) noexcept {
    gost_r_3411_94_hash_bytes(&table, hash.data(), sum.data(), length.data(), block.data(), bits);
}
/** gost_r_3411_94_compress(): the step function. */
inline void hash_step(HashWords hash, std::span<const std::uint32_t, VRX_HASH_WORDS> block,
                      const vrx_tz &table) noexcept {
    gost_r_3411_94_compress(hash.data(), block.data(), &table);
}
/** shaTransform(): processes the block in a record's data. */
inline void sha1_step(sha_context &context) noexcept { shaTransform(&context); }

}  // namespace raw
}  // namespace v1
}  // namespace vrx

#endif
