// Lists of revoked certificates (RFC 5280, section 5).
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

/** All parts are those of the octets that were read. */
struct RevocationList : Signed {
    Part issuer_octets;
    std::string issuer;
    Time this_update;
    std::optional<Time> next_update;
    std::vector<Revoked> revoked;
    std::string not_understood;  // a critical extension, dotted; empty when there is none
};

/** Read a list in DER, and nothing after it; false when it is not well formed. */
bool read_revocation_list(Part octets, RevocationList& list);

}  // namespace vrx::documents

#endif
