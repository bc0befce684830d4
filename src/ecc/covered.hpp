// What the engines of field/ cover. Under this rule their results are those of the general methods to the last digit,
// and everything else is left to these:
//
//     set      a, b, p, q, G and has_precomp, and pp when that is 1, are byte for byte those of a built-in set
//     point    x and y are below p and on the curve
//     scalar   1 <= k < q
//
// The set gives a prime p, and a base point of prime order q with no cofactor; the other two exclude infinity.
#ifndef VRX_ECC_COVERED_HPP
#define VRX_ECC_COVERED_HPP

#include "ecc/field/engine.hpp"
#include "ecc/field/order.hpp"
#include "ecc/residue.hpp"

namespace vrx::ecc {

/** Whether a set is covered, and the curve. The same curve stands in several sets. */
bool covers_set(const EcParamSet& set, field::CurveId& curve);

/** Whether q is the order of a built-in set, and a curve with it. */
bool covers_order(const std::uint32_t* q, field::CurveId& curve);

/** Whether a point of a covered set is covered. Not for secret points. */
bool covers_point(field::CurveId curve, const EcPoint& point, field::AffinePoint& words);

/** Whether a scalar is covered by a covered set. Nothing but the answer can be told from outside. */
bool covers_scalar(field::CurveId curve, const Number& k, field::Words& words);

inline field::Nine to_nine(const std::uint32_t* digits) {
    field::Nine n;
    std::memcpy(n.low.data(), digits, sizeof n.low);
    n.high = digits[digit_count - 1];
    return n;
}

inline void store(std::uint32_t* digits, const field::Words& words) {
    std::memcpy(digits, words.data(), sizeof words);
    digits[digit_count - 1] = 0;
}

}  // namespace vrx::ecc

#endif
