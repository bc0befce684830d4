// The compression function of SHA-1 (RFC 3174, section 6.1), in variants for different processors.
#ifndef VRX_SHA1_COMPRESS_HPP
#define VRX_SHA1_COMPRESS_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/cpu.hpp"

namespace vrx::sha1 {

using Digest = std::array<std::uint32_t, 5>;

inline constexpr std::size_t block_size = 64;

/** Take in blocks of the message, that lie at any address. Working values are left on the stack. */
using Compress = void (*)(Digest& h, const std::uint8_t* data, std::size_t blocks) noexcept;

void compress_sha_ni(Digest& h, const std::uint8_t* data, std::size_t blocks) noexcept;
void compress_portable(Digest& h, const std::uint8_t* data, std::size_t blocks) noexcept;

struct Implementation {
    const char* name;
    std::uint32_t needs;
    Compress run;
};

// Best first; the last one runs everywhere. Tests and benchmarks walk the same list.
inline constexpr std::array implementations = {
    Implementation{"sha-ni", cpu::sha | cpu::ssse3 | cpu::sse41, compress_sha_ni},
    Implementation{"portable", cpu::baseline, compress_portable},
};

/** The best one for this processor, which the first call finds out. */
void compress(Digest& h, const std::uint8_t* data, std::size_t blocks) noexcept;

}  // namespace vrx::sha1

#endif
