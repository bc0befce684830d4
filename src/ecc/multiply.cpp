// The exported functions for point multiplication.
#include "vrx/multiply.h"

#include <cstdio>

#include "ecc/domain.hpp"
#include "frame/secret_work.hpp"
#include "vrx/frame.h"

using namespace vrx::ecc;

namespace {

/** Sets r to the result of multiple(domain) in the domain of a set. Erases all other traces of the scalar. */
template <typename Multiple>
void multiple_in_domain(EcPoint& r, const EcParamSet& set, const Multiple& multiple) {
    vrx::secret_work<vrx::depth::curves>(
        [&] { r = with_domain(set, [&](const auto& domain) { return to_record(multiple(domain)); }); });
}

}  // namespace

int epMultPP(EcPoint* R, const std::uint32_t* k, const EcParamSet* set) {
    multiple_in_domain(*R, *set, [&](const auto& domain) { return table_multiple(domain, load(k)); });
    return VRX_OK;
}

int epMultJ(EcPoint* R, const EcPoint* P, const std::uint32_t* k, const EcParamSet* set) {
    if (vrx::is_publicly_zero({k, digit_count})) return VRX_ERR_FAILED;
    multiple_in_domain(*R, *set, [&](const auto& domain) { return jacobian_multiple(domain, *P, load(k)); });
    return VRX_OK;
}

int epMult(EcPoint* R, const EcPoint* P, const std::uint32_t* k, const EcParamSet* set) {
    if (R == nullptr || P == nullptr || k == nullptr || set == nullptr) {
        // Deliberate: the message goes to standard output, not to the log.
        std::printf("epMult: bad arguments\n");
        return VRX_ERR_FAILED;
    }
    multiple_in_domain(*R, *set, [&](const auto& domain) { return affine_multiple(domain, *P, load(k)); });
    return VRX_OK;
}
