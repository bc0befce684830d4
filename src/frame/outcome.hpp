// Truths about secrets that may be known, and be branched on: that a scalar is in its range, that a draw was zero.
#ifndef VRX_FRAME_OUTCOME_HPP
#define VRX_FRAME_OUTCOME_HPP

#include <cstdint>

namespace vrx {

/**
 * Whether the bit is 1, as a fact that is no secret any more. A checker that follows secrets through memory sees it end
 * here, in one read at an address made of the bit.
 */
[[nodiscard]] bool public_outcome(std::uint64_t bit);

}  // namespace vrx

#endif
