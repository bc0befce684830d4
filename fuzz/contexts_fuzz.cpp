// Calls of every kind on a cipher context, right and wrong ones, with fields changed in between: after each, code, log,
// record and memory are those of the slow model.
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
