// The step function of GOST R 34.11-94 (RFC 5831, section 6).
#ifndef VRX_GOSTR3411_STEP_HPP
#define VRX_GOSTR3411_STEP_HPP

#include "gostr3411/uint256.hpp"
#include "vrx/tz.h"

namespace vrx::gostr3411 {

/**
 * Computes f(h, m), on any CPU. Leaves working values on the stack, so call it inside secret_work() to hash secrets.
 *
 * @param table  a table with any content, not only one made from S-boxes. Its flag is ignored.
 */
[[nodiscard]] Uint256 step(const Uint256& h, const Uint256& m, const vrx_tz& table);

}  // namespace vrx::gostr3411

#endif
