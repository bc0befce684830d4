// The shared point of key agreement (RFC 4357, section 5.2), over any domain.
#ifndef VRX_ECC_AGREE_HPP
#define VRX_ECC_AGREE_HPP

#include "ecc/domain.hpp"

namespace vrx::ecc {

/** Returns (u d mod q) Q. */
template <typename Domain>
std::optional<EcPoint> shared_point(const Domain& domain, const Number& u, const Number& d, const EcPoint& public_key) {
    const auto t = domain.remainder(d) * domain.remainder(u);
    return to_record(point_multiple(domain, public_key, t.number()));
}

}  // namespace vrx::ecc

#endif
