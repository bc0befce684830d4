// Reproducible random test input. The seed is printed once; the environment variable VRX_TEST_SEED sets it.
#ifndef VRX_TESTS_SUPPORT_RANDOM_HPP
#define VRX_TESTS_SUPPORT_RANDOM_HPP

#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <type_traits>

#include "support/hex.hpp"

namespace vrx::test {

class Random {
public:
    Random();
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    /**
     * For fuzz targets: below() and coin() take their results from the given bytes first. When these are used up, and
     * in all other functions, values are random.
     */
    Random(std::uint64_t seed, std::span<const std::uint8_t> decisions) : engine_(seed), decisions_(decisions) {}

    /** A number from 0 to limit - 1. */
    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>((decisions_.empty() ? engine_() : decision(limit)) % limit);
    }
    std::uint32_t word() { return static_cast<std::uint32_t>(engine_() >> 32); }
    bool coin() { return decisions_.empty() ? (engine_() >> 63) != 0 : decision(2) % 2 != 0; }
    /** Returns whether some of the given bytes are not used yet. */
    [[nodiscard]] bool has_decisions() const { return !decisions_.empty(); }
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
    /** Consumes as many of the given bytes as a number below the limit needs. */
    std::uint64_t decision(std::uint32_t limit) {
        std::uint64_t number = 0;
        for (std::uint32_t rest = limit - 1; rest != 0 && !decisions_.empty(); rest >>= 8) {
            number = number << 8 | decisions_.front();
            decisions_ = decisions_.subspan(1);
        }
        return number;
    }

    std::mt19937_64 engine_;
    std::span<const std::uint8_t> decisions_;
};

}  // namespace vrx::test

#endif
