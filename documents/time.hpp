// Reads times from certificates and from the command line. All are in UTC.
#ifndef VRX_DOCUMENTS_TIME_HPP
#define VRX_DOCUMENTS_TIME_HPP

#include <optional>
#include <string>
#include <string_view>

#include "documents/der.hpp"

namespace vrx::documents {

/** A time such as "2005-08-16 14:18:20". Comparing the strings compares the times. */
using Time = std::string;

/** Read a Time (RFC 5280, section 4.1.2.5); std::nullopt if it is malformed or not a valid date and time. */
std::optional<Time> read_time(der::Reader& reader);

/** Parse "2005-08-16", "2005-08-16 14:18:20" or "2005-08-16T14:18:20Z"; std::nullopt for anything else. */
std::optional<Time> time_of(std::string_view text);

/** The current time. */
Time now();

}  // namespace vrx::documents

#endif
