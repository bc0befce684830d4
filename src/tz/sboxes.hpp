// The S-boxes of a deployed table: found again, in the form that byte shuffles look up, and proved to be its whole
// truth.
#ifndef VRX_TZ_SBOXES_HPP
#define VRX_TZ_SBOXES_HPP

#include <array>

#include "frame/choice.hpp"
#include "frame/engines.hpp"
#include "tz/deploy.hpp"

namespace vrx::tz {

/** Eight S-boxes as two tables of bytes; entry 16m + i holds the output for the input i. */
struct alignas(64) SBoxes {
    std::uint8_t even[64];  // S-box 2m
    std::uint8_t odd[64];   // S-box 2m + 1, in the high nibble
};

constexpr SBoxes sboxes(Numeric num) {
    SBoxes out{};
    for (unsigned m = 0; m < 4; ++m)
        for (unsigned i = 0; i < 16; ++i) {
            out.even[16 * m + i] = num[4 * i + m] & 0x0f;
            out.odd[16 * m + i] = num[4 * i + m] & 0xf0;
        }
    return out;
}

/** The S-boxes of a built-in table, known by its address; nullptr for any other table. */
const SBoxes* built_in_sboxes(const vrx_tz& table) noexcept;

/**
 * A table as three look-ups instead of four: of the lower 12 bits of a word, of the 8 above them, and of the upper 12.
 * 33 KiB.
 */
struct Wide {
    alignas(64) std::uint32_t low[4096];
    std::uint32_t middle[256];
    std::uint32_t high[4096];
};

/** Of a table that has the entries of one of the hash's built-in tables; nullptr for any other table. */
const Wide* built_in_wide(const vrx_tz& table) noexcept;

// The sixteen entries of a table whose odd S-box has the same input are a row: the entries of the even S-box, each OR
// the one entry of the odd one. So a row costs an OR with a repeated word. Deploying stores the rows, recovering
// compares them.

/** deploy() of deploy.hpp. Cost: 64 times an OR and a store of 64 bytes. */
void deploy_avx512(Numeric num, vrx_tz& out) noexcept;
/** The same in halves of 32 bytes. */
void deploy_avx2(Numeric num, vrx_tz& out) noexcept;
void deploy_baseline(Numeric num, vrx_tz& out) noexcept;

struct Deployment : cpu::EngineInfo {
    void (*run)(Numeric num, vrx_tz& out) noexcept;
};

inline constexpr std::array<Deployment, 3> deployments{{
    {cpu::named(cpu::table_engines, "avx512"), deploy_avx512},
    {cpu::named(cpu::table_engines, "avx2"), deploy_avx2},
    {cpu::named(cpu::table_engines, "baseline"), deploy_baseline},
}};

extern cpu::Choice<deployments> choice;

/** deploy() by the best of them. */
inline void deploy_fast(Numeric num, vrx_tz& out) noexcept { choice().run(num, out); }

/**
 * Reads the S-boxes out of a table; false where they do not expand to exactly its 1024 entries. The entries T[17i] of a
 * table hold the outputs of both of its S-boxes for the input i.
 */
[[nodiscard]] bool recover_avx2(const vrx_tz& table, SBoxes& out) noexcept;

}  // namespace vrx::tz

#endif
