// Proves a theorem about symbolic words. Then checks that a false claim, the control of the theorem, is refuted.
#ifndef VRX_TESTS_PROVE_THEOREM_HPP
#define VRX_TESTS_PROVE_THEOREM_HPP

#include <gtest/gtest.h>

#include "prove/integers.hpp"

namespace vrx::prove {

/** Refutes a claim, which must fail: by one of a few random examples, or else by a search of the solver. */
inline void expect_counterexample(const Claim& claim, const std::string& what) {
    const std::string text = integer::negated(claim);
    for (const unsigned long seed : {1, 2, 3, 4})
        if (ask(text + integer::example(seed)) == Answer::sat) {
            std::printf("[ control  ]           %s\n", what.c_str());
            return;
        }
    expect_refuted(text, what);
}

/**
 * Proves the claim that state() returns. state() runs the library's code on unknowns. Then plants a fault: sum number
 * `faulty` in this code, counted from 1, omits its second term. The claim must then be false.
 */
template <typename State>
void theorem(const std::string& what, unsigned faulty, const State& state) {
    integer::reset();
    expect_proved(integer::negated(state()), what);
    integer::reset(faulty);
    const Claim claim = state();
    ASSERT_LE(faulty, integer::operations()) << "no operation to plant a fault in";
    expect_counterexample(claim, what);
    integer::reset();
}

/** Proves the claim that state() returns. The control is the claim that faulty() returns, which must fail. */
template <typename State, typename Faulty>
void theorem_and_control(const std::string& what, const State& state, const Faulty& faulty) {
    integer::reset();
    expect_proved(integer::negated(state()), what);
    integer::reset();
    expect_counterexample(faulty(), what);
    integer::reset();
}

/**
 * theorem() for code that branches on unknowns. The claim must hold on every path. With the fault, it must fail on at
 * least one path.
 */
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
