// Zeroing of secrets in a way that the optimiser cannot remove.
#ifndef VRX_FRAME_WIPE_HPP
#define VRX_FRAME_WIPE_HPP

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace vrx {

inline void wipe(void* bytes, std::size_t count) {
    std::memset(bytes, 0, count);
    // For the compiler, this statement may read the bytes, so the compiler must write them.
    asm volatile("" : : "r"(bytes) : "memory");
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
