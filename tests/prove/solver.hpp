// Runs an SMT solver on a text in SMT-LIB 2, and what tests make of its answer.
#ifndef VRX_TESTS_PROVE_SOLVER_HPP
#define VRX_TESTS_PROVE_SOLVER_HPP

#include <string>

namespace vrx::prove {

enum class Answer { unsat, sat, unknown };

/** The solver's answer to (check-sat), which this adds at the end of the text. */
Answer ask(const std::string& text);

/** Whether there is a solver: z3, else cvc5, or the program that VRX_SOLVER names. */
bool has_solver();

/** Slower proofs as well: VRX_PROVE_ALL is set. */
bool all_proofs();

/** Fails the running test unless nothing satisfies the text, the negation of a claim. */
void expect_proved(const std::string& text, const std::string& what);

/** Fails the running test unless something satisfies the text: a planted fault has a counterexample. */
void expect_refuted(const std::string& text, const std::string& what);

}  // namespace vrx::prove

/** At the beginning of a test that asks a solver. */
#define VRX_NEEDS_SOLVER() \
    if (!vrx::prove::has_solver()) GTEST_SKIP() << "neither z3 nor cvc5 is installed"

#endif
