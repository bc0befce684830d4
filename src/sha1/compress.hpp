// The compression function of SHA-1 (RFC 3174, section 6.1): its engines, and the selection of an engine.
#ifndef VRX_SHA1_COMPRESS_HPP
#define VRX_SHA1_COMPRESS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "frame/choice.hpp"
#include "frame/engines.hpp"

namespace vrx::sha1 {

/** A view of the words A to E. */
using Digest = std::span<std::uint32_t, 5>;

inline constexpr std::size_t block_size = 64;

/** Processes blocks of the message, at any address. Leaves working values on the stack. */
using Compress = void (*)(Digest h, const std::uint8_t* data, std::size_t blocks) noexcept;

void compress_sha_ni(Digest h, const std::uint8_t* data, std::size_t blocks) noexcept;
void compress_portable(Digest h, const std::uint8_t* data, std::size_t blocks) noexcept;

struct Engine : cpu::EngineInfo {
    Compress run;
};

inline constexpr std::array<Engine, 2> engines{{
    {cpu::named(cpu::sha1_engines, "sha-ni"), compress_sha_ni},
    {cpu::named(cpu::sha1_engines, "portable"), compress_portable},
}};

extern cpu::Choice<engines> choice;
/** The selected engine. */
inline const Engine& engine() noexcept { return choice(); }

inline void compress(Digest h, const std::uint8_t* data, std::size_t blocks) noexcept { engine().run(h, data, blocks); }

}  // namespace vrx::sha1

#endif
