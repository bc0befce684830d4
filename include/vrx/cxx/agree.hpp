/**
 * @file cxx/agree.hpp  Key agreement VKO GOST R 34.10-2001 and key diversification: agree.h for C++.
 *
 * The functions allocate nothing. Threads: keys are plain values without shared state.
 */
#ifndef VRX_CXX_AGREE_HPP
#define VRX_CXX_AGREE_HPP

#include "vrx/agree.h"
#include "vrx/cxx/params.hpp"
#include "vrx/cxx/sign.hpp"

namespace vrx {
inline namespace v1 {

/**
 * Agree on a key (VKO GOST R 34.10-2001). Both sides derive the same key: each from its own private key and the peer's
 * public key.
 *
 * @param own       in: your private key. The function uses its curve.
 * @param other     in: the peer's public key.
 * @param ukm       in: 8 public bytes, not all zero and the same on both sides. Use a new value for each agreement.
 * @param hash_oid  in: DER identifier of a built-in hash parameter set.
 * @return the key; Error::failed if ukm is zero or the peer's key is not on your key's curve; Error::unsupported_oid
 *         if no hash parameter set has the identifier.
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
 * Diversify a key in place (CryptoPro; RFC 4357, section 6.5).
 *
 * @param key    in-out: the key.
 * @param ukm    in: 8 bytes, any.
 * @param table  in: a deployed table.
 * @return Error::failed if the table is not deployed; the key is then unchanged.
 */
inline Result<void> diversify(Key &key, const Ukm &ukm, const vrx_tz &table = *default_cipher_set().tz) noexcept {
    return Result<void>::of(ecDiversifyKEK(&table, key.data(), ukm.data()));
}

}  // namespace v1
}  // namespace vrx

#endif
