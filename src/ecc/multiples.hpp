// Point multiplication over any field: from a table, left to right, and right to left. Not constant-time.
#ifndef VRX_ECC_MULTIPLES_HPP
#define VRX_ECC_MULTIPLES_HPP

#include "ecc/point.hpp"
#include "vrx/multiply.h"

namespace vrx::ecc {

/**
 * Returns the sum of k_m T(m), where k_m is hexadecimal digit m of k. The sum is k G if T(m) = 16^m G.
 *
 * The loop runs over v = 15, 14, ..., 1. After each round, B is the sum of the T(m) with k_m >= v, and A is the sum of
 * the B of all rounds so far. Therefore each T(m) is added to A exactly k_m times. For k below the order of G, B and A
 * are different multiples of G, unless A is the sum of a single B that is not infinite.
 *
 * @param table  m -> T(m), an affine point.
 */
template <Field F, typename Table>
constexpr Jacobian<F> multiple_by_table(const Number& k, const Table& table) {
    Jacobian<F> a = infinity(table(0).x);
    Jacobian<F> b = a;
    for (unsigned v = 15; v != 0; --v) {
        for (unsigned m = 0; m < VRX_ECC_PP_COUNT; ++m)
            if ((k.digits[m / 8] >> 4 * (m % 8) & 15) == v) b = sum(b, table(m));
        // Deliberate: compares X, not X / Z^2.
        const bool equal = !a.is_infinite() && !b.is_infinite() && a.x == b.x;
        a = equal ? twice(a) : sum(a, b);
    }
    return a;
}

/** Returns k P on y^2 = x^3 - 3x + b, computed from left to right. Returns the point at infinity for k = 0. */
template <Field F>
constexpr Jacobian<F> multiple_from_top(const Affine<F>& p, const Number& k) {
    Jacobian<F> r = infinity(p.x);
    for (unsigned i = digit_count * digit_bits; i-- != 0;) {
        r = twice(r);
        if (bit(k, i) != 0) r = sum(r, p);
    }
    return r;
}

/** Returns k P on y^2 = x^3 + a x + b, computed from right to left. */
template <Field F>
constexpr Affine<F> multiple_from_bottom(const Affine<F>& p, Number k, const F& a) {
    Affine<F> r{a.small(0), a.small(0)};
    if (p.is_infinite()) return r;
    for (Affine<F> d = p; !is_zero(k); d = sum(d, d, a)) {
        if (bit(k, 0) != 0) r = sum(r, d, a);
        mpShiftRight(k.digits, k.digits, 1, digit_count);
    }
    return r;
}

}  // namespace vrx::ecc

#endif
