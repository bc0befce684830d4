// Reads certificate revocation lists (RFC 5280, section 5).
#ifndef VRX_DOCUMENTS_REVOCATION_HPP
#define VRX_DOCUMENTS_REVOCATION_HPP

#include <optional>
#include <string>
#include <vector>

#include "documents/certificate.hpp"

namespace vrx::documents {

struct Revoked {
    Part serial;
    Time since;
};

/** A revocation list. All parts are views into the octets that were read, which must outlive them. */
struct RevocationList : Signed {
    Part issuer_octets;
    std::string issuer;
    Time this_update;
    std::optional<Time> next_update;
    std::vector<Revoked> revoked;
    std::string unsupported;  // the identifier of an unsupported critical extension, dotted; or empty
};

/** Read a list in DER. Returns false if the list is malformed or other data follows it. */
bool read_revocation_list(Part octets, RevocationList& list);

}  // namespace vrx::documents

#endif
