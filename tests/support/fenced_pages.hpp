// Fenced memory: pages between two inaccessible pages.
#ifndef VRX_TESTS_SUPPORT_FENCED_PAGES_HPP
#define VRX_TESTS_SUPPORT_FENCED_PAGES_HPP

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

namespace vrx::test {

/** Pages between two inaccessible ones. */
class FencedPages {
public:
    explicit FencedPages(std::size_t size) : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        inside_ = (size + page_ - 1) / page_ * page_;
        void* const all = mmap(nullptr, inside_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(all, MAP_FAILED);
        first_ = static_cast<std::uint8_t*>(all) + page_;
        EXPECT_EQ(mprotect(first_, inside_, PROT_READ | PROT_WRITE), 0);
    }
    ~FencedPages() { munmap(first_ - page_, inside_ + 2 * page_); }
    FencedPages(const FencedPages&) = delete;
    FencedPages& operator=(const FencedPages&) = delete;
    /** `size` bytes next to the lower or the upper fence. */
    std::uint8_t* bytes(std::size_t size, bool upper) { return upper ? first_ + inside_ - size : first_; }
    /** Makes the pages inaccessible, too. */
    void close() { EXPECT_EQ(mprotect(first_, inside_, PROT_NONE), 0); }

private:
    std::size_t page_;
    std::size_t inside_ = 0;
    std::uint8_t* first_ = nullptr;
};

}  // namespace vrx::test

#endif
