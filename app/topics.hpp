// What 'vrx help' explains besides commands.
#ifndef VRX_APP_TOPICS_HPP
#define VRX_APP_TOPICS_HPP

#include <span>
#include <string>

namespace vrx::app {

struct Topic {
    const char* name;
    const char* summary;  // one line of the list of topics
    const char* text;     // with newlines, also at the end
};

[[nodiscard]] std::span<const Topic> topics();

}  // namespace vrx::app

#endif
