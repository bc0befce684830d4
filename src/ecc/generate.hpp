// Sets the numbers of a parameter record from decimal text.
#ifndef VRX_ECC_GENERATE_HPP
#define VRX_ECC_GENERATE_HPP

#include "ecc/curve.hpp"

namespace vrx::ecc {

/**
 * Where the digits of the base point are printed: those of each coordinate after its own decimal line, or those of both
 * coordinates after both decimal lines.
 */
enum class BasePoint { line_by_line, together };

/** Sets a, b, p, q and G of a record, and prints them. @return whether G is on the curve. */
bool generate_numbers(EcParamSet& set, const DecimalSet& decimal, BasePoint base_point);

}  // namespace vrx::ecc

#endif
