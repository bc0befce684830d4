/**
 * @file cxx/agree.hpp  Key agreement VKO GOST R 34.10-2001 and key diversification: agree.h for C++.
 *
 * Nothing is allocated. Threads: keys are plain values.
 */
#ifndef VRX_CXX_AGREE_HPP
#define VRX_CXX_AGREE_HPP

#include "vrx/agree.h"
#include "vrx/cxx/params.hpp"
#include "vrx/cxx/sign.hpp"

namespace vrx {
inline namespace v1 {

/**
 * Agree on a key with the holder of another private key (VKO GOST R 34.10-2001): both come to the same one.
 *
 * @param own       in: one's own key; its curve is the one that counts.
 * @param other     in: the other end's public key.
 * @param ukm       in: both ends use the same, not all zero.
 * @param hash_oid  in: DER identifier of a built-in parameter set of the hash.
 * @return Error::failed where ukm is zero, or the other key is not on the curve of one's own;
 *         Error::unsupported_oid.
 */
[[nodiscard]] inline Result<Key> agree(const PrivateKey &own, const PublicKey &other, const Ukm &ukm,
                                       Bytes hash_oid = oid::hash_cryptopro) noexcept {
    if (!other.point().is_on(own.curve())) return Error::failed;
    const vrx_data identifier = detail::record(hash_oid);
    Result<Key> key(std::in_place);
    if (const int rc =
            ecMakeKEK(&own.curve(), &identifier, ukm.data(), own.scalar().data(), &other.point().native(), key->data()))
        return static_cast<Error>(rc);
    return key;
}

/**
 * CryptoPro key diversification (RFC 4357, section 6.5), in place.
 *
 * @return Error::failed for a table that is not deployed; the key is then as it was.
 */
inline Result<void> diversify(Key &key, const Ukm &ukm, const vrx_tz &table = *default_cipher_set().tz) noexcept {
    return Result<void>::of(ecDiversifyKEK(&table, key.data(), ukm.data()));
}

}  // namespace v1
}  // namespace vrx

#endif
