// Tests secret pages: they are wiped before they are freed, lie between inaccessible pages, and are not inherited. The
// linker redirects munmap() to this file.
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

#include "io/failure.hpp"
#include "keys/keys.hpp"
#include "support/child_process.hpp"

namespace {

constexpr std::size_t page = 4096;

struct Unmapped {
    std::size_t pages = 0;
    std::size_t not_wiped = 0;
};
Unmapped unmapped;

}  // namespace

extern "C" int __real_munmap(void* address, std::size_t size);
extern "C" int __wrap_munmap(void* address, std::size_t size) {
    // The first and the last page are the inaccessible ones.
    const std::span bytes = std::span(static_cast<const unsigned char*>(address), size).subspan(page, size - 2 * page);
    ++unmapped.pages;
    if (std::ranges::any_of(bytes, [](unsigned char byte) { return byte != 0; })) ++unmapped.not_wiped;
    return __real_munmap(address, size);
}

namespace {

TEST(Secrets, a_record_is_wiped_when_its_scope_ends) {
    unmapped = {};
    {
        vrx::app::Secret<vrx::app::Key> key;
        key->fill(0x5A5A5A5A);
    }
    EXPECT_EQ(unmapped.pages, 1U);
    EXPECT_EQ(unmapped.not_wiped, 0U);
}

TEST(Secrets, growing_bytes_wipe_every_place_they_leave) {
    unmapped = {};
    {
        vrx::app::SecretBytes bytes;
        for (int i = 0; i < 100'000; ++i) bytes.push_back(0x5A);
        bytes.truncate(10);
    }
    EXPECT_GT(unmapped.pages, 3U);
    EXPECT_EQ(unmapped.not_wiped, 0U);
}

TEST(Secrets, bytes_are_wiped_after_an_exception) {
    unmapped = {};
    try {
        vrx::app::SecretBytes bytes;
        for (const char c : std::string("not hexadecimal")) bytes.push_back(static_cast<std::uint8_t>(c));
        vrx::app::decode_hex(bytes, "what the test says");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const vrx::app::Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("what the test says is not"), std::string::npos);
    }
    EXPECT_EQ(unmapped.pages, 1U);
    EXPECT_EQ(unmapped.not_wiped, 0U);
}

TEST(Secrets, the_check_finds_pages_that_are_not_wiped) {
    unmapped = {};
    void* pages = mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    std::memset(static_cast<char*>(pages) + page, 1, 1);
    munmap(pages, 3 * page);
    EXPECT_EQ(unmapped.not_wiped, 1U);
}

/** Return 0 if the kernel can read a byte of this process, otherwise the error number. */
int readable(const void* byte) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const int error = write(ends[1], byte, 1) == 1 ? 0 : errno;
    close(ends[0]);
    close(ends[1]);
    return error;
}

TEST(Secrets, pages_lie_between_inaccessible_ones) {
    for (const std::size_t size : {std::size_t{1}, page, page + 1, 5 * page}) {
        const vrx::app::SecretPages pages(size);
        const char* begin = static_cast<const char*>(pages.get());
        const char* end = begin + (size + page - 1) / page * page;
        EXPECT_EQ(readable(begin), 0);
        EXPECT_EQ(readable(end - 1), 0);
        EXPECT_EQ(readable(begin - 1), EFAULT);
        EXPECT_EQ(readable(end), EFAULT);
    }
}

/** Check that a child process inherits nothing of the pages: in the child, they are unmapped or contain zeros. */
void expect_not_inherited(unsigned char* byte) {
    *byte = 0x5A;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) _exit(readable(byte) == EFAULT || *byte == 0 ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(*byte, 0x5A);
}

TEST(Secrets, forked_processes_do_not_inherit_them) {
    vrx::app::SecretPages pages(page);
    expect_not_inherited(static_cast<unsigned char*>(pages.get()));
}

/** From this call on, memfd_secret() fails in this process as on a kernel without it. */
void take_secret_memory_away() {
    std::array<sock_filter, 4> code{{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                     BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_memfd_secret, 0, 1),
                                     BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
                                     BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)}};
    const sock_fprog program{code.size(), code.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

TEST(Secrets, locked_pages_take_the_place_of_hidden_ones) {
    using Pages = vrx::app::SecretPages;
    const auto run = vrx::test::run_in_child([] {
        take_secret_memory_away();
        Pages pages(page);
        EXPECT_NE(pages.protection(), Pages::Protection::hidden);
        expect_not_inherited(static_cast<unsigned char*>(pages.get()));
    });
    EXPECT_TRUE(vrx::test::passed(run));
}

}  // namespace
