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
    std::byte left[2048];
    wipe(left, sizeof left);
}

/**
 * What body() returns. Its variables, with all that the compiler kept beside them, and those of the functions under it
 * are zeroed, down to 2 KiB: large records are the caller's.
 */
template <typename Body>
auto leaving_no_trace(Body body) {
    const auto apart = [&body]() __attribute__((noinline)) { return body(); };
    const auto result = apart();
    wipe_stack();
    return result;
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
