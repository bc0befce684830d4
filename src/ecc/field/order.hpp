// Arithmetic on scalars: numbers modulo the order q of a base point. Constant-time except for names with _vartime.
// Numbers are not in Montgomery form.
#ifndef VRX_ECC_FIELD_ORDER_HPP
#define VRX_ECC_FIELD_ORDER_HPP

#include "ecc/field/curves.hpp"
#include "ecc/uint256/divsteps.hpp"

namespace vrx::field {

/** low + high 2^256: a number of nine digits. */
struct Nine {
    Words low;
    std::uint64_t high;
};

/** Operands and results are below q unless stated otherwise. q is above 2^255. */
template <typename Curve>
struct Order {
    using S = Montgomery<Curve::q>;

    /** Reduces any n modulo q. One subtraction suffices, because n is below 2q. */
    static constexpr Words reduced(const Words& n) { return reduce_once(n, Curve::q); }
    /** n modulo q, for any n. */
    static constexpr Words reduced(const Nine& n) {
        // to_montgomery() multiplies by 2^256.
        return S::add(reduced(n.low), S::to_montgomery({n.high, 0, 0, 0}));
    }
    /** a b. One factor must be below q; the other may be any 256-bit number. */
    static constexpr Words product(const Words& a, const Words& b) { return S::mul(S::to_montgomery(a), b); }
    /** a b + u v */
    static constexpr Words sum_of_products(const Words& a, const Words& b, const Words& u, const Words& v) {
        return S::to_montgomery(S::add(S::mul(a, b), S::mul(u, v)));
    }
    /** -a modulo q. */
    static constexpr Words negative(const Words& a) { return S::sub(Words{}, a); }
    /** Returns 1 / a, or 0 if a is 0. Every other a has an inverse, because q is prime. */
    static constexpr Words inverse_vartime(const Words& a) {
        constexpr OddModulus modulus(Curve::q);
        return field::inverse_vartime(a, modulus);
    }
};

}  // namespace vrx::field

#endif
