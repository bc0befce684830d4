// Value barriers. They keep the optimiser from turning arithmetic on masks into branches and table look-ups.
#ifndef VRX_FRAME_BARRIER_HPP
#define VRX_FRAME_BARRIER_HPP

#include <concepts>

namespace vrx {

/**
 * Returns the same value, but the compiler can no longer tell what it is. A compiler that knows that a mask is all ones
 * or zero may replace `x & mask` by a branch, or by a choice between two addresses. Emits no instruction. Vector types
 * need the constraint of their register class, so each has its own barrier, such as IfmaLanes::opaque().
 */
template <std::integral T>
[[nodiscard, gnu::always_inline]] constexpr T value_barrier(T value) {
    // Uses the compiler's builtin, because std::is_constant_evaluated() is a call and a branch in unoptimised builds.
    if (!__builtin_is_constant_evaluated()) asm("" : "+r"(value));
    return value;
}

}  // namespace vrx

#endif
