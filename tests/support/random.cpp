#include "support/random.hpp"

#include <cstdio>
#include <cstdlib>

namespace vrx::test {
namespace {

std::uint64_t process_seed() {
    static const std::uint64_t seed = [] {
        const char* given = std::getenv("VRX_TEST_SEED");
        const std::uint64_t chosen = given != nullptr ? std::strtoull(given, nullptr, 0) : std::random_device{}();
        std::printf("[  seed    ] VRX_TEST_SEED=%llu\n", static_cast<unsigned long long>(chosen));
        return chosen;
    }();
    return seed;
}

}  // namespace

Random::Random() : engine_(process_seed()) {}

}  // namespace vrx::test
