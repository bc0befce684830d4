// Reads AlgorithmIdentifier and SubjectPublicKeyInfo with the identifiers of RFC 4491.
#ifndef VRX_DOCUMENTS_ALGORITHM_HPP
#define VRX_DOCUMENTS_ALGORITHM_HPP

#include <vrx.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "documents/der.hpp"

namespace vrx::documents {

/** The contents of an AlgorithmIdentifier. */
struct Algorithm {
    std::string oid;                            // dotted
    bool known = false;                         // true if it is GOST R 34.10-2001 and all named sets are built in
    const EcParamSet* curve = nullptr;          // nullptr if not named: a certificate may inherit it from its issuer
    const vrx_gostr3411_par* hash = nullptr;    // nullptr if not named
    const vrx_gost28147_par* cipher = nullptr;  // nullptr if not named
};

/** The result of reading a structure. */
enum class Content {
    other,    // it is another structure, or it is malformed
    foreign,  // the structure is as expected, but the algorithm or its parameters are unknown; only the algorithm is
              // filled in
    known,    // the structure is as expected, and all fields are filled in
};

using PublicOctets = std::array<std::uint8_t, VRX_PUBLIC_KEY_SIZE>;

/** Read an AlgorithmIdentifier. Returns false if there is none. */
bool read_algorithm(der::Reader& reader, Algorithm& algorithm);

/** Read the fields of SubjectPublicKeyInfo. */
Content read_key_fields(der::Reader fields, Algorithm& algorithm, PublicOctets& value);

/** Returns the name of the algorithm with a dotted identifier, or the identifier itself if the algorithm is unknown. */
std::string algorithm_name(const std::string& oid);

/** The identifiers of GOST R 34.10-2001 keys, and of their signatures over GOST R 34.11-94 digests. */
inline constexpr const char* gost_key_oid = "1.2.643.2.2.19";
inline constexpr const char* gost_signature_oid = "1.2.643.2.2.3";

}  // namespace vrx::documents

#endif
