// Zeroing of secrets that the optimiser cannot remove.
#ifndef VRX_FRAME_WIPE_HPP
#define VRX_FRAME_WIPE_HPP

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace vrx {

inline void wipe(void* bytes, std::size_t count) {
    std::memset(bytes, 0, count);
    // Something outside the compiler's view may read the bytes, so they must be written.
    asm volatile("" : : "r"(bytes) : "memory");
}

/** Zero what functions that have returned left on the stack below the caller's frame. */
[[gnu::noinline]] inline void wipe_stack() {
    std::byte left[2048];  // deeper than any calls of the library's that work on secrets without wiping
    wipe(left, sizeof left);
}

/** A value that is zeroed when its scope ends. Neither copied nor moved. */
template <typename T>
requires std::is_trivially_copyable_v<T>
struct Secret {
    T value{};
    Secret() = default;
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    ~Secret() { wipe(&value, sizeof value); }
};

}  // namespace vrx

#endif
