// What goes wrong, and how the user hears of it.
#ifndef VRX_APP_FAILURE_HPP
#define VRX_APP_FAILURE_HPP

#include <stdexcept>
#include <string>
#include <string_view>

namespace vrx::app {

/** Exit codes of the program. */
enum ExitCode : int {
    exit_done = 0,
    exit_check_failed = 1,  // a MAC does not match, a list has a line that is not understood
    exit_trouble = 2        // wrong use, or an input/output error
};

/** Wrong use or an input/output error. The text is one sentence for the user, without its full stop. */
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** A Failure of the operating system: what could not be done, the reason, and for common reasons what to do. */
class SystemFailure : public Failure {
public:
    SystemFailure(const std::string& what, int error);
    [[nodiscard]] int error() const { return error_; }

private:
    int error_;
};

/** The system's random bytes fail or repeat: throw a Failure that says so. */
[[noreturn]] void throw_bad_randomness();

/** Throw a Failure unless a call of the library was successful. @param what  what the library was to do, "the hash". */
void check(const char* what, int code);

/** Write one sentence, in one piece or two, to standard error, marked as this program's. Allocates nothing. */
void say(std::string_view sentence, std::string_view more = "");

}  // namespace vrx::app

#endif
