// The argument checks of GOSTR3411_Init_ex(), GOSTR3411_Update() and GOSTR3411_Final(). Their log lines contain these
// names. The one-shot functions make the same checks in the same order.
#ifndef VRX_GOSTR3411_CHECKS_HPP
#define VRX_GOSTR3411_CHECKS_HPP

#include <cstdint>

#include "frame/log.hpp"
#include "vrx/gostr3411.h"

namespace vrx::gostr3411::checks {

[[nodiscard]] inline int init_ex(const vrx_tz* table) {
    return table == nullptr ? log::bad_params("GOSTR3411_Init_ex") : VRX_OK;
}

[[nodiscard]] inline int update(const std::uint8_t* data, std::uint32_t len) {
    return data == nullptr || len == 0 ? log::bad_params("GOSTR3411_Update") : VRX_OK;
}

[[nodiscard]] inline int final(const std::uint8_t* out) {
    return out == nullptr ? log::bad_params("GOSTR3411_Final") : VRX_OK;
}

}  // namespace vrx::gostr3411::checks

#endif
