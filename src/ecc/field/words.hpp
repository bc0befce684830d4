// The words of field elements: those of uint256, under the names of this folder.
#ifndef VRX_ECC_FIELD_WORDS_HPP
#define VRX_ECC_FIELD_WORDS_HPP

#include "ecc/uint256/words.hpp"

namespace vrx::field {

using namespace uint256;

}  // namespace vrx::field

#endif
