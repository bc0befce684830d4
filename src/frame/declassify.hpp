// Declassified facts about secrets, which code may branch on: that a scalar is in range, that a draw was zero.
#ifndef VRX_FRAME_DECLASSIFY_HPP
#define VRX_FRAME_DECLASSIFY_HPP

#include <cstdint>
#include <span>

namespace vrx {

/**
 * Declassifies a bit and returns it as a bool. This reads memory at an address that depends on the bit. A checker that
 * tracks secrets through memory reports this one read, and treats the result as public.
 */
[[nodiscard]] bool declassify(std::uint64_t bit);

/** Declassifies whether all words of a secret number are zero. */
[[nodiscard]] bool is_publicly_zero(std::span<const std::uint32_t> words);

}  // namespace vrx

#endif
