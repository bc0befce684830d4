/**
 * @file cxx/kdf.hpp  Keys from passwords, with GOST R 34.11-94: kdf.h for C++.
 *
 * Data may lie at any address. Only derive_pkcs12() allocates memory. Threads: no shared state except the default hash
 * parameter set.
 */
#ifndef VRX_CXX_KDF_HPP
#define VRX_CXX_KDF_HPP

#include "vrx/cxx/params.hpp"
#include "vrx/kdf.h"

namespace vrx {
inline namespace v1 {

/**
 * Derive a key from a password by PBKDF2 (RFC 8018) with HMAC GOST R 34.11-94.
 *
 * @param password    in: the password, usually UTF-8 without a NUL.
 * @param salt        in: at least one byte; use 8 or more random bytes.
 * @param iterations  in: number of iterations; 0 is treated as 1. Use as many as your users can wait for.
 * @param oid         in: DER identifier of a built-in parameter set; if empty, the default set is used.
 * @return the key; Error::bad_params for an empty salt; Error::failed if no set has the identifier.
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

/** The purpose of bytes from derive_pkcs12(). */
enum class Pkcs12Purpose : std::int32_t { key = 1, iv = 2, mac_key = 3 };

/**
 * Derive bytes from a password as PKCS #12 does (RFC 7292, appendix B), with the default hash parameter set. The
 * function allocates a buffer and wipes it.
 *
 * **Warning:** only outputs of up to 32 bytes agree with the RFC.
 *
 * @param password    in: a BMPString with two zero bytes at its end. Password and salt may not both be empty.
 * @param salt        in: any bytes.
 * @param iterations  in: number of iterations; 0 is treated as 1.
 * @param purpose     in: the purpose of the bytes.
 * @param out         out: the bytes, fewer than 2^31.
 * @return Error::bad_params for lengths of 2^31 or more, or if salt and password are both empty; Error::failed if
 *         memory is exhausted.
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
