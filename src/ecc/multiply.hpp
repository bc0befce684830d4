// Multiples of points: the methods over any field, and those of a parameter set.
#ifndef VRX_ECC_MULTIPLY_HPP
#define VRX_ECC_MULTIPLY_HPP

#include "ecc/params.hpp"
#include "ecc/point.hpp"

namespace vrx::ecc {

/**
 * The sum of k_m T(m), where k_m is the m-th hexadecimal digit of k: k G when T(m) = 16^m G.
 *
 * B is the sum of the T(m) with digits of at least v, and A is the sum of these B for v = 15, 14, ..., 1, in which each
 * T(m) has come up k_m times. Where k is below the order of G, B and A are different multiples of G unless A has only
 * just begun and equals B.
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
        // Deliberate: X is compared as it stands, not X / Z^2.
        const bool equal = !a.is_infinite() && !b.is_infinite() && a.x == b.x;
        a = equal ? twice(a) : sum(a, b);
    }
    return a;
}

/** k P on y^2 = x^3 - 3x + b, from the top bit of k down. The point at infinity for k = 0. */
template <Field F>
constexpr Jacobian<F> multiple_from_top(const Affine<F>& p, const Number& k) {
    Jacobian<F> r = infinity(p.x);
    for (unsigned i = digit_count * digit_bits; i-- != 0;) {
        r = twice(r);
        if (bit(k, i) != 0) r = sum(r, p);
    }
    return r;
}

/** k P on y^2 = x^3 + a x + b, from the lowest bit of k up. */
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

/** How deep the stack of the functions below, engines included, may hold parts of a scalar; see leaving_no_trace(). */
inline constexpr std::size_t multiple_stack = 14336;

/** k G from the table of a set. */
EcPoint table_multiple(const EcParamSet& set, const Number& k);

/** k P on a curve with a = p - 3; (0, 0) for k = 0. */
EcPoint jacobian_multiple(const EcParamSet& set, const EcPoint& p, const Number& k);

/** |k| P on any curve, k read as a signed number. */
EcPoint affine_multiple(const EcParamSet& set, const EcPoint& p, const Number& k);

/** k G by the method that suits the set. */
inline EcPoint base_multiple(const EcParamSet& set, const Number& k) {
    return has_table(set) ? table_multiple(set, k) : affine_multiple(set, set.G, k);
}

/** k P by the method that suits the set; (0, 0) for k = 0. */
inline EcPoint point_multiple(const EcParamSet& set, const EcPoint& p, const Number& k) {
    return has_table(set) ? jacobian_multiple(set, p, k) : affine_multiple(set, p, k);
}

}  // namespace vrx::ecc

#endif
