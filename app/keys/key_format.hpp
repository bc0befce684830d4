// Encodes and decodes GOST R 34.10-2001 keys in DER, with the functions of vrx/keyfile.h: PKCS #8 and
// SubjectPublicKeyInfo. Files and messages are in key_files.hpp. The caller must check that a number that was read is a
// valid key on its curve.
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
 * Read PKCS #8 PrivateKeyInfo. Programs write the number as 32 octets, as an OCTET STRING, or as an INTEGER. Some omit
 * trailing zeros from the OCTET STRING, which affects one key in 256. If two zeros are omitted, the tag, length and
 * contents of the OCTET STRING are 32 octets in total. The function then reads these 32 octets as the number.
 */
Content read_private_key(std::span<const std::uint8_t> octets, Algorithm& algorithm, PrivateOctets& value);

/** Read SubjectPublicKeyInfo. */
Content read_public_key(std::span<const std::uint8_t> octets, Algorithm& algorithm, PublicOctets& value);

/** Read PrivateKeyInfo around a key of the cipher; false if the octets are anything else. */
bool read_cipher_key(std::span<const std::uint8_t> octets, std::span<std::uint8_t, VRX_KEY_SIZE> value);
void append_cipher_key_info(SecretBytes& out, std::span<const std::uint8_t, VRX_KEY_SIZE> value);

/** Append the same structures for a valid key on a built-in curve; the hash parameter set is always CryptoPro. */
void append_private_key_info(SecretBytes& out, const EcParamSet& curve, const PrivateOctets& value);
void append_public_key_info(SecretBytes& out, const EcParamSet& curve, const PublicOctets& value);

}  // namespace vrx::app

#endif
