// Conversion between bytes at any address and words.
#ifndef VRX_FRAME_BYTES_HPP
#define VRX_FRAME_BYTES_HPP

#include <cstdint>
#include <cstring>

#include "frame/platform.hpp"

namespace vrx {

inline std::uint32_t load_le32(const std::uint8_t* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline void store_le32(std::uint8_t* bytes, std::uint32_t word) { std::memcpy(bytes, &word, sizeof word); }

/**
 * Returns the low 8 bits of a selector. In a direction, a set of flags or a table index, only these bits are
 * significant.
 */
constexpr std::uint8_t low8(std::uint32_t value) { return static_cast<std::uint8_t>(value); }
constexpr std::uint8_t low8(int value) { return static_cast<std::uint8_t>(value); }

}  // namespace vrx

#endif
