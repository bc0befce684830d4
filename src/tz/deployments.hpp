// The engines that deploy a table, and the choice of one.
#ifndef VRX_TZ_DEPLOYMENTS_HPP
#define VRX_TZ_DEPLOYMENTS_HPP

#include <array>

#include "frame/choice.hpp"
#include "frame/engines.hpp"
#include "tz/deploy.hpp"

namespace vrx::tz {

// A row is the sixteen entries of a table that share one input to the odd S-box. Each entry is an entry of the even
// S-box, ORed with the same entry of the odd S-box. A row therefore costs one OR with a repeated word. Deploying stores
// the rows, and recovering compares them.

/** deploy() of deploy.hpp. Cost: 64 times an OR and a store of 64 bytes. */
void deploy_avx512(Numeric num, vrx_tz& out) noexcept;
/** deploy() with rows in halves of 32 bytes. */
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

/** deploy() with the best engine of this CPU. */
inline void deploy_fast(Numeric num, vrx_tz& out) noexcept { choice().run(num, out); }

}  // namespace vrx::tz

#endif
