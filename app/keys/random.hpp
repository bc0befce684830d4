// Random octets from the operating system.
#ifndef VRX_APP_RANDOM_HPP
#define VRX_APP_RANDOM_HPP

#include <sys/random.h>

#include <cerrno>
#include <cstdint>
#include <span>

#include "io/failure.hpp"

namespace vrx::app {

inline void fill_random(std::span<std::uint8_t> octets) {
    while (!octets.empty()) {
        const ssize_t got = getrandom(octets.data(), octets.size(), 0);
        if (got >= 0)
            octets = octets.subspan(static_cast<std::size_t>(got));
        else if (errno != EINTR)
            throw SystemFailure("cannot draw random bytes from the system", errno);
    }
}

/** The same as a source for the library. */
inline int system_random(void* buffer, std::uint32_t length) {
    try {
        fill_random({static_cast<std::uint8_t*>(buffer), length});
        return 0;
    } catch (const Failure&) {
        return -1;
    }
}

}  // namespace vrx::app

#endif
