// Dumps the writable memory of a program. Usage: memory_of LOCKED LAST PROGRAM [ARGUMENT...]. Runs the program; dumps
// its locked pages to the file LOCKED whenever it reads, writes or closes a file, and all its writable memory to LAST
// when it ends. Memory of memfd_secret cannot be dumped, so this call fails with ENOSYS in the program, unless
// VRX_HIDDEN is set. The exit code is that of the program, or 77 if tracing is not permitted.
#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int cannot_trace = 77;
constexpr int trouble = 126;

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::exit(trouble);
}

int opened(const std::string& path, int flags) {
    const int fd = open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (fd < 0) fail(path.c_str());
    return fd;
}

/** The memory of a new process. The constructor opens the files in /proc before the process can deny access to them. */
class Memory {
public:
    explicit Memory(pid_t process)
        : maps_(opened("/proc/" + std::to_string(process) + "/smaps", O_RDONLY)),
          bytes_(opened("/proc/" + std::to_string(process) + "/mem", O_RDONLY)) {}
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;
    ~Memory() {
        close(maps_);
        close(bytes_);
    }

    void append_to(int file, bool locked_only) {
        std::istringstream lines(maps());
        std::uint64_t from = 0;
        std::uint64_t to = 0;
        for (std::string line; std::getline(lines, line);) {
            std::uint64_t first = 0;
            std::uint64_t end = 0;
            char rights[5];
            if (std::sscanf(line.c_str(), "%lx-%lx %4s", &first, &end, rights) == 3) {
                from = first;
                to = rights[1] == 'w' ? end : first;
            } else if (line.starts_with("VmFlags:")) {
                if (!locked_only || line.find(" lo") != std::string::npos) append(file, from, to);
            }
        }
    }

private:
    std::string maps() const {
        lseek(maps_, 0, SEEK_SET);
        std::string text;
        char piece[4096];
        for (ssize_t got; (got = read(maps_, piece, sizeof piece)) > 0;)
            text.append(piece, static_cast<std::size_t>(got));
        return text;
    }
    void append(int file, std::uint64_t from, std::uint64_t to) {
        std::vector<char> bytes(to - from);
        const ssize_t got = pread(bytes_, bytes.data(), bytes.size(), static_cast<off_t>(from));
        if (got > 0 && write(file, bytes.data(), static_cast<std::size_t>(got)) != got) fail("write");
    }

    int maps_, bytes_;
};

/** Make memfd_secret fail, by changing the number of the system call to an unknown one. */
void refuse_secret_memory(pid_t process) {
    constexpr std::size_t number = offsetof(user, regs.orig_rax);
    if (ptrace(PTRACE_PEEKUSER, process, number, nullptr) == SYS_memfd_secret)
        ptrace(PTRACE_POKEUSER, process, number, -1L);
}

/**
 * Returns true if the process is at a call that reads, closes or writes a file. At such a time, secrets and data
 * derived from them are in memory.
 */
bool is_looked_at(pid_t process) {
    const long call = ptrace(PTRACE_PEEKUSER, process, offsetof(user, regs.orig_rax), nullptr);
    return call == SYS_read || call == SYS_close || call == SYS_write;
}

[[noreturn]] void become(char** arguments) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(cannot_trace);
    execv(arguments[0], arguments);
    _exit(trouble);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fputs("usage: memory_of LOCKED LAST PROGRAM [ARGUMENT...]\n", stderr);
        return trouble;
    }
    const int locked = opened(argv[1], O_WRONLY | O_CREAT | O_TRUNC);
    const bool hidden = std::getenv("VRX_HIDDEN") != nullptr;
    const int last = opened(argv[2], O_WRONLY | O_CREAT | O_TRUNC);
    const pid_t child = fork();
    if (child == 0) become(argv + 3);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) return WEXITSTATUS(status);
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACEEXIT | PTRACE_O_TRACESYSGOOD);
    Memory memory(child);
    for (int signal = 0; WIFSTOPPED(status);) {
        if (ptrace(PTRACE_SYSCALL, child, nullptr, signal) != 0) fail("ptrace");
        waitpid(child, &status, 0);
        signal = 0;
        if (!WIFSTOPPED(status)) break;
        if (status >> 8 == (SIGTRAP | PTRACE_EVENT_EXIT << 8))
            memory.append_to(last, false);
        else if (WSTOPSIG(status) == (SIGTRAP | 0x80)) {
            if (!hidden) refuse_secret_memory(child);
            if (is_looked_at(child)) memory.append_to(locked, true);
        } else
            signal = WSTOPSIG(status);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : trouble;
}
