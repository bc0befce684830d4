/**
 * @file cxx/kdf.hpp  Keys from passwords, with GOST R 34.11-94: kdf.h for C++.
 *
 * Data may lie at any address. Nothing is allocated but by derive_pkcs12(). Threads: no shared state but the default
 * parameter set.
 */
#ifndef VRX_CXX_KDF_HPP
#define VRX_CXX_KDF_HPP

#include "vrx/cxx/params.hpp"
#include "vrx/kdf.h"

namespace vrx {
inline namespace v1 {

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

}  // namespace v1
}  // namespace vrx

#endif
