// Forces an engine for point multiplication in tests, and counts its calls.
#ifndef VRX_TESTS_ECC_FIELD_ENGINES_HPP
#define VRX_TESTS_ECC_FIELD_ENGINES_HPP

#include <string>
#include <vector>

#include "ecc/field/engine.hpp"
#include "support/offered.hpp"

namespace vrx::test {

/** Covers no operands, so that the general domain does all the work. */
extern const field::Engine engine_none;

/** The code of the vector engine on plain arrays. */
extern const field::Engine engine_plain_lanes;

/** All engines that run on this CPU, except engine_none. */
std::vector<const field::Engine*> engines_here();

/** The engine of a name, including engine_none, or nullptr. */
const field::Engine* engine_named(const std::string& name);

using ForcedEngine = WithEngine<field::choice>;

/** Forces an engine, and counts its calls and how many of them it covers. One object at a time. */
class CountedEngine {
public:
    explicit CountedEngine(const field::Engine& engine);
    ~CountedEngine();
    CountedEngine(const CountedEngine&) = delete;
    CountedEngine& operator=(const CountedEngine&) = delete;

    struct Counts {
        unsigned base, point, sum;  // calls
        unsigned covered;
        bool operator==(const Counts&) const = default;
    };
    /** The counts since the last call. */
    Counts take();

private:
    const field::Engine* before_;
};

}  // namespace vrx::test

#endif
