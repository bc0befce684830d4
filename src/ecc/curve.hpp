// The built-in parameter sets, and the curve equation of any set.
#ifndef VRX_ECC_CURVE_HPP
#define VRX_ECC_CURVE_HPP

#include <span>

#include "ecc/field/curves.hpp"
#include "ecc/residue.hpp"

namespace vrx::ecc {

/** The numbers of a built-in set as RFC 4357 prints them, in decimal. */
struct DecimalSet {
    const char* heading;  ///< the name of the set that the generator prints
    const char* a;
    const char* b;
    const char* p;
    const char* q;
    const char* x;  ///< base point
    const char* y;
};

std::span<const DecimalSet, VRX_ECC_SET_COUNT> decimal_sets();

/**
 * Returns the original built-in set of a curve, without identifiers. Unlike cp_ecc_par, this record is not writable.
 */
const EcParamSet& original_set(field::CurveId curve);

/** True if y^2 = (x^2 + a) x + b modulo p. */
inline bool on_curve(const EcParamSet& set, const EcPoint& point) {
    const Residue x(point.x, set.p);
    const Residue y(point.y, set.p);
    return y * y == (x * x + Residue(set.a, set.p)) * x + Residue(set.b, set.p);
}

/** True if the set has a table. Built-in sets have one if a = p - 3. */
inline bool has_table(const EcParamSet& set) { return set.has_precomp == 1; }

}  // namespace vrx::ecc

#endif
