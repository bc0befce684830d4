// The engines of the curves, for tests: how to force one, and how to see that it ran.
#ifndef VRX_TESTS_ECC_FIELD_ENGINES_HPP
#define VRX_TESTS_ECC_FIELD_ENGINES_HPP

#include <string>
#include <vector>

#include "ecc/field/engine.hpp"
#include "support/offered.hpp"

namespace vrx::test {

/** Covers nothing, so that the general methods do all the work. */
extern const field::Engine engine_none;

/** The lines of the vector engine over plain arrays. */
extern const field::Engine engine_plain_lanes;

/** All that run on this processor, but for engine_none. */
std::vector<const field::Engine*> engines_here();

/** One of them or engine_none by its name, or nullptr. */
const field::Engine* engine_named(const std::string& name);

using ForcedEngine = WithEngine<field::choice>;

/** Forces an engine, and counts what it is asked and what it covers. One at a time. */
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
    /** The counts since they were last taken. */
    Counts take();

private:
    const field::Engine* before_;
};

}  // namespace vrx::test

#endif
