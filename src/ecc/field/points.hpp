// Point representations of the engines, conversion to affine coordinates, and the checks of verification.
//
// Coordinates are elements of Curve::Field unless stated otherwise. Functions are constant-time unless stated
// otherwise.
#ifndef VRX_ECC_FIELD_POINTS_HPP
#define VRX_ECC_FIELD_POINTS_HPP

#include "ecc/field/curves.hpp"
#include "ecc/uint256/divsteps.hpp"
#include "frame/declassify.hpp"

namespace vrx::field {

/** Coordinates as numbers below p. */
struct AffinePoint {
    Words x, y;
};

/** (x / zz, y / zzz), where zz^3 = zzz^2. zz = 0 means that the formulas cannot handle the operands. */
struct XyzzPoint {
    Words x, y, zz, zzz;
};

/** (x / z, y / z). z = 0 means that the formulas cannot handle the operands. */
struct HomogeneousPoint {
    Words x, y, z;
};

/** Computes n a by additions. */
template <typename S>
constexpr Words times(const Words& a, unsigned n) {
    Words r = a;
    for (unsigned i = 1; i < n; ++i) r = S::add(r, a);
    return r;
}

/** w + a v, for the coefficient a of the curve. */
template <typename Curve>
constexpr Words plus_a_times(const Words& w, const Words& v) {
    using S = typename Curve::Field;
    constexpr auto magnitude = static_cast<unsigned>(Curve::a < 0 ? -Curve::a : Curve::a);
    const Words av = times<S>(v, magnitude);
    return Curve::a < 0 ? S::sub(w, av) : S::add(w, av);
}

template <typename S>
constexpr bool is_element_zero(const Words& a) {
    return is_zero(S::from_montgomery(a)) != 0;
}

/** 1 / a, or 0 if there is none. */
template <typename S>
constexpr Words inverse_element(const Words& a) {
    constexpr OddModulus modulus(S::modulus);
    return S::to_montgomery(inverse(S::from_montgomery(a), modulus));
}

/** True if a < m. Callers branch on the result. */
constexpr bool is_below(const Words& a, const Words& m) {
    Words difference{};
    return sub(difference, a, m) != 0;
}

/** True if both coordinates are below p and y^2 = (x^2 + a) x + b. Not constant-time: branches on the coordinates. */
template <typename Curve>
constexpr bool is_on_curve(const AffinePoint& point) {
    using S = typename Curve::Field;
    if (!is_below(point.x, S::modulus) || !is_below(point.y, S::modulus)) return false;
    const Words x = S::to_montgomery(point.x);
    const Words y = S::to_montgomery(point.y);
    const Words right = S::add(S::mul(plus_a_times<Curve>(S::sqr(x), S::one), x), S::to_montgomery(Curve::b));
    return is_element_zero<S>(S::sub(S::sqr(y), right));
}

/** Stores the affine point in r. Returns false if zz = 0; this result is declassified. Cost: one inversion. */
template <typename Curve>
bool to_affine(const XyzzPoint& point, AffinePoint& r) {
    using S = typename Curve::Field;
    const Words i3 = inverse_element<S>(point.zzz);
    const Words i1 = S::mul(i3, point.zz);
    r.x = S::from_montgomery(S::mul(point.x, S::sqr(i1)));
    r.y = S::from_montgomery(S::mul(point.y, i3));
    return declassify(1 ^ is_zero(S::from_montgomery(i3)));
}

/** Does the same for homogeneous coordinates. */
template <typename Curve>
bool to_affine(const HomogeneousPoint& point, AffinePoint& r) {
    using S = typename Curve::Field;
    const Words i = inverse_element<S>(point.z);
    r.x = S::from_montgomery(S::mul(point.x, i));
    r.y = S::from_montgomery(S::mul(point.y, i));
    return declassify(1 ^ is_zero(S::from_montgomery(i)));
}

template <typename Curve>
constexpr XyzzPoint to_xyzz(const HomogeneousPoint& point) {
    using S = typename Curve::Field;
    const Words zz = S::sqr(point.z);
    return {S::mul(point.x, point.z), S::mul(point.y, zz), zz, S::mul(zz, point.z)};
}

/** The result of a Montgomery ladder: the x-coordinates (x0 : z0) of k Q and (x1 : z1) of (k + 1) Q. */
struct LadderResult {
    Words x0, z0, x1, z1;
};

/**
 * Recovers y(k Q) from the result of the ladder and Q = (x, y), which does not have order 2:
 *     y(kQ) = ((x Z0 + X0)(x X0 + a Z0) Z1 + 2b Z0^2 Z1 - X1 (x Z0 - X0)^2) / (2 y Z0^2 Z1)
 * The result has z = 0 if k Q or (k + 1) Q is the point at infinity.
 */
template <typename Curve>
constexpr HomogeneousPoint with_y(const LadderResult& l, const Words& x, const Words& y) {
    using S = typename Curve::Field;
    const Words xz = S::mul(x, l.z0);
    const Words zz = S::mul(l.z0, l.z1);
    const Words sum = S::mul(S::add(xz, l.x0), S::mul(plus_a_times<Curve>(S::mul(x, l.x0), l.z0), l.z1));
    const Words b2zz = S::mul(times<S>(S::to_montgomery(Curve::b), 2), S::mul(l.z0, zz));
    const Words other = S::mul(l.x1, S::sqr(S::sub(xz, l.x0)));
    const Words scale = S::mul(times<S>(y, 2), zz);
    return {S::mul(l.x0, scale), S::sub(S::add(sum, b2zz), other), S::mul(l.z0, scale)};
}

enum class Answer : std::uint8_t { no, yes, not_covered };

/**
 * True if x(P + Q) mod q = r, for 0 < r < q, where x(P + Q) = x / zz. For public operands: not constant-time.
 *
 * Two numbers below p may equal r modulo q: r, and r + q if that is below p. There are no more, because q > p / 2.
 */
template <typename Curve>
constexpr Answer has_remainder(const Words& x, const Words& zz, const Words& r) {
    using S = typename Curve::Field;
    if (is_element_zero<S>(zz)) return Answer::not_covered;
    const auto is_x = [&](const Words& candidate) {
        return is_below(candidate, S::modulus) &&
               is_element_zero<S>(S::sub(x, S::mul(S::to_montgomery(candidate), zz)));
    };
    Words other{};
    const bool beyond = add(other, r, Curve::q) != 0;
    return is_x(r) || (!beyond && is_x(other)) ? Answer::yes : Answer::no;
}

/** True if x(P + Q) mod q = r, for P other than Q and -Q. For public operands: not constant-time. */
template <typename Curve>
constexpr Answer sum_has_remainder(const XyzzPoint& p, const XyzzPoint& q, const Words& r) {
    using S = typename Curve::Field;
    const Words u = S::mul(p.x, q.zz);
    const Words h = S::sub(S::mul(q.x, p.zz), u);
    const Words t = S::sub(S::mul(q.y, p.zzz), S::mul(p.y, q.zzz));
    const Words hh = S::sqr(h);
    const Words v = S::mul(u, hh);
    const Words x = S::sub(S::sub(S::sqr(t), S::mul(h, hh)), S::add(v, v));
    return has_remainder<Curve>(x, S::mul(S::mul(p.zz, q.zz), hh), r);
}

}  // namespace vrx::field

#endif
