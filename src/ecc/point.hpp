// Point addition and doubling over any field.
#ifndef VRX_ECC_POINT_HPP
#define VRX_ECC_POINT_HPP

#include <concepts>

#include "ecc/residue.hpp"
#include "vrx/point.h"

namespace vrx::ecc {

/**
 * The elements of a field. is_zero() and == compare representations. The representation of an operand may be unreduced;
 * results of operations are reduced. signed_difference() is u - v, but some fields treat large operands differently.
 */
template <typename F>
concept Field = std::copyable<F> && requires(const F u, const F v, std::uint32_t k) {
    { u + v } -> std::same_as<F>;
    { u - v } -> std::same_as<F>;
    { u* v } -> std::same_as<F>;
    { k* u } -> std::same_as<F>;
    { signed_difference(u, v) } -> std::same_as<F>;
    { u == v } -> std::same_as<bool>;
    { u.is_zero() } -> std::same_as<bool>;
    { u.inverse() } -> std::same_as<F>;  // 0 if there is no inverse
    { u.small(k) } -> std::same_as<F>;   // the small number k of the same field
};

/** The point (x, y). (0, 0) is the point at infinity. */
template <Field F>
struct Affine {
    F x, y;
    [[nodiscard]] constexpr bool is_infinite() const { return x.is_zero() && y.is_zero(); }
};

/** The point (x / z^2, y / z^3). x = y = 0 is the point at infinity, for any z. */
template <Field F>
struct Jacobian {
    F x, y, z;
    [[nodiscard]] constexpr bool is_infinite() const { return x.is_zero() && y.is_zero(); }
};

/** Returns the point at infinity over the field of an element. */
template <Field F>
constexpr Jacobian<F> infinity(const F& of) {
    return {of.small(0), of.small(0), of.small(0)};
}

template <Field F>
constexpr Jacobian<F> to_jacobian(const Affine<F>& p) {
    return {p.x, p.y, p.x.small(1)};
}

/** Returns the affine point, or (0, 0) if z has no inverse. */
template <Field F>
constexpr Affine<F> to_affine(const Jacobian<F>& p) {
    const F w = p.z.inverse();
    const F ww = w * w;
    return {p.x * ww, p.y * (w * ww)};
}

/**
 * 2P on y^2 = x^3 - 3x + b:
 *     S = 4 X Y^2      M = 3 (X - Z^2)(X + Z^2)
 *     X' = M^2 - 2 S   Y' = M (S - X') - 8 Y^4   Z' = 2 Y Z
 */
template <Field F>
constexpr Jacobian<F> twice(const Jacobian<F>& p) {
    if (p.is_infinite()) return infinity(p.x);
    const F yy = p.y * p.y;
    const F zz = p.z * p.z;
    const F s = 4 * (p.x * yy);
    const F m = 3 * ((p.x - zz) * (p.x + zz));
    const F x = m * m - 2 * s;
    return {x, m * (s - x) - 8 * (yy * yy), 2 * (p.y * p.z)};
}

/**
 * Computes the sum of two points (U1, S1) and (U1 + H, S1 + r) that have the same Z, passed as z.
 *     X' = r^2 - H^3 - 2 U1 H^2    Y' = r (U1 H^2 - X') - S1 H^3
 * Deliberate: the function does not treat equal x-coordinates (H = 0) as a special case.
 */
template <Field F>
constexpr Jacobian<F> chord(const F& u1, const F& s1, const F& h, const F& r, const F& z) {
    const F hh = h * h;
    const F hhh = h * hh;
    const F v = u1 * hh;
    const F x = r * r - hhh - 2 * v;
    return {x, r * (v - x) - s1 * hhh, z * h};
}

/** Returns P + Q. P must not be Q or -Q, and Q must not be the point at infinity. */
template <Field F>
constexpr Jacobian<F> sum(const Jacobian<F>& p, const Affine<F>& q) {
    if (p.is_infinite()) return to_jacobian(q);
    const F zz = p.z * p.z;
    return chord(p.x, p.y, q.x * zz - p.x, q.y * (zz * p.z) - p.y, p.z);
}

/** Returns P + Q. P must not be Q or -Q. */
template <Field F>
constexpr Jacobian<F> sum(const Jacobian<F>& p, const Jacobian<F>& q) {
    if (p.is_infinite()) return q;
    if (q.is_infinite()) return p;
    const F zz1 = p.z * p.z;
    const F zz2 = q.z * q.z;
    const F u1 = p.x * zz2;
    const F s1 = p.y * (zz2 * q.z);
    return chord(u1, s1, q.x * zz1 - u1, q.y * (zz1 * p.z) - s1, p.z * q.z);
}

/** Returns P + Q on y^2 = x^3 + a x + b. Deliberate: compares the representations of x1 and x2. */
template <Field F>
constexpr Affine<F> sum(const Affine<F>& p, const Affine<F>& q, const F& a) {
    if (q.is_infinite()) return p;
    if (p.is_infinite()) return q;
    const bool same_x = p.x == q.x;
    if (same_x && (p.y + q.y).is_zero()) return {a.small(0), a.small(0)};
    const F slope = same_x ? (3 * (p.x * p.x) + a) * (2 * p.y).inverse()
                           : signed_difference(q.y, p.y) * signed_difference(q.x, p.x).inverse();
    const F x = slope * slope - p.x - q.x;
    return {x, slope * (p.x - x) - p.y};
}

inline Affine<Residue> load(const EcPoint& p, const EcParamSet& set) { return {{p.x, set.p}, {p.y, set.p}}; }

inline EcPoint to_record(const Affine<Residue>& p) {
    EcPoint record{};
    store(record.x, p.x.number());
    store(record.y, p.y.number());
    return record;
}

}  // namespace vrx::ecc

#endif
