// Point addition in eight lanes, for points (x / zz, y / zzz) with zz^3 = zzz^2.
//
// The formulas are incomplete: if both points have the same x, or one is infinity, the result has zz = zzz = 0. Every
// later sum then has zz = 0, too, so a check at the end suffices.
#ifndef VRX_ECC_FIELD_LANE_POINTS_HPP
#define VRX_ECC_FIELD_LANE_POINTS_HPP

#include "ecc/field/lanes.hpp"

namespace vrx::field {

template <typename V>
struct LanePoints {
    Element<V> x, y, zz, zzz;
};

/**
 * Functions that compute two products each. One product runs during the latency of the other. The functions are never
 * inlined, so the code of a point addition stays small enough for the instruction cache.
 */
template <typename F, typename V>
struct Pairs {
    Element<V> first, second;

    [[gnu::noinline, gnu::flatten]] static Pairs mul(const Element<V>& a, const Element<V>& b, const Element<V>& u,
                                                     const Element<V>& v) {
        return {F::mul(a, b), F::mul(u, v)};
    }
    [[gnu::noinline, gnu::flatten]] static Pairs sqr(const Element<V>& a, const Element<V>& b) {
        return {F::sqr(a), F::sqr(b)};
    }
    /** a b - u v */
    [[gnu::noinline, gnu::flatten]] static Element<V> difference(const Element<V>& a, const Element<V>& b,
                                                                 const Element<V>& u, const Element<V>& v) {
        return F::carry(F::difference_loose(a, b, u, v));
    }
};

/**
 * Returns a, negated in the lanes whose mask is all ones. The result has signed limbs, so it is not a multiplicand (see
 * lanes.hpp).
 */
template <typename V>
Element<V> negated_where(const V& negative, const Element<V>& a) {
    Element<V> r;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) {
        const V twice = a.limb[i] + a.limb[i];
        r.limb[i] = a.limb[i] - (twice & negative);
    }
    return r;
}

/**
 * The sum of two points brought to a common denominator, (u / zz, s / zzz) and ((u + h) / zz, (s + r) / zzz):
 *     x' = r^2 - h^3 - 2 u h^2    y' = r (u h^2 - x') - s h^3    zz' = zz h^2    zzz' = zzz h^3
 */
template <typename F, typename V>
LanePoints<V> chord(const Element<V>& u, const Element<V>& s, const Element<V>& h, const Element<V>& r,
                    const Element<V>& zz, const Element<V>& zzz) {
    using P = Pairs<F, V>;
    const auto [hh, rr] = P::sqr(h, r);
    const auto [hhh, v] = P::mul(h, hh, u, hh);
    LanePoints<V> sum;
    sum.x = F::carry(rr - hhh - v - v);
    const auto [zz_hh, zzz_hhh] = P::mul(zz, hh, zzz, hhh);
    sum.zz = zz_hh;
    sum.zzz = zzz_hhh;
    sum.y = P::difference(r, F::carry(v - sum.x), s, hhh);
    return sum;
}

/** Computes P - (x, y) in the lanes whose mask is all ones, and P + (x, y) in the others. Cost: 10 multiplications. */
template <typename F, typename V>
[[gnu::flatten]] LanePoints<V> plus_affine(const LanePoints<V>& p, const Element<V>& x, const Element<V>& y,
                                           const V& negative) {
    const auto [u, s] = Pairs<F, V>::mul(x, p.zz, y, p.zzz);
    return chord<F>(p.x, p.y, F::carry(u - p.x), F::carry(negated_where(negative, s) - p.y), p.zz, p.zzz);
}

/** Returns an element whose lane i is lane from[i] of a. */
template <typename V>
Element<V> taken(const Element<V>& a, const V& from) {
    Element<V> r;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) r.limb[i] = V::taken(a.limb[i], from);
    return r;
}

/**
 * Adds the points of lanes in pairs: lane i of the result is the sum of the points in the lanes i and from[i]. The
 * partner of a lane's partner must be the lane itself. Each lane multiplies its own point by the partner's
 * denominators, and reads the partner's product from the partner's lane. Cost: 12 multiplications; without a partner,
 * an addition takes 14.
 */
template <typename F, typename V>
[[gnu::flatten]] LanePoints<V> plus_partner(const LanePoints<V>& p, const V& from) {
    using P = Pairs<F, V>;
    const Element<V> zz = taken(p.zz, from);
    const Element<V> zzz = taken(p.zzz, from);
    const auto [u, s] = P::mul(p.x, zz, p.y, zzz);
    const auto [common, common3] = P::mul(p.zz, zz, p.zzz, zzz);
    return chord<F>(u, s, F::carry(taken(u, from) - u), F::carry(taken(s, from) - s), common, common3);
}

/** Returns the element in a lane as a scalar element. */
template <typename S, typename V>
Words scalar_lane(const Element<V>& a, std::size_t lane) {
    Limbs52 limbs;
#pragma GCC unroll 10
    for (std::size_t i = 0; i < limb_count; ++i) {
        std::uint64_t words[lane_count];
        a.limb[i].store(words);
        limbs.limb[i] = words[lane];
    }
    return scalar_of<S>(limbs);
}

}  // namespace vrx::field

#endif
