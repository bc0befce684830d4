// The operations on covered sets, points and scalars (covered.hpp) by the engines of field/. Each says whether it was
// covered; where not, its result is untouched or nothing, and the general method has to be taken. Temporaries on the
// stack are the caller's to wipe.
#ifndef VRX_ECC_FAST_HPP
#define VRX_ECC_FAST_HPP

#include "ecc/covered.hpp"
#include "vrx/sign.h"

namespace vrx::ecc {

/** r = k G */
bool fast_base_multiple(const EcParamSet& set, const Number& k, EcPoint& r);

/** r = k P */
bool fast_multiple(const EcParamSet& set, const EcPoint& p, const Number& k, EcPoint& r);

/** sig = (x(k G) mod q, r d + k e mod q), where e is the number of the digest, or 1 if it is 0 modulo q. */
bool fast_sign(const EcParamSet& set, const std::uint32_t* digest, const Number& k, const Number& d, EcSignature& sig);

/** Whether a signature is valid. */
field::Answer fast_verify(const EcParamSet& set, const std::uint32_t* digest, const EcPoint& public_key,
                          const EcSignature& sig);

/** r = (u d mod q) P */
bool fast_agree(const EcParamSet& set, const Number& u, const Number& d, const EcPoint& p, EcPoint& r);

/** out = |n| modulo q, for the order of a built-in set and n read as a signed number. */
bool fast_magnitude(const std::uint32_t* q, const Number& n, std::uint32_t* out);

/** Whether all digits are zero: the answer is no secret. */
bool is_publicly_zero(const std::uint32_t* digits);

}  // namespace vrx::ecc

#endif
