// Declassified facts about secrets, which code may branch on: that a scalar is in range, that a draw was zero.
#ifndef VRX_FRAME_DECLASSIFY_HPP
#define VRX_FRAME_DECLASSIFY_HPP

#include <cstdint>
#include <span>

namespace vrx {

/**
 * Declassifies a bit: returns whether it is 1. For a checker that tracks secrets through memory the secret ends here,
 * in one read at an address that depends on the bit.
 */
[[nodiscard]] bool declassify(std::uint64_t bit);

/** Whether all words of a secret number are zero, declassified. */
[[nodiscard]] bool is_publicly_zero(std::span<const std::uint32_t> words);

}  // namespace vrx

#endif
