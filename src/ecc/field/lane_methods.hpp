// The methods of an engine that multiplies points in eight lanes V.
#ifndef VRX_ECC_FIELD_LANE_METHODS_HPP
#define VRX_ECC_FIELD_LANE_METHODS_HPP

#include "ecc/field/comb.hpp"
#include "ecc/field/ladder.hpp"

namespace vrx::field {

template <typename V>
struct LaneMethods {
    template <typename Curve>
    static XyzzPoint base(const Words& k) {
        return comb_multiply<V, Curve>(k);
    }
    template <typename Curve>
    static HomogeneousPoint point(const Words& k, const AffinePoint& q) {
        using S = typename Curve::Field;
        const Words x = S::to_montgomery(q.x);
        return with_y<Curve>(ladder<V, Curve>(k, x), x, S::to_montgomery(q.y));
    }
    template <typename Curve>
    static HomogeneousPoint public_point(const Words& k, const AffinePoint& q) {
        return point<Curve>(k, q);
    }
};

}  // namespace vrx::field

#endif
