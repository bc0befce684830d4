// Describes messages in plain words, and names the command that comes next.
#ifndef VRX_APP_MESSAGE_REPORT_HPP
#define VRX_APP_MESSAGE_REPORT_HPP

#include <string>

#include "documents/source.hpp"
#include "report.hpp"

namespace vrx::app {

/**
 * Describe a message (RFC 5652) in any form. Throws documents::Malformed if it is none, or is malformed.
 *
 * @param path  the file's name, for the command that comes next.
 */
void describe_message(Report& report, documents::Source& source, const std::string& path);

}  // namespace vrx::app

#endif
