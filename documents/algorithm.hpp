// AlgorithmIdentifier and SubjectPublicKeyInfo with the identifiers of RFC 4491.
#ifndef VRX_DOCUMENTS_ALGORITHM_HPP
#define VRX_DOCUMENTS_ALGORITHM_HPP

#include <vrx.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "documents/der.hpp"

namespace vrx::documents {

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

using PublicOctets = std::array<std::uint8_t, VRX_PUBLIC_KEY_SIZE>;

/** Read an AlgorithmIdentifier; false when there is none. */
bool read_algorithm(der::Reader& reader, Algorithm& algorithm);

/** Read the fields of SubjectPublicKeyInfo. */
Content read_key_fields(der::Reader fields, Algorithm& algorithm, PublicOctets& value);

/** What an algorithm is called, by its dotted identifier; the identifier itself when it has no name here. */
std::string algorithm_name(const std::string& oid);

/** Keys of GOST R 34.10-2001, and signatures by them over digests of GOST R 34.11-94. */
inline constexpr const char* gost_key_oid = "1.2.643.2.2.19";
inline constexpr const char* gost_signature_oid = "1.2.643.2.2.3";

}  // namespace vrx::documents

#endif
