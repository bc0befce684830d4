// Errors, exit codes, and messages to the user.
#ifndef VRX_APP_FAILURE_HPP
#define VRX_APP_FAILURE_HPP

#include <stdexcept>
#include <string>
#include <string_view>

namespace vrx::app {

/** Exit codes of the program. */
enum ExitCode : int {
    exit_done = 0,
    exit_check_failed = 1,  // a check failed: e.g. a MAC does not match, or a list has a malformed line
    exit_trouble = 2        // a usage error or an input/output error
};

/** A usage error or an input/output error. The text is one sentence for the user, without the full stop. */
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** An operating system error. The text says what failed and why, and for common errors what to do. */
class SystemFailure : public Failure {
public:
    SystemFailure(const std::string& what, int error);
    [[nodiscard]] int error() const { return error_; }

private:
    int error_;
};

/** Throw a Failure that reports missing or repeating random bytes of the operating system. */
[[noreturn]] void throw_bad_randomness();

/** Throw a Failure if a library call returned an error. @param what  names the operation, e.g. "the hash". */
void check(const char* what, int code);

/** Write a sentence, given in one or two parts, to standard error after the program's name. Allocates no memory. */
void say(std::string_view sentence, std::string_view more = "");

}  // namespace vrx::app

#endif
