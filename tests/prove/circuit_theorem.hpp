// Proves a theorem about symbolic bits. Then checks that a false claim, the control of the theorem, is refuted.
#ifndef VRX_TESTS_PROVE_CIRCUIT_THEOREM_HPP
#define VRX_TESTS_PROVE_CIRCUIT_THEOREM_HPP

#include <gtest/gtest.h>

#include "prove/bits.hpp"

namespace vrx::prove {

/** Proves claim() on each path through it. */
template <typename Claim>
void prove_on_paths(const std::string& what, const Claim& claim) {
    unsigned path = 0;
    circuit::each_path(
        0, claim, [&](const std::string& text) { expect_proved(text, what + (path++ == 0 ? "" : ", another path")); });
}

/** True if claim() fails on a path, where operation number `faulty` is wrong. */
template <typename Claim>
bool is_refuted(unsigned faulty, const Claim& claim) {
    bool refuted = false;
    circuit::each_path(
        faulty,
        [&] {
            const Bit bit = claim();
            refuted = refuted || circuit::has_counterexample(bit);
            return bit;
        },
        [&](const std::string& text) {
            // With closed tables, an assignment that the solver finds may contradict the content of the tables.
            if (!refuted && !circuit::keeps_tables_closed()) refuted = ask(text) == Answer::sat;
        });
    return refuted;
}

/** Proves claim(). The control is the same claim with a wrong operation number `faulty`, which must fail. */
template <typename Claim>
void circuit_theorem(const std::string& what, unsigned faulty, const Claim& claim) {
    prove_on_paths(what, claim);
    const bool refuted = is_refuted(faulty, claim);
    std::printf("[ control  ]           %s\n", what.c_str());
    EXPECT_TRUE(refuted) << what << ": a fault in operation " << faulty << " of " << circuit::operations();
}

/** Proves claim(). Then checks that control(), which returns a false claim, fails. */
template <typename Claim, typename Control>
void circuit_theorem_and_control(const std::string& what, const Claim& claim, const Control& control) {
    prove_on_paths(what, claim);
    const bool refuted = is_refuted(0, control);
    std::printf("[ control  ]           %s\n", what.c_str());
    EXPECT_TRUE(refuted) << what;
}

}  // namespace vrx::prove

#endif
