/*
 * Fault injection: functions of the C library that fail on request. Link or preload it before the C library.
 *
 * Environment, read at the first call:
 *   VRX_FAULT_MEMORY=n    the n-th allocation fails; with n+ all later ones as well
 *   VRX_FAULT_SYSTEM=n    the n-th call of the system functions below fails
 *   VRX_FAULT_STUTTER=1   read, write and getrandom process a few bytes at a time, and are interrupted by signals
 *   VRX_FAULT_NAMED=1     unnamed files (O_TMPFILE) are not supported
 *   VRX_FAULT_RANDOM=how  random bytes are all `zero`, the same in every call (`constant`), the same in every process
 *                         (`snapshot`), or fail after the first call (`never`)
 *   VRX_FAULT_DIRECT=1    read and write cannot access more than 1024 bytes at once, like file systems that access the
 *                         caller's memory directly
 *   VRX_FAULT_REPORT=FILE an existing file; the name of the first function that is made to fail is written to it
 */
#define _GNU_SOURCE
#include "faults.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <malloc.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* old, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);

struct Plan {
    atomic_long until; /* calls left until one fails; 0: none */
    atomic_int lasting;
};
static struct Plan memory_plan, system_plan;
static atomic_int stutters, without_unnamed_files;
static atomic_long live;
static atomic_size_t left_in_last;
static atomic_int prepared;
static unsigned turn;
static const char* randomness;
static int report_file = -1;
static atomic_int direct;

static void read_plan(struct Plan* plan, const char* name) {
    const char* text = getenv(name);
    char* end;
    if (text == NULL) return;
    plan->until = strtol(text, &end, 10);
    plan->lasting = *end == '+';
}

static void prepare(void) {
    if (atomic_exchange(&prepared, 1)) return;
    read_plan(&memory_plan, "VRX_FAULT_MEMORY");
    read_plan(&system_plan, "VRX_FAULT_SYSTEM");
    stutters = getenv("VRX_FAULT_STUTTER") != NULL;
    randomness = getenv("VRX_FAULT_RANDOM");
    without_unnamed_files = getenv("VRX_FAULT_NAMED") != NULL;
    direct = getenv("VRX_FAULT_DIRECT") != NULL;
    /* The file is opened now, because the program may give up its access to files later. Its descriptor gets a high
     * number, which the program does not use. */
    const char* path = getenv("VRX_FAULT_REPORT");
    if (path == NULL) return;
    const int fd = (int)syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CLOEXEC);
    report_file = (int)syscall(SYS_fcntl, fd, F_DUPFD_CLOEXEC, 900);
    syscall(SYS_close, fd);
}

static void report(const char* call) {
    if (report_file < 0) return;
    const int saved = errno;
    syscall(SYS_write, report_file, call, strlen(call));
    syscall(SYS_close, report_file);
    report_file = -1;
    errno = saved;
}

static int is_due(struct Plan* plan, const char* call) {
    prepare();
    if (plan->until == 0) return 0;
    if (plan->until > 1) {
        --plan->until;
        return 0;
    }
    if (!plan->lasting) plan->until = 0;
    report(call);
    return 1;
}

void fail_allocation(long n) {
    prepare();
    memory_plan.until = n;
}
long live_allocations(void) { return live; }
size_t octets_left_in_last(void) { return left_in_last; }

/* --- memory ------------------------------------------------------------------------------------------------------- */

static void* counted(void* memory) {
    if (memory != NULL) ++live;
    return memory;
}
static void* none(void) {
    errno = ENOMEM;
    return NULL;
}

void* malloc(size_t size) { return is_due(&memory_plan, "malloc") ? none() : counted(__libc_malloc(size)); }
void* calloc(size_t count, size_t size) {
    return is_due(&memory_plan, "calloc") ? none() : counted(__libc_calloc(count, size));
}
void* realloc(void* old, size_t size) {
    if (is_due(&memory_plan, "realloc")) return none();
    void* const memory = __libc_realloc(old, size);
    if (old == NULL) return counted(memory);
    if (size == 0) --live;
    return memory;
}
void* memalign(size_t alignment, size_t size) {
    return is_due(&memory_plan, "memalign") ? none() : counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** memory, size_t alignment, size_t size) {
    *memory = memalign(alignment, size);
    return *memory == NULL ? ENOMEM : 0;
}
void free(void* memory) {
    if (memory != NULL) {
        --live;
        size_t left = 0;
        const unsigned char* octets = memory;
        for (size_t i = 0, size = malloc_usable_size(memory); i < size; ++i) left += octets[i] != 0;
        left_in_last = left;
    }
    __libc_free(memory);
}
/* Pages for secrets. The C library does not use this symbol for its own mappings. */
void* mmap(void* address, size_t size, int rights, int flags, int fd, off_t offset) {
    if (is_due(&memory_plan, "mmap")) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    return (void*)syscall(SYS_mmap, address, size, rights, flags, fd, offset);
}

/* --- the system --------------------------------------------------------------------------------------------------- */

static int fails(const char* call, int error) {
    if (!is_due(&system_plan, call)) return 0;
    errno = error;
    return 1;
}

/* Decides whether a call is interrupted; if it is not, decides how many bytes it processes. */
static int is_interrupted(size_t* size) {
    prepare();
    if (!stutters) return 0;
    turn = turn * 1103515245 + 12345;
    if (turn >> 16 & 1) {
        errno = EINTR;
        return 1;
    }
    const size_t most = 1 + (turn >> 17) % (turn >> 30 == 0 ? 9 : 4000);
    if (*size > most) *size = most;
    return 0;
}

static int is_out_of_reach(size_t size) {
    if (!direct || size <= 1024) return 0;
    errno = EFAULT;
    return 1;
}

/* Writes to standard error never fail, so that messages of the program appear. */
static int is_message(int fd) { return fd == STDERR_FILENO; }

ssize_t read(int fd, void* buffer, size_t size) {
    if (fails("read", EIO) || is_interrupted(&size) || is_out_of_reach(size)) return -1;
    return syscall(SYS_read, fd, buffer, size);
}
ssize_t __read_chk(int fd, void* buffer, size_t size, size_t room) {
    if (size > room) abort();
    return read(fd, buffer, size);
}
ssize_t write(int fd, const void* buffer, size_t size) {
    if (!is_message(fd) && (fails("write", ENOSPC) || is_interrupted(&size) || is_out_of_reach(size))) return -1;
    return syscall(SYS_write, fd, buffer, size);
}
static ssize_t planned_random(unsigned char* buffer, size_t size) {
    static unsigned long sequence = 1;
    if (*randomness == 'n' && sequence != 1) {
        errno = EIO;
        return -1;
    }
    if (*randomness == 'c') sequence = 1;
    for (size_t i = 0; i < size; ++i) {
        sequence = sequence * 6364136223846793005UL + 1442695040888963407UL;
        buffer[i] = *randomness == 'z' ? 0 : (unsigned char)(sequence >> 56);
    }
    return (ssize_t)size;
}
ssize_t getrandom(void* buffer, size_t size, unsigned flags) {
    if (fails("getrandom", ENOSYS) || is_interrupted(&size)) return -1;
    if (randomness != NULL) return planned_random(buffer, size);
    return syscall(SYS_getrandom, buffer, size, flags);
}
int open(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    size_t all = 1;
    if (fails("open", EMFILE) || is_interrupted(&all)) return -1;
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}
int __open_2(const char* path, int flags) { return open(path, flags); }
int openat(int folder, const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    size_t all = 1;
    prepare();
    if (without_unnamed_files && (flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    if (fails("openat", EMFILE) || is_interrupted(&all)) return -1;
    return (int)syscall(SYS_openat, folder, path, flags, mode);
}
int __openat_2(int folder, const char* path, int flags) { return openat(folder, path, flags); }
int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) {
    return fails("linkat", EMLINK) ? -1 : (int)syscall(SYS_linkat, from_folder, from, to_folder, to, flags);
}
int close(int fd) {
    const int failing = fails("close", EIO);
    const int result = (int)syscall(SYS_close, fd);
    if (!failing) return result;
    errno = EIO;
    return -1;
}
int fsync(int fd) { return fails("fsync", EIO) ? -1 : (int)syscall(SYS_fsync, fd); }
int renameat(int from_folder, const char* from, int to_folder, const char* to) {
    return fails("renameat", EACCES) ? -1 : (int)syscall(SYS_renameat, from_folder, from, to_folder, to);
}
int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) {
    if (fails("renameat2", EACCES)) return -1;
    return (int)syscall(SYS_renameat2, from_folder, from, to_folder, to, flags);
}
int fchmod(int fd, mode_t mode) { return fails("fchmod", EPERM) ? -1 : (int)syscall(SYS_fchmod, fd, mode); }
int fchown(int fd, uid_t user, gid_t group) {
    return fails("fchown", EIO) ? -1 : (int)syscall(SYS_fchown, fd, user, group);
}
int fstat(int fd, struct stat* status) { return fails("fstat", EIO) ? -1 : (int)syscall(SYS_fstat, fd, status); }
int fstatat(int folder, const char* path, struct stat* status, int flags) {
    return fails("fstatat", EIO) ? -1 : (int)syscall(SYS_newfstatat, folder, path, status, flags);
}
int faccessat(int folder, const char* path, int mode, int flags) {
    return fails("faccessat", EIO) ? -1 : (int)syscall(SYS_faccessat2, folder, path, mode, flags);
}
int ftruncate(int fd, off_t size) { return fails("ftruncate", ENOSPC) ? -1 : (int)syscall(SYS_ftruncate, fd, size); }
off_t lseek(int fd, off_t offset, int whence) {
    return fails("lseek", ESPIPE) ? -1 : (off_t)syscall(SYS_lseek, fd, offset, whence);
}
int mlock(const void* address, size_t size) {
    return fails("mlock", ENOMEM) ? -1 : (int)syscall(SYS_mlock, address, size);
}
