// Constant-time SSSE3 engine of the hash step: S-box look-ups with PSHUFB on the four blocks of a step.
#include <immintrin.h>

#include "gostr3411/engine.hpp"
#include "gostr3411/step_parts.hpp"
#include "tz/scan.hpp"

#include "frame/region_ssse3.hpp"

#include "gostr3411/lanes.hpp"
#include "tz/shuffle.hpp"

namespace vrx::gostr3411 {

void steps_ssse3(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    steps_in_lanes(h, blocks, count, tz::ShuffledSBoxes(*s.sboxes));
}

Steps prepare_ssse3(Substitution& s) noexcept {
    s.sboxes = tz::sboxes_of(s.table, s.found);
    return s.sboxes != nullptr ? steps_ssse3 : steps_scan_table;
}

}  // namespace vrx::gostr3411

#include "frame/region_end.hpp"
