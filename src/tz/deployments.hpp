// The engines that deploy a table. The library selects one of them.
#ifndef VRX_TZ_DEPLOYMENTS_HPP
#define VRX_TZ_DEPLOYMENTS_HPP

#include <array>

#include "frame/choice.hpp"
#include "frame/engines.hpp"
#include "tz/deploy.hpp"

namespace vrx::tz {

// A row is the sixteen entries of a table that share one input to the odd S-box. Each entry is an entry of the even
// S-box, ORed with the same entry of the odd S-box. To compute a row, one OR with a repeated word is therefore enough.
// deploy() stores the rows, and the recovery of S-boxes compares them with a table.

/** Does the same as deploy(). Cost: 64 times an OR and a store of 64 bytes. */
void deploy_avx512(Numeric num, vrx_tz& out) noexcept;
/** Does the same as deploy(), with rows in halves of 32 bytes. */
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

/** Does the same as deploy(), with the best engine for this CPU. */
inline void deploy_fast(Numeric num, vrx_tz& out) noexcept { choice().run(num, out); }

}  // namespace vrx::tz

#endif
