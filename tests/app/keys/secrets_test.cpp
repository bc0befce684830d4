// Tests that secret pages are wiped before they are freed. The linker redirects munmap() to this file.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>

#include "io/failure.hpp"
#include "keys/keys.hpp"

namespace {

struct Unmapped {
    std::size_t pages = 0;
    std::size_t not_wiped = 0;
};
Unmapped unmapped;

}  // namespace

extern "C" int __real_munmap(void* address, std::size_t size);
extern "C" int __wrap_munmap(void* address, std::size_t size) {
    const std::span bytes(static_cast<const unsigned char*>(address), size);
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
    void* page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    std::memset(page, 1, 1);
    munmap(page, 4096);
    EXPECT_EQ(unmapped.not_wiped, 1U);
}

}  // namespace
