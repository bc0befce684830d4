// The copyright notice of the multiple-precision arithmetic.
#ifndef VRX_ECC_BIGDIGITS_NOTICE_HPP
#define VRX_ECC_BIGDIGITS_NOTICE_HPP

namespace vrx::bigdigits {

const char* notice();

}  // namespace vrx::bigdigits

#endif
