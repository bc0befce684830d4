// Constant-time baseline engine of the hash step: reads all outputs of an S-box, or all entries of a table that was not
// made from S-boxes.
#include "tz/scan.hpp"

#include "gostr3411/engine.hpp"
#include "gostr3411/lanes.hpp"

namespace vrx::gostr3411 {
namespace {

/** Applies a table of any content to four words. */
struct ScannedTable {
    const vrx_tz& table;

    __m128i operator()(__m128i words) const {
        std::uint32_t word[4];
        std::memcpy(word, &words, sizeof word);
        for (std::uint32_t& w : word) w = tz::scanned(table, w);
        std::memcpy(&words, word, sizeof word);
        return words;
    }
};

}  // namespace

void steps_scan(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    steps_in_lanes(h, blocks, count, tz::ScannedSBoxes(*s.sboxes));
}

void steps_scan_table(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    steps_in_lanes(h, blocks, count, ScannedTable{s.table});
}

Steps prepare_scan(Substitution& s) noexcept {
    s.sboxes = tz::sboxes_of(s.table, s.found);
    return s.sboxes != nullptr ? steps_scan : steps_scan_table;
}

}  // namespace vrx::gostr3411
