// Jacobian points, (X, Y, Z) for (X / Z^2, Y / Z^3), one a lane.
//
// The additions are incomplete: where both points have the same x, and where one is infinity, the result has Z = 0, and so has
// every later sum. A caller that meets Z = 0 at its end takes another way.
#ifndef VRX_ECC_FIELD_LANE_POINTS_HPP
#define VRX_ECC_FIELD_LANE_POINTS_HPP

#include "ecc/field/lanes.hpp"

namespace vrx::field {

template <typename V>
struct LanePoints {
    Element<V> x, y, z;
};

/** a, or -a in the lanes where the mask is all ones. Limbs are signed then: not a multiplicand. */
template <typename V>
Element<V> negated_where(const V& negative, const Element<V>& a) {
    Element<V> r;
    for (std::size_t i = 0; i < limb_count; ++i) {
        const V twice = a.limb[i] + a.limb[i];
        r.limb[i] = a.limb[i] - (twice & negative);
    }
    return r;
}

/**
 * P + (x, y), or P - (x, y) in the lanes where the mask is all ones:
 *     H = x Z^2 - X    r = +-y Z^3 - Y    X' = r^2 - H^3 - 2 X H^2    Y' = r (X H^2 - X') - Y H^3    Z' = Z H
 * Cost: 11 multiplications.
 */
template <typename F, typename V>
LanePoints<V> plus_affine(const LanePoints<V>& p, const Element<V>& x, const Element<V>& y, const V& negative) {
    const Element<V> zz = F::sqr(p.z);
    const Element<V> h = F::carry(F::mul_loose(x, zz) - p.x);
    const Element<V> s = F::mul_loose(y, F::mul(p.z, zz));
    const Element<V> r = F::carry(negated_where(negative, s) - p.y);
    const Element<V> hh = F::sqr(h);
    const Element<V> hhh = F::mul(h, hh);
    const Element<V> v = F::mul_loose(p.x, hh);
    LanePoints<V> sum;
    sum.x = F::carry(F::sqr_loose(r) - hhh - v - v);
    sum.y = F::carry(F::mul_loose(r, F::carry(v - sum.x)) - F::mul_loose(p.y, hhh));
    sum.z = F::mul(p.z, h);
    return sum;
}

/** Lane i becomes lane i ^ distance. */
template <int distance, typename V>
Element<V> partner(const Element<V>& a) {
    Element<V> r;
    for (std::size_t i = 0; i < limb_count; ++i)
        r.limb[i] = V::template permuted<0 ^ distance, 1 ^ distance, 2 ^ distance, 3 ^ distance, 4 ^ distance,
                                         5 ^ distance, 6 ^ distance, 7 ^ distance>(a.limb[i]);
    return r;
}

/**
 * In every lane i the sum of the points of the lanes i and i ^ distance. Each lane of a pair does one side of what a full addition does
 * twice (Z^2, Z^3, X times the other's Z^2, Y times the other's Z^3) and takes the other side from its partner. Cost: 12
 * multiplications, where a full addition takes 16.
 */
template <typename F, int distance, typename V>
LanePoints<V> plus_partner(const LanePoints<V>& p) {
    const Element<V> zz = F::sqr(p.z);
    const Element<V> zzz = F::mul(p.z, zz);
    const Element<V> u = F::mul(p.x, partner<distance>(zz));
    const Element<V> s = F::mul(p.y, partner<distance>(zzz));
    const Element<V> h = F::carry(partner<distance>(u) - u);
    const Element<V> r = F::carry(partner<distance>(s) - s);
    const Element<V> hh = F::sqr(h);
    const Element<V> hhh = F::mul(h, hh);
    const Element<V> v = F::mul_loose(u, hh);
    LanePoints<V> sum;
    sum.x = F::carry(F::sqr_loose(r) - hhh - v - v);
    sum.y = F::carry(F::mul_loose(r, F::carry(v - sum.x)) - F::mul_loose(s, hhh));
    sum.z = F::mul(F::mul(p.z, partner<distance>(p.z)), h);
    return sum;
}

/** One lane of an element, as a scalar element. */
template <typename F, std::size_t lane, typename V>
Words scalar_lane(const Element<V>& a) {
    Limbs52 limbs;
    for (std::size_t i = 0; i < limb_count; ++i) {
        std::uint64_t words[lane_count];
        a.limb[i].store(words);
        limbs.limb[i] = words[lane];
    }
    return scalar_of<F>(limbs);
}

}  // namespace vrx::field

#endif
