// Verifies GOST R 34.10-2001 signatures over GOST R 34.11-94 digests, as documents use them (RFC 4491).
#ifndef VRX_DOCUMENTS_SIGNATURE_HPP
#define VRX_DOCUMENTS_SIGNATURE_HPP

#include <vrx.h>

#include <array>
#include <cstdint>

#include "documents/der.hpp"

namespace vrx::documents {

/** A public key with its curve. */
struct WorkingKey {
    const EcParamSet* set;
    EcPoint point;
};

using Digest = std::array<std::uint8_t, VRX_HASH_SIZE>;

/** Hashes with GOST R 34.11-94 and the parameter set CryptoPro, which documents always use (RFC 4490, section 2.1). */
class Hash {
public:
    Hash();
    void update(Part octets);
    /** Returns the digest of all octets. Do not call update() afterwards. */
    [[nodiscard]] Digest final();

private:
    GOSTR3411_CTX context_;
};

/** Returns the digest of some octets. */
Digest digest_of(Part octets);

/** Returns true if r and s are from 1 to q - 1 and the signature is valid. A signature is s, then r. */
bool verifies(const Digest& digest, Part signature, const WorkingKey& key);

}  // namespace vrx::documents

#endif
