// The terminal of the process, apart from its standard streams.
#ifndef VRX_APP_TERMINAL_HPP
#define VRX_APP_TERMINAL_HPP

#include <csignal>
#include <string_view>

namespace vrx::app {

/** Open the terminal. @return a descriptor, or -1 when there is none. */
int open_terminal();

void write_terminal(int fd, std::string_view text);

/** A terminal shows nothing that is typed, as long as this lives. There is one at a time. */
class NoEcho {
public:
    explicit NoEcho(int fd);
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;
    ~NoEcho() { restore(); }

private:
    void restore() const;

    struct sigaction stop_before_ {};
};

}  // namespace vrx::app

#endif
