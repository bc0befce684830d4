// Fenced buffers: an access beyond the edge ends the program.
#ifndef VRX_TESTS_SUPPORT_FENCED_BUFFER_HPP
#define VRX_TESTS_SUPPORT_FENCED_BUFFER_HPP

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace vrx::test {

/** The side on which the inaccessible page adjoins the buffer. */
enum class Fence { before, behind };

/** A buffer of any size, including 0, that adjoins an inaccessible page. */
class FencedBuffer {
public:
    FencedBuffer(std::size_t size, Fence fence) : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        inside_ = (size + page_ - 1) / page_ * page_;
        void* const all = mmap(nullptr, inside_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED) throw std::runtime_error("no memory for a fence");
        all_ = static_cast<std::uint8_t*>(all);
        protect(PROT_READ | PROT_WRITE);
        begin_ = all_ + page_ + (fence == Fence::before ? 0 : inside_ - size);
    }
    FencedBuffer(const FencedBuffer&) = delete;
    FencedBuffer& operator=(const FencedBuffer&) = delete;
    ~FencedBuffer() { munmap(all_, inside_ + 2 * page_); }

    [[nodiscard]] std::uint8_t* begin() const { return begin_; }
    /** Makes the buffer read-only. */
    void make_read_only() { protect(PROT_READ); }

private:
    void protect(int rights) {
        if (inside_ != 0 && mprotect(all_ + page_, inside_, rights) != 0) throw std::runtime_error("no fence");
    }

    std::size_t page_;
    std::size_t inside_;
    std::uint8_t* all_;
    std::uint8_t* begin_;
};

}  // namespace vrx::test

#endif
