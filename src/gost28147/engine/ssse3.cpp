// Constant-time SSSE3 engine: S-box look-ups with PSHUFB on four blocks in two registers.
#include <immintrin.h>

#include <algorithm>
#include <utility>

#include "frame/secret_work.hpp"
#include "gost28147/engine/list.hpp"
#include "gost28147/engine/schedule.hpp"
#include "tz/scan.hpp"

#include "frame/region_ssse3.hpp"

#include "gost28147/engine/lanes.hpp"
#include "tz/shuffle.hpp"

namespace vrx::gost28147 {

bool shuffle_words(Mode mode, const Run& run) noexcept {
    tz::SBoxes room;
    const tz::SBoxes* const sboxes = tz::sboxes_of(run.cipher.table, room);
    if (sboxes == nullptr) return false;
    secret_work<depth::lanes>([&] { lanes_in_steps<4, 2, 1>(mode, run, tz::ShuffledSBoxes(*sboxes)); });
    return true;
}

void chain_shuffle(Mode mode, const Run& run) noexcept {
    tz::SBoxes room;
    const tz::SBoxes* const sboxes = tz::sboxes_of(run.cipher.table, room);
    if (sboxes == nullptr) return chain_scan_table(mode, run);
    secret_work<depth::lanes>([&] { lanes_in_order(mode, run, tz::ShuffledSBoxes(*sboxes)); });
}

}  // namespace vrx::gost28147

#include "frame/region_end.hpp"
