// Keys and certificates of GOST R 34.10-2001 in DER: PKCS #8, SubjectPublicKeyInfo and X.509, with the identifiers of
// RFC 4491. Octets in, values out: files and messages are key_files.hpp, and whether a number is a key of its curve is
// for the caller to ask.
#ifndef VRX_APP_KEY_FORMAT_HPP
#define VRX_APP_KEY_FORMAT_HPP

#include <vrx.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "keys/keys.hpp"

namespace vrx::app {

/** What an AlgorithmIdentifier says. */
struct Algorithm {
    std::string oid;                    // dotted
    bool known = false;                 // GOST R 34.10-2001, and all the parameter sets that it names are built in
    const EcParamSet* curve = nullptr;  // nullptr when it names none: a certificate may leave that to its issuer
    const vrx_gostr3411_par* hash = nullptr;    // nullptr when it names none
    const vrx_gost28147_par* cipher = nullptr;  // nullptr when it names none
};

/** What a reader found. */
enum class Content {
    other,    // something else, or damaged
    foreign,  // what it reads, but of another algorithm or with unknown parameters; the algorithm is filled in
    known,    // all is filled in
};

using PrivateOctets = std::array<std::uint8_t, VRX_PRIVATE_KEY_SIZE>;
using PublicOctets = std::array<std::uint8_t, VRX_PUBLIC_KEY_SIZE>;

/**
 * PKCS #8, PrivateKeyInfo. Its number may be 32 octets, an OCTET STRING of them, or an INTEGER: programs differ. Some
 * leave out of the OCTET STRING the zeros that stand last, in one key of 256. Two of them make 32 octets with the
 * string's head, which are read as the number itself.
 */
Content read_private_key(std::span<const std::uint8_t> octets, Algorithm& algorithm, PrivateOctets& value);

/** SubjectPublicKeyInfo. */
Content read_public_key(std::span<const std::uint8_t> octets, Algorithm& algorithm, PublicOctets& value);

/** An X.509 certificate. All spans are parts of the octets that were read. */
struct Certificate {
    using Part = std::span<const std::uint8_t>;
    Part signed_part;  // the whole element that is signed
    std::uint32_t version;
    Part serial;
    std::string issuer;  // as RFC 4514 writes names, but in the order of the certificate
    std::string subject;
    bool self_issued;
    std::string not_before;  // "2005-08-16 14:18:20", UTC
    std::string not_after;
    Algorithm algorithm;  // of the key
    PublicOctets key;
    std::string signature_oid;  // dotted
    Part signature;             // without the octet that counts unused bits
};

/** Content::foreign fills in everything but the key. */
Content read_certificate(std::span<const std::uint8_t> octets, Certificate& certificate);

/** The same structures, for a key on a built-in curve; the hash is always CryptoPro's. */
void append_private_key_info(SecretBytes& out, const EcParamSet& curve, const PrivateOctets& value);
void append_public_key_info(SecretBytes& out, const EcParamSet& curve, const PublicOctets& value);

/** What an algorithm is called, by its dotted identifier; the identifier itself when it has no name here. */
std::string algorithm_name(const std::string& oid);

/** Keys of GOST R 34.10-2001, and signatures by them over digests of GOST R 34.11-94. */
inline constexpr const char* gost_key_oid = "1.2.643.2.2.19";
inline constexpr const char* gost_signature_oid = "1.2.643.2.2.3";

}  // namespace vrx::app

#endif
