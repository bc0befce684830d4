// Constant-time baseline engine for any CPU: reads all outputs of an S-box, or all entries of a table, and selects one.
#include "tz/scan.hpp"

#include "frame/secret_work.hpp"
#include "gost28147/engine/lanes.hpp"
#include "gost28147/engine/list.hpp"

namespace vrx::gost28147 {
namespace {

/** Performs the rounds on one block with a table of any content. */
struct ScannedRounds {
    Cipher cipher;

    template <const auto& order>
    [[nodiscard]] Block run(Block b) const {
        for (std::size_t i = 0; i < order.size(); i += 2) {
            b.n2 ^= tz::scanned(cipher.table, b.n1 + cipher.key[order[i]]);
            b.n1 ^= tz::scanned(cipher.table, b.n2 + cipher.key[order[i + 1]]);
        }
        return b;
    }
};

void table_in_order(Mode mode, const Run& run) {
    const ScannedRounds rounds{run.cipher};
    in_order(mode, run, BlockBy<ScannedRounds>{rounds});
}

}  // namespace

void chain_scan_table(Mode mode, const Run& run) noexcept {
    secret_work<depth::lanes>([&] { table_in_order(mode, run); });
}

bool scan_table(Mode mode, const Run& run) noexcept {
    chain_scan_table(mode, run);
    return true;
}

bool scan_sboxes(Mode mode, const Run& run) noexcept {
    tz::SBoxes room;
    const tz::SBoxes* const sboxes = tz::sboxes_of(run.cipher.table, room);
    if (sboxes == nullptr) return false;
    secret_work<depth::lanes>([&] { lanes_in_steps<2, 1>(mode, run, tz::ScannedSBoxes(*sboxes)); });
    return true;
}

void chain_scan(Mode mode, const Run& run) noexcept {
    tz::SBoxes room;
    const tz::SBoxes* const sboxes = tz::sboxes_of(run.cipher.table, room);
    if (sboxes == nullptr) return chain_scan_table(mode, run);
    secret_work<depth::lanes>([&] { lanes_in_order(mode, run, tz::ScannedSBoxes(*sboxes)); });
}

}  // namespace vrx::gost28147
