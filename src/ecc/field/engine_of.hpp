// Builds an engine from its methods of point multiplication.
#ifndef VRX_ECC_FIELD_ENGINE_OF_HPP
#define VRX_ECC_FIELD_ENGINE_OF_HPP

#include "ecc/field/engine.hpp"

namespace vrx::field {

/**
 * Builds an engine from the class Methods, which provides these functions for every Curve:
 *     base<Curve>(k)             k G as an XyzzPoint; zz = 0 if the formulas cannot handle k point<Curve>(k, Q) k Q as
 *     an XyzzPoint or a HomogeneousPoint; zz or z = 0 if not public_point<Curve>(k, Q)  the same, not necessarily
 *     constant-time
 */
template <typename Methods>
struct EngineOf {
    static bool multiply_base(CurveId id, const Words& k, AffinePoint& r) {
        return with_curve(id,
                          [&]<typename Curve>(Curve) { return to_affine<Curve>(Methods::template base<Curve>(k), r); });
    }

    static bool multiply(CurveId id, const Words& k, const AffinePoint& q, AffinePoint& r) {
        return with_curve(
            id, [&]<typename Curve>(Curve) { return to_affine<Curve>(Methods::template point<Curve>(k, q), r); });
    }

    static Answer sum_has_remainder(CurveId id, const Words& z1, const Words& z2, const AffinePoint& q,
                                    const Words& r) {
        return with_curve(id, [&]<typename Curve>(Curve) {
            const XyzzPoint second = as_xyzz<Curve>(Methods::template public_point<Curve>(z2, q));
            if (is_zero(z1) != 0) return has_remainder<Curve>(second.x, second.zz, r);
            return field::sum_has_remainder<Curve>(Methods::template base<Curve>(z1), second, r);
        });
    }

    static constexpr Engine described(const cpu::EngineInfo& info) {
        return {info, multiply_base, multiply, sum_has_remainder};
    }

private:
    template <typename Curve>
    static XyzzPoint as_xyzz(const XyzzPoint& p) {
        return p;
    }
    template <typename Curve>
    static XyzzPoint as_xyzz(const HomogeneousPoint& p) {
        return to_xyzz<Curve>(p);
    }
};

}  // namespace vrx::field

#endif
