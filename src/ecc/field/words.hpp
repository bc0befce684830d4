// The words of field elements: the names of uint256 in this namespace.
#ifndef VRX_ECC_FIELD_WORDS_HPP
#define VRX_ECC_FIELD_WORDS_HPP

#include "ecc/uint256/words.hpp"

namespace vrx::field {

using namespace uint256;

}  // namespace vrx::field

#endif
