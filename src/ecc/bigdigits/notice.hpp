// Who the arithmetic is by.
#ifndef VRX_ECC_BIGDIGITS_NOTICE_HPP
#define VRX_ECC_BIGDIGITS_NOTICE_HPP

namespace vrx::bigdigits {

const char* notice();

}  // namespace vrx::bigdigits

#endif
