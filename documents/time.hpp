// Points in time, as certificates and people write them. All are UTC.
#ifndef VRX_DOCUMENTS_TIME_HPP
#define VRX_DOCUMENTS_TIME_HPP

#include <optional>
#include <string>
#include <string_view>

#include "documents/der.hpp"

namespace vrx::documents {

/** "2005-08-16 14:18:20". In this form the order of texts is the order of times. */
using Time = std::string;

/** Read a Time (RFC 5280, section 4.1.2.5); nothing when it is not well formed, or no moment of the calendar. */
std::optional<Time> read_time(der::Reader& reader);

/** "2005-08-16", "2005-08-16 14:18:20" or "2005-08-16T14:18:20Z"; nothing for anything else. */
std::optional<Time> time_of(std::string_view text);

/** The time of now. */
Time now();

}  // namespace vrx::documents

#endif
