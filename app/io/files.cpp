#include "io/files.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>

#include "io/failure.hpp"
#include "io/signals.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

// The file that a fatal signal must remove, or an empty string. Changed only while those signals are blocked.
std::array<char, NAME_MAX + 1> unfinished_file;
int unfinished_folder = -1;

extern "C" void remove_unfinished_file(int signal) {
    if (unfinished_file[0] != '\0') unlinkat(unfinished_folder, unfinished_file.data(), 0);
    raise(signal);  // SA_RESETHAND removed the handler, so the signal ends the program when this function returns.
}

/** Blocks all signals within a scope. */
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t set;
        sigfillset(&set);
        sigprocmask(SIG_BLOCK, &set, &before_);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

/** Set the file that a fatal signal removes; an empty name clears it. Call this only while signals are blocked. */
void set_unfinished_file(int folder, const std::string& name) {
    unfinished_folder = folder;
    unfinished_file.fill('\0');
    name.copy(unfinished_file.data(), unfinished_file.size() - 1);
    if (name.empty()) return;
    const auto catch_signal = [](int signal) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_DFL) return;  // the signal is ignored (nohup), or the handler is already set
        action.sa_handler = remove_unfinished_file;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, &action, nullptr);
    };
    for_each_deadly_signal(catch_signal);
}

/** Returns a random name, which is unlikely to exist already. */
std::string temporary_name() {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    static std::uint32_t state = 0;
    if (state == 0) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        state = (static_cast<std::uint32_t>(now.tv_nsec) ^ static_cast<std::uint32_t>(getpid()) << 12) | 1;
    }
    std::string name = ".vrx-";
    for (int i = 0; i < 6; ++i) {
        state = state * 1664525 + 1013904223;
        name += letters[(state >> 16) % letters.size()];
    }
    return name;
}

constexpr int most_names = 1000;

std::string own_link(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

mode_t mode_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// Some file systems access the caller's memory directly. The memory of secrets is hidden from the kernel, so such an
// access fails with EFAULT. The functions below then use a buffer on the stack, and wipe this buffer.
using DetourBuffer = std::array<std::uint8_t, 512>;

ssize_t read_some(int fd, std::span<std::uint8_t> buffer) {
    ssize_t got = ::read(fd, buffer.data(), buffer.size());
    if (got >= 0 || errno != EFAULT) return got;
    DetourBuffer detour;
    got = ::read(fd, detour.data(), std::min(buffer.size(), detour.size()));
    if (got > 0) std::copy_n(detour.begin(), got, buffer.begin());
    explicit_bzero(detour.data(), detour.size());
    return got;
}

ssize_t write_some(int fd, std::span<const std::uint8_t> data) {
    ssize_t put = ::write(fd, data.data(), data.size());
    if (put >= 0 || errno != EFAULT) return put;
    DetourBuffer detour;
    const std::size_t size = std::min(data.size(), detour.size());
    std::copy_n(data.begin(), size, detour.begin());
    put = ::write(fd, detour.data(), size);
    explicit_bzero(detour.data(), detour.size());
    return put;
}

FileId id_of(const struct stat& status) { return {status.st_dev, status.st_ino}; }

}  // namespace

Input::Input(const std::string& path)
    : Input(path == "-" ? STDIN_FILENO : open_in(AT_FDCWD, path.c_str(), O_RDONLY),
            path == "-" ? "standard input" : in_quotes(path)) {}

Input::Input(int fd, std::string shown) : fd_(fd), shown_(std::move(shown)) {
    if (fd_ < 0) throw SystemFailure("cannot open " + shown_, errno);
    if (fstat(fd_, &status_) != 0 || S_ISDIR(status_.st_mode)) {
        const int error = S_ISDIR(status_.st_mode) ? EISDIR : errno;
        if (fd_ != STDIN_FILENO) close(fd_);
        throw SystemFailure("cannot read " + shown_, error);
    }
    if (S_ISREG(status_.st_mode) && status_.st_size > 0) {
        const off_t position = lseek(fd_, 0, SEEK_CUR);
        if (position >= 0) remaining_ = static_cast<std::uint64_t>(std::max<off_t>(status_.st_size - position, 0));
        posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
}

Input::~Input() {
    if (fd_ != STDIN_FILENO) close(fd_);
}

std::size_t Input::read(std::span<std::uint8_t> buffer) {
    for (;;) {
        const ssize_t got = read_some(fd_, buffer);
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno != EINTR) throw SystemFailure("cannot read " + shown_, errno);
    }
}

std::size_t Input::read_full(std::span<std::uint8_t> buffer) {
    std::size_t total = 0;
    while (total < buffer.size()) {
        const std::size_t got = read(buffer.subspan(total));
        if (got == 0) break;
        total += got;
    }
    return total;
}

Output::Output(const std::string& path, const std::vector<FileId>& inputs)
    : shown_(path == "-" ? "standard output" : in_quotes(path)) {
    struct stat status {};
    if (path == "-") {
        fd_ = STDOUT_FILENO;
        if (fstat(fd_, &status) != 0) throw SystemFailure("cannot write " + shown_, errno);
        refuse_inputs(status, inputs);
        return;
    }
    place_.emplace(path, shown_, true);
    const std::optional<struct stat>& existing = place_->existing();
    if (existing && S_ISDIR(existing->st_mode)) throw SystemFailure("cannot write " + shown_, EISDIR);
    if (existing && !S_ISREG(existing->st_mode)) {
        fd_ = open_in(place_->folder(), place_->name(), O_WRONLY | (place_->is_magic() ? 0 : O_NOFOLLOW));
        if (fd_ < 0) throw SystemFailure("cannot write " + shown_, errno);
        if (fstat(fd_, &status) != 0 || id_of(status) != id_of(*existing)) {
            close(std::exchange(fd_, -1));
            throw Failure(shown_ +
                          " was replaced by another file at this moment; try again, or write to another folder");
        }
        place_.reset();
        return;
    }
    if (existing) {
        refuse_inputs(*existing, inputs);
        if (faccessat(place_->folder(), place_->name(), W_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) != 0)
            throw SystemFailure("cannot write " + shown_, errno);
    }
    open_held();
}

void Output::refuse_inputs(const struct stat& status, const std::vector<FileId>& inputs) const {
    if (!S_ISREG(status.st_mode)) return;
    if (std::find(inputs.begin(), inputs.end(), id_of(status)) != inputs.end())
        throw Failure(shown_ + " is read by this command and would be overwritten; name another output with -o");
}

void Output::open_held() {
    fd_ = open_in(place_->folder(), ".", O_TMPFILE | O_WRONLY, 0600);
    if (fd_ < 0) return open_named();
    // To name the file later, /proc is necessary. If /proc is not mounted, create the file with a temporary name
    // instead.
    if (access(own_link(fd_).c_str(), F_OK) == 0) return;
    close(std::exchange(fd_, -1));
    open_named();
}

void Output::open_named() {
    const SignalsBlocked blocked;
    for (int i = 0; i < most_names && fd_ < 0; ++i) {
        temporary_ = temporary_name();
        fd_ = open_in(place_->folder(), temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
        if (fd_ < 0 && errno != EEXIST) break;
    }
    if (fd_ >= 0) return set_unfinished_file(place_->folder(), temporary_);
    temporary_.clear();
    throw SystemFailure((is_private_ ? "cannot create " : "cannot create a file in the folder of ") + shown_, errno);
}

Output::Output(const std::string& path, NewPrivateFile) : shown_(in_quotes(path)), is_private_(true) {
    place_.emplace(path, shown_, false);
    if (place_->existing()) refuse_existing();
    open_held();
    fchmod(fd_, 0600);  // because of the umask; if this fails, the file keeps stricter permissions
}

void Output::refuse_existing() const {
    throw Failure(shown_ + " exists already and is never overwritten; choose another name");
}

Output::~Output() {
    if (fd_ >= 0 && fd_ != STDOUT_FILENO) close(fd_);
    if (temporary_.empty()) return;
    const SignalsBlocked blocked;
    unlinkat(place_->folder(), temporary_.c_str(), 0);
    set_unfinished_file(-1, "");
}

void Output::write(std::span<const std::uint8_t> data) {
    written_ += data.size();
    while (!data.empty()) {
        const ssize_t put = write_some(fd_, data);
        if (put >= 0)
            data = data.subspan(static_cast<std::size_t>(put));
        else if (errno != EINTR)
            throw SystemFailure("cannot write " + shown_, errno);
    }
    // Start writing to disk now, so that commit() has little left to wait for. This is only a hint.
    constexpr std::uint64_t flush_step = 8 * 1024 * 1024;
    if (place_ && written_ - flushed_ >= flush_step) {
        sync_file_range(fd_, static_cast<off_t>(flushed_), static_cast<off_t>(written_ - flushed_),
                        SYNC_FILE_RANGE_WRITE);
        flushed_ = written_;
    }
}

void Output::write(std::string_view text) {
    write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void Output::close_checked() {
    const int result = close(fd_);
    fd_ = -1;
    if (result != 0 && errno != EINTR) throw SystemFailure("cannot write " + shown_, errno);
}

int Output::link_to(const char* name) const {
    return linkat(AT_FDCWD, own_link(fd_).c_str(), place_->folder(), name, AT_SYMLINK_FOLLOW);
}

/**
 * Give the file the owner and permissions of the file that it replaces. Only root may change the owner. Permissions
 * that another user set do not apply to a file of this user.
 */
void Output::take_owner_and_mode() {
    if (is_private_) return;
    bool replaces = place_->existing() && place_->is_unchanged();
    if (replaces && fchown(fd_, place_->existing()->st_uid, place_->existing()->st_gid) != 0) {
        if (errno != EPERM) throw SystemFailure("cannot set the owner of " + shown_, errno);
        replaces = place_->existing()->st_uid == geteuid();
    }
    if (fchmod(fd_, replaces ? place_->existing()->st_mode & 0777 : mode_of_new_files()) != 0)
        throw SystemFailure("cannot set the permissions of " + shown_, errno);
}

/** Give the file its name. Signals must be blocked, so that no temporary name is left behind. */
void Output::name_held() {
    const int folder = place_->folder();
    int result = -1;
    if (temporary_.empty()) {
        // If the name is free, link the file to it. To replace a file, link to a temporary name first, and then rename.
        result = link_to(place_->name());
        if (result == 0) return;
        if (is_private_ && errno == EEXIST) refuse_existing();
        if (is_private_ || errno != EEXIST) throw SystemFailure("cannot create " + shown_, errno);
        for (int i = 0; i < most_names && result != 0; ++i) {
            temporary_ = temporary_name();
            result = link_to(temporary_.c_str());
            if (result != 0 && errno != EEXIST) break;
        }
        if (result != 0) temporary_.clear();
        if (result != 0) throw SystemFailure("cannot create a file in the folder of " + shown_, errno);
    }
    if (!is_private_) {
        if (renameat(folder, temporary_.c_str(), folder, place_->name()) != 0)
            throw SystemFailure("cannot write " + shown_, errno);
        return;
    }
    result = renameat2(folder, temporary_.c_str(), folder, place_->name(), RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {  // not supported: link instead
        result = linkat(folder, temporary_.c_str(), folder, place_->name(), 0);
        if (result == 0) unlinkat(folder, temporary_.c_str(), 0);
    }
    if (result != 0 && errno == EEXIST) refuse_existing();
    if (result != 0) throw SystemFailure("cannot create " + shown_, errno);
}

void Output::commit() {
    if (!place_) return close_checked();
    take_owner_and_mode();
    if (fsync(fd_) != 0 && errno != EINVAL && errno != ENOTSUP) throw SystemFailure("cannot write " + shown_, errno);

    const SignalsBlocked blocked;
    if (!temporary_.empty()) close_checked();
    name_held();
    // The file now exists under its name, so nothing may fail from here on.
    temporary_.clear();
    set_unfinished_file(-1, "");
    if (fd_ >= 0) close(std::exchange(fd_, -1));
    // Syncing the folder makes the name permanent. On file systems that cannot sync folders, at least the data is safe.
    const Descriptor folder(open_in(place_->folder(), ".", O_RDONLY | O_DIRECTORY));
    if (folder.is_open()) fsync(folder.get());
}

void occupy_standard_streams() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) >= 0 || errno != EBADF) continue;
        // Open /dev/null in the opposite direction (for writing instead of reading, or the reverse), so that using the
        // stream still fails. open() returns the lowest free descriptor.
        if (open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) != fd) std::_Exit(exit_trouble);
    }
}

}  // namespace vrx::app
