#include "io/failure.hpp"

#include <vrx/frame.h>

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace vrx::app {
namespace {

const char* advice(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return "; check the name";
        case EACCES:
        case EPERM:
            return "; check the permissions";
        case EISDIR:
            return "; name a file";
        case ENOSPC:
        case EDQUOT:
            return "; free some space or write elsewhere";
        case EFBIG:
            return "; raise the limit (ulimit -f) or write elsewhere";
        case EROFS:
            return "; write elsewhere";
        case EBADF:
            return "; it is closed, or was opened in the wrong mode";
        case EPIPE:
            return "; the program that reads it has exited";
        case EIO:
            return "; the device may be damaged, use another";
        case ENOMEM:
        case EAGAIN:
            return "; free some memory, or raise the limit (ulimit -v)";
        case EMFILE:
        case ENFILE:
            return "; raise the limit of open files (ulimit -n)";
        case ELOOP:
            return "; check the symbolic links";
        case ENAMETOOLONG:
            return "; use a shorter name";
        case ENXIO:
        case ENODEV:
        case ENOTTY:
            return "; the device is missing, or of the wrong kind";
        default:
            return "; try another file or place";
    }
}

}  // namespace

SystemFailure::SystemFailure(const std::string& what, int error)
    : Failure(what + ": " + std::strerror(error) + advice(error)), error_(error) {}

void throw_bad_randomness() {
    throw Failure(
        "the random bytes of the system fail or repeat themselves, and nothing secret can be made of them; restart the "
        "machine, or make the key elsewhere");
}

void check(const char* what, int code) {
    if (code == VRX_ERR_RANDOM) throw_bad_randomness();
    if (code != 0)
        throw Failure(std::string(what) + " failed with code " + std::to_string(code) +
                      "; this is a bug in the program, please report it");
}

void say(std::string_view sentence, std::string_view more) {
    std::array<iovec, 4> line{};
    const std::array<std::string_view, line.size()> parts{"vrx: ", sentence, more, "\n"};
    for (std::size_t i = 0; i < line.size(); ++i)
        line[i] = {const_cast<char*>(parts[i].data()), parts[i].size()};  // writev() only reads the text
    // If writing to standard error fails, only the exit code can report it.
    [[maybe_unused]] const ssize_t written = writev(STDERR_FILENO, line.data(), line.size());
}

}  // namespace vrx::app
