// Provides random octets from the operating system.
#ifndef VRX_APP_RANDOM_HPP
#define VRX_APP_RANDOM_HPP

#include <vrx/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <span>

#include "io/failure.hpp"

namespace vrx::app {

/** Fill with random octets. Throws a Failure if the operating system's generator fails or is stuck. */
inline void fill_random(std::span<std::uint8_t> octets) {
    if (octets.size() < 16) {  // too few to detect a stuck generator
        std::array<std::uint8_t, 16> more;
        fill_random(more);
        std::copy_n(more.begin(), octets.size(), octets.begin());
        return;
    }
    if (vrx_system_random(octets.data(), static_cast<std::uint32_t>(octets.size())) == 0) return;
    if (errno == EIO) throw_bad_randomness();
    throw SystemFailure("cannot get random bytes from the system", errno);
}

}  // namespace vrx::app

#endif
