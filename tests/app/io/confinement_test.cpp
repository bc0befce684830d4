// Tests what a confined process can still do. Each check runs in a child process, because a process cannot lift its
// confinement.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "io/confinement.hpp"
#include "io/failure.hpp"
#include "io/files.hpp"
#include "support/child_process.hpp"

namespace {

using vrx::app::Access;
using vrx::app::Confinement;

/** Returns 0 if a system call succeeded, otherwise its errno. */
int error_of(long result) { return result < 0 ? errno : 0; }

int opening(const std::string& path, int flags = O_RDONLY) {
    const int fd = open(path.c_str(), flags | O_CLOEXEC, 0600);
    const int error = error_of(fd);
    if (fd >= 0) close(fd);
    return error;
}

/** A folder with the files `named` and `other`, and the empty folders `in` and `out`. */
class Confined : public testing::Test {
protected:
    void SetUp() override {
        std::string name = std::filesystem::temp_directory_path() / "vrx-test-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        for (const char* file : {"named", "other"}) std::ofstream(path(file)) << "text";
        for (const char* folder : {"in", "out"}) std::filesystem::create_directory(path(folder));
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string path(const std::string& name) const { return folder_ + "/" + name; }

    /** A part of the confinement that some kernels do not support. */
    struct Needed {
        const char* name;
        bool (*is_active)(const Confinement& confinement);
    };
    static constexpr Needed landlock{"Landlock", [](const Confinement& c) { return c.landlock > 0; }};
    static constexpr Needed seccomp{"seccomp filters", [](const Confinement& c) { return c.seccomp; }};

    /**
     * Run `body` confined, in a child process. Skips the test if this kernel does not support the part that the test
     * needs.
     */
    void expect_confined(const Access& access, const Needed& needed, const std::function<void()>& body) {
        constexpr const char* missing = "missing here";
        const auto run = vrx::test::run_in_child([&] {
            vrx::app::enable_confinement();
            if (needed.is_active(vrx::app::confine(access)))
                body();
            else
                vrx::app::say(missing);
        });
        EXPECT_TRUE(vrx::test::passed(run));
        if (run.err.find(missing) != std::string::npos) GTEST_SKIP() << "this kernel has no " << needed.name;
    }

private:
    std::string folder_;
};

TEST_F(Confined, inputs_can_be_read_and_nothing_else_opened) {
    expect_confined({{path("named"), "-", path("missing")}, {}, false}, landlock, [&] {
        EXPECT_EQ(opening(path("named")), 0);
        EXPECT_EQ(opening(path("missing")), ENOENT);
        EXPECT_EQ(opening(path("named"), O_WRONLY), EACCES);
        EXPECT_EQ(opening(path("other")), EACCES);
        EXPECT_EQ(opening(path("new"), O_WRONLY | O_CREAT), EACCES);
        EXPECT_EQ(opening(path("in"), O_RDONLY | O_DIRECTORY), EACCES);
        EXPECT_EQ(opening("/etc/passwd"), EACCES);
        EXPECT_EQ(error_of(unlinkat(AT_FDCWD, path("named").c_str(), 0)), EACCES);
        EXPECT_EQ(error_of(renameat(AT_FDCWD, path("named").c_str(), AT_FDCWD, path("other").c_str())), EACCES);
    });
}

TEST_F(Confined, outputs_are_written_in_their_folder_only) {
    for (const bool unnamed : {true, false}) {
        expect_confined({{path("named")}, {path("out/new")}, false}, landlock, [&] {
            if (unnamed) {
                vrx::app::Output output(path("out/new"));
                output.write("text");
                output.commit();
            } else {  // as on file systems without unnamed files
                EXPECT_EQ(opening(path("out/temporary"), O_WRONLY | O_CREAT | O_EXCL), 0);
                EXPECT_EQ(
                    error_of(renameat(AT_FDCWD, path("out/temporary").c_str(), AT_FDCWD, path("out/new").c_str())), 0);
            }
            EXPECT_EQ(opening(path("in/new"), O_WRONLY | O_CREAT), EACCES);
            EXPECT_NE(error_of(linkat(AT_FDCWD, path("out/new").c_str(), AT_FDCWD, path("in/new").c_str(), 0)), 0);
            EXPECT_NE(error_of(renameat(AT_FDCWD, path("out/new").c_str(), AT_FDCWD, path("in/new").c_str())), 0);
            EXPECT_EQ(error_of(unlinkat(AT_FDCWD, path("other").c_str(), 0)), EACCES);
        });
        if (IsSkipped()) return;
        EXPECT_TRUE(std::filesystem::exists(path("out/new")));
    }
}

TEST_F(Confined, an_output_may_be_a_link_or_a_device) {
    std::filesystem::create_symlink(path("out/new"), path("link"));
    expect_confined({{}, {path("link"), "/dev/null"}, false}, landlock, [&] {
        for (const std::string& name : {path("link"), std::string("/dev/null")}) {
            vrx::app::Output output(name);
            output.write("text");
            output.commit();
        }
        EXPECT_EQ(opening("/dev/zero", O_WRONLY), EACCES);
    });
    if (IsSkipped()) return;
    EXPECT_TRUE(std::filesystem::is_regular_file(path("out/new")));
}

TEST_F(Confined, lists_may_name_every_file_to_read) {
    expect_confined({{}, {}, true}, landlock, [&] {
        EXPECT_EQ(opening(path("other")), 0);
        EXPECT_EQ(opening("/etc/passwd"), 0);
        EXPECT_EQ(opening(path("other"), O_WRONLY), EACCES);
        EXPECT_EQ(opening(path("new"), O_WRONLY | O_CREAT), EACCES);
    });
}

TEST_F(Confined, there_is_no_network_and_no_other_program) {
    expect_confined({}, seccomp, [] {
        for (const int family : {AF_INET, AF_INET6, AF_UNIX, AF_NETLINK})
            EXPECT_EQ(error_of(socket(family, SOCK_STREAM, 0)), ENOSYS);
        std::array<char*, 1> none{nullptr};
        EXPECT_EQ(error_of(execve("/bin/true", none.data(), none.data())), ENOSYS);
        EXPECT_EQ(error_of(syscall(SYS_fork)), ENOSYS);
        EXPECT_EQ(error_of(syscall(SYS_clone3, nullptr, 0)), ENOSYS);
        EXPECT_EQ(error_of(kill(getppid(), 0)), ENOSYS);
        EXPECT_EQ(error_of(syscall(SYS_tgkill, getppid(), getppid(), 0)), ENOSYS);
        EXPECT_EQ(error_of(syscall(SYS_ptrace, 0, 0, 0, 0)), ENOSYS);
        EXPECT_EQ(error_of(chmod("/nowhere", 0777)), ENOSYS);
        EXPECT_EQ(error_of(syscall(SYS_io_uring_setup, 1, nullptr)), ENOSYS);
    });
}

TEST_F(Confined, no_memory_becomes_executable_and_no_terminal_gets_input) {
    expect_confined({}, seccomp, [] {
        void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(page, MAP_FAILED);
        EXPECT_EQ(error_of(mprotect(page, 4096, PROT_READ | PROT_EXEC)), ENOSYS);
        EXPECT_EQ(mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), MAP_FAILED);
        EXPECT_EQ(error_of(ioctl(STDIN_FILENO, TIOCSTI, "x")), ENOSYS);
    });
}

// Calls of glibc 2.42 and later. 0x802C542A and those after it are TCGETS2, TCSETS2, TCSETSW2 and TCSETSF2.
TEST_F(Confined, old_and_new_calls_for_terminals_reach_the_terminal) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    expect_confined({}, seccomp, [&] {
        std::array<unsigned char, 64> settings{};
        for (const unsigned long call : {0x802C542AUL, 0x402C542BUL, 0x402C542CUL, 0x402C542DUL,
                                         static_cast<unsigned long>(TCGETS), static_cast<unsigned long>(TCSETSF)})
            EXPECT_EQ(error_of(ioctl(ends[0], call, settings.data())), ENOTTY) << call;
    });
    for (const int end : ends) close(end);
}

TEST_F(Confined, signals_of_the_process_itself_arrive) {
    expect_confined({}, seccomp, [] {
        static volatile std::sig_atomic_t arrived = 0;
        std::signal(SIGUSR1, [](int) { arrived = 1; });
        EXPECT_EQ(raise(SIGUSR1), 0);
        EXPECT_EQ(arrived, 1);
    });
}

TEST_F(Confined, nothing_happens_before_it_is_enabled) {
    const auto run = vrx::test::run_in_child([&] {
        const Confinement none = vrx::app::confine({});
        EXPECT_EQ(none.landlock, 0);
        EXPECT_FALSE(none.seccomp);
        EXPECT_EQ(opening(path("other")), 0);
    });
    EXPECT_TRUE(vrx::test::passed(run));
}

}  // namespace
