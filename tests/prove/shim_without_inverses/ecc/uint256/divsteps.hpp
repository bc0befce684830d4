// Inverses are no part of the proofs that include this.
#ifndef VRX_TESTS_PROVE_DIVSTEPS_HPP
#define VRX_TESTS_PROVE_DIVSTEPS_HPP

#include "ecc/uint256/words.hpp"

namespace vrx::uint256 {

struct OddModulus {
    constexpr explicit OddModulus(const Words& /*modulus*/) {}
};
Words inverse(const Words& x, const OddModulus& m);
Words inverse_vartime(const Words& x, const OddModulus& m);

}  // namespace vrx::uint256

#endif
