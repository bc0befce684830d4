// What 'vrx help' explains besides commands.
#ifndef VRX_APP_TOPICS_HPP
#define VRX_APP_TOPICS_HPP

#include <span>
#include <string>

namespace vrx::app {

struct Topic {
    const char* name;
    const char* summary;  // one line of the list of topics
    const char* text;     // with line ends, the last one too
};

[[nodiscard]] std::span<const Topic> topics();

}  // namespace vrx::app

#endif
