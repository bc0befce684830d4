// Declassified facts about secrets, which code may branch on: that a scalar is in range, that a draw was zero.
#ifndef VRX_FRAME_DECLASSIFY_HPP
#define VRX_FRAME_DECLASSIFY_HPP

#include <cstdint>
#include <span>

namespace vrx {

/**
 * Whether the bit is 1, as a public fact. A checker that traces secrets through memory sees the trace end here, in one
 * read at an address made of the bit.
 */
[[nodiscard]] bool declassify(std::uint64_t bit);

/** Whether all words of a secret number are zero, as a public fact. */
[[nodiscard]] bool is_publicly_zero(std::span<const std::uint32_t> words);

}  // namespace vrx

#endif
