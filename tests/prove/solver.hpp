// Runs an SMT solver on SMT-LIB 2 text, and checks its answer.
#ifndef VRX_TESTS_PROVE_SOLVER_HPP
#define VRX_TESTS_PROVE_SOLVER_HPP

#include <string>

namespace vrx::prove {

enum class Answer { unsat, sat, unknown };

/** Appends (check-sat) to the text and returns the solver's answer. */
Answer ask(const std::string& text);

/** True if a solver is installed: z3, cvc5, or the program that VRX_SOLVER names. */
bool has_solver();

/** True if VRX_PROVE_ALL is set: slow proofs run, too. */
bool all_proofs();

/** Fails the running test if the text, which negates a claim, is satisfiable. */
void expect_proved(const std::string& text, const std::string& what);

/** Fails the running test unless the text is satisfiable: a planted fault must have a counterexample. */
void expect_refuted(const std::string& text, const std::string& what);

}  // namespace vrx::prove

/** Starts a test that needs a solver; skips the test if there is none. */
#define VRX_NEEDS_SOLVER() \
    if (!vrx::prove::has_solver()) GTEST_SKIP() << "neither z3 nor cvc5 is installed"

#endif
