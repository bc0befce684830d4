// Random choices from fuzz input, for targets that share generators and comparisons with the tests.
#ifndef VRX_FUZZ_CHOICES_HPP
#define VRX_FUZZ_CHOICES_HPP

#include <gtest/gtest.h>

#include "fuzz.hpp"
#include "gost28147/engine/list.hpp"
#include "support/random.hpp"

namespace vrx::fuzz {

/** The first two bytes of an input are the seed of random contents. The other bytes decide what the target does. */
inline test::Random choices(const std::uint8_t* data, std::size_t size) {
    // A failed GoogleTest expectation then ends the program, as require() does.
    GTEST_FLAG_SET(throw_on_failure, true);
    Input input(data, size);
    const std::uint64_t seed = std::uint64_t{input.byte()} << 8;
    return {seed | input.byte(), {data + std::min<std::size_t>(size, 2), size - std::min<std::size_t>(size, 2)}};
}

/** Selects one of the cipher engines that this CPU supports. */
inline void choose_engine(test::Random& random) {
    const gost28147::Engine& wanted = gost28147::engines[random.below(gost28147::engines.size())];
    gost28147::choice.use(vrx::cpu::offers(wanted.needs) ? wanted : gost28147::engines.back());
}

}  // namespace vrx::fuzz

#endif
