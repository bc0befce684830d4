// The numbers of a parameter record, from decimal texts.
#ifndef VRX_ECC_GENERATE_HPP
#define VRX_ECC_GENERATE_HPP

#include "ecc/params.hpp"

namespace vrx::ecc {

/** Where the digits of the base point are printed: each coordinate's behind its decimal line, or both behind both. */
enum class BasePoint { line_by_line, together };

/** Set a, b, p, q and G of a record, and print them. @return whether G is on the curve. */
bool generate_numbers(EcParamSet& set, const DecimalSet& decimal, BasePoint base_point);

}  // namespace vrx::ecc

#endif
