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
#include <memory>

#include "io/failure.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

constexpr std::array deadly_signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

// The file that a deadly signal has to remove, or an empty text. Written only while those signals are blocked.
std::array<char, PATH_MAX> unfinished_file;

extern "C" void remove_unfinished_file(int signal) {
    if (unfinished_file[0] != '\0') unlink(unfinished_file.data());
    raise(signal);  // The handler is gone by now: the signal ends the program as soon as this function returns.
}

/** Holds the deadly signals back in a scope. */
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t set;
        sigemptyset(&set);
        for (const int signal : deadly_signals) sigaddset(&set, signal);
        sigprocmask(SIG_BLOCK, &set, &before_);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

/** To be called while the deadly signals are blocked. */
void set_unfinished_file(const std::string& path) {
    unfinished_file.fill('\0');
    path.copy(unfinished_file.data(), unfinished_file.size() - 1);
    for (const int signal : deadly_signals) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_DFL) continue;  // ignored by wish of the user (nohup), or ours already
        action.sa_handler = remove_unfinished_file;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, &action, nullptr);
    }
}

int open_file(const std::string& path, int flags, mode_t mode = 0) {
    int fd = -1;
    do fd = open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

mode_t mode_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

FileId id_of(const struct stat& status) { return {status.st_dev, status.st_ino}; }

/** The name of an existing file once symbolic links are followed. */
std::string without_links(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> name(realpath(path.c_str(), nullptr), &std::free);
    if (!name) throw SystemFailure("cannot write " + in_quotes(path), errno);
    return name.get();
}

/** The folder of a file, ending in a slash, or empty for the working directory. */
std::string folder_of(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

}  // namespace

Input::Input(const std::string& path)
    : Input(path == "-" ? STDIN_FILENO : open_file(path, O_RDONLY), path == "-" ? "standard input" : in_quotes(path)) {}

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
        const ssize_t got = ::read(fd_, buffer.data(), buffer.size());
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
    if (stat(path.c_str(), &status) != 0) {
        if (errno != ENOENT || path.empty()) throw SystemFailure("cannot write " + shown_, errno);
        open_beside(path, std::nullopt);
        return;
    }
    if (S_ISDIR(status.st_mode)) throw SystemFailure("cannot write " + shown_, EISDIR);
    if (!S_ISREG(status.st_mode)) {
        fd_ = open_file(path, O_WRONLY);
        if (fd_ < 0) throw SystemFailure("cannot write " + shown_, errno);
        return;
    }
    refuse_inputs(status, inputs);
    if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) throw SystemFailure("cannot write " + shown_, errno);
    // A symbolic link stays; the file that it names is replaced.
    open_beside(without_links(path), status);
}

void Output::refuse_inputs(const struct stat& status, const std::vector<FileId>& inputs) const {
    if (!S_ISREG(status.st_mode)) return;
    if (std::find(inputs.begin(), inputs.end(), id_of(status)) != inputs.end())
        throw Failure(shown_ + " is read by this command and would be overwritten; name another output with -o");
}

void Output::open_beside(const std::string& target, std::optional<struct stat> existing) {
    target_ = target;
    existing_ = existing;
    const std::string folder = folder_of(target);
    std::string name = folder + ".vrx-XXXXXX";
    const SignalsBlocked blocked;
    fd_ = mkostemp(name.data(), O_CLOEXEC);
    if (fd_ < 0 && is_private_) throw SystemFailure("cannot create " + shown_, errno);
    if (fd_ < 0)
        throw SystemFailure("cannot create a file in " + in_quotes(folder.empty() ? "." : folder) + " for " + shown_,
                            errno);
    temporary_ = std::move(name);
    set_unfinished_file(temporary_);
}

Output::Output(const std::string& path, NewPrivateFile) : shown_(in_quotes(path)), is_private_(true) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) refuse_existing();
    if (errno != ENOENT || path.empty()) throw SystemFailure("cannot create " + shown_, errno);
    open_beside(path, std::nullopt);
    fchmod(fd_, 0600);  // whatever the umask; should it fail, the permissions are fewer, never more
}

void Output::refuse_existing() const {
    throw Failure(shown_ + " exists already and is never overwritten; choose another name");
}

Output::~Output() {
    if (fd_ >= 0 && fd_ != STDOUT_FILENO) close(fd_);
    if (temporary_.empty()) return;
    const SignalsBlocked blocked;
    unlink(temporary_.c_str());
    set_unfinished_file("");
}

void Output::write(std::span<const std::uint8_t> data) {
    written_ += data.size();
    while (!data.empty()) {
        const ssize_t put = ::write(fd_, data.data(), data.size());
        if (put >= 0)
            data = data.subspan(static_cast<std::size_t>(put));
        else if (errno != EINTR)
            throw SystemFailure("cannot write " + shown_, errno);
    }
    // The disk begins its work now, while the processor goes on; commit() then has little to wait for. A hint only.
    constexpr std::uint64_t flush_step = 8 * 1024 * 1024;
    if (!temporary_.empty() && written_ - flushed_ >= flush_step) {
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

void Output::put_in_place() {
    const char* const from = temporary_.c_str();
    const char* const to = target_.c_str();
    if (!is_private_) {
        if (rename(from, to) != 0) throw SystemFailure("cannot write " + shown_, errno);
        return;
    }
    int result = renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {  // some file systems know links instead
        result = link(from, to);
        if (result == 0) unlink(from);
    }
    if (result != 0 && errno == EEXIST) refuse_existing();
    if (result != 0) throw SystemFailure("cannot create " + shown_, errno);
}

void Output::commit() {
    if (temporary_.empty()) return close_checked();
    if (!is_private_) {
        // The file keeps owner and permissions of the one that it replaces. Giving it away is a privilege.
        if (existing_ && fchown(fd_, existing_->st_uid, existing_->st_gid) != 0 && errno != EPERM)
            throw SystemFailure("cannot set the owner of " + shown_, errno);
        if (fchmod(fd_, existing_ ? existing_->st_mode & 0777 : mode_of_new_files()) != 0)
            throw SystemFailure("cannot set the permissions of " + shown_, errno);
    }
    if (fsync(fd_) != 0 && errno != EINVAL && errno != ENOTSUP) throw SystemFailure("cannot write " + shown_, errno);
    close_checked();

    std::string folder = folder_of(temporary_);
    if (folder.empty()) folder = ".";
    const SignalsBlocked blocked;
    put_in_place();
    // The file is there: from here on nothing may fail.
    temporary_.clear();
    set_unfinished_file("");
    // The name is permanent once its folder is; where folders cannot be synced the data itself is safe already.
    const int directory = open_file(folder, O_RDONLY | O_DIRECTORY);
    if (directory >= 0) {
        fsync(directory);
        close(directory);
    }
}

void occupy_standard_streams() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) >= 0 || errno != EBADF) continue;
        // Opened the wrong way round, so that using the stream still fails. The lowest free descriptor is this one.
        if (open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) != fd) std::_Exit(exit_trouble);
    }
}

}  // namespace vrx::app
