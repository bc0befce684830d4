// Selects an engine for point multiplication in tests, and counts its calls.
#ifndef VRX_TESTS_ECC_FIELD_ENGINES_HPP
#define VRX_TESTS_ECC_FIELD_ENGINES_HPP

#include <string>
#include <vector>

#include "ecc/field/engine.hpp"
#include "support/offered.hpp"

namespace vrx::test {

/** An engine that reports that it cannot handle any operands, so that the general domain computes everything. */
extern const field::Engine engine_none;

/** The code of the vector engine on plain arrays. */
extern const field::Engine engine_plain_lanes;

/** All engines that run on this CPU, except engine_none. */
std::vector<const field::Engine*> engines_here();

/** Returns the engine with a name, which may be engine_none, or nullptr. */
const field::Engine* engine_named(const std::string& name);

using ForcedEngine = WithEngine<field::choice>;

/**
 * Selects an engine during its lifetime. Counts its calls, and the calls whose operands it can handle. Only one object
 * may exist at a time.
 */
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
