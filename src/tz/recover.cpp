// Recovers the S-boxes of a table, with code that runs on any x86-64 CPU.
#include <bit>

#include "tz/sboxes.hpp"

namespace vrx::tz {
namespace {

/**
 * Reads the S-boxes from the entries whose index has two equal nibbles. Returns true if these S-boxes expand to the
 * whole table.
 */
bool recover(const vrx_tz& table, SBoxes& out) {
    std::uint8_t num[VRX_NUM_TZ_SIZE];
    for (unsigned m = 0; m < 4; ++m)
        for (unsigned i = 0; i < 16; ++i)
            num[4 * i + m] = static_cast<std::uint8_t>(std::rotr(table.t[m][17 * i], 11) >> 8 * m);
    out = sboxes(num);

    // Each entry is an output of the even S-box, ORed with an output of the odd S-box. The inner loops have 16 steps,
    // so compilers vectorise them.
    std::uint32_t wrong[16] = {};
    for (unsigned m = 0; m < 4; ++m) {
        std::uint32_t even[16];
        for (unsigned i = 0; i < 16; ++i) even[i] = std::rotl(std::uint32_t{out.even[16 * m + i]} << 8 * m, 11);
        for (unsigned h = 0; h < 16; ++h) {
            const std::uint32_t odd = std::rotl(std::uint32_t{out.odd[16 * m + h]} << 8 * m, 11);
            const std::uint32_t* const row = &table.t[m][16 * h];
            for (unsigned i = 0; i < 16; ++i) wrong[i] |= (even[i] | odd) ^ row[i];
        }
    }
    std::uint32_t any = 0;
    for (const std::uint32_t w : wrong) any |= w;
    return any == 0;
}

}  // namespace

const SBoxes* sboxes_of(const vrx_tz& table, SBoxes& room) noexcept {
    if (const SBoxes* const sboxes = built_in_sboxes(table); sboxes != nullptr) return sboxes;
    return recover(table, room) ? &room : nullptr;
}

}  // namespace vrx::tz
