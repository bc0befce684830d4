// Access to the controlling terminal, independent of the standard streams.
#ifndef VRX_APP_TERMINAL_HPP
#define VRX_APP_TERMINAL_HPP

#include <csignal>
#include <string_view>

namespace vrx::app {

/** Open the controlling terminal. @return a descriptor, or -1 if there is none. */
int open_terminal();

void write_terminal(int fd, std::string_view text);

/** Turns the echo of a terminal off within a scope. Only one may exist at a time. */
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
