// Fuzz target: sequences of valid and invalid calls on a cipher context. The target changes fields of the context
// between calls. After each call, the return code, log, record and memory equal those of the slow model.
#include "choices.hpp"
#include "gost28147/sequence.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vrx::test::Random random = vrx::fuzz::choices(data, size);
    vrx::fuzz::choose_engine(random);
    vrx::test::Sequence calls(random);
    vrx::fuzz::require(calls.open(), "a context opens like the model");
    for (int steps = 0; steps < 40 && random.has_decisions(); ++steps)
        vrx::fuzz::require(calls.step(), "a context goes on like the model");
    return 0;
}
