// Baseline engine of the hash step: calls step(), for any table and any CPU.
#include "gostr3411/engine.hpp"

namespace vrx::gostr3411 {

void steps_baseline(Uint256& h, const std::uint8_t* blocks, std::size_t count, const Substitution& s) noexcept {
    for (; count != 0; --count, blocks += sizeof(Uint256)) h = step(h, load(blocks), s.table);
}

Steps prepare_baseline(Substitution&) noexcept { return steps_baseline; }

}  // namespace vrx::gostr3411
