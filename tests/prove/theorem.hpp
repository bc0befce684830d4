// A theorem about words as integers, and its control.
#ifndef VRX_TESTS_PROVE_THEOREM_HPP
#define VRX_TESTS_PROVE_THEOREM_HPP

#include <gtest/gtest.h>

#include "prove/integers.hpp"

namespace vrx::prove {

/** For lines whose control is planted with other parameters. */
inline constexpr unsigned no_fault = 0;

/**
 * Proves the claim of state(), which runs the library's lines on unknowns. Then a fault is planted: one of the sums in
 * these lines, `faulty` (counted from 1), leaves out its second term. The claim has to fail.
 */
template <typename State>
void theorem(const std::string& what, unsigned faulty, const State& state) {
    integer::reset();
    expect_proved(integer::negated(state()), what);
    if (faulty == no_fault) return;
    ASSERT_LE(faulty, integer::operations()) << "no operation to plant a fault in";
    integer::reset(faulty);
    expect_refuted(integer::negated(state()), what);
    integer::reset();
}

}  // namespace vrx::prove

#endif
