// The topics that 'vrx help' explains in addition to commands.
#ifndef VRX_APP_TOPICS_HPP
#define VRX_APP_TOPICS_HPP

#include <span>
#include <string>

namespace vrx::app {

struct Topic {
    const char* name;
    const char* summary;  // one line, for the list of topics
    const char* text;     // ends with a newline
};

[[nodiscard]] std::span<const Topic> topics();

}  // namespace vrx::app

#endif
