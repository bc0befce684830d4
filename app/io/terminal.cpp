#include "io/terminal.hpp"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "io/failure.hpp"
#include "io/signals.hpp"

namespace vrx::app {
namespace {

// The signal actions, by number, and the settings to restore while echo is off.
std::array<struct sigaction, NSIG> actions_before;
struct termios terminal_before;
int terminal = -1;

extern "C" void restore_terminal(int signal) {
    tcsetattr(terminal, TCSAFLUSH, &terminal_before);
    sigaction(signal, &actions_before[static_cast<std::size_t>(signal)], nullptr);
    raise(signal);  // The signal stays pending until this function returns, and then has its original effect.
}

}  // namespace

int open_terminal() { return open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC); }

void write_terminal(int fd, std::string_view text) {
    if (write(fd, text.data(), text.size()) < 0) throw SystemFailure("cannot write to the terminal", errno);
}

NoEcho::NoEcho(int fd) {
    terminal = fd;
    if (tcgetattr(fd, &terminal_before) != 0) throw SystemFailure("cannot turn off the terminal's echo", errno);
    struct sigaction action {};
    action.sa_handler = restore_terminal;
    for_each_deadly_signal([&action](int signal) {
        struct sigaction& before = actions_before[static_cast<std::size_t>(signal)];
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    });
    // If the program were stopped now, the shell would get a terminal without echo.
    action.sa_handler = SIG_IGN;
    sigaction(SIGTSTP, &action, &stop_before_);

    struct termios silent = terminal_before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
    silent.c_lflag |= ICANON | ISIG;
    if (tcsetattr(fd, TCSAFLUSH, &silent) != 0) {
        const int error = errno;
        restore();
        throw SystemFailure("cannot turn off the terminal's echo", error);
    }
}

void NoEcho::restore() const {
    tcsetattr(terminal, TCSAFLUSH, &terminal_before);
    for_each_deadly_signal(
        [](int signal) { sigaction(signal, &actions_before[static_cast<std::size_t>(signal)], nullptr); });
    sigaction(SIGTSTP, &stop_before_, nullptr);
}

}  // namespace vrx::app
