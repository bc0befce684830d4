// Proves a theorem about symbolic words, and runs its control.
#ifndef VRX_TESTS_PROVE_THEOREM_HPP
#define VRX_TESTS_PROVE_THEOREM_HPP

#include <gtest/gtest.h>

#include "prove/integers.hpp"

namespace vrx::prove {

/** No control here: another test plants the fault, with other parameters. */
inline constexpr unsigned no_fault = 0;

/**
 * Proves the claim that state() returns; state() runs the library's code on unknowns. Then plants a fault: sum number
 * `faulty` in this code, counted from 1, omits its second term. The claim must then fail.
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

/** The same for lines with branches on unknowns: on every path the claim holds, and with the fault not on every one. */
template <typename State>
void theorem_on_paths(const std::string& what, unsigned faulty, const State& state) {
    unsigned paths = 0;
    integer::reset();
    integer::each_path(
        state, [&](const std::string& text) { expect_proved(text, what + (paths++ == 0 ? "" : ", another path")); });
    bool refuted = false;
    integer::reset(faulty);
    integer::each_path(state, [&](const std::string& text) { refuted = refuted || ask(text) == Answer::sat; });
    std::printf("[ control  ]           %s\n", what.c_str());
    EXPECT_TRUE(refuted) << what << ": a fault in operation " << faulty;
    integer::reset();
}

}  // namespace vrx::prove

#endif
