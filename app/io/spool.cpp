#include "io/spool.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "io/failure.hpp"

namespace vrx::app {

void Spool::open() {
    for (const char* folder : {"/var/tmp", "/tmp"}) {
        if (file_.is_open()) return;
        file_ = Descriptor(open_in(AT_FDCWD, folder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
        if (!file_.is_open()) error_ = errno;
    }
}

void Spool::write(std::span<const std::uint8_t> data) {
    if (!file_.is_open()) throw SystemFailure("cannot create a temporary file in /var/tmp or /tmp", error_);
    while (!data.empty()) {
        const ssize_t put = ::write(file_.get(), data.data(), data.size());
        if (put >= 0)
            data = data.subspan(static_cast<std::size_t>(put));
        else if (errno != EINTR)
            throw SystemFailure("cannot write a temporary file in /var/tmp or /tmp", errno);
    }
}

void Spool::copy_to(Output& output) {
    if (!file_.is_open()) return;
    if (lseek(file_.get(), 0, SEEK_SET) != 0) throw SystemFailure("cannot read a temporary file", errno);
    Input input(file_.release(), "a temporary file");
    Piece piece(piece_size);
    while (const std::size_t got = input.read(piece)) output.write(std::span(piece).first(got));
}

}  // namespace vrx::app
