// Recovers the S-boxes of a deployed table, in the form that byte shuffles need, and verifies every entry of the table.
#ifndef VRX_TZ_SBOXES_HPP
#define VRX_TZ_SBOXES_HPP

#include "tz/deploy.hpp"

namespace vrx::tz {

/** Eight S-boxes as two tables of bytes. Entry 16m + i holds the output of S-box 2m or 2m + 1 for the input i. */
struct alignas(64) SBoxes {
    std::uint8_t even[64];  // S-boxes 2m, in the low nibble
    std::uint8_t odd[64];   // S-boxes 2m + 1, in the high nibble
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

/** Returns the S-boxes of a built-in table, which is recognised by its address; nullptr for any other table. */
const SBoxes* built_in_sboxes(const vrx_tz& table) noexcept;

/**
 * Recovers the S-boxes of a table. Returns false if they do not expand to exactly its 1024 entries. The entry
 * t[m][17i] holds the outputs of S-boxes 2m and 2m + 1 for the input i.
 */
[[nodiscard]] bool recover_avx2(const vrx_tz& table, SBoxes& out) noexcept;

/**
 * Finds the S-boxes of a table, on any CPU. Recovers them into `room` if the table is not built in. Returns nullptr if
 * no S-boxes expand to the table.
 */
[[nodiscard]] const SBoxes* sboxes_of(const vrx_tz& table, SBoxes& room) noexcept;

}  // namespace vrx::tz

#endif
