// Random test input that can be repeated: the seed is printed once, and VRX_TEST_SEED sets it.
#ifndef VRX_TESTS_SUPPORT_RANDOM_HPP
#define VRX_TESTS_SUPPORT_RANDOM_HPP

#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>

#include "support/hex.hpp"

namespace vrx::test {

class Random {
public:
    Random();
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /** A number from 0 to limit - 1. */
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }
    std::uint32_t word() { return static_cast<std::uint32_t>(engine_() >> 32); }
    bool coin() { return (engine_() >> 63) != 0; }
    void fill(std::span<std::uint8_t> out) {
        for (std::uint8_t& b : out) b = static_cast<std::uint8_t>(engine_() >> 56);
    }
    Bytes bytes(std::size_t count) {
        Bytes out(count);
        fill(out);
        return out;
    }
    /** A record of random bytes. */
    template <typename T>
    T value() {
        static_assert(std::is_trivially_copyable_v<T>);
        T out;
        const Bytes raw = bytes(sizeof out);
        std::memcpy(&out, raw.data(), sizeof out);
        return out;
    }

private:
    std::mt19937_64 engine_;
};

}  // namespace vrx::test

#endif
