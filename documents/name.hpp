// Reads distinguished names (RFC 5280, section 4.1.2.4).
#ifndef VRX_DOCUMENTS_NAME_HPP
#define VRX_DOCUMENTS_NAME_HPP

#include <optional>
#include <string>

#include "documents/der.hpp"

namespace vrx::documents {

/**
 * Convert a Name, given the contents of its RDNSequence, to text: "C=RU, O=...", in the order of the document.
 * Characters that could deceive a reader are escaped. Returns std::nullopt if the Name is malformed.
 */
std::optional<std::string> read_name(Part contents);

}  // namespace vrx::documents

#endif
