// Zeroing of secrets in a way that the optimiser cannot remove.
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

/** Zeroes the stack below the caller's frame, which may hold data of functions that have returned. */
template <std::size_t depth = 2048>
[[gnu::noinline]] void wipe_stack() {
    std::byte left[depth];
    wipe(left, sizeof left);
}

/**
 * Returns the result of body(), and zeroes `depth` bytes of the stack that it and its callees used. Large records
 * belong into the caller's frame.
 */
template <std::size_t depth = 2048, typename Body>
auto leaving_no_trace(Body body) {
    const auto apart = [&body]() __attribute__((noinline)) { return body(); };
    const auto result = apart();
    wipe_stack<depth>();
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
