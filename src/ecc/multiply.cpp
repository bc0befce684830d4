// The exported functions for point multiplication.
#include "vrx/multiply.h"

#include <cstdio>

#include "ecc/domain.hpp"
#include "frame/wipe.hpp"
#include "vrx/frame.h"

using namespace vrx::ecc;

namespace {

/** The result of multiple(domain) in the domain of a set. Wipes the stack. */
template <typename Multiple>
EcPoint multiple_in_domain(const EcParamSet& set, const Multiple& multiple) {
    return vrx::leaving_no_trace<multiple_stack>(
        [&] { return with_domain(set, [&](const auto& domain) { return to_record(multiple(domain)); }); });
}

}  // namespace

int epMultPP(EcPoint* R, const std::uint32_t* k, const EcParamSet* set) {
    *R = multiple_in_domain(*set, [&](const auto& domain) { return table_multiple(domain, load(k)); });
    return VRX_OK;
}

int epMultJ(EcPoint* R, const EcPoint* P, const std::uint32_t* k, const EcParamSet* set) {
    if (vrx::is_publicly_zero({k, digit_count})) return VRX_ERR_FAILED;
    *R = multiple_in_domain(*set, [&](const auto& domain) { return jacobian_multiple(domain, *P, load(k)); });
    return VRX_OK;
}

int epMult(EcPoint* R, const EcPoint* P, const std::uint32_t* k, const EcParamSet* set) {
    if (R == nullptr || P == nullptr || k == nullptr || set == nullptr) {
        // Deliberate: on standard output, not in the log.
        std::printf("epMult: bad arguments\n");
        return VRX_ERR_FAILED;
    }
    *R = multiple_in_domain(*set, [&](const auto& domain) { return affine_multiple(domain, *P, load(k)); });
    return VRX_OK;
}
