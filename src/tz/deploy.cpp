#include "tz/deploy.hpp"

#include <atomic>

#include "tz/sboxes.hpp"

namespace vrx::tz {
namespace {

void choose_and_run(Numeric num, vrx_tz& out) noexcept;
constinit std::atomic<decltype(&choose_and_run)> chosen{choose_and_run};

// First call of the process. Racing threads store the same pointer, so relaxed order is enough.
void choose_and_run(Numeric num, vrx_tz& out) noexcept {
    const Deployment& best = cpu::best_of(deployments, &Deployment::needs, cpu::features());
    chosen.store(best.run, std::memory_order_relaxed);
    best.run(num, out);
}

}  // namespace

void deploy_baseline(Numeric num, vrx_tz& out) noexcept { deploy(num, out); }

void deploy_fast(Numeric num, vrx_tz& out) noexcept { chosen.load(std::memory_order_relaxed)(num, out); }

}  // namespace vrx::tz
