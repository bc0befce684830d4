#include "tz/deployments.hpp"

namespace vrx::tz {

constinit cpu::Choice<deployments> choice;

void deploy_baseline(Numeric num, vrx_tz& out) noexcept { deploy(num, out); }

}  // namespace vrx::tz
