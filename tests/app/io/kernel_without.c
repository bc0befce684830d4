/*
 * Runs a program as on an older kernel. Usage: kernel_without FEATURES PROGRAM [ARGUMENT...], where FEATURES are the
 * letters l (Landlock), s (seccomp) and m (memfd_secret). The program gets ENOSYS or EINVAL when it uses one of these
 * features.
 */
#include <errno.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#define LANDLOCK_CREATE_RULESET 444
#define MEMFD_SECRET 447
#define NO_CALL 0xFFFF

int main(int argc, char** argv) {
    if (argc < 3) return 126;
    const unsigned landlock = strchr(argv[1], 'l') ? LANDLOCK_CREATE_RULESET : NO_CALL;
    const unsigned secret = strchr(argv[1], 'm') ? MEMFD_SECRET : NO_CALL;
    const unsigned control = strchr(argv[1], 's') ? SYS_prctl : NO_CALL;
    struct sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, landlock, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, secret, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, control, 1, 4),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PR_SET_SECCOMP, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const struct sock_fprog program = {sizeof code / sizeof *code, code};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) return 77;
    execv(argv[2], argv + 2);
    perror(argv[2]);
    return 126;
}
