// Value barriers: keep the optimiser from turning arithmetic on masks into branches and table look-ups.
#ifndef VRX_FRAME_BARRIER_HPP
#define VRX_FRAME_BARRIER_HPP

#include <concepts>

namespace vrx {

/**
 * The same value, of which the compiler knows nothing. A compiler that knows that a mask is all ones or zero may
 * replace `x & mask` by a branch, or a choice between two addresses. Emits no instruction. Vector types need the
 * constraint of their register class, so each has a barrier of its own: see IfmaLanes::opaque().
 */
template <std::integral T>
[[nodiscard, gnu::always_inline]] constexpr T value_barrier(T value) {
    // Not std::is_constant_evaluated(), which is a call and a branch without optimisation.
    if (!__builtin_is_constant_evaluated()) asm("" : "+r"(value));
    return value;
}

}  // namespace vrx

#endif
