// Keys of GOST R 34.10-2001 in DER: PKCS #8 and SubjectPublicKeyInfo, with the identifiers of
// RFC 4491. Octets in, values out: files and messages are key_files.hpp, and whether a number is a key of its curve is
// for the caller to ask.
#ifndef VRX_APP_KEY_FORMAT_HPP
#define VRX_APP_KEY_FORMAT_HPP

#include <vrx.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "documents/algorithm.hpp"
#include "keys/keys.hpp"

namespace vrx::app {

using documents::Algorithm;
using documents::algorithm_name;
using documents::Content;
using documents::gost_key_oid;
using documents::gost_signature_oid;
using documents::PublicOctets;

using PrivateOctets = std::array<std::uint8_t, VRX_PRIVATE_KEY_SIZE>;

/**
 * PKCS #8, PrivateKeyInfo. Its number may be 32 octets, an OCTET STRING of them, or an INTEGER: programs differ. Some
 * leave out of the OCTET STRING the zeros that stand last, in one key of 256. Two of them make 32 octets with the
 * string's head, which are read as the number itself.
 */
Content read_private_key(std::span<const std::uint8_t> octets, Algorithm& algorithm, PrivateOctets& value);

/** SubjectPublicKeyInfo. */
Content read_public_key(std::span<const std::uint8_t> octets, Algorithm& algorithm, PublicOctets& value);

/** The same structures, for a key on a built-in curve; the hash is always CryptoPro's. */
void append_private_key_info(SecretBytes& out, const EcParamSet& curve, const PrivateOctets& value);
void append_public_key_info(SecretBytes& out, const EcParamSet& curve, const PublicOctets& value);

}  // namespace vrx::app

#endif
