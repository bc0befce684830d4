#include "io/place.hpp"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include "io/failure.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

constexpr int most_links = 40;  // the kernel's limit

bool is_process_file_system(int folder) {
    struct statfs status {};
    return fstatfs(folder, &status) == 0 && status.f_type == PROC_SUPER_MAGIC;
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
}

Descriptor::~Descriptor() {
    if (fd_ >= 0) close(fd_);
}

int Descriptor::release() { return std::exchange(fd_, -1); }

int open_in(int folder, const char* name, int flags, mode_t mode) {
    int fd = -1;
    do fd = openat(folder, name, flags | O_CLOEXEC | O_NOCTTY, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

Place::Place(const std::string& path, const std::string& shown, bool follow) {
    if (path.empty()) throw SystemFailure("cannot create " + shown, ENOENT);
    std::string rest = path;
    for (int links = 0; links <= most_links; ++links) {
        const std::size_t slash = rest.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : rest.substr(0, slash + 1);
        Descriptor opened(open_in(folder_.is_open() ? folder_.get() : AT_FDCWD, folder.c_str(), O_PATH | O_DIRECTORY));
        if (!opened.is_open())
            throw SystemFailure(!follow            ? "cannot create " + shown
                                : errno == ENOTDIR ? "cannot write " + shown
                                                   : "cannot create a file in " + in_quotes(folder) + " for " + shown,
                                errno);
        folder_ = std::move(opened);
        name_ = rest.substr(slash == std::string::npos ? 0 : slash + 1);
        if (name_.empty()) name_ = ".";
        look(shown);
        if (!follow || !existing_ || !S_ISLNK(existing_->st_mode) || !take_link(shown)) return;
        rest = name_;
    }
    throw SystemFailure("cannot write " + shown, ELOOP);
}

void Place::look(const std::string& shown) {
    existing_.reset();
    found_ = Descriptor(open_in(folder_.get(), name_.c_str(), O_PATH | O_NOFOLLOW));
    struct stat status {};
    if (found_.is_open() && fstat(found_.get(), &status) == 0)
        existing_ = status;
    else if (errno != ENOENT)
        throw SystemFailure("cannot write " + shown, errno);
}

/** Replace the name with the target of the link. Returns false if the link must be opened directly. */
bool Place::take_link(const std::string& shown) {
    struct stat target {};
    magic_ = is_process_file_system(folder_.get()) && fstatat(folder_.get(), name_.c_str(), &target, 0) == 0 &&
             !S_ISREG(target.st_mode);
    if (magic_) {
        existing_ = target;
        return false;
    }
    if (existing_->st_uid != geteuid() && existing_->st_uid != 0)
        throw Failure(shown +
                      " is a symbolic link of another user, who may change it at any moment; name the file itself");
    std::array<char, PATH_MAX> text{};
    // Read the link that was checked: its name may belong to another link by now.
    const ssize_t size = readlinkat(found_.get(), "", text.data(), text.size());
    if (size < 0) throw SystemFailure("cannot write " + shown, errno);
    if (size == 0 || static_cast<std::size_t>(size) == text.size())
        throw SystemFailure("cannot write " + shown, ENAMETOOLONG);
    name_.assign(text.data(), static_cast<std::size_t>(size));
    return true;
}

bool Place::is_unchanged() const {
    struct stat status {};
    if (fstatat(folder_.get(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return !existing_;
    return existing_ && status.st_dev == existing_->st_dev && status.st_ino == existing_->st_ino;
}

}  // namespace vrx::app
