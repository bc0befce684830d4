// Arithmetic modulo the order q of a base point, in time that depends on no value where the name does not say so.
// Numbers are plain.
#ifndef VRX_ECC_FIELD_ORDER_HPP
#define VRX_ECC_FIELD_ORDER_HPP

#include "ecc/field/curves.hpp"
#include "ecc/uint256/divsteps.hpp"

namespace vrx::field {

/** low + high 2^256: any nine digits. */
struct Nine {
    Words low;
    std::uint64_t high;
};

/** Where nothing else is said, numbers are below q, and so are all results. q is above 2^255. */
template <typename Curve>
struct Order {
    using S = Montgomery<Curve::q>;

    /** Of any n, which is below 2q. */
    static constexpr Words reduced(const Words& n) { return reduce_once(n, Curve::q); }
    /** Of any nine digits. */
    static constexpr Words reduced(const Nine& n) {
        // A number in Montgomery form is multiplied by 2^256.
        return S::add(reduced(n.low), S::to_montgomery({n.high, 0, 0, 0}));
    }
    /** a b for one factor below q; the other one may be any number of 256 bits. */
    static constexpr Words product(const Words& a, const Words& b) { return S::mul(S::to_montgomery(a), b); }
    /** a b + u v */
    static constexpr Words sum_of_products(const Words& a, const Words& b, const Words& u, const Words& v) {
        return S::to_montgomery(S::add(S::mul(a, b), S::mul(u, v)));
    }
    /** -a modulo q. */
    static constexpr Words negative(const Words& a) { return S::sub(Words{}, a); }
    /** 1 / a, or 0 for 0: q is prime. */
    static constexpr Words inverse_vartime(const Words& a) {
        constexpr OddModulus modulus(Curve::q);
        return field::inverse_vartime(a, modulus);
    }
};

}  // namespace vrx::field

#endif
