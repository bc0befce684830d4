#include "io/confinement.hpp"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/prctl.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "io/failure.hpp"
#include "io/place.hpp"

namespace vrx::app {
namespace {

bool enabled = false;

// Landlock. The numbers are from the kernel's documentation, because the system's headers may be older than the kernel.
constexpr long create_ruleset_call = 444;
constexpr long add_rule_call = 445;
constexpr long restrict_self_call = 446;
constexpr int ask_for_version = 1;
constexpr int rule_for_files = 1;

constexpr std::uint64_t write_file = 1 << 1;
constexpr std::uint64_t read_file = 1 << 2;
constexpr std::uint64_t read_folder = 1 << 3;
constexpr std::uint64_t remove_file = 1 << 5;
constexpr std::uint64_t make_file = 1 << 8;
constexpr std::uint64_t control_device = 1 << 15;

/** The kinds of access that a ruleset denies unless a rule allows them. */
struct Ruleset {
    std::uint64_t files;
    std::uint64_t network;
    std::uint64_t scopes;  // signals to other processes, and their abstract sockets
};

struct [[gnu::packed]] FileRule {
    std::uint64_t allowed;
    std::int32_t file;
};

/** All kinds of access that a version knows. */
Ruleset everything(int version) {
    const int kinds = version >= 5 ? 16 : version >= 3 ? 15 : version == 2 ? 14 : 13;
    return {(std::uint64_t{1} << kinds) - 1, 3, 3};
}

std::size_t size_of_ruleset(int version) {
    return version >= 6 ? sizeof(Ruleset) : version >= 4 ? offsetof(Ruleset, scopes) : offsetof(Ruleset, network);
}

/**
 * True if a file that cannot be opened because of this error needs no rule: the command will fail to open the file with
 * the same error.
 */
bool is_lasting(int error) {
    return error == ENOENT || error == ENOTDIR || error == EACCES || error == ELOOP || error == ENAMETOOLONG;
}

/**
 * The rules of a process. If a rule cannot be created, no rules are used, because the command would otherwise fail for
 * no visible reason.
 */
class Rules {
public:
    explicit Rules(int version) : known_(everything(version).files) {
        const Ruleset denied = everything(version);
        fd_ = Descriptor(static_cast<int>(syscall(create_ruleset_call, &denied, size_of_ruleset(version), 0)));
        complete_ = fd_.is_open();
    }

    void allow(int file, std::uint64_t rights) {
        const FileRule rule{rights & known_, file};
        // Pipes and other files without a name need no rule. For these files, the kernel refuses a rule with EBADFD.
        if (syscall(add_rule_call, fd_.get(), rule_for_files, &rule, 0) != 0 && errno != EBADFD) complete_ = false;
    }

    void allow_file(const char* path, std::uint64_t rights) {
        const Descriptor file(open_in(AT_FDCWD, path, O_PATH));
        struct stat status {};
        if (!file.is_open() || fstat(file.get(), &status) != 0)
            complete_ = complete_ && is_lasting(errno);
        else
            allow(file.get(), S_ISDIR(status.st_mode) ? read_folder : rights);
    }

    void allow_output(const std::string& path) {
        try {
            const Place place(path, path, true);
            if (place.existing() && !S_ISREG(place.existing()->st_mode)) return allow_file(path.c_str(), write_file);
            allow(place.folder(), write_file | make_file | remove_file | read_folder);
        } catch (const SystemFailure& failure) {
            complete_ = complete_ && is_lasting(failure.error());
        } catch (const Failure&) {
            // The command itself will refuse the path for the same reason.
        }
    }

    bool enforce() const { return complete_ && syscall(restrict_self_call, fd_.get(), 0) == 0; }

private:
    std::uint64_t known_;
    Descriptor fd_;
    bool complete_;
};

/** @return the version of Landlock, or 0 if it is not active. */
int limit_files(const Access& access) {
    const int version = static_cast<int>(syscall(create_ruleset_call, nullptr, 0, ask_for_version));
    if (version < 1) return 0;
    Rules rules(version);
    for (const std::string& path : access.inputs)
        if (path != "-") rules.allow_file(path.c_str(), read_file);
    for (const std::string& path : access.outputs)
        if (path != "-") rules.allow_output(path);
    if (access.every_input) {
        const Descriptor root(open_in(AT_FDCWD, "/", O_PATH | O_DIRECTORY));
        rules.allow(root.get(), read_file | read_folder);
    }
    rules.allow_file("/dev/tty", read_file | write_file | control_device);  // to ask for passwords
    return rules.enforce() ? version : 0;
}

// The system calls that the commands need, directly or through the C library. The most frequent ones come first.
constexpr std::array allowed_calls{SYS_read,           SYS_write,        SYS_writev,       SYS_lseek,
                                   SYS_pread64,        SYS_close,        SYS_openat,       SYS_fstat,
                                   SYS_newfstatat,     SYS_statx,        SYS_fadvise64,    SYS_sync_file_range,
                                   SYS_fsync,          SYS_ftruncate,    SYS_dup,          SYS_fchmod,
                                   SYS_fchown,         SYS_umask,        SYS_fstatfs,      SYS_access,
                                   SYS_faccessat,      SYS_faccessat2,   SYS_linkat,       SYS_renameat,
                                   SYS_renameat2,      SYS_unlinkat,     SYS_readlink,     SYS_readlinkat,
                                   SYS_munmap,         SYS_mremap,       SYS_brk,          SYS_madvise,
                                   SYS_mlock,          SYS_mincore,      SYS_memfd_secret, SYS_rt_sigaction,
                                   SYS_rt_sigprocmask, SYS_rt_sigreturn, SYS_sigaltstack,  SYS_restart_syscall,
                                   SYS_getpid,         SYS_gettid,       SYS_geteuid,      SYS_getrandom,
                                   SYS_clock_gettime,  SYS_gettimeofday, SYS_time,         SYS_futex,
                                   SYS_exit,           SYS_exit_group};

/** A system call that is allowed only if one of its arguments, after masking, has one of a few values. */
struct Condition {
    long call;
    std::uint32_t argument;
    std::uint32_t mask;
    std::initializer_list<std::uint32_t> values;
};

/** A filter of system calls, in the language of seccomp. Calls that it does not allow fail with ENOSYS. */
class Filter {
public:
    Filter() {
        load(offsetof(seccomp_data, arch));
        skip_if(AUDIT_ARCH_X86_64, 1);
        leave(SECCOMP_RET_KILL_PROCESS);
        load(offsetof(seccomp_data, nr));
    }
    void allow(long call) {
        skip_unless(static_cast<std::uint32_t>(call), 1);
        leave(SECCOMP_RET_ALLOW);
    }
    void allow(const Condition& condition) {
        // For any other system call, skips all steps of this rule: load, mask, two for each value, load.
        skip_unless(static_cast<std::uint32_t>(condition.call),
                    static_cast<std::uint8_t>(3 + 2 * condition.values.size()));
        load(offsetof(seccomp_data, args) + 8 * condition.argument);
        code_.push_back(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, condition.mask));
        for (const std::uint32_t value : condition.values) {
            skip_unless(value, 1);
            leave(SECCOMP_RET_ALLOW);
        }
        load(offsetof(seccomp_data, nr));
    }
    /** @return whether the filter is active. */
    bool enforce() {
        leave(SECCOMP_RET_ERRNO | ENOSYS);
        const sock_fprog program{static_cast<unsigned short>(code_.size()), code_.data()};
        return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
    }

private:
    void load(std::size_t offset) {
        code_.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
    }
    void skip_if(std::uint32_t value, std::uint8_t steps) {
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, steps, 0));
    }
    void skip_unless(std::uint32_t value, std::uint8_t steps) {
        code_.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, steps));
    }
    void leave(std::uint32_t action) { code_.push_back(BPF_STMT(BPF_RET | BPF_K, action)); }

    std::vector<sock_filter> code_;
};

// The ioctl() requests with which glibc 2.42 and later read and set the modes of a terminal. The headers that define
// them cannot be included together with <termios.h>.
constexpr std::uint32_t tcgets2 = 0x802C542A;
constexpr std::uint32_t tcsets2 = 0x402C542B;
constexpr std::uint32_t tcsetsw2 = 0x402C542C;
constexpr std::uint32_t tcsetsf2 = 0x402C542D;

/** @return true if the filter is active. */
bool limit_calls() {
    constexpr std::uint32_t all = 0xFFFFFFFF;
    const auto self = static_cast<std::uint32_t>(getpid());
    Filter filter;
    for (const long call : allowed_calls) filter.allow(call);
    filter.allow({SYS_mmap, 2, PROT_EXEC, {0}});
    filter.allow({SYS_mprotect, 2, PROT_EXEC, {0}});
    // TIOCSTI is not in the list, because it inserts input as if the user had typed it.
    filter.allow(
        {SYS_ioctl, 1, all, {TCGETS, TCSETS, TCSETSW, TCSETSF, tcgets2, tcsets2, tcsetsw2, tcsetsf2, TIOCGWINSZ}});
    filter.allow({SYS_prctl, 0, all, {PR_SET_DUMPABLE, PR_SET_VMA}});
    filter.allow({SYS_prlimit64, 0, all, {0}});
    filter.allow({SYS_tgkill, 0, all, {self}});
    return filter.enforce();
}

}  // namespace

void enable_confinement() { enabled = true; }

Confinement confine(const Access& access) {
    Confinement result;
    if (!enabled) return result;
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);  // Landlock and seccomp both need this
    result.landlock = limit_files(access);
    result.seccomp = limit_calls();
    return result;
}

}  // namespace vrx::app
