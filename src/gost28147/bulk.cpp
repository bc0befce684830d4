#include "gost28147/bulk.hpp"

#include <algorithm>

#include "gost28147/engine/list.hpp"
#include "gost28147/mesh.hpp"
#include "gost28147/plain.hpp"

namespace vrx::gost28147::bulk {
namespace {

/**
 * True if an engine may read blocks before it writes earlier blocks. A step of an engine reads all its input first. The
 * result differs from that of block-by-block processing only if the output of a block overwrites later input of the
 * same step. This happens only if `out` begins after `in`, at a distance that is less than the widest step and less
 * than the run.
 */
bool may_run_side_by_side(const Run& run) {
    const auto ahead = reinterpret_cast<std::uintptr_t>(run.out) - reinterpret_cast<std::uintptr_t>(run.in);
    return ahead == 0 || ahead >= VRX_BLOCK_SIZE * std::min(run.blocks, widest_step);
}

/**
 * Returns the equivalent mode that does not read its input again after writing. If the output of a block partly
 * overlaps its own input, there is no such mode.
 */
Mode without_rereading(const Run& run) {
    // In place, the feedback is the output, as in encryption.
    if (run.in == run.out) return Mode::cfb_encrypt;
    const auto distance = run.out - run.in;
    const bool apart = distance >= VRX_BLOCK_SIZE || distance <= -VRX_BLOCK_SIZE;
    return apart ? Mode::cfb_decrypt : Mode::cfb_decrypt_rereading;
}

/** With fewer blocks, an engine's set-up costs more than it saves. */
constexpr std::size_t shortest_chain = 4;

}  // namespace

void run(Mode mode, const Run& run) {
    if (mode == Mode::cfb_decrypt_rereading) mode = without_rereading(run);
    if (parallelizable(mode) && run.blocks > 1 && may_run_side_by_side(run))
        engine().parallel(mode, run);
    else if (chained(mode) && run.blocks >= shortest_chain)
        engine().chain(mode, run);
    else
        plain::run(mode, run);
}

void run_sections(Mode mode, const Run& run, std::uint32_t* key) {
    const auto together = engine().sections;
    if (together != nullptr && may_run_side_by_side(run) &&
        secret_work<depth::sections>([&] { return together(mode, run, key); }))
        return;
    for (Run rest = run; rest.blocks != 0; rest.skip(section_blocks)) {
        mesh(run.cipher.table, key, run.reg, bulk::run);
        Run section = rest;
        section.blocks = section_blocks;
        bulk::run(mode, section);
    }
}

}  // namespace vrx::gost28147::bulk
