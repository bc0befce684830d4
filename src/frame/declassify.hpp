// Declassified facts about secrets. Code may branch on these facts, for example that a scalar is in range or that a
// random number was zero.
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

/** Returns whether all words of a secret number are zero, as a declassified fact. */
[[nodiscard]] bool is_publicly_zero(std::span<const std::uint32_t> words);

}  // namespace vrx

#endif
