#include "program.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

int vrx_main(int argc, char** argv);  // main() of the program

namespace vrx::fuzz {
namespace {

void leave_terminal() {
    if (setsid() >= 0) return;
    const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0) return;
    ioctl(terminal, TIOCNOTTY);
    close(terminal);
}

/** Duplicates a stream to a high, write-only descriptor, so that the program cannot read from a terminal. */
int saved(int stream) {
    int fd = open(("/proc/self/fd/" + std::to_string(stream)).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0) fd = fcntl(stream, F_DUPFD_CLOEXEC, 0);
    if (fd < 0) return -1;  // the descriptor was closed
    const int away = fcntl(fd, F_DUPFD_CLOEXEC, 700);
    close(fd);
    return away;
}

std::string content(int fd) {
    std::string text(static_cast<std::size_t>(lseek(fd, 0, SEEK_END)), '\0');
    require(pread(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()), "a stream can be read again");
    return text;
}

}  // namespace

Folder::Folder() : outside_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    leave_terminal();
    std::string name = (std::filesystem::is_directory("/dev/shm") ? std::filesystem::path("/dev/shm")
                                                                  : std::filesystem::temp_directory_path()) /
                       "vrx-fuzz-XXXXXX";
    require(mkdtemp(name.data()) != nullptr, "a temporary folder can be made");
    path_ = name;
    folder_ = open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int i = 0; i < 3; ++i) {
        const int fd = memfd_create("stream", MFD_CLOEXEC);
        streams_[i] = fcntl(fd, F_DUPFD_CLOEXEC, 710);
        close(fd);
        saved_[i] = saved(i);
    }
    require(outside_ >= 0 && folder_ >= 0 && streams_[2] >= 0, "the streams can be made");
}

Folder::~Folder() { std::filesystem::remove_all(path_); }

void Folder::fill(const Files& files) {
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
    for (const auto& entry : std::filesystem::directory_iterator(path_)) std::filesystem::remove_all(entry);
    for (const auto& [name, bytes] : files) {
        const int fd = openat(folder_, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        require(
            fd >= 0 && write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) && close(fd) == 0,
            "a file can be made");
    }
}

Files Folder::files() const {
    Files files;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
        std::ifstream file(entry.path(), std::ios::binary);
        files[entry.path().filename()] = {std::istreambuf_iterator<char>(file), {}};
    }
    return files;
}

Done Folder::inside(const std::function<int()>& function, std::string_view standard_input) {
    for (const int stream : streams_) require(ftruncate(stream, 0) == 0 && lseek(stream, 0, SEEK_SET) == 0, "a stream");
    require(pwrite(streams_[0], standard_input.data(), standard_input.size(), 0) ==
                static_cast<ssize_t>(standard_input.size()),
            "standard input can be made");
    std::fflush(nullptr);
    require(fchdir(folder_) == 0, "the folder is there");
    for (int i = 0; i < 3; ++i) dup2(streams_[i], i);
    const int code = function();
    for (int i = 0; i < 3; ++i) {
        close(i);
        if (saved_[i] >= 0) dup2(saved_[i], i);
    }
    prctl(PR_SET_DUMPABLE, 1);  // vrx turns it off when it loads a key, but LeakSanitizer needs it
    require(fchdir(outside_) == 0, "the way back");
    return {code, content(streams_[1]), content(streams_[2])};
}

Done Folder::vrx(std::vector<std::string> arguments, std::string_view standard_input) {
    arguments.insert(arguments.begin(), "vrx");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const Done done = inside([&] { return vrx_main(static_cast<int>(arguments.size()), argv.data()); }, standard_input);
    check_run(done);
    return done;
}

void check_run(const Done& done) {
    require(done.code >= 0 && done.code <= 2, "the exit code is 0, 1 or 2");
    require(done.code != 2 || !done.err.empty(), "trouble is reported");
    bool begins = true;
    for (std::size_t i = 0; i < done.err.size(); ++i) {
        const char c = done.err[i];
        require(!begins || done.err.compare(i, 5, "vrx: ") == 0, "every line of standard error is the program's");
        require(!begins || done.err.compare(i + 5, 18, "unexpected failure") != 0, "every failure is expected");
        begins = c == '\n';
        require(begins || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f), "messages hold no control characters");
    }
    require(begins, "messages end with a line end");
}

}  // namespace vrx::fuzz
